// SPDX-License-Identifier: GPL-3.0-or-later
// What crosses the management interface of the platform's NVMe driver. Packed and little-endian; under
// each record stand its size and the offset of each of its fields but bit-fields, which have none.
#ifndef TRX_DEVICE_VMWARE_NVME_DRIVER_H
#define TRX_DEVICE_VMWARE_NVME_DRIVER_H

#include "trx/trx_records.h"

#define TRX_SIZE_(type, bytes) static_assert(sizeof(type) == (bytes), #type " is " #bytes " bytes long")
#define TRX_AT_(type, field, at) static_assert(offsetof(type, field) == (at), #type "." #field " is at " #at)

#pragma pack(push, 1)

struct nvme_admin_cmd {
  TRX_U8 opcode;
  TRX_U8 flags;
  TRX_U16 rsvd1;
  TRX_U32 nsid;
  TRX_U32 cdw2;
  TRX_U32 cdw3;
  _TRX_U64 metadata;  ///< buffer address
  _TRX_U64 addr;      ///< data buffer address
  TRX_U32 metadata_len;
  TRX_U32 data_len;
  TRX_U32 cdw10;
  TRX_U32 cdw11;
  TRX_U32 cdw12;
  TRX_U32 cdw13;
  TRX_U32 cdw14;
  TRX_U32 cdw15;
  TRX_U32 timeout_ms;
  TRX_U32 result;  ///< completion dword 0 on return
};
TRX_SIZE_(nvme_admin_cmd, 72);
TRX_AT_(nvme_admin_cmd, opcode, 0);
TRX_AT_(nvme_admin_cmd, flags, 1);
TRX_AT_(nvme_admin_cmd, rsvd1, 2);
TRX_AT_(nvme_admin_cmd, nsid, 4);
TRX_AT_(nvme_admin_cmd, cdw2, 8);
TRX_AT_(nvme_admin_cmd, cdw3, 12);
TRX_AT_(nvme_admin_cmd, metadata, 16);
TRX_AT_(nvme_admin_cmd, addr, 24);
TRX_AT_(nvme_admin_cmd, metadata_len, 32);
TRX_AT_(nvme_admin_cmd, data_len, 36);
TRX_AT_(nvme_admin_cmd, cdw10, 40);
TRX_AT_(nvme_admin_cmd, cdw11, 44);
TRX_AT_(nvme_admin_cmd, cdw12, 48);
TRX_AT_(nvme_admin_cmd, cdw13, 52);
TRX_AT_(nvme_admin_cmd, cdw14, 56);
TRX_AT_(nvme_admin_cmd, cdw15, 60);
TRX_AT_(nvme_admin_cmd, timeout_ms, 64);
TRX_AT_(nvme_admin_cmd, result, 68);

/// NVMe submission queue entry (NVMe base standard, common command format).
struct nvme_cmd {
  TRX_U8 opcode;
  TRX_U8 flags;  ///< FUSE in bits 1:0, PSDT in bits 7:6
  TRX_U16 cid;
  TRX_U32 nsid;
  TRX_U32 cdw2;
  TRX_U32 cdw3;
  _TRX_U64 metadata;
  _TRX_U64 prp1;
  _TRX_U64 prp2;
  TRX_U32 cdw10;
  TRX_U32 cdw11;
  TRX_U32 cdw12;
  TRX_U32 cdw13;
  TRX_U32 cdw14;
  TRX_U32 cdw15;
};
TRX_SIZE_(nvme_cmd, 64);
TRX_AT_(nvme_cmd, opcode, 0);
TRX_AT_(nvme_cmd, flags, 1);
TRX_AT_(nvme_cmd, cid, 2);
TRX_AT_(nvme_cmd, nsid, 4);
TRX_AT_(nvme_cmd, cdw2, 8);
TRX_AT_(nvme_cmd, cdw3, 12);
TRX_AT_(nvme_cmd, metadata, 16);
TRX_AT_(nvme_cmd, prp1, 24);
TRX_AT_(nvme_cmd, prp2, 32);
TRX_AT_(nvme_cmd, cdw10, 40);
TRX_AT_(nvme_cmd, cdw11, 44);
TRX_AT_(nvme_cmd, cdw12, 48);
TRX_AT_(nvme_cmd, cdw13, 52);
TRX_AT_(nvme_cmd, cdw14, 56);
TRX_AT_(nvme_cmd, cdw15, 60);

/// NVMe completion queue entry (NVMe base standard).
struct cq_entry {
  TRX_U32 param;  ///< dword 0, command specific
  TRX_U32 reserved;
  TRX_U32 sqHdPtr : 16;
  TRX_U32 sqID : 16;
  TRX_U32 cmdID : 16;
  TRX_U32 phaseTag : 1;
  TRX_U32 SC : 8;   ///< status code
  TRX_U32 SCT : 3;  ///< status code type
  TRX_U32 reserved2 : 2;
  TRX_U32 more : 1;
  TRX_U32 noRetry : 1;
};
TRX_SIZE_(cq_entry, 16);
TRX_AT_(cq_entry, param, 0);
TRX_AT_(cq_entry, reserved, 4);

/// `usr_io::direction`.
enum { TRX_TO_CONTROLLER = 0, TRX_FROM_CONTROLLER = 1 };

/// One command given to the driver, and its completion.
struct usr_io {
  nvme_cmd cmd;
  cq_entry comp;
  TRX_U8 namespaceID;
  TRX_U8 direction;  ///< TRX_TO_CONTROLLER or TRX_FROM_CONTROLLER
  TRX_U16 reserved;
  TRX_U32 status;  ///< the driver's status of the command
  TRX_U32 length;  ///< data bytes
  TRX_U32 meta_length;
  _TRX_U64 timeoutUs;  ///< microseconds
  _TRX_U64 addr;       ///< data buffer
  _TRX_U64 meta_addr;
};
TRX_SIZE_(usr_io, 120);
TRX_AT_(usr_io, cmd, 0);
TRX_AT_(usr_io, comp, 64);
TRX_AT_(usr_io, namespaceID, 80);
TRX_AT_(usr_io, direction, 81);
TRX_AT_(usr_io, reserved, 82);
TRX_AT_(usr_io, status, 84);
TRX_AT_(usr_io, length, 88);
TRX_AT_(usr_io, meta_length, 92);
TRX_AT_(usr_io, timeoutUs, 96);
TRX_AT_(usr_io, addr, 104);
TRX_AT_(usr_io, meta_addr, 112);

struct nvmeAdapterInfo {
  char name[32];       ///< such as "vmhba2"
  char signature[32];  ///< name of the adapter's management signature
  _TRX_U64 status;
  _TRX_U64 cookie;
};
TRX_SIZE_(nvmeAdapterInfo, 80);
TRX_AT_(nvmeAdapterInfo, name, 0);
TRX_AT_(nvmeAdapterInfo, signature, 32);
TRX_AT_(nvmeAdapterInfo, status, 64);
TRX_AT_(nvmeAdapterInfo, cookie, 72);

struct nvme_adapter_list {
  TRX_U32 count;
  TRX_U8 pad[4];
  nvmeAdapterInfo adapters[64];
};
TRX_SIZE_(nvme_adapter_list, 5128);
TRX_AT_(nvme_adapter_list, count, 0);
TRX_AT_(nvme_adapter_list, pad, 4);
TRX_AT_(nvme_adapter_list, adapters, 8);

#pragma pack(pop)

#undef TRX_AT_
#undef TRX_SIZE_

#endif  // TRX_DEVICE_VMWARE_NVME_DRIVER_H
