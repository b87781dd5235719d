// SPDX-License-Identifier: GPL-3.0-or-later
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_Dump_Console(TRX_U8 adapter, NVME_Debug_Dump_Request *piece) {
  return vendorRequest(adapter, {TRX_GROUP_DUMP, 0}, {}, receiving(piece));
}

TRX_U32 TRX_Dump_Status(TRX_U8 adapter, NVME_Debug_Dump_Status *status) {
  return vendorRequest(adapter, {TRX_GROUP_DUMP, 1}, {}, receiving(status));
}

TRX_U32 TRX_Get_Dump_Cfg(TRX_U8 adapter, NVME_Debug_Dump_Config *config) {
  return vendorRequest(adapter, {TRX_GROUP_DUMP, 2}, {}, receiving(config));
}

TRX_U32 TRX_Set_Dump_Cfg(TRX_U8 adapter, const NVME_Debug_Dump_Config *config) {
  return vendorRequest(adapter, {TRX_GROUP_DUMP, 3}, sending(config));
}
