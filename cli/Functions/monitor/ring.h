// SPDX-License-Identifier: GPL-3.0-or-later
// The journal of the current adapter as it is now, and who follows it from look to look.
#ifndef TRX_CLI_RING_H
#define TRX_CLI_RING_H

#include <map>
#include <optional>
#include <vector>

#include "Functions/simple/journal.h"

namespace trx {

using Events = std::vector<NVME_SA_Evt_Item>;

/// All events that the journal holds, in no order; nothing when a page would not be read, or when somebody
/// interrupts. Each page is as it was at one moment, but not all at the same.
std::optional<Events> readRing();

/// Whether one sequence number comes after another. They have 32 bits and begin again: of two, the one that
/// is less than half a round ahead is the later.
inline bool isAfter(TRX_U32 one, TRX_U32 other) { return static_cast<int32_t>(one - other) > 0; }

/// The largest sequence number of events; there is at least one.
TRX_U32 newestOf(const Events &events);

/// Follows the journal: every event once, in the order of their numbers, while others go on writing.
class Follower {
 public:
  /// @param from the first number to tell, 0 for the oldest that there is; nothing for what comes after the
  ///        first look
  explicit Follower(std::optional<TRX_U32> from) : next_(from), fromOldest_(from == 0u) {}

  struct Told {
    TRX_U32 lost;  ///< events right before it that were written over before they were read
    NVME_SA_Evt_Item event;
  };

  /// What a look at the whole journal has brought.
  std::vector<Told> take(const Events &events);

  /// Whether an event is missing before one that was seen: only another look can tell if it is lost, and
  /// that should come at once.
  bool isWaiting() const { return !pending_.empty(); }

 private:
  struct Earlier {
    bool operator()(TRX_U32 one, TRX_U32 other) const { return isAfter(other, one); }
  };
  void begin(const Events &events);
  bool beganAnew(const Events &events);

  std::optional<TRX_U32> next_;  ///< the number to be told next
  bool fromOldest_;
  std::optional<TRX_U32> known_;  ///< the newest that earlier looks have seen
  bool older_ = false;            ///< the look before had nothing as new as that
  std::map<TRX_U32, NVME_SA_Evt_Item, Earlier> pending_;
};

}  // namespace trx

#endif  // TRX_CLI_RING_H
