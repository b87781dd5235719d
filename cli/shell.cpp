// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell.h"

#include <readline/history.h>
#include <readline/readline.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Public/common.h"

namespace trx {
namespace {

struct Free {
  void operator()(char *line) const { std::free(line); }
};
using Line = std::unique_ptr<char, Free>;

void prepareReadline() {
  rl_readline_name = "trx_cli";
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
