// SPDX-License-Identifier: GPL-3.0-or-later
// The pair-command door: envelopes, order, and what can be done through it.
#include <functional>

#include "seam.h"

namespace simtest {
namespace {

class Pair : public FrozenHost {
 protected:
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
      {"disks, as many as fit", {0xE1, 0}, header(0, 0, 58), 0, 3, 3},
      {"no such disk", {0xE1, 0}, header(2, 8, 1), 6, 0, 0},
      {"unknown words", {0xE0, 0x99}, {}, 5, 0, 0},
      {"too few words", {0xE0}, {}, 5, 0, 0},
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

TEST_F(Pair, HoldsBrokenEnvelopesAgainstTheCaller) {
  struct Row {
    const char *what;
    std::function<void(NVMESendData &, usr_io &)> spoil;
    const char *told;
  };
  const Row rows[] = {
      {"signature", [](NVMESendData &e, usr_io &) { e.sign[3] = 'X'; }, "signature"},
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
  EXPECT_EQ(inChild([&] { return send(pairBlock(0xCB, page)).folded() == TRX_NVME_SC_CMD_SEQ_ERROR; }), 0);
  EXPECT_NE(takeViolations().find("between the send and the receive"), std::string::npos);
  EXPECT_TRUE(send(pairBlock(0xCE, answer)).ok()) << "the answer still waits for its sender";
}

TEST_F(Pair, ASenderThatDiedIsForgiven) {
  Page page, answer;
  envelope(page, {0xE0, 0}, nullptr, 0);
  ASSERT_EQ(inChild([&] { return send(pairBlock(0xCB, page)).ok(); }), 0);
  EXPECT_EQ(pair({0xE0, 0}, nullptr, 0, answer), 0U);
}

}  // namespace
}  // namespace simtest
