// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/monitor/facts.h"

#include <algorithm>

#include "Functions/changes/objects.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/objects.h"
#include "Public/report.h"
#include "Public/request.h"
#include "trx/trx_api.h"
#include "trx/trx_nvme.h"

namespace trx {
namespace {

constexpr TRX_U16 kLogBytes = sizeof(SmartLog);
static_assert(sizeof(TRX_FIRMWARE_SLOT_INFO_LOG) == kLogBytes);

constexpr TRX_U32 logPage(TRX_U32 page) { return TRX_NVME_LOG_PAGE_CDW10(page, kLogBytes); }

void fetchDiskLog(TRX_U8 adapter, TRX_U16 disk, TRX_U32 page, Page &log) {
  ControllerRequest::disk(TRX_OPCODE_DISK_READ, disk)
      .set(10, logPage(page))
      .set(14, TRX_NVME_GET_LOG_PAGE)
      .set(15, TRX_NVME_ALL_NAMESPACES)
      .fetch(adapter, log, kLogBytes);
}

void fetchAdapterLog(TRX_U8 adapter, TRX_U32 page, Page &log) {
  const TRX_U32 dword10 = logPage(page);
  sendAdmin(adapter, TRX_NVME_GET_LOG_PAGE, TRX_NVME_ALL_NAMESPACES, {&dword10, 1}, {},
            std::span(log.bytes).first<kLogBytes>());
}

TRX_U8 waitingSlotIn(const Page &log) {
  return log.at<TRX_FIRMWARE_SLOT_INFO_LOG>(0).AFI.PendingActivateSlot;
}

/// Asks, and keeps account of what would not be told.
class Survey {
 public:
  explicit Survey(Namespaces namespaces) : namespaces_(namespaces) {}

  void askAdapter(TRX_U8 id);
  /// One that is not among the adapters, and may have been.
  void miss(const Failure &failure) {
    if (!failure) return;
    worst_ = failure;
    facts_.unread.push_back({kLostAdapter, {Kind::Adapter, kLostAdapter}, "", failure});
  }
  Facts end() {
    aside_.reset();
    noteListing(read_, worst_);
    return std::move(facts_);
  }

 private:
  /// Whether the last request was answered. That there is no such object is no failure.
  bool answered(AdapterFacts &adapter, const Target &target, const char *part = "") {
    if (!lastFailure()) return ++read_ > 0;
    if (lastFailure().outcome != Outcome::NotFound) unread(adapter, target, part, lastFailure());
    return false;
  }
  void unread(AdapterFacts &adapter, const Target &target, const char *part, const Failure &failure) {
    if (worseOf(worst_.outcome, failure.outcome) != worst_.outcome) worst_ = failure;
    ++adapter.unread;
    facts_.unread.push_back({adapter.id, target, part, failure});
  }

  void askDisk(AdapterFacts &adapter, TRX_U16 id);
  void askVolume(AdapterFacts &adapter, TRX_U16 id);
  void askNamespaces(AdapterFacts &adapter);

  Namespaces namespaces_;
  std::optional<Aside> aside_{std::in_place};
  Facts facts_;
  size_t read_ = 0;
  Failure worst_;
};

void Survey::askDisk(AdapterFacts &adapter, TRX_U16 id) {
  const Target target{Kind::Disk, id};
  DiskFacts disk{id, {}, {}, {}};
  readDisk(adapter.id, id, disk.info);
  if (!answered(adapter, target)) return;
  // A disk that failed has nothing more to say, and may take its time to say it.
  if (!disk.failed()) {
    SmartLog smart{};
    readDiskSmartLog(adapter.id, id, smart);
    if (answered(adapter, target, "SMART log")) disk.smart = smart;
    Page log;
    fetchDiskLog(adapter.id, id, TRX_NVME_LID_FIRMWARE_SLOT, log);
    if (answered(adapter, target, "firmware slots")) disk.waitingSlot = waitingSlotIn(log);
  }
  adapter.disks.push_back(disk);
}

void Survey::askVolume(AdapterFacts &adapter, TRX_U16 id) {
  const Target target{Kind::Volume, id};
  VolumeFacts volume{id, {}, {}};
  readVolume(adapter.id, id, volume.info);
  if (!answered(adapter, target)) return;
  NVME_BGA_Status activity{};
  readVolumeActivity(adapter.id, id, activity);
  if (answered(adapter, target, "activity")) volume.activity = activity;
  adapter.volumes.push_back(volume);
}

void Survey::askNamespaces(AdapterFacts &adapter) {
  std::vector<NVME_NS_Info> all;
  readHostNamespaces(adapter.id, all);
  if (!answered(adapter, {Kind::Adapter, adapter.id}, "namespaces")) return;
  for (const NVME_NS_Info &ns : all) {
    auto same = [&](const NVME_NS_Info &other) { return other.NSID == ns.NSID; };
    // One of each: a reader of metrics refuses a page in which one stands twice.
    if (ns.Status != 0 && std::ranges::none_of(adapter.namespaces, same)) adapter.namespaces.push_back(ns);
  }
}

void Survey::askAdapter(TRX_U8 id) {
  AdapterFacts adapter{id, TRX_Adapter_GetDevicePath(id), {}, {}, {}, {}, {}};
  const Target target{Kind::Adapter, id};
  const NVME_Adapter_Info &summary = summaryOf(id);
  const Failure failure = id < gSummaryFailures.size() ? gSummaryFailures[id] : Failure{};
  if (failure) {
    unread(adapter, target, "", failure);
  } else {
    ++read_;
    adapter.info = summary;
    Page log;
    fetchAdapterLog(id, TRX_NVME_LID_FIRMWARE_SLOT, log);
    if (answered(adapter, target, "firmware slots")) adapter.waitingSlot = waitingSlotIn(log);
    // Disk ids are counted in 8 bits, as the listing of all does.
    const int disks = summary.PortCount * (isRaidMode(summary) ? summary.MaxPD : summary.MaxNSPerVD);
    for (int i = 0; i < std::min(disks, 256); ++i) askDisk(adapter, static_cast<TRX_U16>(i));
    for (TRX_U16 i = 0; isRaidMode(summary) && i < summary.MaxVD; ++i) askVolume(adapter, i);
    if (namespaces_ == Namespaces::Read && summary.MaxNS != 0) askNamespaces(adapter);
  }
  facts_.adapters.push_back(std::move(adapter));
}

}  // namespace

std::span<const TRX_U16> VolumeFacts::members() const {
  return std::span(info.PDIDs).first(std::min<size_t>(info.MemberCount, std::size(info.PDIDs)));
}

size_t VolumeFacts::missing() const {
  return static_cast<size_t>(std::ranges::count(members(), TRX_U16{TRX_PD_ID_MISSING}));
}

Facts readFacts(Namespaces namespaces) {
  if (gNumAdaptersFound == 0) {
    if (!noteStart()) note(Outcome::NotFound);
    return {};
  }
  Survey survey(namespaces);
  if (!gSpecificAdapterFlag) survey.miss(lostController());
  for (TRX_U8 i = 0; i < gNumAdaptersFound; ++i) {
    if (!gSpecificAdapterFlag || i == gCurrentAdapter) survey.askAdapter(i);
  }
  return survey.end();
}

std::string fieldText(std::span<const TRX_U8> field) {
  auto isPadding = [](TRX_U8 byte) { return byte == ' ' || byte == 0; };
  while (!field.empty() && isPadding(field.back())) field = field.first(field.size() - 1);
  while (!field.empty() && isPadding(field.front())) field = field.subspan(1);
  return {field.begin(), field.end()};
}

std::string subjectOf(TRX_U8 adapter, const Target &target) {
  const std::string device = TRX_Adapter_GetDevicePath(adapter);
  return target.kind == Kind::Adapter ? device : device + " " + nameOf(target);
}

std::string describe(const Unread &unread) {
  if (unread.adapter == kLostAdapter)
    return std::string("An NVMe adapter of this host did not answer: ") + textOf(unread.failure);
  const std::string part = unread.part;
  return subjectOf(unread.adapter, unread.target) + (part.empty() ? "" : ": its " + part) +
         " could not be read: " + textOf(unread.failure);
}

}  // namespace trx
