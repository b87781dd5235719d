// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_DEVICE_COMMON_DEVICE_H
#define TRX_DEVICE_COMMON_DEVICE_H

#include "function/lock.h"
#include "trx/trx_records.h"

/// One controller, and how a command reaches it. What each operation does depends on the kind of
/// device: see NVMEDevice.h, PairCMDDevice.h and DefaultDevice.h.
///
/// `in` is data to the controller, `out` data from it; a length of 0 means none. Statuses are those
/// of trx_api.h.
struct _Device {
  TRXLock *m_lock;  ///< keeps other processes away from this controller; may be null
  TRX_U32(*sendCommand)
  (_Device *device, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count, const void *in,
   TRX_U16 in_length, void *out, TRX_U16 out_length);
  TRX_U32(*sendNVM)
  (_Device *device, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count, const void *in,
   TRX_U16 in_length, void *out, TRX_U16 out_length);
  /// `entry` is a 64-byte submission entry (NVMe base standard, common command format).
  TRX_U32(*sendPassthruAdmin)
  (_Device *device, const void *entry, const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length);
  void (*closeHandle)(_Device *device);
  _Device *(*getNVMEDevice)(_Device *device);  ///< the device that talks NVMe without an envelope
  char bus_dev_fun[32];                        ///< PCI location such as "03:00.00"
  char device_path[256];                       ///< platform name such as "vmhba2"
  int slot_id;                                 ///< physical slot; -1 unknown
};

#endif  // TRX_DEVICE_COMMON_DEVICE_H
