// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/restart.h"

#include "model/devices.h"
#include "model/diagnostics.h"
#include "model/firmware.h"

namespace sim {
namespace {

void restartFirmware(Adapter &adapter, Millis now) {
  activatePendingFirmware(adapter, now);
  adapter.core.imageVerified = 0;
  adapter.core.imageType = 0;
  for (Disk &disk : adapter.disks) activatePending(disk.firmware);
}

void countPowerCycle(Adapter &adapter) {
  ++adapter.core.smart.powerCycles;
  for (Disk &disk : adapter.disks) ++disk.smart.powerCycles;
}

}  // namespace

// One line per thing that does not outlive the power, or wakes up with it.
void restart(Session &session) {
  Adapter &adapter = session.change();
  discardStagedImages(session);
  applyPendingSwitches(adapter);
  restartFirmware(adapter, session.now());
  countPowerCycle(adapter);
  restartDiagnostics(adapter.core);
}

}  // namespace sim
