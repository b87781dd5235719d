// SPDX-License-Identifier: GPL-3.0-or-later
// The command builders of the driver binding: each fills one command block and passes it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include "device/vmware/native/user/nvme_assert.h"
#include "device/vmware/native/user/nvme_lib.h"
#include "function/message.h"
#include "trx/trx_nvme.h"

namespace {

constexpr _TRX_U64 kShortTimeoutUs = 2'000'000;
constexpr _TRX_U64 kFormatTimeoutUs = 1'800'000'000;
constexpr TRX_U8 kNoNamespace = 0xFF;
constexpr uint32_t kChunkBytes = 8192;
constexpr TRX_U8 kNamespaceOpcode = 0xC1;
constexpr TRX_U32 kNamespaceDelete = 2;
constexpr TRX_U32 kNamespaceCreate = 3;
constexpr int kResetRequired = 0x10B;

_TRX_U64 addressOf(const void *data) { return reinterpret_cast<uintptr_t>(data); }

usr_io command(TRX_U8 opcode, TRX_U32 nsid, _TRX_U64 timeoutUs = kShortTimeoutUs) {
  usr_io io{};
  io.cmd.opcode = opcode;
  io.cmd.nsid = nsid;
  io.timeoutUs = timeoutUs;
  return io;
}

int foldedStatus(const usr_io &io) { return static_cast<int>(io.comp.SCT << 8 | io.comp.SC); }

struct Freer {
  void operator()(void *memory) const { std::free(memory); }
};

int namespaceCommand(nvme_handle *handle, int ns, TRX_U32 function, TRX_U32 cdw13, TRX_U32 cdw14) {
  usr_io io = command(kNamespaceOpcode, static_cast<TRX_U32>(ns));
  io.namespaceID = static_cast<TRX_U8>(ns);
  io.cmd.cdw12 = function;
  io.cmd.cdw13 = cdw13;
  io.cmd.cdw14 = cdw14;
  return Nvme_AdminPassthru(handle, &io);
}

// Read up to `size` bytes. @return the bytes read, or -1
ssize_t readWhole(int fd, uint8_t *data, size_t size) {
  size_t done = 0;
  while (done < size) {
    const ssize_t count = read(fd, data + done, size - done);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return -1;
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  return static_cast<ssize_t>(done);
}

int loadOpenImage(int fd, const char *fw_path, std::unique_ptr<uint8_t[]> *fw_buf, size_t *fw_size) {
  struct stat about {};
  if (fstat(fd, &about) != 0) {
    printError(TRX_MESSAGE_ERROR, "ERROR: Failed to call fstat.\n");
    return -EPERM;
  }
  if (!S_ISREG(about.st_mode)) {
    printError(TRX_MESSAGE_ERROR, "ERROR: %s is not a file.\n", fw_path);
    return -EPERM;
  }
  const auto size = static_cast<size_t>(about.st_size);
  std::unique_ptr<uint8_t[]> image(new (std::nothrow) uint8_t[size]);
  if (!image) {
    printError(TRX_MESSAGE_ERROR, "ERROR: Failed to malloc %zu bytes.\n", size);
    return -ENOMEM;
  }
  const ssize_t count = readWhole(fd, image.get(), size);
  if (count < 0) {
    printError(TRX_MESSAGE_ERROR, "ERROR: Failed to read firmware image: %s.\n", strerror(errno));
    return -EIO;
  }
  *fw_buf = std::move(image);
  *fw_size = static_cast<size_t>(count);
  return 0;
}

}  // namespace

int Nvme_Identify(nvme_handle *handle, int ns, void *id) {
  usr_io io = command(TRX_NVME_IDENTIFY, ns < 0 ? 0 : static_cast<TRX_U32>(ns));
  if (ns < 0) io.cmd.cdw10 = TRX_NVME_CNS_CONTROLLER;
  io.namespaceID = kNoNamespace;
  io.direction = TRX_FROM_CONTROLLER;
  io.length = TRX_PAGE_SIZE;
  io.addr = addressOf(id);
  return Nvme_AdminPassthru(handle, &io);
}

int Nvme_CreateNamespace_IDT(nvme_handle *handle, int ns, uint32_t snu, uint32_t nnu) {
  return namespaceCommand(handle, ns, kNamespaceCreate, snu, nnu);
}

int Nvme_DeleteNamespace_IDT(nvme_handle *handle, int ns) {
  return namespaceCommand(handle, ns, kNamespaceDelete, 0, 0);
}

int Nvme_FWDownload(nvme_handle *handle, int, const void *rom_buf, uint32_t rom_size) {
  const std::unique_ptr<uint8_t, Freer> chunk(
      static_cast<uint8_t *>(std::aligned_alloc(TRX_PAGE_SIZE, kChunkBytes)));
  if (!chunk) {
    printError(TRX_MESSAGE_ERROR, "ERROR: Failed to malloc %u bytes.\n", kChunkBytes);
    return -ENOMEM;
  }
  const auto *image = static_cast<const uint8_t *>(rom_buf);
  for (_TRX_U64 offset = 0; offset < rom_size; offset += kChunkBytes) {
    const auto length = static_cast<TRX_U32>(std::min<_TRX_U64>(rom_size - offset, kChunkBytes));
    memcpy(chunk.get(), image + offset, length);
    memset(chunk.get() + length, 0, kChunkBytes - length);
    usr_io io = command(TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD, TRX_NVME_ALL_NAMESPACES);
    io.cmd.cdw10 = length / 4 - 1;  // a tail of fewer than 4 bytes says "all ones", meant
    io.cmd.cdw11 = static_cast<TRX_U32>(offset / 4);
    io.length = length;
    io.addr = addressOf(chunk.get());
    if (const int status = Nvme_AdminPassthru(handle, &io)) return status;
  }
  return 0;
}

int Nvme_FWFindSlot(nvme_handle *handle, int *slot) {
  NVME_ASSERT(handle && slot, "handle && slot");
  NVME_ASSERT(*slot > 0 && *slot < 8, "*slot > 0 && *slot < 8");  // of the value passed in, meant
  // The log is 512 bytes long, but some devices always write 4 KiB.
  alignas(TRX_PAGE_SIZE) uint8_t page[TRX_PAGE_SIZE] = {};
  usr_io io = command(TRX_NVME_GET_LOG_PAGE, TRX_NVME_ALL_NAMESPACES);
  io.cmd.cdw10 = TRX_NVME_LOG_PAGE_CDW10(TRX_NVME_LID_FIRMWARE_SLOT, sizeof(TRX_FIRMWARE_SLOT_INFO_LOG));
  io.direction = TRX_FROM_CONTROLLER;
  io.length = sizeof(TRX_FIRMWARE_SLOT_INFO_LOG);
  io.addr = addressOf(page);
  if (Nvme_AdminPassthru(handle, &io) != 0) return -EIO;

  TRX_FIRMWARE_SLOT_INFO_LOG log;
  memcpy(&log, page, sizeof log);
  for (int i = 0; i < 7; ++i) {
    if (log.FRS[i][0] != 0) continue;
    *slot = i + 1;
    return 0;
  }
  return -EINVAL;
}

int Nvme_FWActivate(nvme_handle *handle, int slot, int action) {
  NVME_ASSERT(handle, "handle");
  NVME_ASSERT(slot > 0 && slot < 8, "slot > 0 && slot < 8");
  NVME_ASSERT(action >= 0 && action < 4, "action >= 0 && action < 4");
  usr_io io = command(TRX_NVME_FIRMWARE_COMMIT, TRX_NVME_ALL_NAMESPACES);
  io.cmd.cdw10 = static_cast<TRX_U32>((action & 3) << 3 | (slot & 7));
  io.direction = TRX_FROM_CONTROLLER;
  if (const int status = Nvme_AdminPassthru(handle, &io)) return status;
  return foldedStatus(io) == kResetRequired ? 1 : foldedStatus(io);
}

int Nvme_FormatNvm(nvme_handle *handle, int ses, int pil, int pi, int ms, int lbaf, int ns) {
  usr_io io = command(TRX_NVME_FORMAT_NVM, static_cast<TRX_U32>(ns), kFormatTimeoutUs);
  io.namespaceID = static_cast<TRX_U8>(ns);
  io.cmd.cdw10 = static_cast<TRX_U32>(lbaf + ms * 16 + pi * 32 + pil * 256 + ses * 512);
  if (const int status = Nvme_AdminPassthru(handle, &io)) return status;
  return foldedStatus(io);
}

int Nvme_FWLoadImage(const char *fw_path, std::unique_ptr<uint8_t[]> *fw_buf, size_t *fw_size) {
  if (!fw_path || !fw_buf || !fw_size) return -EINVAL;
  // Without waiting for somebody to write into a FIFO; that is refused once it is open.
  const int fd = open(fw_path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    printError(TRX_MESSAGE_ERROR, "ERROR: Failed to open firmware image.\n");
    return -ENOENT;
  }
  const int status = loadOpenImage(fd, fw_path, fw_buf, fw_size);
  if (close(fd) == 0) return status;
  printError(TRX_MESSAGE_ERROR, "ERROR: Failed to close fd: %d.\n", fd);
  return -EBADF;
}
