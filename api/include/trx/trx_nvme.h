/* SPDX-License-Identifier: GPL-3.0-or-later */
/**
 * @file trx_nvme.h
 * Numbers of the NVMe base standard and of the NVMe Management Interface standard that this library
 * and its users send, under the standards' names. Usable from C11 and from C++.
 */
#ifndef TRX_NVME_H
#define TRX_NVME_H

#include <stdint.h>

/** Opcodes of admin commands. */
enum {
  TRX_NVME_GET_LOG_PAGE = 0x02,
  TRX_NVME_IDENTIFY = 0x06,
  TRX_NVME_NAMESPACE_MANAGEMENT = 0x0D,
  TRX_NVME_FIRMWARE_COMMIT = 0x10,
  TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD = 0x11,
  TRX_NVME_NAMESPACE_ATTACHMENT = 0x15,
  TRX_NVME_MI_SEND = 0x1D,
  TRX_NVME_MI_RECEIVE = 0x1E,
  TRX_NVME_FORMAT_NVM = 0x80
};

/** Opcodes of NVM commands. */
enum {
  TRX_NVME_NVM_WRITE = 0x01,
  TRX_NVME_NVM_READ = 0x02,
  TRX_NVME_NVM_WRITE_UNCORRECTABLE = 0x04,
  TRX_NVME_NVM_COMPARE = 0x05,
  TRX_NVME_NVM_WRITE_ZEROES = 0x08
};

/** Identify, CDW10 bits 07:00: which data structure (CNS). */
enum {
  TRX_NVME_CNS_NAMESPACE = 0x00,
  TRX_NVME_CNS_CONTROLLER = 0x01,
  TRX_NVME_CNS_PRIMARY_CONTROLLER_CAPABILITIES = 0x14
};

/** Get Log Page, CDW10 bits 07:00: which page (LID). */
enum {
  TRX_NVME_LID_SMART_HEALTH = 0x02,
  TRX_NVME_LID_FIRMWARE_SLOT = 0x03,
  TRX_NVME_LID_SPI = 0xC0 /**< the maker's own: the SPI flash area */
};

/** Get Log Page, CDW10 for the first `bytes` of page `lid`: NUMDL, a count of dwords less one, above it. */
#define TRX_NVME_LOG_PAGE_CDW10(lid, bytes) ((((uint32_t)(bytes) / 4u - 1u) << 16) | (uint32_t)(lid))

/** NSID that stands for every namespace. */
#define TRX_NVME_ALL_NAMESPACES 0xFFFFFFFFu

/** Namespace Attachment, CDW10 bits 03:00: what is to be done (SEL). */
enum { TRX_NVME_ATTACH = 0, TRX_NVME_DETACH = 1 };

/** Firmware Commit, CDW10 bits 05:03 (CA): activate what the slot holds, at the next reset or now. */
enum { TRX_NVME_COMMIT_ACTIVATE_AT_RESET = 2, TRX_NVME_COMMIT_ACTIVATE_NOW = 3 };

#endif /* TRX_NVME_H */
