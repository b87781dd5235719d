// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/utility.h"

#include <trx/trx_records.h>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace trx {

namespace {

constexpr uint8_t kInvalid = 255;

/// The CRC of each byte value alone, least significant bit first.
constexpr std::array<uint32_t, 256> crc32Table = [] {
  std::array<uint32_t, 256> table = {};
  for (uint32_t byte = 0; byte < table.size(); ++byte) {
    uint32_t remainder = byte;
    for (int bit = 0; bit < 8; ++bit) remainder = (remainder >> 1) ^ ((remainder & 1) != 0 ? 0xEDB88320 : 0);
    table[byte] = remainder;
  }
  return table;
}();
static_assert(crc32Table[1] == 0x77073096 && crc32Table[255] == 0x2D02EF8D, "the table of IEEE 802.3");

struct RaidMode {
  std::string_view word;
  uint8_t code;
  const char *name;
  uint8_t supportBit;  ///< of SupportRAIDMode
};

constexpr RaidMode kRaidModes[] = {
    {"0", TRX_RAID_MODE_0, "RAID0", 0},    {"1", TRX_RAID_MODE_1, "RAID1", 1},
    {"10", TRX_RAID_MODE_10, "RAID10", 3}, {"5", TRX_RAID_MODE_5, "RAID5", 4},
    {"50", TRX_RAID_MODE_50, "RAID50", 5}, {"6", TRX_RAID_MODE_6, "RAID6", 6},
    {"60", TRX_RAID_MODE_60, "RAID60", 7}, {"JBOD", TRX_RAID_MODE_JBOD, "JBOD", 2},
};

}  // namespace

uint32_t calCRC32(const void *data, size_t length) {
  const std::span bytes(static_cast<const uint8_t *>(data), static_cast<uint16_t>(length));
  uint32_t crc = 0xFFFFFFFF;
  for (const uint8_t byte : bytes) crc = (crc >> 8) ^ crc32Table[(crc ^ byte) & 0xFF];
  return crc;
}

uint32_t pow_nvme(uint32_t base, uint32_t exponent) {
  uint64_t power = 1;
  for (auto i = static_cast<uint8_t>(exponent); i > 0; --i) {
    if (__builtin_mul_overflow(power, static_cast<uint8_t>(base), &power)) return 0;
  }
  // As a floating-point power has it, whose conversion is defined up to 63 bits; x86-64 does just this. A
  // start without the library for it is shorter.
  const auto rounded = static_cast<double>(power);
  return rounded < 0x1p63 ? static_cast<uint32_t>(static_cast<uint64_t>(rounded)) : 0;
}

char *strlwr(char *text) {
  for (char *at = text; at != nullptr && *at != '\0'; ++at) {
    if (*at >= 'A' && *at <= 'Z') *at = static_cast<char>(*at - 'A' + 'a');
  }
  return text;
}

bool isNumber(const char *text) {
  if (text == nullptr) return false;
  return std::ranges::all_of(std::string_view(text), [](char c) { return c >= '0' && c <= '9'; });
}

uint8_t chooseRaidMode(const char *text) {
  if (text == nullptr) return kInvalid;
  const auto *const row = std::ranges::find(kRaidModes, std::string_view(text), &RaidMode::word);
  return row != std::end(kRaidModes) ? row->code : kInvalid;
}

const char *raidModeWord(size_t index, uint16_t supported) {
  for (const RaidMode &mode : kRaidModes) {
    if ((supported & 1u << mode.supportBit) != 0 && index-- == 0) return mode.word.data();
  }
  return nullptr;
}

const char *RaidModeStr(uint32_t code) {
  const auto *const row = std::ranges::find(kRaidModes, static_cast<uint8_t>(code), &RaidMode::code);
  return row != std::end(kRaidModes) ? row->name : "unknown";
}

uint8_t chooseBGAAction(const char *text) {
  if (text == nullptr) return kInvalid;
  const std::string_view word = text;
  if (word == "start") return TRX_NVME_BGA_OPERATION_START;
  if (word == "stop") return TRX_NVME_BGA_OPERATION_ABORT;
  return kInvalid;
}

}  // namespace trx
