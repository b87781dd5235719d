// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_DEVICE_COMMON_DEVICEMANAGEMENT_H
#define TRX_DEVICE_COMMON_DEVICEMANAGEMENT_H

#include "device/common/Device.h"

constexpr TRX_U8 TRX_MAX_DEVICES = 33;

/// The controllers of this host by adapter index; one object per process.
struct _DeviceManagement {
  _Device *m_devs[TRX_MAX_DEVICES];  ///< places without a controller hold the shared default device
  TRX_U8 m_count;
  TRX_U8 m_sysDenied;
  TRX_U8 m_one_base_mode;
  void (*Scan)(_DeviceManagement *);  ///< scan of device files: not done on this platform, stays null
  void (*ScanV2)(_DeviceManagement *);
  void (*Final)(_DeviceManagement *);
  _Device *(*getDevice)(_DeviceManagement *, TRX_U8 index);
  TRX_U8 (*getDeviceCount)(_DeviceManagement *);
  const char *(*getDeviceFun)(_DeviceManagement *, TRX_U8 index);
  const char *(*getDevicePath)(_DeviceManagement *, TRX_U8 index);
  TRX_U32 (*getSlotID)(_DeviceManagement *, TRX_U8 index);
  TRX_U8 (*isSysDenied)(_DeviceManagement *);
  TRX_U8 (*getOneBaseMode)(_DeviceManagement *);
};

/// The manager, ready and empty; it does not scan by itself.
_DeviceManagement *GetDeviceManagementInstance();

/// Find the controllers of the supported kind, in the platform's order. See discovery.cpp.
void DeviceManagement_ScanV2(_DeviceManagement *manager);

/// Fill in `bus_dev_fun` and `slot_id` of every controller found, once after a scan.
void DeviceManagement_locate(_DeviceManagement *manager);

/// Close every device, in index order.
void DeviceManagement_Final(_DeviceManagement *manager);

/// The device at `index`; the shared default device where there is none.
_Device *DeviceManagement_getDevice(_DeviceManagement *manager, TRX_U8 index);

#endif  // TRX_DEVICE_COMMON_DEVICEMANAGEMENT_H
