// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/storage.h"

#include <algorithm>
#include <cstring>
#include <functional>

#include "model/activities.h"
#include "model/journal.h"

namespace sim {
namespace {

constexpr uint32_t kBlock = 512;

bool levelSupported(const Adapter &adapter, uint8_t raidMode) {
  uint16_t modes = adapter.core.info.SupportRAIDMode;
  switch (raidMode) {
    case TRX_RAID_MODE_0:
      return (modes & 1 << 0) != 0;
    case TRX_RAID_MODE_1:
      return (modes & 1 << 1) != 0;
    case TRX_RAID_MODE_JBOD:
      return (modes & 1 << 2) != 0;
    case TRX_RAID_MODE_10:
      return (modes & 1 << 3) != 0;
    default:
      return false;  // this controller knows no parity levels
  }
}

bool stripeSupported(const Adapter &adapter, uint32_t stripeBlocks) {
  uint8_t sizes = adapter.core.info.StripeSizeSupported;
  for (unsigned bit = 0; bit < 3; ++bit)
    if (stripeBlocks == 256U << bit) return (sizes >> bit & 1) != 0;
  return false;
}

uint32_t freeVolumeId(const Adapter &adapter) {
  for (uint32_t id = 0; id < adapter.core.info.MaxVD; ++id)
    if (!findVolume(adapter, id)) return id;
  return UINT32_MAX;
}

Fw checkMembers(const Adapter &adapter, const VolumePlan &plan, VolumeSize &size, uint64_t &smallest) {
  smallest = UINT64_MAX;
  for (uint16_t id : plan.members) {
    const Disk *disk = findDisk(adapter, id);
    if (!disk || disk->failed) return Fw::InvalidDisk;
    if (volumeOfDisk(adapter, id)) return Fw::DiskAssigned;
    if (std::count(plan.members.begin(), plan.members.end(), id) > 1) return Fw::InvalidParameter;
    if (size.sectorSize != 0 && disk->sectorSize != size.sectorSize) return Fw::SectorSizeMismatch;
    size.sectorSize = disk->sectorSize;
    smallest = std::min(smallest, disk->sectors);
  }
  return Fw::Ok;
}

Fw checkNamespaces(const Adapter &adapter, const VolumePlan &plan, uint64_t sectors) {
  uint32_t count = std::max(plan.namespaceCount, 1U);
  if (count > adapter.core.info.MaxNSPerVD || count > 64) return Fw::InvalidNamespaceCount;
  if (adapter.namespaces.size() + count > adapter.core.info.MaxNS) return Fw::NoAvailableId;
  uint64_t left = sectors;
  for (uint64_t wanted : plan.namespaceSize) {
    if (wanted > left) return Fw::NamespaceTooLarge;
    left -= wanted;
  }
  return Fw::Ok;
}

/// Carves the sizes of the plan; a size of 0 takes an equal part of the whole.
void carvePlan(Adapter &adapter, const VolumePlan &plan, const Volume &volume) {
  uint32_t count = std::max(plan.namespaceCount, 1U);
  uint64_t stripe = std::max<uint64_t>(uint64_t{volume.stripeBlocks} * kBlock / volume.sectorSize, 1);
  uint64_t even = volume.sectors / count / stripe * stripe;
  uint64_t left = volume.sectors;
  for (uint32_t i = 0; i < count; ++i) {
    uint64_t asked = i < plan.namespaceSize.size() ? plan.namespaceSize[i] : 0;
    uint64_t part = std::min(asked != 0 ? asked : even, left);
    left -= part;
    addNamespace(adapter, freeNamespaceId(adapter), TRX_NS_DEVICE_VD, volume.id, volume.sectorSize, part,
                 true);
  }
}

}  // namespace

bool memberCountFits(uint8_t raidMode, size_t members) {
  switch (raidMode) {
    case TRX_RAID_MODE_0:
      return members >= 2;
    case TRX_RAID_MODE_1:
      return members == 2;
    case TRX_RAID_MODE_10:
      return members >= 4 && members % 2 == 0;
    case TRX_RAID_MODE_JBOD:
      return members == 1;
    default:
      return false;
  }
}

uint64_t capacityOf(uint8_t raidMode, uint32_t stripeBlocks, uint32_t sectorSize, uint64_t smallest,
                    size_t members) {
  uint64_t stripe = std::max<uint64_t>(uint64_t{stripeBlocks} * kBlock / std::max(sectorSize, 1U), 1);
  uint64_t perDisk = smallest / stripe * stripe;
  if (raidMode == TRX_RAID_MODE_1 || raidMode == TRX_RAID_MODE_10) return perDisk * (members / 2);
  return perDisk * members;
}

VolumeSize planVolume(const Adapter &adapter, const VolumePlan &plan) {
  VolumeSize size;
  auto refuse = [&size](Fw status) {
    size.status = status;
    return size;
  };
  if (!adapter.raid()) return refuse(Fw::NotSupported);
  if (!levelSupported(adapter, plan.raidMode)) return refuse(Fw::InvalidRaidMode);
  if (!stripeSupported(adapter, plan.stripeBlocks)) return refuse(Fw::InvalidStripe);
  if (!memberCountFits(plan.raidMode, plan.members.size()) ||
      plan.members.size() > std::min<size_t>(adapter.core.info.MaxPDPerVD, 32))
    return refuse(Fw::InvalidDiskCount);
  uint64_t smallest = 0;
  if (Fw status = checkMembers(adapter, plan, size, smallest); status != Fw::Ok) return refuse(status);
  size.sectors = capacityOf(plan.raidMode, plan.stripeBlocks, size.sectorSize, smallest, plan.members.size());
  return size;
}

Fw createVolume(Adapter &adapter, Millis now, const VolumePlan &plan) {
  VolumeSize size = planVolume(adapter, plan);
  if (size.status != Fw::Ok) return size.status;
  uint32_t id = freeVolumeId(adapter);
  if (id == UINT32_MAX) return Fw::NoAvailableId;
  if (Fw status = checkNamespaces(adapter, plan, size.sectors); status != Fw::Ok) return status;
  Volume volume{};
  volume.id = static_cast<uint16_t>(id);
  volume.raidMode = plan.raidMode;
  volume.memberCount = static_cast<uint8_t>(plan.members.size());
  std::copy(plan.members.begin(), plan.members.end(), volume.members);
  volume.stripeBlocks = static_cast<uint16_t>(plan.stripeBlocks);
  volume.initialised = !redundant(volume);
  volume.forcedStatus = kStatusNotForced;
  volume.sectorSize = size.sectorSize;
  volume.sectors = size.sectors;
  putText(volume.name, plan.name.empty() ? "VD" + std::to_string(id) : plan.name, '\0');
  auto place = std::find_if(adapter.volumes.begin(), adapter.volumes.end(),
                            [id](const Volume &v) { return v.id > id; });
  adapter.volumes.insert(place, volume);
  journalVolume(adapter, now, VolumeEvent::Created, volume.id);
  carvePlan(adapter, plan, volume);
  return Fw::Ok;
}

Fw deleteVolume(Adapter &adapter, Millis now, uint32_t id) {
  if (!findVolume(adapter, id)) return Fw::InvalidVolume;
  abortVolumeActivities(adapter, now, id);
  std::erase_if(adapter.namespaces,
                [id](const Namespace &n) { return n.deviceType == TRX_NS_DEVICE_VD && n.backing == id; });
  std::erase_if(adapter.volumes, [id](const Volume &v) { return v.id == id; });
  journalVolume(adapter, now, VolumeEvent::Deleted, static_cast<uint16_t>(id));
  return Fw::Ok;
}

Fw importVolume(Adapter &adapter, Millis now, uint32_t id) {
  if (!adapter.raid() || !(adapter.core.info.Features & TRX_FEATURE_IMPORT)) return Fw::NotSupported;
  Volume *volume = findVolume(adapter, id);
  if (!volume) return Fw::InvalidVolume;
  if (!volume->foreign) return Fw::ImportAlready;
  if (!volume->importable) return Fw::ImportForeign;
  volume->foreign = 0;
  volume->importable = 0;
  volume->initialised = 1;
  volume->forcedStatus = kStatusNotForced;
  uint16_t volumeId = volume->id;
  if (freeSectors(adapter, TRX_NS_DEVICE_VD, volumeId) == volume->sectors && freeNamespaceId(adapter) != 0)
    carveNamespaces(adapter, TRX_NS_DEVICE_VD, volumeId, 1);
  journalVolume(adapter, now, VolumeEvent::ImportComplete, volumeId);
  return Fw::Ok;
}

Fw importDisk(Adapter &adapter, Millis now, uint32_t diskId) {
  if (!findDisk(adapter, diskId)) return Fw::InvalidDisk;
  const Volume *volume = volumeOfDisk(adapter, diskId);
  return volume ? importVolume(adapter, now, volume->id) : Fw::ImportNoTable;
}

bool redundant(const Volume &volume) {
  return volume.raidMode == TRX_RAID_MODE_1 || volume.raidMode == TRX_RAID_MODE_10;
}

size_t missingMembers(const Volume &volume) {
  return static_cast<size_t>(
      std::count(volume.members, volume.members + volume.memberCount, TRX_PD_ID_MISSING));
}

namespace {

/// A mirror survives while no pair of its members lacks both. One that a rebuild still fills has no data.
bool survives(const Adapter &adapter, const Volume &volume) {
  if (!redundant(volume)) return missingMembers(volume) == 0;
  const Activity *activity = volumeActivity(adapter, volume.id);
  const bool rebuilding = activity && activity->type == TRX_NVME_BGA_TYPE_VD_REBUILD;
  auto lacks = [&](unsigned place) {
    return volume.members[place] == TRX_PD_ID_MISSING || (rebuilding && activity->slot == place);
  };
  for (unsigned i = 0; i + 1 < volume.memberCount; i += 2)
    if (lacks(i) && lacks(i + 1)) return false;
  return true;
}

}  // namespace

uint8_t volumeStatus(const Adapter &adapter, const Volume &volume) {
  if (volume.forcedStatus != kStatusNotForced) return volume.forcedStatus;
  if (volume.foreign) return volume.importable ? TRX_VD_STATUS_IMPORTABLE : TRX_VD_STATUS_NOT_IMPORTABLE;
  if (!survives(adapter, volume)) return TRX_VD_STATUS_OFFLINE;
  const Activity *activity = volumeActivity(adapter, volume.id);
  if (activity && activity->type == TRX_NVME_BGA_TYPE_VD_REBUILD) return TRX_VD_STATUS_REBUILDING;
  if (missingMembers(volume) != 0) return TRX_VD_STATUS_DEGRADE;
  // A background initialisation leaves the volume usable; a quick one does not.
  if (activity && activity->type == TRX_NVME_BGA_TYPE_VD_INIT_QUICK) return TRX_VD_STATUS_INITIALIZATION;
  return TRX_VD_STATUS_FUNCTIONAL;
}

const Volume *volumeOfDisk(const Adapter &adapter, uint32_t diskId) {
  for (const Volume &volume : adapter.volumes)
    if (std::find(volume.members, volume.members + volume.memberCount, diskId) !=
        volume.members + volume.memberCount)
      return &volume;
  return nullptr;
}

uint8_t diskStatus(const Adapter &adapter, const Disk &disk) {
  unsigned status = 0;
  const Volume *volume = volumeOfDisk(adapter, disk.id);
  if (volume) status |= TRX_PD_STATUS_ASSIGNED;
  if (volume && volume->foreign && volume->importable) status |= TRX_PD_STATUS_IMPORTABLE;
  if (diskActivity(adapter, disk.id)) status |= TRX_PD_STATUS_MEDIA_PATROL;
  if (disk.failed) status |= TRX_PD_STATUS_FAIL;
  return static_cast<uint8_t>(status);
}

void diskLost(Adapter &adapter, Millis now, Disk &disk) {
  abortDiskActivities(adapter, now, disk.id);
  if (!disk.failed) journalDisk(adapter, now, DiskEvent::Offline, disk.id);  // one that failed is offline
  for (Volume &volume : adapter.volumes) {
    auto end = volume.members + volume.memberCount;
    auto place = std::find(volume.members, end, disk.id);
    if (place == end) continue;
    *place = TRX_PD_ID_MISSING;
    bool alive = survives(adapter, volume);
    if (alive)
      abortWholeVolumeActivities(adapter, now, volume.id);
    else
      abortVolumeActivities(adapter, now, volume.id);
    journalVolume(adapter, now, alive ? VolumeEvent::Degraded : VolumeEvent::Offline, volume.id);
  }
}

void diskFound(Adapter &adapter, Millis now, Disk &disk) {
  disk.tooSmallTold = 0;
  if (!disk.failed) journalDisk(adapter, now, DiskEvent::Online, disk.id);
}

namespace {

/// A disk that namespaces can be made on, or null.
const Disk *soundDisk(const Adapter &adapter, uint32_t id) {
  const Disk *disk = findDisk(adapter, id);
  return disk && !disk->failed ? disk : nullptr;
}

}  // namespace

uint8_t freeNamespaceId(const Adapter &adapter) {
  for (unsigned nsid = 1; nsid <= adapter.core.info.MaxNS && nsid < 255; ++nsid)
    if (!findNamespace(adapter, nsid)) return static_cast<uint8_t>(nsid);
  return 0;
}

Namespace &addNamespace(Adapter &adapter, uint8_t nsid, uint8_t deviceType, uint16_t backing,
                        uint32_t sectorSize, uint64_t sectors, bool shared) {
  Namespace ns{};
  ns.nsid = nsid;
  ns.deviceType = deviceType;
  ns.backing = backing;
  ns.shared = shared;
  ns.owner = adapter.core.controllerId;
  ns.sectorSize = sectorSize;
  ns.sectors = sectors;
  uint32_t serial = ++adapter.core.nextEui;
  const uint8_t eui[8] = {0x74,
                          0x72,
                          0x58,
                          static_cast<uint8_t>(adapter.core.index),
                          static_cast<uint8_t>(serial >> 24),
                          static_cast<uint8_t>(serial >> 16),
                          static_cast<uint8_t>(serial >> 8),
                          static_cast<uint8_t>(serial)};
  std::memcpy(ns.eui64, eui, sizeof eui);
  auto place = std::find_if(adapter.namespaces.begin(), adapter.namespaces.end(),
                            [nsid](const Namespace &n) { return n.nsid > nsid; });
  return *adapter.namespaces.insert(place, ns);
}

uint8_t namespaceStatus(const Namespace &ns) {
  unsigned status = TRX_NS_STATUS_VALID | TRX_NS_STATUS_CREATED;
  if (ns.attached != 0) status |= TRX_NS_STATUS_ACTIVE;
  return static_cast<uint8_t>(status);
}

uint64_t freeSectors(const Adapter &adapter, uint8_t deviceType, uint16_t backing) {
  const Volume *volume = deviceType == TRX_NS_DEVICE_VD ? findVolume(adapter, backing) : nullptr;
  const Disk *disk = deviceType == TRX_NS_DEVICE_PD ? findDisk(adapter, backing) : nullptr;
  uint64_t left = volume ? volume->sectors : disk ? disk->sectors : 0;
  for (const Namespace &ns : adapter.namespaces)
    if (ns.deviceType == deviceType && ns.backing == backing) left -= std::min(left, ns.sectors);
  return left;
}

Fw carveNamespaces(Adapter &adapter, uint8_t deviceType, uint16_t backing, uint32_t count) {
  const Volume *volume = deviceType == TRX_NS_DEVICE_VD ? findVolume(adapter, backing) : nullptr;
  const Disk *disk = deviceType == TRX_NS_DEVICE_PD ? findDisk(adapter, backing) : nullptr;
  if (!volume && !disk) return deviceType == TRX_NS_DEVICE_VD ? Fw::InvalidVolume : Fw::InvalidDisk;
  if (count == 0 || count > adapter.core.info.MaxNSPerVD) return Fw::InvalidNamespaceCount;
  if (adapter.namespaces.size() + count > adapter.core.info.MaxNS) return Fw::NoAvailableId;
  uint64_t part = freeSectors(adapter, deviceType, backing) / count;
  if (part == 0) return Fw::NamespaceTooLarge;
  uint32_t sectorSize = volume ? volume->sectorSize : disk->sectorSize;
  for (uint32_t i = 0; i < count; ++i)
    addNamespace(adapter, freeNamespaceId(adapter), deviceType, backing, sectorSize, part, volume != nullptr);
  return Fw::Ok;
}

Fw initDiskNamespaces(Adapter &adapter, uint32_t disk, uint32_t count) {
  if (adapter.raid()) return Fw::NotSupported;
  if (!soundDisk(adapter, disk)) return Fw::InvalidDisk;
  if (count == 0 || count > adapter.core.info.MaxNSPerVD) return Fw::InvalidNamespaceCount;
  auto ofDisk = [disk](const Namespace &ns) {
    return ns.deviceType == TRX_NS_DEVICE_PD && ns.backing == disk;
  };
  auto others = std::count_if(adapter.namespaces.begin(), adapter.namespaces.end(), std::not_fn(ofDisk));
  if (static_cast<size_t>(others) + count > adapter.core.info.MaxNS) return Fw::NoAvailableId;
  std::erase_if(adapter.namespaces, ofDisk);
  return carveNamespaces(adapter, TRX_NS_DEVICE_PD, static_cast<uint16_t>(disk), count);
}

Fw createNamespace(Adapter &adapter, uint16_t backing, uint32_t owner, uint64_t sectors) {
  const uint8_t type = adapter.raid() ? TRX_NS_DEVICE_VD : TRX_NS_DEVICE_PD;
  const Volume *volume = adapter.raid() ? findVolume(adapter, backing) : nullptr;
  const Disk *disk = adapter.raid() ? nullptr : soundDisk(adapter, backing);
  if (!volume && !disk) return adapter.raid() ? Fw::InvalidVolume : Fw::InvalidDisk;
  if (owner > kLastController) return Fw::InvalidParameter;
  if (volume && (volume->foreign || volumeStatus(adapter, *volume) == TRX_VD_STATUS_OFFLINE))
    return Fw::NotFunctional;
  auto siblings =
      std::count_if(adapter.namespaces.begin(), adapter.namespaces.end(),
                    [&](const Namespace &ns) { return ns.deviceType == type && ns.backing == backing; });
  if (siblings >= adapter.core.info.MaxNSPerVD) return Fw::InvalidNamespaceCount;
  uint8_t nsid = freeNamespaceId(adapter);
  if (nsid == 0) return Fw::NoAvailableId;
  if (sectors == 0 || sectors > freeSectors(adapter, type, backing)) return Fw::NamespaceTooLarge;
  uint32_t sectorSize = volume ? volume->sectorSize : disk->sectorSize;
  addNamespace(adapter, nsid, type, backing, sectorSize, sectors, false).owner = owner;
  return Fw::Ok;
}

Fw shareNamespace(Adapter &adapter, uint32_t nsid, bool shared, uint32_t owner) {
  Namespace *ns = findNamespace(adapter, nsid);
  if (!ns || owner > kLastController) return Fw::InvalidParameter;
  if (!shared && (ns->attached & ~(uint64_t{1} << owner)) != 0) return Fw::InvalidRequest;
  ns->shared = shared;
  if (!shared) ns->owner = owner;
  return Fw::Ok;
}

}  // namespace sim
