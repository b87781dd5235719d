// SPDX-License-Identifier: GPL-3.0-or-later
// The masking of serial numbers: opcode and the dwords that name what is asked for, an envelope, data.
#include "recording/mask.h"

#include <cstring>

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  usr_io uio{};
  uio.cmd.opcode = input.byte();
  uio.cmd.cdw10 = input.byte();
  uio.cmd.cdw12 = input.word();
  uio.cmd.cdw14 = input.byte();
  auto taken = input.take(input.byte());
  const std::vector<uint8_t> lastSend(taken.begin(), taken.end());
  std::vector<uint8_t> reply = input.rest();
  std::vector<uint8_t> file = reply;
  sim::maskSerials(uio, lastSend, reply);
  sim::maskSmbios(file);
  // What is masked stays so.
  std::vector<uint8_t> again = file;
  sim::maskSmbios(again);
  fuzz::require(again == file);
  return 0;
}
