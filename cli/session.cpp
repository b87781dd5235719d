// SPDX-License-Identifier: GPL-3.0-or-later
#include "session.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

#include "Public/common.h"
#include "Public/interrupt.h"

namespace trx {
namespace {

/// A line of input, byte by byte from the descriptor: an interrupt ends the wait, and what follows `exit` is
/// left to whoever reads the same input next.
std::optional<std::string> nextLine() {
  std::string line;
  while (interruptedBy() == 0) {
    char byte;
    ssize_t count = read(STDIN_FILENO, &byte, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      if (line.empty()) return std::nullopt;
      return line;
    }
    if (byte == '\n') return line;
    line += byte;
  }
  return std::nullopt;
}

/// A line that cannot be taken apart: a document that says why.
std::string documentOfWrongLine(const LineOptions &options, const char *why, int32_t &status) {
  LineStart start;
  start.options = options;
  start.wrong = why;
  return documentOfCommand(start, {}, status);
}

/// The document of a line that is not empty; nothing when it ends the session.
std::optional<std::string> answer(std::string line, const LineStart &each, int32_t &status) {
  const LineOptions &options = each.options;
  std::array<char *, kMaxTokens> tokens;
  int32_t count = 0;
  if (line.size() >= kMaxLine) return documentOfWrongLine(options, "the line is too long", status);
  // As at the prompt, what stands behind a NUL is no part of the line.
  line.resize(std::strlen(line.c_str()));
  if (!parse(&count, tokens.data(), line.data())) {
    return documentOfWrongLine(options, "Invalid quoted string.", status);
  }
  if (count > kMaxTokens)
    return documentOfWrongLine(options, "Too many words in the line (at most 64).", status);
  Tokens words(tokens.data(), static_cast<size_t>(count));
  LineStart start = startOfLine(words, options);
  if (!start.adapter) start.adapter = each.adapter;
  std::string document = documentOfCommand(start, words.subspan(start.count), status);
  if (status == -1) return std::nullopt;
  return document;
}

}  // namespace

Outcome runSession(const LineStart &each, bool (*write)(const std::string &document)) {
  Outcome worst = Outcome::Ok;
  while (std::optional<std::string> line = nextLine()) {
    if (line->find_first_not_of(" \t\r") == std::string::npos) continue;
    int32_t status = 0;
    std::optional<std::string> document = answer(std::move(*line), each, status);
    if (!document) return worst;
    worst = worseOf(worst, static_cast<Outcome>(status));
    if (!write(*document)) return worseOf(worst, Outcome::Failed);
    if (interruptedBy() != 0) break;
  }
  if (interruptedBy() == 0) return worst;
  int32_t status = 0;
  beginReport(each.options);
  LineStart start;
  start.options = each.options;
  write(documentOfCommand(start, {}, status));
  return worseOf(worst, Outcome::Failed);
}

}  // namespace trx
