// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/changes/objects.h"

#include "Functions/info/info.h"
#include "Public/numbers.h"
#include "Public/objects.h"
#include "Public/report.h"

namespace trx {
namespace {

/// The one object that `print` lists, out of its array.
template <typename Print>
Failure gather(const char *array, Document &facts, Print print) {
  Document listed;
  {
    const Gather gathering(listed);
    print();
  }
  facts.takeFirst(listed, array);
  return {};
}

Failure gatherAdapter(TRX_U8 adapter, Document &facts) {
  NVME_Adapter_Info info;
  if (readAdapter(adapter, info) != 0) return lastFailure();
  return gather("adapters", facts, [&] { Adapter_PrintInfo(adapter, info); });
}

Failure gatherDisk(TRX_U16 id, Document &facts) {
  NVME_PD_Info disk;
  if (readDisk(gCurrentAdapter, id, disk) != 0) return lastFailure();
  return gather("physical_disks", facts,
                [&] { HD_PrintInfo(disk, isRaidMode(summaryOf(gCurrentAdapter)), {}); });
}

Failure gatherVolume(TRX_U16 id, Document &facts) {
  NVME_VD_Info volume;
  if (readVolume(gCurrentAdapter, id, volume) != 0) return lastFailure();
  return gather(kVolumes, facts, [&] {
    Listing listing(kVolumeWidth, kVolumes);
    LD_PrintInfo(listing, volume);
  });
}

Failure gatherNamespace(TRX_U32 nsid, Document &facts) {
  std::vector<NVME_NS_Info> namespaces;
  if (readHostNamespaces(gCurrentAdapter, namespaces) != 0) return lastFailure();
  for (const NVME_NS_Info &ns : namespaces) {
    if (ns.NSID != nsid || ns.Status == 0) continue;
    bool told = false;
    gather("namespaces", facts, [&] { told = NS_PrintInfo(ns, isRaidMode(summaryOf(gCurrentAdapter))); });
    return told ? Failure{} : lastFailure();
  }
  return {Outcome::NotFound, Source::None, 0};
}

const char *wordOf(Kind kind) {
  switch (kind) {
    case Kind::Adapter:
      return "NVMe Controller";
    case Kind::Disk:
      return "PD";
    case Kind::Volume:
      return "VD";
    case Kind::Namespace:
      break;
  }
  return "NS";
}

}  // namespace

Failure gatherObject(const Target &target, Document &facts) {
  switch (target.kind) {
    case Kind::Adapter:
      return gatherAdapter(static_cast<TRX_U8>(target.id), facts);
    case Kind::Disk:
      return gatherDisk(static_cast<TRX_U16>(target.id), facts);
    case Kind::Volume:
      return gatherVolume(static_cast<TRX_U16>(target.id), facts);
    case Kind::Namespace:
      break;
  }
  return gatherNamespace(target.id, facts);
}

std::string nameOf(const Target &target) {
  const bool counted = target.kind != Kind::Namespace;
  const int id = static_cast<int>(target.id);
  return std::string(wordOf(target.kind)) + " " + std::to_string(counted ? userCounting(id) : id);
}

std::string describe(const Target &target) {
  Document facts;
  std::string text = nameOf(target);
  if (Failure failure = gatherObject(target, facts)) return text + " (not read: " + textOf(failure) + ")";
  Object object = facts.root();
  auto add = [&](const char *before, const char *key, const char *after) {
    if (std::string value = object.typed(key); !value.empty() && value != "null" && value != "[]")
      text += before + value + after;
  };
  add(" \"", "name", "\"");
  add(" ", "model", "");
  add(" ", "serial", "");
  add(" of ", "size_bytes", " bytes");
  add(" with namespaces ", "namespaces", "");
  return text;
}

}  // namespace trx
