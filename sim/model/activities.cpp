// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/activities.h"

#include <algorithm>

#include "model/journal.h"
#include "model/storage.h"

namespace sim {
namespace {

constexpr uint32_t kWhole = 100'000;  // thousandths of a percent

bool onDisk(const Activity &activity) { return activity.type == TRX_NVME_BGA_TYPE_HD_MEDIAPATROL; }

uint64_t rateMilli(const Adapter &adapter) {
  return uint64_t{adapter.core.rateMilli} * ratePercent(adapter.core.config.BGARate) / 100;
}

uint32_t doneMilli(const Adapter &adapter, const Activity &activity, Millis now) {
  uint64_t done = activity.doneMilli;
  if (!activity.paused && now > activity.since) {
    auto elapsed = static_cast<uint64_t>(now - activity.since);
    uint64_t rate = rateMilli(adapter);
    // A state that was left alone for years would overflow; a full activity needs no exact count.
    if (rate != 0 && elapsed / 1000 >= uint64_t{kWhole} / rate + 1) return kWhole;
    done += elapsed * rate / 1000;
  }
  return static_cast<uint32_t>(std::min<uint64_t>(done, kWhole));
}

Millis timeOf(const Adapter &adapter, const Activity &activity, uint32_t milli) {
  uint64_t rate = rateMilli(adapter);
  if (rate == 0 || milli <= activity.doneMilli) return activity.since;
  return activity.since + static_cast<Millis>(uint64_t{milli - activity.doneMilli} * 1000 / rate);
}

/// Sync and migration have no messages of their own in the journal's catalogue.
bool blockOf(const Activity &activity, VolumeEvent &block) {
  switch (activity.type) {
    case TRX_NVME_BGA_TYPE_VD_INIT_QUICK:
    case TRX_NVME_BGA_TYPE_VD_INIT_BACKGROUND:
      block = VolumeEvent::Init;
      return true;
    case TRX_NVME_BGA_TYPE_VD_REBUILD:
      block = VolumeEvent::Rebuild;
      return true;
    case TRX_NVME_BGA_TYPE_VD_MEDIAPATROL:
      block = VolumeEvent::MediaPatrol;
      return true;
    default:
      return false;
  }
}

void tell(Adapter &adapter, Millis when, const Activity &activity, Step step, uint32_t percent = 0) {
  VolumeEvent block{};
  if (blockOf(activity, block)) journalActivity(adapter, when, block, step, activity.target, percent);
}

Activity *find(Adapter &adapter, uint32_t target, bool disk) {
  for (Activity &activity : adapter.activities)
    if (activity.target == target && onDisk(activity) == disk) return &activity;
  return nullptr;
}

Activity &start(Adapter &adapter, Millis now, uint8_t type, uint32_t target) {
  Activity activity{};
  activity.type = type;
  activity.target = static_cast<uint16_t>(target);
  activity.since = now;
  tell(adapter, now, activity, Step::Start);
  return adapter.activities.emplace_back(activity);
}

void remove(Adapter &adapter, const Activity &gone) {
  adapter.activities.erase(adapter.activities.begin() + (&gone - adapter.activities.data()));
}

/// Common to everything that starts on a volume: it must exist, be whole enough and be idle.
Fw volumeReady(const Adapter &adapter, uint32_t id, bool mustBeWhole) {
  const Volume *volume = findVolume(adapter, id);
  if (!volume) return Fw::InvalidVolume;
  if (const Activity *running = volumeActivity(adapter, id))
    return running->type == TRX_NVME_BGA_TYPE_VD_MEDIAPATROL ? Fw::MediaPatrolRunning : Fw::ActivityRunning;
  uint8_t status = volumeStatus(adapter, *volume);
  if (mustBeWhole && status != TRX_VD_STATUS_FUNCTIONAL) return Fw::NotFunctional;
  return Fw::Ok;
}

void undo(Adapter &adapter, const Activity &activity) {
  if (activity.type != TRX_NVME_BGA_TYPE_VD_REBUILD) return;
  if (Volume *volume = findVolume(adapter, activity.target))
    volume->members[activity.slot] = TRX_PD_ID_MISSING;
}

void abort(Adapter &adapter, Millis now, Activity &activity) {
  Activity gone = activity;
  remove(adapter, activity);
  undo(adapter, gone);
  tell(adapter, now, gone, Step::Aborted);
}

/// Whether a volume's activity writes a disk so that it becomes a member.
bool fills(const Activity &activity, uint32_t disk) {
  if (activity.type == TRX_NVME_BGA_TYPE_VD_REBUILD) return activity.disk == disk;
  auto end = activity.newMembers + activity.newMemberCount;
  return activity.type == TRX_NVME_BGA_TYPE_VD_MIGRATE && std::find(activity.newMembers, end, disk) != end;
}

uint64_t smallestMember(const Adapter &adapter, const uint16_t *members, size_t count) {
  uint64_t smallest = UINT64_MAX;
  for (size_t i = 0; i < count; ++i)
    if (const Disk *disk = findDisk(adapter, members[i])) smallest = std::min(smallest, disk->sectors);
  return smallest == UINT64_MAX ? 0 : smallest;
}

void finishMigration(const Adapter &adapter, const Activity &activity, Volume &volume) {
  volume.raidMode = activity.newRaidMode;
  volume.memberCount = activity.newMemberCount;
  std::copy(activity.newMembers, activity.newMembers + 32, volume.members);
  volume.sectors =
      capacityOf(volume.raidMode, volume.stripeBlocks, volume.sectorSize,
                 smallestMember(adapter, volume.members, volume.memberCount), volume.memberCount);
}

void finish(Adapter &adapter, Activity &activity) {
  Millis when = timeOf(adapter, activity, kWhole);
  Activity gone = activity;
  remove(adapter, activity);
  tell(adapter, when, gone, Step::Complete);
  Volume *volume = onDisk(gone) ? nullptr : findVolume(adapter, gone.target);
  if (!volume) return;
  switch (gone.type) {
    case TRX_NVME_BGA_TYPE_VD_INIT_QUICK:
    case TRX_NVME_BGA_TYPE_VD_INIT_BACKGROUND:
      volume->initialised = 1;
      break;
    case TRX_NVME_BGA_TYPE_VD_REBUILD:
      if (missingMembers(*volume) == 0) journalVolume(adapter, when, VolumeEvent::Online, volume->id);
      break;
    case TRX_NVME_BGA_TYPE_VD_MIGRATE:
      finishMigration(adapter, gone, *volume);
      break;
    default:
      break;
  }
}

bool spare(const Adapter &adapter, const Disk &disk) {
  return disk.present && !disk.failed && disk.held == 0 && !volumeOfDisk(adapter, disk.id);
}

enum class AutoRebuild { Nothing, TooSmall, Start };

AutoRebuild candidate(const Adapter &adapter, const Volume &volume, const Disk &disk) {
  if (!spare(adapter, disk) || disk.sectorSize != volume.sectorSize) return AutoRebuild::Nothing;
  uint64_t needed = smallestMember(adapter, volume.members, volume.memberCount);
  if (disk.sectors >= needed) return AutoRebuild::Start;
  return disk.tooSmallTold ? AutoRebuild::Nothing : AutoRebuild::TooSmall;
}

bool wantsRebuild(const Adapter &adapter, const Volume &volume) {
  return adapter.core.config.AutoRebuildOn == 1 && !volumeActivity(adapter, volume.id) &&
         volumeStatus(adapter, volume) == TRX_VD_STATUS_DEGRADE;
}

void rebuildByItself(Adapter &adapter, Millis now) {
  for (Volume &volume : adapter.volumes) {
    if (!wantsRebuild(adapter, volume)) continue;
    for (Disk &disk : adapter.disks) {
      AutoRebuild answer = candidate(adapter, volume, disk);
      if (answer == AutoRebuild::TooSmall) {
        disk.tooSmallTold = 1;
        journalDisk(adapter, now, DiskEvent::TargetTooSmall, disk.id);
      }
      if (answer == AutoRebuild::Start && startRebuild(adapter, now, volume.id, disk.id) == Fw::Ok) break;
    }
  }
}

Fw control(Adapter &adapter, Millis now, Activity *activity, uint32_t operation) {
  if (operation > TRX_NVME_BGA_OPERATION_ABORT || operation == TRX_NVME_BGA_OPERATION_START)
    return Fw::InvalidActivityAction;
  if (!activity) return Fw::NoActivity;
  if (operation == TRX_NVME_BGA_OPERATION_ABORT) {
    abort(adapter, now, *activity);
    return Fw::Ok;
  }
  bool pause = operation == TRX_NVME_BGA_OPERATION_PAUSE;
  if (pause == (activity->paused != 0)) return pause ? Fw::ActivityNotRunning : Fw::ActivityRunning;
  activity->doneMilli = doneMilli(adapter, *activity, now);
  activity->since = now;
  activity->paused = pause;
  tell(adapter, now, *activity, pause ? Step::Paused : Step::Resumed);
  return Fw::Ok;
}

}  // namespace

uint32_t ratePercent(uint8_t bgaRate) {
  return bgaRate == TRX_BGA_RATE_HIGH ? 100 : bgaRate == TRX_BGA_RATE_MEDIUM ? 50 : 10;
}

uint8_t activityPercent(const Adapter &adapter, const Activity &activity, Millis now) {
  return static_cast<uint8_t>(doneMilli(adapter, activity, now) / 1000);
}

const Activity *volumeActivity(const Adapter &adapter, uint32_t volume) {
  return find(const_cast<Adapter &>(adapter), volume, false);
}

const Activity *diskActivity(const Adapter &adapter, uint32_t disk) {
  return find(const_cast<Adapter &>(adapter), disk, true);
}

Fw startInit(Adapter &adapter, Millis now, uint32_t id, uint8_t type) {
  if (type != TRX_NVME_BGA_TYPE_VD_INIT_QUICK && type != TRX_NVME_BGA_TYPE_VD_INIT_BACKGROUND)
    return Fw::InvalidParameter;
  if (Fw status = volumeReady(adapter, id, true); status != Fw::Ok) return status;
  start(adapter, now, type, id);
  return Fw::Ok;
}

Fw startVolumePatrol(Adapter &adapter, Millis now, uint32_t id) {
  if (Fw status = volumeReady(adapter, id, true); status != Fw::Ok) return status;
  start(adapter, now, TRX_NVME_BGA_TYPE_VD_MEDIAPATROL, id);
  return Fw::Ok;
}

Fw startDiskPatrol(Adapter &adapter, Millis now, uint32_t id) {
  const Disk *disk = findDisk(adapter, id);
  if (!disk || disk->failed) return Fw::InvalidDisk;
  if (diskActivity(adapter, id)) return Fw::MediaPatrolRunning;
  start(adapter, now, TRX_NVME_BGA_TYPE_HD_MEDIAPATROL, id);
  return Fw::Ok;
}

Fw startSync(Adapter &adapter, Millis now, uint32_t id) {
  if (Fw status = volumeReady(adapter, id, true); status != Fw::Ok) return status;
  const Volume *volume = findVolume(adapter, id);
  if (!redundant(*volume)) return Fw::NotRedundant;
  if (!volume->initialised) return Fw::NotInitialised;
  start(adapter, now, TRX_NVME_BGA_TYPE_VD_SYNC, id);
  return Fw::Ok;
}

Fw startRebuild(Adapter &adapter, Millis now, uint32_t id, uint32_t diskId) {
  if (Fw status = volumeReady(adapter, id, false); status != Fw::Ok) return status;
  Volume *volume = findVolume(adapter, id);
  if (!redundant(*volume)) return Fw::NotRedundant;
  uint8_t status = volumeStatus(adapter, *volume);
  if (status == TRX_VD_STATUS_FUNCTIONAL) return Fw::Functional;
  if (status != TRX_VD_STATUS_DEGRADE) return Fw::RebuildSourceFail;
  const Disk *disk = findDisk(adapter, diskId);
  if (!disk || disk->failed) return Fw::InvalidDisk;
  if (!spare(adapter, *disk)) return Fw::DiskAssigned;
  if (disk->sectorSize != volume->sectorSize) return Fw::SectorSizeMismatch;
  if (disk->sectors < smallestMember(adapter, volume->members, volume->memberCount))
    return Fw::RebuildTargetTooSmall;
  auto end = volume->members + volume->memberCount;
  auto place = std::find(volume->members, end, TRX_PD_ID_MISSING);
  if (place == end) return Fw::Functional;  // a status forced to "degrade" lacks no member
  *place = disk->id;
  Activity &activity = start(adapter, now, TRX_NVME_BGA_TYPE_VD_REBUILD, id);
  activity.slot = static_cast<uint8_t>(place - volume->members);
  activity.disk = disk->id;
  return Fw::Ok;
}

Fw startMigration(Adapter &adapter, Millis now, uint32_t id, uint8_t raidMode,
                  const std::vector<uint16_t> &members) {
  if (Fw status = volumeReady(adapter, id, true); status != Fw::Ok) return status;
  const Volume *volume = findVolume(adapter, id);
  VolumePlan plan{.raidMode = raidMode, .stripeBlocks = volume->stripeBlocks, .members = members};
  Adapter without = adapter;  // the volume's own disks are free to be part of the new layout
  std::erase_if(without.volumes, [id](const Volume &v) { return v.id == id; });
  VolumeSize size = planVolume(without, plan);
  if (size.status != Fw::Ok) return size.status;
  if (size.sectorSize != volume->sectorSize) return Fw::SectorSizeMismatch;
  if (size.sectors < volume->sectors) return Fw::NoResource;  // data must keep its place
  Activity &activity = start(adapter, now, TRX_NVME_BGA_TYPE_VD_MIGRATE, id);
  activity.newRaidMode = raidMode;
  activity.newMemberCount = static_cast<uint8_t>(members.size());
  std::copy(members.begin(), members.end(), activity.newMembers);
  return Fw::Ok;
}

Fw controlVolumeActivity(Adapter &adapter, Millis now, uint32_t volume, uint32_t operation) {
  if (!findVolume(adapter, volume)) return Fw::InvalidVolume;
  return control(adapter, now, find(adapter, volume, false), operation);
}

Fw controlDiskActivity(Adapter &adapter, Millis now, uint32_t disk, uint32_t operation) {
  if (!findDisk(adapter, disk)) return Fw::InvalidDisk;
  return control(adapter, now, find(adapter, disk, true), operation);
}

void abortVolumeActivities(Adapter &adapter, Millis now, uint32_t volume) {
  while (Activity *activity = find(adapter, volume, false)) abort(adapter, now, *activity);
}

void abortWholeVolumeActivities(Adapter &adapter, Millis now, uint32_t volume) {
  Activity *activity = find(adapter, volume, false);
  if (activity && activity->type != TRX_NVME_BGA_TYPE_VD_REBUILD) abort(adapter, now, *activity);
}

void abortDiskActivities(Adapter &adapter, Millis now, uint32_t disk) {
  while (Activity *activity = find(adapter, disk, true)) abort(adapter, now, *activity);
  for (size_t i = 0; i < adapter.activities.size();) {
    Activity &activity = adapter.activities[i];
    if (fills(activity, disk))
      abort(adapter, now, activity);
    else
      ++i;
  }
}

void rebaseActivities(Adapter &adapter, Millis now) {
  for (Activity &activity : adapter.activities) {
    activity.doneMilli = doneMilli(adapter, activity, now);
    activity.since = std::max(activity.since, now);
  }
}

bool advanceDue(const Adapter &adapter, Millis now) {
  for (const Activity &activity : adapter.activities)
    if (doneMilli(adapter, activity, now) / 25'000 > activity.toldQuarter) return true;
  if (adapter.core.config.AutoRebuildOn != 1) return false;
  for (const Volume &volume : adapter.volumes) {
    if (!wantsRebuild(adapter, volume)) continue;
    for (const Disk &disk : adapter.disks)
      if (candidate(adapter, volume, disk) != AutoRebuild::Nothing) return true;
  }
  return false;
}

void advance(Adapter &adapter, Millis now) {
  for (size_t i = 0; i < adapter.activities.size();) {
    Activity &activity = adapter.activities[i];
    uint32_t quarters = doneMilli(adapter, activity, now) / 25'000;
    while (activity.toldQuarter < std::min(quarters, 3U)) {
      ++activity.toldQuarter;
      uint32_t percent = activity.toldQuarter * 25U;
      tell(adapter, timeOf(adapter, activity, percent * 1000), activity, Step::Progress, percent);
    }
    if (quarters >= 4)
      finish(adapter, activity);
    else
      ++i;
  }
  rebuildByItself(adapter, now);
}

}  // namespace sim
