// SPDX-License-Identifier: GPL-3.0-or-later
// What is printed while a line runs, heard by the program itself: a document gathers it as messages, and
// what the library says tells how its requests went.
#ifndef TRX_CLI_LISTENING_H
#define TRX_CLI_LISTENING_H

#include <cstdio>
#include <memory>
#include <string>

namespace trx {

enum class Hearing {
  PassOn,  ///< everything is printed as ever
  Gather,  ///< standard output is gathered as messages, standard error as well as printed
  Mute,    ///< all of it is gathered, nothing printed
  Divert,  ///< what the library says goes to standard error: standard output is for one answer only
};

/// While it lives, standard output, standard error and `stream` are listened to.
class Listening {
 public:
  explicit Listening(Hearing hearing);
  ~Listening();
  Listening(const Listening &) = delete;
  Listening &operator=(const Listening &) = delete;

  /// One of the streams: its stand-in, and what stood before.
  struct Ear;

 private:
  std::unique_ptr<Ear> out_, error_;
  std::FILE *streamBefore_, *screenBefore_;
  Hearing hearingBefore_;
  Ear *takerBefore_;
};

/// How far a long command is. It is printed on `stream` or, where that is gathered, on the standard error
/// behind it: there a line per change.
class Progress {
 public:
  [[gnu::format(printf, 2, 3)]] void tell(const char *format, ...);

 private:
  std::string last_;
};

}  // namespace trx

#endif  // TRX_CLI_LISTENING_H
