// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_DEVICE_VMWARE_NVMEDEVICE_H
#define TRX_DEVICE_VMWARE_NVMEDEVICE_H

#include "device/common/Device.h"
#include "device/vmware/native/user/nvme_driver.h"

/// Opcodes that stand for the vendor's pair of commands in `sendCommand` of an NVMe device.
enum { NVME_PAIR_SEND = 251, NVME_PAIR_RECEIVE = 252 };

/// The adapters of the platform as discovery found them; every command opens its adapter from here.
extern nvme_adapter_list adapterList;

/// A controller that is given plain NVMe admin commands. The adapter is opened by name for each
/// command and closed after it.
///
/// The driver gets page-aligned buffers of at least 4096 bytes, whatever length is asked for, because
/// some devices always write 4 KiB. A caller's buffer that is page-aligned and at least 4096 bytes
/// long by its length is used as it is; clearing it beforehand is then the caller's duty. Any other
/// goes through a cleared buffer of this module, which is copied back whatever the command's status.
struct _NVMEDevice {
  _Device in_device;
  int m_fd;
  char name[64];  ///< adapter name such as "vmhba2"
};

/// @param index position in discovery order, which names the lock
/// @return the device, or null when memory is short; ended by its `closeHandle`
_Device *CreateNVMEDeviceInstance(const char *name, TRX_U8 index);

/// The same without a lock, for what is only sent single commands.
_Device *CreateUnlockedNVMEDeviceInstance(const char *name);

/// The same without a lock and without a name.
_Device *CreateSimpleNVMEDeviceInstance(int fd);

/// True for a null argument, else whether the low 16 bits of `ns` are below 4. Sends nothing.
bool NVMEDevice_Identify_BY_NS(const _Device *device, const void *buffer, TRX_U32 ns);

#endif  // TRX_DEVICE_VMWARE_NVMEDEVICE_H
