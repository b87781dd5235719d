// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell.h"

#include <readline/history.h>
#include <readline/readline.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Public/common.h"
#include "completion.h"

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
  if (found.path) return nullptr;  // readline goes on with the names of files
  rl_attempted_completion_over = 1;
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
  if (!isatty(STDIN_FILENO)) {
    rl_bind_key('\t', rl_insert);  // a tab in a script parts words
    return;
  }
  rl_attempted_completion_function = completeAtCursor;
  rl_completer_word_break_characters = " \t=";
  rl_completer_quote_characters = "\"";
  rl_filename_quote_characters = " \t";
  rl_filename_quoting_function = quoteFileName;
  rl_variable_bind("expand-tilde", "on");  // no command does it
}

void prepareReadline() {
  rl_readline_name = "trx_cli";
  prepareCompletion();
  // Neither may leave escape sequences in a captured session.
  rl_variable_bind("enable-bracketed-paste", "off");
  rl_variable_bind("enable-meta-key", "off");
}

/// The next line; nothing at the end of an input that is not a terminal. At a terminal Ctrl-D does
/// not end the shell; elsewhere a script would spin for ever.
Line nextLine() {
  for (;;) {
    Line line(readline("> "));
    if (line || !isatty(STDIN_FILENO)) return line;
  }
}

/// Run one line. @return whether the shell goes on
bool runLine(char *line) {
  std::array<char *, kMaxTokens> tokens;
  int32_t count;
  if (!parse(&count, tokens.data(), line)) {
    std::fputs("Invalid quoted string.\n", stream);
  } else if (count == 0) {
    std::fputs("Type 'exit' to exit CLI.\n", stream);
  } else if (count > kMaxTokens) {
    std::fprintf(stream, "Too many words in the line (at most %d).\n", kMaxTokens);
  } else {
    return cmdDispatcher(count, tokens.data()) != -1;
  }
  return true;
}

}  // namespace

void runShell() {
  prepareReadline();
  std::array<char, kMaxLine> buffer;
  while (Line line = nextLine()) {
    add_history(line.get());
    if (std::strlen(line.get()) >= buffer.size()) {
      std::fprintf(stderr, "trx_cli: the line is too long (at most %zu characters).\n", buffer.size() - 1);
      std::abort();
    }
    std::strcpy(buffer.data(), line.get());
    line.reset();
    if (!runLine(buffer.data())) return;
  }
}

}  // namespace trx
