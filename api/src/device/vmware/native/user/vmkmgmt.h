/* SPDX-License-Identifier: GPL-3.0-or-later */
/**
 * @file vmkmgmt.h
 * The three functions of the VMkernel management library, `libvmkmgmt.so`, and the records they
 * take: x86-64, natural alignment. The library is loaded at run time (see nvme_lib.cpp), so these
 * are the types of its symbols, not an import.
 */
#ifndef TRX_VMKMGMT_H
#define TRX_VMKMGMT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { VMK_MGMT_CALLBACK_KERNEL = 1 };
enum { VMK_MGMT_PARMTYPE_IN = 1, VMK_MGMT_PARMTYPE_OUT = 2, VMK_MGMT_PARMTYPE_INOUT = 3 };

struct vmk_MgmtCallbackInfo {
  uint32_t location; /* VMK_MGMT_CALLBACK_KERNEL */
  void *callback;    /* null on this side */
  uint8_t synchronous;
  uint8_t numParms;
  size_t parmSizes[4];
  uint32_t parmTypes[4];
  uint64_t callbackId;
};

struct vmk_MgmtApiSignature {
  uint32_t version; /* VMK_MGMT_VERSION */
  char name[32];
  char vendor[32];
  uint32_t numCallbacks;
  struct vmk_MgmtCallbackInfo *callbacks;
};

enum { VMK_MGMT_VERSION = 0x1000000 }; /* 1.0.0.0 */

/* Callback ids of the driver-wide signature "nvmeMgmt" and of each adapter's own signature. */
enum {
  NVME_MGMT_GLOBAL_LIST_ADAPTERS = 16, /* out: 4-byte count, 64 nvmeAdapterInfo entries */
  NVME_MGMT_GLOBAL_SET_LOG_LEVEL = 17, /* in: 4-byte log level, 4-byte debug level */
  NVME_MGMT_ADAPTER_QUERY = 16,        /* in: 4 bytes, out: 208 bytes; declared, never invoked */
  NVME_MGMT_ADAPTER_IOCTL = 17         /* in: 4-byte command code, in and out: usr_io */
};

/* Command codes of NVME_MGMT_ADAPTER_IOCTL. */
enum { NVME_IOCTL_ADMIN_CMD = 1, NVME_IOCTL_IO_CMD = 2 };

/* All return 0 for success, else a platform status. The invoke takes two parameter pointers here. */
typedef int (*vmk_MgmtUserInit_t)(struct vmk_MgmtApiSignature *signature, uint64_t cookie, void **handle);
typedef int (*vmk_MgmtUserCallbackInvokeInt_t)(void *handle, uint64_t instanceId, uint64_t callbackId, ...);
typedef void (*vmk_MgmtUserDestroy_t)(void *handle);

#ifdef __cplusplus
}
#endif

#endif /* TRX_VMKMGMT_H */
