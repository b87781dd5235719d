// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/get/get.h"

#include "Public/exchange.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/report.h"

namespace trx {
namespace {

Enumerated rateOf(TRX_U8 rate) {
  switch (rate) {
    case TRX_BGA_RATE_HIGH:
      return {"High", rate};
    case TRX_BGA_RATE_MEDIUM:
      return {"Medium", rate};
    case TRX_BGA_RATE_LOW:
      return {"Low", rate};
    default:
      return {"Unknown", rate};
  }
}

}  // namespace

ControllerRequest configRequest() {
  // Dword 10 is the length of the reply in dwords, less one.
  return ControllerRequest::function(0xE0, 1).set(10, TRX_PAGE_SIZE / 4 - 1);
}

bool readAdapterId(Counted<int32_t> &id, const char *text) {
  constexpr char kInvalid[] = "-i : invalid id '%s'\n";
  if (id.take(zeroBasedId(text, gNumAdaptersFound - 1))) return true;
  if (!zeroBasedId(text)) return complain(kInvalid, text);
  tellWrong(Outcome::NotFound, kInvalid, text);
  return false;
}

void hbaGet_printf(TRX_U8 index, const NVME_Adapter_Config &config) {
  const bool autoRebuild = config.AutoRebuildOn == 1;
  Listing listing(24, "settings");
  const int64_t id = userCounting(index);
  listing.text("NVMe Controller Index:", id);
  if (Object *object = listing.object()) object->put("id", id);
  listing.row("Auto Rebuild:", "auto_rebuild", Shown{autoRebuild ? "on" : "off", autoRebuild});
  listing.row("BGA Rate:", "bga_rate", rateOf(config.BGARate));
  listing.error(lastFailure());
  listing.blankLine();
}

}  // namespace trx
