// SPDX-License-Identifier: GPL-3.0-or-later
// The management interface of the platform's NVMe driver: list its adapters, open one by name, pass
// it a command. Nothing else in this library knows the platform's management library.
//
// Statuses are 0 for success, else what the platform or the driver answered, or a negative errno
// value. A null handle or a slot out of range is a programming error and aborts.
#ifndef TRX_DEVICE_VMWARE_NVME_LIB_H
#define TRX_DEVICE_VMWARE_NVME_LIB_H

#include <cstddef>
#include <cstdint>
#include <memory>

#include "device/vmware/native/user/nvme_driver.h"

/// An adapter opened by name.
struct nvme_handle {
  char name[32];
  void *handle;  ///< of the platform's management library
};

/// Ask the driver for its adapters, at most 64. The list is empty when this fails, also when the
/// platform library cannot be loaded.
int Nvme_GetAdapterList(nvme_adapter_list *list);

/// Set the log level and the debug level of the driver.
int Nvme_SetLogLevel(int loglevel, int debuglevel);

/// Open the adapter of this name; null when the list has none or the platform refuses.
nvme_handle *Nvme_Open(const nvme_adapter_list *adapters, const char *name);

void Nvme_Close(nvme_handle *handle);

/// Closes a handle when it goes out of scope.
struct NvmeCloser {
  void operator()(nvme_handle *handle) const { Nvme_Close(handle); }
};
using NvmeHandle = std::unique_ptr<nvme_handle, NvmeCloser>;

/// Pass a command block with the driver's command code `cmd`.
int Nvme_Ioctl(nvme_handle *handle, int cmd, usr_io *uio);

/// Pass an admin command, or an I/O command. @return the platform's status, else the driver's
int Nvme_AdminPassthru(nvme_handle *handle, usr_io *uio);
int Nvme_IOPassthru(nvme_handle *handle, usr_io *uio);

/// Pass a command with a command code of the caller's choice; only the platform's status comes back.
int Nvme_AdminPassthru_error(nvme_handle *handle, int cmd, usr_io *uio);

/// Identify the controller (`ns` below 0) or a namespace, 4096 bytes into `id`, which is page-aligned.
int Nvme_Identify(nvme_handle *handle, int ns, void *id);

/// Vendor namespace management: create a namespace with `snu` and `nnu` in CDW13 and CDW14, delete one.
int Nvme_CreateNamespace_IDT(nvme_handle *handle, int ns, uint32_t snu, uint32_t nnu);
int Nvme_DeleteNamespace_IDT(nvme_handle *handle, int ns);

/// Download a firmware image of `rom_size` bytes in chunks of 8192 bytes. `slot` is not used: it is
/// named when the image is committed. @return 0, -12, or the status of the first chunk that failed
int Nvme_FWDownload(nvme_handle *handle, int slot, const void *rom_buf, uint32_t rom_size);

/// Find the first firmware slot without a revision. `*slot` must hold a slot, 1 to 7, beforehand.
/// @return 0 with `*slot` set; -5 when the slot log cannot be read; -22 when every slot is taken
int Nvme_FWFindSlot(nvme_handle *handle, int *slot);

/// Commit the firmware in `slot` (1 to 7) with commit action `action` (0 to 3).
/// @return 0; 1 when a conventional reset is needed; else status code type << 8 | status code
int Nvme_FWActivate(nvme_handle *handle, int slot, int action);

/// Format a namespace (NVMe base standard, Format NVM, by the names of its fields).
/// @return 0, else status code type << 8 | status code
int Nvme_FormatNvm(nvme_handle *handle, int ses, int pil, int pi, int ms, int lbaf, int ns);

/// Read a firmware image file whole. What goes wrong is said on standard error.
/// @param[out] fw_size bytes read
/// @return 0; -1, -2, -5, -9, -12 or -22 (a null argument)
int Nvme_FWLoadImage(const char *fw_path, std::unique_ptr<uint8_t[]> *fw_buf, size_t *fw_size);

#endif  // TRX_DEVICE_VMWARE_NVME_LIB_H
