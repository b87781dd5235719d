// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/standard.h"

#include <bit>

#include "controller/records.h"
#include "model/diagnostics.h"

namespace sim {
namespace {

enum Cns : uint32_t { kIdentifyNamespace = 0, kIdentifyController = 1, kPrimaryCapabilities = 0x14 };

/// Identify Namespace (NVMe base standard, CNS 00h).
std::vector<uint8_t> identifyNamespace(const Namespace &ns) {
  std::vector<uint8_t> data(TRX_PAGE_SIZE, 0);
  for (size_t at : {size_t{0}, size_t{8}, size_t{16}}) std::memcpy(&data[at], &ns.sectors, 8);
  data[30] = ns.shared ? 1 : 0;  // NMIC
  std::memcpy(&data[120], ns.eui64, sizeof ns.eui64);
  data[130] = static_cast<uint8_t>(std::countr_zero(ns.sectorSize));  // LBADS of format 0
  return data;
}

/// Primary Controller Capabilities (NVMe base standard, CNS 14h).
std::vector<uint8_t> primaryCapabilities(const AdapterCore &core) {
  std::vector<uint8_t> data(TRX_PAGE_SIZE, 0);
  data[0] = static_cast<uint8_t>(core.controllerId);
  data[1] = static_cast<uint8_t>(core.controllerId >> 8);
  return data;
}

/// Bits of the controllers in a list (NVMe base standard, Controller List), or false when it is invalid.
bool controllerList(std::span<const uint8_t> data, uint64_t &controllers) {
  uint16_t count = 0;
  std::memcpy(&count, data.data(), 2);
  controllers = 0;
  if (count == 0 || count > 2047) return false;
  for (size_t i = 1; i <= count; ++i) {
    uint16_t id = 0;
    std::memcpy(&id, data.data() + 2 * i, 2);
    if (id > kLastController) return false;
    controllers |= uint64_t{1} << id;
  }
  return true;
}

/// Controllers that have it already do not matter, as long as one of the list is new.
void attach(Context &context, const Namespace &ns, uint64_t controllers, Completion &completion) {
  uint64_t added = controllers & ~ns.attached;
  if (added == 0) return completion.fail(kCommandSpecific, TRX_NAA);
  if (!ns.shared && controllers != uint64_t{1} << ns.owner) return completion.fail(kCommandSpecific, TRX_NIP);
  findNamespace(context.change(), ns.nsid)->attached |= added;
}

void detach(Context &context, const Namespace &ns, uint64_t controllers, Completion &completion) {
  if ((ns.attached & controllers) == 0) return completion.fail(kCommandSpecific, TRX_NNA);
  findNamespace(context.change(), ns.nsid)->attached &= ~controllers;
}

}  // namespace

void fitData(Completion &completion, size_t wanted) { completion.data.resize(wanted, 0); }

void runIdentify(Context &context, const Command &command, Completion &completion) {
  if (command.wanted != TRX_PAGE_SIZE) return context.breach("Identify: the length is not 4096");
  uint32_t cns = command.dword(10);
  if (cns != kIdentifyNamespace && command.nsid != 0) return context.breach("Identify: NSID must be 0");
  switch (cns) {
    case kIdentifyNamespace: {
      const Namespace *ns = findNamespace(context.state(), command.nsid);
      if (!ns) return completion.fail(kGeneric, TRX_NVME_SC_INVALID_NS);
      completion.data = identifyNamespace(*ns);
      return;
    }
    case kIdentifyController:
      completion.data = bytesOf(identifyAdapter(context.state()));
      return;
    case kPrimaryCapabilities:
      completion.data = primaryCapabilities(context.state().core);
      return;
    default:
      completion.fail(kGeneric, TRX_NVME_SC_INVALID_FIELD);
  }
}

void runGetLogPage(Context &context, const Command &command, Completion &completion) {
  uint32_t page = command.dword(10) & 0xFF;
  uint32_t zeroBasedDwords = command.dword(10) >> 16 & 0xFFF;
  if (command.wanted == 0) return context.breach("Get Log Page: no data buffer");
  // Dword 10 may leave the count out (0) and give the page alone; then the buffer tells the length.
  if (zeroBasedDwords != 0 && (size_t{zeroBasedDwords} + 1) * 4 > command.wanted)
    return context.breach("Get Log Page: more dwords than the buffer holds");
  const AdapterCore &core = context.state().core;
  switch (page) {
    case 2: {
      auto log = smartLog(core.smart, context.now());
      completion.data.assign(log.begin(), log.end());
      break;
    }
    case 3:
      completion.data = bytesOf(slotLog(core.firmware));
      break;
    case 0xC0:
      completion.data = spiFlash(core);
      break;
    default:
      return completion.fail(kCommandSpecific, TRX_ILP);
  }
  fitData(completion, command.wanted);
}

void runNamespaceAttachment(Context &context, const Command &command, Completion &completion) {
  if (command.in.size() != TRX_PAGE_SIZE)
    return context.breach("Namespace Attachment: the controller list is not 4096 bytes");
  uint32_t select = command.dword(10);
  if (select > 1) return context.breach("Namespace Attachment: dword 10 is neither attach nor detach");
  if (!(context.state().core.info.Features & TRX_FEATURE_NAMESPACE))
    return completion.fail(kGeneric, TRX_NVME_SC_INVALID_OPCODE);
  const Namespace *ns = findNamespace(context.state(), command.nsid);
  if (!ns) return completion.fail(kGeneric, TRX_NVME_SC_INVALID_NS);
  uint64_t controllers = 0;
  if (!controllerList(command.in, controllers)) return completion.fail(kCommandSpecific, TRX_CLI);
  if (select == 0)
    attach(context, *ns, controllers, completion);
  else
    detach(context, *ns, controllers, completion);
}

}  // namespace sim
