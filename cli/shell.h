// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_CLI_SHELL_H
#define TRX_CLI_SHELL_H

#include "Public/report.h"

namespace trx {

/// Read command lines at the prompt and run them, until `exit`, `quit`, or the end of an input that
/// is not a terminal.
/// @param options hold for every line
void runShell(const LineOptions &options);

}  // namespace trx

#endif  // TRX_CLI_SHELL_H
