// SPDX-License-Identifier: GPL-3.0-or-later
// The SMART / Health Information log as it lies in memory (NVMe base standard, log page 02h).
#ifndef TRX_CLI_SMART_RECORD_H
#define TRX_CLI_SMART_RECORD_H

#include <cstddef>

#include "Public/value.h"
#include "trx/trx_records.h"

namespace trx {

#pragma pack(push, 1)
struct SmartRecord {
  TRX_U8 criticalWarning;
  TRX_U16 kelvin;  ///< 0: not told
  TRX_U8 spare;    ///< percent of what there was
  TRX_U8 spareThreshold;
  TRX_U8 used;  ///< percent of the life that its maker expects; may exceed 100
  TRX_U8 reserved1[26];
  Counter dataUnitsRead;  ///< of 1000 blocks of 512 bytes
  Counter dataUnitsWritten;
  Counter hostReads;
  Counter hostWrites;
  Counter busyMinutes;
  Counter powerCycles;
  Counter powerOnHours;
  Counter unsafeShutdowns;
  Counter mediaErrors;
  Counter errorLogEntries;
  TRX_U8 reserved2[320];
};
#pragma pack(pop)
static_assert(sizeof(SmartRecord) == 512);
static_assert(offsetof(SmartRecord, powerOnHours) == 128);
static_assert(offsetof(SmartRecord, mediaErrors) == 160);

/// Bits of `criticalWarning`, from bit 0 on.
inline constexpr const char *kCriticalWarnings[] = {
    "spare", "temperature", "reliability", "read only", "volatile memory backup", "persistent memory"};

inline int celsiusOf(const SmartRecord &log) { return int{log.kelvin} - 273; }

}  // namespace trx

#endif  // TRX_CLI_SMART_RECORD_H
