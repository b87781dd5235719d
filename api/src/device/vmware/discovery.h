// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_DEVICE_VMWARE_DISCOVERY_H
#define TRX_DEVICE_VMWARE_DISCOVERY_H

#include <span>
#include <string>

#include "device/common/Device.h"

/// Whether an NVMe device is a controller of the supported kind.
bool DeviceManagement_identify(_Device *nvme);

/// Find an adapter's PCI location by its name in lines of `lspci -p`; without a match the text
/// stays as it was. Bounded to `Device::bus_dev_fun`.
void getBusDeviceFun(std::span<const std::string> lines, char (&bus_dev_fun)[32], const char *name);

#endif  // TRX_DEVICE_VMWARE_DISCOVERY_H
