// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/smart.h"

namespace sim {

SmartBase unworn(Millis now) {
  SmartBase smart{};
  smart.since = now;
  smart.temperatureKelvin = 308;
  smart.availableSpare = 100;
  smart.spareThreshold = 10;
  smart.powerCycles = 1;
  return smart;
}

SmartBase grown(SmartBase smart, Millis now) {
  const uint64_t seconds = now > smart.since ? static_cast<uint64_t>(now - smart.since) / 1000 : 0;
  smart.since = now;
  smart.dataUnitsRead += seconds / 8;
  smart.dataUnitsWritten += seconds / 16;
  smart.hostReads += seconds * 4;
  smart.hostWrites += seconds * 2;
  smart.busyMinutes += seconds / 3600;
  smart.powerOnHours += seconds / 3600;
  return smart;
}

}  // namespace sim
