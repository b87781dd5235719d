// SPDX-License-Identifier: GPL-3.0-or-later
#include <set>

#include "api_test.h"
#include "device/vmware/NVMEDevice.h"

namespace {

using Devices = StartedTest;

TRX_U32 admin(TRX_U8 opcode, const Bytes &in = {}, TRX_U8 *out = nullptr, TRX_U16 size = 0) {
  const TRX_U32 words[] = {10, 11, 12, 13, 14, 15, 16, 17};
  return TRX_Adapter_Admin(0, opcode, 0x1234, words, 8, in.data(), TRX_U16(in.size()), out, size);
}

TEST_F(Devices, LetOnlyKnownOpcodesThrough) {
  platform.answer = success;
  const std::set<int> known = {0x02, 0x06, 0x0D, 0x10, 0x11, 0x15, 0x1D, 0x1E, 0x80, 0xC7, 251, 252};
  const std::string text = printed([&] {
    for (int opcode = 0; opcode < 256; ++opcode) {
      platform.commands.clear();
      EXPECT_EQ(admin(static_cast<TRX_U8>(opcode)), known.contains(opcode) ? 0u : 1u) << opcode;
      ASSERT_EQ(platform.commands.size(), known.count(opcode)) << opcode;
      if (platform.commands.empty()) continue;
      const usr_io &io = platform.commands[0].io;
      EXPECT_EQ(io.cmd.opcode, opcode == 251 ? 0xCB : opcode == 252 ? 0xCE : opcode);
      EXPECT_EQ(io.timeoutUs, opcode == 0x10 ? 200'000'000u : 100'000'000u);
      // The seventh word goes nowhere.
      const std::vector<TRX_U32> fields = {io.cmd.nsid, io.cmd.cdw10, io.cmd.cdw15, io.namespaceID};
      EXPECT_EQ(fields, (std::vector<TRX_U32>{0x1234, 10, 15, 0}));
    }
  });
  EXPECT_EQ(text.find("Invalid Command Opcode (Status Code: 0x1)\n"), 0u);
}

TEST_F(Devices, FoldTheStatusOfAFailure) {
  // clang-format off
  const std::tuple<Reply, TRX_U32, const char *> rows[] = {
      {{.platformStatus = 5, .sct = 1, .sc = 0x16}, 0x116, "NVMEDevice_sendCommand Failed, Input/output error.\nNamespace Identifier Unavailable (Status Code: 0x116)\n"},
      {{.driverStatus = 22, .sct = 0, .sc = 2}, 2, "NVMEDevice_sendCommand Failed, Invalid argument.\nInvalid Field in Command (Status Code: 0x2)\n"},
      {{.driverStatus = 5}, 0, "NVMEDevice_sendCommand Failed, Input/output error.\n"},
      {{.sct = 1, .sc = 1}, 0, ""},
  };
  // clang-format on
  for (const auto &[reply, status, text] : rows) {
    platform.replies.push_back(reply);
    EXPECT_EQ(printed([&, expected = status] { EXPECT_EQ(admin(2), expected); }), text);
  }
  platform.openStatus = 3;
  EXPECT_EQ(printed([&] { EXPECT_EQ(admin(2), 0xFFFFFFEAu); }),
            "Invalid argument: vmhba not found or vmhba not an NVM Express controller."
            "Unknown error (Status Code: 0xffffffea)\n");
}

TEST_F(Devices, GiveTheDriverAlignedClearedPages) {
  const Bytes junk(4096, 0xEE), in(5, 0x77);
  Bytes out(600, 0x55);
  platform.replies = {{.data = junk}, {}, {.driverStatus = 5, .sc = 6}, {.data = junk}};
  EXPECT_EQ(admin(2, {}, &out[1], 512), 0u) << "from a device that always writes 4 KiB";
  EXPECT_EQ(out, Bytes(1, 0x55) + Bytes(512, 0xEE) + Bytes(87, 0x55));
  EXPECT_EQ(admin(0x15, in), 0u);
  EXPECT_EQ(platform.commands[1].sent, in);
  EXPECT_EQ(printed([&] { admin(2, {}, &out[1], 512); }).substr(0, 4), "NVME");
  EXPECT_EQ(std::count(out.begin(), out.end(), 0x00), 512) << "a failure shows what was there before";
  alignas(4096) TRX_U8 page[4096] = {};
  EXPECT_EQ(admin(6, {}, page, sizeof page), 0u);
  EXPECT_EQ(platform.commands[3].io.addr, reinterpret_cast<uintptr_t>(page)) << "no copy is needed";
  for (const Command &command : platform.commands) EXPECT_TRUE(command.aligned);
}

TEST_F(Devices, PassOnTheDwordsOfAnEntryAndTellTheTime) {
  trx_admin_command_format entry{};
  for (TRX_U32 i = 0; i < 18; ++i) entry.CDW[i] = 0x01010100 + i;
  platform.replies.resize(2);
  EXPECT_EQ(TRX_Adapter_PassthruAdmin(0, &entry, nullptr, 0, nullptr, 0), 0u);
  std::fill(&entry.CDW[3], &entry.CDW[10], 0);
  EXPECT_EQ(bytesOf(platform.commands.at(0).io.cmd), head(bytesOf(entry), 64));
  EXPECT_EQ(platform.commands[0].io.addr, 0u);
  EXPECT_EQ(platform.commands[0].io.timeoutUs, 100'000'000u);
  platform.commands.clear();
  const NVME_Adapter_Time time = {.hi = 0x0A0B, .mid = 0x0C0D, .lw = 0x0E0F, .reserved1 = {}};
  EXPECT_EQ(TRX_Adapter_SetTime(0, &time), 0u);
  EXPECT_EQ(traffic(), "e2:0:0:0:3e0:c0d0a0b:e0f:0+0 ");
}

TEST_F(Devices, LogNvmCommandsWithoutSendingThem) {
  const TRX_U32 words[8] = {};
  for (TRX_U8 opcode = 0; opcode < 12; ++opcode) {
    const bool known = opcode == 1 || opcode == 2 || opcode == 4 || opcode == 5 || opcode == 8;
    EXPECT_EQ(TRX_Adapter_NVM(0, opcode, 1, words, 8, nullptr, 0, nullptr, 0), known ? 0u : 1u);
  }
  _Device *pair = deviceOf(0);
  EXPECT_EQ(pair->sendNVM(pair, 1, 1, nullptr, 0, nullptr, 0, nullptr, 0), 5u);
  EXPECT_EQ(pair->sendPassthruAdmin(pair, Bytes(64).data(), nullptr, 0, nullptr, 0), 1u);
}

TEST_F(Devices, PairRefusesWhatIsNotAnAnswer) {
  const std::pair<std::deque<Reply>, TRX_U32> rows[] = {
      {{{.driverStatus = 5, .sc = 6}}, 1},                // send failed: no receive follows
      {{{}, {.driverStatus = 5, .sct = 1, .sc = 7}}, 1},  // receive failed
      {{{}, envelope(0, {1, 2, 3}, "TRY")}, 1},           // signature
      {{{}, {}}, 1},                                      // nothing was written
      {{{}, envelope(7, {1, 2, 3})}, 7},                  // the firmware refuses
  };
  for (const auto &[replies, status] : rows) {
    platform.replies = replies;
    platform.commands.clear();
    NVME_Adapter_Config config{.AutoRebuildOn = 0x5A, .BGARate = 0x5A, .Reserved = {}};
    printed([&, expected = status] { EXPECT_EQ(TRX_Adapter_GetConfig(0, &config), expected); });
    EXPECT_EQ(platform.commands.size(), replies.size());
    EXPECT_EQ(config.BGARate, 0x5A) << "nothing is copied";
  }
}

TEST_F(Devices, PairForwardsFourWordsAndForgetsWhatItCarried) {
  _Device *pair = deviceOf(0);
  const TRX_U32 words[] = {0x10001, 0x20002, 3, 4, 5, 6}, noPages[][2] = {{254, 3}, {253, 4}};
  const Bytes large(4080, 0xAB), tooLarge(4096), small = {1};
  exchange(0);
  EXPECT_EQ(pair->sendCommand(pair, 250, 9, words, 6, large.data(), 4080, nullptr, 0), 0u);
  exchange(0, Bytes(4088, 0xCD));
  EXPECT_EQ(pair->sendCommand(pair, 250, 9, words, 1, small.data(), 1, nullptr, 0), 0u);
  EXPECT_EQ(pair->sendCommand(pair, 250, 9, words, 1, tooLarge.data(), 4081, nullptr, 0), 1u);
  for (const auto &other : noPages)
    EXPECT_EQ(pair->sendCommand(pair, 250, 9, other, 2, tooLarge.data(), 4096, nullptr, 0), 1u);

  ASSERT_EQ(platform.commands.size(), 4u);
  EXPECT_EQ(platform.commands[0].sent,
            (Bytes{'T', 'R', 'X', 0, 4, 16, 0xF0, 0x0F, 1, 0, 2, 0, 3, 0, 4, 0}) + large);
  EXPECT_EQ(platform.commands[2].sent,
            (Bytes{'T', 'R', 'X', 0, 1, 16, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 1}) + Bytes(4079));
  EXPECT_TRUE(platform.commands[3].aligned) << "the receive envelope still held the last answer";
}

}  // namespace
