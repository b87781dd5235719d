// SPDX-License-Identifier: GPL-3.0-or-later
// Group 0xE5: namespaces.
#include "controller/functions.h"
#include "controller/records.h"
#include "model/storage.h"

namespace sim {
namespace {

template <typename Wanted>
std::vector<uint8_t> namespaceList(const Adapter &adapter, Wanted wanted) {
  std::vector<uint8_t> payload;
  for (const Namespace &ns : adapter.namespaces) {
    if (payload.size() + sizeof(NVME_NS_Info) > kPairPayload) break;
    if (wanted(ns)) appendRecord(payload, namespaceRecord(adapter, ns));
  }
  return payload;
}

Answer hostList(const Adapter &adapter) {
  return namespaceList(adapter, [](const Namespace &) { return true; });
}

Answer volumeList(const Adapter &adapter, uint32_t volume) {
  if (!findVolume(adapter, volume)) return Fw::InvalidVolume;
  return namespaceList(adapter, [volume](const Namespace &ns) {
    return ns.deviceType == TRX_NS_DEVICE_VD && ns.backing == volume;
  });
}

Answer directHostList(Context &context, const DirectCall &) { return hostList(context.state()); }
Answer pairHostList(Context &context, const PairCall &) { return hostList(context.state()); }
Answer directVolumeList(Context &context, const DirectCall &call) {
  return volumeList(context.state(), call.argument);
}
Answer pairVolumeList(Context &context, const PairCall &call) {
  return volumeList(context.state(), call.words[2]);
}

Answer directInit(Context &context, const DirectCall &call) {
  uint32_t count = call.command.dword(14);
  return initDiskNamespaces(context.change(), call.argument, count);
}

/// Dword 14 is 1 for a shared namespace; else the controller that it is private to, from bit 8.
Answer directShare(Context &context, const DirectCall &call) {
  uint32_t value = call.command.dword(14);
  if (value != 1 && (value & 0xFF) != 0) return Fw::InvalidParameter;
  return shareNamespace(context.change(), call.argument, value == 1, value >> 8);
}

/// The argument holds the controller above the id, counted from 1, of what backs the namespace.
Answer directCreate(Context &context, const DirectCall &call) {
  uint32_t backing = call.argument & 0xFFU;
  if (backing == 0) return Fw::InvalidParameter;
  uint64_t sectors = call.command.dword(13) | uint64_t{call.command.dword(14)} << 32;
  return createNamespace(context.change(), static_cast<uint16_t>(backing - 1), call.argument >> 8U, sectors);
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE5, 0x00, "namespace list",
     {directHostList, dwords(10), 0, Transfer::Reply}, {pairHostList}},
    {0xE5, 0x01, "namespaces of a volume",   // callers mark dword 14 as given, but it holds 0
     {directVolumeList, dwords(10), 0x00FF, Transfer::Reply}, {pairVolumeList, 3}},
    {0xE5, 0x02, "initialise namespaces", {directInit, dwords(14), 0xFFFF}, {}},
    {0xE5, 0x03, "share namespace",       {directShare, dwords(14), 0xFFFF}, {}},
    {0xE5, 0x04, "create namespace",      {directCreate, dwords(13, 14), 0xFFFF}, {}},
};
// clang-format on

}  // namespace

std::span<const Function> namespaceFunctions() { return kFunctions; }

}  // namespace sim
