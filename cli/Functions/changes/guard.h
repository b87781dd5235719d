// SPDX-License-Identifier: GPL-3.0-or-later
// Before something is destroyed: --dry-run keeps back what changes something, and shows it; --expect lets it
// go only where its objects are what the user takes them for.
#ifndef TRX_CLI_GUARD_H
#define TRX_CLI_GUARD_H

#include <string>
#include <utility>
#include <vector>

#include "Functions/changes/requests.h"

namespace trx {

/// Arm both for the line that begins, as its options ask.
void guardLine();

/// The line is at its end. A guard that had nothing to look at, because nothing was changed, makes it a wrong
/// use. @return whether it is one
bool finishGuard();

/// Before requests that the library sends by itself: what `gBeforeSend` does for one that changes something.
/// In a dry run all of them are shown, and the line ends.
void beforeChanges(const std::vector<Wire> &wires);

/// KEY=VALUE pairs of `--expect`; a backslash takes a comma for a part of the value.
/// @return false when there is none, or one without its parts
bool readExpectations(const std::string &text, std::vector<std::pair<std::string, std::string>> &pairs);

}  // namespace trx

#endif  // TRX_CLI_GUARD_H
