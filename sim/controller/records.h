// SPDX-License-Identifier: GPL-3.0-or-later
// From the model's state to the records that travel.
#pragma once

#include <array>

#include "model/state.h"

namespace sim {

NVME_PD_Info diskRecord(const Adapter &adapter, const Disk &disk);
NVME_VD_Info volumeRecord(const Adapter &adapter, const Volume &volume);
NVME_NS_Info namespaceRecord(const Adapter &adapter, const Namespace &ns);
NVME_BGA_Status activityRecord(const Adapter &adapter, const Activity *activity, uint16_t target, Millis now);
NVME_Event_Item eventRecord(const EventRecord &event);

/// SMART / Health Information log (NVMe base standard, log page 02h); counters grow with the time.
std::array<uint8_t, 512> smartLog(const SmartBase &counted, Millis now);
/// Firmware Slot Information log (NVMe base standard, log page 03h).
TRX_FIRMWARE_SLOT_INFO_LOG slotLog(const FirmwareSlots &firmware);

/// What Identify Controller tells of a controller or of a disk behind it.
struct Identity {
  uint16_t vendorId;
  uint16_t subsystemVendorId;
  uint16_t controllerId;
  std::string_view serial;
  std::string_view model;
  const FirmwareSlots &firmware;
  uint64_t capacityBytes;
  uint64_t unallocatedBytes;
  uint32_t namespaces;
};
/// Identify Controller data (NVMe base standard, CNS 01h).
TRX_ID_CONTROLLER identifyController(const Identity &identity);
/// Identify data of the adapter itself, and of one of its disks.
TRX_ID_CONTROLLER identifyAdapter(const Adapter &adapter);
TRX_ID_CONTROLLER identifyDisk(const Disk &disk);

}  // namespace sim
