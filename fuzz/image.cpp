// SPDX-License-Identifier: GPL-3.0-or-later
// Firmware files: two bytes for the length of a step, the image.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <memory>

#include "Public/utility.h"
#include "function/file.h"
#include "function/imagecheck.h"
#include "input.h"

namespace {

TRX_U32 slowCrc(TRX_U32 crc, const std::vector<uint8_t> &bytes) {
  for (uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
  }
  return crc;
}

struct CloseBuffer {
  void operator()(TRXFileBuffer *buffer) const { buffer->close(buffer); }
};

/// One file for all inputs. @return its path
std::string fileWith(const std::vector<uint8_t> &content) {
  static const int file = memfd_create("image", MFD_CLOEXEC);
  fuzz::require(ftruncate(file, 0) == 0);
  fuzz::require(pwrite(file, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
  return "'/proc/self/fd/" + std::to_string(file) + "'";
}

void readInSteps(const std::vector<uint8_t> &image, TRX_U32 step) {
  std::vector<char> path = fuzz::exactText(fileWith(image));
  const std::unique_ptr<TRXFileBuffer, CloseBuffer> buffer(CreateTRXFileBufferInstance());
  fuzz::require(buffer->open_for_read(buffer.get(), path.data(), step) == 0);
  fuzz::require(buffer->get_file_length(buffer.get()) == image.size());
  for (size_t at = 0; step != 0 && at < image.size(); at += step) {
    const TRX_U8 *data = buffer->read(buffer.get());
    fuzz::require(std::memcmp(data, &image[at], std::min<size_t>(step, image.size() - at)) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  const TRX_U32 step = input.word();
  std::vector<uint8_t> image = input.rest();
  const TRX_U32 crc = slowCrc(0xFFFFFFFF, image);
  fuzz::require(crc32(0xFFFFFFFF, image.data(), image.size()) == crc);
  if (image.size() < 65536) fuzz::require(trx::calCRC32(image.data(), image.size()) == crc);
  // A small step for a small image, for each step is a call of the system.
  readInSteps(image, step < 16 && image.size() > 512 ? step * 64 : step);
  if (!image.empty() && image.size() % TRX_PAGE_SIZE != 0)
    fuzz::require(checksumResult(image.data(), image.size()) == 1);
  const TRX_U32 unpadded = crcMake(image.data(), image.size());
  image.resize((image.size() + TRX_PAGE_SIZE - 1) / TRX_PAGE_SIZE * TRX_PAGE_SIZE);
  fuzz::require(crcMake(image.data(), image.size()) == unpadded);
  checksumResult(image.data(), image.size());
  return 0;
}
