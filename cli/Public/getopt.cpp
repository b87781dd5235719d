// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/getopt.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace trx {

int32_t optind = 1;
int32_t opterr = 1;
int32_t optopt = '?';
char *optarg = nullptr;

namespace {

constexpr int32_t kEnd = -1;
constexpr int32_t kError = '?';

enum class Ordering { Permute, RequireOrder, ReturnInOrder };

/// What a scan keeps from one call to the next.
struct Scan {
  Ordering ordering = Ordering::Permute;
  int32_t firstNonOption = 1;  ///< the words passed over so far are [firstNonOption, lastNonOption)
  int32_t lastNonOption = 1;
  size_t clusterOffset = 0;  ///< next letter in argv[optind]; 0 when no cluster of letters is open
  bool begun = false;        ///< false asks for a fresh start
};

Scan scan;

/// The arguments of one call.
struct Call {
  int32_t argc;
  char **argv;
  const char *shortopts;  ///< behind the ordering character
  const option *longopts;
  int32_t *longindex;
  bool longOnly;
  bool report;           ///< messages are wanted
  int32_t missingValue;  ///< what a missing argument returns
};

void beginScan(const char *shortopts) {
  scan = {};
  scan.begun = true;
  scan.firstNonOption = scan.lastNonOption = optind;
  if (*shortopts == '-') {
    scan.ordering = Ordering::ReturnInOrder;
  } else if (*shortopts == '+' || std::getenv("POSIXLY_CORRECT") != nullptr) {
    scan.ordering = Ordering::RequireOrder;
  }
}

/// A dash alone is no option: by custom it names standard input.
bool isNonOption(const char *word) { return word[0] != '-' || word[1] == '\0'; }

/// Move the words passed over behind the options that were read since, each group in its order.
void moveNonOptionsBack(char **argv) {
  if (scan.firstNonOption == scan.lastNonOption) {
    scan.firstNonOption = optind;
  } else {
    std::rotate(argv + scan.firstNonOption, argv + scan.lastNonOption, argv + optind);
    scan.firstNonOption += optind - scan.lastNonOption;
  }
  scan.lastNonOption = optind;
}

/// Go to the next word that may be an option. @return false at the end of the options
bool findWord(const Call &call) {
  // After the end the index stands at the first non-option; a further call scans from there.
  scan.lastNonOption = std::min(scan.lastNonOption, optind);

  if (scan.ordering == Ordering::Permute) {
    moveNonOptionsBack(call.argv);
    while (optind < call.argc && isNonOption(call.argv[optind])) ++optind;
    scan.lastNonOption = optind;
  }
  if (optind < call.argc && std::strcmp(call.argv[optind], "--") == 0) {
    ++optind;
    moveNonOptionsBack(call.argv);
    scan.lastNonOption = optind = call.argc;
  }
  if (optind < call.argc) return true;
  if (scan.firstNonOption != scan.lastNonOption) optind = scan.firstNonOption;
  return false;
}

struct Match {
  const option *entry;
  int32_t index;
  bool ambiguous;
};

Match findLongOption(const option *table, std::string_view name, bool longOnly) {
  Match match = {};
  for (int32_t i = 0; table[i].name != nullptr; ++i) {
    const option &row = table[i];
    const std::string_view candidate = row.name;
    if (candidate == name) return {&row, i, false};
    if (!candidate.starts_with(name)) continue;
    if (match.entry == nullptr) {
      match = {&row, i, false};
    } else if (longOnly || row.has_arg != match.entry->has_arg || row.flag != match.entry->flag ||
               row.val != match.entry->val) {
      match.ambiguous = true;
    }
  }
  return match;
}

/// Take the argument of a long option, whose word has been passed. @return 0, or what the error returns
int32_t takeLongArgument(const Call &call, const option &entry, char *equals, char singleDash) {
  const char *const program = call.argv[0];
  if (equals != nullptr) {
    if (entry.has_arg != 0) {
      optarg = equals + 1;
      return 0;
    }
    // The five tabs set these two messages off from the command's own.
    if (call.report && singleDash != '\0') {
      std::fprintf(stderr, "\t\t\t\t\t%s: option `%c%s' doesn't allow an argument\n", program, singleDash,
                   entry.name);
    } else if (call.report) {
      std::fprintf(stderr, "\t\t\t\t\t%s: option `--%s' doesn't allow an argument\n", program, entry.name);
    }
    optopt = entry.val;
    return kError;
  }
  if (entry.has_arg != 1) return 0;
  if (optind < call.argc) {
    optarg = call.argv[optind++];
    return 0;
  }
  if (call.report) {
    std::fprintf(stderr, "%s: option `%s' requires an argument\n", program, call.argv[optind - 1]);
  }
  optopt = entry.val;
  return call.missingValue;
}

/// Read the long option in argv[optind].
/// @param text the name in that word, up to its end or "="
/// @param singleDash the one character before the name, 0 for "--" and for `-W`
/// @return as the parser, or `kEnd` when the word is rather a cluster of short options
int32_t readLongOption(const Call &call, char *text, char singleDash) {
  const char *const program = call.argv[0];
  char *const equals = std::strchr(text, '=');
  const std::string_view name =
      equals != nullptr ? std::string_view(text, static_cast<size_t>(equals - text)) : std::string_view(text);

  const Match match = findLongOption(call.longopts, name, call.longOnly);
  if (match.entry == nullptr && singleDash != '\0' && std::strchr(call.shortopts, *text) != nullptr)
    return kEnd;

  const char *const word = call.argv[optind++];
  if (match.ambiguous || match.entry == nullptr) {
    if (call.report && match.ambiguous) {
      std::fprintf(stderr, "%s: option `%s' is ambiguous\n", program, word);
    } else if (call.report && singleDash != '\0') {
      std::fprintf(stderr, "%s: unrecognized option `%c%s'\n", program, singleDash, text);
    } else if (call.report) {
      std::fprintf(stderr, "%s: unrecognized option `--%s'\n", program, text);
    }
    optopt = 0;
    return kError;
  }

  if (const int32_t error = takeLongArgument(call, *match.entry, equals, singleDash); error != 0)
    return error;
  if (call.longindex != nullptr) *call.longindex = match.index;
  if (match.entry->flag == nullptr) return match.entry->val;
  *match.entry->flag = match.entry->val;
  return 0;
}

/// Take the argument of a short option: the rest of its word, or else the next word.
/// @return false when there is none; the message has been printed then
bool takeShortArgument(const Call &call, char *rest, unsigned char letter) {
  if (*rest != '\0') {
    optarg = rest;
    return true;
  }
  if (optind < call.argc) {
    optarg = call.argv[optind];
    return true;
  }
  if (call.report) std::fprintf(stderr, "%s: option requires an argument -- %c\n", call.argv[0], letter);
  optopt = letter;
  return false;
}

/// Read the letter at `offset` of argv[optind].
int32_t readShortOption(const Call &call, size_t offset) {
  char *const word = call.argv[optind];
  const auto letter = static_cast<unsigned char>(word[offset]);
  char *const rest = word + offset + 1;
  const char *const spec = std::strchr(call.shortopts, word[offset]);

  scan.clusterOffset = *rest != '\0' ? offset + 1 : 0;
  if (*rest == '\0') ++optind;

  if (spec == nullptr || letter == ':' || letter == ';') {
    if (call.report) std::fprintf(stderr, "%s: illegal option -- %c\n", call.argv[0], letter);
    optopt = letter;
    return kError;
  }
  const bool longName = letter == 'W' && spec[1] == ';' && call.longopts != nullptr;
  if (!longName && spec[1] != ':') return letter;

  scan.clusterOffset = 0;  // whatever follows the letter is its argument
  if (spec[1] == ':' && spec[2] == ':') {
    if (*rest == '\0') return letter;
    optarg = rest;
    ++optind;
    return letter;
  }
  if (!takeShortArgument(call, rest, letter)) return call.missingValue;
  if (!longName) {
    ++optind;
    return letter;
  }
  char *const name = optarg;
  optarg = nullptr;
  Call asLong = call;
  asLong.longOnly = false;
  return readLongOption(asLong, name, '\0');
}

int32_t readOption(const Call &call) {
  if (scan.clusterOffset != 0) return readShortOption(call, scan.clusterOffset);
  if (!findWord(call)) return kEnd;

  char *const word = call.argv[optind];
  if (isNonOption(word)) {
    if (scan.ordering == Ordering::RequireOrder) return kEnd;
    optarg = word;
    ++optind;
    return 1;
  }
  if (call.longopts != nullptr) {
    if (word[1] == '-') return readLongOption(call, word + 2, '\0');
    // One letter that is a short option stays one, even where long options need but one dash.
    if (call.longOnly && (word[2] != '\0' || std::strchr(call.shortopts, word[1]) == nullptr)) {
      const int32_t code = readLongOption(call, word + 1, word[0]);
      if (code != kEnd) return code;
    }
  }
  return readShortOption(call, 1);
}

int32_t parse(int32_t argc, char **argv, const char *shortopts, const option *longopts, int32_t *longindex,
              bool longOnly) {
  if (argc < 1) return kEnd;
  optarg = nullptr;
  if (!scan.begun) beginScan(shortopts);
  if (*shortopts == '-' || *shortopts == '+') ++shortopts;

  const bool silent = *shortopts == ':';
  const Call call = {
      argc, argv, shortopts, longopts, longindex, longOnly, opterr != 0 && !silent, silent ? ':' : kError};
  return optind <= argc ? readOption(call) : kEnd;
}

}  // namespace

int32_t getopt(int32_t argc, char **argv, const char *shortopts) {
  return parse(argc, argv, shortopts, nullptr, nullptr, false);
}

int32_t getopt_long(int32_t argc, char **argv, const char *shortopts, const option *longopts,
                    int32_t *longindex) {
  return parse(argc, argv, shortopts, longopts, longindex, false);
}

int32_t getopt_long_only(int32_t argc, char **argv, const char *shortopts, const option *longopts,
                         int32_t *longindex) {
  return parse(argc, argv, shortopts, longopts, longindex, true);
}

char *getoptarg() { return optarg; }

void setoptind(int32_t index) {
  optind = std::max(index, 1);
  scan.begun = false;
}

}  // namespace trx
