// SPDX-License-Identifier: GPL-3.0-or-later
// The objects of a controller, read one record at a time. Nothing is printed here but the debug trace:
// what a failure means is for the caller to say.
//
// Every reader leaves its result untouched on failure. Ids are zero-based.
#ifndef TRX_CLI_OBJECTS_H
#define TRX_CLI_OBJECTS_H

#include <array>
#include <string>
#include <vector>

#include "trx/trx_records.h"

namespace trx {

// Controller functions (E2h). @return 0; 1 when the transfer failed or the reply is not signed; else the
// firmware's status byte

TRX_U32 readAdapter(TRX_U8 adapter, NVME_Adapter_Info &info);
TRX_U32 readDisk(TRX_U8 adapter, TRX_U16 id, NVME_PD_Info &disk);
TRX_U32 readVolume(TRX_U8 adapter, TRX_U16 id, NVME_VD_Info &volume);
TRX_U32 readVolumeActivity(TRX_U8 adapter, TRX_U16 id, NVME_BGA_Status &activity);

/// The namespaces as the host sees them: MaxNS entries, or as many as a reply holds (170). Entries with a
/// status of 0 are not in use.
TRX_U32 readHostNamespaces(TRX_U8 adapter, std::vector<NVME_NS_Info> &namespaces);

/// The namespaces of one volume, likewise.
TRX_U32 readVolumeNamespaces(TRX_U8 adapter, TRX_U8 vd, std::vector<NVME_NS_Info> &namespaces);

// Identify (NVMe base standard, opcode 06h) to the host-facing controller. @return the library's status,
// of which the library has told

/// Controller identifier of the primary controller (CNS 14h, first word).
TRX_U32 readPrimaryControllerId(TRX_U8 adapter, TRX_U16 &id);

using Eui64 = std::array<TRX_U8, 8>;

/// EUI-64 of a namespace (CNS 00h, bytes 120-127), in stored order.
TRX_U32 readEui64(TRX_U8 adapter, TRX_U32 nsid, Eui64 &eui64);

/// 16 lower-case hexadecimal digits.
std::string toText(const Eui64 &eui64);

}  // namespace trx

#endif  // TRX_CLI_OBJECTS_H
