// SPDX-License-Identifier: GPL-3.0-or-later
// Group 0xE3: background activities and what else disks and volumes are told to do.
#include "controller/lists.h"
#include "controller/records.h"
#include "model/activities.h"

namespace sim {
namespace {

Answer directVolumeStatus(Context &context, const DirectCall &call) {
  const Volume *volume = findVolume(context.state(), call.command.dword(14));
  if (!volume) return Fw::InvalidVolume;
  const Activity *activity = volumeActivity(context.state(), volume->id);
  return bytesOf(activityRecord(context.state(), activity, volume->id, context.now()));
}

Answer pairDiskStatus(Context &context, const PairCall &call) {
  const Adapter &adapter = context.state();
  return answerList(
      listHeader(context, call), diskIds(adapter), Fw::InvalidDisk, sizeof(NVME_BGA_Status),
      [&](uint16_t id) { return activityRecord(adapter, diskActivity(adapter, id), id, context.now()); });
}

Answer pairVolumeStatus(Context &context, const PairCall &call) {
  const Adapter &adapter = context.state();
  return answerList(
      listHeader(context, call), idsOf(adapter.volumes), Fw::InvalidVolume, sizeof(NVME_BGA_Status),
      [&](uint16_t id) { return activityRecord(adapter, volumeActivity(adapter, id), id, context.now()); });
}

using Control = Fw (*)(Adapter &, Millis, uint32_t, uint32_t);

template <Control control>
Answer pairControl(Context &context, const PairCall &call) {
  RequestHeader header = listHeader(context, call);
  if (!context.breachText().empty()) return {};
  if (header.requestType != TRX_REQUEST_ONE_OBJECT) return Fw::InvalidParameter;
  return control(context.change(), context.now(), header.start, call.words[2]);
}

/// Dword 14 of what acts on a volume: its id, and from bit 16 what the function wants beside it.
struct VolumeAction {
  uint32_t volume;
  uint32_t value;
};

VolumeAction volumeAction(const DirectCall &call) {
  return {call.command.dword(14) & 0xFFFF, call.command.dword(14) >> 16};
}

Answer directControl(Context &context, const DirectCall &call) {
  auto [volume, operation] = volumeAction(call);
  return controlVolumeActivity(context.change(), context.now(), volume, operation);
}

Answer directInit(Context &context, const DirectCall &call) {
  auto [volume, type] = volumeAction(call);
  if (type > 0xFF) return Fw::InvalidParameter;
  return startInit(context.change(), context.now(), volume, static_cast<uint8_t>(type));
}

Answer directRebuild(Context &context, const DirectCall &call) {
  auto [volume, disk] = volumeAction(call);
  return startRebuild(context.change(), context.now(), volume, disk);
}

Answer directVolumePatrol(Context &context, const DirectCall &call) {
  return startVolumePatrol(context.change(), context.now(), call.command.dword(14));
}

Answer pairDiskPatrol(Context &context, const PairCall &call) {
  return startDiskPatrol(context.change(), context.now(), recordFrom<NVME_PD_MP>(call.data).PDID);
}

Answer pairInit(Context &context, const PairCall &call) {
  auto record = recordFrom<NVME_VD_Init>(call.data);
  return startInit(context.change(), context.now(), record.ID, record.Init_Type);
}

Answer pairRebuild(Context &context, const PairCall &call) {
  auto record = recordFrom<NVME_Rebuild>(call.data);
  return startRebuild(context.change(), context.now(), record.VDID, record.PDID);
}

Answer pairSync(Context &context, const PairCall &call) {
  return startSync(context.change(), context.now(), recordFrom<NVME_VD_Sync>(call.data).ID);
}

Answer pairMigrate(Context &context, const PairCall &call) {
  auto record = recordFrom<NVME_Migrate>(call.data);
  if (record.MemberCount > 32) return Fw::InvalidDiskCount;
  std::vector<uint16_t> members(record.PDIDs, record.PDIDs + record.MemberCount);
  return startMigration(context.change(), context.now(), record.ID, record.RaidMode, members);
}

Answer pairVolumePatrol(Context &context, const PairCall &call) {
  return startVolumePatrol(context.change(), context.now(), recordFrom<NVME_VD_MP>(call.data).VDID);
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE3, 0x01, "disk activity",
     {}, {pairDiskStatus, 2, sizeof(RequestHeader)}},
    {0xE3, 0x02, "volume activity",
     {directVolumeStatus, dwords(10, 14), 0, Transfer::Reply}, {pairVolumeStatus, 2, sizeof(RequestHeader)}},
    {0xE3, 0x03, "disk activity control",
     {}, {pairControl<controlDiskActivity>, 3, sizeof(RequestHeader)}},
    {0xE3, 0x04, "volume activity control",
     {directControl, dwords(14)}, {pairControl<controlVolumeActivity>, 3, sizeof(RequestHeader)}},
    {0xE3, 0x05, "disk media patrol",
     {}, {pairDiskPatrol, 2, sizeof(NVME_PD_MP)}},
    {0xE3, 0x06, "volume initialisation",
     {directInit, dwords(14)}, {pairInit, 2, sizeof(NVME_VD_Init)}},
    {0xE3, 0x07, "rebuild",
     {directRebuild, dwords(14)}, {pairRebuild, 2, sizeof(NVME_Rebuild)}},
    {0xE3, 0x08, "synchronisation",
     {}, {pairSync, 2, sizeof(NVME_VD_Sync)}},
    {0xE3, 0x09, "migration",
     {}, {pairMigrate, 2, sizeof(NVME_Migrate)}},
    {0xE3, 0x0A, "volume media patrol",
     {directVolumePatrol, dwords(14)}, {pairVolumePatrol, 2, sizeof(NVME_VD_MP)}},
};
// clang-format on

}  // namespace

std::span<const Function> activityFunctions() { return kFunctions; }

}  // namespace sim
