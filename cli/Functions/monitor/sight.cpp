// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/monitor/sight.h"

#include <algorithm>
#include <cctype>
#include <iterator>

#include "Functions/info/info.h"
#include "Public/exchange.h"
#include "Public/numbers.h"
#include "Public/objects.h"

namespace trx {
namespace {

/// The better ones first. A volume that is being rebuilt has what it had before, and perhaps a member more.
constexpr TRX_U8 kVolumeStates[] = {
    TRX_VD_STATUS_FUNCTIONAL,     TRX_VD_STATUS_INITIALIZATION, TRX_VD_STATUS_ERROR_HANDLING,
    TRX_VD_STATUS_REBUILDING,     TRX_VD_STATUS_IMPORTABLE,     TRX_VD_STATUS_FOREIGN,
    TRX_VD_STATUS_NOT_IMPORTABLE, TRX_VD_STATUS_OFFLINE,        TRX_VD_STATUS_MISSING};

int harmOf(TRX_U8 status) {
  const bool degraded = status == TRX_VD_STATUS_DEGRADE || status == TRX_VD_STATUS_PARTIALLY_OPTIMAL;
  const TRX_U8 like = degraded ? TRX_U8{TRX_VD_STATUS_REBUILDING} : status;
  return static_cast<int>(std::ranges::find(kVolumeStates, like) - std::begin(kVolumeStates));
}

int missingMembers(const NVME_VD_Info &volume) {
  const auto count = std::min<std::ptrdiff_t>(volume.MemberCount, std::ssize(volume.PDIDs));
  return static_cast<int>(std::count(volume.PDIDs, volume.PDIDs + count, TRX_PD_ID_MISSING));
}

/// That there is no such object is something that was seen.
std::optional<Sight> unseen() {
  return lastFailure().outcome == Outcome::NotFound ? std::optional(Sight{}) : std::nullopt;
}

std::optional<Sight> lookAtVolume(TRX_U16 id) {
  NVME_VD_Info volume;
  NVME_BGA_Status activity;
  if (readVolume(gCurrentAdapter, id, volume) != 0) return unseen();
  if (volume.Status == TRX_VD_STATUS_DELETED) return Sight{};
  if (readVolumeActivity(gCurrentAdapter, id, activity) != 0) return unseen();
  return Sight{true,
               harmOf(volume.Status),
               missingMembers(volume),
               activity.BgaType,
               activity.BgaStatus,
               activity.Percentage};
}

/// Of a disk it is only told that it is being patrolled, and not how far.
std::optional<Sight> lookAtDisk(TRX_U16 id) {
  NVME_PD_Info disk;
  if (readDisk(gCurrentAdapter, id, disk) != 0) return unseen();
  const bool patrol = (disk.Status & TRX_PD_STATUS_MEDIA_PATROL) != 0;
  const bool failed = (disk.Status & TRX_PD_STATUS_FAIL) != 0;
  return Sight{true,
               failed,
               0,
               patrol ? TRX_U8{TRX_NVME_BGA_TYPE_HD_MEDIAPATROL} : TRX_U8{},
               patrol ? TRX_U8{TRX_NVME_BGA_STATUS_RUNNING} : TRX_U8{},
               std::nullopt};
}

}  // namespace

std::string Subject::name() const {
  return (kind == Kind::Volume ? "VD " : "PD ") + std::to_string(userCounting(id));
}

bool Subject::isMeantBy(const std::string &message) const {
  const std::string words = (kind == Kind::Volume ? "irtual disk " : "hysical disk ") + std::to_string(id);
  const size_t at = message.find(words);
  if (at == std::string::npos) return false;
  const size_t end = at + words.size();
  return end == message.size() || !std::isdigit(static_cast<unsigned char>(message[end]));
}

bool Sight::isBusy() const { return state == TRX_NVME_BGA_STATUS_RUNNING || isPaused(); }

std::optional<Sight> lookAt(const Subject &subject) {
  return subject.kind == Subject::Kind::Volume ? lookAtVolume(subject.id) : lookAtDisk(subject.id);
}

const char *wordOfActivity(const Sight &sight) {
  return activityWord(
      sight.type == TRX_NVME_BGA_TYPE_HD_MEDIAPATROL ? TRX_U8{TRX_NVME_BGA_TYPE_VD_MEDIAPATROL} : sight.type);
}

std::vector<Subject> candidates(Subject::Kind kind) {
  const NVME_Adapter_Info &summary = summaryOf(gCurrentAdapter);
  const bool raid = isRaidMode(summary);
  constexpr int kIds = UINT8_MAX + 1;
  int count = raid ? summary.MaxVD : 0;
  if (kind == Subject::Kind::Disk) count = summary.PortCount * (raid ? summary.MaxPD : summary.MaxNSPerVD);
  std::vector<Subject> all;
  all.reserve(kIds);
  for (int id = 0; id < std::min(count, kIds); ++id) all.push_back({kind, static_cast<TRX_U16>(id)});
  return all;
}

}  // namespace trx
