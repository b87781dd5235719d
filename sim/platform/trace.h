// SPDX-License-Identifier: GPL-3.0-or-later
// The trace: one line per exchange, in the file that TRX_SIM_TRACE names.
#pragma once

#include <string>
#include <string_view>

#include "controller/command.h"
#include "nvme_driver.h"

namespace sim {

/// Path of the trace file, or null when there is none.
const char *tracePath();
void traceText(std::string_view text);
/// `result` is what the platform call returns.
void traceExchange(std::string_view adapter, const usr_io &uio, int result);

}  // namespace sim
