// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_CLI_SMART_H
#define TRX_CLI_SMART_H

#include <span>

#include "Public/smart_log.h"

namespace trx {

/// Print the log on `stream`, a line per field, or put it into the document, under `smart`. In text, counters
/// of 16 bytes are shown as a long double holds them: past 64 significant bits they are rounded.
void showLogSmartInfo(std::span<const TRX_U8, kSmartLogBytes> log);

}  // namespace trx

#endif  // TRX_CLI_SMART_H
