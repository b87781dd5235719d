// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/functions.h"

#include <cstdio>

namespace sim {
namespace {

using Table = std::span<const Function> (*)();
constexpr Table kTables[] = {adapterFunctions,   diskFunctions,  volumeFunctions,  activityFunctions,
                             namespaceFunctions, eventFunctions, settingsFunctions};

std::string checkDwords(const Function &function, const Command &command, uint16_t argument) {
  const DirectDoor &door = function.direct;
  char text[96];
  for (unsigned number : {10U, 11U, 13U, 14U, 15U}) {
    if (command.dword(number) == 0 || (door.dwords >> number & 1)) continue;
    std::snprintf(text, sizeof text, "%s: dword %u is 0x%x, must be 0", function.name, number,
                  command.dword(number));
    return text;
  }
  if ((argument & ~door.argumentMask) != 0) {
    std::snprintf(text, sizeof text, "%s: argument 0x%x has bits that must be 0", function.name, argument);
    return text;
  }
  if (command.dword(10) != 0 && command.dword(10) != command.wanted / 4 - 1) {
    std::snprintf(text, sizeof text, "%s: dword 10 is 0x%x for %zu bytes", function.name, command.dword(10),
                  command.wanted);
    return text;
  }
  return {};
}

std::string checkTransfer(const Function &function, const Command &command) {
  const DirectDoor &door = function.direct;
  size_t expected = door.transfer == Transfer::Reply ? size_t{TRX_PAGE_SIZE} : size_t{door.rawBytes};
  if (!command.in.empty()) return std::string(function.name) + ": takes no data to the controller";
  if (door.transfer == Transfer::None && command.wanted != 0)
    return std::string(function.name) + ": gives no data, but the length is " +
           std::to_string(command.wanted);
  if (door.transfer != Transfer::None && command.wanted != expected)
    return std::string(function.name) + ": gives " + std::to_string(expected) + " bytes, but the length is " +
           std::to_string(command.wanted);
  return {};
}

void fillReply(const Answer &answer, Completion &completion) {
  completion.data.assign(TRX_PAGE_SIZE, 0);
  std::memcpy(completion.data.data(), "TRX", 3);
  completion.data[4] = static_cast<uint8_t>(answer.status);
  if (answer.status == Fw::Ok && !answer.payload.empty())
    std::memcpy(completion.data.data() + 8, answer.payload.data(),
                std::min(answer.payload.size(), kPairPayload));
}

}  // namespace

const Function *findFunction(uint32_t group, uint32_t subCode) {
  for (Table table : kTables)
    for (const Function &function : table())
      if (function.group == group && function.subCode == subCode) return &function;
  return nullptr;
}

void runDirectFunction(Context &context, const Command &command, Completion &completion) {
  const Function *function = findFunction(command.dword(12) & 0xFF, command.dword(12) >> 8 & 0xFF);
  if (!function || !function->direct.call) return completion.refuse(Fw::NotSupported);
  auto argument = static_cast<uint16_t>(command.dword(12) >> 16);
  std::string wrong = checkDwords(*function, command, argument);
  if (wrong.empty()) wrong = checkTransfer(*function, command);
  if (!wrong.empty()) return context.breach(wrong);
  ChangeGuard guard(context.session());
  Answer answer = function->direct.call(context, {command, argument});
  if (answer.status != Fw::Ok) guard.refused();
  if (!context.breachText().empty()) return;
  if (function->direct.transfer == Transfer::Reply) return fillReply(answer, completion);
  if (answer.status != Fw::Ok) return completion.refuse(answer.status);
  completion.data = std::move(answer.payload);
}

}  // namespace sim
