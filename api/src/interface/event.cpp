// SPDX-License-Identifier: GPL-3.0-or-later
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_Event_Status(TRX_U8 adapter, NVME_Event_Status *status) {
  return vendorRequest(adapter, {TRX_GROUP_EVENT, 1}, {}, receiving(status));
}

TRX_U32 TRX_Page_Event(TRX_U8 adapter, NVME_Event_Page *page) {
  if (!page) return kRefused;
  vendorRequest(adapter, {TRX_GROUP_DUMP, TRX_DUMP_EVENT_PAGE}, sending(page), receiving(page));
  return 0;  // also when the exchange failed, meant
}
