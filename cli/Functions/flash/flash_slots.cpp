// SPDX-License-Identifier: GPL-3.0-or-later
// The lines of this file go to standard output, whatever `stream` is, and not all end one. Both are
// meant.
#include <cstdio>

#include "Functions/flash/flash.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {
namespace {

// NVMe base standard: Identify Controller, and Get Log Page for the Firmware Slot Information.
constexpr TRX_U32 kController = TRX_NVME_CNS_CONTROLLER;
constexpr TRX_U16 kSlotLogBytes = sizeof(TRX_FIRMWARE_SLOT_INFO_LOG);
constexpr TRX_U32 kSlotLog = TRX_NVME_LOG_PAGE_CDW10(TRX_NVME_LID_FIRMWARE_SLOT, kSlotLogBytes);

TRX_U32 identify(TRX_U8 adapter, SlotOwner owner, TRX_U32 disk, Page &identity) {
  if (owner == SlotOwner::Disk) {
    return ControllerRequest::disk(TRX_OPCODE_DISK_READ, disk)
        .set(10, kController)
        .set(14, TRX_NVME_IDENTIFY)
        .fetch(adapter, identity);
  }
  return sendAdmin(gCurrentAdapter, TRX_NVME_IDENTIFY, 0, {&kController, 1}, {}, identity.bytes);
}

TRX_U32 slotLog(TRX_U8 adapter, SlotOwner owner, TRX_U32 disk, Page &log) {
  if (owner == SlotOwner::Disk) {
    return ControllerRequest::disk(TRX_OPCODE_DISK_READ, disk)
        .set(10, kSlotLog)
        .set(14, TRX_NVME_GET_LOG_PAGE)
        .set(15, TRX_NVME_ALL_NAMESPACES)
        .fetch(adapter, log, kSlotLogBytes);
  }
  return sendAdmin(gCurrentAdapter, TRX_NVME_GET_LOG_PAGE, TRX_NVME_ALL_NAMESPACES, {&kSlotLog, 1}, {},
                   std::span(log.bytes).first(kSlotLogBytes));
}

/// FRMW: bits 3:1 count the slots, bit 0 says that the first is read-only.
int slotCount(const TRX_ID_CONTROLLER &identity) { return identity.FRMW >> 1 & 7; }

/// The slots one by one, for machines.
void tellSlots(int count, const TRX_FIRMWARE_SLOT_INFO_LOG &log) {
  if (!gathersFacts() || lastFailure()) return;
  for (int slot = 1; slot <= count; ++slot) {
    Object entry = data().append("slots");
    entry.put("id", int64_t{slot});
    entry.put("active", log.AFI.ActiveSlot == slot);
    entry.put("next_active", log.AFI.PendingActivateSlot == slot);
    entry.put("firmware_version", DeviceField{log.FRS[slot - 1]});
  }
}

}  // namespace

void complainOnStandardOutput(const char *text) {
  std::FILE *usual = stream;
  stream = stdout;
  tellFailed("%s", text);
  stream = usual;
}

void printSlotCount(const TRX_ID_CONTROLLER &identity) {
  const int count = slotCount(identity);
  if (gathersFacts()) return data().put("slot_count", int64_t{count}, !lastFailure());
  std::printf("Slot count: %d\n", count);
}

void printActiveSlots(const TRX_FIRMWARE_SLOT_INFO_LOG &log) {
  if (gathersFacts()) {
    data().put("active_slot", int64_t{log.AFI.ActiveSlot}, !lastFailure());
    return data().put("next_active_slot", int64_t{log.AFI.PendingActivateSlot}, !lastFailure());
  }
  std::printf("Active Slot: %d, Next Active Slot: %d\n", log.AFI.ActiveSlot, log.AFI.PendingActivateSlot);
}

void showSlotInfo(TRX_U8 adapter, SlotOwner owner, TRX_U32 disk) {
  Page identity, log;
  if (gathersFacts()) data().array("slots");
  if (identify(adapter, owner, disk, identity) != 0) {
    complainOnStandardOutput("Get Firmware Slot Count Fail");
    return;
  }
  printSlotCount(identity.at<TRX_ID_CONTROLLER>(0));
  if (slotLog(adapter, owner, disk, log) != 0) {
    complainOnStandardOutput("Get Firmware Slot Information Fail");
    return;
  }
  printActiveSlots(log.at<TRX_FIRMWARE_SLOT_INFO_LOG>(0));
  tellSlots(slotCount(identity.at<TRX_ID_CONTROLLER>(0)), log.at<TRX_FIRMWARE_SLOT_INFO_LOG>(0));
}

}  // namespace trx
