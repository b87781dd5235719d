// SPDX-License-Identifier: GPL-3.0-or-later
// The SMART / health information log (NVMe base standard, log page 02h).
#ifndef TRX_CLI_SMART_LOG_H
#define TRX_CLI_SMART_LOG_H

#include <array>
#include <cstddef>
#include <optional>

#include "Public/value.h"
#include "trx/trx_nvme.h"
#include "trx/trx_records.h"

namespace trx {

/// The log as it is stored, little-endian and without gaps.
struct SmartLog {
  TRX_U8 criticalWarning;
  std::array<TRX_U8, 2> compositeTemperature;  ///< kelvin
  TRX_U8 availableSpare;                       ///< these three in per cent
  TRX_U8 availableSpareThreshold;
  TRX_U8 percentageUsed;
  std::array<TRX_U8, 26> reserved6;
  Counter dataUnitsRead;
  Counter dataUnitsWritten;
  Counter hostReadCommands;
  Counter hostWriteCommands;
  Counter controllerBusyTime;  ///< minutes
  Counter powerCycles;
  Counter powerOnHours;
  Counter unsafeShutdowns;
  Counter mediaErrors;
  Counter errorLogEntries;
  TRX_U32 warningTemperatureTime;  ///< minutes
  TRX_U32 criticalTemperatureTime;
  std::array<TRX_U16, 8> temperatureSensors;  ///< kelvin
  std::array<TRX_U32, 2> thermalTransitions;
  std::array<TRX_U32, 2> thermalTimes;  ///< seconds
  std::array<TRX_U8, 280> reserved232;

  /// Nothing where the log tells none, which is 0 K.
  std::optional<int> temperatureCelsius() const;
};
static_assert(sizeof(SmartLog) == 512);
static_assert(offsetof(SmartLog, dataUnitsRead) == 32 && offsetof(SmartLog, errorLogEntries) == 176);
static_assert(offsetof(SmartLog, warningTemperatureTime) == 192 &&
              offsetof(SmartLog, thermalTransitions) == 216);

inline constexpr size_t kSmartLogBytes = sizeof(SmartLog);

/// Dword 10 of the Get Log Page command that reads the whole log: 128 dwords of page 02h.
inline constexpr TRX_U32 kSmartLogPage = TRX_NVME_LOG_PAGE_CDW10(TRX_NVME_LID_SMART_HEALTH, kSmartLogBytes);

/// A data unit is 1000 blocks of 512 bytes.
inline constexpr TRX_U32 kDataUnitBytes = 512'000;

/// Words for the bits of the critical warning, from bit 0 on.
inline constexpr const char *kCriticalWarnings[] = {
    "spare", "temperature", "reliability", "read only", "volatile memory backup", "persistent memory"};

// Readers: the log is untouched on failure. @return the library's status, of which the library has told

/// @param disk zero-based
TRX_U32 readDiskSmartLog(TRX_U8 adapter, TRX_U32 disk, SmartLog &log);
TRX_U32 readAdapterSmartLog(TRX_U8 adapter, SmartLog &log);

}  // namespace trx

#endif  // TRX_CLI_SMART_LOG_H
