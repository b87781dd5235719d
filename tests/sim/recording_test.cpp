// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a recording: what is written is read back, what is broken is told with its line, and
// serial numbers are gone.
#include "recording/recording.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <thread>

#include "recording/mask.h"
#include "replay/answers.h"
#include "seam.h"

namespace simtest {
namespace {

using namespace sim;
using Bytes = std::vector<uint8_t>;

std::string titled(const std::string &text) { return std::string(kRecordingTitle) + "\n" + text; }

Bytes bytesOfText(const std::string &text) { return {text.begin(), text.end()}; }

TEST(Recording, IsReadBackAsItWasWritten) {
  Bytes rising(40), folded(4096, 0), tail(35, 7);
  for (size_t i = 0; i < rising.size(); ++i) rising[i] = static_cast<uint8_t>(i * 7);
  folded[100] = 1;
  for (const Bytes &data : {Bytes{}, Bytes{0x41}, rising, folded, tail, Bytes(48, 0xFF)}) {
    Recorded record{.head = "exchange vmhba2 admin op=2", .note = "a note", .to = data, .from = data};
    record.platform = -38;
    record.driver = 5;
    record.completion.SC = 0x0B;
    record.completion.SCT = 7;
    std::vector<Recorded> read =
        parseRecording(titled(recordedText(record) + "# edited\n\n" + recordedText(record)));
    ASSERT_EQ(read.size(), 2U);
    EXPECT_EQ(read[1].head, record.head);
    EXPECT_EQ(read[1].to, data);
    EXPECT_EQ(read[1].from, data);
    EXPECT_EQ(read[1].platform, -38);
    EXPECT_EQ(read[1].driver, 5U);
    EXPECT_EQ(std::memcmp(&read[1].completion, &record.completion, sizeof record.completion), 0);
  }
  const std::string text = recordedText({.head = "list", .from = folded});
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 3 + 5) << text;
}

TEST(Recording, AHeadHoldsWhatIsSentAndNoAddress) {
  usr_io uio{};
  uio.cmd.opcode = 0xE2;
  uio.cmd.cdw12 = 0x5E0;
  uio.cmd.cid = 3;
  uio.direction = 1;
  uio.length = 512;
  uio.timeoutUs = 9;
  uio.addr = 0x7000;
  EXPECT_EQ(exchangeHead("vmhba2", 1, uio),
            "exchange vmhba2 admin op=e2 nsid=0 cdw2=0 cdw10=0 cdw11=0 cdw12=5e0 cdw13=0 cdw14=0 cdw15=0 "
            "dir=1 len=512");
  uio.meta_length = 8;
  EXPECT_NE(exchangeHead("vmhba2", 2, uio).find("ioctl=2 op=e2"), std::string::npos);
  EXPECT_NE(exchangeHead("vmhba2", 2, uio).find(" metalen=8 "), std::string::npos);
  EXPECT_EQ(recordedAdapter("nvmeMgmt"), "");
  EXPECT_EQ(recordedAdapter("nvmeMgmt-vmhba2"), "vmhba2");
  EXPECT_EQ(recordedAdapter("a b\n%"), "a%20b%0a%25");
}

TEST(Recording, ABrokenFileIsToldWithItsLine) {
  const std::string result = "result platform=0 driver=0 completion=0,0,0,0\n";
  const std::string row = "  00000000  00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f  |x|\n";
  const std::pair<std::string, const char *> rows[] = {
      {"", "line 0: this is no recording"},
      {"trx_sim recording 2\n", "line 1: this is no recording"},
      {"trx_sim recording 1", "line 1: the file ends within"},
      {titled("lust\n" + result), "line 2: a record does not begin so"},
      {titled("list\n"), "line 2: the record that begins here is not whole"},
      {titled("list\nlist\n" + result),
       "line 3: neither \"to\", \"from\" nor \"result\": the record of line 2"},
      {titled("list\nresult platform=0"), "line 3: the file ends within this line"},
      {titled("list\nresult platform=0 driver=-1 completion=0,0,0,0\n"), "line 3: the result is not"},
      {titled("list\nresult platform=99999999999 driver=0 completion=0,0,0,0\n"),
       "line 3: the result is not"},
      {titled("list\nresult platform=0 driver=0 completion=0,0,0\n"), "line 3: the result is not"},
      {titled("list\nfrom 0\n" + result), "line 3: the length is not a number"},
      {titled("list\nfrom 16777217\n" + result), "line 3: the length is not a number from 1 to 16777216"},
      {titled("list\nfrom -1\n" + result), "line 3: the length is not a number"},
      {titled("list\nfrom 2\n  00000000  00 1\n" + result), "line 4: '1' is not a byte"},
      {titled("list\nfrom 2\n  00000000  00 0g\n" + result), "line 4: '0g' is not a byte"},
      {titled("list\nfrom 2\n  00000000  00\n" + result), "line 4: the line does not have 2 bytes"},
      {titled("list\nfrom 2\n  00000000  00 01 02\n" + result), "line 4: the line does not have 2 bytes"},
      {titled("list\nfrom 2\n  zero  00 01\n" + result), "line 4: the line has no offset"},
      {titled("list\nfrom 32\n" + row + row + result), "line 5: the offset does not follow"},
      {titled("list\nfrom 32\n" + row + result), "line 3: the block has 16 bytes, not 32"},
      {titled("list\nfrom 32\n  *\n" + result), "line 4: \"*\" does not follow"},
      {titled("list\nfrom 64\n" + row + "  *\n  *\n" + result), "line 6: \"*\" does not follow"},
      {titled("list\nfrom 64\n" + row + "  *\n  00000017  00\n" + result),
       "line 6: the offset does not follow"},
      {titled("list\nfrom 64\n" + row + "  *\n  fffffff0  00\n" + result),
       "line 6: the offset does not follow"},
      {titled("list\nfrom 16\n" + row + "from 16\n" + row + result), "line 5: a second block"},
  };
  for (const auto &[text, told] : rows) {
    try {
      parseRecording(text);
      ADD_FAILURE() << "read: " << text;
    } catch (const HostError &error) {
      EXPECT_EQ(std::string(error.what()).rfind(told, 0), 0U) << text << "\n" << error.what();
    }
  }
  // Few lines may unfold to much.
  std::string bomb;
  for (int i = 0; i < 17; ++i) bomb += "list\nfrom 16777216\n" + row + "  *\n" + result;
  EXPECT_THROW(parseRecording(titled(bomb)), HostError);
}

TEST(Recording, RecordsOfSeveralWritersDoNotMix) {
  std::string path = testing::TempDir() + "recording." + std::to_string(getpid());
  replaceFile(path, titled(""));
  std::vector<std::thread> writers;
  for (uint8_t i = 0; i < 4; ++i)
    writers.emplace_back([&path, i] {
      for (int n = 0; n < 25; ++n) appendRecorded(path, {.head = "list", .from = Bytes(160, i)});
    });
  for (std::thread &writer : writers) writer.join();
  EXPECT_EQ(readRecording(path).size(), 100U);
  std::filesystem::remove(path);
  EXPECT_THROW(appendRecorded(path, {.head = "list"}), HostError);
}

TEST(Answers, APairReceiveIsAnsweredAsItsSendWas) {
  const std::string path = testing::TempDir() + "answers." + std::to_string(getpid());
  const std::string send = "exchange a admin op=cb nsid=0", receive = "exchange a admin op=ce nsid=0";
  std::string text = titled("");
  for (uint8_t data : Bytes{1, 2})
    text += recordedText({.head = send, .to = {data}}) + recordedText({.head = receive, .from = {data}});
  replaceFile(path, text);
  replaceFile(path + ".used", std::string(4, '\0'));
  Answers answers(path, path + ".used");
  for (uint8_t data : Bytes{2, 1}) {
    const Bytes sent{data};
    EXPECT_NE(answers.next(send, sent, {}), nullptr);
    const Recorded *answer = answers.next(receive, {}, sent);
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer->from, sent);
    EXPECT_EQ(answers.next(receive, {}, sent), nullptr);  // each once
  }
  EXPECT_EQ(answers.next(send, Bytes{3}, {}), nullptr);
  std::filesystem::remove(path);
  std::filesystem::remove(path + ".used");
}

TEST(Mask, TakesSerialNumbersOutOfRepliesThatHaveThem) {
  struct Row {
    unsigned opcode, cdw10, cdw12, cdw14, words;
    size_t at;  ///< of the serial number, or 0: nothing is masked
  };
  const size_t second = sizeof(NVME_PD_Info);
  const Row rows[] = {
      {0x06, 1, 0, 0, 0, 4},
      {0x06, 0x00030001, 0, 0, 0, 4},
      {0x06, 0, 0, 0, 0, 0},
      {0xC2, 1, 0, 6, 0, 4},
      {0xC2, 1, 0, 2, 0, 0},
      {0xE2, 0, 0x00E0, 0, 0, 8 + 56},
      {0xE2, 0, 0x00E1, 0, 0, 8 + 52},
      {0xE2, 0, 0x01E1, 0, 0, 0},
      {0xCE, 0, 0, 0, 0x00E0, 8 + 56},
      {0xCE, 0, 0, 0, 0x00E1, 8 + 16 + 52},
      {0xCE, 0, 0, 0, 0x00E1, 8 + 16 + second + 52},
      {0xCE, 0, 0, 0, 0x00E2, 0},
  };
  for (const Row &row : rows) {
    usr_io uio{};
    uio.cmd.opcode = static_cast<TRX_U8>(row.opcode);
    uio.cmd.cdw10 = row.cdw10;
    uio.cmd.cdw12 = row.cdw12;
    uio.cmd.cdw14 = row.cdw14;
    Bytes send(16), page(4096), before;
    send[8] = static_cast<uint8_t>(row.words);
    send[10] = static_cast<uint8_t>(row.words >> 8);
    const std::string serial = "SN-4711 B           ";
    std::copy(serial.begin(), serial.end(), page.begin() + static_cast<std::ptrdiff_t>(row.at));
    before = page;
    maskSerials(uio, send, page);
    if (row.at) std::fill_n(before.begin() + static_cast<std::ptrdiff_t>(row.at), 9, uint8_t{'X'});
    EXPECT_EQ(page, before) << std::hex << row.opcode << " " << row.cdw12 << " " << row.words;
    for (size_t length : {size_t{0}, size_t{5}, size_t{70}}) {
      Bytes part(length, 'a');
      maskSerials(uio, send, part);
    }
  }
}

TEST(Mask, ASerialNumberThatAReplyTellsTwiceIsMaskedTwice) {
  usr_io uio{};
  uio.cmd.opcode = 6;
  uio.cmd.cdw10 = 1;
  Bytes page = bytesOfText("vid.SN-4711             nqn.2020:SN-4711");
  maskSerials(uio, {}, page);
  EXPECT_EQ(page, bytesOfText("vid.XXXXXXX             nqn.2020:XXXXXXX"));
}

TEST(Mask, LeavesOfSmbiosTheSlots) {
  Bytes file(85);
  std::memcpy(file.data(), "_SM3_", 5);
  const auto add = [&](Bytes header, const std::string &strings) {
    file.insert(file.end(), header.begin(), header.end());
    file.insert(file.end(), strings.begin(), strings.end());
  };
  add({1, 6, 0, 1, 0xAB, 0xCD}, std::string("SERIAL\0\0", 8));
  add({9, 5, 0, 2, 4}, std::string("Slot 5\0\0", 8));
  add({127, 4, 0, 3}, std::string("\0\0behind", 8));
  Bytes expected = file;
  std::fill_n(expected.begin() + 89, 2, uint8_t{0});
  std::fill_n(expected.begin() + 91, 6, uint8_t{'X'});
  std::fill_n(expected.end() - 6, 6, uint8_t{0});
  for (size_t cut = 0; cut < file.size(); ++cut) {
    Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(cut));
    maskSmbios(part);
  }
  maskSmbios(file);
  EXPECT_EQ(file, expected);
}

}  // namespace
}  // namespace simtest
