// SPDX-License-Identifier: GPL-3.0-or-later
#include "interface/request.h"
#include "trx/trx_api.h"

namespace {

// Without a head, unlike the other lists: how much is wanted is told by the length alone.
TRX_U32 list(TRX_U8 adapter, std::initializer_list<TRX_U32> words, NVME_NS_Info *records, TRX_U16 count) {
  if (count && !records) return kRefused;
  return vendorRequest(adapter, words, {}, {records, listLength<NVME_NS_Info>(0, count)});
}

}  // namespace

TRX_U32 TRX_NS_GetInfo(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 count) {
  return list(adapter, {TRX_GROUP_NS, 0}, records, count);
}

TRX_U32 TRX_NS_GetInfo_VD(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 vd, TRX_U16 count) {
  return list(adapter, {TRX_GROUP_NS, 1, vd}, records, count);
}
