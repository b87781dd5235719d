// SPDX-License-Identifier: GPL-3.0-or-later
// Hands on the disks of a simulated host: pulled out, put back. Ids count from 0.
#include <charconv>

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

/// Finds the disk that the words name, checks that it is in or out of its place, and works on it.
int handleDisk(const Arguments &arguments, const std::string &verb, bool present,
               void (*work)(Adapter &, Millis, Disk &)) {
  if (arguments.words.empty() || arguments.words.size() > 2)
    throw UsageError(verb + ": say which disk, and perhaps which adapter");
  size_t id = numberFrom(verb, arguments.words[0]);
  size_t index = arguments.words.size() == 2 ? numberFrom(verb, arguments.words[1]) : 0;
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

}  // namespace

int pullDisk(const Arguments &arguments) {
  return handleDisk(arguments, "pull", true, [](Adapter &adapter, Millis now, Disk &disk) {
    disk.present = 0;
    diskLost(adapter, now, disk);
  });
}

int insertDisk(const Arguments &arguments) {
  return handleDisk(arguments, "insert", false, [](Adapter &adapter, Millis now, Disk &disk) {
    disk.present = 1;
    disk.failed = 0;
    diskFound(adapter, now, disk);
  });
}

}  // namespace sim
