// SPDX-License-Identifier: GPL-3.0-or-later
// Group 0xE0: the adapter itself.
#include "controller/firmware.h"
#include "model/activities.h"
#include "model/journal.h"

namespace sim {
namespace {

Answer directInfo(Context &context, const DirectCall &) { return bytesOf(context.state().core.info); }
Answer pairInfo(Context &context, const PairCall &) { return bytesOf(context.state().core.info); }
Answer directConfig(Context &context, const DirectCall &) { return bytesOf(context.state().core.config); }
Answer pairConfig(Context &context, const PairCall &) { return bytesOf(context.state().core.config); }

Answer setConfig(Context &context, const NVME_Adapter_Config &config) {
  bool known = config.BGARate == TRX_BGA_RATE_HIGH || config.BGARate == TRX_BGA_RATE_MEDIUM ||
               config.BGARate == TRX_BGA_RATE_LOW;
  if (!known || config.AutoRebuildOn > 1) return Fw::InvalidParameter;
  NVME_Adapter_Config before = context.state().core.config;
  if (std::memcmp(&before, &config, sizeof config) == 0) return Fw::Ok;
  Adapter &adapter = context.change();
  rebaseActivities(adapter, context.now());
  adapter.core.config = config;
  if (before.BGARate != config.BGARate)
    journalAdapter(adapter, context.now(), AdapterEvent::RateChanged, ratePercent(config.BGARate));
  if (before.AutoRebuildOn != config.AutoRebuildOn)
    journalAdapter(adapter, context.now(),
                   config.AutoRebuildOn ? AdapterEvent::AutoRebuildOn : AdapterEvent::AutoRebuildOff);
  return Fw::Ok;
}

Answer directSetConfig(Context &context, const DirectCall &call) {
  uint32_t value = call.command.dword(14);
  if (value > 0xFFFF) {
    context.breach("set configuration: dword 14 has bits above 15");
    return {};
  }
  NVME_Adapter_Config config = context.state().core.config;
  config.AutoRebuildOn = static_cast<TRX_U8>(value);
  config.BGARate = static_cast<TRX_U8>(value >> 8);
  return setConfig(context, config);
}

/// Dword 13 holds the high word below the middle one, dword 14 the low one.
Answer directSetTime(Context &context, const DirectCall &call) {
  uint32_t upper = call.command.dword(13), lower = call.command.dword(14);
  if (lower > 0xFFFF) {
    context.breach("set time: dword 14 has bits above 15");
    return {};
  }
  NVME_Adapter_Time &time = context.change().core.hostTime;
  time.hi = static_cast<TRX_U16>(upper);
  time.mid = static_cast<TRX_U16>(upper >> 16);
  time.lw = static_cast<TRX_U16>(lower);
  return Fw::Ok;
}

Answer pairSetConfig(Context &context, const PairCall &call) {
  auto config = recordFrom<NVME_Adapter_Config>(call.data);
  for (TRX_U8 byte : config.Reserved)
    if (byte != 0) {
      context.breach("set configuration: reserved bytes are not 0");
      return {};
    }
  return setConfig(context, config);
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE0, 0x00, "adapter information",
     {directInfo, dwords(10), 0, Transfer::Reply}, {pairInfo}},
    {0xE0, 0x01, "get configuration",
     {directConfig, dwords(10), 0, Transfer::Reply}, {pairConfig}},
    {0xE0, 0x02, "set configuration",
     {directSetConfig, dwords(14)}, {pairSetConfig, 2, sizeof(NVME_Adapter_Config)}},
    {0xE0, 0x03, "set time",
     {directSetTime, dwords(13, 14)}, {}},
    {0xE0, 0x0B, "activate image",
     {directActivateImage, dwords(13, 15), 0xFF}, {}},
};
// clang-format on

}  // namespace

std::span<const Function> adapterFunctions() { return kFunctions; }

}  // namespace sim
