// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/NVMEDevice.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <optional>

#include "device/vmware/native/user/nvme_lib.h"
#include "function/log.h"
#include "function/message.h"
#include "trx/trx_nvme.h"

nvme_adapter_list adapterList;

namespace {

constexpr TRX_U32 kRefused = 1;
constexpr _TRX_U64 kTimeoutUs = 100'000'000;
constexpr _TRX_U64 kCommitTimeoutUs = 200'000'000;
constexpr std::size_t kMaxWords = 6;  // CDW10 to CDW15

const _NVMEDevice &self(const _Device *device) { return *reinterpret_cast<const _NVMEDevice *>(device); }

struct Data {
  const void *in;
  TRX_U16 in_length;
  void *out;
  TRX_U16 out_length;

  bool sane() const { return (!in_length || in) && (in_length || !out_length || out); }
};

// The data of one command while the driver works on it.
class CommandData {
 public:
  CommandData(usr_io &io, const Data &data) {
    const bool toController = data.in_length != 0;
    const void *caller = toController ? data.in : data.out;
    io.direction = toController ? TRX_TO_CONTROLLER : TRX_FROM_CONTROLLER;
    io.length = toController ? data.in_length : data.out_length;
    if (io.length == 0) return;
    const auto address = reinterpret_cast<uintptr_t>(caller);
    if (address % TRX_PAGE_SIZE == 0 && io.length >= TRX_PAGE_SIZE) {
      io.addr = address;
      return;
    }
    inUse_ = std::unique_lock(bounceMutex);
    std::memset(bounce, 0, std::max<std::size_t>(io.length, TRX_PAGE_SIZE));
    if (toController) {
      std::memcpy(bounce, data.in, data.in_length);
    } else {
      out_ = data.out;
      outLength_ = data.out_length;
    }
    io.addr = reinterpret_cast<uintptr_t>(bounce);
  }
  ~CommandData() {
    if (out_) std::memcpy(out_, bounce, outLength_);
  }
  CommandData(const CommandData &) = delete;
  CommandData &operator=(const CommandData &) = delete;

 private:
  alignas(TRX_PAGE_SIZE) static TRX_U8 bounce[UINT16_MAX + 1];
  static std::mutex bounceMutex;  // a firmware transfer sends from a thread of its own

  std::unique_lock<std::mutex> inUse_;
  void *out_ = nullptr;
  TRX_U16 outLength_ = 0;
};

alignas(TRX_PAGE_SIZE) TRX_U8 CommandData::bounce[UINT16_MAX + 1];
std::mutex CommandData::bounceMutex;

TRX_U32 execute(const _NVMEDevice &device, usr_io &io) {
  const NvmeHandle handle(Nvme_Open(&adapterList, device.name));
  if (!handle) {
    printOut(TRX_MESSAGE_ERROR, "Invalid argument: vmhba not found or vmhba not an NVM Express controller.");
    return static_cast<TRX_U32>(-EINVAL);
  }
  const int status = Nvme_AdminPassthru(handle.get(), &io);
  if (status == 0) return 0;
  printOut(TRX_MESSAGE_ERROR, "NVMEDevice_sendCommand Failed, %s.\n", std::strerror(status));
  // From the completion alone: a failure whose completion says success is a success, meant.
  return (TRX_U32{io.comp.SCT} << 8) + io.comp.SC;
}

TRX_U32 submit(const _NVMEDevice &device, usr_io &io, const Data &data) {
  if (!data.sane()) return kRefused;
  const CommandData held(io, data);
  return execute(device, io);
}

// The opcode as it travels, for those that are let through.
std::optional<TRX_U8> admittedOpcode(TRX_U8 opcode) {
  switch (opcode) {
    case TRX_NVME_GET_LOG_PAGE:
    case TRX_NVME_IDENTIFY:
    case TRX_NVME_NAMESPACE_MANAGEMENT:
    case TRX_NVME_FIRMWARE_COMMIT:
    case TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD:
    case TRX_NVME_NAMESPACE_ATTACHMENT:
    case TRX_NVME_MI_SEND:
    case TRX_NVME_MI_RECEIVE:
    case TRX_NVME_FORMAT_NVM:
    case 0xC7:  // the maker's own
      return opcode;
    case NVME_PAIR_SEND:
      return TRX_OPCODE_PAIR_SEND;
    case NVME_PAIR_RECEIVE:
      return TRX_OPCODE_PAIR_RECEIVE;
    default:
      return std::nullopt;
  }
}

void setWords(nvme_cmd &cmd, const TRX_U32 *cdw, std::size_t count) {
  static_assert(offsetof(nvme_cmd, cdw15) == offsetof(nvme_cmd, cdw10) + (kMaxWords - 1) * sizeof *cdw);
  if (count == 0) return;
  std::memcpy(reinterpret_cast<TRX_U8 *>(&cmd) + offsetof(nvme_cmd, cdw10), cdw,
              std::min(count, kMaxWords) * sizeof *cdw);
}

TRX_U32 NVMEDevice_sendCommand(_Device *device, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                               const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length) {
  if (!device || (count && !cdw)) return kRefused;
  const std::optional<TRX_U8> sent = admittedOpcode(opcode);
  if (!sent) return kRefused;
  usr_io io{};
  io.cmd.opcode = *sent;
  io.cmd.nsid = nsid;
  setWords(io.cmd, cdw, count);
  io.timeoutUs = opcode == TRX_NVME_FIRMWARE_COMMIT ? kCommitTimeoutUs : kTimeoutUs;
  return submit(self(device), io, {in, in_length, out, out_length});
}

TRX_U32 NVMEDevice_sendPassthruAdmin(_Device *device, const void *entry, const void *in, TRX_U16 in_length,
                                     void *out, TRX_U16 out_length) {
  if (!device || !entry) return kRefused;
  nvme_cmd given;
  std::memcpy(&given, entry, sizeof given);
  usr_io io{};
  io.cmd = given;
  io.cmd.cdw3 = 0;  // this and the pointers do not travel: the driver sets its own
  io.cmd.metadata = io.cmd.prp1 = io.cmd.prp2 = 0;
  io.timeoutUs = kTimeoutUs;
  return submit(self(device), io, {in, in_length, out, out_length});
}

// NVM commands are not carried on this platform: they are logged and answered with success, meant.
TRX_U32 NVMEDevice_sendNVM(_Device *device, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                           const void *, TRX_U16 in_length, void *, TRX_U16 out_length) {
  if (!device || (count && !cdw)) return kRefused;
  switch (opcode) {
    case TRX_NVME_NVM_WRITE:
    case TRX_NVME_NVM_READ:
    case TRX_NVME_NVM_WRITE_UNCORRECTABLE:
    case TRX_NVME_NVM_COMPARE:
    case TRX_NVME_NVM_WRITE_ZEROES:
      break;
    default:
      return kRefused;
  }
  nvme_admin_cmd cmd{};
  cmd.opcode = opcode;
  cmd.nsid = nsid;
  cmd.data_len = in_length ? in_length : out_length;
  if (count) {
    std::memcpy(reinterpret_cast<TRX_U8 *>(&cmd) + offsetof(nvme_admin_cmd, cdw10), cdw,
                std::min<std::size_t>(count, kMaxWords) * sizeof *cdw);
  }
  add_log(
      "NVME_IOCTL_ADMIN_CMD opcode 0x%x, data len is 0x%x, \ncdw10 0x%x, \ncdw11 0x%x,  \ncdw12 0x%x,  "
      "\ncdw13 0x%x,  \ncdw14 0x%x,  \ncdw15: 0x%x\n",
      cmd.opcode, cmd.data_len, cmd.cdw10, cmd.cdw11, cmd.cdw12, cmd.cdw13, cmd.cdw14, cmd.cdw15);
  return 0;
}

void NVMEDevice_closeHandle(_Device *device) {
  if (!device) return;
  if (device->m_lock) device->m_lock->close(device->m_lock);
  delete reinterpret_cast<_NVMEDevice *>(device);
}

_Device *NVMEDevice_getNVMEDevice(_Device *device) { return device; }

}  // namespace

_Device *CreateSimpleNVMEDeviceInstance(int fd) {
  auto *nvme = new (std::nothrow) _NVMEDevice{};
  if (!nvme) return nullptr;
  nvme->m_fd = fd;
  nvme->in_device.sendCommand = NVMEDevice_sendCommand;
  nvme->in_device.sendNVM = NVMEDevice_sendNVM;
  nvme->in_device.sendPassthruAdmin = NVMEDevice_sendPassthruAdmin;
  nvme->in_device.closeHandle = NVMEDevice_closeHandle;
  nvme->in_device.getNVMEDevice = NVMEDevice_getNVMEDevice;
  nvme->in_device.slot_id = -1;
  return &nvme->in_device;
}

_Device *CreateUnlockedNVMEDeviceInstance(const char *name) {
  _Device *device = CreateSimpleNVMEDeviceInstance(-1);
  if (!device) return nullptr;
  auto *nvme = reinterpret_cast<_NVMEDevice *>(device);
  std::snprintf(nvme->name, sizeof nvme->name, "%s", name);
  return device;
}

_Device *CreateNVMEDeviceInstance(const char *name, TRX_U8 index) {
  _Device *device = CreateUnlockedNVMEDeviceInstance(name);
  if (!device) return nullptr;
  device->m_lock = CreateTRXLockInstance();
  if (device->m_lock) {
    // One character for every index: those past '9' are simply the ones that follow it in ASCII.
    const char lockName[] = {'t', 'r', 'x', 'd', static_cast<char>('0' + index), '\0'};
    device->m_lock->init(device->m_lock, lockName);
  }
  return device;
}

bool NVMEDevice_Identify_BY_NS(const _Device *device, const void *buffer, TRX_U32 ns) {
  return !device || !buffer || (ns & 0xFFFF) < 4;
}
