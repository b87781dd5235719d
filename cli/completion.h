// SPDX-License-Identifier: GPL-3.0-or-later
// What may stand at the cursor of a line that is being typed. Knows nothing of the terminal.
#ifndef TRX_CLI_COMPLETION_H
#define TRX_CLI_COMPLETION_H

#include <string>
#include <vector>

namespace trx {

struct Completion {
  /// Whole replacements for the word at the cursor. In `--name=value` that word is the value; a long
  /// option that takes its argument only in the same word ends with "=".
  std::vector<std::string> words;
  bool path = false;  ///< a file name may stand there; `words` is empty then
};

/// Complete the last word of `line`, the text in front of the cursor: a listed command, a long option of
/// the command, a fixed value of an option, the id of an object that is there, or a topic of `help`. Hidden
/// commands stay hidden. Ids are read from the controller; nothing is printed, whatever it answers.
Completion complete(const std::string &line);

}  // namespace trx

#endif  // TRX_CLI_COMPLETION_H
