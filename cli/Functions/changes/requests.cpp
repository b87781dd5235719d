// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/changes/requests.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "Functions/standard/mi_message.h"
#include "trx/trx_nvme.h"

namespace trx {
namespace {

using Targets = std::vector<Target>;

Targets none(const Wire &) { return {}; }
Targets adapter(const Wire &wire) { return {{Kind::Adapter, wire.adapter}}; }
Targets argumentVolume(const Wire &wire) { return {{Kind::Volume, wire.cdw[12] >> 16}}; }
Targets argumentDisk(const Wire &wire) { return {{Kind::Disk, wire.cdw[12] >> 16}}; }
Targets argumentNamespace(const Wire &wire) { return {{Kind::Namespace, wire.cdw[12] >> 16}}; }
Targets volume(const Wire &wire) { return {{Kind::Volume, wire.cdw[14] & 0xFFFF}}; }
Targets disk(const Wire &wire) { return {{Kind::Disk, wire.cdw[14] & 0xFFFF}}; }
Targets namespaceOfNsid(const Wire &wire) { return {{Kind::Namespace, wire.cdw[1]}}; }
Targets diskBehind(const Wire &wire) { return {{Kind::Disk, wire.cdw[1]}}; }

Targets members(const Wire &wire) {
  Targets disks;
  for (TRX_U32 id = 0; id < 32; ++id) {
    if (wire.cdw[13] & 1u << id) disks.push_back({Kind::Disk, id});
  }
  return disks;
}

/// A power pin is no disk, although its id stands where theirs do.
Targets diskOrPin(const Wire &wire) {
  constexpr TRX_U32 kPowerPin = 1;
  return (wire.cdw[14] >> 16 & 0xFF) == kPowerPin ? adapter(wire) : disk(wire);
}

Targets newMember(const Wire &wire) { return {{Kind::Disk, wire.cdw[14] >> 16}}; }
Targets volumeAndNewMember(const Wire &wire) { return {volume(wire)[0], newMember(wire)[0]}; }

/// A namespace is carved from a volume or, where disks are exposed as they are, from a disk. It is told
/// counting from 1.
Targets backing(const Wire &wire) {
  const Kind kind = isRaidMode(summaryOf(wire.adapter)) ? Kind::Volume : Kind::Disk;
  return {{kind, (wire.cdw[12] >> 16 & 0xFF) - 1}};
}

// ---- functions of the controller (opcode E2h), by group and sub-function in dword 12 ----

struct FunctionRow {
  TRX_U8 group, subFunction;
  RequestRow row;
};

// clang-format off
constexpr FunctionRow kFunctions[] = {
    {0xE0, 0x00, {"Get controller information", false, nullptr, none}},
    {0xE0, 0x01, {"Get configuration", false, nullptr, none}},
    {0xE0, 0x02, {"Set configuration", true, nullptr, adapter}},
    {0xE0, 0x07, {"Control LED of end point", true, nullptr, adapter}},
    {0xE0, 0x09, {"Read register", false, nullptr, none}},
    {0xE0, 0x0A, {"Write register", true, nullptr, adapter}},
    {0xE0, 0x0B, {"Activate raw firmware image", true, nullptr, adapter}},
    {0xE0, 0x0D, {"Switch manufacture flash tool", true, nullptr, adapter}},
    {0xE0, 0x0E, {"Switch SR-IOV", true, nullptr, adapter}},
    {0xE0, 0x0F, {"Get information data", false, nullptr, none}},
    {0xE0, 0x10, {"Set VPD target", true, nullptr, adapter}},
    {0xE0, 0x11, {"Set GPIO", true, nullptr, adapter}},
    {0xE0, 0x12, {"Set debug level", true, nullptr, adapter}},
    {0xE0, 0x14, {"Test I2C device", false, nullptr, none}},
    {0xE0, 0x15, {"Switch protection area", true, nullptr, adapter}},
    {0xE1, 0x00, {"Get PD information", false, nullptr, none}},
    {0xE1, 0x07, {"Control LED of root complex", true, nullptr, adapter}},
    {0xE1, 0x08, {"Reset device", true, nullptr, diskOrPin}},
    {0xE2, 0x00, {"Get VD information", false, nullptr, none}},
    {0xE2, 0x03, {"Create VD", true, "loses its data", members}},
    {0xE2, 0x04, {"Delete VD", true, "is lost with all its namespaces", argumentVolume}},
    {0xE2, 0x06, {"Import VD", true, nullptr, volume}},
    {0xE3, 0x02, {"Get activity of VD", false, nullptr, none}},
    {0xE3, 0x04, {"Control activity of VD", true, nullptr, volume}},
    {0xE3, 0x06, {"Start initialization of VD", true, nullptr, volume}},
    {0xE3, 0x07, {"Start rebuild of VD", true, "loses its data", volumeAndNewMember, newMember}},
    {0xE3, 0x0A, {"Start media patrol of VD", true, nullptr, volume}},
    {0xE5, 0x00, {"Get namespaces", false, nullptr, none}},
    {0xE5, 0x01, {"Get namespaces of VD", false, nullptr, none}},
    {0xE5, 0x02, {"Initialize namespaces of PD", true, "loses its namespaces and their data", argumentDisk}},
    {0xE5, 0x03, {"Share namespace", true, nullptr, argumentNamespace}},
    {0xE5, 0x04, {"Create namespace", true, nullptr, backing}},
    {0xFE, 0x00, {"Get SPI log", false, nullptr, none}},
    {0xFE, 0x02, {"Get state of SPI log", false, nullptr, none}},
    {0xFE, 0x03, {"Switch SPI log", true, nullptr, adapter}},
    {0xFE, 0x04, {"Get event page", false, nullptr, none}},
};
// clang-format on

const RequestRow *functionRow(TRX_U32 cdw12) {
  const auto *found = std::ranges::find_if(kFunctions, [&](const FunctionRow &each) {
    return each.group == (cdw12 & 0xFF) && each.subFunction == (cdw12 >> 8 & 0xFF);
  });
  return found == std::end(kFunctions) ? nullptr : &found->row;
}

// ---- commands of a disk (opcodes C2h, C3h), by the disk's opcode in dword 14 ----

constexpr RequestRow kDiskRead{"Read from disk", false, nullptr, none};
constexpr RequestRow kDiskDownload{"Firmware Image Download to disk", true, nullptr, diskBehind};
constexpr RequestRow kDiskCommit{"Firmware Commit of disk", true, nullptr, diskBehind};
constexpr RequestRow kDiskCommand{"Command of disk", true, nullptr, diskBehind};

const RequestRow *diskRow(TRX_U32 opcode) {
  constexpr TRX_U32 kGetFeatures = 0x0A;
  switch (opcode & 0xFF) {
    case TRX_NVME_GET_LOG_PAGE:
    case TRX_NVME_IDENTIFY:
    case kGetFeatures:
      return &kDiskRead;
    case TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD:
      return &kDiskDownload;
    case TRX_NVME_FIRMWARE_COMMIT:
      return &kDiskCommit;
    default:
      return &kDiskCommand;
  }
}

// ---- NVMe-MI messages, by the opcode inside ----

constexpr RequestRow kMiRead{"NVMe-MI Send of a reading command", false, nullptr, none};
constexpr RequestRow kMiWrite{"NVMe-MI Send: VPD Write", true, nullptr, adapter};

const RequestRow *miRow(std::span<const TRX_U8> message) {
  if (message.size() < kMiRequestData) return nullptr;
  const bool tunnels = message[1] == static_cast<TRX_U8>(MiKind::AdminCommand);
  if (!tunnels) return message[kMiOpcode] == kMiVpdRead ? &kMiRead : &kMiWrite;
  constexpr size_t kDword14 = kMiOpcode + 14 * sizeof(TRX_U32);
  if (message[kMiOpcode] != TRX_OPCODE_DISK_READ || message.size() < kDword14 + sizeof(TRX_U32))
    return nullptr;
  return diskRow(message[kDword14]) == &kDiskRead ? &kMiRead : nullptr;
}

constexpr RequestRow kIdentify{"Identify", false, nullptr, none};
constexpr RequestRow kLogPage{"Get Log Page", false, nullptr, none};
constexpr RequestRow kMiReceive{"NVMe-MI Receive", false, nullptr, none};
constexpr RequestRow kAttach{"Attach namespace", true, nullptr, namespaceOfNsid};
constexpr RequestRow kDetach{"Detach namespace", true, "is taken from its controllers", namespaceOfNsid};
constexpr RequestRow kDownload{"Firmware Image Download", true, nullptr, adapter};
constexpr RequestRow kCommit{"Firmware Commit", true, nullptr, adapter};

}  // namespace

const RequestRow *rowOf(const Wire &wire) {
  switch (wire.cdw[0]) {
    case TRX_OPCODE_CONTROLLER:
      return functionRow(wire.cdw[12]);
    case TRX_OPCODE_DISK_READ:
    case TRX_OPCODE_DISK_WRITE:
      return diskRow(wire.cdw[14]);
    case TRX_NVME_IDENTIFY:
      return &kIdentify;
    case TRX_NVME_GET_LOG_PAGE:
      return &kLogPage;
    case TRX_NVME_NAMESPACE_ATTACHMENT:
      return wire.cdw[10] == TRX_NVME_DETACH ? &kDetach : &kAttach;
    case TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD:
      return &kDownload;
    case TRX_NVME_FIRMWARE_COMMIT:
      return &kCommit;
    case TRX_NVME_MI_SEND:
      return miRow(wire.data);
    case TRX_NVME_MI_RECEIVE:
      return &kMiReceive;
    default:
      return nullptr;
  }
}

}  // namespace trx
