// SPDX-License-Identifier: GPL-3.0-or-later
// How a command reads its options: one row per option, bound to a member of the command's own
// Options struct. The short-option string and the long-option table are made from the rows;
// `-h`/`--help` and the output option (code 1 and `--output`, which the entry routine has already
// served) belong to every command and need no row.
#ifndef TRX_CLI_OPTIONS_H
#define TRX_CLI_OPTIONS_H

#include <strings.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "Public/common.h"

namespace trx {

/// Whether an option takes an argument.
enum class Argument {
  None,
  Required,
  OptionalWhenLong,  ///< required after the letter; after the long name only as --name=value
  NoneWhenLong,      ///< required after the letter, none after the long name
};

enum class Form { Both, LongOnly };

/// One word that an option accepts, and what it stands for.
template <typename T>
struct Word {
  const char *text;
  T value;
};

/// The word with an index of those that completion at the prompt offers; null past the last.
using WordAt = const char *(*)(size_t index);

/// Objects by whose ids an argument names them. Completion offers those that are there.
enum class Objects : uint8_t {
  None,
  Adapters,
  Disks,
  DiskList,  ///< several, with commas between them
  Volumes,
  Namespaces,
  Backings,  ///< what a namespace is made on: volumes in RAID mode, else disks
};

/// What an option takes: whether there is an argument, and what completion offers for it.
struct Takes {
  // Not explicit: most rows say no more than this.
  constexpr Takes(Argument kind = Argument::None, WordAt offered = nullptr, bool isPath = false)
      : argument(kind), word(offered), path(isPath) {}

  Argument argument;
  WordAt word;  ///< null for an argument that has no fixed words
  bool path;    ///< the argument names a file
  Objects objects = Objects::None;
  char kindFrom = '\0';  ///< the option whose word tells another kind of objects, if it was given
};

/// An argument that names a file.
inline constexpr Takes kPath(Argument::Required, nullptr, true);

/// An argument that is the id of an object.
constexpr Takes idOf(Objects objects, char kindFrom = '\0') {
  Takes takes(Argument::Required);
  takes.objects = objects;
  takes.kindFrom = kindFrom;
  return takes;
}

/// An argument that is one of the words that `choose` takes. Of several for the same value, the first
/// is the one that the help tells of and that completion offers.
template <const auto &words>
constexpr Takes oneOf(Argument argument = Argument::Required) {
  return {argument, [](size_t index) -> const char * {
            for (size_t i = 0; i < std::size(words); ++i) {
              bool again = false;
              for (size_t k = 0; k < i; ++k) again = again || words[k].value == words[i].value;
              if (!again && index-- == 0) return words[i].text;
            }
            return nullptr;
          }};
}

/// What the parser and completion must know of an option.
struct OptionShape {
  const char *name;  ///< long name, or null for an option that has only a letter
  char code;         ///< the letter; of a long-only option, any character that no letter uses
  Takes takes;
  Form form;
};

/// An option of a command, and what to do with its text.
template <typename Options>
struct OptionRow {
  const char *name;
  char code;
  Takes takes;
  /// Takes the text (empty where none was given); prints a complaint and returns false when it will
  /// not do. Null for a letter that the parser accepts and the command answers with its help.
  bool (*read)(Options &options, const char *text);
  Form form = Form::Both;

  constexpr OptionShape shape() const { return {name, code, takes, form}; }
};

/// The options of a command as completion sees them. A command has one beside its help text, made of
/// the rows that its own reading uses.
struct OptionList {
  size_t count;
  OptionShape (*at)(size_t index);
  WordAt operand = nullptr;  ///< what the words are that belong to no option; null for none
};

template <const auto &rows>
constexpr OptionList optionList() {
  return {std::size(rows), [](size_t index) { return rows[index].shape(); }};
}

/// How the reading of options ended.
enum class Parsed {
  Complete,
  OptionError,  ///< a reader refused its text and said why; later options were not read
  ParserError,  ///< the parser refused an option and said why on standard error
  Help,         ///< the help was asked for and printed
};

/// Whether `--help` and `-h` are known to the parser.
enum class HelpOption { Declared, Undeclared };

namespace detail {
using ReadOption = Parsed (*)(void *context, size_t row, const char *text);
Parsed parseOptions(int argc, char **argv, const Command_Info *row, std::span<const OptionShape> shapes,
                    HelpOption help, ReadOption read, void *context);
}  // namespace detail

/// Read the options of a command, in command-line order, up to the first error.
/// On return `optind` is the index of the first word that is not an option.
template <typename Options, size_t N>
Parsed parseOptions(int argc, char **argv, const Command_Info *row, const OptionRow<Options> (&rows)[N],
                    Options &into, HelpOption help = HelpOption::Declared) {
  std::array<OptionShape, N> shapes;
  for (size_t i = 0; i < N; ++i) shapes[i] = rows[i].shape();
  struct Context {
    const OptionRow<Options> *rows;
    Options *into;
  } context{rows, &into};
  auto read = [](void *opaque, size_t i, const char *text) {
    auto *c = static_cast<Context *>(opaque);
    if (!c->rows[i].read) return Parsed::Help;
    return c->rows[i].read(*c->into, text) ? Parsed::Complete : Parsed::OptionError;
  };
  return detail::parseOptions(argc, argv, row, shapes, help, read, &context);
}

/// Read the options of a command that has none of its own.
inline Parsed parseNoOptions(int argc, char **argv, const Command_Info *row, HelpOption help) {
  return detail::parseOptions(argc, argv, row, {}, help, nullptr, nullptr);
}

/// Whether a command answers a parser error with its help.
enum class ParserErrorHelp { No, Yes };

/// The same, and the ends that most commands have in common: no words at all give the help and 1,
/// asking for the help 0, a wrong option `onError`.
/// @return the command's result; nothing when it goes on
template <typename Options, size_t N>
std::optional<int32_t> readOptions(int argc, char **argv, const Command_Info *row,
                                   const OptionRow<Options> (&rows)[N], Options &into, int32_t onError,
                                   ParserErrorHelp help = ParserErrorHelp::No) {
  if (argc == 1) return helpForNoWords(row);
  switch (parseOptions(argc, argv, row, rows, into)) {
    case Parsed::Complete:
      return std::nullopt;
    case Parsed::Help:
      return 0;
    case Parsed::ParserError:
      if (help == ParserErrorHelp::Yes) printHelp(row);
      break;
    case Parsed::OptionError:
      break;
  }
  return onError;
}

/// The value of an option, and how often it was given.
template <typename T>
struct Counted {
  T value{};
  int count = 0;

  bool given() const { return count > 0; }
  bool repeated() const { return count > 1; }
  bool set(T to) {
    value = std::move(to);
    ++count;
    return true;
  }
  /// `set`, if there is a value. @return whether there is
  bool take(std::optional<T> to) { return to && set(*to); }
  /// The same for commands that complain of a repeated option before they heed a wrong one: a wrong one
  /// counts, too.
  bool takeCounted(std::optional<T> to) {
    ++count;
    if (to) value = std::move(*to);
    return to.has_value();
  }
};

/// Whether any of these options was given more than once.
template <typename... T>
bool anyRepeated(const Counted<T> &...options) {
  return (options.repeated() || ...);
}

/// Take the word that equals `text` in any case.
/// @return whether there was one
template <typename T, size_t N>
bool choose(T &into, const char *text, const Word<T> (&words)[N]) {
  for (const Word<T> &word : words) {
    if (strcasecmp(word.text, text) == 0) {
      into = word.value;
      return true;
    }
  }
  return false;
}

/// The same for an option.
template <typename T, size_t N>
bool choose(Counted<T> &into, const char *text, const Word<T> (&words)[N]) {
  ++into.count;
  return choose(into.value, text, words);
}

}  // namespace trx

#endif  // TRX_CLI_OPTIONS_H
