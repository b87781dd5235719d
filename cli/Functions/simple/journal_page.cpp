// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/journal_page.h"

#include "Public/report.h"

namespace trx {

ControllerRequest journalPage(TRX_U32 page) {
  return ControllerRequest::function(0xFE, 4)
      .set(10, TRX_PAGE_SIZE / 4 - 1)
      .set(13, page * TRX_PAGE_SIZE)
      .set(14, TRX_PAGE_SIZE);
}

void tellEvent(const NVME_SA_Evt_Item &event) {
  Object entry = data().append("events");
  entry.put("sequence", int64_t{event.ordinal});
  entry.put("time_seconds", int64_t{event.time});
  entry.put("time", _showTime(event.time));
  entry.put("message", DeviceField{event.msg});
}

}  // namespace trx
