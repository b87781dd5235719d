// SPDX-License-Identifier: GPL-3.0-or-later
// Group 0xE1: physical disks.
#include <algorithm>

#include "controller/lists.h"
#include "controller/records.h"
#include "model/storage.h"

namespace sim {
namespace {

Answer directInfo(Context &context, const DirectCall &call) {
  const Disk *disk = findDisk(context.state(), call.command.dword(14));
  if (!disk) return Fw::InvalidDisk;
  return bytesOf(diskRecord(context.state(), *disk));
}

Answer pairInfo(Context &context, const PairCall &call) {
  const Adapter &adapter = context.state();
  return answerList(listHeader(context, call), diskIds(adapter), Fw::InvalidDisk, sizeof(NVME_PD_Info),
                    [&](uint16_t id) { return diskRecord(adapter, *findDisk(adapter, id)); });
}

/// The only request of the maker that the simulated disks know: their model, in the payload.
constexpr uint8_t kOemInquiry = 0;

Answer pairOem(Context &context, const PairCall &call) {
  auto item = recordFrom<TRXItem_OEM_Data>(call.data);
  constexpr size_t payloadAt = offsetof(TRXItem_OEM_Data, data);
  if (call.data.size() != std::min<size_t>(item.cbSize + 17U, sizeof(NVMESendData::data))) {
    context.breach("disk OEM request: the length is not the payload's and 17");
    return {};
  }
  const Disk *disk = findDisk(context.state(), item.ID);
  if (!disk) return Fw::InvalidDisk;
  if (item.cdb[0] != kOemInquiry) return Fw::NotSupported;
  std::vector<uint8_t> payload(call.data.begin(), call.data.end());
  size_t room = std::min<size_t>({item.cbSize, sizeof disk->model, payload.size() - payloadAt});
  std::memcpy(payload.data() + payloadAt, disk->model, room);
  return payload;
}

Answer pairImport(Context &context, const PairCall &call) {
  RequestHeader header = listHeader(context, call);
  if (!context.breachText().empty()) return {};
  if (!findDisk(context.state(), header.start)) return Fw::InvalidDisk;
  return importDisk(context.change(), context.now(), header.start);
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE1, 0x00, "disk information",
     {directInfo, dwords(10, 14), 0, Transfer::Reply}, {pairInfo, 2, sizeof(RequestHeader)}},
    {0xE1, 0x03, "disk OEM request",
     {}, {pairOem, 2, 17, true}},
    {0xE1, 0x09, "disk import",
     {}, {pairImport, 2, sizeof(RequestHeader)}},
};
// clang-format on

}  // namespace

std::span<const Function> diskFunctions() { return kFunctions; }

}  // namespace sim
