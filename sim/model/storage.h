// SPDX-License-Identifier: GPL-3.0-or-later
// Volumes and namespaces: what the firmware allows, what capacity comes out, what changes with it.
#pragma once

#include "model/state.h"

namespace sim {

/// What a volume is to be made of.
struct VolumePlan {
  uint8_t raidMode = 0;
  uint32_t stripeBlocks = 256;  ///< 512-byte blocks
  std::vector<uint16_t> members = {};
  std::string name = {};                     ///< empty: "VD" and its id
  uint32_t namespaceCount = 0;               ///< 0 carves one
  std::vector<uint64_t> namespaceSize = {};  ///< sectors each; empty or zeros: evenly
};

struct VolumeSize {
  Fw status = Fw::Ok;
  uint32_t sectorSize = 0;
  uint64_t sectors = 0;
};

/// Capacity of a layout over members of which the smallest has `smallest` sectors: whole stripes.
uint64_t capacityOf(uint8_t raidMode, uint32_t stripeBlocks, uint32_t sectorSize, uint64_t smallest,
                    size_t members);
/// Whether a level takes this many members.
bool memberCountFits(uint8_t raidMode, size_t members);

/// Checks a plan against the adapter and tells the capacity that it would give.
VolumeSize planVolume(const Adapter &adapter, const VolumePlan &plan);
/// Makes the volume and its namespaces. They are valid and created, but attached to no controller.
Fw createVolume(Adapter &adapter, Millis now, const VolumePlan &plan);
/// Removes a volume with its namespaces and whatever runs on it; its disks are free again.
Fw deleteVolume(Adapter &adapter, Millis now, uint32_t id);
/// Adopts a foreign volume.
Fw importVolume(Adapter &adapter, Millis now, uint32_t id);
/// Adopts the foreign volume that a disk belongs to.
Fw importDisk(Adapter &adapter, Millis now, uint32_t diskId);

/// TRX_VD_STATUS of a volume as its members and activities make it.
uint8_t volumeStatus(const Adapter &adapter, const Volume &volume);
/// TRX_PD_STATUS_… bits of a disk.
uint8_t diskStatus(const Adapter &adapter, const Disk &disk);
const Volume *volumeOfDisk(const Adapter &adapter, uint32_t diskId);
bool redundant(const Volume &volume);
size_t missingMembers(const Volume &volume);

/// A disk that went away or failed: its volumes lose a member, its activities end.
void diskLost(Adapter &adapter, Millis now, Disk &disk);
/// A disk that came back, as a spare.
void diskFound(Adapter &adapter, Millis now, Disk &disk);

/// Lowest free namespace id, or 0 when all `MaxNS` are taken.
uint8_t freeNamespaceId(const Adapter &adapter);
/// Adds a namespace with a fresh EUI-64. The caller has checked ids and sizes.
Namespace &addNamespace(Adapter &adapter, uint8_t nsid, uint8_t deviceType, uint16_t backing,
                        uint32_t sectorSize, uint64_t sectors, bool shared);
/// TRX_NS_STATUS_… bits.
uint8_t namespaceStatus(const Namespace &ns);
/// Sectors of a volume or disk that no namespace takes.
uint64_t freeSectors(const Adapter &adapter, uint8_t deviceType, uint16_t backing);
/// Carves `count` equal namespaces from what backs them.
Fw carveNamespaces(Adapter &adapter, uint8_t deviceType, uint16_t backing, uint32_t count);
/// Replaces the namespaces of a disk, attached or not, by `count` new ones. JBOF only.
Fw initDiskNamespaces(Adapter &adapter, uint32_t disk, uint32_t count);
/// Makes a namespace private to a controller on a volume (RAID) or a disk (JBOF), attached to none yet.
Fw createNamespace(Adapter &adapter, uint16_t backing, uint32_t owner, uint64_t sectors);
/// Makes a namespace shared, or private to a controller; then no other one may have it attached.
Fw shareNamespace(Adapter &adapter, uint32_t nsid, bool shared, uint32_t owner);

}  // namespace sim
