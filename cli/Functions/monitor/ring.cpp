// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/monitor/ring.h"

#include <algorithm>

#include "Functions/simple/journal_page.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/interrupt.h"
#include "Public/request.h"

namespace trx {
namespace {

TRX_U32 oldestOf(const Events &events) {
  TRX_U32 oldest = events.front().ordinal;
  for (const NVME_SA_Evt_Item &event : events) {
    if (isAfter(oldest, event.ordinal)) oldest = event.ordinal;
  }
  return oldest;
}

}  // namespace

std::optional<Events> readRing() {
  Events events;
  ControllerReply reply;
  for (TRX_U32 page = 0; page < kJournalPages; ++page) {
    if (interruptedBy() != 0) return std::nullopt;
    journalPage(page).trace().fetch(gCurrentAdapter, reply);
    if (lastFailure()) return std::nullopt;
    readJournal(std::span(reply.page().bytes).subspan(kJournalTextOffset), events);
  }
  return events;
}

TRX_U32 newestOf(const Events &events) {
  TRX_U32 newest = events.front().ordinal;
  for (const NVME_SA_Evt_Item &event : events) {
    if (isAfter(event.ordinal, newest)) newest = event.ordinal;
  }
  return newest;
}

void Follower::begin(const Events &events) {
  if (fromOldest_) next_ = oldestOf(events);
  fromOldest_ = false;
  if (!next_) next_ = newestOf(events) + 1;
}

/// A controller that has lost its journal counts from the beginning again. One look without what was known
/// is not enough: it may have come between the erasing of a page and its next line.
bool Follower::beganAnew(const Events &events) {
  const bool older = known_ && isAfter(*known_, newestOf(events));
  if (older && older_) {
    pending_.clear();
    known_.reset();
    next_ = oldestOf(events);
  }
  const bool unsure = older && !older_;
  older_ = unsure;
  return unsure;
}

std::vector<Follower::Told> Follower::take(const Events &events) {
  if (events.empty()) {
    fromOldest_ = fromOldest_ || !next_;
    return {};
  }
  begin(events);
  if (beganAnew(events)) return {};
  for (const NVME_SA_Evt_Item &event : events) {
    if (!isAfter(*next_, event.ordinal)) pending_.emplace(event.ordinal, event);
  }
  // Pages are read one after the other, so a look can miss an event that was written meanwhile to a page
  // that it had read. But what is older than an event of an earlier look was there before this look began.
  // An event stays in its page until that is erased: so it is among what was found, or it is lost.
  std::vector<Told> told;
  while (!pending_.empty()) {
    const auto first = pending_.begin();
    const TRX_U32 missing = first->first - *next_;
    if (missing != 0 && (!known_ || isAfter(first->first, *known_))) break;
    told.push_back({missing, first->second});
    next_ = first->first + 1;
    pending_.erase(first);
  }
  known_ = newestOf(events);
  return told;
}

}  // namespace trx
