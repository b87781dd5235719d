// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/disk_commands.h"

#include <bit>

#include "controller/firmware.h"
#include "controller/records.h"
#include "controller/standard.h"

namespace sim {
namespace {

/// Direction that an opcode tells in its bits 1:0 (NVMe base standard, Opcode).
enum DataTransfer : uint8_t { kNoData = 0, kToDisk = 1, kFromDisk = 2 };

/// A command as the disk sees it.
struct DiskCommand {
  const Disk &disk;
  const Command &outer;
  uint32_t nsid;
};

constexpr uint32_t kAllNamespaces = 0xFFFFFFFF;

NvmeStatus identify(Context &, const DiskCommand &command, Completion &completion) {
  const Disk &disk = command.disk;
  switch (command.outer.dword(10) & 0xFF) {
    case 0: {
      if (command.nsid != disk.ssdNsid && command.nsid != kAllNamespaces) return TRX_NVME_SC_INVALID_NS;
      completion.data.assign(TRX_PAGE_SIZE, 0);
      for (size_t at : {size_t{0}, size_t{8}, size_t{16}})
        std::memcpy(&completion.data[at], &disk.sectors, sizeof disk.sectors);
      completion.data[130] = static_cast<uint8_t>(std::countr_zero(disk.sectorSize));
      return 0;
    }
    case 1:
      completion.data = bytesOf(identifyDisk(disk));
      return 0;
    default:
      return TRX_NVME_SC_INVALID_FIELD;
  }
}

NvmeStatus getLogPage(Context &context, const DiskCommand &command, Completion &completion) {
  uint32_t dword10 = command.outer.dword(10);
  switch (dword10 & 0xFF) {
    case 2: {
      auto log = smartLog(command.disk.smart, context.now());
      completion.data.assign(log.begin(), log.end());
      break;
    }
    case 3:
      completion.data = bytesOf(slotLog(command.disk.firmware));
      break;
    default:
      return commandSpecific(TRX_ILP);
  }
  size_t asked = (size_t{dword10 >> 16} + 1) * 4;
  if (completion.data.size() > asked) completion.data.resize(asked);
  return 0;
}

/// Get Features: values are in completion dword 0; the LBA range type has data.
NvmeStatus getFeatures(Context &, const DiskCommand &command, Completion &completion) {
  constexpr uint32_t kLbaRangeType = 3, kTemperatureThreshold = 4, kWriteCache = 6, kQueues = 7;
  switch (command.outer.dword(10) & 0xFF) {
    case kLbaRangeType: {
      if (command.nsid != command.disk.ssdNsid) return TRX_NVME_SC_INVALID_NS;
      completion.data.assign(TRX_PAGE_SIZE, 0);
      completion.data[0] = 2;  // one range, used by a RAID
      uint64_t lastBlock = command.disk.sectors - 1;
      std::memcpy(&completion.data[24], &lastBlock, sizeof lastBlock);
      return 0;
    }
    case kTemperatureThreshold:
      completion.dw0 = 343;
      return 0;
    case kWriteCache:
      completion.dw0 = 0;
      return 0;
    case kQueues:
      completion.dw0 = 31 << 16 | 31;
      return 0;
    default:
      return TRX_NVME_SC_INVALID_FIELD;
  }
}

NvmeStatus imageDownload(Context &context, const DiskCommand &command, Completion &) {
  const Command &outer = command.outer;
  if (outer.in.empty() || (uint64_t{outer.dword(10)} + 1) * 4 != outer.in.size())
    return TRX_NVME_SC_INVALID_FIELD;
  StagedImage staged = stagedImage(context.session(), command.disk);
  return receiveSegment(staged, uint64_t{outer.dword(11)} * 4, outer.in);
}

NvmeStatus firmwareCommit(Context &context, const DiskCommand &command, Completion &) {
  StagedImage staged = stagedImage(context.session(), command.disk);
  FirmwareSlots &slots = findDisk(context.change(), command.disk.id)->firmware;
  return commitFirmware(slots, staged, command.outer.dword(10), kDiskRules).status;
}

struct DiskOpcode {
  uint8_t opcode;
  NvmeStatus (*run)(Context &, const DiskCommand &, Completion &);
};

constexpr DiskOpcode kDiskOpcodes[] = {
    {0x02, getLogPage}, {0x06, identify}, {0x0A, getFeatures}, {0x10, firmwareCommit}, {0x11, imageDownload},
};

NvmeStatus forward(Context &context, const DiskCommand &command, bool read, Completion &completion) {
  uint32_t dword0 = command.outer.dword(14);
  auto opcode = static_cast<uint8_t>(dword0);
  if (dword0 >> 8 != 0) return TRX_NVME_SC_INVALID_FIELD;  // neither fused nor with an SGL
  for (const DiskOpcode &row : kDiskOpcodes) {
    if (row.opcode != opcode) continue;
    if (((opcode & 3) == kFromDisk) != read) return TRX_NVME_SC_INVALID_FIELD;
    return row.run(context, command, completion);
  }
  return TRX_NVME_SC_INVALID_OPCODE;
}

void runForDisk(Context &context, const Command &command, bool read, Completion &completion) {
  const Disk *disk = findDisk(context.state(), command.nsid);
  if (!disk) return completion.refuse(Fw::InvalidDisk);
  NvmeStatus status = forward(context, {*disk, command, command.dword(15)}, read, completion);
  if (status == 0) return fitData(completion, command.wanted);
  // A disk counts the commands that it refused.
  ++findDisk(context.changeByItself(), command.nsid)->smart.errorLogEntries;
  finish(completion, status);
}

}  // namespace

void runDiskRead(Context &context, const Command &command, Completion &completion) {
  if (!command.in.empty()) return context.breach("disk read: data goes to the disk");
  runForDisk(context, command, true, completion);
}

void runDiskWrite(Context &context, const Command &command, Completion &completion) {
  if (command.wanted != 0) return context.breach("disk write: data comes from the disk");
  runForDisk(context, command, false, completion);
}

}  // namespace sim
