// SPDX-License-Identifier: GPL-3.0-or-later
// The list convention of the pair-command door: a header asks, the header and records answer.
#pragma once

#include "controller/functions.h"

namespace sim {

/// Reads the header of a list request. A breach is reported when reserved bytes are set.
RequestHeader listHeader(Context &context, const PairCall &call);

/// Answers a list request. `ids` are the objects there are, in order; `record` makes one's record.
/// For one object, `missing` is the status when there is no such id.
template <typename Make>
Answer answerList(RequestHeader header, const std::vector<uint16_t> &ids, Fw missing, size_t recordBytes,
                  Make record) {
  if (header.requestType != 0 && header.requestType != TRX_REQUEST_ONE_OBJECT) return Fw::InvalidParameter;
  bool one = header.requestType == TRX_REQUEST_ONE_OBJECT;
  size_t room = std::min<size_t>(header.numRequested, (kPairPayload - sizeof header) / recordBytes);
  std::vector<uint8_t> payload(sizeof header);
  header.numReturned = 0;
  header.nextStart = header.start;
  for (uint16_t id : ids) {
    if (one ? id != header.start : id < header.start) continue;
    if (header.numReturned == room) break;
    appendRecord(payload, record(id));
    ++header.numReturned;
    header.nextStart = static_cast<uint16_t>(id + 1);
  }
  if (one && room != 0 && header.numReturned == 0) return missing;
  std::memcpy(payload.data(), &header, sizeof header);
  return payload;
}

template <typename Objects>
std::vector<uint16_t> idsOf(const Objects &objects) {
  std::vector<uint16_t> ids;
  ids.reserve(objects.size());
  for (const auto &object : objects) ids.push_back(object.id);
  return ids;
}

/// Ids of the disks that are present.
std::vector<uint16_t> diskIds(const Adapter &adapter);

}  // namespace sim
