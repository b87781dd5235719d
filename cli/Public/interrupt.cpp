// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/interrupt.h"

#include <cerrno>
#include <ctime>
#include <iterator>

#include "Public/report.h"

namespace trx {
namespace {

volatile std::sig_atomic_t gSignal = 0;

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

}  // namespace

HeedInterrupts::HeedInterrupts() {
  static_assert(std::size(kSignals) == std::extent_v<decltype(before_)>);
  // Without SA_RESTART: a wait for input or for time ends, too.
  struct sigaction noting {};
  noting.sa_handler = [](int signal) { gSignal = signal; };
  for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &noting, &before_[i]);
}

HeedInterrupts::~HeedInterrupts() {
  for (size_t i = 0; i < std::size(kSignals); ++i) sigaction(kSignals[i], &before_[i], nullptr);
}

int interruptedBy() { return gSignal; }
void forgetInterrupt() { gSignal = 0; }

void endIfInterrupted() {
  if (gSignal == 0) return;
  tellWrong(Outcome::Failed, "interrupted\n");
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
