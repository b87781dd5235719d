// SPDX-License-Identifier: GPL-3.0-or-later
/// @file
/// The program's own option parser, in the manner of getopt_long(3).
///
/// It stands in a namespace of its own, so that its messages and its state are the same on every host,
/// whatever the C library there says and however it resets itself. State is process-wide: one scan at
/// a time, on the main thread.
///
/// As documented for the GNU functions: words that are no options are moved behind the options;
/// "--" ends the options; a long option may be abbreviated while that is unambiguous (an exact name
/// always wins, and candidates that mean the same are not ambiguous); arguments are written
/// `--name=value` or `--name value`, optional ones only in the same word. In the short options a colon
/// asks for an argument and two allow one; a leading "+" (or the environment variable
/// POSIXLY_CORRECT) stops at the first word that is no option, a leading "-" hands such words out as
/// the argument of option code 1; then a leading ":" silences the messages and tells a missing
/// argument as ':'; "W;" lets `-W name` stand for `--name`.
#ifndef TRX_PUBLIC_GETOPT_H
#define TRX_PUBLIC_GETOPT_H

#include <cstdint>

namespace trx {

/// One long option. A table of them ends with a row whose name is null.
struct option {
  const char *name;
  int32_t has_arg;  ///< 0 none, 1 required, 2 optional
  int32_t *flag;    ///< when given, receives `val`, and the parser returns 0
  int32_t val;      ///< what the parser returns, as a rule the letter of the short option
};

/// Index of the next word to read; at the end of the options, of the first word that is none. To be read
/// only: a new scan starts with `setoptind`.
extern int32_t optind;

/// Non-zero: messages about wrong options go to standard error.
extern int32_t opterr;

/// The option character of the last error; 0 for an unknown or ambiguous long option.
extern int32_t optopt;

/// Argument of the last option, a part of the words that were given; null when it has none.
extern char *optarg;

/// Read the next option.
///
/// Messages begin with `argv[0]`, for a command its word.
/// @param argc number of words, the command word included
/// @param argv the words; reordered while they are scanned
/// @param shortopts letters, each followed by ":" or "::" when it takes an argument
/// @return the letter; 1 for a word that is no option (leading "-"); '?' for an error (':' for a
///         missing argument when the short options begin with ":"); -1 at the end
int32_t getopt(int32_t argc, char **argv, const char *shortopts);

/// Read the next option, short or long.
///
/// @param longopts table of long options; null for none
/// @param[out] longindex row of the long option that was found; may be null, untouched otherwise
/// @return as `getopt`; for a long option its `val`, or 0 when it has a `flag`
int32_t getopt_long(int32_t argc, char **argv, const char *shortopts, const option *longopts,
                    int32_t *longindex);

/// The same with long options behind one dash also. A word that fits no long option is read as short
/// options when its first letter is one.
int32_t getopt_long_only(int32_t argc, char **argv, const char *shortopts, const option *longopts,
                         int32_t *longindex);

/// The value of `optarg`.
char *getoptarg();

/// Start a new scan at the word with this index; 1 is the first behind the command word.
///
/// Whatever the scan before left behind, a half-read cluster of short options included, is forgotten.
void setoptind(int32_t index);

}  // namespace trx

#endif  // TRX_PUBLIC_GETOPT_H
