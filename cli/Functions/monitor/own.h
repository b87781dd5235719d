// SPDX-License-Identifier: GPL-3.0-or-later
// How the commands of our own begin and end.
#ifndef TRX_CLI_OWN_H
#define TRX_CLI_OWN_H

#include "Public/getopt.h"
#include "Public/options.h"
#include "Public/report.h"

namespace trx {

/// The status of the line as it stands: our own commands end with their outcome.
inline int32_t statusNow() { return static_cast<int32_t>(outcomeNow()); }

/// A line that asks for a controller where there is none: why, or that there is none. That was said when the
/// program started.
int32_t noController();

/// A guard of changes stands before a command that changes nothing, or there are words left over.
/// @return whether it complained
bool hasSurplus(int argc, char **argv);

/// Read the options of a command that may have none. @return the status when the line ends here
template <typename Options, size_t N>
std::optional<int32_t> readOwnOptions(int argc, char **argv, const Command_Info *row,
                                      const OptionRow<Options> (&rows)[N], Options &into) {
  const Parsed end = parseOptions(argc, argv, row, rows, into);
  if (end == Parsed::Complete && !hasSurplus(argc, argv)) return std::nullopt;
  return statusNow();
}

}  // namespace trx

#endif  // TRX_CLI_OWN_H
