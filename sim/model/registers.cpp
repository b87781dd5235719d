// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/registers.h"

#include <algorithm>

namespace sim {
namespace {

constexpr size_t kMostRegisters = 4096;

// Programmed I/O: the engine of each device, at the same addresses.
enum Pio : uint32_t {
  kControl = 0xE2C00000,     ///< bus in 31:24; 4 reads configuration space
  kCompletion = 0xE2C00004,  ///< bit 31: time-out; 30:28: completion status
  kAddressLow = 0xE2C00008,  ///< bit 24: enable; 11:2: offset
  kAddressHigh = 0xE2C0000C,
  kData = 0xE2C00018,
  kStart = 0xE2C0001C,
  kInterrupt = 0xE2C00020,  ///< 1: done; a 1 that is written clears it
};

constexpr uint32_t kConfigRead = 4, kEnable = 1 << 24;
constexpr uint32_t kFirstBus = 0x90, kFirstPcieId = 2;

// Completion status (PCI Express base standard), and the engine's own time-out.
enum : uint32_t { kUnsupportedRequest = 1U << 28, kRetry = 2U << 28, kAbort = 4U << 28, kTimeout = 1U << 31 };

template <typename Registers>
auto find(Registers &registers, uint32_t pcieId, uint32_t address) {
  return std::find_if(registers.begin(), registers.end(), [pcieId, address](const Register &one) {
    return one.device == pcieId && one.address == address;
  });
}

bool store(Adapter &adapter, uint32_t pcieId, uint32_t address, uint32_t value) {
  if (auto one = find(adapter.registers, pcieId, address); one != adapter.registers.end()) {
    one->value = value;
    return true;
  }
  if (adapter.registers.size() >= kMostRegisters) return false;
  adapter.registers.push_back({pcieId, address, value});
  return true;
}

/// The link of a disk is the root complex of its number, or the widest when the topology tells none.
uint32_t linkStatus(const Adapter &adapter, const Disk &disk) {
  uint32_t speed = 3, lanes = 4;
  for (const NVME_PCIe_Info &port : adapter.core.info.PCIeInfo) {
    if (port.Type != TRX_PCIE_ROOT_COMPLEX || port.Id != disk.id) continue;
    speed = port.Speed;
    lanes = port.LinkWidth;
  }
  return lanes << 20 | speed << 16;
}

struct ConfigDword {
  uint32_t offset, value;
};

/// Configuration space of a disk (PCI Express base standard); what is not in the list is 0.
uint32_t configSpace(const Adapter &adapter, const Disk &disk, uint32_t offset) {
  constexpr uint32_t kDeviceType = 0x5AB0, kNvmeClass = 0x01080200;
  constexpr uint32_t kCompletionTimeout = 1 << 14, kAdvisoryNonFatal = 1 << 13;
  const ConfigDword dwords[] = {
      {0x000, kDeviceType << 16 | disk.vendorId},
      {0x008, kNvmeClass},
      {0x034, 0x40},                       // first capability
      {0x040, 0x00035001},                 // power management, next 50h
      {0x050, 0x00807005},                 // MSI, next 70h
      {0x070, 0x0002B010},                 // PCI Express, next B0h
      {0x080, linkStatus(adapter, disk)},  // link control and status
      {0x0B0, 0x00200011},                 // MSI-X, the last
      {0x100, 0x15010003},                 // serial number, next 150h
      {0x150, 0x1B020001},                 // advanced error reporting, next 1B0h
      {0x154, disk.failed ? kCompletionTimeout : 0},
      {0x160, disk.failed ? kAdvisoryNonFatal : 0},
      {0x1B0, 0x00010019},  // secondary PCI Express, the last
  };
  auto found = std::find_if(std::begin(dwords), std::end(dwords),
                            [offset](const ConfigDword &dword) { return dword.offset == offset; });
  return found == std::end(dwords) ? 0 : found->value;
}

/// The disk that a read reaches: its bus and the engine's own device must agree.
const Disk *target(const Adapter &adapter, uint32_t pcieId) {
  uint32_t control = readRegister(adapter, pcieId, kControl);
  uint32_t bus = control >> 24;
  bool complete = (control & 0xFFFFFF) == kConfigRead && readRegister(adapter, pcieId, kAddressHigh) == 0 &&
                  (readRegister(adapter, pcieId, kAddressLow) & kEnable) != 0;
  if (!complete || bus < kFirstBus || pcieId < kFirstPcieId || bus - kFirstBus != pcieId - kFirstPcieId)
    return nullptr;
  return findDisk(adapter, bus - kFirstBus);
}

uint32_t completionOf(const Disk *disk) {
  if (!disk) return kUnsupportedRequest;
  switch (static_cast<PcieCompletion>(disk->completion)) {
    case PcieCompletion::Timeout:
      return kTimeout;
    case PcieCompletion::Retry:
      return kRetry;
    case PcieCompletion::Unsupported:
      return kUnsupportedRequest;
    case PcieCompletion::Abort:
      return kAbort;
    case PcieCompletion::Ok:
    case PcieCompletion::Stuck:
      break;
  }
  return 0;
}

bool carryOut(Adapter &adapter, uint32_t pcieId) {
  const Disk *disk = target(adapter, pcieId);
  if (disk && static_cast<PcieCompletion>(disk->completion) == PcieCompletion::Stuck) return true;
  uint32_t completion = completionOf(disk);
  uint32_t offset = readRegister(adapter, pcieId, kAddressLow) & 0xFFC;
  uint32_t data = completion == 0 ? configSpace(adapter, *disk, offset) : 0xFFFFFFFF;
  return store(adapter, pcieId, kCompletion, completion) && store(adapter, pcieId, kData, data) &&
         store(adapter, pcieId, kInterrupt, 1);
}

}  // namespace

uint32_t readRegister(const Adapter &adapter, uint32_t pcieId, uint32_t address) {
  auto one = find(adapter.registers, pcieId, address);
  return one == adapter.registers.end() ? 0 : one->value;
}

bool writeRegister(Adapter &adapter, uint32_t pcieId, uint32_t address, uint32_t value) {
  if (address == kInterrupt) value = readRegister(adapter, pcieId, address) & ~value;
  if (!store(adapter, pcieId, address, value)) return false;
  return address != kStart || value != 1 || carryOut(adapter, pcieId);
}

}  // namespace sim
