// SPDX-License-Identifier: GPL-3.0-or-later
// Group 0xE2: volumes.
#include "controller/lists.h"
#include "controller/records.h"
#include "model/activities.h"
#include "model/storage.h"

namespace sim {
namespace {

Answer directInfo(Context &context, const DirectCall &call) {
  const Volume *volume = findVolume(context.state(), call.command.dword(14));
  if (!volume) return Fw::InvalidVolume;
  return bytesOf(volumeRecord(context.state(), *volume));
}

Answer pairInfo(Context &context, const PairCall &call) {
  const Adapter &adapter = context.state();
  return answerList(listHeader(context, call), idsOf(adapter.volumes), Fw::InvalidVolume,
                    sizeof(NVME_VD_Info),
                    [&](uint16_t id) { return volumeRecord(adapter, *findVolume(adapter, id)); });
}

Answer pairConfig(Context &context, const PairCall &call) {
  const Adapter &adapter = context.state();
  return answerList(listHeader(context, call), idsOf(adapter.volumes), Fw::InvalidVolume,
                    sizeof(NVME_VD_Config), [&](uint16_t id) {
                      NVME_VD_Config config{};
                      config.ID = id;
                      std::memcpy(config.Name, findVolume(adapter, id)->name, sizeof config.Name);
                      return config;
                    });
}

Answer pairSetConfig(Context &context, const PairCall &call) {
  RequestHeader header = listHeader(context, call);
  if (!context.breachText().empty()) return {};
  if (call.data.size() != sizeof header + header.numRequested * sizeof(NVME_VD_Config)) {
    context.breach("set volume configuration: the length is not the header's and its records'");
    return {};
  }
  for (bool write : {false, true}) {  // all or nothing: first see that every volume is there
    for (size_t i = 0; i < header.numRequested; ++i) {
      auto config = recordFrom<NVME_VD_Config>(call.data.subspan(sizeof header + i * sizeof(NVME_VD_Config)));
      if (!findVolume(context.state(), config.ID)) return Fw::InvalidVolume;
      if (write) std::memcpy(findVolume(context.change(), config.ID)->name, config.Name, sizeof config.Name);
    }
  }
  return Fw::Ok;
}

VolumePlan planFrom(const NVME_Create_VD &record) {
  VolumePlan plan;
  plan.raidMode = record.RAIDMode;
  plan.stripeBlocks = record.StripeBlockSize;
  size_t members = std::min<size_t>(record.MemberCount, 32);
  for (size_t i = 0; i < members; ++i) plan.members.push_back(record.PDIDs[i]);
  plan.name = fieldText({reinterpret_cast<const char *>(record.Name), sizeof record.Name});
  plan.namespaceCount = record.NSCount;
  for (size_t i = 0; i < std::min<size_t>(record.NSCount, 64); ++i)
    plan.namespaceSize.push_back(record.NSSize[i].value);
  return plan;
}

Answer pairCreate(Context &context, const PairCall &call) {
  auto record = recordFrom<NVME_Create_VD>(call.data);
  if (record.QueryLDSize > 1) {
    context.breach("create volume: QueryLDSize is neither 0 nor 1");
    return {};
  }
  if (record.MemberCount > 32) return Fw::InvalidDiskCount;
  VolumePlan plan = planFrom(record);
  VolumeSize size = planVolume(context.state(), plan);
  if (size.status != Fw::Ok) return size.status;
  if (record.QueryLDSize == 1) {
    NVME_PreCreate_VD answer{};
    answer.SectorSize = size.sectorSize;
    answer.LBA.value = size.sectors;
    return bytesOf(answer);
  }
  return createVolume(context.change(), context.now(), plan);
}

/// The argument holds the level above the code of the stripe size; dword 13 has a bit per member.
Answer directCreate(Context &context, const DirectCall &call) {
  constexpr uint32_t kSmallestStripe = 256;
  uint32_t members = call.command.dword(13);
  uint32_t namespaces = call.command.dword(14);
  if (namespaces > 0xFF) {
    context.breach("create volume: dword 14 holds more than a namespace count of 8 bits");
    return {};
  }
  VolumePlan plan;
  plan.raidMode = static_cast<uint8_t>(call.argument >> 8);
  plan.stripeBlocks = kSmallestStripe << (call.argument & 3);
  plan.namespaceCount = namespaces;
  for (uint16_t id = 0; id < 32; ++id)
    if (members >> id & 1) plan.members.push_back(id);
  return createVolume(context.change(), context.now(), plan);
}

Answer directDelete(Context &context, const DirectCall &call) {
  return deleteVolume(context.change(), context.now(), call.argument);
}

Answer directImport(Context &context, const DirectCall &call) {
  return importVolume(context.change(), context.now(), call.command.dword(14));
}

Answer pairDelete(Context &context, const PairCall &call) {
  auto record = recordFrom<NVME_VD_Delete>(call.data);
  if (!findVolume(context.state(), record.ID)) return Fw::InvalidVolume;
  return deleteVolume(context.change(), context.now(), record.ID);
}

Answer pairImport(Context &context, const PairCall &call) {
  RequestHeader header = listHeader(context, call);
  if (!context.breachText().empty()) return {};
  if (header.requestType != TRX_REQUEST_ONE_OBJECT) return Fw::InvalidParameter;
  return importVolume(context.change(), context.now(), header.start);
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE2, 0x00, "volume information",
     {directInfo, dwords(10, 14), 0, Transfer::Reply}, {pairInfo, 2, sizeof(RequestHeader)}},
    {0xE2, 0x01, "get volume configuration",
     {}, {pairConfig, 2, sizeof(RequestHeader)}},
    {0xE2, 0x02, "set volume configuration",
     {}, {pairSetConfig, 2, sizeof(RequestHeader), true}},
    {0xE2, 0x03, "create volume",
     {directCreate, dwords(13, 14), 0xFF03}, {pairCreate, 2, sizeof(NVME_Create_VD)}},
    {0xE2, 0x04, "delete volume",
     {directDelete, 0, 0x00FF}, {pairDelete, 2, sizeof(NVME_VD_Delete)}},
    {0xE2, 0x06, "import volume",
     {directImport, dwords(14)}, {pairImport, 2, sizeof(RequestHeader)}},
};
// clang-format on

}  // namespace

std::span<const Function> volumeFunctions() { return kFunctions; }

}  // namespace sim
