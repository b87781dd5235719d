// SPDX-License-Identifier: GPL-3.0-or-later
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_NS_GetInfo(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 count) {
  return vendorRequest(adapter, {TRX_GROUP_NS, 0}, {}, {records, listLength<NVME_NS_Info>(0, count)});
}

TRX_U32 TRX_NS_GetInfo_VD(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 vd, TRX_U16 count) {
  return vendorRequest(adapter, {TRX_GROUP_NS, 1, vd}, {}, {records, listLength<NVME_NS_Info>(0, count)});
}
