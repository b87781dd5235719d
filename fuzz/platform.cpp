// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform.h"

#include <array>
#include <cstdarg>
#include <cstring>

#include "device/vmware/native/user/nvme_driver.h"
#include "device/vmware/native/user/vmkmgmt.h"
#include "trx/trx_product.h"
#include "trx/trx_records.h"

namespace fuzz {

Platform &platform() {
  static Platform host;
  return host;
}

namespace {

constexpr unsigned kMostCommands = 100;
constexpr int kIoError = 5;

void discover(const usr_io &io, uint8_t *data) {
  constexpr size_t kDeviceIdAt = 28;
  constexpr uint8_t kIdentify = 0x06;
  const auto id = static_cast<uint16_t>(io.cmd.opcode == kIdentify ? TRX_VENDOR_ID : TRX_DEVICE_ID);
  std::memcpy(data + (io.cmd.opcode == kIdentify ? 0 : kDeviceIdAt), &id, sizeof id);
}

/// A reply is a byte that tells its kind, and for most kinds a length and data.
int answer(usr_io &io, uint8_t *data) {
  enum : unsigned { kKind = 0x07, kUnsigned = 0x08, kRepeat = 0x10, kRefused = 0x20 };
  Input &input = platform().input;
  const unsigned how = input.byte();
  if ((how & kKind) == 7) return input.byte();
  if ((how & kKind) == 6) io.status = input.byte();
  if ((how & kKind) >= 5) {
    io.comp.SCT = input.byte() & 7;
    io.comp.SC = input.byte();
  }
  if (io.direction != TRX_FROM_CONTROLLER || data == nullptr) return 0;

  // Some devices write a page whatever is asked for.
  const size_t room = std::max<size_t>(io.length, TRX_PAGE_SIZE);
  size_t at = 0;
  if (!(how & kUnsigned)) {
    const uint8_t head[8] = {'T', 'R', 'X', 0, (how & kRefused) ? input.byte() : uint8_t{0}, 0, 0, 0};
    std::memcpy(data, head, sizeof head);
    at = sizeof head;
  }
  const auto piece = input.take(input.word() % (room - at + 1));
  if (piece.empty()) return 0;
  do {
    const size_t bytes = std::min(piece.size(), room - at);
    std::memcpy(data + at, piece.data(), bytes);
    at += bytes;
  } while ((how & kRepeat) && at < room);
  return 0;
}

int command(usr_io &io) {
  auto *data = reinterpret_cast<uint8_t *>(io.addr);
  if (platform().discovery) {
    discover(io, data);
    return 0;
  }
  if (++platform().commands > kMostCommands) return kIoError;
  if (io.direction == TRX_TO_CONTROLLER && data) {
    // Read to the end; the sanitizer sees what is not there.
    static volatile uint8_t sum = 0;
    for (size_t i = 0; i < io.length; ++i) sum = static_cast<uint8_t>(sum + data[i]);
  }
  return answer(io, data);
}

void list(void *count, void *adapters) {
  std::array<nvmeAdapterInfo, 2> found{};
  const char *names[] = {"vmhba2", "vmhba3"};
  for (size_t i = 0; i < found.size(); ++i) {
    std::strcpy(found[i].name, names[i]);
    std::strcpy(found[i].signature, names[i]);
  }
  const uint32_t number = found.size();
  std::memcpy(count, &number, sizeof number);
  std::memcpy(adapters, found.data(), sizeof found);
}

}  // namespace
}  // namespace fuzz

extern "C" {

int vmk_MgmtUserInit(vmk_MgmtApiSignature *signature, uint64_t, void **handle) {
  static char driver, adapter;
  *handle = std::strcmp(signature->name, "nvmeMgmt") == 0 ? &driver : &adapter;
  return 0;
}

int vmk_MgmtUserCallbackInvokeInt(void *, uint64_t, uint64_t callbackId, ...) {
  va_list arguments;
  va_start(arguments, callbackId);
  void *first = va_arg(arguments, void *);
  void *second = va_arg(arguments, void *);
  va_end(arguments);
  if (callbackId == NVME_MGMT_ADAPTER_IOCTL) {
    usr_io io;
    std::memcpy(&io, second, sizeof io);
    const int status = fuzz::command(io);
    std::memcpy(second, &io, sizeof io);
    return status;
  }
  fuzz::list(first, second);
  return 0;
}

void vmk_MgmtUserDestroy(void *) {}

}  // extern "C"
