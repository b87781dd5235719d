// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/sound.h"

#include <algorithm>

namespace sim {
namespace {

bool soundTime(Millis time) { return time >= 0 && time <= kLatest; }

bool soundSectors(uint32_t bytes) { return bytes == 512 || bytes == 4096; }

bool soundFirmware(const FirmwareSlots &slots) {
  return slots.count >= 1 && slots.count <= std::size(slots.revision) && slots.active >= 1 &&
         slots.active <= slots.count && slots.pending <= slots.count;
}

bool soundCore(const AdapterCore &core) {
  return plainName(fieldText(core.name)) && core.name[std::size(core.name) - 1] == '\0' &&
         core.controllerId <= kLastController && soundFirmware(core.firmware) &&
         soundTime(core.smart.since) && core.vpdTarget < std::size(core.vpd) &&
         core.latencyMillis <= kLongestLatency && core.miRequestLength <= std::size(core.miRequest);
}

bool soundDisk(const Disk &disk) {
  return soundSectors(disk.sectorSize) && soundFirmware(disk.firmware) && soundTime(disk.smart.since);
}

bool soundVolume(const Volume &volume) {
  return soundSectors(volume.sectorSize) && volume.memberCount <= std::size(volume.members) &&
         (volume.forcedStatus == kStatusNotForced || volume.forcedStatus <= TRX_VD_STATUS_ERROR_HANDLING);
}

bool soundNamespace(const Namespace &ns) {
  return soundSectors(ns.sectorSize) && ns.owner <= kLastController;
}

bool soundActivity(const Activity &activity) {
  return activity.type >= TRX_NVME_BGA_TYPE_VD_INIT_QUICK &&
         activity.type <= TRX_NVME_BGA_TYPE_VD_MEDIAPATROL && activity.slot < std::size(Volume{}.members) &&
         soundTime(activity.since) && activity.newMemberCount <= std::size(activity.newMembers);
}

bool soundJournal(const Journal &journal) {
  return journal.page < kJournalPages && journal.used <= kJournalText;
}

}  // namespace

bool sound(const Adapter &adapter) {
  return soundCore(adapter.core) && std::ranges::all_of(adapter.disks, soundDisk) &&
         std::ranges::all_of(adapter.volumes, soundVolume) &&
         std::ranges::all_of(adapter.namespaces, soundNamespace) &&
         std::ranges::all_of(adapter.activities, soundActivity) && adapter.journal.size() == 1 &&
         soundJournal(adapter.journal.front());
}

}  // namespace sim
