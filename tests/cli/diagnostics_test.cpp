// SPDX-License-Identifier: GPL-3.0-or-later
// Registers, GPIO, I2C, SPI flash, the info structure, VPD target and prepared command data.
#include <gmock/gmock.h>

#include <fstream>
#include <map>

#include "Play.h"

namespace trx::test {
namespace {

using namespace ::testing;

/// A function of group E0h: its dwords from 12 on, but for those that are 0.
std::string request(const std::string &dwords, const char *data = "") {
  return "op=e2 cdw12=" + dwords + data;
}

// Rows are read as tables.
// clang-format off

TEST(Register, KeepsWhatIsWritten) {
  const std::string size = "size of optarg: 8\n", written = "Write register successful.\n";
  auto read = [](const std::string &address) { return request("109e0 cdw13=" + address, " len=4"); };
  CliSession session;
  expectRows(session, {
      {"reg -t READ -i 1 -a 256", 0, "0x00 0x00 0x00 0x00 Data:0x0, Address:0x100\nRead register successful.\n", {read("100")}},
      {"reg -t write -i 1 -a 0x100 -d 0xFFFFFFFE", 0, size + written, {request("10ae0 cdw13=100 cdw14=fffffffe")}},
      {"reg -t read -i 0x1 -a 0x100", 0,
       "CDW[0] : 0x000000e2\nCDW[10]: 0x00000000\nCDW[12]: 0x000109e0\nCDW[13]: 0x00000100\n0xfe 0xff 0xff 0xff Data:0xfffffffe, Address:0x100\nRead register successful.\n", {read("100")}, 0, true},
      {"reg -t read -i 1 -a 0x102", 0x704, "0x00 0x00 0x00 0x00 Read register failed.\n", {read("102")}},
      {"reg -t write -i 1 -a 0x101 -d 1", 0x704, size + "Write register failed.\n", {request("10ae0 cdw13=101 cdw14=1")}},
      {"reg -t write -i 1 -a 0 -d -1", 0, size + "-d : invalid data '-1'\n"},
      {"reg -t write -i 255 -a 4294967295 -d 4294967295", 0x704,
       size + "CDW[0] : 0x000000e2\nCDW[12]: 0x00ff0ae0\nCDW[13]: 0xffffffff\nCDW[14]: 0xffffffff\nWrite register failed.\n", {request("ff0ae0 cdw13=ffffffff cdw14=ffffffff")}, 0, true},
  });
  // A number that does not fit its field would reach another register.
  expectRefused(session, {
      {"reg -t read -i 65536 -a 0", "-i : invalid PCIe ID '65536'"}, {"reg -t read -i 1 -a 0x100000000", "-a : invalid address '0x100000000'"},
      {"reg -t erase", "-t : invalid type 'erase'"}, {"reg -i 1 -a 0", "reg: option -t is required"}, {"reg -t read -a 0", "reg: option -i is required"},
      {"reg -t read -i 0", "reg: option -a is required"}, {"reg -t write -i 0 -a 0", "reg: option -d is required"},
  });
  EXPECT_EQ(session.run("reg -t read -i 65535 -a 0").status, 2) << "the controller refuses it";
}

std::string infoBlock(const std::string &spiLog, const std::string &target, const std::string &gpio, const std::string &setDefault) {
  return "\n\nKXF Function:                    Off\nSRIOV Function:                  Off\nDebug message in SPI:            " + spiLog + "\nMI-VPD buffer switch:            " + target +
         "\nDebug Level:                     Normal\n[GPIO Feature]                   \n" + gpio + "  Set Default:                   " + setDefault + "\n\n\ncmd success\n";
}

std::string gpioWords(const std::string &functionSwitch, const std::string &level, const std::string &value) {
  return "  Function Switch:               " + functionSwitch + "\n  Level:                         " + level + "\n  Value:                         " + value + "\n";
}

TEST(InfoStructure, ShowsWhatWasSet) {
  const std::string factory = gpioWords("0x30", "0x30", "0x30"), set = gpioWords("0xf0", "0x80", "0x30");
  const std::string done = "GPIO setting success.\n", dump = "op=e2 cdw10=3ff cdw12=fe0 len=4096";
  CliSession session;
  expectRows(session, {
      {"dumphba -a SHOW", 0, infoBlock("Off", "EEPROM", factory, "Off"), {dump}},
      {"vpd -t SPI", 0, "CDW[0] : 0x000000e2\nCDW[12]: 0x000010e0\nCDW[14]: 0x00000001\nVPD access to SPI success.\n", {request("10e0 cdw14=1")}, 0, true},
      {"gpio --func-switch=0xf0 -1 128 --set-default YES", 0, "result: 0\n" + done, {request("111e0 cdw13=f0 cdw14=80 cdw15=30")}},
      {"dumphba --action show", 0, infoBlock("Off", "SPI", set, "On"), {dump}}, {"vpd -t eeprom", 0, "VPD access to EEPROM success.\n", {request("10e0")}},
      {"gpio --set-default=no", 0, "result: 0\n" + done, {request("11e0 cdw13=30 cdw14=30 cdw15=30")}},
      {"dumphba -a show", 0, infoBlock("Off", "EEPROM", factory, "Off"), {dump}},
      {"gpio --value=0x10 --level=0x20", 0,
       "result: 0\nCDW[0] : 0x000000e2\nCDW[12]: 0x000011e0\nCDW[13]: 0x00000030\nCDW[14]: 0x00000020\nCDW[15]: 0x00000010\n" + done, {request("11e0 cdw13=30 cdw14=20 cdw15=10")}, 0, true},
  });
  expectRefused(session, {
      {"vpd -t flash", "-t : invalid target 'flash'."}, {"vpd x", "vpd: option -t is required"}, {"dumphba -a hide", "-a : invalid action 'hide'."},
      {"dumphba -a show --outputfile /nowhere/at/all", "File is not exist."}, {"gpio --func-switch=0x31", "result: 1\nFunc-switch value is not correct: 0x00000031"},
      {"gpio --func-switch=0x80000000", "result: -2147483648\nFunc-switch value is not correct: 0x80000000"},
      {"gpio --level=8", "result: 0\nLevel value is not correct: 0x00000008"}, {"gpio --value=0x100", "result: 0\nDefault value is not correct: 0x00000100"},
      {"gpio --func-switch=x", "--func-switch: Function switch range is not correct. "}, {"gpio --set-default=maybe", "--set-default: Set default is not correct "},
      {"gpio --level=x", "--level: Level range is not correct. "}, {"gpio --value=x", "--value: Value range is not correct. "},
  });
  // The default pins come back at a restart.
  for (const char *line : {"gpio --value=0x20 --set-default=yes", "gpio --value=0x40"}) session.run(line);
  EXPECT_THAT(session.run("dumphba -a show").out, HasSubstr(gpioWords("0x30", "0x30", "0x40")));
  session.host().sim("restart");
  EXPECT_THAT(session.run("dumphba -a show").out, HasSubstr(gpioWords("0x30", "0x30", "0x20")));
}

TEST(InfoStructure, ReadsEveryFieldAtItsPlace) {
  CliSession session;
  const std::string gpio = gpioWords("0x43424140", "0x47464544", "0x4b4a4948");
  size_t lit = 0;  // the byte that is not 0, of those that are switches
  deviceSays = [&](std::span<uint8_t> page) {
    for (size_t i = 0; i < page.size(); ++i) page[i] = i >= 64 && i < 76 ? static_cast<uint8_t>(i) : 0;
    page[lit] = 8;
  };
  auto shown = [&](size_t at) { return lit = at, session.run("dumphba -a show").out; };
  const std::string dark = infoBlock("Off", "EEPROM", gpio, "Off");
  for (size_t at : {63u, 80u, 447u, 452u, 487u, 489u}) EXPECT_EQ(shown(at), dark) << at;
  for (const auto &[at, text] : std::map<size_t, std::string>{
           {448, infoBlock("On", "EEPROM", gpio, "Off")}, {451, infoBlock("Off", "SPI", gpio, "Off")}, {79, infoBlock("Off", "EEPROM", gpio, "On")},
           {449, std::regex_replace(dark, std::regex("(KXF.* )Off"), "$1On")}, {450, std::regex_replace(dark, std::regex("(SRIOV.* )Off"), "$1On")},
           {488, std::regex_replace(dark, std::regex("Normal"), "Error only")}})
    EXPECT_EQ(shown(at), text);
}

TEST(InfoStructure, IsWrittenAsItCame) {
  CliSession session;
  std::string file = session.host().directory() / "info";
  EXPECT_THAT(session.run("dumphba --outputfile \"" + file + "\"").out, EndsWith("\n\n\ncmd success\n"));
  std::string data = readFile(file);
  ASSERT_EQ(data.size(), 4096U);
  EXPECT_EQ(data.substr(64, 4), std::string("\x30\0\0\0", 4));
  // A full disk is told, and is no success.
  CommandResult full = session.run("dumphba -a show --outputfile /dev/full");
  EXPECT_EQ(full.status, 1);
  EXPECT_THAT(full.out, EndsWith("Unable to write file '/dev/full': No space left on device\n"));
  EXPECT_EQ(session.run("spi -t read --outputfile /dev/full").status, 1);
  // It is counted from 0 in the message also for those who count from 1.
  session.requests();
  session.host().sim("fault", {"add", "op=e2", "group=e0", "sub=f", "nvme=0x701"});
  expectRow(session, {"dumphba -a show", 0x701, "\nUnable to dump NVMe Controller info from NVMe Controller 0\n", {"op=e2 cdw10=3ff cdw12=fe0 len=4096"}, 1});
}

TEST(I2c, ProbesOneDevice) {
  CliSession session;
  expectRows(session, {
      {"i2c -i 0x50", 0, "Pass\n", {request("5014e0")}}, {"i2c --id=3", 0x701, "Fail\n", {request("314e0")}},
      {"i2c -i 80", 0, "CDW[0] : 0x000000e2\nCDW[12]: 0x005014e0\nPass\n", {request("5014e0")}, 0, true},
  });
  expectRefused(session, {
      {"i2c -i 65536", "-i : invalid device id '65536'"}, {"i2c -i x", "-i : invalid device id 'x'"}, {"i2c x", "i2c: option -i is required"},
  });
  for (const char *leftOver : {"i2c -i 0x50 -t 1", "i2c -a 1"})
    EXPECT_THAT(session.run(leftOver).out, StartsWith("Description:For test i2c device\ni2c -i "));
  EXPECT_EQ(session.requests(), Words{});
}

TEST(SpiFlash, IsReadAndNeverWritten) {
  CliSession session;
  const std::string file = session.host().directory() / "spi", kept = session.host().directory() / "kept";
  const std::string page = "op=2 cdw10=3ff00c0 len=4096";
  session.host().sim("fault", {"add", "op=2", "nvme=0x109"});
  std::ofstream(kept) << "kept";
  expectRows(session, {
      {"spi -t read", 0x109, "Read SPI failed.\n", {page}}, {"spi -t read --outputfile " + file, 0, "Read SPI successful.\n", {page}},
      {"spi -t write --inputfile x --outputfile " + kept, 0, "VMware does not support SPI write.\n"},
  });
  expectRefused(session, {
      {"spi -t read --outputfile /nowhere/x", "Unable to open file '/nowhere/x': No such file or directory"}, {"spi -t erase", "-t : invalid type 'erase'"},
      {"spi -1 x", "spi: option -t is required"},
  });
  EXPECT_EQ(readFile(kept), "kept");
  EXPECT_EQ(readFile(file).size(), 4096U);
  EXPECT_THAT(readFile(file), StartsWith("TRX SPI TRXA20001"));
}

TEST(PreparedData, IsWrittenForNamespaceCommands) {
  CliSession session;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(session.host().directory());
  std::string tooMany = "gen -t attachns --list=0";
  for (int i = 0; i < 2047; ++i) tooMany += ",1";
  const std::string most = tooMany.substr(0, tooMany.size() - 2), many = most.substr(0, most.size() - 2 * 1046);
  const struct { std::string line; std::string head; } rows[] = {
      {"gen -t createns --nsze=0x123456789abc --ncap=16 --flbas=0x12 --dps 2 --nmic 255", std::string("\xbc\x9a\x78\x56\x34\x12\0\0\x10\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x12\0\0\x02\xff", 31)},
      {"gen -t attachns --list=0,2,65535", std::string("\x03\0\0\0\x02\0\xff\xff", 8)},
      {many, std::string("\xe9\x03\0\0\x01\0\x01\0", 8)},
      {most, std::string("\xff\x07\0\0\x01\0", 6)},
  };
  for (const auto &row : rows) {
    EXPECT_EQ(session.run(row.line).out, "cmd success\n") << row.line;
    std::string data = readFile("prp_data");
    EXPECT_EQ(data.size(), 4096U);
    EXPECT_EQ(data.substr(0, row.head.size()), row.head) << row.line;
  }
  std::filesystem::remove("prp_data");
  expectRefused(session, {
      {tooMany, "--list : at most 2047 controller ids"},
      {"gen -t createns --nsze=x", "--nsze : invalid nsze value 'x'"}, {"gen -t createns --flbas=256", "--flbas : invalid flbas value '256'"},
      {"gen -t createns --ncap=1x", "--ncap : invalid ncap value '1x'"}, {"gen -t createns --dps=256", "--dps : invalid dps value '256'"},
      {"gen -t deletens", "-t : invalid type 'deletens'"}, {"gen -t createns --nmic=0x100", "--nmic : invalid nmic value '0x100'"},
      {"gen -t attachns --list=1,,2", "--list : controller ids should be a number"}, {"gen -t attachns --list=65536", "--list : controller ids should be a number"},
      {"gen --list=1", "gen: option -t is required"},
  });
  EXPECT_FALSE(std::filesystem::exists("prp_data"));
  std::filesystem::create_directory("prp_data");
  EXPECT_EQ(session.run("gen -t createns").status, 1);
  std::filesystem::current_path(before);
}

// clang-format on

}  // namespace
}  // namespace trx::test
