// SPDX-License-Identifier: GPL-3.0-or-later
// Commands called in process, on a simulated host of their own: fast, and able to set what no
// command line can, such as one-based counting.
#ifndef TRX_TESTS_CLI_SESSION_H
#define TRX_TESTS_CLI_SESSION_H

#include <functional>
#include <span>
#include <string>

#include "SimHost.h"

namespace trx::test {

struct CommandResult {
  int32_t status;       ///< the handler's result
  std::string out;      ///< what it wrote on `stream`
  std::string library;  ///< what the library and it wrote on standard output
  std::string err;      ///< standard error
};

/// From construction to destruction the program's globals belong to this session.
class CliSession {
 public:
  explicit CliSession(const std::string &topology = "frozen");
  ~CliSession();

  /// Split a line as the shell does and run it.
  CommandResult run(const std::string &line);

  /// Opens the library and reads the adapters' summaries, as a program does when it begins.
  static void start();

  /// Requests that reached the controllers since the last call, without the identification and
  /// summary requests of start-up: the part of a trace line before the arrow.
  Words requests();

  SimHost &host() { return host_; }

 private:
  SimHost host_;
};

/// What a device says instead of what the simulated one says: called with every reply that brought data,
/// before the command sees it, while it is set.
extern std::function<void(std::span<uint8_t> reply)> deviceSays;

/// Collects what is written to a file descriptor while it lives.
class Capture {
 public:
  explicit Capture(int descriptor);
  ~Capture();
  std::string text();

 private:
  int descriptor_, saved_;
  Scratch file_;
};

/// What a piece of code writes to `stream`.
std::string outputOf(const std::function<void()> &code);

}  // namespace trx::test

#endif  // TRX_TESTS_CLI_SESSION_H
