// SPDX-License-Identifier: GPL-3.0-or-later
// A recording: what a program and its host told each other, as text that people read and replay answers from.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "files/files.h"
#include "nvme_driver.h"

namespace sim {

inline constexpr std::string_view kRecordingTitle = "trx_sim recording 1";
inline constexpr std::string_view kLspciHead = "host lspci", kSmbiosHead = "host smbios", kListHead = "list";

/// Most bytes of one data block, and of all blocks of a file together: what a folded line may unfold to.
constexpr size_t kRecordedBlock = 16U << 20, kRecordedWhole = 256U << 20;

/// One call and its answer.
struct Recorded {
  std::string head;           ///< the call; two calls with the same head ask for the same
  std::string note{};         ///< for people
  std::vector<uint8_t> to{};  ///< data to the controller
  std::vector<uint8_t> from{};
  int platform = 0;     ///< what the platform's call returned
  uint32_t driver = 0;  ///< the driver's status
  cq_entry completion{};
  size_t line = 0;  ///< where it stands in the file, from 1
};

/// The adapter of a management signature's name, as a word of a head; empty for the driver-wide one.
std::string recordedAdapter(std::string_view signatureName);
/// Heads. Pointers, command ids and the timeout are no part of them: they may differ between two runs.
std::string openHead(std::string_view adapter);
std::string logLevelHead(uint32_t log, uint32_t debug);
std::string exchangeHead(std::string_view adapter, uint32_t code, const usr_io &uio);

/// The data of the last pair send to each adapter: what the receive after it is about. A program may open
/// its adapter anew for each command, so that a handle would not know.
class PairSends {
 public:
  /// What a command to the adapter is about, `to` being its own data: nothing, unless it is a pair receive.
  std::vector<uint8_t> about(const std::string &adapter, const usr_io &uio, std::span<const uint8_t> to);

 private:
  std::mutex mutex_;
  std::map<std::string, std::vector<uint8_t>> last_;
};

/// The text of one record, with its line feeds.
std::string recordedText(const Recorded &record);
/// Throws HostError, with the line, when the text is no whole recording.
std::vector<Recorded> parseRecording(std::string_view text);
std::vector<Recorded> readRecording(const std::string &path);
/// Adds a record whole or not at all, whatever other processes add. Throws HostError.
void appendRecorded(const std::string &path, const Recorded &record);

}  // namespace sim
