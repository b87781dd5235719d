// SPDX-License-Identifier: GPL-3.0-or-later
// Readers of single records that other commands and the entry routine use too.
#ifndef TRX_CLI_SIMPLE_INFO_H
#define TRX_CLI_SIMPLE_INFO_H

#include "trx/trx_records.h"

namespace trx {

/// Read an adapter's summary (controller function E0h, 156 bytes). The signature is not checked.
/// Prints "\nUnable to get info of NVMe Controller\n" on failure.
/// @param[out] out untouched on failure
/// @return the library's status
TRX_U32 TRX_Adapter_GetSimpleInfo(TRX_U8 adapter, NVME_Adapter_Info *out);

/// Read a virtual disk's record (controller function E2h, 176 bytes). The current adapter is asked,
/// whatever `adapter` says: this is meant. Prints nothing on failure.
/// @param[out] out untouched on failure
/// @return 0; 1 for a reply that is not signed; else the firmware's status byte
TRX_U32 TRX_Adapter_GetSimpleVDInfo(TRX_U8 adapter, TRX_U16 vd, NVME_VD_Info *out);

}  // namespace trx

#endif  // TRX_CLI_SIMPLE_INFO_H
