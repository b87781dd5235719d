// SPDX-License-Identifier: GPL-3.0-or-later
// Group 0xE5: namespaces.
#include "controller/functions.h"
#include "controller/records.h"

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

// clang-format off
constexpr Function kFunctions[] = {
    {0xE5, 0x00, "namespace list",
     {directHostList, dwords(10), 0, Transfer::Reply}, {pairHostList}},
    {0xE5, 0x01, "namespaces of a volume",   // callers mark dword 14 as given, but it holds 0
     {directVolumeList, dwords(10), 0x00FF, Transfer::Reply}, {pairVolumeList, 3}},
};
// clang-format on

}  // namespace

std::span<const Function> namespaceFunctions() { return kFunctions; }

}  // namespace sim
