// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/message.h"
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_Adapter_GetInfo(TRX_U8 adapter, NVME_Adapter_Info *info) {
  return vendorRequest(adapter, {TRX_GROUP_ADAPTER, 0}, {}, receiving(info));
}

TRX_U32 TRX_Adapter_GetConfig(TRX_U8 adapter, NVME_Adapter_Config *config) {
  return vendorRequest(adapter, {TRX_GROUP_ADAPTER, 1}, {}, receiving(config));
}

TRX_U32 TRX_Adapter_SetConfig(TRX_U8 adapter, const NVME_Adapter_Config *config) {
  return vendorRequest(adapter, {TRX_GROUP_ADAPTER, 2}, sending(config));
}

TRX_U32 TRX_Adapter_LED(TRX_U8 adapter, const NVME_LED *led) {
  return vendorRequest(adapter, {TRX_GROUP_ADAPTER, 7}, sending(led));
}

TRX_U32 TRX_Adapter_SetTime(TRX_U8 adapter, const NVME_Adapter_Time *time) {
  if (!time) return kRefused;
  constexpr int kPlace = 145;  // the number that stands in the message
  trx_admin_command_format entry{};
  entry.CDW[0] = TRX_OPCODE_CONTROLLER;
  entry.CDW[12] = 0x3E0;
  entry.CDW[13] = TRX_U32{time->mid} << 16 | time->hi;
  entry.CDW[14] = time->lw;
  entry.cdw_flag = 0x7001;
  _Device *nvme = nvmeDeviceOf(adapter);
  const TRX_U32 status = nvme->sendPassthruAdmin(nvme, &entry, nullptr, 0, nullptr, 0);
  if (status == 0) return 0;
  // The length of the message is the result, meant.
  return static_cast<TRX_U32>(printOut(TRX_MESSAGE_ERROR, "[%s][%d]Fail..., errStatus=%d\n", __func__, kPlace,
                                       static_cast<int>(status)));
}

TRX_U32 TRX_Adapter_OEM(TRX_U8, TRXItem_OEM_Data *) {
  printOut(TRX_MESSAGE_WARNING, "not support now");
  return 0;
}
