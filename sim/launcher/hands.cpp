// SPDX-License-Identifier: GPL-3.0-or-later
#include "launcher/hands.h"

#include <charconv>

#include "host/directory.h"
#include "model/activities.h"

namespace sim {

uint64_t numberFrom(const std::string &verb, const std::string &text, uint64_t largest) {
  uint64_t number = 0;
  auto [end, wrong] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (wrong != std::errc() || end != text.data() + text.size())
    throw UsageError(verb + ": '" + text + "' is not a number");
  if (number > largest)
    throw UsageError(verb + ": " + text + " is too much; the most is " + std::to_string(largest));
  return number;
}

int handleAdapter(const Arguments &arguments, const std::string &verb, const Words &words,
                  const std::function<void(Session &)> &work) {
  const uint64_t index = words.empty() ? 0 : numberFrom(verb, words[0]);
  ensureHost(arguments);
  std::vector<std::string> names = adapterNames(arguments.state);
  if (index >= names.size()) throw HostError("no adapter " + std::to_string(index));
  AdapterFiles files(arguments.state, names[index]);
  Session session(files);
  work(session);
  // A rebuild begins when the disk fails, and not when somebody looks.
  advance(session.change(), session.now());
  session.commit();
  return 0;
}

Disk &diskOf(Adapter &adapter, uint64_t id, Misfit misfit) {
  for (Disk &disk : adapter.disks) {
    if (disk.id != id) continue;
    if (const char *why = misfit(disk)) throw HostError("disk " + std::to_string(id) + " " + why);
    return disk;
  }
  throw HostError("no disk " + std::to_string(id));
}

int handleDisk(const Arguments &arguments, const std::string &verb, const Words &words, Misfit misfit,
               const std::function<void(Session &, Disk &)> &work) {
  if (words.empty() || words.size() > 2)
    throw UsageError(verb + ": say which disk, and perhaps which adapter");
  const uint64_t id = numberFrom(verb, words[0]);
  return handleAdapter(arguments, verb, {words.begin() + 1, words.end()},
                       [&](Session &session) { work(session, diskOf(session.change(), id, misfit)); });
}

}  // namespace sim
