// SPDX-License-Identifier: GPL-3.0-or-later
#include "line.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <string_view>

#include "Functions/changes/guard.h"
#include "Functions/help/help.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/interrupt.h"
#include "Public/listening.h"
#include "Public/numbers.h"
#include "Public/utility.h"
#include "startup.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

/// Note an option that has no value, and one given twice.
void takeFlag(bool &flag, bool &given, std::string_view word, LineStart &start) {
  if (given) start.wrong = std::string(word) + " is given twice";
  given = flag = true;
}

/// The row that answers a word; null for none.
const Command_Info *rowOf(Tokens words) {
  if (words.empty()) return nullptr;
  std::string word = words[0];
  if (const Command_Info *row = findCommand(strlwr(word.data())).row) return row;
  return ownCommand(word.c_str());
}

/// Whether a command asks no controller, so that all is well also where there is none.
bool asksNobody(Tokens words) {
  constexpr std::string_view kWords[] = {"?", "help", "version", "--debug", "hotkey", "gen"};
  const Command_Info *row = rowOf(words);
  return row && std::ranges::find(kWords, row->cmd) != std::end(kWords);
}

bool isOutputOption(const char *word) { return word[0] == '-' && word[1] == '\001'; }

/// The words of a document: the command in full, without `-output FILE`.
std::vector<std::string> commandWords(Tokens words) {
  std::vector<std::string> command;
  for (size_t i = 0; i < words.size(); ++i) {
    if (isOutputOption(words[i])) {
      ++i;
    } else {
      command.emplace_back(words[i]);
    }
  }
  const Command_Info *row = rowOf(words);
  if (row && !command.empty()) command[0] = row->cmd;
  return command;
}

/// Without any controller a command is tried all the same, so that a line that is wrong in itself is told
/// apart from one that asks for what is not there. Its first request ends it.
int32_t tryWithoutControllers(Tokens words) {
  const int count = static_cast<int>(words.size());
  if (isOwnCommand(words)) return cmdDispatcher(count, words.data());
  if (asksNobody(words)) {
    // The text form runs only these two then, by their whole words.
    const std::string_view word = words[0];
    return gLine.json || word == "help" || word == "version" ? cmdDispatcher(count, words.data()) : 0;
  }
  const Listening silence(Hearing::Mute);
  const Trial trial;
  try {
    cmdDispatcher(count, words.data());
  } catch (const LineEnds &) {
  }
  return 0;
}

/// What a line for monitors begins with when its command does not come to speak.
const char *stateWord(Tokens words) { return !gLine.json && isForMonitors(words) ? "UNKNOWN: " : ""; }

int32_t dispatch(const LineStart &start, Tokens words, Prepare prepare) {
  const char *before = stateWord(words);
  if (!start.wrong.empty()) {
    complain("%strx_cli: %s\n", before, start.wrong.c_str());
    return 1;
  }
  if (gLine.expect && isOwnCommand(words)) {
    complain("%strx_cli: --expect: the command changes nothing\n", before);
    return static_cast<int32_t>(outcomeNow());
  }
  endIfInterrupted();
  if (answeredAtOnce(words)) return 0;
  if (start.adapter && !chooseAdapter(start.adapter, before)) return 0;
  if (prepare) {
    if (auto status = prepare(before)) return *status;
  }
  if (start.adapter && gNumAdaptersFound != 0 && gCurrentAdapter >= gNumAdaptersFound) {
    tellWrong(Outcome::NotFound, "%sAdapter ID %d is not exist\n", before, userCounting(gCurrentAdapter));
    return 0;
  }
  if (words.empty()) {
    complain("trx_cli: there is no command\n");
    return 1;
  }
  if (gNumAdaptersFound == 0) return tryWithoutControllers(words);
  return cmdDispatcher(static_cast<int>(words.size()), words.data());
}

/// As a shell tells of a program that a signal has ended.
int32_t statusOfInterrupt() { return 128 + interruptedBy(); }

void nameAdapter(LineHead &head) {
  head.hasAdapter = gCurrentAdapter < gNumAdaptersFound;
  if (!head.hasAdapter) return;
  head.adapterId = userCounting(gCurrentAdapter);
  head.device = TRX_Adapter_GetDevicePath(gCurrentAdapter);
}

}  // namespace

bool answeredAtOnce(Tokens words) {
  if (words.empty()) return false;
  const std::string_view word = words[0];
  if (word == "--version") {
    answerVersions();
  } else if (word == "--help" || word == "-h") {
    answerOverview();
  } else {
    return false;
  }
  return true;
}

LineStart startOfLine(Tokens words, const LineOptions &inherited) {
  LineStart start;
  start.options = inherited;
  bool json = false, strict = false, dryRun = false, expect = false;
  for (; start.count < words.size(); ++start.count) {
    const std::string_view word = words[start.count];
    if (word == "--json") {
      takeFlag(start.options.json, json, word, start);
    } else if (word == "--strict") {
      takeFlag(start.options.strict, strict, word, start);
    } else if (word == "--dry-run") {
      takeFlag(start.options.dryRun, dryRun, word, start);
    } else if (word == "--expect") {
      bool flag = false;
      takeFlag(flag, expect, word, start);
      if (start.count + 1 == words.size()) {
        start.wrong = "--expect has no value";
      } else {
        start.options.expect = words[++start.count];
      }
    } else if (!start.adapter && isNumber(words[start.count])) {
      start.adapter = words[start.count];
      continue;
    } else {
      break;
    }
    start.any = true;
  }
  return start;
}

bool isOwnCommand(Tokens words) {
  if (words.empty()) return false;
  // Nearly no line begins with such a word: the other tables need not be searched for that.
  std::string word = words[0];
  if (!ownCommand(strlwr(word.data()))) return false;
  const Command_Info *row = rowOf(words);
  return row && row == ownCommand(row->cmd);
}

bool isForMonitors(Tokens words) {
  const Command_Info *row = rowOf(words);
  return row && row == ownCommand("health");
}

int32_t runPlain(Tokens words) {
  try {
    return cmdDispatcher(static_cast<int>(words.size()), words.data());
  } catch (const LineEnds &) {
    return statusOfInterrupt();
  }
}

int32_t runCommand(const LineStart &start, Tokens words, Prepare prepare) {
  beginReport(start.options);
  guardLine();
  int32_t status = 1;
  bool ended = false;
  try {
    status = dispatch(start, words, prepare);
  } catch (const LineEnds &) {
    ended = true;
  } catch (const std::exception &problem) {
    tellWrong(Outcome::Failed, "trx_cli: %s\n", problem.what());
    ended = true;
  }
  if (status == -1) return status;
  ended = finishGuard() || ended;
  if (!start.options.json && isForMonitors(words))
    return static_cast<int32_t>(ended ? State::Unknown : stateTold());
  if (ended && !start.options.json && interruptedBy() != 0) return statusOfInterrupt();
  const bool byOutcome = start.options.json || start.options.strict || ended || !start.wrong.empty();
  return byOutcome || outcomeNow() == Outcome::Guarded ? static_cast<int32_t>(outcomeNow()) : status;
}

std::string documentOfCommand(const LineStart &start, Tokens words, int32_t &status, Prepare prepare,
                              Outcome already) {
  // One that the command itself chooses stays.
  const OwnAdapter adapter(start.adapter != nullptr && !prepare);
  LineHead head;
  head.command = commandWords(words);
  const OneByOne documents([&head] {
    nameAdapter(head);
    return documentOf(head);
  });
  {
    const Listening listening(Hearing::Gather);
    status = runCommand(start, words, prepare);
  }
  if (already != Outcome::Ok) {
    note(already);
    status = static_cast<int32_t>(outcomeNow());
  }
  if (toldOneByOne() && outcomeNow() == Outcome::Ok) return {};
  nameAdapter(head);
  return documentOf(head);
}

}  // namespace trx
