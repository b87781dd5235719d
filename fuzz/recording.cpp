// SPDX-License-Identifier: GPL-3.0-or-later
// Recordings. What was read and is written again reads the same.
#include "recording/recording.h"

#include <cstring>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::vector<sim::Recorded> records;
  const std::string given = std::string(sim::kRecordingTitle) + "\n" + std::string(data, data + size);
  try {
    records = sim::parseRecording(given);
  } catch (const sim::HostError &error) {
    fuzz::require(*error.what() != '\0');
    return 0;
  }
  std::string text = std::string(sim::kRecordingTitle) + "\n";
  size_t bytes = 0;
  for (const auto &record : records) bytes += record.to.size() + record.from.size();
  if (bytes > 65536) return 0;  // a folded line may stand for megabytes
  for (const auto &record : records) text += sim::recordedText(record);
  const std::vector<sim::Recorded> again = sim::parseRecording(text);
  fuzz::require(again.size() == records.size());
  for (size_t i = 0; i < again.size(); ++i) {
    const sim::Recorded &a = records[i], &b = again[i];
    fuzz::require(a.head == b.head && a.to == b.to && a.from == b.from && a.platform == b.platform);
    fuzz::require(a.driver == b.driver &&
                  std::memcmp(&a.completion, &b.completion, sizeof a.completion) == 0);
  }
  return 0;
}
