// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/interrupt.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <iterator>

#include "Public/report.h"

namespace trx {
namespace {

volatile std::sig_atomic_t gSignal = 0;
volatile std::sig_atomic_t gWhen = 0;  ///< it came, in milliseconds
const char *gWords = HeedInterrupts::kInterrupted;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

int millisecondsNow() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int>(now.tv_sec % 1000000 * 1000 + now.tv_nsec / 1000000);
}

/// Somebody who interrupts twice will not wait for a request that hangs. What comes twice at once is meant
/// once: it was sent to the process and to its group.
void takeNote(int signal) {
  constexpr int kAtOnceMs = 200;
  const int now = millisecondsNow();
  if (gSignal != 0 && std::abs(now - gWhen) > kAtOnceMs) {
    std::signal(signal, SIG_DFL);
    raise(signal);
  }
  gSignal = signal;
  gWhen = now;
}

}  // namespace

HeedInterrupts::HeedInterrupts(const char *words) : wordsBefore_(gWords) {
  static_assert(std::size(kSignals) == std::extent_v<decltype(before_)>);
  gWords = words;
  // Without SA_RESTART: a wait for input or for time ends, too.
  struct sigaction noting {};
  noting.sa_handler = takeNote;
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], &noting, &before_[i]);
    // Started by nohup, it is to outlive its terminal.
    if (kSignals[i] == SIGHUP && before_[i].sa_handler == SIG_IGN) sigaction(SIGHUP, &before_[i], nullptr);
  }
}

HeedInterrupts::~HeedInterrupts() {
  for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &before_[i], nullptr);
  gWords = wordsBefore_;
}

int interruptedBy() { return gSignal; }
void forgetInterrupt() { gSignal = 0; }

void endIfInterrupted() {
  if (gSignal == 0 || !gWords) return;
  tellWrong(Outcome::Failed, "%s\n", gLine.json ? HeedInterrupts::kInterrupted : gWords);
  throw LineEnds{};
}

bool sleepMilliseconds(long milliseconds) {
  timespec span{milliseconds / 1000, milliseconds % 1000 * 1000000};
  // A signal just before the sleep would not end it: slices keep the wait short.
  constexpr long kSlice = 200000000;
  while ((span.tv_sec > 0 || span.tv_nsec > 0) && gSignal == 0) {
    timespec slice{0, span.tv_sec > 0 || span.tv_nsec > kSlice ? kSlice : span.tv_nsec};
    if (nanosleep(&slice, nullptr) != 0 && errno == EINTR && gSignal != 0) break;
    span.tv_nsec -= slice.tv_nsec;
    if (span.tv_nsec < 0) {
      span.tv_nsec += 1000000000;
      --span.tv_sec;
    }
  }
  return gSignal != 0;
}

}  // namespace trx
