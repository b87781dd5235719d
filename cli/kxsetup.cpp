// SPDX-License-Identifier: GPL-3.0-or-later
// The program's entry: which adapter, which output, then one command or the prompt.
#include <strings.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <optional>
#include <utility>

#include "Functions/commandTables.h"
#include "Public/common.h"
#include "Public/interrupt.h"
#include "Public/listening.h"
#include "line.h"
#include "output.h"
#include "session.h"
#include "shell.h"
#include "startup.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

struct Arguments {
  int count;
  char **words;

  /// The words from one on.
  Tokens from(size_t first) const { return Tokens(words, static_cast<size_t>(count)).subspan(first); }
};

/// The status of a success whose output could not be written.
int gUnwritten = 1;

/// Take the `-output FILE` of a line, wherever it stands among the words, and turn its word into the option
/// with code 1, which every command accepts and ignores.
/// @return the path; null for none
const char *takeOutput(Tokens words) {
  for (size_t i = 0; i + 1 < words.size(); ++i) {
    if (strcasecmp(words[i], "-output") != 0) continue;
    words[i][1] = '\001';
    return words[i + 1];
  }
  return nullptr;
}

int complainOutput(const char *path, int error) {
  std::fprintf(stderr, "Unable to open output file '%s': %s\n", path, std::strerror(error));
  return 1;
}

/// Serve it. @return the exit status when the file cannot be opened
std::optional<int> redirectOutput(Tokens words) {
  const char *path = takeOutput(words);
  if (!path || redirectStream(path)) return std::nullopt;
  return complainOutput(path, errno);
}

int runOnce(Tokens words) {
  const char *word = words[0];
  bool needsAdapter = std::strcmp(word, "help") != 0 && std::strcmp(word, "version") != 0;
  if (gNumAdaptersFound == 0 && needsAdapter) return 0;
  return shutDown(runPlain(words));
}

int runInteractive(const LineOptions &options) {
  std::fprintf(stream, "CLI Version: %s   API Version: %s\n", CLI_VERSION, TRX_Get_Version());
  std::fputs("Welcome to NVMe Command Line Interface.\n\n", stream);
  if (gNumAdaptersFound == 0) return 0;
  runShell(options);
  return shutDown(0);
}

// ---- with options before the command, or a command of our own ----

/// A command of our own has the output to itself from the first line on.
std::optional<int> startUpAside(const char *before) {
  struct Restored {
    std::FILE *answer = std::exchange(stream, stderr);
    ~Restored() { stream = answer; }
  } const restored;
  return startUp(before);
}

int runText(const LineStart &start, Tokens words) {
  const bool own = isOwnCommand(words);
  if (start.options.strict || own) gUnwritten = static_cast<int>(Outcome::Failed);
  if (isForMonitors(words)) gUnwritten = static_cast<int>(State::Unknown);
  if (redirectOutput(words)) return gUnwritten;
  const Listening listening(own ? Hearing::Divert : Hearing::PassOn);
  return shutDown(runCommand(start, words, own ? startUpAside : startUp));
}

/// Choose the adapter of a session. @return it when it is not there: each line that names no other says so
const char *absentAdapter(const char *typed) {
  if (!typed) return nullptr;
  const Listening silence(Hearing::Mute);
  if (!chooseAdapter(typed)) return typed;
  return gNumAdaptersFound == 0 || gCurrentAdapter < gNumAdaptersFound ? nullptr : typed;
}

int runDocument(const LineStart &start, Tokens words) {
  const HeedInterrupts interrupts;
  gUnwritten = static_cast<int>(Outcome::Failed);
  for (int unwritable : {SIGPIPE, SIGXFSZ}) std::signal(unwritable, SIG_IGN);  // told by the write
  const char *path = takeOutput(words);
  const bool noFile = path && !useDocumentFile(path);
  if (noFile) complainOutput(path, errno);
  if (words.empty() && start.wrong.empty()) {
    try {
      const Listening listening(Hearing::Divert);
      startUpAside("");
    } catch (const LineEnds &) {  // by a signal, which the session tells
    }
    LineStart each;
    each.options = start.options;
    each.adapter = absentAdapter(start.adapter);
    return shutDown(static_cast<int>(runSession(each, writeDocument)));
  }
  int32_t status = 0;
  gGiveDocument = writeDocument;
  std::string document =
      documentOfCommand(start, words, status, startUp, noFile ? Outcome::Failed : Outcome::Ok);
  if (!document.empty() && !writeDocument(document)) status = static_cast<int>(Outcome::Failed);
  return shutDown(status);
}

int runWithOptions(const LineStart &start, Tokens words) {
  if (start.options.json) return runDocument(start, words);
  if (!words.empty() || !start.wrong.empty()) return runText(start, words);
  if (start.adapter && !chooseAdapter(start.adapter)) return static_cast<int>(Outcome::NotFound);
  if (auto status = startUp()) return *status;
  return runInteractive(start.options);
}

int run(Arguments arguments) {
  g_oneBaseMode = TRX_Adapter_GetOneBaseMode();
  useCommandTables();
  const LineStart start = startOfLine(arguments.from(1));
  const Tokens words = arguments.from(1 + start.count);
  if (start.any || isOwnCommand(words)) return runWithOptions(start, words);

  if (start.adapter && !chooseAdapter(start.adapter)) return 0;
  if (auto status = redirectOutput(words)) return *status;
  if (answeredAtOnce(words)) return 0;
  if (auto status = startUp()) return *status;
  return words.empty() ? runInteractive({}) : runOnce(words);
}

}  // namespace
}  // namespace trx

int main(int argc, char **argv) {
  trx::occupyStandardDescriptors();
  trx::watchOutput();
  int status = trx::run({argc, argv});
  // Output that could not be written turns success into failure.
  return trx::closeOutput() || status != 0 ? status : trx::gUnwritten;
}
