// SPDX-License-Identifier: GPL-3.0-or-later
// A host whose controllers answer from the fuzz input: libvmkmgmt.so with two adapters.
#pragma once

#include "input.h"

namespace fuzz {

struct Platform {
  Input input;             ///< replies, and what else the host is asked for
  bool discovery = false;  ///< answer as two supported controllers do, not from the input
  unsigned commands = 0;   ///< so far; beyond a bound every command fails, so that each input ends
};

Platform &platform();

}  // namespace fuzz
