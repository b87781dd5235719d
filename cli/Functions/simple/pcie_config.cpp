// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/pcie_config.h"

#include "Public/common.h"
#include "Public/report.h"

namespace trx {
namespace {

// The programmed I/O registers of the controller's root complex.
enum : TRX_U32 {
  kPioControl = 0xE2C00000,
  kPioCompletion = 0xE2C00004,
  kPioAddressLow = 0xE2C00008,
  kPioAddressHigh = 0xE2C0000C,
  kPioReadData = 0xE2C00018,
  kPioStart = 0xE2C0001C,
  kPioInterrupt = 0xE2C00020,
};

constexpr TRX_U32 kConfigRead = 4;
constexpr TRX_U32 kFirstBus = 0x90;
constexpr TRX_U32 kBusOne = 0x01000000;
constexpr TRX_U32 kOffsetMask = 0xFFC;
constexpr int kMostPolls = 100;

// Bits 31:28 of the completion register; its sign bit tells a time-out.
enum : TRX_U32 { kUnsupportedRequest = 1, kRetryStatus = 2, kCompleterAbort = 4 };

// Without a line break: the message of the next step follows on the same line.
bool fail(const char *text) {
  tellFailed("%s", text);
  return false;
}

}  // namespace

/// How a list of capabilities is laid out.
struct PcieConfig::List {
  TRX_U32 start;
  int mostEntries;
  TRX_U32 idMask;
  unsigned nextShift;
  TRX_U32 nextMask;
};

bool PcieConfig::completed() {
  for (int i = 0; i < kMostPolls; ++i) {
    if (registers_.read(kPioInterrupt) == 1) return true;
  }
  return false;
}

bool PcieConfig::pio_CfgRd(TRX_U32 offset, TRX_U32 *data) {
  if (data == nullptr) return fail("data is NULL. ");
  registers_.write(kPioControl, (device_ + kFirstBus) << 24 | kConfigRead);
  registers_.read(kPioControl);  // so that the write has arrived
  registers_.write(kPioAddressLow, (offset & kOffsetMask) | kBusOne);
  registers_.write(kPioAddressHigh, 0);
  registers_.write(kPioStart, 1);
  if (!completed()) return fail("pulling pio ISR v !=0x1, pio read fail");
  registers_.write(kPioInterrupt, 1);

  TRX_U32 completion = registers_.read(kPioCompletion);
  if (static_cast<int32_t>(completion) < 0) return fail("pio_CfgRd completion timeout");
  switch (completion >> 28) {
    case kRetryStatus:
      return fail("pio_CfgRd completion retry status");
    case kUnsupportedRequest:
      return fail("pio_CfgRd unsupport request");
    case kCompleterAbort:
      return fail("pio_CfgRd completer abort");
    default:
      break;
  }
  *data = registers_.read(kPioReadData);
  if (dbg_enable) std::fprintf(stream, "CfgRd at %x read data is %x \n", offset, *data);
  return true;
}

std::optional<TRX_U32> PcieConfig::findCapability(TRX_U32 id) { return find({0x40, 16, 0xFF, 8, 0xFC}, id); }

std::optional<TRX_U32> PcieConfig::findExtendedCapability(TRX_U32 id) {
  return find({0x100, 72, 0xFFFF, 20, 0xFFC}, id);
}

std::optional<TRX_U32> PcieConfig::find(const List &list, TRX_U32 id) {
  // A device that is gone reads as all ones, which is the low byte of either kind of identifier.
  constexpr TRX_U32 kNoDevice = 0xFF;
  constexpr TRX_U32 kLowestPosition = 0x40;
  TRX_U32 position = list.start;
  for (int i = 0; i < list.mostEntries; ++i) {
    TRX_U32 head;
    if (!pio_CfgRd(position, &head)) return std::nullopt;
    TRX_U32 found = head & list.idMask;
    TRX_U32 next = head >> list.nextShift & list.nextMask;
    bool match = found == id;
    if (dbg_enable) {
      std::fprintf(stream, "find cap 0x%x pos 0x%x next_pos 0x%x id 0x%x\n", id, position, next, found);
      if (match) {
        std::fprintf(stream, "find cap 0x%x id 0x%x pos 0x%x\n", id, found, position);
      } else {
        std::fprintf(stream, "cap 0x%x is not match id 0x%x in pos 0x%x\n", id, found, position);
      }
    }
    if (match) return position;
    if (next < kLowestPosition || (found & 0xFF) == kNoDevice) return 0;
    position = next;
  }
  return 0;
}

}  // namespace trx
