// SPDX-License-Identifier: GPL-3.0-or-later
#include "interface/request.h"

#include "device/common/DeviceManagement.h"

namespace {
constexpr TRX_U8 kVendorOpcode = 250;
}

_Device *deviceOf(TRX_U8 adapter) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  return manager->getDevice(manager, adapter);
}

_Device *nvmeDeviceOf(TRX_U8 adapter) {
  _Device *device = deviceOf(adapter);
  return device->getNVMEDevice(device);
}

TRX_U32 vendorRequest(TRX_U8 adapter, std::initializer_list<TRX_U32> words, ToController in,
                      FromController out) {
  if ((in.length && !in.data) || (out.length && !out.data)) return kRefused;
  _Device *device = deviceOf(adapter);
  return device->sendCommand(device, kVendorOpcode, 0, words.begin(), static_cast<TRX_U8>(words.size()),
                             in.data, in.length, out.data, out.length);
}
