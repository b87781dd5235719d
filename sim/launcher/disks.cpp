// SPDX-License-Identifier: GPL-3.0-or-later
// Hands on the disks of a simulated host: broken, pulled out, put in, told how to answer.
#include <algorithm>
#include <optional>
#include <string_view>

#include "launcher/hands.h"
#include "model/devices.h"
#include "model/firmware.h"
#include "model/storage.h"

namespace sim {
namespace {

const char *broken(const Disk &disk) { return disk.failed ? "has failed already" : absent(disk); }

const char *taken(const Disk &disk) {
  if (disk.held) return "is there, without power or held in reset";
  return disk.present && !disk.failed ? "is there" : nullptr;
}

/// Takes `--serial TEXT` out of the words. Identify Controller has room for 20 characters of ASCII.
std::optional<std::string> takeSerial(Words &words) {
  auto option = std::find(words.begin(), words.end(), "--serial");
  if (option == words.end()) return std::nullopt;
  if (option + 1 == words.end()) throw UsageError("insert: --serial needs a value");
  std::string serial = option[1];
  const bool graphic = std::all_of(serial.begin(), serial.end(), [](char c) { return c > ' ' && c <= '~'; });
  if (serial.empty() || serial.size() > sizeof Disk::serial || !graphic)
    throw UsageError("insert: '" + serial + "' is no serial number of 1 to 20 characters without blanks");
  words.erase(option, option + 2);
  return serial;
}

/// The place of a disk that is new, which may be one where none has been yet.
Disk &placeFor(Adapter &adapter, uint64_t id, const std::string &serial) {
  for (const Disk &disk : adapter.disks)
    if (fieldText(disk.serial) == serial)
      throw HostError("disk " + std::to_string(disk.id) + " has the serial number " + serial);
  Disk *made = addPlace(adapter, id);
  return made ? *made : diskOf(adapter, id, taken);
}

int insertNew(const Arguments &arguments, const Words &words, const std::string &serial) {
  if (words.empty() || words.size() > 2) throw UsageError("insert: say where, and perhaps in which adapter");
  const uint64_t id = numberFrom("insert", words[0]);
  return handleAdapter(arguments, "insert", {words.begin() + 1, words.end()}, [&](Session &session) {
    Disk &disk = placeFor(session.change(), id, serial);
    stagedImage(session, disk).discard();
    replaceDisk(session.change(), session.now(), disk, serial);
  });
}

// In the order of PcieCompletion.
constexpr std::string_view kCompletions[] = {"ok", "timeout", "retry", "unsupported", "abort", "stuck"};

uint8_t completionFrom(const std::string &word) {
  for (size_t i = 0; i < std::size(kCompletions); ++i)
    if (word == kCompletions[i]) return static_cast<uint8_t>(i);
  throw UsageError("pcie: '" + word + "' is no completion");
}

}  // namespace

int failVerb(const Arguments &arguments) {
  return handleDisk(arguments, "fail", arguments.words, broken,
                    [](Session &session, Disk &disk) { failDisk(session.change(), session.now(), disk); });
}

int pullDisk(const Arguments &arguments) {
  return handleDisk(arguments, "pull", arguments.words, absent, [](Session &session, Disk &disk) {
    disk.present = 0;
    diskLost(session.change(), session.now(), disk);
  });
}

int insertDisk(const Arguments &arguments) {
  Words words = arguments.words;
  if (std::optional<std::string> serial = takeSerial(words)) return insertNew(arguments, words, *serial);
  return handleDisk(arguments, "insert", words, taken,
                    [](Session &session, Disk &disk) { mendDisk(session.change(), session.now(), disk); });
}

int pcieVerb(const Arguments &arguments) {
  Words words = arguments.words;
  if (words.size() < 2) throw UsageError("pcie: say which disk, how it answers, and perhaps which adapter");
  const uint8_t completion = completionFrom(words[1]);
  words.erase(words.begin() + 1);
  return handleDisk(arguments, "pcie", words, absent,
                    [completion](Session &, Disk &disk) { disk.completion = completion; });
}

}  // namespace sim
