// SPDX-License-Identifier: GPL-3.0-or-later
// A line with options before its command: taken apart, run, and told in the form that they ask for.
#ifndef TRX_CLI_LINE_H
#define TRX_CLI_LINE_H

#include <optional>
#include <span>
#include <string>

#include "Public/report.h"

namespace trx {

using Tokens = std::span<char *>;

/// What stands before the command word.
struct LineStart {
  LineOptions options;
  size_t count = 0;               ///< words that it has
  bool any = false;               ///< whether one of them is an option
  const char *adapter = nullptr;  ///< the adapter ID, as typed
  std::string wrong;              ///< what is wrong with it
};

/// Take options and adapter ID off the front of a line. `--json`, `--strict`, `--dry-run` and `--expect
/// KEY=VALUE` are whole words, and stand in any order among themselves and around the adapter ID.
LineStart startOfLine(Tokens words, const LineOptions &inherited = {});

/// Whether one of our own commands is asked for, which speaks for itself from the first line on.
bool isOwnCommand(Tokens words);

/// Whether its exit status is a state for monitors, not an outcome.
bool isForMonitors(Tokens words);

/// Run the command of a line, from its word on. The library has been started, or is by `prepare`.
/// @param prepare done first, within the line; its result ends the line
/// @return the status of the line: its outcome where the options ask for that, else the command's result;
///         -1 for `exit` and `quit` at the prompt
using Prepare = std::optional<int> (*)(const char *stateWord);
int32_t runCommand(const LineStart &start, Tokens words, Prepare prepare = nullptr);

/// Run a line without options. @return its command's result, or that it was interrupted
int32_t runPlain(Tokens words);

/// The same as `runCommand`, told as a document of one line; empty when the command has told documents of its
/// own and nothing is left to say. @param[out] status of the line
/// @param already what went wrong before it
std::string documentOfCommand(const LineStart &start, Tokens words, int32_t &status,
                              Prepare prepare = nullptr, Outcome already = Outcome::Ok);

/// Answer `--help`, `-h` and `--version`, which touch no controller. @return whether it was one of them
bool answeredAtOnce(Tokens words);

}  // namespace trx

#endif  // TRX_CLI_LINE_H
