// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_FUNCTION_FLASH_H
#define TRX_FUNCTION_FLASH_H

#include "device/common/Device.h"
#include "function/file.h"
#include "function/progressbar.h"

/// What the worker is to transfer.
struct TRXFlashData {
  TRX_U8 adapter;
  TRX_U16 device_id;  ///< of a disk; not used for a controller
  TRX_U8 fs;          ///< firmware slot (NVMe base standard, Firmware Commit, FS)
  TRX_U8 ca;          ///< commit action (Firmware Commit, CA)
  TRX_U8 type;        ///< 0 plain NVMe image, else a vendor image
  char *file_name;
};

/// One transfer of a firmware image into a controller.
struct TRXFlash {
  TRXFileBuffer *m_file;
  TRXProgressBar *m_progress;
  TRX_U8 m_slot;
  TRX_U8 m_ca;
  TRX_U8 m_type;
  TRX_U16 m_segment_size;  ///< bytes per download command
  _Device *m_d;            ///< the NVMe device; null until the image is open
  TRX_U32 m_total_size;    ///< bytes of the image
  TRX_U8 m_has_read_flash_info;
  TRX_U16 m_device_id;  ///< of a disk; not used for a controller
  void (*download)(TRXFlash *flash);
  void (*active)(TRXFlash *flash);
  void (*sp_active)(TRXFlash *flash);
  void (*init)(TRXFlash *flash, char *path, TRX_U8 adapter);
  void (*destructor)(TRXFlash *flash);
};

/// Whether a commit action (CA) is about an image that has to be transferred; else it is in its slot.
bool transfersImage(TRX_U8 ca);

/// @return a transfer to be set up by its `init`, or null when memory is short; ended by its `destructor`
TRXFlash *CreateTRXFlashAdapterInstance(TRX_U8 fs, TRX_U8 ca, TRX_U8 type);

/// Open and check the image, and find the device. The result is in the adapter's progress record.
void TRXFlash_Adapter_init(TRXFlash *flash, char *path, TRX_U8 adapter);

/// Download the image (NVMe base standard, Firmware Image Download). The first segment that fails
/// ends it; the result is that of the last segment sent.
void TRXFlash_Adapter_download(TRXFlash *flash);

/// Commit (NVMe base standard, Firmware Commit).
void TRXFlash_Adapter_active(TRXFlash *flash);

/// Vendor activation of a downloaded image, with its CRC.
void TRXFlash_Adapter_sp_active(TRXFlash *flash);

/// Read the active slot into `m_slot` (NVMe base standard, Firmware Slot Information log), once.
void TRXFlash_query(TRXFlash *flash);

void TRXFlash_destructor(TRXFlash *flash);

/// The worker of a transfer to a controller; its argument is a `TRXFlashData`. Spelt so on purpose.
void *(*GetAdapterNvmeFlashAdapterFucntion())(void *);

#endif  // TRX_FUNCTION_FLASH_H
