// SPDX-License-Identifier: GPL-3.0-or-later
// The pair-command door: envelopes, order, and what can be done through it.
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "seam.h"

namespace simtest {
namespace {

class Pair : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    makeFrom("frozen.json");
  }
  static RequestHeader header(uint8_t type, uint16_t start, uint8_t count) {
    RequestHeader header{};
    header.requestType = type;
    header.start = start;
    header.numRequested = count;
    return header;
  }
};

TEST_F(Pair, ListsFollowTheHeader) {
  struct Row {
    const char *what;
    std::vector<uint16_t> words;
    RequestHeader header;
    unsigned status, returned, next;
  };
  const Row rows[] = {
      {"one volume", {0xE2, 0}, header(2, 1, 1), 0, 1, 2},
      {"no such volume", {0xE2, 0}, header(2, 7, 1), 7, 0, 0},
      {"volumes from 1", {0xE2, 0}, header(0, 1, 10), 0, 3, 4},
      {"disks, as many as fit", {0xE1, 0}, header(0, 0, 58), 0, 3, 3},
      {"the rest of the disks", {0xE1, 0}, header(0, 6, 3), 0, 2, 8},
      {"no such disk", {0xE1, 0}, header(2, 8, 1), 6, 0, 0},
      {"names", {0xE2, 1}, header(0, 0, 2), 0, 2, 2},
      {"activities", {0xE3, 2}, header(2, 0, 1), 0, 1, 1},
      {"unknown selector", {0xE2, 0}, header(9, 0, 1), 4, 0, 0},
      {"no room", {0xE2, 0}, header(0, 0, 0), 0, 0, 0},
  };
  for (const Row &row : rows) {
    Page answer;
    EXPECT_EQ(pair(row.words, &row.header, sizeof row.header, answer), row.status) << row.what;
    if (row.status != 0) continue;
    auto head = answer.at<RequestHeader>(8);
    EXPECT_EQ(head.numReturned, row.returned) << row.what;
    EXPECT_EQ(head.nextStart, row.next) << row.what;
  }
}

TEST_F(Pair, BothDoorsGiveTheSame) {
  Page direct, paired;
  ASSERT_TRUE(function(0xE0, 0, direct).ok());
  ASSERT_EQ(pair({0xE0, 0}, nullptr, 0, paired), 0U);
  EXPECT_EQ(std::memcmp(direct.bytes + 8, paired.bytes + 8, sizeof(NVME_Adapter_Info)), 0);
  ASSERT_TRUE(function(0x0101E5, 0, direct).ok());
  ASSERT_EQ(pair({0xE5, 1, 1}, nullptr, 0, paired), 0U);
  EXPECT_EQ(std::memcmp(direct.bytes + 8, paired.bytes + 8, 4 * sizeof(NVME_NS_Info)), 0);
  EXPECT_EQ(direct.at<NVME_NS_Info>(8).NSID, 2);
}

TEST_F(Pair, HoldsBrokenEnvelopesAgainstTheCaller) {
  struct Row {
    const char *what;
    std::function<void(NVMESendData &, usr_io &)> spoil;
    const char *told;
  };
  const Row rows[] = {
      {"signature", [](NVMESendData &e, usr_io &) { e.sign[3] = 'X'; }, "signature"},
      {"no words", [](NVMESendData &e, usr_io &) { e.cmd_length = 0; }, "0 command words"},
      {"too many words", [](NVMESendData &e, usr_io &) { e.cmd_length = 5; }, "5 command words"},
      {"unused word", [](NVMESendData &e, usr_io &) { e.vendor_cmd[3] = 1; }, "unused command word"},
      {"data offset", [](NVMESendData &e, usr_io &) { e.data_offset = 8; }, "offset"},
      {"data length", [](NVMESendData &e, usr_io &) { e.data_length = 4; }, "4 bytes of data"},
      {"dword 10", [](NVMESendData &, usr_io &u) { u.cmd.cdw10 = 1023; }, "dword 10"},
      {"dword 15", [](NVMESendData &, usr_io &u) { u.cmd.cdw15 = 0; }, "dword 15"},
  };
  for (const Row &row : rows) {
    Page page;
    envelope(page, {0xE0, 0}, nullptr, 0);
    usr_io uio = pairBlock(0xCB, page);
    row.spoil(reinterpret_cast<NVMESendData &>(page.bytes), uio);
    EXPECT_EQ(send(uio).folded(), unsigned{TRX_NVME_SC_INVALID_FIELD}) << row.what;
    EXPECT_NE(takeViolations().find(row.told), std::string::npos) << row.what;
  }
}

TEST_F(Pair, OrderIsKeptWithinAndAcrossProcesses) {
  Page page, answer;
  EXPECT_EQ(send(pairBlock(0xCE, answer)).folded(), unsigned{TRX_NVME_SC_CMD_SEQ_ERROR});
  EXPECT_NE(takeViolations().find("receive without a send"), std::string::npos);

  envelope(page, {0xE0, 0}, nullptr, 0);
  ASSERT_TRUE(send(pairBlock(0xCB, page)).ok());
  EXPECT_EQ(send(pairBlock(0xCB, page)).folded(), unsigned{TRX_NVME_SC_CMD_SEQ_ERROR});
  pid_t child = fork();
  if (child == 0) _exit(send(pairBlock(0xCB, page)).folded() == TRX_NVME_SC_CMD_SEQ_ERROR ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
  EXPECT_NE(takeViolations().find("between the send and the receive"), std::string::npos);
  EXPECT_TRUE(send(pairBlock(0xCE, answer)).ok()) << "the answer still waits for its sender";
}

TEST_F(Pair, ASenderThatDiedIsForgiven) {
  pid_t child = fork();
  if (child == 0) {
    Page page;
    envelope(page, {0xE0, 0}, nullptr, 0);
    _exit(send(pairBlock(0xCB, page)).ok() ? 0 : 1);
  }
  int status = -1;
  waitpid(child, &status, 0);
  ASSERT_EQ(status, 0);
  Page answer;
  EXPECT_EQ(pair({0xE0, 0}, nullptr, 0, answer), 0U);
}

TEST_F(Pair, UnknownWordsAreNotSupported) {
  Page answer;
  EXPECT_EQ(pair({0xE0, 0x99}, nullptr, 0, answer), 5U);
  EXPECT_EQ(pair({0xE0}, nullptr, 0, answer), 5U);
}

TEST_F(Pair, EventsComeInFixedLayoutToo) {
  NVME_VD_Delete gone{.ID = 2, .ClearMBR = 0, .Reserved = {}};
  ASSERT_EQ(pair({0xE2, 4}, gone), 0U);
  Page answer;
  ASSERT_EQ(pair({0xE4, 1}, nullptr, 0, answer), 0U);
  EXPECT_EQ(answer.at<NVME_Event_Status>(8).posEmptySlotInPage, 6);
  std::vector<uint8_t> page(sizeof(NVMESendData::data), 0);
  ASSERT_EQ(pair({0xFE, 4}, page.data(), page.size(), answer), 0U);
  auto event = answer.at<NVME_Event_Item>(8 + 4 + 5 * sizeof(NVME_Event_Item));
  EXPECT_EQ(event.Class, TRX_NVME_EVT_CLASS_VD);
  EXPECT_EQ(event.Code, 5);
  EXPECT_EQ(event.DeviceID, 2);
  EXPECT_NE(journal().find("[MSG]virtual disk 2 is deleted\n"), std::string::npos);
}

TEST_F(Pair, TheSpiLogFillsWhenItIsOnAndReadsInPieces) {
  NVME_Debug_Dump_Config on{.dumpOn = 1, .reserved = {}};
  ASSERT_EQ(pair({0xFE, 3}, on), 0U);
  for (unsigned i = 0; i < 200; ++i) {
    NVME_Adapter_Config config{};
    config.BGARate = static_cast<TRX_U8>(i % 2 ? TRX_BGA_RATE_HIGH : TRX_BGA_RATE_LOW);
    ASSERT_EQ(pair({0xE0, 2}, config), 0U);
  }
  std::string text;
  for (int pieces = 0; pieces < 10; ++pieces) {
    Page answer;
    ASSERT_EQ(pair({0xFE, 0}, nullptr, 0, answer), 0U);
    auto piece = answer.at<NVME_Debug_Dump_Status>(8);
    if (piece.debugDumpBuffSize == 0) break;
    ASSERT_LE(piece.debugDumpBuffSize, 4080U);
    text.append(reinterpret_cast<char *>(answer.bytes) + 16, piece.debugDumpBuffSize);
  }
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 2 * 200) << "each command, and what it did";
}

}  // namespace
}  // namespace simtest
