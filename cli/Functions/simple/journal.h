// SPDX-License-Identifier: GPL-3.0-or-later
// The controller's event journal as text: lines "[SEQ]number[TIME]seconds[MSG]text", kept in a ring.
// Works on bytes alone; no controller is needed.
#ifndef TRX_CLI_JOURNAL_H
#define TRX_CLI_JOURNAL_H

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "trx/trx_records.h"

namespace trx {

/// An event of the journal. Texts are cut to their fields and end at the first NUL or with the field.
struct NVME_SA_Evt_Item {
  TRX_U8 seq[8];    ///< sequence number, text
  TRX_U32 time;     ///< seconds: since 1970, or since power-on
  TRX_U32 ordinal;  ///< sequence number; whole even where `seq` had to be cut
  TRX_U8 msg[48];   ///< text
};
static_assert(sizeof(NVME_SA_Evt_Item) == 64);

/// Read one line.
/// @param[out] event untouched when the line is not an event
/// @return whether the line has its three tags, in their order
bool _eventParser(std::string_view line, NVME_SA_Evt_Item &event);

/// Read the lines of one piece of the journal and append their events. Lines that are no events are
/// left out; a line of less than two characters ends the piece.
void readJournal(std::span<const TRX_U8> text, std::vector<NVME_SA_Evt_Item> &events);

/// Put events that stand in storage order into the order newest first, and keep the first `count`.
/// @param count 0 for all
void keepNewest(std::vector<NVME_SA_Evt_Item> &events, size_t count);

/// The time of an event for people: local time when it is after the start of 2010, else since boot.
std::string _showTime(TRX_U32 time);

}  // namespace trx

#endif  // TRX_CLI_JOURNAL_H
