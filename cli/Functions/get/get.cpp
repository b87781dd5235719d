// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/get/get.h"

#include "Public/listing.h"
#include "Public/numbers.h"

namespace trx {
namespace {

const char *rateWord(TRX_U8 rate) {
  switch (rate) {
    case TRX_BGA_RATE_HIGH:
      return "High";
    case TRX_BGA_RATE_MEDIUM:
      return "Medium";
    case TRX_BGA_RATE_LOW:
      return "Low";
    default:
      return "Unknown";
  }
}

}  // namespace

ControllerRequest configRequest() {
  // Dword 10 is the length of the reply in dwords, less one.
  return ControllerRequest::function(0xE0, 1).set(10, TRX_PAGE_SIZE / 4 - 1);
}

void hbaGet_printf(TRX_U8 index, const NVME_Adapter_Config &config) {
  Listing listing(stream, 24);
  listing.row("NVMe Controller Index:", "index", userCounting(index));
  listing.row("Auto Rebuild:", "auto_rebuild", config.AutoRebuildOn == 1 ? "on" : "off");
  listing.row("BGA Rate:", "bga_rate", rateWord(config.BGARate));
  listing.blankLine();
}

}  // namespace trx
