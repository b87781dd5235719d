// SPDX-License-Identifier: GPL-3.0-or-later
// Ctrl-C and its like, for lines that have something to say or to put in order before they end.
#ifndef TRX_CLI_INTERRUPT_H
#define TRX_CLI_INTERRUPT_H

#include <csignal>

namespace trx {

/// While one lives, SIGINT, SIGTERM and SIGHUP are taken note of instead of ending the program.
class HeedInterrupts {
 public:
  HeedInterrupts();
  ~HeedInterrupts();
  HeedInterrupts(const HeedInterrupts &) = delete;
  HeedInterrupts &operator=(const HeedInterrupts &) = delete;

 private:
  struct sigaction before_[3];
};

/// The signal that came; 0 for none.
int interruptedBy();

/// Forget it.
void forgetInterrupt();

/// End the line, when a signal came, with the message "interrupted": throws `LineEnds`.
void endIfInterrupted();

/// Sleep, and wake up early for a signal. @return whether one came
bool sleepMilliseconds(long milliseconds);

}  // namespace trx

#endif  // TRX_CLI_INTERRUPT_H
