// SPDX-License-Identifier: GPL-3.0-or-later
#include "trx/trx_api.h"

#include "device/common/DeviceManagement.h"
#include "function/log.h"
#include "function/progressbar.h"
#include "function/systemdisk.h"

void TRX_Init(void) {
  TRX_Final();  // of what an earlier one began; nothing otherwise
  _DeviceManagement *manager = GetDeviceManagementInstance();
  init_log();
  progressbar_management_init();
  manager->ScanV2(manager);
}

void TRX_Final(void) {
  _NVMEDiskManagement *disks = GetNVMEDiskManagementInstance();
  disks->Final(disks);
  progressbar_management_close();  // waits for a transfer that still runs, before its device goes
  _DeviceManagement *manager = GetDeviceManagementInstance();
  manager->Final(manager);
  close_log();
}

const char *TRX_Get_Version(void) { return "1.0.0.1035"; }

TRX_U8 TRX_IsSysDenied(void) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  return manager->isSysDenied(manager);
}

TRX_U8 TRX_Adapter_GetCount(void) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  return manager->getDeviceCount(manager);
}

TRX_U8 TRX_Adapter_GetOneBaseMode(void) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  return manager->getOneBaseMode(manager);
}

const char *TRX_Adapter_GetDeviceFun(TRX_U8 adapter) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  return manager->getDeviceFun(manager, adapter);
}

const char *TRX_Adapter_GetDevicePath(TRX_U8 adapter) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  return manager->getDevicePath(manager, adapter);
}

TRX_U32 TRX_Adapter_GetSlotID(TRX_U8 adapter) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  return manager->getSlotID(manager, adapter);
}
