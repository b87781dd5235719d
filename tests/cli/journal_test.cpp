// SPDX-License-Identifier: GPL-3.0-or-later
// The readers of the journal and of the SPI log on bytes alone.
#include <gtest/gtest.h>

#include <ctime>
#include <random>

#include "Functions/simple/journal.h"
#include "Functions/simple/spi_log.h"

namespace trx {
namespace {

using namespace std::string_literals;

std::span<const TRX_U8> bytesOf(const std::string &text) {
  return {reinterpret_cast<const TRX_U8 *>(text.data()), text.size()};
}

template <size_t N>
std::string field(const TRX_U8 (&bytes)[N]) {
  std::string text(bytes, bytes + N);
  return text.substr(0, text.find('\0'));
}

/// Events of a piece as "seq/time/msg", as they stand.
std::vector<std::string> read(const std::string &text) {
  std::vector<NVME_SA_Evt_Item> events;
  readJournal(bytesOf(text), events);
  std::vector<std::string> told;
  for (const auto &e : events)
    told.push_back(field(e.seq) + "/" + std::to_string(e.time) + "/" + field(e.msg));
  return told;
}

std::string lines(const std::vector<int> &numbers) {
  std::string text;
  for (int n : numbers) text += "[SEQ]" + std::to_string(n) + "[TIME]0[MSG]m\n";
  return text;
}

/// Sequence numbers, the newest first.
std::string newest(const std::string &text, size_t count) {
  std::vector<NVME_SA_Evt_Item> events;
  readJournal(bytesOf(text), events);
  keepNewest(events, count);
  std::string order;
  for (const auto &e : events) order += field(e.seq) + " ";
  return order;
}

TEST(Journal, ReadsLines) {
  const std::string a = "[SEQ]1[TIME]2[MSG]a\n", long60(60, 'x');
  // clang-format off
  const struct { std::string text; std::vector<std::string> events; } rows[] = {
      {std::string(4056, '\0'), {}},
      {a + "\0[SEQ]2[TIME]3[MSG]b\n"s, {"1/2/a", "2/3/b"}},  // a NUL where a line starts
      {a + "\0\0\0[SEQ]9[TIME]3[MSG]old\n"s, {"1/2/a"}},  // the end of a page that was begun anew
      {a + "\n" + a, {"1/2/a"}},  // an empty line ends it
      {"garbage\n" + a + "[TIME]1[MSG]no number\n", {"1/2/a"}},  // no tag, no event
      {"[SEQ]3[MSG]early[TIME]4\n" + a, {"1/2/a"}},  // tags in another order
      {"noise[SEQ]1[TIME]2[MSG]a\0b\n"s + a, {"1/2/a", "1/2/a"}},
      {"[SEQ]123456789[TIME]4294967295[MSG]" + long60 + "\n", {"12345678/4294967295/" + std::string(48, 'x')}},
  };
  // clang-format on
  for (const auto &row : rows) EXPECT_EQ(read(row.text), row.events) << row.text;
}

TEST(Journal, PutsTheNewestFirst) {
  const std::string wrapped = lines({101, 102, 103, 103, 54, 55, 100});
  EXPECT_EQ(newest(wrapped, 0), "103 103 102 101 100 55 54 ") << "also where a number comes twice";
  EXPECT_EQ(newest(wrapped, 4), "103 103 102 101 ");
  EXPECT_EQ(newest(lines({1, 2, 3}), 9), "3 2 1 ");
  // Numbers that are cut in the listing still tell the order.
  EXPECT_EQ(newest(lines({200000001, 200000002, 199999999, 200000000}), 1), "20000000 ");
}

TEST(Journal, TellsTimesBeforeTheYear2010AsTimeSinceBoot) {
  setenv("TZ", "IST-5:30", 1);
  tzset();
  EXPECT_EQ(_showTime(1262304000), "1262304000 seconds from the boot time.");
  EXPECT_EQ(_showTime(1262304001), "2010-01-01 05:30:01");
  EXPECT_EQ(_showTime(UINT32_MAX), "2106-02-07 11:58:15");
}

TEST(Journal, StandsAnyBytes) {
  std::mt19937 random(4);
  const std::string alphabet = "[SEQ][TIME][MSG]\n\0 9"s;
  for (int i = 0; i < 2000; ++i) {
    std::string text(random() % 4057, ' ');
    for (char &c : text)
      c = random() % 8 ? alphabet[random() % alphabet.size()] : static_cast<char>(random());
    EXPECT_LE(newest(text, 1).size(), 9u);
  }
}

TEST(SpiLog, ReadsPieces) {
  std::string payload = "\5\0\0\0\0\0\0\0a\n\0bcd"s, cut = payload.substr(0, 10);
  EXPECT_EQ(SpiLogPiece(bytesOf(payload)).text(), "a\n bc");
  EXPECT_EQ(SpiLogPiece(bytesOf(cut)).text(), "a\n") << "no more than arrived";
  EXPECT_FALSE(SpiLogPiece(bytesOf(cut)).isWhole());
  EXPECT_FALSE(SpiLogPiece(bytesOf("\0\0\1\0\0\0\0\0"s)).isLast());
  // The line ended the piece before.
  EXPECT_EQ(SpiLogPiece(bytesOf("\2\0\0\0\0\0\0\0\0\0"s), '\n').text(), " \0"s);
}

}  // namespace
}  // namespace trx
