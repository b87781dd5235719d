// SPDX-License-Identifier: GPL-3.0-or-later
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_PD_GetInfo(TRX_U8 adapter, NVME_PD_Info_Request *request) {
  return listRequest<NVME_PD_Info>(adapter, {TRX_GROUP_PD, 0}, request);
}

TRX_U32 TRX_PD_OEM(TRX_U8 adapter, TRXItem_OEM_Data *item) {
  if (!item) return kRefused;
  constexpr TRX_U32 kHeadBytes = sizeof *item - 1;
  const auto length = static_cast<TRX_U16>(item->cbSize + kHeadBytes);
  return vendorRequest(adapter, {TRX_GROUP_PD, 3}, {item, length}, {item, length});
}

TRX_U32 TRX_PD_Import(TRX_U8 adapter, const RequestHeader *request) {
  return vendorRequest(adapter, {TRX_GROUP_PD, 9}, sending(request));
}
