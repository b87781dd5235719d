// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/common/DefaultDevice.h"

namespace {

constexpr TRX_U32 kRefused = 1;

TRX_U32 DefaultDevice_sendCommand(_Device *, TRX_U8, TRX_U32, const TRX_U32 *, TRX_U8, const void *, TRX_U16,
                                  void *, TRX_U16) {
  return kRefused;
}

TRX_U32 DefaultDevice_sendPassthruAdmin(_Device *, const void *, const void *, TRX_U16, void *, TRX_U16) {
  return kRefused;
}

void DefaultDevice_closeHandle(_Device *) {}

_Device *DefaultDevice_getNVMEDevice(_Device *) { return CreateDefaultDeviceInstance(); }

}  // namespace

_Device *CreateDefaultDeviceInstance() {
  static _Device shared = {
      .m_lock = nullptr,
      .sendCommand = DefaultDevice_sendCommand,
      .sendNVM = DefaultDevice_sendCommand,
      .sendPassthruAdmin = DefaultDevice_sendPassthruAdmin,
      .closeHandle = DefaultDevice_closeHandle,
      .getNVMEDevice = DefaultDevice_getNVMEDevice,
      .bus_dev_fun = "",
      .device_path = "",
      .slot_id = -1,
  };
  return &shared;
}
