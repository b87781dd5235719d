// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/systemdisk.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <new>
#include <utility>

#include "device/vmware/NVMEDevice.h"
#include "function/log.h"
#include "trx/trx_nvme.h"
#include "trx/trx_product.h"

namespace {

constexpr TRX_U16 kVendorIds[] = {TRX_OS_DISK_VENDOR_IDS};

bool TRXSystemDisk_id_ctrl(_TRXSystemDisk *disk) {
  constexpr TRX_U32 kController = TRX_NVME_CNS_CONTROLLER;
  disk->m_control_id = {};
  if (disk->m_dev->sendCommand(disk->m_dev, TRX_NVME_IDENTIFY, 0, &kController, 1, nullptr, 0,
                               &disk->m_control_id, sizeof disk->m_control_id) != 0) {
    return false;
  }
  const TRX_U16 vendor = disk->m_control_id.VID;
  add_log("vid %x\n", vendor);
  return std::find(std::begin(kVendorIds), std::end(kVendorIds), vendor) != std::end(kVendorIds);
}

TRX_ID_CONTROLLER *TRXSystemDisk_getControl(_TRXSystemDisk *disk) { return &disk->m_control_id; }

TRX_U8 TRXSystemDisk_getNSID(_TRXSystemDisk *disk, TRX_U8 adapter) {
  constexpr TRX_U8 kUnknown = 255;
  const TRX_U8 holder[4] = {kUnknown, kUnknown, kUnknown, kUnknown};
  if (!NVMEDevice_Identify_BY_NS(disk->m_dev, holder, adapter)) return kUnknown;
  return holder[0];
}

void TRXSystemDisk_Final(_TRXSystemDisk *disk) {
  if (disk->m_dev) disk->m_dev->closeHandle(disk->m_dev);
  delete disk;
}

}  // namespace

_TRXSystemDisk *CreateTRXSystemDiskInstance(_Device *device, const char *path) {
  auto *disk = new (std::nothrow) _TRXSystemDisk{};
  if (!disk) return nullptr;
  disk->m_dev = device;
  std::snprintf(disk->m_path, sizeof disk->m_path, "%s", path ? path : "");
  disk->id_ctrl = TRXSystemDisk_id_ctrl;
  disk->getControl = TRXSystemDisk_getControl;
  disk->getNSID = TRXSystemDisk_getNSID;
  disk->Final = TRXSystemDisk_Final;
  return disk;
}

_NVMEDiskManagement *GetNVMEDiskManagementInstance() {
  static _NVMEDiskManagement list = {
      .m_os_devs = {},
      .m_os_count = 0,
      .addOSDisk = NVMEDiskManagement_addOSDisk,
      .Final = NVMEDiskManagement_Final,
  };
  return &list;
}

void NVMEDiskManagement_addOSDisk(_NVMEDiskManagement *list, _Device *device, const char *path) {
  _TRXSystemDisk *disk = CreateTRXSystemDiskInstance(device, path);
  if (!disk) {
    device->closeHandle(device);
    return;
  }
  if (list->m_os_count < TRX_MAX_OS_DISKS && disk->id_ctrl(disk)) {
    list->m_os_devs[list->m_os_count++] = disk;
  } else {
    disk->Final(disk);
  }
}

void NVMEDiskManagement_Final(_NVMEDiskManagement *list) {
  for (TRX_U8 i = 0; i < list->m_os_count; ++i) {
    _TRXSystemDisk *disk = std::exchange(list->m_os_devs[i], nullptr);
    disk->Final(disk);
  }
  list->m_os_count = 0;
}
