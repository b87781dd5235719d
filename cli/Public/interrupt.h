// SPDX-License-Identifier: GPL-3.0-or-later
// Ctrl-C and its like, for lines that have something to say or to put in order before they end.
#ifndef TRX_CLI_INTERRUPT_H
#define TRX_CLI_INTERRUPT_H

#include <csignal>

namespace trx {

/// While one lives, SIGINT, SIGTERM and SIGHUP are taken note of instead of ending the program; a second one
/// ends it after all. The next request is not sent then: the line ends before it.
class HeedInterrupts {
 public:
  static constexpr char kInterrupted[] = "interrupted";
  /// @param words what people are told of it; null where requests go out all the same, and the holder ends
  ///        by himself
  explicit HeedInterrupts(const char *words = kInterrupted);
  ~HeedInterrupts();
  HeedInterrupts(const HeedInterrupts &) = delete;
  HeedInterrupts &operator=(const HeedInterrupts &) = delete;

 private:
  struct sigaction before_[3];
  const char *wordsBefore_;
};

/// The signal that came; 0 for none.
int interruptedBy();

/// Forget it.
void forgetInterrupt();

/// End the line, when a signal came, with a message: throws `LineEnds`.
void endIfInterrupted();

/// Sleep, and wake up early for a signal. @return whether one came
bool sleepMilliseconds(long milliseconds);

}  // namespace trx

#endif  // TRX_CLI_INTERRUPT_H
