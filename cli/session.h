// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_CLI_SESSION_H
#define TRX_CLI_SESSION_H

#include "Public/report.h"

namespace trx {

/// Answer every line of standard input with a document, until `exit`, `quit`, its end or an interrupt.
/// @param write gives a document away. @return whether it could
/// @return the worst outcome of the lines
Outcome runSession(const LineOptions &options, bool (*write)(const std::string &document));

}  // namespace trx

#endif  // TRX_CLI_SESSION_H
