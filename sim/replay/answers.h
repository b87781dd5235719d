// SPDX-License-Identifier: GPL-3.0-or-later
// The answers of a recording, handed out in their order to all processes of a replay.
#pragma once

#include <map>

#include "recording/recording.h"

namespace sim {

/// A file of a replay's directory that is there as long as every call had its answer.
inline constexpr std::string_view kWholeReplay = "whole";

class Answers {
 public:
  /// Throws HostError when the recording cannot be read. `usedPath` is a file with a byte per record.
  Answers(const std::string &recordingPath, const std::string &usedPath);

  /// The next answer to the request of this head and data, or null: then standard error says why.
  /// `about` is, for a pair receive, the data of the send before it.
  const Recorded *next(const std::string &head, std::span<const uint8_t> to, std::span<const uint8_t> about);

 private:
  std::string path_, usedPath_;
  std::vector<Recorded> records_;
  std::map<std::string, std::vector<size_t>> places_;  ///< of each request, in order
  std::map<std::string, size_t> heads_;                ///< how many records have each head
};

}  // namespace sim
