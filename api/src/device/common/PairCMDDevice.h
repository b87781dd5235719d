// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_DEVICE_COMMON_PAIRCMDDEVICE_H
#define TRX_DEVICE_COMMON_PAIRCMDDEVICE_H

#include "device/common/Device.h"

/// Carries a vendor request as two NVMe commands: one sends an envelope with the request's words and
/// data, the other fetches an envelope with the answer. The envelopes lie in the object, page-aligned
/// as the driver wants its buffers, so an object carries one exchange at a time; other processes are
/// kept away by the lock of the wrapped device. Each exchange clears them; until the first one they take no
/// memory, for a start makes such an object per controller and most commands use none.
struct _PairCMDDevice {
  _Device in_device{};
  _Device *m_nvme_device = nullptr;
  alignas(TRX_PAGE_SIZE) NVMESendData m_in_buffer;
  alignas(TRX_PAGE_SIZE) NVMEReceiveData m_out_buffer;
};

/// Wrap `inner`, which then belongs to the new device.
/// @return the device, or null when memory is short (`inner` stays the caller's); ended by `closeHandle`
_Device *CreatePairCMDDeviceInstance(_Device *inner);

#endif  // TRX_DEVICE_COMMON_PAIRCMDDEVICE_H
