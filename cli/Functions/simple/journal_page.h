// SPDX-License-Identifier: GPL-3.0-or-later
// The journal as the controller gives it away, and an event as machines are told of it: what `event` and
// `watch` have in common.
#ifndef TRX_CLI_JOURNAL_PAGE_H
#define TRX_CLI_JOURNAL_PAGE_H

#include "Functions/simple/journal.h"
#include "Public/request.h"

namespace trx {

inline constexpr TRX_U32 kJournalPages = 16;
/// Bytes of a page before its text.
inline constexpr size_t kJournalTextOffset = 40;

/// Request for one page, from 0 on.
ControllerRequest journalPage(TRX_U32 page);

/// Put an event at the end of the array `events` of the document.
void tellEvent(const NVME_SA_Evt_Item &event);

}  // namespace trx

#endif  // TRX_CLI_JOURNAL_PAGE_H
