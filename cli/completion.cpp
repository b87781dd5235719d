// SPDX-License-Identifier: GPL-3.0-or-later
#include "completion.h"

#include <strings.h>

#include <array>
#include <iterator>
#include <optional>

#include "Functions/commandTables.h"
#include "Public/listening.h"
#include "Public/options.h"
#include "Public/utility.h"
#include "line.h"
#include "present.h"
#include "startup.h"

namespace trx {
namespace {

using Words = std::vector<std::string>;

/// The words of the line as the shell splits it; the last is the one at the cursor.
Words split(const std::string &line) {
  std::array<char *, kMaxTokens> tokens;
  int32_t count = 0;
  std::string text = line;
  bool closed = parse(&count, tokens.data(), text.data());
  if (!closed) {
    text = line + '"';
    parse(&count, tokens.data(), text.data());
  }
  if (count > kMaxTokens) return {};
  Words words(tokens.data(), tokens.data() + count);
  bool behindBlank = line.empty() || line.back() == ' ' || line.back() == '\t';
  if (closed && behindBlank) words.emplace_back();
  return words;
}

bool begins(const std::string &typed, const char *word) {
  return strncasecmp(word, typed.c_str(), typed.size()) == 0;
}

Completion wordsOf(WordAt at, const std::string &typed) {
  Completion found;
  for (size_t i = 0; at && at(i); ++i) {
    if (begins(typed, at(i))) found.words.emplace_back(at(i));
  }
  return found;
}

Completion namesOf(const OptionList &options, const std::string &typed) {
  Completion found;
  auto offer = [&](const std::string &name) {
    if (begins(typed, name.c_str())) found.words.push_back(name);
  };
  for (size_t i = 0; i < options.count; ++i) {
    OptionShape option = options.at(i);
    if (!option.name) continue;
    bool inWord = option.takes.argument == Argument::OptionalWhenLong;
    offer(std::string("--") + option.name + (inWord ? "=" : ""));
  }
  offer("--help");
  return found;
}

std::optional<OptionShape> withLetter(const OptionList &options, char letter) {
  for (size_t i = 0; i < options.count; ++i) {
    OptionShape option = options.at(i);
    if (option.code == letter && option.form != Form::LongOnly) return option;
  }
  return std::nullopt;
}

/// The option with this long name, which may be abbreviated.
std::optional<OptionShape> withName(const OptionList &options, const std::string &name) {
  std::optional<OptionShape> found;
  for (size_t i = 0; i < options.count && !name.empty(); ++i) {
    OptionShape option = options.at(i);
    if (!option.name || std::string_view(option.name).substr(0, name.size()) != name) continue;
    if (option.name == name) return option;
    if (found) return std::nullopt;
    found = option;
  }
  return found;
}

/// The option of this word whose argument is the next word.
std::optional<OptionShape> waiting(const OptionList &options, const std::string &word) {
  if (word.starts_with("--")) {
    auto option = withName(options, word.substr(2));
    bool waits = option && option->takes.argument == Argument::Required;
    return waits ? option : std::nullopt;
  }
  if (!word.starts_with('-')) return std::nullopt;
  for (size_t i = 1; i < word.size(); ++i) {
    auto option = withLetter(options, word[i]);
    if (!option) return std::nullopt;
    if (option->takes.argument == Argument::None) continue;
    // What follows the letter in the same word is the argument.
    return i + 1 == word.size() ? option : std::nullopt;
  }
  return std::nullopt;
}

/// What was given for an option; empty where it was not.
std::string valueOf(const OptionList &options, const Words &words, char letter) {
  std::string value;
  for (size_t i = 1; i + 1 < words.size(); ++i) {
    const std::string &word = words[i];
    auto option = waiting(options, word);
    size_t equals = word.find('=');
    if (option) {
      if (++i + 1 < words.size() && option->code == letter) value = words[i];
    } else if (word.starts_with("--") && equals != std::string::npos) {
      option = withName(options, word.substr(2, equals - 2));
      if (option && option->code == letter) value = word.substr(equals + 1);
    } else if (word.starts_with(std::string("-") + letter)) {
      value = word.substr(2);
    }
  }
  return value;
}

/// The objects whose ids an option takes on this line.
Objects objectsOf(const OptionList &options, const Words &words, const Takes &takes) {
  constexpr Word<Objects> kKinds[] = {{"hba", Objects::Adapters}, {"pd", Objects::Disks},
                                      {"hd", Objects::Disks},     {"vd", Objects::Volumes},
                                      {"ld", Objects::Volumes},   {"ns", Objects::Namespaces},
                                      {"init", Objects::Disks},   {"create", Objects::Backings}};
  Objects objects = takes.objects;
  if (takes.kindFrom) choose(objects, valueOf(options, words, takes.kindFrom).c_str(), kKinds);
  return objects;
}

Completion idsFrom(Objects objects, const std::string &typed) {
  // A list is one word: what stands in front of its last id is part of every replacement.
  const size_t comma = objects == Objects::DiskList ? typed.rfind(',') : std::string::npos;
  const std::string before = typed.substr(0, comma + 1);
  Completion found;
  for (const std::string &id : presentIds(objects)) {
    const bool again = ("," + before).find("," + id + ",") != std::string::npos;
    if (!again && begins(typed.substr(before.size()), id.c_str())) found.words.push_back(before + id);
  }
  return found;
}

Completion argumentOf(const OptionList &options, const OptionShape &option, const Words &words,
                      const std::string &typed) {
  if (option.takes.path) return {{}, true};
  const Objects objects = objectsOf(options, words, option.takes);
  return objects != Objects::None ? idsFrom(objects, typed) : wordsOf(option.takes.word, typed);
}

Completion optionOrArgument(const OptionList &options, const Words &words) {
  const std::string &typed = words.back();
  std::optional<OptionShape> option;
  for (size_t i = 1; i + 1 < words.size(); ++i) {
    // The word behind such an option is its argument, whatever it looks like.
    option = option ? std::nullopt : waiting(options, words[i]);
  }
  if (option) return argumentOf(options, *option, words, typed);
  if (options.operand) return wordsOf(options.operand, typed);
  size_t equals = typed.find('=');
  if (!typed.starts_with("--") || equals == std::string::npos) return namesOf(options, typed);
  option = withName(options, typed.substr(2, equals - 2));
  return option ? argumentOf(options, *option, words, typed.substr(equals + 1)) : Completion{};
}

const char *lineOption(size_t index) {
  constexpr const char *kOptions[] = {"--json", "--strict", "--dry-run", "--expect"};
  return index < std::size(kOptions) ? kOptions[index] : nullptr;
}

/// What may stand before the command word is no part of the command; without an option a number is a word
/// like others. No words are left where nothing can be offered.
/// @return the adapter ID; empty for none
std::string dropLineStart(Words &words) {
  std::vector<char *> before;
  for (size_t i = 0; i + 1 < words.size(); ++i) before.push_back(words[i].data());
  const LineStart start = startOfLine(before);
  if (!start.any) return {};
  std::string adapter = start.adapter ? start.adapter : "";
  words.erase(words.begin(), words.begin() + static_cast<std::ptrdiff_t>(start.count));
  if (!start.wrong.empty()) words.clear();  // such as the value of --expect, which is being typed
  return adapter;
}

Completion commandsAndLineOptions(const std::string &typed) {
  Completion found = wordsOf(generalCommandWord, typed);
  for (WordAt more : {ownCommandWord, lineOption}) {
    const bool asked = more != lineOption || typed.starts_with('-');
    for (std::string &word : wordsOf(asked ? more : nullptr, typed).words)
      found.words.push_back(std::move(word));
  }
  return found;
}

}  // namespace

Completion complete(const std::string &line) {
  Words words = split(line);
  if (words.empty()) return {};
  const std::string adapter = dropLineStart(words);
  if (words.empty()) return {};
  if (words.size() == 1) return commandsAndLineOptions(words[0]);
  const char *word = strlwr(words[0].data());
  const Command_Info *row = findCommand(word).row;
  const OptionList *options = optionsOf(row ? row : ownCommand(word));
  const Listening silence(Hearing::Mute);
  const OwnAdapter own(!adapter.empty());
  if (!adapter.empty() && !chooseAdapter(adapter.c_str())) return {};
  return options ? optionOrArgument(*options, words) : Completion{};
}

}  // namespace trx
