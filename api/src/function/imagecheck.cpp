// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/imagecheck.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace {

// Row 0 is the usual byte table. Row n takes a byte that lies n bytes further from the end, so that
// eight bytes can be taken in one step: images have tens of megabytes.
constexpr std::size_t kStride = 8;
using CrcTable = std::array<std::array<TRX_U32, 256>, kStride>;

constexpr CrcTable makeTable() {
  CrcTable table{};
  for (TRX_U32 byte = 0; byte < 256; ++byte) {
    TRX_U32 crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    table[0][byte] = crc;
  }
  for (std::size_t row = 1; row < kStride; ++row) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const TRX_U32 crc = table[row - 1][byte];
      table[row][byte] = crc >> 8 ^ table[0][crc & 0xFF];
    }
  }
  return table;
}

constexpr CrcTable crc_tab = makeTable();

}  // namespace

TRX_U32 crc32(TRX_U32 crc, const void *data, std::size_t length) {
  const auto *bytes = static_cast<const TRX_U8 *>(data);
  for (; length >= kStride; length -= kStride, bytes += kStride) {
    uint64_t eight = 0;
    std::memcpy(&eight, bytes, sizeof eight);
    eight ^= crc;
    crc = 0;
    for (std::size_t i = 0; i < kStride; ++i) crc ^= crc_tab[kStride - 1 - i][eight >> (8 * i) & 0xFF];
  }
  for (; length; --length) crc = crc >> 8 ^ crc_tab[0][(crc ^ *bytes++) & 0xFF];
  return crc;
}

TRX_U32 crcMake(const void *data, std::size_t length) {
  static constexpr TRX_U8 kZeros[TRX_PAGE_SIZE] = {};
  const std::size_t missing = (TRX_PAGE_SIZE - length % TRX_PAGE_SIZE) % TRX_PAGE_SIZE;
  return __builtin_bswap32(crc32(crc32(0xFFFFFFFF, data, length), kZeros, missing));
}

TRX_U32 checksumResult(const void *words, std::size_t length) {
  if (length % TRX_PAGE_SIZE != 0) return 1;
  const auto *bytes = static_cast<const TRX_U8 *>(words);
  TRX_U32 sum = 0;
  for (std::size_t at = 0; at < length; at += sizeof sum) {
    TRX_U32 word = 0;
    std::memcpy(&word, bytes + at, sizeof word);
    sum += word;
  }
  return sum;
}
