// SPDX-License-Identifier: GPL-3.0-or-later
// A scripted stand-in for the platform's management library: it records every command, and answers from a
// script. A command without a reply, and a reply without a command, are failures (see ApiTest).
#ifndef TRX_TESTS_FAKE_PLATFORM_H
#define TRX_TESTS_FAKE_PLATFORM_H

#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "device/vmware/native/user/nvme_driver.h"

using Bytes = std::vector<uint8_t>;

struct Command {
  std::string signature;  ///< of the adapter that it went to
  int code = 0;           ///< of the driver's callback
  alignas(8) usr_io io{};
  Bytes sent = {};       ///< data to the controller
  bool aligned = false;  ///< the buffer was page-aligned, and zero where nothing was sent, to 4096 bytes
};

struct Reply {
  Bytes data = {};
  int platformStatus = 0;
  uint32_t driverStatus = 0;
  uint8_t sct = 0, sc = 0;
};

struct FakePlatform {
  std::vector<nvmeAdapterInfo> adapters;
  int listStatus = 0, openStatus = 0;
  std::deque<Reply> replies;
  std::function<Reply(const Command &)> answer;  ///< when the script is at its end

  std::string signature;       ///< that was opened last, in numbers
  int opens = 0;               ///< of signatures, tried
  std::pair<int, int> levels;  ///< of the driver's log, as they were set
  std::vector<Command> commands;
  int openHandles = 0;

  void addAdapter(const std::string &name);
};

extern FakePlatform platform;

#endif  // TRX_TESTS_FAKE_PLATFORM_H
