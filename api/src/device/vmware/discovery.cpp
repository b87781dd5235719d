// SPDX-License-Identifier: GPL-3.0-or-later
// Finds the controllers of this host and where they sit.
#include "device/vmware/discovery.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "device/common/DeviceManagement.h"
#include "device/common/PairCMDDevice.h"
#include "device/vmware/NVMEDevice.h"
#include "device/vmware/native/user/nvme_lib.h"
#include "device/vmware/smbios.h"
#include "function/log.h"
#include "function/message.h"
#include "trx/trx_nvme.h"
#include "trx/trx_product.h"

namespace {

constexpr char kLspci[] = "lspci -p | grep \"vmhba*\"";
constexpr std::size_t kMaxLine = 4096;

bool located = false;

struct DeviceCloser {
  void operator()(_Device *device) const { device->closeHandle(device); }
};
using OwnedDevice = std::unique_ptr<_Device, DeviceCloser>;

TRX_U16 littleEndian16(const TRX_U8 *bytes) { return static_cast<TRX_U16>(bytes[0] | bytes[1] << 8); }

// Whether the controller's own information names the supported device.
bool DeviceManagement_DeviceID(_Device *nvme) {
  constexpr std::size_t kDeviceIdAt = 28;
  trx_admin_command_format entry{};
  entry.CDW[0] = TRX_OPCODE_CONTROLLER;
  entry.CDW[12] = 0xE0;
  alignas(TRX_PAGE_SIZE) TRX_U8 reply[TRX_PAGE_SIZE] = {};
  if (nvme->sendPassthruAdmin(nvme, &entry, nullptr, 0, reply, sizeof reply) != 0) return false;
  return littleEndian16(reply + kDeviceIdAt) == TRX_DEVICE_ID;
}

std::vector<std::string> lspciLines() {
  struct PipeCloser {
    void operator()(FILE *pipe) const { pclose(pipe); }
  };
  std::vector<std::string> lines;
  const std::unique_ptr<FILE, PipeCloser> pipe(popen(kLspci, "r"));
  if (!pipe) return lines;
  std::array<char, kMaxLine> line;
  while (std::fgets(line.data(), static_cast<int>(line.size()), pipe.get())) lines.emplace_back(line.data());
  return lines;
}

// Add one adapter of the platform when it is a supported controller.
// @return false when it is one and there is no place for it
bool addAdapter(_DeviceManagement *manager, const nvmeAdapterInfo &adapter) {
  const std::string name(adapter.name, strnlen(adapter.name, sizeof adapter.name));
  OwnedDevice nvme(CreateNVMEDeviceInstance(name.c_str(), manager->m_count));
  add_log("device is not null? %d\n", nvme != nullptr);
  if (!nvme || !DeviceManagement_identify(nvme.get())) return true;
  if (manager->m_count >= TRX_MAX_DEVICES) return false;
  _Device *pair = CreatePairCMDDeviceInstance(nvme.get());
  if (!pair) return true;
  (void)nvme.release();
  std::snprintf(pair->device_path, sizeof pair->device_path, "%s", name.c_str());
  manager->m_devs[manager->m_count++] = pair;
  return true;
}

}  // namespace

bool DeviceManagement_identify(_Device *nvme) {
  constexpr TRX_U32 kController = TRX_NVME_CNS_CONTROLLER;
  alignas(TRX_PAGE_SIZE) TRX_U8 data[TRX_PAGE_SIZE] = {};
  if (nvme->sendCommand(nvme, TRX_NVME_IDENTIFY, 0, &kController, 1, nullptr, 0, data, sizeof data) != 0)
    return false;
  return littleEndian16(data) == TRX_VENDOR_ID && DeviceManagement_DeviceID(nvme);
}

void getBusDeviceFun(std::span<const std::string> lines, char (&bus_dev_fun)[32], const char *name) {
  constexpr std::string_view kBlanks = " \t\n\v\f\r";
  for (const std::string_view line : lines) {
    // The name may be a part of a longer one ("vmhba1" of "vmhba10"), and the last line wins; meant.
    if (line.find(name) == std::string_view::npos) continue;
    const std::size_t colon = line.find(':');
    if (colon == 0 || colon == std::string_view::npos) continue;
    const std::size_t begin = line.find_first_not_of(kBlanks, colon + 1);
    if (begin == std::string_view::npos) continue;
    const std::string_view field = line.substr(begin, line.find_first_of(kBlanks, begin) - begin);
    bus_dev_fun[field.copy(bus_dev_fun, sizeof bus_dev_fun - 1)] = '\0';
  }
}

void DeviceManagement_ScanV2(_DeviceManagement *manager) {
  located = false;
  if (Nvme_GetAdapterList(&adapterList) != 0) {
    printOut(TRX_MESSAGE_ERROR, "Failed to initialize NVMe.");
    return;
  }
  TRX_U32 leftOut = 0;
  for (TRX_U32 i = 0; i < adapterList.count; ++i) {
    if (!addAdapter(manager, adapterList.adapters[i])) ++leftOut;
  }
  if (leftOut) {
    printError(TRX_MESSAGE_WARNING, "More than %u supported controllers: %u left out.\n",
               unsigned{TRX_MAX_DEVICES}, leftOut);
  }
}

// Not a part of the scan, because few commands ask for it: then the host is asked once for all
// controllers, with one run of lspci and one reading of SMBIOS.
void DeviceManagement_locate(_DeviceManagement *manager) {
  if (located || manager->m_count == 0) return;
  located = true;
  const std::vector<std::string> lines = lspciLines();
  const std::vector<SystemSlot> slots = smbios_read_slots(kSmbiosPath);
  for (TRX_U8 i = 0; i < manager->m_count; ++i) {
    _Device &device = *manager->m_devs[i];
    getBusDeviceFun(lines, device.bus_dev_fun, device.device_path);
    get_SMBIOS_slot_ID(slots, device.bus_dev_fun, &device.slot_id);
    add_log("_this->m_devs[_this->m_count]->slot_id=%d\n", device.slot_id);
  }
}
