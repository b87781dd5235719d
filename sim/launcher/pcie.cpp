// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>
#include <string_view>

#include "launcher/verbs.h"
#include "model/state_file.h"

namespace sim {
namespace {

// In the order of PcieCompletion.
constexpr std::string_view kCompletions[] = {"ok", "timeout", "retry", "unsupported", "abort", "stuck"};

uint8_t completionFrom(const std::string &word) {
  for (size_t i = 0; i < std::size(kCompletions); ++i)
    if (word == kCompletions[i]) return static_cast<uint8_t>(i);
  throw UsageError("pcie: '" + word + "' is no completion");
}

}  // namespace

int pcieVerb(const Arguments &arguments) {
  if (arguments.words.size() != 3) throw UsageError("pcie: say adapter, disk and completion");
  const std::string &word = arguments.words[1];
  uint8_t completion = completionFrom(arguments.words[2]);
  ensureHost(arguments);
  AdapterFiles files(arguments.state, arguments.words[0]);
  Session session(files);
  char *end = nullptr;
  unsigned long id = std::strtoul(word.c_str(), &end, 10);
  Disk *disk = *end == '\0' && !word.empty() && id <= UINT32_MAX
                   ? findDisk(session.change(), static_cast<uint32_t>(id))
                   : nullptr;
  if (!disk) throw HostError(arguments.words[0] + ": there is no disk '" + word + "'");
  disk->completion = completion;
  session.commit();
  return 0;
}

}  // namespace sim
