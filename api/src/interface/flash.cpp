// SPDX-License-Identifier: GPL-3.0-or-later
// Firmware transfers: start one, and look how far it is.
#include "function/flash.h"

#include "device/common/DeviceManagement.h"

#include "trx/trx_api.h"

TRX_U32 TRX_Adapter_Flash(TRX_U8 adapter, char *file_name, TRX_U8 fs, TRX_U8 ca, TRX_U8 type) {
  if (!file_name && transfersImage(ca)) return 1;
  static TRXFlashData flashData;  // the worker reads it, so there is one transfer at a time
  static TRX_U8 started = 0;
  // The earlier transfer is over by the caller's duty; if it is not, its arguments stay until then.
  if (TRXProgressBar *earlier = progressbar_management_get_instance(started)) ProgressBar_join(earlier);
  TRXProgressBar *progress = progressbar_management_get_instance(adapter);
  // No such place: its record tells of a finished, failed transfer, and stays so.
  if (adapter >= TRX_MAX_DEVICES || !progress) return 0;
  started = adapter;
  flashData = {.adapter = adapter, .device_id = 0, .fs = fs, .ca = ca, .type = type, .file_name = file_name};
  progress->startThread(progress, GetAdapterNvmeFlashAdapterFucntion(), &flashData, sizeof flashData);
  return 0;
}

void TRX_Adapter_Flash_Stop(TRX_U8 adapter) {
  if (TRXProgressBar *progress = progressbar_management_get_instance(adapter)) progress->m_stop = true;
}

TRX_U32 TRX_Adapter_Flash_Result(TRX_U8 adapter, NVME_Flash_Result *result) {
  const TRXProgressBar *progress = progressbar_management_get_instance(adapter);
  if (!progress || !result) return 1;
  // The status first: once it says "finished" the other two do not change any more.
  result->status = progress->getStatus(progress);
  result->percentage = progress->getPercentage(progress);
  result->result = progress->getResult(progress);
  return 0;
}
