// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "Functions/changes/guard.h"
#include "Functions/flash/flash.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/interrupt.h"
#include "Public/listening.h"
#include "Public/report.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

void waitSecond() {
  // What was printed is for someone who watches, also through a pipe.
  std::fflush(nullptr);
  sleepMilliseconds(1000);
}

/// Ends the line when somebody has interrupted it and the transfer could still be stopped.
void endIfStopped(TRX_U8 index) {
  if (interruptedBy() == 0) return;
  TRX_Adapter_Flash_Stop(index);
  NVME_Flash_Result end{};
  constexpr timespec kMoment{0, 20000000};
  while (TRX_Adapter_Flash_Result(index, &end) == 0 && end.status == 1) nanosleep(&kMoment, nullptr);
  if (end.result != 0) endIfInterrupted();
}

/// What is to be transferred, and where to.
struct Update {
  int32_t adapter;  ///< zero-based, as it is told
  TRX_U8 index;     ///< of the adapter
  TRX_U8 fs, ca, type;
  CommandFile image;   ///< not open where nothing is transferred
  TRX_U32 length = 0;  ///< of it, in bytes
};

/// A path for the library, which takes single quotes off both ends. So that it opens the file that was
/// checked, the name goes in quotes of its own, and one that begins with a quote behind its directory.
std::string quoted(const std::string &path) { return (path.starts_with('\'') ? "'./" : "'") + path + "'"; }

constexpr char kInvalidImage[] =
    "start to flash NVMe Controller %d firmware failed (Invalid firmware image, please check image and try "
    "again.)\n";

bool openUpdate(Update &update, const std::string &path) {
  if (activatesOnly(update.ca)) return true;
  std::optional<TRX_U32> length = openImage(update.image, path);
  if (!length) {
    tellFailed(kInvalidImage, update.adapter);
    return false;
  }
  update.length = *length;
  const TRX_U32 largest = summaryOf(update.index).MaxFlashSize;
  return largest == 0 || *length <= largest || complain(kInvalidImage, update.adapter);
}

// ---- what the library sends (NVMe base standard, but for the activation) ----

Wire downloadWire(const Update &update, std::span<const TRX_U8> first) {
  Wire wire{update.index, {TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD}, first, update.length};
  wire.cdw[10] = TRX_PAGE_SIZE / 4 - 1;
  return wire;
}

Wire activationWire(const Update &update, TRX_U32 crc) {
  Wire wire{update.index, {TRX_OPCODE_CONTROLLER}, {}};
  wire.cdw[12] = TRX_U32{update.type} << 16 | 0x0BE0;
  std::memcpy(&wire.cdw[13], "TRX ", sizeof wire.cdw[13]);
  wire.cdw[15] = crc;
  return wire;
}

Wire commitWire(const Update &update) {
  Wire wire{update.index, {TRX_NVME_FIRMWARE_COMMIT}, {}};
  wire.cdw[10] = TRX_U32{update.ca} << 3 | update.fs;
  return wire;
}

bool isThere(const Update &update) { return update.adapter < gNumAdaptersFound; }

/// @param result that ended the transfer
Failure failureOf(Update &update, TRX_U32 result) {
  constexpr TRX_U32 kNothingSent = 1;
  if (!isThere(update)) return {Outcome::NotFound, Source::None, 0};
  if (result == kNothingSent && update.type != 0 && update.image.isOpen() && !rawImageCrc(update.image))
    return {Outcome::Usage, Source::None, 0};
  return LibrarySends::failure(commitWire(update), result);
}

bool allSet(TRX_U32 value, TRX_U32 bits) { return (value & bits) == bits; }

/// The last line of a transfer. Its words are chosen by bits that scripts know; how it went is not.
void tellEnd(const Failure &failure, const char *format, int32_t adapter, TRX_U32 result) {
  if (!failure) return tell(format, adapter, static_cast<int32_t>(result));
  note(failure);
  tellFailed(format, adapter, static_cast<int32_t>(result));
}

const char *refusalLine(TRX_U32 result) {
  constexpr TRX_U32 kNeedsConventionalReset = 0x100 | TRX_FWACT_REQ_CON_RESET;
  constexpr TRX_U32 kNeedsReset = TRX_FARR;
  constexpr TRX_U32 kProhibited = 0x100 | TRX_FAP;
  if (allSet(result, kNeedsConventionalReset) || allSet(result, kNeedsReset))
    return "Flash NVMe Controller %d firmware success, please shutdown and boot again to make firmware "
           "active.\n";
  // Never reached: its bits hold those of kNeedsReset. The order and the slip in the text stay.
  if (allSet(result, kProhibited))
    return "Flash NVMe Controller %d firmware failed(Firmware commit rohibited)\n";
  return "Flash NVMe Controller %d firmware failed (error code: %d)\n";
}

/// Tell what the library will send before it begins.
/// @return false when it would send nothing, which is said
bool announce(Update &update) {
  if (!isAnnounced()) return true;
  if (!isThere(update)) {
    tellEnd(failureOf(update, 1), refusalLine(1), update.adapter, 1);
    return false;
  }
  std::vector<Wire> wires;
  std::vector<TRX_U8> first;
  if (update.image.isOpen()) {
    first = firstSegment(update.image);
    wires.push_back(downloadWire(update, first));
  }
  if (update.image.isOpen() && update.type != 0) {
    const std::optional<TRX_U32> crc = rawImageCrc(update.image);
    if (!crc) return complain(kInvalidImage, update.adapter);
    wires.push_back(activationWire(update, *crc));
  }
  wires.push_back(commitWire(update));
  beforeChanges(wires);
  return true;
}

/// Follow the transfer to its end. @return what the command returns
TRX_U32 followTransfer(Update &update) {
  const int32_t adapter = update.adapter;
  Progress shown;
  for (;;) {
    endIfStopped(update.index);
    NVME_Flash_Result progress{};
    if (TRX_U32 failed = TRX_Adapter_Flash_Result(update.index, &progress); failed != 0) {
      tellFailed(
          "Get NVMe Controller %d flash result failed (Invalid firmware image, please check image and "
          "try again.)\n",
          adapter);
      return failed;
    }
    if (progress.result != 0) {
      tellEnd(failureOf(update, progress.result), refusalLine(progress.result), adapter, progress.result);
      return progress.result;
    }
    if (progress.status == 0) {
      // Lower case, unlike the line of a commit that asks for a reset: that is how scripts tell them apart.
      tellEnd(failureOf(update, 0),
              "flash NVMe Controller %d firmware success, please shutdown and boot again to make firmware "
              "active.\n",
              adapter, 0);
      return 0;
    }
    if (progress.status != 1) {
      tellFailed("Unknown flash NVMe Controller %d status %d\n", adapter,
                 static_cast<int32_t>(progress.status));
      return progress.status;
    }
    shown.tell("flash NVMe Controller %d, percentage %d\n", adapter, progress.percentage);
    waitSecond();
  }
}

}  // namespace

int32_t updateAdapterFlash(int32_t adapter, const std::string &path, TRX_U8 fs, TRX_U8 ca, TRX_U8 type) {
  // No adapter has the last index, so an id past 8 bits does not come round to another adapter.
  Update update{adapter, static_cast<TRX_U8>(std::min(adapter, int32_t{UINT8_MAX})), fs, ca, type, {}};
  if (!openUpdate(update, path) || !announce(update)) {
    waitSecond();
    return 1;
  }
  std::string checked = quoted(update.image.path());
  const LibrarySends sending;
  const HeedInterrupts interrupts(kNothingCommitted);
  if (TRX_Adapter_Flash(update.index, checked.data(), fs, ca, type) != 0) {
    // No return: the poll below tells how it ended.
    tellFailed(kInvalidImage, adapter);
  } else {
    tell("start to flash NVMe Controller %d firmware\n", adapter);
  }
  TRX_U32 result = followTransfer(update);
  waitSecond();
  return static_cast<int32_t>(result);
}

}  // namespace trx
