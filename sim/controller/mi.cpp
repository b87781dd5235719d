// SPDX-License-Identifier: GPL-3.0-or-later
// NVMe-MI Send and Receive (NVMe base standard): a message comes with the one, its answer goes with
// the other. VPD reads and writes, and Identify Controller of a disk.
#include <algorithm>
#include <cstring>

#include "controller/records.h"
#include "controller/standard.h"

namespace sim {
namespace {

constexpr uint8_t kMessageType = 0x84, kMiCommand = 0x08, kAdminCommand = 0x10;
constexpr uint8_t kVpdRead = 5, kVpdWrite = 6;
constexpr size_t kHead = 16;          ///< bytes of a message before its data
constexpr size_t kAnswerHead = 8;     ///< bytes of an answer before its data
constexpr size_t kAdminMessage = 68;  ///< bytes of a message that hold all 16 dwords

uint32_t dwordAt(std::span<const uint8_t> bytes, size_t offset) {
  return recordFrom<uint32_t>(bytes.subspan(offset));
}

/// Dword of a tunnelled admin command.
uint32_t adminDword(std::span<const uint8_t> message, size_t number) {
  return dwordAt(message, 4 + 4 * number);
}

std::string checkMessage(const Command &command) {
  std::span<const uint8_t> message = command.in;
  if (message.size() < kHead) return "the message is shorter than its head";
  if (command.dword(11) != message.size() / 4 - 1) return "dword 11 is not the length in dwords less one";
  if (message[0] != kMessageType) return "not an NVMe-MI message with an integrity check";
  if (message[1] != kMiCommand && message[1] != kAdminCommand) return "unknown kind of message";
  if (message[2] != 0 || message[3] != 0) return "reserved bytes are not 0";
  if (message[1] == kAdminCommand && message.size() < kAdminMessage)
    return "the message is shorter than an admin command";
  return {};
}

Fw checkTunnel(const Adapter &adapter, std::span<const uint8_t> message) {
  constexpr uint32_t kIdentify = 6, kCnsController = 1;
  if (adminDword(message, 0) != TRX_OPCODE_DISK_READ) return Fw::NotSupported;
  if (adminDword(message, 14) != kIdentify || adminDword(message, 10) != kCnsController)
    return Fw::NotSupported;
  return findDisk(adapter, adminDword(message, 1)) ? Fw::Ok : Fw::InvalidDisk;
}

Fw checkVpd(const Adapter &adapter, std::span<const uint8_t> message) {
  uint64_t offset = dwordAt(message, 8), length = dwordAt(message, 12);
  uint32_t opcode = dwordAt(message, 4);
  if (opcode != kVpdRead && opcode != kVpdWrite) return Fw::NotSupported;
  if (offset + length > sizeof adapter.core.vpd[0]) return Fw::InvalidParameter;
  return opcode == kVpdWrite && length > message.size() - kHead ? Fw::InvalidParameter : Fw::Ok;
}

Fw checkContent(const Adapter &adapter, std::span<const uint8_t> message) {
  if (message.size() < kHead) return Fw::InvalidRequest;
  if (message[1] != kAdminCommand) return checkVpd(adapter, message);
  return message.size() < kAdminMessage ? Fw::InvalidRequest : checkTunnel(adapter, message);
}

}  // namespace

void runMiSend(Context &context, const Command &command, Completion &completion) {
  if (std::string wrong = checkMessage(command); !wrong.empty())
    return context.breach("NVMe-MI Send: " + wrong);
  std::span<const uint8_t> message = command.in;
  if (Fw status = checkContent(context.state(), message); status != Fw::Ok) return completion.refuse(status);

  AdapterCore &core = context.change().core;
  if (message[1] != kAdminCommand && dwordAt(message, 4) == kVpdWrite) {
    std::copy_n(message.begin() + kHead, dwordAt(message, 12),
                core.vpd[core.vpdTarget] + dwordAt(message, 8));
    core.miRequestLength = 0;  // nothing to receive
    return;
  }
  // What an answer needs stands at the front of a message.
  core.miRequestLength = static_cast<uint32_t>(std::min(message.size(), sizeof core.miRequest));
  std::copy_n(message.begin(), core.miRequestLength, core.miRequest);
}

void runMiReceive(Context &context, const Command &command, Completion &completion) {
  const AdapterCore &core = context.state().core;
  if (command.wanted == 0) return context.breach("NVMe-MI Receive: no data buffer");
  if (core.miRequestLength == 0) return context.breach("NVMe-MI Receive: no message was sent before it");
  std::span<const uint8_t> message(core.miRequest, core.miRequestLength);
  // A disk may have been pulled since, and a state file is believed no more than a caller.
  if (Fw status = checkContent(context.state(), message); status != Fw::Ok) return completion.refuse(status);
  completion.data.assign(kAnswerHead, 0);
  completion.data[0] = kMessageType;
  completion.data[1] = message[1];
  if (message[1] == kAdminCommand) {
    appendRecord(completion.data, identifyDisk(*findDisk(context.state(), adminDword(message, 1))));
  } else {
    const uint8_t *vpd = core.vpd[core.vpdTarget] + dwordAt(message, 8);
    completion.data.insert(completion.data.end(), vpd, vpd + dwordAt(message, 12));
  }
  fitData(completion, command.wanted);
  // Nothing is left of it: reading changes nothing.
  AdapterCore &after = context.change().core;
  std::fill_n(after.miRequest, after.miRequestLength, uint8_t{0});
  after.miRequestLength = 0;
}

}  // namespace sim
