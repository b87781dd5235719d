// SPDX-License-Identifier: GPL-3.0-or-later
// Groups 0xE0 and 0xE1: LEDs, resets, the debug level and the manufacturing switches.
#include "controller/functions.h"
#include "model/devices.h"

namespace sim {
namespace {

/// Bits `high`:`low` of a dword.
uint32_t bits(uint32_t value, unsigned high, unsigned low) {
  return value >> low & ((uint32_t{1} << (high - low + 1)) - 1);
}

// ---- LEDs ----

constexpr uint32_t kLedActions = 4;  // off, on, slow blink, quick blink

bool portExists(const Adapter &adapter, uint8_t type, uint32_t id) {
  for (const NVME_PCIe_Info &port : adapter.core.info.PCIeInfo)
    if (port.Type == type && port.Id == id) return true;
  return false;
}

Answer setLinkLed(Context &context, const DirectCall &call, uint8_t type) {
  uint32_t value = call.command.dword(14);
  uint32_t id = bits(value, 15, 0), action = bits(value, 23, 16);
  if (bits(value, 31, 24) != 0) {
    context.breach("LED: dword 14 has bits above 23");
    return {};
  }
  if (action >= kLedActions || !portExists(context.state(), type, id)) return Fw::InvalidParameter;
  auto &leds = context.change().core.linkLed[type == TRX_PCIE_END_POINT ? 0 : 1];
  if (id >= std::size(leds)) return Fw::InvalidParameter;
  leds[id] = static_cast<uint8_t>(action);
  return Fw::Ok;
}

Answer directEndPointLed(Context &context, const DirectCall &call) {
  return setLinkLed(context, call, TRX_PCIE_END_POINT);
}

Answer directRootComplexLed(Context &context, const DirectCall &call) {
  return setLinkLed(context, call, TRX_PCIE_ROOT_COMPLEX);
}

enum LedObject : uint8_t { kLedDisk = 0, kLedVolume = 1 };

Answer pairLed(Context &context, const PairCall &call) {
  auto led = recordFrom<NVME_LED>(call.data);
  if (led.type > kLedVolume || led.action >= kLedActions) return Fw::InvalidParameter;
  std::vector<uint16_t> disks;
  if (led.type == kLedVolume) {
    const Volume *volume = findVolume(context.state(), led.id);
    if (!volume) return Fw::InvalidVolume;
    disks.assign(volume->members, volume->members + volume->memberCount);
  } else {
    if (!findDisk(context.state(), led.id)) return Fw::InvalidDisk;
    disks.push_back(led.id);
  }
  for (uint16_t id : disks)
    if (Disk *disk = findDisk(context.change(), id)) disk->led = led.action;
  return Fw::Ok;
}

// ---- resets ----

enum class ResetType : uint32_t { Device = 0, Power = 1, Perstn = 2 };

Answer directReset(Context &context, const DirectCall &call) {
  uint32_t value = call.command.dword(14);
  uint32_t id = bits(value, 15, 0), actionCode = bits(value, 31, 24);
  auto type = static_cast<ResetType>(bits(value, 23, 16));
  if (type == ResetType::Device && actionCode != 0) {
    context.breach("reset: an action goes with a line only");
    return {};
  }
  if (actionCode > static_cast<uint32_t>(LineAction::Off)) return Fw::InvalidParameter;
  auto action = static_cast<LineAction>(actionCode);
  switch (type) {
    case ResetType::Device:
      return resetDisk(context.change(), id);
    case ResetType::Power:
      return switchPower(context.change(), context.now(), id, action);
    case ResetType::Perstn:
      return driveResetLine(context.change(), context.now(), id, action);
  }
  return Fw::InvalidParameter;
}

// ---- debug level and switches ----

Answer directDebugLevel(Context &context, const DirectCall &call) {
  context.change().core.debugLevel = static_cast<uint8_t>(call.argument);
  return Fw::Ok;
}

template <Switch Which>
Answer directSwitch(Context &context, const DirectCall &call) {
  if (call.command.dword(14) > 1) return Fw::InvalidParameter;
  setSwitch(context.change(), Which, call.command.dword(14) == 1);
  return Fw::Ok;
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE0, 0x07, "LED",
     {directEndPointLed, dwords(14)}, {pairLed, 2, sizeof(NVME_LED)}},
    {0xE1, 0x07, "root complex LED",
     {directRootComplexLed, dwords(14)}, {}},
    {0xE1, 0x08, "reset",
     {directReset, dwords(14)}, {}},
    {0xE0, 0x12, "debug level",
     {directDebugLevel, 0, 1}, {}},
    {0xE0, 0x0D, "flash tool switch",
     {directSwitch<kSwitchFlashTool>, dwords(14)}, {}},
    {0xE0, 0x15, "protection switch",
     {directSwitch<kSwitchProtection>, dwords(14)}, {}},
    {0xE0, 0x0E, "SR-IOV switch",
     {directSwitch<kSwitchSriov>, dwords(14)}, {}},
};
// clang-format on

}  // namespace

std::span<const Function> settingsFunctions() { return kFunctions; }

}  // namespace sim
