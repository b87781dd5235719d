// SPDX-License-Identifier: GPL-3.0-or-later
// The SMART / health information log (NVMe base standard, log page 02h).
#ifndef TRX_CLI_SMART_H
#define TRX_CLI_SMART_H

#include <span>

#include "trx/trx_nvme.h"
#include "trx/trx_records.h"

namespace trx {

inline constexpr size_t kSmartLogBytes = 512;

/// Dword 10 of the Get Log Page command that reads the whole log: 128 dwords of page 02h.
inline constexpr TRX_U32 kSmartLogPage = TRX_NVME_LOG_PAGE_CDW10(TRX_NVME_LID_SMART_HEALTH, kSmartLogBytes);

/// Print the log on `stream`, a line per field. Counters of 16 bytes are shown as a long double holds
/// them: past 64 significant bits they are rounded.
void showLogSmartInfo(std::span<const TRX_U8, kSmartLogBytes> log);

}  // namespace trx

#endif  // TRX_CLI_SMART_H
