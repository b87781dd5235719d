// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/utility.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Public/errorMsg.h"

namespace {

TEST(Utility, Crc32StartsAtOnesIsNotInvertedAndCountsLengthIn16Bits) {
  EXPECT_EQ(trx::calCRC32("123456789", 9), 0x340BC6D9U);
  const std::vector<uint8_t> large(65536 + 9, 0xA5);
  EXPECT_EQ(trx::calCRC32(large.data(), 65536), 0xFFFFFFFFU);
  EXPECT_EQ(trx::calCRC32(large.data(), 65536 + 9), trx::calCRC32(large.data(), 9));
}

TEST(Utility, PowerCutsArgumentsTo8BitsAndTheResultTo32) {
  EXPECT_EQ(trx::pow_nvme(0x102, 0x10C), 4096U);
  EXPECT_EQ(trx::pow_nvme(3, 21), 1870418611U);  // 10460353203 modulo 2^32
  EXPECT_EQ(trx::pow_nvme(3, 34), 4077925000U);  // 16677181699666569 to the 53 bits of a double
  for (uint32_t base = 0; base < 256; ++base) {
    for (uint32_t exponent = 0; exponent < 256; ++exponent) {
      const double power = std::pow(base, exponent);
      const uint32_t low = power < 0x1p53 ? static_cast<uint32_t>(static_cast<uint64_t>(power)) : 0;
      if (power < 0x1p53 || power > 0x1p63) {
        ASSERT_EQ(trx::pow_nvme(base, exponent), low) << base << "^" << exponent;
      }
    }
  }
}

// clang-format off
TEST(Utility, LettersAndDigitsAreAscii) {
  std::string text = "VD [@`{z] \xC4 Info";
  EXPECT_STREQ(trx::strlwr(text.data()), "vd [@`{z] \xC4 info");
  for (const char *number : {"", "0123456789"}) EXPECT_TRUE(trx::isNumber(number)) << number;
  for (const char *other : {"1a", "-1", "+1", " 1", "0x1", "\xB2"}) EXPECT_FALSE(trx::isNumber(other)) << other;
  EXPECT_FALSE(trx::isNumber(nullptr));
}

TEST(Utility, WordsOfRaidLevelsAndActions) {
  const struct { const char *word; uint32_t code; const char *name; } rows[] = {
      {"0", 0, "RAID0"}, {"1", 1, "RAID1"}, {"10", 16, "RAID10"}, {"5", 5, "RAID5"}, {"50", 80, "RAID50"}, {"6", 6, "RAID6"}, {"60", 96, "RAID60"}, {"JBOD", 15, "JBOD"},
      {"jbod", 255, "unknown"}, {"01", 255, "unknown"}, {"", 255, "unknown"}, {nullptr, 255, "unknown"},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(trx::chooseRaidMode(row.word), row.code) << row.name;
    EXPECT_STREQ(trx::RaidModeStr(0x100 + row.code), row.name);  // cut to 8 bits
  }
  std::string supported;  // from bit 3 on
  for (size_t i = 0; const char *word = trx::raidModeWord(i, 0xFFF8); ++i) supported += word + std::string(" ");
  EXPECT_EQ(supported, "10 5 50 6 60 ");
  for (const auto &[word, code] : {std::pair{"start", 0}, {"stop", 3}, {"Stop", 255}}) EXPECT_EQ(trx::chooseBGAAction(word), code);
}

TEST(EventMessage, ClassesCodesAndGaps) {
  const struct { uint32_t eventClass; uint32_t code; const char *text; } rows[] = {
      {1, 0, "Background activity rate changed to %d%%"}, {1, 0x10008, "Auto-rebuild has been disable"},  // cut to 16 bits
      {2, 10, "Physical disk %d too small to be used for auto-rebuild"}, {1, 9, "Auto-rebuild has been enabled"}, {1, 1, "Unknown error"},
      {3, 0, "virtual disk %d is offline"}, {3, 1, "virtual disk %d is online"}, {3, 2, "virtual disk %d is degraded"}, {3, 3, "virtual disk %d is partially degraded"},
      {3, 4, "virtual disk %d is created"}, {3, 5, "virtual disk %d is deleted"}, {3, 7, "Import virtual disk %d completed"}, {3, 6, "Unknown error"},
      {2, 0, "Unknown error"}, {4, 9, "Not define yet."}, {5, 0, "Not define yet."}, {0, 0, "Unknown event"}, {6, 0, "Unknown event"},
  };
  for (const auto &row : rows) EXPECT_STREQ(trx::EventMessage(row.eventClass, row.code), row.text);
  const char *const ends[] = {"started", "paused", "resumed", "aborted", "completed", "is %d%% done"};
  for (const auto &[activity, first] : {std::pair<std::string, uint32_t>{"init", 10}, {"rebuild", 20}, {"media Patrol", 30}}) {
    for (uint32_t i = 0; i < 6; ++i) EXPECT_EQ(trx::EventMessage(3, first + i), activity + " on virtual disk %d " + ends[i]);
    EXPECT_STREQ(trx::EventMessage(3, first + 6), "Unknown error");
  }
}
// clang-format on

}  // namespace
