// SPDX-License-Identifier: GPL-3.0-or-later
// Hands on the disks of a simulated host: pulled out, put back, told how to answer. Ids count from 0.
#include <charconv>
#include <functional>
#include <string_view>

#include "host/directory.h"
#include "launcher/verbs.h"
#include "model/state_file.h"
#include "model/storage.h"

namespace sim {
namespace {

size_t numberFrom(const std::string &verb, const std::string &text) {
  size_t number = 0;
  auto [end, wrong] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (wrong != std::errc() || end != text.data() + text.size())
    throw UsageError(verb + ": '" + text + "' is not a number");
  return number;
}

using Work = std::function<void(Adapter &, Millis, Disk &)>;

/// Finds the disk that `words` name, checks that it is in or out of its place, and works on it.
int handleDisk(const Arguments &arguments, const std::string &verb, const std::vector<std::string> &words,
               bool present, const Work &work) {
  if (words.empty() || words.size() > 2)
    throw UsageError(verb + ": say which disk, and perhaps which adapter");
  size_t id = numberFrom(verb, words[0]);
  size_t index = words.size() == 2 ? numberFrom(verb, words[1]) : 0;
  ensureHost(arguments);
  std::vector<std::string> names = adapterNames(arguments.state);
  if (index >= names.size()) throw HostError("no adapter " + std::to_string(index));
  AdapterFiles files(arguments.state, names[index]);
  Session session(files);
  for (Disk &disk : session.change().disks) {
    if (disk.id != id) continue;
    if ((disk.present != 0) != present)
      throw HostError("disk " + std::to_string(id) + (present ? " is not there" : " is there"));
    work(session.change(), session.now(), disk);
    session.commit();
    return 0;
  }
  throw HostError("no disk " + std::to_string(id));
}

// In the order of PcieCompletion.
constexpr std::string_view kCompletions[] = {"ok", "timeout", "retry", "unsupported", "abort", "stuck"};

uint8_t completionFrom(const std::string &word) {
  for (size_t i = 0; i < std::size(kCompletions); ++i)
    if (word == kCompletions[i]) return static_cast<uint8_t>(i);
  throw UsageError("pcie: '" + word + "' is no completion");
}

}  // namespace

int pullDisk(const Arguments &arguments) {
  return handleDisk(arguments, "pull", arguments.words, true, [](Adapter &adapter, Millis now, Disk &disk) {
    disk.present = 0;
    diskLost(adapter, now, disk);
  });
}

int insertDisk(const Arguments &arguments) {
  return handleDisk(arguments, "insert", arguments.words, false,
                    [](Adapter &adapter, Millis now, Disk &disk) {
                      disk.present = 1;
                      disk.failed = 0;
                      diskFound(adapter, now, disk);
                    });
}

int pcieVerb(const Arguments &arguments) {
  std::vector<std::string> words = arguments.words;
  if (words.size() < 2) throw UsageError("pcie: say which disk, how it answers, and perhaps which adapter");
  const uint8_t completion = completionFrom(words[1]);
  words.erase(words.begin() + 1);
  return handleDisk(arguments, "pcie", words, true,
                    [completion](Adapter &, Millis, Disk &disk) { disk.completion = completion; });
}

}  // namespace sim
