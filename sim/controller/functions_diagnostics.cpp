// SPDX-License-Identifier: GPL-3.0-or-later
// Group 0xE0: registers, info structure, VPD target, GPIO and I2C of the adapter.
#include <algorithm>

#include "controller/functions.h"
#include "model/diagnostics.h"
#include "model/registers.h"

namespace sim {
namespace {

Answer directReadRegister(Context &context, const DirectCall &call) {
  uint32_t address = call.command.dword(13);
  if (address % 4 != 0) return Fw::InvalidParameter;
  return bytesOf(readRegister(context.state(), call.argument, address));
}

Answer directWriteRegister(Context &context, const DirectCall &call) {
  uint32_t address = call.command.dword(13);
  if (address % 4 != 0) return Fw::InvalidParameter;
  bool written = writeRegister(context.change(), call.argument, address, call.command.dword(14));
  return written ? Fw::Ok : Fw::NoResource;
}

Answer directHbaInfo(Context &context, const DirectCall &) { return hbaInfo(context.state().core); }

Answer directVpdTarget(Context &context, const DirectCall &call) {
  uint32_t target = call.command.dword(14);
  if (target > 1) return Fw::InvalidParameter;
  context.change().core.vpdTarget = static_cast<uint8_t>(target);
  return Fw::Ok;
}

Answer directGpio(Context &context, const DirectCall &call) {
  constexpr uint32_t kPins = 0xF0;
  const uint32_t words[] = {call.command.dword(13), call.command.dword(14), call.command.dword(15),
                            call.argument};
  if ((words[0] | words[1] | words[2]) & ~kPins) return Fw::InvalidParameter;
  AdapterCore &core = context.change().core;
  std::copy(std::begin(words), std::end(words), core.gpio);
  if (call.argument == 1) std::copy_n(words, std::size(core.gpioDefault), core.gpioDefault);
  return Fw::Ok;
}

Answer directI2c(Context &context, const DirectCall &call) {
  return answersI2c(context.state().core, call.argument) ? Fw::Ok : Fw::Failed;
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE0, 0x09, "read register",  {directReadRegister, dwords(10, 13), 0xFF, Transfer::Raw, 4}, {}},
    {0xE0, 0x0A, "write register", {directWriteRegister, dwords(13, 14), 0xFF}, {}},
    {0xE0, 0x0F, "dump",           {directHbaInfo, dwords(10), 0, Transfer::Raw, TRX_PAGE_SIZE}, {}},
    {0xE0, 0x10, "VPD target",     {directVpdTarget, dwords(14)}, {}},
    {0xE0, 0x11, "GPIO",           {directGpio, dwords(13, 14, 15), 1}, {}},
    {0xE0, 0x14, "I2C probe",      {directI2c, 0, 0xFFFF}, {}},
};
// clang-format on

}  // namespace

std::span<const Function> diagnosticFunctions() { return kFunctions; }

}  // namespace sim
