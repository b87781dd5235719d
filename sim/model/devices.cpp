// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/devices.h"

#include <algorithm>

#include "model/firmware.h"
#include "model/smart.h"
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

void failDisk(Adapter &adapter, Millis now, Disk &disk) {
  diskLost(adapter, now, disk);
  disk.failed = 1;
}

void mendDisk(Adapter &adapter, Millis now, Disk &disk) {
  // A topology may have made one that failed a member.
  if (volumeOfDisk(adapter, disk.id)) diskLost(adapter, now, disk);
  disk.present = 1;
  disk.failed = 0;
  diskFound(adapter, now, disk);
}

void replaceDisk(Adapter &adapter, Millis now, Disk &disk, std::string_view serial) {
  std::erase_if(adapter.namespaces, [&disk](const Namespace &ns) {
    return ns.deviceType == TRX_NS_DEVICE_PD && ns.backing == disk.id;
  });
  putText(disk.serial, serial);
  disk.led = 0;
  disk.completion = static_cast<uint8_t>(PcieCompletion::Ok);
  disk.resets = 0;
  disk.firmware.pending = 0;
  disk.smart = unworn(now);
  mendDisk(adapter, now, disk);
}

Disk *addPlace(Adapter &adapter, uint64_t id) {
  const NVME_Adapter_Info &info = adapter.core.info;
  const uint64_t places = uint64_t{info.PortCount} * (adapter.raid() ? info.MaxPD : info.MaxNSPerVD);
  if (adapter.disks.empty() || id >= std::min<uint64_t>(places, 255)) return nullptr;
  auto place = std::find_if(adapter.disks.begin(), adapter.disks.end(),
                            [id](const Disk &disk) { return disk.id >= id; });
  if (place != adapter.disks.end() && place->id == id) return nullptr;
  Disk made = adapter.disks.front();
  made.id = made.ssdController = static_cast<uint16_t>(id);
  made.present = made.failed = made.held = 0;
  return &*adapter.disks.insert(place, made);
}

void setSwitch(Adapter &adapter, Switch which, bool on) {
  uint8_t &wanted = adapter.core.pendingSwitches;
  wanted = static_cast<uint8_t>(on ? wanted | which : wanted & ~which);
}

void applyPendingSwitches(Adapter &adapter) { adapter.core.switches = adapter.core.pendingSwitches; }

}  // namespace sim
