// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/common/DeviceManagement.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

#include "device/common/DefaultDevice.h"
#include "function/message.h"
#include "trx/trx_api.h"

namespace {

TRX_U8 DeviceManagement_getDeviceCount(_DeviceManagement *manager) { return manager->m_count; }

const char *DeviceManagement_getDeviceFun(_DeviceManagement *manager, TRX_U8 index) {
  DeviceManagement_locate(manager);
  return DeviceManagement_getDevice(manager, index)->bus_dev_fun;
}

const char *DeviceManagement_getDevicePath(_DeviceManagement *manager, TRX_U8 index) {
  return DeviceManagement_getDevice(manager, index)->device_path;
}

TRX_U32 DeviceManagement_getSlotID(_DeviceManagement *manager, TRX_U8 index) {
  DeviceManagement_locate(manager);
  return static_cast<TRX_U32>(DeviceManagement_getDevice(manager, index)->slot_id);
}

TRX_U8 DeviceManagement_getSysDenied(_DeviceManagement *manager) { return manager->m_sysDenied; }

TRX_U8 DeviceManagement_getOneBaseMode(_DeviceManagement *manager) { return manager->m_one_base_mode; }

_DeviceManagement create() {
  _DeviceManagement manager{};
  std::fill(std::begin(manager.m_devs), std::end(manager.m_devs), CreateDefaultDeviceInstance());
  manager.ScanV2 = DeviceManagement_ScanV2;
  manager.Final = DeviceManagement_Final;
  manager.getDevice = DeviceManagement_getDevice;
  manager.getDeviceCount = DeviceManagement_getDeviceCount;
  manager.getDeviceFun = DeviceManagement_getDeviceFun;
  manager.getDevicePath = DeviceManagement_getDevicePath;
  manager.getSlotID = DeviceManagement_getSlotID;
  manager.isSysDenied = DeviceManagement_getSysDenied;
  manager.getOneBaseMode = DeviceManagement_getOneBaseMode;
  return manager;
}

}  // namespace

_DeviceManagement *GetDeviceManagementInstance() {
  static _DeviceManagement manager = create();
  return &manager;
}

_Device *DeviceManagement_getDevice(_DeviceManagement *manager, TRX_U8 index) {
  return index < TRX_MAX_DEVICES ? manager->m_devs[index] : CreateDefaultDeviceInstance();
}

void DeviceManagement_Final(_DeviceManagement *manager) {
  for (TRX_U8 i = 0; i < manager->m_count; ++i) {
    // A late call with this index then meets the default device, not a freed one.
    _Device *device = std::exchange(manager->m_devs[i], CreateDefaultDeviceInstance());
    device->closeHandle(device);
  }
  manager->m_count = 0;
  manager->m_one_base_mode = 0;
}

bool findAdapterId(const char *bus_dev_fun, TRX_U8 *id) {
  if (!bus_dev_fun || !id) return false;
  _DeviceManagement *manager = GetDeviceManagementInstance();
  DeviceManagement_locate(manager);
  bool found = false;
  for (TRX_U8 i = 0; i < manager->m_count; ++i) {
    const _Device &device = *manager->m_devs[i];
    if (std::strcmp(device.bus_dev_fun, bus_dev_fun) != 0) continue;
    printOut(TRX_MESSAGE_INFO, "device.bus_dev_fun: %s\n", device.bus_dev_fun);
    *id = i;
    found = true;
  }
  return found;
}
