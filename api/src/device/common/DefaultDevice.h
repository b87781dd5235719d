// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_DEVICE_COMMON_DEFAULTDEVICE_H
#define TRX_DEVICE_COMMON_DEFAULTDEVICE_H

#include "device/common/Device.h"

/// The one placeholder that stands wherever there is no supported controller. Its commands return 1,
/// and closing it does nothing.
_Device *CreateDefaultDeviceInstance();

#endif  // TRX_DEVICE_COMMON_DEFAULTDEVICE_H
