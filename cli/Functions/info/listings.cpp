// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/info/listings.h"

#include <vector>

#include "Functions/info/info.h"
#include "Public/common.h"
#include "Public/listing.h"
#include "Public/objects.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

void printTotal(const char *label, int labelWidth, TRX_U8 count) {
  Listing total(stream, labelWidth);
  total.row(label, "total", count);
  total.blankLine();
}

bool printAdapter(TRX_U8 adapter) {
  NVME_Adapter_Info info;
  if (readAdapter(adapter, info) != 0) return false;
  Adapter_PrintInfo(adapter, info);
  return true;
}

bool printDisk(TRX_U16 id) {
  NVME_PD_Info disk;
  if (readDisk(gCurrentAdapter, id, disk) != 0) return false;
  HD_PrintInfo(disk, isRaidMode(summaryOf(gCurrentAdapter)));
  return true;
}

/// A volume without its activity counts as one that could not be had, although its block is there by then.
bool printVolume(TRX_U16 id) {
  NVME_VD_Info volume;
  if (readVolume(gCurrentAdapter, id, volume) != 0) return false;
  LD_PrintInfo(volume);
  NVME_BGA_Status activity;
  if (readVolumeActivity(gCurrentAdapter, id, activity) != 0) return false;
  VD_PrintBGAStatus(activity);
  return true;
}

bool inUse(const NVME_NS_Info &ns) { return ns.Status != 0; }
bool isValid(const NVME_NS_Info &ns) { return (ns.Status & TRX_NS_STATUS_VALID) != 0; }

/// @param isShown which namespaces belong to the list of all; one that is asked for by its id must only
///        be in use
void printNamespaces(const std::vector<NVME_NS_Info> &namespaces, TRX_U16 id,
                     bool (*isShown)(const NVME_NS_Info &)) {
  TRX_U8 printed = 0;
  for (const NVME_NS_Info &ns : namespaces) {
    if (id == kAllIds ? !isShown(ns) : !(ns.NSID == id && inUse(ns))) continue;
    NS_PrintInfo(ns, isRaidMode(summaryOf(gCurrentAdapter)));
    ++printed;
  }
  if (id != kAllIds) {
    if (printed == 0) std::fputs("\nUnable to get info of NS\n", stream);
  } else if (printed == 0) {
    std::fputs("No Namespace Info Exist.\n", stream);
  } else {
    printTotal("Total # of NS:", 20, printed);
  }
}

// VD, although namespaces were asked for: scripts know the line.
void complainUnreadable() { std::fputs("\nUnable to get info of VD\n", stream); }

}  // namespace

void getAdapterInfoSA(TRX_U8 id) {
  TRX_U8 count = TRX_Adapter_GetCount();
  bool all = id == kAllIds && !gSpecificAdapterFlag;
  if (!all) {
    bool exists = id == kAllIds || id < count;
    if (!exists || !printAdapter(id)) std::fputs("\nUnable to get info of NVMe Controller\n", stream);
    return;
  }
  if (count == 0) return;
  for (TRX_U8 i = 0; i < count; ++i) {
    if (printAdapter(i)) {
      std::fputc('\n', stream);
    } else {
      // Zero-based also for those who count from 1; scripts know the line.
      std::fprintf(stream, "\nUnable to get info of NVMe Controller %d\n", i);
    }
  }
  printTotal("Total # of HBA:", 20, count);
}

void getHDInfoSA(TRX_U16 id) {
  if (id != kAllIds) {
    if (!printDisk(id)) std::fputs("\nUnable to get info of PD\n", stream);
    return;
  }
  const NVME_Adapter_Info &summary = summaryOf(gCurrentAdapter);
  int tries = summary.PortCount * (isRaidMode(summary) ? summary.MaxPD : summary.MaxNSPerVD);
  // The id and the tally are counted in 8 bits: with more than 256 tries the ids come round again.
  TRX_U8 next = 0;
  TRX_U8 printed = 0;
  std::fputc('\n', stream);
  for (int i = 0; i < tries; ++i) {
    if (!printDisk(next++)) continue;
    std::fputc('\n', stream);
    ++printed;
  }
  if (printed == 0) {
    std::fputs("No physical disk is found.\n", stream);
  } else {
    printTotal("Total # of PD:", 23, printed);
  }
}

void getLDInfoSA(TRX_U16 id) {
  if (id != kAllIds) {
    if (!printVolume(id)) std::fputs("\nUnable to get info of VD\n", stream);
    return;
  }
  TRX_U8 printed = 0;
  std::fputc('\n', stream);
  for (TRX_U16 i = 0; i < summaryOf(gCurrentAdapter).MaxVD; ++i) {
    if (!printVolume(i)) continue;
    std::fputc('\n', stream);
    ++printed;
  }
  if (printed == 0) {
    std::fputs("No virtual disk is found.\n", stream);
  } else {
    printTotal("Total # of VD:", 20, printed);
  }
}

void getNSInfoSA(TRX_U16 id) {
  if (summaryOf(gCurrentAdapter).MaxNS == 0) {
    std::fputs("Get MaxNS from adapter info fail.\n", stream);
    return;
  }
  std::vector<NVME_NS_Info> namespaces;
  if (readHostNamespaces(gCurrentAdapter, namespaces) != 0) return complainUnreadable();
  printNamespaces(namespaces, id, inUse);
}

// Unlike the host listing it does not look at MaxNS first, and of all entries shows the valid ones rather
// than those in use. Both are meant.
void getNSInfoOfVDSA(TRX_U16 id, TRX_U8 vd) {
  std::vector<NVME_NS_Info> namespaces;
  if (readVolumeNamespaces(gCurrentAdapter, vd, namespaces) != 0) return complainUnreadable();
  printNamespaces(namespaces, id, isValid);
}

}  // namespace trx
