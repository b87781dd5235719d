// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_CLI_HELP_H
#define TRX_CLI_HELP_H

namespace trx {

/// All listed commands in brief, as `help` shows them, and what scripts and monitors have besides.
void answerOverview();

/// The lines "CLI Version: %s\nAPI Version: %s\n".
void answerVersions();

}  // namespace trx

#endif  // TRX_CLI_HELP_H
