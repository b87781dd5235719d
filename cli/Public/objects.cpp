// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/identify.h"

#include <cstdio>

#include "Public/common.h"
#include "Public/request.h"

namespace trx {
namespace {

constexpr TRX_U8 kIdentify = 0x06;
constexpr TRX_U32 kCnsNamespace = 0x00;
constexpr TRX_U32 kCnsPrimaryControllerCapabilities = 0x14;

TRX_U32 identify(TRX_U32 nsid, TRX_U32 cns, Page &page) {
  TRX_U32 status =
      TRX_Adapter_Admin(gCurrentAdapter, kIdentify, nsid, &cns, 1, nullptr, 0, page.bytes, sizeof page.bytes);
  // Also for namespaces: the one text serves both. This is meant.
  if (status != 0) std::fputs("\nFailed to get primary controller.\n", stream);
  return status;
}

}  // namespace

TRX_U32 primaryControllerId(TRX_U16 &id) {
  Page page;
  TRX_U32 status = identify(0, kCnsPrimaryControllerCapabilities, page);
  if (status == 0) id = page.at<TRX_U16>(0);
  return status;
}

Eui64 namespaceEui64(TRX_U32 nsid) {
  constexpr size_t kEui64 = 120;
  Page page;
  return identify(nsid, kCnsNamespace, page) == 0 ? page.at<Eui64>(kEui64) : Eui64{};
}

std::string toText(const Eui64 &eui64) {
  char digits[2 * std::tuple_size_v<Eui64> + 1];
  for (size_t i = 0; i < eui64.size(); ++i) std::snprintf(digits + 2 * i, 3, "%02x", eui64[i]);
  return digits;
}

}  // namespace trx
