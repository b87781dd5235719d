// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/listening.h"

#include <cstdarg>
#include <mutex>
#include <string_view>

#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/report.h"
#include "trx/trx_api.h"

namespace trx {

struct Listening::Ear {
  std::FILE **place;  ///< stdout or stderr
  std::FILE *before;  ///< what stood there
  std::FILE *standIn;
  bool printed;   ///< passed on
  bool gathered;  ///< as messages
  Severity usual;
  std::string line;  ///< up to its end
  Severity severity = Severity::Info;
};

namespace {

using Ear = Listening::Ear;

void endLine(Ear &ear) {
  if (!ear.line.empty()) noteMessage(ear.severity, ear.line);
  ear.line.clear();
  ear.severity = Severity::Info;
}

std::mutex gGathering;  ///< the library has a worker, which says something, too

void gather(Ear &ear, std::string_view text, Severity severity) {
  const std::lock_guard gathering(gGathering);
  while (!text.empty()) {
    size_t end = text.find('\n');
    ear.line += text.substr(0, end);
    ear.severity = std::max(ear.severity, severity);
    if (end == std::string_view::npos) return;
    endLine(ear);
    text.remove_prefix(end + 1);
  }
}

/// Each write is what one call printed, because the stand-in keeps nothing back.
ssize_t hear(void *cookie, const char *bytes, size_t size) {
  Ear &ear = *static_cast<Ear *>(cookie);
  const std::string_view text(bytes, size);
  const bool wrong = hearLibrary(text);
  if (ear.gathered) gather(ear, text, wrong ? Severity::Error : std::max(ear.usual, severityNow()));
  if (ear.printed) {
    std::fwrite(bytes, 1, size, ear.before);
    if (ear.place == &stderr) std::fflush(ear.before);
  }
  return static_cast<ssize_t>(size);
}

std::unique_ptr<Ear> listen(std::FILE *&place, bool printed, bool gathered, Severity usual) {
  auto ear = std::make_unique<Ear>(Ear{&place, place, nullptr, printed, gathered, usual, {}});
  ear->standIn = fopencookie(ear.get(), "a", {nullptr, hear, nullptr, nullptr});
  if (!ear->standIn) return nullptr;
  std::setvbuf(ear->standIn, nullptr, _IONBF, 0);
  place = ear->standIn;
  return ear;
}

void stop(Ear *ear) {
  if (!ear) return;
  std::fclose(ear->standIn);
  endLine(*ear);
  *ear->place = ear->before;
}

/// The library's own words, with its own severity.
void takeMessage(void *context, int severity, const char *text) {
  hearLibrary(text);
  gather(*static_cast<Ear *>(context), text, static_cast<Severity>(severity));
}

void divertMessage(void *, int, const char *text) {
  hearLibrary(text);
  std::fputs(text, stderr);
}

Hearing gHearing = Hearing::PassOn;
Ear *gTaker = nullptr;
std::FILE *gScreen = nullptr;  ///< the standard error behind what is gathered

void giveLibrary(Hearing hearing, Ear *taker) {
  gHearing = hearing;
  gTaker = taker;
  switch (hearing) {
    case Hearing::Gather:
    case Hearing::Mute:
      return TRX_SetMessageHandler(takeMessage, taker);
    case Hearing::Divert:
      return TRX_SetMessageHandler(divertMessage, nullptr);
    case Hearing::PassOn:
      break;
  }
  TRX_SetMessageHandler(nullptr, nullptr);
}

}  // namespace

Listening::Listening(Hearing hearing)
    : streamBefore_(stream), screenBefore_(gScreen), hearingBefore_(gHearing), takerBefore_(gTaker) {
  std::fflush(stdout);
  const bool gathers = hearing == Hearing::Gather || hearing == Hearing::Mute;
  const bool sameStream = stream == stdout;
  out_ = listen(stdout, !gathers, gathers, Severity::Info);
  if (hearing == Hearing::Gather) gScreen = stderr;
  error_ = listen(stderr, hearing != Hearing::Mute, gathers, Severity::Error);
  if (gathers || sameStream) stream = stdout;
  giveLibrary(hearing, out_.get());
}

Listening::~Listening() {
  giveLibrary(hearingBefore_, takerBefore_);
  stop(error_.get());
  stop(out_.get());
  stream = streamBefore_;
  gScreen = screenBefore_;
}

void Progress::tell(const char *format, ...) {
  char line[128];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
  if (!gScreen) {
    std::fputs(line, stream);
  } else if (line != last_) {
    std::fputs(line, gScreen);
    std::fflush(gScreen);
  }
  last_ = line;
}

}  // namespace trx
