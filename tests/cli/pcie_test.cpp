// SPDX-License-Identifier: GPL-3.0-or-later
// Configuration space reads: the engine on registers of our own, then the command on disks.
#include <gmock/gmock.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <map>

#include "CliSession.h"
#include "Functions/simple/pcie_config.h"
#include "Public/common.h"

namespace trx::test {
namespace {

using namespace ::testing;

/// An engine that answers from a map, and remembers what was asked.
class Registers : public RegisterAccess {
 public:
  std::map<TRX_U32, TRX_U32> config;  ///< by byte offset; what is not there is 0
  TRX_U32 completion = 0;
  int pollsUntilDone = 1;
  std::vector<std::pair<TRX_U32, TRX_U32>> writes;  ///< register, its last hexadecimal digits, and the data
  std::vector<TRX_U32> offsets;
  int reads = 0;

  TRX_U32 read(TRX_U32 address) override {
    ++reads;
    if (address == 0xE2C00020) return ++polls_ >= pollsUntilDone ? 1 : 0;
    if (address == 0xE2C00004) return completion;
    return address == 0xE2C00018 ? config[offsets.back()] : 0;
  }
  void write(TRX_U32 address, TRX_U32 data) override {
    writes.emplace_back(address, data);
    if (address == 0xE2C00008) offsets.push_back(data & 0xFFF);
    if (address == 0xE2C0001C) polls_ = 0;
  }

 private:
  int polls_ = 0;
};

// Rows are read as tables.
// clang-format off

TEST(PcieConfig, ReadsInSteps) {
  Registers registers;
  registers.config[0x84] = 0x12345678;
  registers.pollsUntilDone = 100;  // the last poll that counts
  PcieConfig config(registers, 5);
  TRX_U32 data = 0;
  EXPECT_TRUE(config.pio_CfgRd(0x87, &data));
  EXPECT_EQ(data, 0x12345678U);
  using Write = std::pair<TRX_U32, TRX_U32>;
  EXPECT_THAT(registers.writes, ElementsAre(Write{0xE2C00000, 0x95000004}, Write{0xE2C00008, 0x01000084}, Write{0xE2C0000C, 0}, Write{0xE2C0001C, 1}, Write{0xE2C00020, 1}));
  EXPECT_EQ(registers.reads, 1 + 100 + 2);  // read back, polls, completion and data
}

TEST(PcieConfig, TellsWhyAReadFailed) {
  const struct { TRX_U32 completion; int polls; const char *out; } rows[] = {
      {0, 101, "pulling pio ISR v !=0x1, pio read fail"}, {0x80000000, 1, "pio_CfgRd completion timeout"}, {0xF0000000, 1, "pio_CfgRd completion timeout"},
      {0x2FFFFFFF, 1, "pio_CfgRd completion retry status"}, {0x10000000, 1, "pio_CfgRd unsupport request"}, {0x40000001, 1, "pio_CfgRd completer abort"},
  };
  for (const auto &row : rows) {
    Registers registers;
    registers.completion = row.completion;
    registers.pollsUntilDone = row.polls;
    PcieConfig config(registers, 0);
    TRX_U32 data = 7;
    EXPECT_EQ(outputOf([&] { EXPECT_FALSE(config.pio_CfgRd(0, &data)); }), row.out);
    EXPECT_EQ(data, 7U);
    EXPECT_EQ(outputOf([&] { EXPECT_EQ(config.findCapability(0x10), std::nullopt); }), row.out);
  }
  Registers registers;
  EXPECT_EQ(outputOf([&] { PcieConfig(registers, 0).pio_CfgRd(0, nullptr); }), "data is NULL. ");
}

TEST(PcieConfig, FollowsCapabilityLists) {
  std::map<TRX_U32, TRX_U32> longList, longExtended;
  for (TRX_U32 i = 0; i < 16; ++i) longList[0x40 + 4 * i] = (0x44 + 4 * i) << 8 | 5;
  for (TRX_U32 i = 0; i < 72; ++i) longExtended[0x100 + 4 * i] = (0x104 + 4 * i) << 20 | 0xB;
  longList[0x7C] = 0x10, longExtended[0x100 + 4 * 71] = 1;
  std::map<TRX_U32, TRX_U32> tooLong = longList, tooLongExtended = longExtended;
  tooLong[0x7C] = 0x8005, tooLong[0x80] = 0x10;
  tooLongExtended[0x100 + 4 * 71] = 0x2200000B, tooLongExtended[0x220] = 1;
  const struct { std::map<TRX_U32, TRX_U32> config; bool extended; TRX_U32 position; size_t reads; } rows[] = {
      {{{0x40, 0x5301}, {0x50, 0x6010}}, false, 0x50, 2},  // a pointer is aligned down
      {{{0x40, 0x3C01}, {0x3C, 0x0010}}, false, 0, 1},  // below the first place
      {{{0x40, 0x70FF}, {0x70, 0x0010}}, false, 0, 1},  // no such device
      {{{0x40, 0x4001}}, false, 0, 16},  // a list that goes round
      {longList, false, 0x7C, 16}, {tooLong, false, 0, 16},
      {{{0x100, 0x14310003}, {0x140, 0x00020001}}, true, 0x140, 2}, {{{0x100, 0x03C10003}}, true, 0, 1},
      {{{0x100, 0xFFFFFFFF}}, true, 0, 1}, {longExtended, true, 0x100 + 4 * 71, 72}, {tooLongExtended, true, 0, 72},
  };
  for (const auto &row : rows) {
    Registers registers;
    registers.config = row.config;
    PcieConfig config(registers, 0);
    EXPECT_EQ(row.extended ? config.findExtendedCapability(1) : config.findCapability(0x10), row.position);
    EXPECT_EQ(registers.offsets.size(), row.reads);
  }
}

TEST(PcieConfig, TracesItsSteps) {
  Registers registers;
  registers.config = {{0x40, 0x5001}, {0x50, 0x0010}};
  dbg_enable = true;
  EXPECT_EQ(outputOf([&] { PcieConfig(registers, 0).findCapability(0x10); }),
            "CfgRd at 40 read data is 5001 \nfind cap 0x10 pos 0x40 next_pos 0x50 id 0x1\ncap 0x10 is not match id 0x1 in pos 0x40\n"
            "CfgRd at 50 read data is 10 \nfind cap 0x10 pos 0x50 next_pos 0x0 id 0x10\nfind cap 0x10 id 0x10 pos 0x50\n");
  dbg_enable = false;
}

std::string lines(const char *speed, const char *width, const char *correctable = "0x0", const char *uncorrectable = "0x0") {
  return std::string("Link Speed: ") + speed + "\n\rLink Width: " + width + "\n\rCorrectable errors: " + correctable + "\n\rUncorrectable errors: " + uncorrectable + "\n\r";
}

TEST(Pcie, ShowsLinkAndErrorsOfADisk) {
  std::filesystem::path file = std::filesystem::temp_directory_path() / ("trx-pcie-" + std::to_string(getpid()) + ".json");
  std::ofstream(file) << R"({"clock": 1, "adapters": [{"pcie": [
    {"type": "rootcomplex", "id": 0, "speed": 3, "width": 8}, {"type": "rootcomplex", "id": 1, "speed": 2, "width": 4},
    {"type": "rootcomplex", "id": 2, "speed": 1, "width": 2}, {"type": "rootcomplex", "id": 3, "speed": 4, "width": 1}],
    "disks": [{"sizeGiB": 1}, {"sizeGiB": 1, "failed": true}, {"sizeGiB": 1}, {"sizeGiB": 1}, {"sizeGiB": 1, "completion": "stuck"}]}]})";
  CliSession session(file);
  std::filesystem::remove(file);
  session.host().sim("pcie", {"2", "retry"});
  session.host().sim("pcie", {"2", "ok"});
  const struct { const char *line; int32_t status; std::string out; } rows[] = {
      {"pcie -i 0", 0, lines("Gen3 8.0 GT/s", "x8")}, {"pcie -i 1", 0, lines("Gen2 5.0 GT/s", "x4", "0x2000", "0x4000")},
      {"pcie -i 2", 0, lines("Gen1 2.5GT/s", "x2")}, {"pcie -i 3", 0, lines("Gen1 2.5GT/s", "x1")},
      {"pcie -i 4", 1, "pulling pio ISR v !=0x1, pio read fail"}, {"pcie -i 5", 1, "pio_CfgRd unsupport request"},
      {"pcie -i 253", 1, "pio_CfgRd unsupport request"}, {"pcie -i 254", 0, "-i : invalid device id '254'\n"},  // would reach another device
      {"pcie -i 0x1", 0, "-i : invalid device id '0x1'\n"}, {"pcie x", 0, "pcie: option -i is required\n"},
  };
  for (const auto &row : rows) {
    CommandResult result = session.run(row.line);
    EXPECT_EQ(result.status, row.status) << row.line;
    EXPECT_EQ(result.out, row.out) << row.line;
  }
  // Register 0 of device 1 has PCIe id 3; a read that fails counts as 0.
  session.requests();
  session.host().sim("fault", {"add", "op=e2", "group=e0", "sub=9", "nvme=0x701"});
  EXPECT_EQ(session.run("pcie -i 1").out, "Read register failed.\n" + rows[1].out);
  Words requests = session.requests();
  EXPECT_THAT(requests.at(0), EndsWith("cdw12=30ae0 cdw13=e2c00000 cdw14=91000004 cdw15=0 dir=1 len=0"));
  EXPECT_THAT(requests.at(1), EndsWith("cdw12=309e0 cdw13=e2c00000 cdw14=0 cdw15=0 dir=1 len=4"));
  session.host().sim("pcie", {"0", "timeout"});
  EXPECT_EQ(session.run("pcie -i 0").out, "pio_CfgRd completion timeout");
  EXPECT_EQ(session.host().violations(), "");
}

// clang-format on

}  // namespace
}  // namespace trx::test
