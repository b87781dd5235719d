// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/devices.h"

#include <algorithm>

#include "model/firmware.h"
#include "model/storage.h"

namespace sim {
namespace {

/// A disk by its id, also while it is held; null for one that is not plugged in.
Disk *pluggedDisk(Adapter &adapter, uint32_t id) {
  auto found = std::find_if(adapter.disks.begin(), adapter.disks.end(),
                            [id](const Disk &d) { return d.id == id && (d.present || d.held); });
  return found == adapter.disks.end() ? nullptr : &*found;
}

void startUp(Disk &disk) {
  ++disk.resets;
  activatePending(disk.firmware);
}

void hold(Adapter &adapter, Millis now, Disk &disk, Hold by) {
  bool wasThere = disk.held == 0;
  disk.held = static_cast<uint8_t>(disk.held | by);
  if (!wasThere) return;
  disk.present = 0;
  diskLost(adapter, now, disk);
}

void release(Adapter &adapter, Millis now, Disk &disk, Hold by) {
  bool wasGone = disk.held != 0;
  disk.held = static_cast<uint8_t>(disk.held & ~by);
  if (!wasGone || disk.held != 0) return;
  disk.present = 1;
  startUp(disk);
  diskFound(adapter, now, disk);
}

void drive(Adapter &adapter, Millis now, Disk &disk, Hold by, bool held, LineAction action) {
  if (action == LineAction::Cycle && disk.held == 0) return startUp(disk);
  if (action != LineAction::Cycle && held)
    hold(adapter, now, disk, by);
  else
    release(adapter, now, disk, by);
}

}  // namespace

Fw resetDisk(Adapter &adapter, uint32_t id) {
  Disk *disk = findDisk(adapter, id);
  if (!disk) return Fw::InvalidDisk;
  startUp(*disk);
  return Fw::Ok;
}

Fw driveResetLine(Adapter &adapter, Millis now, uint32_t id, LineAction action) {
  Disk *disk = pluggedDisk(adapter, id);
  if (!disk) return Fw::InvalidDisk;
  drive(adapter, now, *disk, kHeldByReset, action == LineAction::On, action);
  return Fw::Ok;
}

Fw switchPower(Adapter &adapter, Millis now, uint32_t pin, LineAction action) {
  if (pin >= kPowerPins) return Fw::InvalidParameter;
  for (Disk &disk : adapter.disks) {
    if (disk.id % kPowerPins != pin || !pluggedDisk(adapter, disk.id)) continue;
    if (action != LineAction::On) ++disk.smart.unsafeShutdowns;
    if (action != LineAction::Off) ++disk.smart.powerCycles;
    drive(adapter, now, disk, kHeldByPower, action == LineAction::Off, action);
  }
  return Fw::Ok;
}

void setSwitch(Adapter &adapter, Switch which, bool on) {
  uint8_t &wanted = adapter.core.pendingSwitches;
  wanted = static_cast<uint8_t>(on ? wanted | which : wanted & ~which);
}

void applyPendingSwitches(Adapter &adapter) { adapter.core.switches = adapter.core.pendingSwitches; }

}  // namespace sim
