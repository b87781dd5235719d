// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdint>
#include <cstring>
#include <span>

#include "Functions/flash/flash.h"
#include "Public/common.h"
#include "Public/report.h"

namespace trx {
namespace {

// An image is sent in whole pages, and where a page lies in it is told in 32 bits.
constexpr size_t kLargestImage = UINT32_MAX - TRX_PAGE_SIZE + 1;

/// CRC-32 of IEEE 802.3, bit by bit: it is only looked at.
TRX_U32 continueCrc(TRX_U32 crc, std::span<const TRX_U8> bytes) {
  for (TRX_U8 byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
  }
  return crc;
}

}  // namespace

std::optional<TRX_U32> openImage(CommandFile &file, const std::string &path) {
  if (file.open_file(path, "rb") != 0) {
    tellWrong(file.howItFailed(), "failed to open file %s\n", path.c_str());
    std::fprintf(stderr, "trx_cli: %s: %s\n", file.path().c_str(), file.reason().c_str());
    return std::nullopt;
  }
  size_t length = file.get_file_length();
  if (length == 0) {
    complain("file %s is empty\n", path.c_str());
    return std::nullopt;
  }
  if (length > kLargestImage) {
    complain("file %s is too large\n", path.c_str());
    return std::nullopt;
  }
  return static_cast<TRX_U32>(length);
}

std::vector<TRX_U8> firstSegment(CommandFile &image) {
  std::vector<TRX_U8> segment(TRX_PAGE_SIZE);
  image.read_file(segment.data(), segment.size());
  image.rewind();
  return segment;
}

std::optional<TRX_U32> rawImageCrc(CommandFile &image) {
  TRX_U8 page[TRX_PAGE_SIZE];
  TRX_U32 sum = 0, crc = UINT32_MAX;
  size_t count;
  while ((count = image.read_file(page, sizeof page)) == sizeof page) {
    for (size_t at = 0; at < sizeof page; at += sizeof sum) {
      TRX_U32 word;
      std::memcpy(&word, page + at, sizeof word);
      sum += word;
    }
    crc = continueCrc(crc, page);
  }
  image.rewind();
  if (count != 0 || sum != 0) return std::nullopt;
  return __builtin_bswap32(crc);
}

}  // namespace trx
