// SPDX-License-Identifier: GPL-3.0-or-later
// The lines of this file go to standard output, whatever `stream` is, and not all end one. Both are
// meant.
#include <cstdio>

#include "Functions/flash/flash.h"
#include "Public/common.h"
#include "Public/request.h"

namespace trx {
namespace {

// NVMe base standard: Identify Controller, and Get Log Page for the 512 bytes of the Firmware Slot
// Information.
constexpr TRX_U8 kGetLogPage = 0x02;
constexpr TRX_U8 kIdentify = 0x06;
constexpr TRX_U32 kCnsController = 1;
constexpr TRX_U32 kSlotLog = 0x007F0003;
constexpr TRX_U32 kAllNamespaces = 0xFFFFFFFF;

TRX_U32 identify(TRX_U8 adapter, SlotOwner owner, TRX_U32 disk, ControllerReply &identity) {
  if (owner == SlotOwner::Disk) {
    return ControllerRequest::disk(TRX_OPCODE_DISK_READ, disk)
        .set(10, kCnsController)
        .set(14, kIdentify)
        .fetch(adapter, identity);
  }
  return TRX_Adapter_Admin(gCurrentAdapter, kIdentify, 0, &kCnsController, 1, nullptr, 0, identity.data(),
                           TRX_PAGE_SIZE);
}

TRX_U32 slotLog(TRX_U8 adapter, SlotOwner owner, TRX_U32 disk, ControllerReply &log) {
  constexpr TRX_U16 kLength = sizeof(TRX_FIRMWARE_SLOT_INFO_LOG);
  log.clear();  // a short reply must not show what was here before
  if (owner == SlotOwner::Disk) {
    return ControllerRequest::disk(TRX_OPCODE_DISK_READ, disk)
        .set(10, kSlotLog)
        .set(14, kGetLogPage)
        .set(15, kAllNamespaces)
        .fetch(adapter, log, kLength);
  }
  return TRX_Adapter_Admin(gCurrentAdapter, kGetLogPage, kAllNamespaces, &kSlotLog, 1, nullptr, 0, log.data(),
                           kLength);
}

}  // namespace

void printSlotCount(const TRX_ID_CONTROLLER &identity) {
  // FRMW: bits 3:1 count the slots, bit 0 says that the first is read-only.
  std::printf("Slot count: %d\n", identity.FRMW >> 1 & 7);
}

void printActiveSlots(const TRX_FIRMWARE_SLOT_INFO_LOG &log) {
  std::printf("Active Slot: %d, Next Active Slot: %d\n", log.AFI.ActiveSlot, log.AFI.PendingActivateSlot);
}

void showSlotInfo(TRX_U8 adapter, SlotOwner owner, TRX_U32 disk) {
  ControllerReply reply;
  if (identify(adapter, owner, disk, reply) != 0) {
    std::fputs("Get Firmware Slot Count Fail", stdout);
    return;
  }
  printSlotCount(reply.page().at<TRX_ID_CONTROLLER>(0));
  if (slotLog(adapter, owner, disk, reply) != 0) {
    std::fputs("Get Firmware Slot Information Fail", stdout);
    return;
  }
  printActiveSlots(reply.page().at<TRX_FIRMWARE_SLOT_INFO_LOG>(0));
}

}  // namespace trx
