// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_FUNCTION_SYSTEMDISK_H
#define TRX_FUNCTION_SYSTEMDISK_H

#include "device/common/Device.h"

/// A disk that holds the running operating system.
struct _TRXSystemDisk {
  _Device *m_dev;
  char m_path[32];
  TRX_ID_CONTROLLER m_control_id;
  bool (*id_ctrl)(_TRXSystemDisk *disk);  ///< read `m_control_id`; false when the disk is refused
  TRX_ID_CONTROLLER *(*getControl)(_TRXSystemDisk *disk);
  TRX_U8 (*getNSID)(_TRXSystemDisk *disk, TRX_U8 adapter);  ///< 255 when unknown
  void (*Final)(_TRXSystemDisk *disk);                      ///< close the device and free the object
};

/// @return a disk reached through `device`, which then belongs to it, or null when memory is short
_TRXSystemDisk *CreateTRXSystemDiskInstance(_Device *device, const char *path);

constexpr TRX_U8 TRX_MAX_OS_DISKS = 2;

/// The disks that hold the running operating system; one list per process.
struct _NVMEDiskManagement {
  _TRXSystemDisk *m_os_devs[TRX_MAX_OS_DISKS];
  TRX_U8 m_os_count;
  void (*addOSDisk)(_NVMEDiskManagement *list, _Device *device, const char *path);
  void (*Final)(_NVMEDiskManagement *list);
};

_NVMEDiskManagement *GetNVMEDiskManagementInstance();

/// Add a disk of one of the maker's vendor ids. Any other, and one that finds the list full, is
/// closed. `device` belongs to the list from here on.
void NVMEDiskManagement_addOSDisk(_NVMEDiskManagement *list, _Device *device, const char *path);

/// Close every disk of the list.
void NVMEDiskManagement_Final(_NVMEDiskManagement *list);

#endif  // TRX_FUNCTION_SYSTEMDISK_H
