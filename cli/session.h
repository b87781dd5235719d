// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_CLI_SESSION_H
#define TRX_CLI_SESSION_H

#include "line.h"

namespace trx {

/// Answer every line of standard input with a document, until `exit`, `quit`, its end or an interrupt.
/// @param each what a line begins with that says nothing else: options, and an adapter
/// @param write gives a document away. @return whether it could
/// @return the worst outcome of the lines
Outcome runSession(const LineStart &each, bool (*write)(const std::string &document));

}  // namespace trx

#endif  // TRX_CLI_SESSION_H
