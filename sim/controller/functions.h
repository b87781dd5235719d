// SPDX-License-Identifier: GPL-3.0-or-later
// The controller's own functions, one row each. A row may have two doors: the pass-through door
// (opcode 0xE2, the function in dword 12) and the pair-command door (words in a send envelope).
// To add a function, write it in the family's file and give it a row in that file's table.
#pragma once

#include "controller/command.h"

namespace sim {

/// What a function moves through the pass-through door.
enum class Transfer : uint8_t {
  None,   ///< no data: a refusal is a vendor-specific NVMe status
  Reply,  ///< 4096 bytes back: "TRX", a status byte at 4, the payload from 8
  Raw     ///< bytes back without a head: the function gives them whole
};

/// A call through the pass-through door.
struct DirectCall {
  const Command &command;
  uint16_t argument;  ///< dword 12, bits 31:16
};

/// A call through the pair-command door.
struct PairCall {
  std::array<uint16_t, 4> words;
  std::span<const uint8_t> data;
};

/// What a function answers: a status, and the payload when it is Ok.
struct Answer {
  Fw status = Fw::Ok;
  std::vector<uint8_t> payload{};
  Answer() = default;
  Answer(Fw refused) : status(refused) {}                            // NOLINT: a bare status is an answer
  Answer(std::vector<uint8_t> bytes) : payload(std::move(bytes)) {}  // NOLINT
};

using DirectFunction = Answer (*)(Context &, const DirectCall &);
using PairFunction = Answer (*)(Context &, const PairCall &);

/// Dwords that may carry a value; bit n is dword n.
template <typename... Numbers>
constexpr uint16_t dwords(Numbers... numbers) {
  return static_cast<uint16_t>((0 | ... | (1 << numbers)));
}

/// The pass-through door of a function. Dwords that are not named must be 0.
struct DirectDoor {
  DirectFunction call = nullptr;
  uint16_t dwords = 0;        ///< besides dword 12; with 10, its value must be 0 or the length in dwords - 1
  uint16_t argumentMask = 0;  ///< bits of dword 12, 31:16, that may be set
  Transfer transfer = Transfer::None;
  uint16_t rawBytes = 0;  ///< Transfer::Raw: bytes that come back
};

/// The pair-command door of a function.
struct PairDoor {
  PairFunction call = nullptr;
  uint8_t words = 2;
  uint16_t dataBytes = 0;  ///< data to the controller: exactly so many, or at least with `more`
  bool more = false;
};

struct Function {
  uint8_t group;
  uint8_t subCode;
  const char *name;
  DirectDoor direct;
  PairDoor pair;
};

// One table per family; `functionTables` lists them.
std::span<const Function> adapterFunctions();
std::span<const Function> diskFunctions();
std::span<const Function> volumeFunctions();
std::span<const Function> activityFunctions();
std::span<const Function> namespaceFunctions();
std::span<const Function> eventFunctions();
std::span<const Function> settingsFunctions();

const Function *findFunction(uint32_t group, uint32_t subCode);

/// Opcode 0xE2.
void runDirectFunction(Context &context, const Command &command, Completion &completion);
/// Opcode 0xCB: runs the function and keeps its answer.
void runPairSend(Context &context, const Command &command, Completion &completion);
/// Opcode 0xCE: gives the kept answer.
void runPairReceive(Context &context, const Command &command, Completion &completion);

/// Payload that fits a receive envelope.
constexpr size_t kPairPayload = TRX_PAGE_SIZE - 8;

}  // namespace sim
