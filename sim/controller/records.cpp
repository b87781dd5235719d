// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/records.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "model/activities.h"
#include "model/smart.h"
#include "model/storage.h"

namespace sim {
namespace {

template <size_t N>
void copyText(TRX_U8 (&to)[N], std::string_view text) {
  putText(std::span<char>(reinterpret_cast<char *>(to), N), text);
}

void put(std::span<uint8_t> to, size_t at, uint64_t value, size_t bytes) {
  for (size_t i = 0; i < bytes; ++i) to[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

/// One of the standard's 128-bit numbers, as far as 64 bits go.
void putWide(TRX_U8 (&to)[16], uint64_t value) { put(to, 0, value, 8); }

uint8_t indexOf(const Adapter &adapter, const Activity *activity) {
  return activity ? static_cast<uint8_t>(activity - adapter.activities.data() + 1) : uint8_t{0};
}

}  // namespace

NVME_PD_Info diskRecord(const Adapter &adapter, const Disk &disk) {
  NVME_PD_Info info{};
  info.ID = disk.id;
  info.Status = diskStatus(adapter, disk);
  info.BGAIndex = indexOf(adapter, diskActivity(adapter, disk.id));
  copyText(info.Model, {disk.model, sizeof disk.model});
  copyText(info.SerialNo, {disk.serial, sizeof disk.serial});
  info.SectorSize = disk.sectorSize;
  std::memcpy(info.FWVersion, disk.firmware.running, sizeof info.FWVersion);
  info.LBA.value = disk.sectors;
  info.SSDAdapterID = disk.ssdController;
  info.SSDNSID = disk.ssdNsid;
  if (adapter.raid()) {
    info.NumberOfNS = 1;  // the whole disk is one namespace of the SSD, which the volumes take
    info.NS_Size[0].SectorSize = disk.sectorSize;
    info.NS_Size[0].LBA.value = disk.sectors;
    return info;
  }
  for (const Namespace &ns : adapter.namespaces) {
    if (ns.deviceType != TRX_NS_DEVICE_PD || ns.backing != disk.id || info.NumberOfNS == 64) continue;
    NVME_NS_Size &size = info.NS_Size[info.NumberOfNS++];
    size.SectorSize = ns.sectorSize;
    size.LBA.value = ns.sectors;
  }
  return info;
}

NVME_VD_Info volumeRecord(const Adapter &adapter, const Volume &volume) {
  NVME_VD_Info info{};
  info.ID = volume.id;
  info.Status = volumeStatus(adapter, volume);
  info.Importable = volume.foreign && volume.importable;
  info.RaidMode = volume.raidMode;
  info.MemberCount = volume.memberCount;
  info.BGAIndex = indexOf(adapter, volumeActivity(adapter, volume.id));
  info.LBA.value = volume.sectors;
  std::memcpy(info.PDIDs, volume.members, sizeof info.PDIDs);
  info.StripBlockSize = volume.stripeBlocks;
  info.SectorSize = volume.sectorSize;
  std::memcpy(info.Name, volume.name, sizeof info.Name);
  size_t next = 0;
  for (const Namespace &ns : adapter.namespaces)
    if (ns.deviceType == TRX_NS_DEVICE_VD && ns.backing == volume.id && next < sizeof info.NSIDs)
      info.NSIDs[next++] = ns.nsid;
  return info;
}

NVME_NS_Info namespaceRecord(const Adapter &adapter, const Namespace &ns) {
  NVME_NS_Info info{};
  info.NSID = ns.nsid;
  info.device_type = ns.deviceType;
  info.ID = ns.backing;
  info.Status = namespaceStatus(ns);
  const Volume *volume = ns.deviceType == TRX_NS_DEVICE_VD ? findVolume(adapter, ns.backing) : nullptr;
  if (volume) info.VDStatus = volumeStatus(adapter, *volume);
  info.LBADataSize = static_cast<TRX_U8>(std::countr_zero(ns.sectorSize));
  info.SectorSize = ns.sectorSize;
  info.LBA.value = ns.sectors;
  return info;
}

NVME_BGA_Status activityRecord(const Adapter &adapter, const Activity *activity, uint16_t target,
                               Millis now) {
  NVME_BGA_Status status{};
  status.ID = static_cast<TRX_U8>(target);
  if (!activity) return status;
  status.BgaType = activity->type;
  status.Percentage = activityPercent(adapter, *activity, now);
  status.BgaStatus =
      static_cast<TRX_U8>(activity->paused ? TRX_NVME_BGA_STATUS_PAUSE : TRX_NVME_BGA_STATUS_RUNNING);
  return status;
}

NVME_Event_Item eventRecord(const EventRecord &event) {
  NVME_Event_Item item{};
  item.Class = event.eventClass;
  item.Code = event.code;
  item.TimeStamp = event.seconds;
  item.SequenceNo = event.sequence;
  item.DeviceID = event.device;
  item.Severity = event.severity;
  item.Accurate = 1;
  item.Params[0] = event.parameters == 2 ? event.device : event.parameter;
  item.Params[1] = event.parameters == 2 ? event.parameter : 0;
  item.ParamCount = event.parameters;
  return item;
}

std::array<uint8_t, 512> smartLog(const SmartBase &counted, Millis now) {
  std::array<uint8_t, 512> log{};
  const SmartBase base = grown(counted, now);
  log[0] = base.criticalWarning;
  put(log, 1, base.temperatureKelvin, 2);
  log[3] = base.availableSpare;
  log[4] = base.spareThreshold;
  log[5] = base.percentageUsed;
  put(log, 32, base.dataUnitsRead, 8);
  put(log, 48, base.dataUnitsWritten, 8);
  put(log, 64, base.hostReads, 8);
  put(log, 80, base.hostWrites, 8);
  put(log, 96, base.busyMinutes, 8);
  put(log, 112, base.powerCycles, 8);
  put(log, 128, base.powerOnHours, 8);
  put(log, 144, base.unsafeShutdowns, 8);
  put(log, 160, base.mediaErrors, 8);
  put(log, 176, base.errorLogEntries, 8);
  put(log, 192, base.warningMinutes, 4);
  put(log, 196, base.criticalMinutes, 4);
  put(log, 200, base.temperatureKelvin, 2);  // sensor 1
  put(log, 216, base.throttled1, 4);
  put(log, 220, base.throttled2, 4);
  put(log, 224, base.throttledSeconds1, 4);
  put(log, 228, base.throttledSeconds2, 4);
  return log;
}

TRX_FIRMWARE_SLOT_INFO_LOG slotLog(const FirmwareSlots &firmware) {
  TRX_FIRMWARE_SLOT_INFO_LOG log{};
  log.AFI.ActiveSlot = static_cast<TRX_U8>(firmware.active & 7);
  log.AFI.PendingActivateSlot = static_cast<TRX_U8>(firmware.pending & 7);
  std::memcpy(log.FRS, firmware.revision, sizeof log.FRS);
  return log;
}

TRX_ID_CONTROLLER identifyController(const Identity &identity) {
  TRX_ID_CONTROLLER data{};
  data.VID = identity.vendorId;
  data.SSVID = identity.subsystemVendorId;
  copyText(data.SN, identity.serial);
  copyText(data.MN, identity.model);
  std::memcpy(data.FR, identity.firmware.running, sizeof data.FR);
  data.RAB = 3;
  data.IEEE[0] = 0x58;
  data.IEEE[1] = 0x72;
  data.IEEE[2] = 0x74;
  data.MDTS = 5;
  data.CNTLID = identity.controllerId;
  data.VER = 0x00010300;
  data.OACS = 1 << 1 | 1 << 2 | 1 << 3 | 1 << 6;  // format, firmware, namespaces, NVMe-MI
  data.ACL = 3;
  data.AERL = 3;
  data.FRMW = static_cast<TRX_U8>(identity.firmware.count << 1);
  data.LPA = 2;
  data.ELPE = 63;
  data.WCTEMP = 343;
  data.CCTEMP = 353;
  putWide(data.TNVMCAP, identity.capacityBytes);
  putWide(data.UNVMCAP, identity.unallocatedBytes);
  data.SQES = 0x66;
  data.CQES = 0x44;
  data.NN = identity.namespaces;
  data.ONCS = 0x0E;
  std::string subsystem = "nqn.2020-01.example.trx:" + fieldText(std::span<const char>(identity.serial));
  std::memcpy(data.SUBNQN, subsystem.data(), std::min(subsystem.size(), sizeof data.SUBNQN - 1));
  return data;
}

TRX_ID_CONTROLLER identifyAdapter(const Adapter &adapter) {
  uint64_t total = 0;
  for (const Disk &disk : adapter.disks)
    if (disk.present) total += disk.sectors * disk.sectorSize;
  uint64_t taken = 0;
  for (const Namespace &ns : adapter.namespaces) taken += ns.sectors * ns.sectorSize;
  const AdapterCore &core = adapter.core;
  return identifyController({.vendorId = core.info.VID,
                             .subsystemVendorId = core.info.SVID,
                             .controllerId = core.controllerId,
                             .serial = {core.serial, sizeof core.serial},
                             .model = {core.model, sizeof core.model},
                             .firmware = core.firmware,
                             .capacityBytes = total,
                             .unallocatedBytes = total - std::min(total, taken),
                             .namespaces = core.info.MaxNS});
}

TRX_ID_CONTROLLER identifyDisk(const Disk &disk) {
  return identifyController({.vendorId = disk.vendorId,
                             .subsystemVendorId = disk.vendorId,
                             .controllerId = disk.ssdController,
                             .serial = {disk.serial, sizeof disk.serial},
                             .model = {disk.model, sizeof disk.model},
                             .firmware = disk.firmware,
                             .capacityBytes = disk.sectors * disk.sectorSize,
                             .unallocatedBytes = 0,
                             .namespaces = 64});
}

}  // namespace sim
