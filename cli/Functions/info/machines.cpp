// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/info/machines.h"

#include <algorithm>
#include <iterator>

#include "Functions/info/info.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/numbers.h"
#include "Public/objects.h"
#include "Public/report.h"

namespace trx {
namespace {

void warnUnread(const char *what, int id) {
  if (lastFailure().outcome != Outcome::NotFound)
    tellWarning("%s %d would not be read: %s.\n", what, userCounting(id), textOf(lastFailure()));
}

void tellActivity(Listing &listing, TRX_U8 adapter, TRX_U16 id) {
  NVME_BGA_Status activity;
  if (readVolumeActivity(adapter, id, activity) == 0) return VD_PrintBGAStatus(listing, activity);
  warnUnread("Activity of VD", id);
  listing.error(lastFailure());
}

void tellVolume(TRX_U8 adapter, const NVME_VD_Info &volume) {
  Listing listing(data().object("virtual_disk"));
  LD_PrintInfo(listing, volume);
  tellActivity(listing, adapter, volume.ID);
}

bool consistsOf(const NVME_VD_Info &volume, TRX_U32 members) {
  const size_t count = std::min<size_t>(volume.MemberCount, std::size(volume.PDIDs));
  return std::all_of(volume.PDIDs, volume.PDIDs + count,
                     [&](TRX_U16 id) { return id < 32 && (members & 1u << id) != 0; });
}

void tellNamespacesOf(TRX_U8 volume) {
  std::vector<NVME_NS_Info> namespaces;
  if (readVolumeNamespaces(gCurrentAdapter, volume, namespaces) != 0)
    return warnUnread("Namespaces of VD", volume);
  data().array("namespaces");
  for (const NVME_NS_Info &ns : namespaces) {
    if (ns.Status & TRX_NS_STATUS_VALID) NS_PrintInfo(ns, isRaidMode(summaryOf(gCurrentAdapter)));
  }
}

}  // namespace

void tellVolume(TRX_U8 adapter, TRX_U16 id) {
  if (!gathersFacts()) return;
  const Forgiving forgiving;
  data().object("virtual_disk").put("id", int64_t{userCounting(id)});
  NVME_VD_Info volume;
  if (readVolume(adapter, id, volume) == 0) return tellVolume(adapter, volume);
  warnUnread("VD", id);
  data().object("virtual_disk").put("error", lastFailure());
}

VolumesBefore::VolumesBefore() {
  if (!gathersFacts()) return;
  const Forgiving forgiving;
  NVME_VD_Info volume;
  for (TRX_U16 id = 0; id < summaryOf(gCurrentAdapter).MaxVD; ++id) {
    const bool there = readVolume(gCurrentAdapter, id, volume) == 0;
    taken_.push_back(there || lastFailure().outcome != Outcome::NotFound);
    if (!there) warnUnread("VD", id);
  }
}

void VolumesBefore::tellNew(TRX_U32 members) const {
  if (!gathersFacts()) return;
  const Forgiving forgiving;
  data().put("virtual_disk", Nothing{});
  data().put("namespaces", Nothing{});
  const auto count = static_cast<TRX_U16>(taken_.size());
  for (TRX_U16 id = 0; id < count; ++id) {
    NVME_VD_Info volume;
    if (taken_[id]) continue;
    if (readVolume(gCurrentAdapter, id, volume) != 0) {
      warnUnread("VD", id);
    } else if (consistsOf(volume, members)) {
      tellVolume(gCurrentAdapter, volume);
      return tellNamespacesOf(static_cast<TRX_U8>(id));
    }
  }
  tellWarning("The new VD was not found.\n");
}

void tellNewNamespaces(const std::function<bool(const NVME_NS_Info &)> &isNew) {
  if (!gathersFacts()) return;
  const Forgiving forgiving;
  std::vector<NVME_NS_Info> namespaces;
  if (readHostNamespaces(gCurrentAdapter, namespaces) != 0) {
    data().put("namespaces", Nothing{});
    return tellWarning("Namespaces would not be read: %s.\n", textOf(lastFailure()));
  }
  data().array("namespaces");
  for (const NVME_NS_Info &ns : namespaces) {
    if (ns.Status != 0 && isNew(ns)) NS_PrintInfo(ns, isRaidMode(summaryOf(gCurrentAdapter)));
  }
}

}  // namespace trx
