// SPDX-License-Identifier: GPL-3.0-or-later
// The program between its start and its end, on a host that is the fuzz input: replies, files, lspci
// and SMBIOS come from it. Nothing is written anywhere and nothing waits.
#pragma once

#include <string>

#include "platform.h"

namespace fuzz {

class Session {
 public:
  /// Begins with a byte of modes; replies and files follow in the order in which they are asked for.
  explicit Session(Input input);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  /// Run a line as the prompt does. @return whether the prompt goes on
  bool run(const std::string &line);
};

}  // namespace fuzz
