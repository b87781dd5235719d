// SPDX-License-Identifier: GPL-3.0-or-later
#include "present.h"

#include <map>
#include <utility>

#include "Functions/monitor/sight.h"
#include "Public/exchange.h"
#include "Public/numbers.h"
#include "Public/objects.h"
#include "Public/report.h"

namespace trx {
namespace {

using Ids = std::vector<std::string>;
std::map<std::pair<uint8_t, Objects>, Ids> gIds;  ///< by adapter

std::string counted(int zeroBasedId) { return std::to_string(userCounting(zeroBasedId)); }

bool isThere(const Subject &subject) {
  NVME_PD_Info disk;
  NVME_VD_Info volume;
  if (subject.kind == Subject::Kind::Disk) return readDisk(gCurrentAdapter, subject.id, disk) == 0;
  return readVolume(gCurrentAdapter, subject.id, volume) == 0 && volume.Status != TRX_VD_STATUS_DELETED;
}

Ids idsOf(Subject::Kind kind) {
  Ids ids;
  for (const Subject &subject : candidates(kind)) {
    if (isThere(subject)) {
      ids.push_back(counted(subject.id));
    } else if (lastFailure() && lastFailure().outcome != Outcome::NotFound) {
      break;
    }
  }
  return ids;
}

Ids adapterIds() {
  Ids ids;
  for (int i = 0; i < gNumAdaptersFound; ++i) ids.push_back(counted(i));
  return ids;
}

/// Namespace ids are the same in every counting.
Ids namespaceIds() {
  std::vector<NVME_NS_Info> namespaces;
  Ids ids;
  readHostNamespaces(gCurrentAdapter, namespaces);
  for (const NVME_NS_Info &ns : namespaces) {
    if (ns.Status != 0) ids.push_back(std::to_string(ns.NSID));
  }
  return ids;
}

Ids read(Objects objects) {
  switch (objects) {
    case Objects::Adapters:
      return adapterIds();
    case Objects::Disks:
    case Objects::DiskList:
      return idsOf(Subject::Kind::Disk);
    case Objects::Volumes:
      return idsOf(Subject::Kind::Volume);
    case Objects::Namespaces:
      return namespaceIds();
    case Objects::Backings:
      return idsOf(isRaidMode(summaryOf(gCurrentAdapter)) ? Subject::Kind::Volume : Subject::Kind::Disk);
    case Objects::None:
      break;
  }
  return {};
}

}  // namespace

const std::vector<std::string> &presentIds(Objects objects) {
  const std::pair asked(gCurrentAdapter, objects);
  if (auto known = gIds.find(asked); known != gIds.end()) return known->second;
  const Aside aside;
  Ids &ids = gIds[asked] = read(objects);
  forgetExchange();
  return ids;
}

void forgetPresentIds() { gIds.clear(); }

}  // namespace trx
