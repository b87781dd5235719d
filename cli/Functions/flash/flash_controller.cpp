// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

#include "Functions/flash/flash.h"
#include "Public/common.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

void waitSecond() {
  // What was printed is for someone who watches, also through a pipe.
  std::fflush(stream);
  std::this_thread::sleep_for(std::chrono::seconds(1));
}

bool checkFileSize(CommandFile &file, const std::string &path, TRX_U32 largest) {
  std::optional<TRX_U32> length = openImage(file, path);
  return length && (largest == 0 || *length <= largest);
}

/// A path for the library, which takes single quotes off both ends. So that it opens the file that was
/// checked, the name goes in quotes of its own, and one that begins with a quote behind its directory.
std::string quoted(const std::string &path) { return (path.starts_with('\'') ? "'./" : "'") + path + "'"; }

void complainInvalidImage(int32_t adapter) {
  complain(
      "start to flash NVMe Controller %d firmware failed (Invalid firmware image, please check image and try "
      "again.)\n",
      adapter);
}

bool allSet(TRX_U32 value, TRX_U32 bits) { return (value & bits) == bits; }

void printRefusal(int32_t adapter, TRX_U32 result) {
  constexpr TRX_U32 kNeedsConventionalReset = 0x100 | TRX_FWACT_REQ_CON_RESET;
  constexpr TRX_U32 kNeedsReset = TRX_FARR;
  constexpr TRX_U32 kProhibited = 0x100 | TRX_FAP;
  if (allSet(result, kNeedsConventionalReset) || allSet(result, kNeedsReset)) {
    std::fprintf(stream,
                 "Flash NVMe Controller %d firmware success, please shutdown and boot again to make firmware "
                 "active.\n",
                 adapter);
  } else if (allSet(result, kProhibited)) {
    // Never reached: its bits hold those of kNeedsReset. The order and the slip in the text stay.
    std::fprintf(stream, "Flash NVMe Controller %d firmware failed(Firmware commit rohibited)\n", adapter);
  } else {
    std::fprintf(stream, "Flash NVMe Controller %d firmware failed (error code: %d)\n", adapter,
                 static_cast<int32_t>(result));
  }
}

/// Follow the transfer of adapter `index` to its end. @return what the command returns
TRX_U32 followTransfer(int32_t adapter, TRX_U8 index) {
  for (;;) {
    NVME_Flash_Result progress{};
    if (TRX_U32 failed = TRX_Adapter_Flash_Result(index, &progress); failed != 0) {
      std::fprintf(
          stream,
          "Get NVMe Controller %d flash result failed (Invalid firmware image, please check image and "
          "try again.)\n",
          adapter);
      return failed;
    }
    if (progress.result != 0) {
      printRefusal(adapter, progress.result);
      return progress.result;
    }
    if (progress.status == 0) {
      // Lower case, unlike the line of a commit that asks for a reset: that is how scripts tell them apart.
      std::fprintf(
          stream,
          "flash NVMe Controller %d firmware success, please shutdown and boot again to make firmware "
          "active.\n",
          adapter);
      return 0;
    }
    if (progress.status != 1) {
      std::fprintf(stream, "Unknown flash NVMe Controller %d status %d\n", adapter,
                   static_cast<int32_t>(progress.status));
      return progress.status;
    }
    std::fprintf(stream, "flash NVMe Controller %d, percentage %d\n", adapter, progress.percentage);
    waitSecond();
  }
}

}  // namespace

int32_t updateAdapterFlash(int32_t adapter, const std::string &path, TRX_U8 fs, TRX_U8 ca, TRX_U8 type) {
  // No adapter has the last index, so an id past 8 bits does not come round to another adapter.
  auto index = static_cast<TRX_U8>(std::min(adapter, int32_t{UINT8_MAX}));
  CommandFile image;
  if (!activatesOnly(ca) && !checkFileSize(image, path, summaryOf(index).MaxFlashSize)) {
    complainInvalidImage(adapter);
    waitSecond();
    return 1;
  }
  std::string checked = quoted(image.path());
  if (TRX_Adapter_Flash(index, checked.data(), fs, ca, type) != 0) {
    // No return: the poll below tells how it ended.
    complainInvalidImage(adapter);
  } else {
    std::fprintf(stream, "start to flash NVMe Controller %d firmware\n", adapter);
  }
  TRX_U32 result = followTransfer(adapter, index);
  waitSecond();
  return static_cast<int32_t>(result);
}

}  // namespace trx
