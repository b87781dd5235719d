// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/info/listings.h"

#include <optional>
#include <vector>

#include "Functions/info/info.h"
#include "Public/exchange.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/objects.h"
#include "Public/report.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

void printTotal(const char *label, int labelWidth, TRX_U8 count) {
  if (gathersFacts()) return;  // told by the tally, also where there is none
  Listing total(labelWidth);
  total.text(label, int64_t{count});
  total.blankLine();
}

/// How the objects of a listing of all were read. While it lives, one that would not be read is not yet a
/// failure of the line.
class Tally {
 public:
  explicit Tally(const char *array) : array_(array) {
    if (gathersFacts()) data().array(array);
  }
  ~Tally() {
    aside_.reset();
    noteListing(read_, worst_);
    if (gathersFacts()) data().put("total", static_cast<int64_t>(read_));
  }
  Tally(const Tally &) = delete;
  Tally &operator=(const Tally &) = delete;

  void read() { ++read_; }
  /// It would not be read, or a part of it. That there is no object of an id is no failure.
  void unread(const Failure &failure) {
    if (failure.outcome == Outcome::NotFound) return;
    if (worseOf(worst_.outcome, failure.outcome) != worst_.outcome) worst_ = failure;
  }
  /// An object of which nothing was read: @param id zero-based
  void absent(int id) {
    if (lastFailure().outcome == Outcome::NotFound) return;
    unread(lastFailure());
    listUnread(array_, userCounting(id), lastFailure());
  }

 private:
  const char *array_;
  std::optional<Aside> aside_{std::in_place};
  size_t read_ = 0;
  Failure worst_;
};

/// The volumes of which machines are told that a disk is a member. Read for them alone, with the first disk
/// that is one: what goes wrong is a warning.
class VolumesForMachines {
 public:
  const std::vector<NVME_VD_Info> &of(const NVME_PD_Info &disk) {
    const bool wanted = gathersFacts() && !read_ && (disk.Status & TRX_PD_STATUS_ASSIGNED) != 0;
    if (wanted && isRaidMode(summaryOf(gCurrentAdapter))) readAll();
    return volumes_;
  }

 private:
  void readAll() {
    const Aside aside;
    read_ = true;
    for (TRX_U16 i = 0; i < summaryOf(gCurrentAdapter).MaxVD; ++i) {
      NVME_VD_Info volume;
      if (readVolume(gCurrentAdapter, i, volume) == 0) {
        volumes_.push_back(volume);
      } else if (lastFailure().outcome != Outcome::NotFound) {
        tellWarning("Virtual disk %d would not be read: %s.\n", userCounting(i), textOf(lastFailure()));
      }
    }
    forgetExchange();  // the disk was read
  }

  std::vector<NVME_VD_Info> volumes_;
  bool read_ = false;
};

bool printAdapter(TRX_U8 adapter) {
  NVME_Adapter_Info info;
  if (readAdapter(adapter, info) != 0) return false;
  Adapter_PrintInfo(adapter, info);
  return true;
}

bool printDisk(TRX_U16 id, VolumesForMachines &volumes) {
  NVME_PD_Info disk;
  if (readDisk(gCurrentAdapter, id, disk) != 0) return false;
  HD_PrintInfo(disk, isRaidMode(summaryOf(gCurrentAdapter)), volumes.of(disk));
  return true;
}

/// A volume without its activity counts as one that could not be had, although its block is there by then.
/// @param[out] begun whether its block is there
bool printVolume(TRX_U16 id, bool &begun) {
  NVME_VD_Info volume;
  begun = readVolume(gCurrentAdapter, id, volume) == 0;
  if (!begun) return false;
  Listing listing(kVolumeWidth, kVolumes);
  LD_PrintInfo(listing, volume);
  NVME_BGA_Status activity;
  if (readVolumeActivity(gCurrentAdapter, id, activity) != 0) {
    listing.error(lastFailure());
    return false;
  }
  VD_PrintBGAStatus(listing, activity);
  return true;
}

bool inUse(const NVME_NS_Info &ns) { return ns.Status != 0; }
bool isValid(const NVME_NS_Info &ns) { return (ns.Status & TRX_NS_STATUS_VALID) != 0; }

/// @param isShown which namespaces belong to the list of all; one that is asked for by its id must only
///        be in use
void printNamespaces(const std::vector<NVME_NS_Info> &namespaces, TRX_U16 id,
                     bool (*isShown)(const NVME_NS_Info &)) {
  TRX_U8 printed = 0;
  Tally tally("namespaces");
  for (const NVME_NS_Info &ns : namespaces) {
    if (id == kAllIds ? !isShown(ns) : !(ns.NSID == id && inUse(ns))) continue;
    // Without its EUI-64 it counts as read; that it has none to tell does not.
    if (!NS_PrintInfo(ns, isRaidMode(summaryOf(gCurrentAdapter)))) tally.unread(lastFailure());
    tally.read();
    ++printed;
  }
  if (id != kAllIds) {
    if (printed == 0) tellWrong(Outcome::NotFound, "\nUnable to get info of NS\n");
  } else if (printed == 0) {
    tell("No Namespace Info Exist.\n");
  } else {
    printTotal("Total # of NS:", 20, printed);
  }
}

// VD, although namespaces were asked for: scripts know the line.
void complainUnreadable() { tellFailed("\nUnable to get info of VD\n"); }

}  // namespace

void getAdapterInfoSA(TRX_U8 id) {
  TRX_U8 count = TRX_Adapter_GetCount();
  bool all = id == kAllIds && !gSpecificAdapterFlag;
  if (!all) {
    if (id != kAllIds && id >= count) {
      tellWrong(Outcome::NotFound, "\nUnable to get info of NVMe Controller\n");
    } else if (!printAdapter(id)) {
      tellFailed("\nUnable to get info of NVMe Controller\n");
    }
    return;
  }
  if (count == 0) return;
  Tally tally("adapters");
  tally.unread(lostController());
  for (TRX_U8 i = 0; i < count; ++i) {
    if (printAdapter(i)) {
      tally.read();
      tally.unread(lastFailure());
      heading("\n");
    } else {
      tally.absent(i);
      // Zero-based also for those who count from 1; scripts know the line.
      tellFailed("\nUnable to get info of NVMe Controller %d\n", i);
    }
  }
  printTotal("Total # of HBA:", 20, count);
}

void getHDInfoSA(TRX_U16 id) {
  VolumesForMachines volumes;
  if (id != kAllIds) {
    if (!printDisk(id, volumes)) tellFailed("\nUnable to get info of PD\n");
    return;
  }
  const NVME_Adapter_Info &summary = summaryOf(gCurrentAdapter);
  int tries = summary.PortCount * (isRaidMode(summary) ? summary.MaxPD : summary.MaxNSPerVD);
  // The id and the tally are counted in 8 bits: with more than 256 tries the ids come round again.
  TRX_U8 next = 0;
  TRX_U8 printed = 0;
  heading("\n");
  Tally tally("physical_disks");
  for (int i = 0; i < tries; ++i) {
    const TRX_U8 disk = next++;
    if (!printDisk(disk, volumes)) {
      tally.absent(disk);
      continue;
    }
    tally.read();
    heading("\n");
    ++printed;
  }
  if (printed == 0) {
    tell("No physical disk is found.\n");
  } else {
    printTotal("Total # of PD:", 23, printed);
  }
}

void getLDInfoSA(TRX_U16 id) {
  bool begun = false;
  if (id != kAllIds) {
    if (!printVolume(id, begun)) tellFailed("\nUnable to get info of VD\n");
    return;
  }
  TRX_U8 printed = 0;
  heading("\n");
  const TRX_U16 tries = summaryOf(gCurrentAdapter).MaxVD;
  Tally tally(kVolumes);
  for (TRX_U16 i = 0; i < tries; ++i) {
    if (!printVolume(i, begun)) {
      begun ? tally.unread(lastFailure()) : tally.absent(i);
      continue;
    }
    tally.read();
    heading("\n");
    ++printed;
  }
  if (printed == 0) {
    tell("No virtual disk is found.\n");
  } else {
    printTotal("Total # of VD:", 20, printed);
  }
}

void getNSInfoSA(TRX_U16 id) {
  if (summaryOf(gCurrentAdapter).MaxNS == 0) {
    tellFailed("Get MaxNS from adapter info fail.\n");
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
