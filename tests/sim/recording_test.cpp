// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a recording: what is written is read back, what is broken is told with its line, and
// serial numbers are gone.
#include "recording/recording.h"

#include <thread>

#include "recording/mask.h"
#include "replay/answers.h"
#include "seam.h"

namespace {

using namespace sim;
using Bytes = std::vector<uint8_t>;
using RecordingFile = Host;
using Mask = Host;

std::string titled(const std::string &text) { return std::string(kRecordingTitle) + "\n" + text; }

TEST(Recording, IsReadBackAsItWasWritten) {
  Bytes rising(40), folded(4096, 0), tail(35, 7);
  for (size_t i = 0; i < rising.size(); ++i) rising[i] = static_cast<uint8_t>(i * 7);
  folded[100] = 1;
  for (const Bytes &data : {Bytes{}, Bytes{0x41}, rising, folded, tail, Bytes(48, 0xFF)}) {
    Recorded record{
        .head = "exchange a", .note = "a note", .to = data, .from = data, .platform = -38, .driver = 5};
    record.completion.SC = 0x0B;
    record.completion.SCT = 7;
    const std::string text = recordedText(record);
    const std::vector<Recorded> read = parseRecording(titled(text + "# edited\n\n" + text));
    ASSERT_EQ(read.size(), 2U);
    const auto &[head, note, to, from, platform, driver, completion, line] = read[1];
    EXPECT_EQ(std::tie(head, to, from, platform, driver),
              std::tie(record.head, data, data, record.platform, record.driver));
    EXPECT_EQ(completion.SC, 0x0B);
  }
}

TEST(Recording, ABrokenFileIsToldWithItsLine) {
  const std::string result = "result platform=0 driver=0 completion=0,0,0,0\n";
  const std::string row = "  00000000  00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f  |x|\n";
  const std::pair<std::string, const char *> rows[] = {
      {"", "line 0: this is no recording"},
      {"trx_sim recording 2\n", "line 1: this is no recording"},
      {"trx_sim recording 1", "line 1: the file ends within"},
      {titled("list\nresult platform=0"), "line 3: the file ends within this line"},
      {titled("list\nresult platform=0 driver=-1 completion=0,0,0,0\n"), "line 3: the result is not"},
      {titled("list\nfrom 16777217\n" + result), "line 3: the length is not a number from 1 to 16777216"},
      {titled("list\nfrom 2\n  00000000  00 0g\n" + result), "line 4: '0g' is not a byte"},
      {titled("list\nfrom 2\n  00000000  00 01 02\n" + result), "line 4: the line does not have 2 bytes"},
      {titled("list\nfrom 32\n" + row + row + result), "line 5: the offset does not follow"},
      {titled("list\nfrom 32\n" + row + result), "line 3: the block has 16 bytes, not 32"},
      {titled("list\nfrom 32\n  *\n" + result), "line 4: \"*\" does not follow"},
      {titled("list\nfrom 64\n" + row + "  *\n  *\n" + result), "line 6: \"*\" does not follow"},
      {titled("list\nfrom 64\n" + row + "  *\n  fffffff0  00\n" + result), "line 6: the offset does not"},
      {titled("list\nfrom 16\n" + row + "from 16\n" + row + result), "line 5: a second block"},
  };
  for (const auto &[text, told] : rows) {
    const std::string why = refusal([&, &recording = text] { parseRecording(recording); });
    EXPECT_EQ(why.rfind(told, 0), 0U) << text << "\n" << why;
  }
  // Few lines may unfold to much.
  std::string bomb;
  for (int i = 0; i < 17; ++i) bomb += "list\nfrom 16777216\n" + row + "  *\n" + result;
  EXPECT_THROW(parseRecording(titled(bomb)), HostError);
}

TEST_F(RecordingFile, RecordsOfSeveralWritersDoNotMix) {
  const std::string path = directory + "/recording";
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

TEST_F(RecordingFile, APairReceiveIsAnsweredAsItsSendWas) {
  const std::string path = directory + "/answers";
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
}

TEST_F(Mask, TakesSerialNumbersOutOfRepliesThatHaveThem) {
  const size_t second = sizeof(NVME_PD_Info);
  // Opcode, dwords 10, 12 and 14, the pair's words, and where the serial number is, or 0: nothing is masked.
  // clang-format off
  const std::tuple<TRX_U8, TRX_U32, TRX_U32, TRX_U32, uint8_t, std::ptrdiff_t> rows[] = {
      {0x06, 1, 0, 0, 0, 4}, {0x06, 0, 0, 0, 0, 0}, {0xC2, 1, 0, 6, 0, 4}, {0xE2, 0, 0x00E1, 0, 0, 8 + 52},
      {0xCE, 0, 0, 0, 0xE0, 8 + 56}, {0xCE, 0, 0, 0, 0xE1, 8 + 16 + 52}, {0xCE, 0, 0, 0, 0xE1, 8 + 16 + second + 52}, {0xCE, 0, 0, 0, 0xE2, 0},
  };
  // clang-format on
  for (const auto &[opcode, cdw10, cdw12, cdw14, words, at] : rows) {
    usr_io uio = block(opcode, cdw12, cdw14);
    uio.cmd.cdw10 = cdw10;
    Bytes send(16), page(4096);
    send[8] = words;
    const std::string serial = "SN-4711 B           ";
    std::copy(serial.begin(), serial.end(), page.begin() + at);
    Bytes masked = page;
    if (at) std::fill_n(masked.begin() + at, 9, uint8_t{'X'});
    maskSerials(uio, send, page);
    EXPECT_EQ(page, masked) << std::hex << unsigned{opcode} << " " << cdw12 << " " << unsigned{words};
    for (Bytes part : {Bytes{}, Bytes(5, 'a'), Bytes(70, 'a')}) maskSerials(uio, send, part);
  }
}

TEST_F(Mask, LeavesOfSmbiosTheSlots) {
  const auto with = [](const std::string &structures) {
    const std::string whole = "_SM3_" + std::string(80, '\0') + structures;
    return Bytes(whole.begin(), whole.end());
  };
  const std::string slot("\x09\x05\x00\x02\x04Slot 5\0\0", 13), end("\x7F\x04\x00\x03\0\0", 6);
  Bytes whole = with(std::string("\x01\x06\x00\x01\xAB\xCDSERIAL\0\0", 14) + slot + end + "behind");
  for (size_t cut = 0; cut < whole.size(); ++cut) {
    Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(cut));
    maskSmbios(part);
  }
  maskSmbios(whole);
  EXPECT_EQ(whole,
            with(std::string("\x01\x06\x00\x01\0\0XXXXXX\0\0", 14) + slot + end + std::string(6, '\0')));
}

}  // namespace
