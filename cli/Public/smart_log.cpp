// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/smart_log.h"

#include "Public/exchange.h"
#include "Public/request.h"

namespace trx {

std::optional<int> SmartLog::temperatureCelsius() const {
  constexpr int kZeroCelsius = 273;
  const int kelvin = compositeTemperature[0] | compositeTemperature[1] << 8;
  if (kelvin == 0) return std::nullopt;
  return kelvin - kZeroCelsius;
}

TRX_U32 readDiskSmartLog(TRX_U8 adapter, TRX_U32 disk, SmartLog &log) {
  const ControllerRequest request = ControllerRequest::disk(TRX_OPCODE_DISK_READ, disk)
                                        .set(10, kSmartLogPage)
                                        .set(14, TRX_NVME_GET_LOG_PAGE)
                                        .set(15, TRX_NVME_ALL_NAMESPACES);
  Page page;
  const TRX_U32 status = request.fetch(adapter, page, kSmartLogBytes);
  if (status == 0) log = page.at<SmartLog>(0);
  return status;
}

TRX_U32 readAdapterSmartLog(TRX_U8 adapter, SmartLog &log) {
  Page page;
  const TRX_U32 status = sendAdmin(adapter, TRX_NVME_GET_LOG_PAGE, TRX_NVME_ALL_NAMESPACES,
                                   {&kSmartLogPage, 1}, {}, std::span(page.bytes).first<kSmartLogBytes>());
  if (status == 0) log = page.at<SmartLog>(0);
  return status;
}

}  // namespace trx
