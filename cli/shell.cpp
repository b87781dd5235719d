// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell.h"

#include <poll.h>
#include <readline/history.h>
#include <readline/readline.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Public/common.h"
#include "Public/interrupt.h"
#include "Public/listening.h"
#include "completion.h"
#include "line.h"
#include "present.h"
#include "startup.h"

namespace trx {
namespace {

struct Free {
  void operator()(char *line) const { std::free(line); }
};
using Line = std::unique_ptr<char, Free>;

// ---- completion ----

/// The words found last: readline asks for them one by one.
std::vector<std::string> gWords;

char *nextWord(const char *, int state) {
  static size_t next;
  next = state == 0 ? 0 : next + 1;
  return next < gWords.size() ? strdup(gWords[next].c_str()) : nullptr;
}

char **completeAtCursor(const char *text, int, int end) {
  Completion found = complete(std::string(rl_line_buffer, static_cast<size_t>(end)));
  rl_sort_completion_matches = 1;
  if (found.path) return nullptr;  // readline goes on with the names of files
  rl_attempted_completion_over = 1;
  rl_sort_completion_matches = 0;  // 2 stands before 10
  gWords = std::move(found.words);
  rl_completion_suppress_append = gWords.size() == 1 && gWords[0].ends_with('=');
  return rl_completion_matches(text, nextWord);
}

/// A file name with blanks begins with the quote that holds it together; readline adds the other.
char *quoteFileName(char *name, int, char *quote) {
  bool open = *quote != '\0';
  *quote = '"';
  return strdup(((open ? "" : "\"") + std::string(name)).c_str());
}

void prepareCompletion() {
  rl_attempted_completion_function = completeAtCursor;
  rl_completer_word_break_characters = " \t=";
  rl_completer_quote_characters = "\"";
  rl_filename_quote_characters = " \t";
  rl_filename_quoting_function = quoteFileName;
  rl_variable_bind("expand-tilde", "on");  // no command does it
}

void prepareReadline() {
  rl_readline_name = "trx_cli";
  rl_persistent_signal_handlers = 1;  // also while we wait for keys
  prepareCompletion();
  // Neither may leave escape sequences in a captured session.
  rl_variable_bind("enable-bracketed-paste", "off");
  rl_variable_bind("enable-meta-key", "off");
}

// ---- lines typed at a terminal ----

volatile std::sig_atomic_t gInterrupted = 0;

/// While it lives, Ctrl-C does not end the program: somebody who is typing means the line.
class InterruptDropsLine {
 public:
  InterruptDropsLine() {
    struct sigaction noting {};
    noting.sa_handler = [](int) { gInterrupted = 1; };
    sigaction(SIGINT, &noting, &before_);
  }
  ~InterruptDropsLine() { sigaction(SIGINT, &before_, nullptr); }
  InterruptDropsLine(const InterruptDropsLine &) = delete;
  InterruptDropsLine &operator=(const InterruptDropsLine &) = delete;

 private:
  struct sigaction before_ {};
};

Line gTyped;          ///< nothing when it was ended by Ctrl-D
bool gEnded = false;  ///< a line is

void takeLine(char *line) {
  gTyped.reset(line);
  gEnded = true;
  rl_callback_handler_remove();
}

void prompt() {
  gEnded = false;
  forgetPresentIds();
  rl_callback_handler_install("> ", takeLine);
}

void dropLine() {
  rl_callback_sigcleanup();
  rl_callback_handler_remove();
  std::fputc('\n', rl_outstream);
  prompt();
}

/// At a terminal Ctrl-D does not end the shell; nothing comes when the terminal itself is gone.
Line nextTypedLine() {
  const InterruptDropsLine interrupts;
  do {
    prompt();
    while (!gEnded) {
      // A signal that comes just before the wait does not end it; it is seen a moment later.
      constexpr int kMomentMs = 200;
      pollfd keys{STDIN_FILENO, POLLIN, 0};
      bool ready = poll(&keys, 1, kMomentMs) == 1;
      rl_check_signals();  // readline's handlers have only taken note
      if (gInterrupted) {
        gInterrupted = 0;
        dropLine();
      } else if (ready) {
        rl_callback_read_char();
      }
    }
  } while (!gTyped && isatty(STDIN_FILENO));
  return std::move(gTyped);
}

// ---- lines of a script ----

/// What a script holds is data: no byte of it edits the line. Prompt and line are shown as they are at a
/// terminal, so that a captured session can be read.
Line nextScriptLine() {
  std::fputs("> ", stdout);
  std::fflush(stdout);
  char *text = nullptr;
  size_t room = 0;
  ssize_t length = getline(&text, &room, stdin);
  Line line(text);
  if (length < 0) return nullptr;  // its end; otherwise a script would spin for ever
  if (text[length - 1] == '\n') text[--length] = '\0';
  std::fwrite(text, 1, static_cast<size_t>(length), stdout);
  std::fputc('\n', stdout);
  return line;
}

Line nextLine() { return isatty(STDIN_FILENO) ? nextTypedLine() : nextScriptLine(); }

std::FILE *gShown = nullptr;  ///< where documents are

/// Show a document at once, while everything else that is printed is gathered for the next.
bool showDocument(const std::string &document) {
  return std::fputs(document.c_str(), gShown) >= 0 && std::fflush(gShown) == 0;
}

/// Run a line that begins with options, or a command of our own, or a line in a shell that has options.
/// @return whether the shell goes on
bool runWithOptions(const LineStart &start, Tokens words) {
  if (start.options.json) {
    int32_t status = 0;
    gShown = stream;
    gGiveDocument = showDocument;
    const std::string document = documentOfCommand(start, words, status);
    if (status == -1) return false;
    showDocument(document);
    return true;
  }
  const OwnAdapter adapter(start.adapter != nullptr);
  const Listening listening(Hearing::PassOn);
  return runCommand(start, words) != -1;
}

/// Run one line. @return whether the shell goes on
bool runLine(char *line, const LineOptions &options) {
  std::array<char *, kMaxTokens> tokens;
  int32_t count;
  if (!parse(&count, tokens.data(), line)) {
    std::fputs("Invalid quoted string.\n", stream);
  } else if (count == 0) {
    std::fputs("Type 'exit' to exit CLI.\n", stream);
  } else if (count > kMaxTokens) {
    std::fprintf(stream, "Too many words in the line (at most %d).\n", kMaxTokens);
  } else {
    const Tokens words(tokens.data(), static_cast<size_t>(count));
    LineStart start = startOfLine(words, options);
    if (!start.any) start.adapter = nullptr;  // a number alone is a word like others
    if (start.any) return runWithOptions(start, words.subspan(start.count));
    if (options.strict || options.dryRun || options.expect || isOwnCommand(words))
      return runWithOptions(start, words);
    beginReport({});  // the options of the line before held for it alone
    return runPlain(words) != -1;
  }
  return true;
}

/// A line that heeds interrupts was ended by one. Who typed Ctrl-C has the prompt again; a script and
/// whatever else wants the program to end is obeyed now.
void obeyInterrupt() {
  const int signal = interruptedBy();
  if (signal == 0) return;
  forgetInterrupt();
  if (signal == SIGINT && isatty(STDIN_FILENO)) return;
  std::fflush(nullptr);
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

void runShell(const LineOptions &options) {
  prepareReadline();
  // Byte by byte, so that what follows `exit` is left to whoever reads the same input next.
  std::setvbuf(stdin, nullptr, _IONBF, 0);
  std::array<char, kMaxLine> buffer;
  while (Line line = nextLine()) {
    add_history(line.get());
    if (std::strlen(line.get()) >= buffer.size()) {
      std::fprintf(stderr, "trx_cli: the line is too long (at most %zu characters).\n", buffer.size() - 1);
      std::abort();
    }
    std::strcpy(buffer.data(), line.get());
    line.reset();
    if (!runLine(buffer.data(), options)) return;
    obeyInterrupt();
  }
}

}  // namespace trx
