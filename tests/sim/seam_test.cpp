// SPDX-License-Identifier: GPL-3.0-or-later
// The management library's functions: signatures, the checks that every command meets, the standard
// commands, the functions of the pass-through door, and the pair-command door: its envelopes and its order.

#include "seam.h"

namespace {

using Seam = FrozenHost;
using Pair = FrozenHost;

TEST_F(Seam, RefusesSignaturesThatAreNotExact) {
  // clang-format off
  const std::pair<const char *, void (*)(Signature &)> rows[] = {
      {"version", [](Signature &s) { s.value.version = 0x10000; }}, {"vendor", [](Signature &s) { s.value.vendor[0] = 'v'; }},
      {"size", [](Signature &s) { s.callbacks[1].parmSizes[1] = 119; }}, {"type", [](Signature &s) { s.callbacks[1].parmTypes[1] = VMK_MGMT_PARMTYPE_OUT; }},
      {"location", [](Signature &s) { s.callbacks[0].location = 0; }}, {"synchronous", [](Signature &s) { s.callbacks[0].synchronous = 0; }},
      {"id", [](Signature &s) { s.callbacks[0].callbackId = 18; }},
  };
  // clang-format on
  for (const auto &[what, spoil] : rows) {
    Signature signature("nvmeMgmt-vmhba2");
    spoil(signature);
    void *handle = nullptr;
    EXPECT_NE(signature.init(&handle), 0) << what;
    EXPECT_NE(takeViolations().find("management signature"), std::string::npos) << what;
  }
}

TEST_F(Seam, HoldsBreachesOfTheProtocolAgainstTheCaller) {
  static Page page;
  // clang-format off
  const std::pair<const char *, void (*)(usr_io &)> rows[] = {
      {"dword 13", [](usr_io &u) { u.cmd.cdw13 = 1; }}, {"argument", [](usr_io &u) { u.cmd.cdw12 |= 1 << 16; }}, {"NSID", [](usr_io &u) { u.cmd.nsid = 1; }},
      {"4092", [](usr_io &u) { u.length = 4092; }}, {"no data to", [](usr_io &u) { u.direction = TRX_TO_CONTROLLER; }}, {"timeout", [](usr_io &u) { u.timeoutUs = 0; }},
      {"aligned", [](usr_io &u) { u.addr += 8; }}, {"reserved", [](usr_io &u) { u.reserved = 1; }}, {"metadata", [](usr_io &u) { u.meta_length = 8; }},
      {"FUSE", [](usr_io &u) { u.cmd.flags = 1; }}, {"dword 10", [](usr_io &u) { u.cmd.cdw10 = 7; }},
  };
  // clang-format on
  for (const auto &[told, spoil] : rows) {
    usr_io uio = withPage(block(0xE2, 0xE1), page);
    spoil(uio);
    const Result result = send(uio);
    EXPECT_EQ(result.folded, unsigned{TRX_NVME_SC_INVALID_FIELD}) << told;
    EXPECT_NE(result.status, 0U) << told;
    EXPECT_NE(takeViolations().find(told), std::string::npos) << told;
  }
}

TEST_F(Seam, RefusesUnknownFunctionsWithoutHoldingThemAgainstTheCaller) {
  Page page;
  EXPECT_EQ(send(block(0xE2, 0x77E0)).folded, 0x705U);
  EXPECT_EQ(send(block(0xE2, 0x2E0, 0x0700)).folded, 0x704U) << "no such rate";
  EXPECT_EQ(send(block(0x7F)).folded, unsigned{TRX_NVME_SC_INVALID_OPCODE});
  EXPECT_EQ(send(withPage(block(0x06), page)).folded, unsigned{TRX_NVME_SC_INVALID_NS});
  for (auto [cdw12, status] : {std::pair{0xE1U, 6}, {0xE2U, 7}, {0x2E3U, 7}}) {
    ASSERT_TRUE(function(cdw12, 9, page).ok());
    EXPECT_EQ(page.bytes[4], status) << std::hex << cdw12;
  }
}

TEST_F(Seam, AttachesAndDetachesNamespaces) {
  // clang-format off
  const std::tuple<const char *, uint32_t, uint32_t, std::vector<uint16_t>, unsigned> rows[] = {
      {"attach", 3, 0, {1, 0}, 0}, {"again", 3, 0, {1, 0}, 0x118},
      {"another in the list", 3, 0, {2, 0, 1}, 0}, {"private", 4, 0, {1, 1}, 0x119},
      {"detach", 4, 1, {1, 0}, 0}, {"not attached", 4, 1, {1, 0}, 0x11A},
      {"empty list", 3, 0, {0}, 0x11C}, {"no such", 99, 0, {1, 0}, 0x0B},
  };
  // clang-format on
  for (const auto &[what, nsid, select, list, status] : rows) {
    Page page;
    std::memcpy(page.bytes, list.data(), list.size() * 2);
    usr_io uio = withPage(block(0x15), page, TRX_TO_CONTROLLER);
    uio.cmd.nsid = nsid;
    uio.cmd.cdw10 = select;
    EXPECT_EQ(send(uio).folded, status) << what;
  }
}

TEST_F(Pair, ListsFollowTheHeader) {
  using Words = std::vector<uint16_t>;
  // clang-format off
  const std::tuple<const char *, Words, RequestHeader, unsigned, unsigned, unsigned> rows[] = {
      {"one volume", {0xE2, 0}, header(2, 1, 1), 0, 1, 2}, {"no such volume", {0xE2, 0}, header(2, 7, 1), 7, 0, 0},
      {"disks, as many as fit", {0xE1, 0}, header(0, 0, 58), 0, 3, 3}, {"no such disk", {0xE1, 0}, header(2, 8, 1), 6, 0, 0},
      {"unknown words", {0xE0, 0x99}, {}, 5, 0, 0}, {"too few words", {0xE0}, {}, 5, 0, 0},
      {"unknown selector", {0xE2, 0}, header(9, 0, 1), 4, 0, 0}, {"no room", {0xE2, 0}, header(0, 0, 0), 0, 0, 0},
  };
  // clang-format on
  for (const auto &[what, words, request, status, returned, next] : rows) {
    Page answer;
    EXPECT_EQ(pair(words, &request, sizeof request, answer), status) << what;
    if (status != 0) continue;
    EXPECT_EQ(answer.at<RequestHeader>(8).numReturned, returned) << what;
    EXPECT_EQ(answer.at<RequestHeader>(8).nextStart, next) << what;
  }
}

TEST_F(Pair, HoldsBrokenEnvelopesAgainstTheCaller) {
  // clang-format off
  const std::pair<const char *, void (*)(NVMESendData &, usr_io &)> rows[] = {
      {"signature", [](NVMESendData &e, usr_io &) { e.sign[3] = 'X'; }}, {"5 command words", [](NVMESendData &e, usr_io &) { e.cmd_length = 5; }},
      {"unused command word", [](NVMESendData &e, usr_io &) { e.vendor_cmd[3] = 1; }}, {"offset", [](NVMESendData &e, usr_io &) { e.data_offset = 8; }},
      {"4 bytes of data", [](NVMESendData &e, usr_io &) { e.data_length = 4; }}, {"dword 10", [](NVMESendData &, usr_io &u) { u.cmd.cdw10 = 1023; }},
      {"dword 15", [](NVMESendData &, usr_io &u) { u.cmd.cdw15 = 0; }},
  };
  // clang-format on
  for (const auto &[told, spoil] : rows) {
    Page page;
    envelope(page, {0xE0, 0});
    usr_io uio = pairBlock(0xCB, page);
    spoil(reinterpret_cast<NVMESendData &>(page.bytes), uio);
    EXPECT_EQ(send(uio).folded, unsigned{TRX_NVME_SC_INVALID_FIELD}) << told;
    EXPECT_NE(takeViolations().find(told), std::string::npos) << told;
  }
}

TEST_F(Pair, OrderIsKeptWithinAndAcrossProcesses) {
  Page page, answer;
  EXPECT_EQ(send(pairBlock(0xCE, answer)).folded, unsigned{TRX_NVME_SC_CMD_SEQ_ERROR});
  EXPECT_NE(takeViolations().find("receive without a send"), std::string::npos);

  envelope(page, {0xE0, 0});
  ASSERT_TRUE(send(pairBlock(0xCB, page)).ok());
  EXPECT_EQ(send(pairBlock(0xCB, page)).folded, unsigned{TRX_NVME_SC_CMD_SEQ_ERROR});
  EXPECT_EQ(inChild([&] { return send(pairBlock(0xCB, page)).folded == TRX_NVME_SC_CMD_SEQ_ERROR; }), 0);
  EXPECT_NE(takeViolations().find("between the send and the receive"), std::string::npos);
  EXPECT_TRUE(send(pairBlock(0xCE, answer)).ok()) << "the answer still waits for its sender";

  ASSERT_EQ(inChild([&] { return send(pairBlock(0xCB, page)).ok(); }), 0);
  EXPECT_EQ(pair({0xE0, 0}, nullptr, 0, answer), 0U) << "a sender that died is forgiven";
}

}  // namespace
