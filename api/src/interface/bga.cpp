// SPDX-License-Identifier: GPL-3.0-or-later
// Background activities (BGA).
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_PD_GetBGAStatus(TRX_U8 adapter, NVME_BGA_REQUEST *request) {
  return listRequest<NVME_BGA_Status>(adapter, {TRX_GROUP_BGA, 1}, request);
}

TRX_U32 TRX_VD_GetBGAStatus(TRX_U8 adapter, NVME_BGA_REQUEST *request) {
  return listRequest<NVME_BGA_Status>(adapter, {TRX_GROUP_BGA, 2}, request);
}

TRX_U32 TRX_PD_BGAControl(TRX_U8 adapter, TRX_U16 id, TRX_U8 operation) {
  const RequestHeader request = oneObject(id);
  return vendorRequest(adapter, {TRX_GROUP_BGA, 3, operation}, sending(&request));
}

TRX_U32 TRX_VD_BGAControl(TRX_U8 adapter, TRX_U16 id, TRX_U8 operation) {
  const RequestHeader request = oneObject(id);
  return vendorRequest(adapter, {TRX_GROUP_BGA, 4, operation}, sending(&request));
}

TRX_U32 TRX_PD_MP(TRX_U8 adapter, TRX_U16 id) {
  NVME_PD_MP request{};
  request.PDID = id;
  return vendorRequest(adapter, {TRX_GROUP_BGA, 5}, sending(&request));
}

TRX_U32 TRX_VD_Init(TRX_U8 adapter, TRX_U16 id, TRX_U8 type) {
  NVME_VD_Init request{};
  request.ID = id;
  request.Init_Type = type;
  return vendorRequest(adapter, {TRX_GROUP_BGA, 6}, sending(&request));
}

TRX_U32 TRX_VD_Rebuild(TRX_U8 adapter, const NVME_Rebuild *request) {
  return vendorRequest(adapter, {TRX_GROUP_BGA, 7}, sending(request));
}

TRX_U32 TRX_VD_Sync(TRX_U8 adapter, TRX_U16 id) {
  NVME_VD_Sync request{};
  request.ID = id;
  return vendorRequest(adapter, {TRX_GROUP_BGA, 8}, sending(&request));
}

TRX_U32 TRX_VD_Migrate(TRX_U8 adapter, const NVME_Migrate *request) {
  return vendorRequest(adapter, {TRX_GROUP_BGA, 9}, sending(request));
}

TRX_U32 TRX_VD_MP(TRX_U8 adapter, TRX_U16 id) {
  NVME_VD_MP request{};
  request.VDID = id;
  return vendorRequest(adapter, {TRX_GROUP_BGA, 10}, sending(&request));
}
