// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/info/info.h"

#include <string>

#include "Public/common.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/objects.h"
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
Words wordsOf(unsigned bits, const Bit (&table)[N]) {
  Words words;
  for (const Bit &bit : table) {
    if (bits & 1u << bit.number) words.values.emplace_back(bit.word);
  }
  return words;
}

Words featureWords(const NVME_Adapter_Info &info) {
  Words words;
  if (info.Features & TRX_FEATURE_IMPORT) words.values.emplace_back("Import");
  words.values.emplace_back(isRaidMode(info) ? "RAID" : "JBOF");
  if (info.Features & TRX_FEATURE_NAMESPACE) words.values.emplace_back("Namespace");
  if (info.Features & TRX_FEATURE_DUMP) words.values.emplace_back("Dump");
  return words;
}

const char *cacheWord(TRX_U8 cache) {
  // The blanks behind the words stay: scripts compare the whole line.
  return cache == 0 ? "Off " : cache == 1 ? "On " : "Unknown";
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
  for (const NVME_PCIe_Info &link : info.PCIeInfo) {
    if (link.Type == TRX_PCIE_LAST) break;
    if (link.Type == TRX_PCIE_END_POINT) {
      listing.row("End Point:", "endPoint", link.Id);
    } else if (link.Type == TRX_PCIE_ROOT_COMPLEX) {
      listing.row("Root Complex:", "rootComplex", link.Id);
    } else {
      continue;
    }
    listing.row("  Link width:", "linkWidth", linkWidthWord(link.LinkWidth));
    listing.row("  Max PCIe speed:", "maxLinkSpeed", linkSpeedWord(link.Speed));
  }
}

// Both disks and volumes tell their stripe in 512-byte blocks.
const char *stripeWord(TRX_U32 blocks) {
  switch (blocks) {
    case 256:
      return "128K";
    case 512:
      return "256K";
    case 1024:
      return "512K";
    default:
      return "Unknown";
  }
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

Words memberWords(const NVME_VD_Info &volume) {
  constexpr size_t kMembers = sizeof volume.PDIDs / sizeof volume.PDIDs[0];
  Words words;
  for (size_t i = 0; i < volume.MemberCount && i < kMembers; ++i) {
    TRX_U16 id = volume.PDIDs[i];
    words.values.push_back(id == TRX_PD_ID_MISSING ? "?" : std::to_string(userCounting(id)));
  }
  return words;
}

}  // namespace

void complainIdentify() { std::fputs("\nFailed to get primary controller.\n", stream); }

void Adapter_PrintInfo(TRX_U8 adapter, const NVME_Adapter_Info &info) {
  Listing listing(stream, 36);
  listing.row("NVMe Controller ID:", "id", userCounting(adapter));
  listing.row("Device Fun:", "deviceFun", TRX_Adapter_GetDeviceFun(adapter));
  listing.row("Device:", "device", TRX_Adapter_GetDevicePath(adapter));
  if (TRX_U32 slot = TRX_Adapter_GetSlotID(adapter); slot == UINT32_MAX) {
    listing.row("Slot ID:", "slotId", "Not found");
  } else {
    listing.row("Slot ID:", "slotId", slot);
  }

  const NVME_Version_Info &version = info.FirmwareVersion;
  char text[32];
  std::snprintf(text, sizeof text, "%d.%d.%d.%04d", version.MajorVersion, version.MinorVersion,
                version.OEMNumber, version.BuildNumber);
  listing.row("Firmware Version:", "firmwareVersion", text);
  listing.row("VID:", "vid", Hex{info.VID});
  listing.row("SVID:", "svid", Hex{info.SVID});
  listing.row("DID:", "did", Hex{info.DID});
  listing.row("SDID:", "sdid", Hex{info.SDID});
  listing.row("RevisionID:", "revisionId", Hex{info.RevisionID});
  listing.row("Port Count:", "portCount", info.PortCount);

  if (isRaidMode(info)) {
    listing.row("Max PD of Per VD:", "maxPdPerVd", info.MaxPDPerVD);
    listing.row("Max VD:", "maxVd", info.MaxVD);
    listing.row("Max PD:", "maxPd", info.MaxPD);
    listing.row("Max NS of Per VD:", "maxNsPerVd", info.MaxNSPerVD);
  } else {
    listing.row("Max PD:", "maxPd", info.MaxPD);
    listing.row("Max NS of Per PD:", "maxNsPerPd", info.MaxNSPerVD);
  }
  listing.row("Max NS:", "maxNs", info.MaxNS);

  TRX_U16 hostId = 0;
  if (readPrimaryControllerId(gCurrentAdapter, hostId) != 0) complainIdentify();
  listing.row("Host ID:", "hostId", userCounting(hostId));

  if (isRaidMode(info)) {
    listing.row("Supported RAID Mode:", "raidModes", wordsOf(info.SupportRAIDMode, kRaidModes));
  } else {
    listing.row("Supported RAID Mode:", "raidModes", "Not Support");
  }
  listing.row("Cache:", "cache", cacheWord(info.Cache));
  if (isRaidMode(info)) {
    listing.row("Supported BGA Features:", "bgaFeatures", wordsOf(info.SupportBGAFeature, kActivities));
    listing.row("Support Stripe Size:", "stripeSizes", wordsOf(info.StripeSizeSupported, kStripeSizes));
  }
  listing.row("Supported Features:", "features", featureWords(info));
  printPcieLinks(listing, info);
}

void HD_PrintInfo(const NVME_PD_Info &disk, bool raidMode) {
  constexpr size_t kModelBlanks = 15;
  Listing listing(stream, 23);
  listing.row("PD ID:", "id", userCounting(disk.ID));
  listing.row("Model:", "model", skipBlanks(deviceText(disk.Model), kModelBlanks));
  listing.row("Serial:", "serial", skipBlanks(deviceText(disk.SerialNo)));
  // A disk has no stripe; the line is fed from its sector size, which scripts know.
  listing.row("Stripe Block Size:", "stripeBlockSize", stripeWord(disk.SectorSize));
  listing.row("LBA:", "lba", static_cast<int64_t>(disk.LBA.value));
  listing.row("Size:", "size", Gibibytes{disk.SectorSize * disk.LBA.value});
  listing.row("SSD NVMe Adapter ID:", "ssdAdapterId", userCounting(disk.SSDAdapterID));
  listing.row("SSD Namespace ID:", "ssdNamespaceId", disk.SSDNSID);
  listing.row("Firmware version:", "firmwareVersion", skipBlanks(deviceText(disk.FWVersion)));
  listing.row("Status:", "status",
              disk.Status & TRX_PD_STATUS_FAIL           ? "Fail"
              : disk.Status & TRX_PD_STATUS_MEDIA_PATROL ? "Media Patrol Executing"
                                                         : "Idle");
  listing.row("Assigned:", "assigned", YesNo{(disk.Status & TRX_PD_STATUS_ASSIGNED) != 0});
  if (!raidMode)
    listing.row("Importable:", "importable", YesNo{(disk.Status & TRX_PD_STATUS_IMPORTABLE) != 0});
  listing.row("Namespace Count:", "namespaceCount", disk.NumberOfNS);
}

void LD_PrintInfo(const NVME_VD_Info &volume) {
  Listing listing(stream, 20);
  listing.row("VD ID:", "id", userCounting(volume.ID));
  listing.row("Name:", "name", deviceText(volume.Name));
  listing.row("Status:", "status", volumeStatusWord(volume.Status));
  listing.row("Importable:", "importable", YesNo{volume.Importable == 1});
  listing.row("RAID Mode:", "raidMode", RaidModeStr(volume.RaidMode));
  // Lower case, unlike the other blocks; scripts know the label.
  listing.row("size:", "size", Gibibytes{volume.SectorSize * volume.LBA.value});
  listing.row("PD Count:", "pdCount", volume.MemberCount);
  listing.row("PDs:", "pds", memberWords(volume));
  if (volume.RaidMode == TRX_RAID_MODE_6 || volume.RaidMode == TRX_RAID_MODE_60) {
    listing.row("Parity Disk Number:", "parityDisks", volume.NumParityDisk);
  }
  listing.row("Stripe Block Size:", "stripeBlockSize", stripeWord(volume.StripBlockSize));
  if (volume.SectorSize != 0) {
    listing.row("Sector Size:", "sectorSize", std::to_string(volume.SectorSize) + " bytes");
  }
}

void VD_PrintBGAStatus(const NVME_BGA_Status &activity) {
  const char *format;
  switch (activity.BgaStatus) {
    case TRX_NVME_BGA_STATUS_RUNNING:
      format = "%s is running in %d%%";
      break;
    case TRX_NVME_BGA_STATUS_PAUSE:
      format = "%s is pause in %d%%";
      break;
    default:
      return;
  }
  char text[64];
  std::snprintf(text, sizeof text, format, activityWord(activity.BgaType), activity.Percentage);
  Listing(stream, 20).row("BGA progress:", "bgaProgress", text);
}

void NS_PrintInfo(const NVME_NS_Info &ns, bool raidMode) {
  Listing listing(stream, 20);
  listing.row("NS ID:", "id", ns.NSID);
  Eui64 eui64{};
  if (readEui64(gCurrentAdapter, ns.NSID, eui64) != 0) complainIdentify();
  listing.row("EUI64:", "eui64", toText(eui64));
  if (raidMode) {
    listing.row("Parent VD ID:", "parentVd", userCounting(ns.ID));
  } else {
    listing.row("Parent PD ID:", "parentPd", userCounting(ns.ID));
  }
  listing.row("Valid:", "valid", YesNo{(ns.Status & TRX_NS_STATUS_VALID) != 0});
  listing.row("Active:", "active", YesNo{(ns.Status & TRX_NS_STATUS_ACTIVE) != 0});
  listing.row("Size:", "size", Gibibytes{ns.SectorSize * ns.LBA.value});
  if (raidMode) {
    bool unhealthy = ns.VDStatus == TRX_VD_STATUS_DEGRADE || ns.VDStatus == TRX_VD_STATUS_REBUILDING;
    listing.row("VD status:", "vdStatus", unhealthy ? "Unhealthy" : "Healthy");
  }
  listing.blankLine();
}

}  // namespace trx
