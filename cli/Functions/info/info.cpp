// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/info/info.h"

#include <algorithm>
#include <string>

#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/numbers.h"
#include "Public/objects.h"
#include "Public/report.h"
#include "Public/utility.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

struct Bit {
  unsigned number;
  const char *word;
};

// In the order in which they are listed.
// clang-format off
constexpr Bit kRaidModes[] = {{0, "RAID0"}, {1, "RAID1"}, {4, "RAID5"}, {6, "RAID6"},
                              {3, "RAID10"}, {5, "RAID50"}, {7, "RAID60"}, {2, "JBOD"}};
constexpr Bit kActivities[] = {{0, "Initialization"}, {1, "Rebuild"}, {2, "Sync"}, {3, "Migrate"},
                               {4, "MediaPatrol"}};
constexpr Bit kStripeSizes[] = {{0, "128KB"}, {1, "256KB"}, {2, "512KB"}};
// clang-format on

template <size_t N>
Flags flagsOf(unsigned bits, const Bit (&table)[N]) {
  Flags flags{{}, bits};
  for (const Bit &bit : table) {
    if (bits & 1u << bit.number) flags.words.emplace_back(bit.word);
  }
  return flags;
}

Flags featuresOf(const NVME_Adapter_Info &info) {
  Flags flags{{}, info.Features};
  if (info.Features & TRX_FEATURE_IMPORT) flags.words.emplace_back("Import");
  flags.words.emplace_back(isRaidMode(info) ? "RAID" : "JBOF");
  if (info.Features & TRX_FEATURE_NAMESPACE) flags.words.emplace_back("Namespace");
  if (info.Features & TRX_FEATURE_DUMP) flags.words.emplace_back("Dump");
  return flags;
}

Numbers stripeSizes(unsigned bits) {
  Numbers sizes;
  for (const Bit &bit : kStripeSizes) {
    if (bits & 1u << bit.number) sizes.values.push_back(int64_t{128 << 10} << bit.number);
  }
  return sizes;
}

std::string versionText(const NVME_Version_Info &version) {
  char text[32];
  std::snprintf(text, sizeof text, "%d.%d.%d.%04d", version.MajorVersion, version.MinorVersion,
                version.OEMNumber, version.BuildNumber);
  return text;
}

Enumerated cacheState(TRX_U8 cache) {
  // The blanks behind the words stay: scripts compare the whole line.
  return {cache == 0 ? "Off " : cache == 1 ? "On " : "Unknown", cache};
}

const char *linkWidthWord(TRX_U8 lanes) {
  switch (lanes) {
    case 1:
      return "1x";
    case 2:
      return "2x";
    case 4:
      return "4x";
    case 8:
      return "8x";
    default:
      return "Unknown";
  }
}

const char *linkSpeedWord(TRX_U8 generation) {
  switch (generation) {
    case 1:
      return "2.5Gb/s";
    case 2:
      return "5Gb/s";
    case 3:
      return "8Gb/s";
    default:
      return "Unknown";
  }
}

void printPcieLinks(Listing &listing, const NVME_Adapter_Info &info) {
  if (Object *adapter = listing.object()) adapter->array("pcie_links");
  for (const NVME_PCIe_Info &link : info.PCIeInfo) {
    if (link.Type == TRX_PCIE_LAST) break;
    if (link.Type != TRX_PCIE_END_POINT && link.Type != TRX_PCIE_ROOT_COMPLEX) continue;
    const bool endPoint = link.Type == TRX_PCIE_END_POINT;
    const Enumerated kind{endPoint ? "End Point" : "Root Complex", link.Type};
    const Enumerated width{linkWidthWord(link.LinkWidth), link.LinkWidth};
    const Enumerated speed{linkSpeedWord(link.Speed), link.Speed};
    listing.text(endPoint ? "End Point:" : "Root Complex:", int64_t{link.Id});
    listing.text("  Link width:", width);
    listing.text("  Max PCIe speed:", speed);
    if (Object *adapter = listing.object()) {
      Object entry = adapter->append("pcie_links");
      entry.put("kind", kind);
      entry.put("id", int64_t{link.Id});
      entry.put("link_width", width);
      entry.put("max_link_speed", speed);
    }
  }
}

/// Both disks and volumes tell their stripe in 512-byte blocks.
void printStripe(Listing &listing, TRX_U32 blocks) {
  const char *word = blocks == 256 ? "128K" : blocks == 512 ? "256K" : blocks == 1024 ? "512K" : "Unknown";
  constexpr uint64_t kBlock = 512;
  const bool known = *word != 'U';
  listing.row("Stripe Block Size:", "stripe_block_size_bytes",
              Shown{word, known ? Scalar(blocks * kBlock) : Scalar()});
  if (!known) listing.fact("stripe_block_size_code", int64_t{blocks});
}

const char *volumeStatusWord(TRX_U8 status) {
  switch (status) {
    case TRX_VD_STATUS_FUNCTIONAL:
      return "Functional";
    case TRX_VD_STATUS_DEGRADE:
      return "Degrade";
    case TRX_VD_STATUS_DELETED:
      return "Deleted";
    case TRX_VD_STATUS_MISSING:
      return "Missing";
    case TRX_VD_STATUS_OFFLINE:
      return "Offline";
    case TRX_VD_STATUS_PARTIALLY_OPTIMAL:
      return "Partially Optimal";
    case TRX_VD_STATUS_FOREIGN:
      return "Foreign";
    case TRX_VD_STATUS_IMPORTABLE:
      return "Importable";
    case TRX_VD_STATUS_NOT_IMPORTABLE:
      return "Not Importable";
    case TRX_VD_STATUS_INITIALIZATION:
      return "Initialization";
    case TRX_VD_STATUS_REBUILDING:
      return "Rebuilding";
    case TRX_VD_STATUS_ERROR_HANDLING:
      return "Error Handling";
    default:
      return "N/A";
  }
}

void printMembers(Listing &listing, const NVME_VD_Info &volume) {
  constexpr size_t kMembers = sizeof volume.PDIDs / sizeof volume.PDIDs[0];
  std::string text;
  if (Object *object = listing.object()) object->array("members");
  for (size_t i = 0; i < volume.MemberCount && i < kMembers; ++i) {
    TRX_U16 id = volume.PDIDs[i];
    const bool missing = id == TRX_PD_ID_MISSING;
    text += (missing ? "?" : std::to_string(userCounting(id))) + " ";
    if (Object *object = listing.object()) {
      Object member = object->append("members");
      member.put("id", missing ? Value() : Value(int64_t{userCounting(id)}));
      member.put("missing", missing);
    }
  }
  listing.text("PDs:", text);
}

Numbers namespacesOf(const NVME_VD_Info &volume) {
  Numbers ids;
  for (TRX_U8 nsid : volume.NSIDs) {
    if (nsid != 0) ids.values.push_back(nsid);
  }
  return ids;
}

/// The volume that a disk is a member of; null where it is of none, or where that could not be read.
Value volumeOf(const NVME_PD_Info &disk, const std::vector<NVME_VD_Info> &volumes) {
  for (const NVME_VD_Info &volume : volumes) {
    const size_t members = std::min<size_t>(volume.MemberCount, std::size(volume.PDIDs));
    if (std::find(volume.PDIDs, volume.PDIDs + members, disk.ID) != volume.PDIDs + members)
      return int64_t{userCounting(volume.ID)};
  }
  return {};
}

Enumerated diskStatus(TRX_U8 status) {
  return {status & TRX_PD_STATUS_FAIL           ? "Fail"
          : status & TRX_PD_STATUS_MEDIA_PATROL ? "Media Patrol Executing"
                                                : "Idle",
          status};
}

}  // namespace

void complainIdentify() { tellFailed("\nFailed to get primary controller.\n"); }

const char *activityWord(TRX_U8 type) {
  switch (type) {
    case TRX_NVME_BGA_TYPE_VD_INIT_QUICK:
    case TRX_NVME_BGA_TYPE_VD_INIT_BACKGROUND:
      return "Initializing";
    case TRX_NVME_BGA_TYPE_VD_REBUILD:
      return "Rebuilding";
    case TRX_NVME_BGA_TYPE_VD_SYNC:
      return "Synchronizing";
    case TRX_NVME_BGA_TYPE_VD_MIGRATE:
      return "Migrating";
    case TRX_NVME_BGA_TYPE_VD_MEDIAPATROL:
      return "Media Patrol";
    default:
      return "unknown BGA action";
  }
}

void Adapter_PrintInfo(TRX_U8 adapter, const NVME_Adapter_Info &info) {
  Listing listing(36, "adapters");
  listing.row("NVMe Controller ID:", "id", int64_t{userCounting(adapter)});
  listing.row("Device Fun:", "pci_location", std::string(TRX_Adapter_GetDeviceFun(adapter)));
  listing.row("Device:", "device", std::string(TRX_Adapter_GetDevicePath(adapter)));
  const TRX_U32 slot = TRX_Adapter_GetSlotID(adapter);
  listing.row("Slot ID:", "slot_id",
              slot == UINT32_MAX ? Value(Shown{"Not found", {}}) : Value(int64_t{slot}));

  listing.row("Firmware Version:", "firmware_version", versionText(info.FirmwareVersion));
  listing.row("VID:", "vid", Hex{info.VID});
  listing.row("SVID:", "svid", Hex{info.SVID});
  listing.row("DID:", "did", Hex{info.DID});
  listing.row("SDID:", "sdid", Hex{info.SDID});
  listing.row("RevisionID:", "revision_id", Hex{info.RevisionID});
  listing.row("Port Count:", "port_count", int64_t{info.PortCount});

  if (isRaidMode(info)) {
    listing.row("Max PD of Per VD:", "max_pd_per_vd", int64_t{info.MaxPDPerVD});
    listing.row("Max VD:", "max_vd", int64_t{info.MaxVD});
    listing.row("Max PD:", "max_pd", int64_t{info.MaxPD});
    listing.row("Max NS of Per VD:", "max_ns_per_vd", int64_t{info.MaxNSPerVD});
  } else {
    listing.row("Max PD:", "max_pd", int64_t{info.MaxPD});
    listing.row("Max NS of Per PD:", "max_ns_per_pd", int64_t{info.MaxNSPerVD});
  }
  listing.row("Max NS:", "max_ns", int64_t{info.MaxNS});

  TRX_U16 hostId = 0;
  if (readPrimaryControllerId(gCurrentAdapter, hostId) != 0) complainIdentify();
  const Failure identify = lastFailure();
  listing.text("Host ID:", int64_t{userCounting(hostId)});
  listing.fact("host_id", identify ? Value() : Value(int64_t{userCounting(hostId)}));

  if (isRaidMode(info)) {
    listing.row("Supported RAID Mode:", "raid_modes", flagsOf(info.SupportRAIDMode, kRaidModes));
  } else {
    listing.text("Supported RAID Mode:", std::string("Not Support"));
    listing.fact("raid_modes", Flags{{}, info.SupportRAIDMode});
  }
  listing.row("Cache:", "cache", cacheState(info.Cache));
  if (isRaidMode(info)) {
    listing.row("Supported BGA Features:", "background_activities",
                flagsOf(info.SupportBGAFeature, kActivities));
    listing.text("Support Stripe Size:", flagsOf(info.StripeSizeSupported, kStripeSizes));
    listing.fact("stripe_sizes_bytes", stripeSizes(info.StripeSizeSupported));
  }
  listing.row("Supported Features:", "features", featuresOf(info));
  printPcieLinks(listing, info);
  listing.error(identify);
}

void HD_PrintInfo(const NVME_PD_Info &disk, bool raidMode, const std::vector<NVME_VD_Info> &volumes) {
  constexpr size_t kModelBlanks = 15, kAllBlanks = std::string::npos;
  Listing listing(23, "physical_disks");
  listing.row("PD ID:", "id", int64_t{userCounting(disk.ID)});
  listing.row("Model:", "model", DeviceField{disk.Model, kModelBlanks});
  listing.row("Serial:", "serial", DeviceField{disk.SerialNo, kAllBlanks});
  // A disk has no stripe; the line is fed from its sector size, which scripts know.
  printStripe(listing, disk.SectorSize);
  listing.row("LBA:", "lba_count", uint64_t{disk.LBA.value});
  listing.row("Size:", "size_bytes", Capacity{disk.LBA.value, disk.SectorSize});
  listing.fact("sector_size_bytes", int64_t{disk.SectorSize});
  listing.row("SSD NVMe Adapter ID:", "ssd_adapter_id", int64_t{userCounting(disk.SSDAdapterID)});
  listing.row("SSD Namespace ID:", "ssd_namespace_id", int64_t{disk.SSDNSID});
  listing.row("Firmware version:", "firmware_version", DeviceField{disk.FWVersion, kAllBlanks});
  listing.row("Status:", "status", diskStatus(disk.Status));
  listing.row("Assigned:", "assigned", (disk.Status & TRX_PD_STATUS_ASSIGNED) != 0);
  if (!raidMode) listing.row("Importable:", "importable", (disk.Status & TRX_PD_STATUS_IMPORTABLE) != 0);
  listing.row("Namespace Count:", "namespace_count", int64_t{disk.NumberOfNS});
  listing.fact("virtual_disk", volumeOf(disk, volumes));
}

void LD_PrintInfo(Listing &listing, const NVME_VD_Info &volume) {
  listing.row("VD ID:", "id", int64_t{userCounting(volume.ID)});
  listing.row("Name:", "name", DeviceField{volume.Name});
  listing.row("Status:", "status", Enumerated{volumeStatusWord(volume.Status), volume.Status});
  listing.row("Importable:", "importable", volume.Importable == 1);
  listing.row("RAID Mode:", "raid_mode", Enumerated{RaidModeStr(volume.RaidMode), volume.RaidMode});
  // Lower case, unlike the other blocks; scripts know the label.
  listing.row("size:", "size_bytes", Capacity{volume.LBA.value, volume.SectorSize});
  listing.row("PD Count:", "pd_count", int64_t{volume.MemberCount});
  printMembers(listing, volume);
  if (volume.RaidMode == TRX_RAID_MODE_6 || volume.RaidMode == TRX_RAID_MODE_60) {
    listing.row("Parity Disk Number:", "parity_disk_count", int64_t{volume.NumParityDisk});
  }
  printStripe(listing, volume.StripBlockSize);
  if (volume.SectorSize != 0) listing.text("Sector Size:", std::to_string(volume.SectorSize) + " bytes");
  listing.fact("sector_size_bytes", int64_t{volume.SectorSize});
  listing.fact("namespaces", namespacesOf(volume));
  listing.fact("activity", Nothing{});
}

void VD_PrintBGAStatus(Listing &listing, const NVME_BGA_Status &activity) {
  const bool running = activity.BgaStatus == TRX_NVME_BGA_STATUS_RUNNING;
  if (!running && activity.BgaStatus != TRX_NVME_BGA_STATUS_PAUSE) return;
  const char *kind = activityWord(activity.BgaType);
  char text[64];
  std::snprintf(text, sizeof text, running ? "%s is running in %d%%" : "%s is pause in %d%%", kind,
                activity.Percentage);
  listing.text("BGA progress:", std::string(text));
  if (Object *volume = listing.object()) {
    Object entry = volume->object("activity");
    entry.put("kind", Enumerated{kind, activity.BgaType});
    entry.put("state", Enumerated{running ? "running" : "pause", activity.BgaStatus});
    entry.put("progress_percent", int64_t{activity.Percentage});
  }
}

bool NS_PrintInfo(const NVME_NS_Info &ns, bool raidMode) {
  Listing listing(20, "namespaces");
  listing.row("NS ID:", "id", int64_t{ns.NSID});
  Eui64 eui64{};
  if (readEui64(gCurrentAdapter, ns.NSID, eui64) != 0) complainIdentify();
  const Failure identify = lastFailure();
  listing.text("EUI64:", toText(eui64));
  listing.fact("eui64", identify ? Value() : Value(toText(eui64)));
  if (raidMode) {
    listing.row("Parent VD ID:", "virtual_disk", int64_t{userCounting(ns.ID)});
  } else {
    listing.row("Parent PD ID:", "physical_disk", int64_t{userCounting(ns.ID)});
  }
  listing.row("Valid:", "valid", (ns.Status & TRX_NS_STATUS_VALID) != 0);
  listing.row("Active:", "active", (ns.Status & TRX_NS_STATUS_ACTIVE) != 0);
  listing.row("Size:", "size_bytes", Capacity{ns.LBA.value, ns.SectorSize});
  if (raidMode) {
    bool unhealthy = ns.VDStatus == TRX_VD_STATUS_DEGRADE || ns.VDStatus == TRX_VD_STATUS_REBUILDING;
    listing.row("VD status:", "vd_status", Enumerated{unhealthy ? "Unhealthy" : "Healthy", ns.VDStatus});
  }
  listing.error(identify);
  listing.blankLine();
  return !identify;
}

}  // namespace trx
