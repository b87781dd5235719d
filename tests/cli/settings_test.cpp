// SPDX-License-Identifier: GPL-3.0-or-later
// Which adapter is current, its configuration, LEDs, resets, debug level and manufacturing switches.
#include <gmock/gmock.h>

#include <map>

#include "Play.h"

namespace trx::test {
namespace {

using namespace ::testing;

// Rows are read as tables.
// clang-format off

TEST(Adapter, IsChosenByNumberOrPlace) {
  const struct { Row row; unsigned current; } rows[] = {  // which adapter is current afterwards
      {{"adapter -i 1", 0, "NVMe Controller 1 set as default CLI commands refers to.\n"}, 1}, {{"adapter -i 2", 1, "NVMe Controller 2 does not exist.\n"}, 1},
      {{"adapter -i one", 1, "-i : invalid NVMe Controller id 'one'\n"}, 1}, {{"adapter -i 99999999999", 1, "-i : invalid NVMe Controller id '99999999999'\n"}, 1},
      {{"adapter -i 3", 1, "NVMe Controller 3 does not exist.\n", {}, 1}, 1}, {{"adapter -i 0", 1, "-i : invalid NVMe Controller id '0'\n", {}, 1}, 1},
      {{"adapter -i 1", 0, "NVMe Controller 1 set as default CLI commands refers to.\n", {}, 1}, 0},
      {{"adapter -i 2", 0, "NVMe Controller 2 set as default CLI commands refers to.\n", {}, 1}, 1},
      {{"adapter -i 0 -i 1", 1, "NVMe Controller 0 set as default CLI commands refers to.\nNVMe Controller 1 set as default CLI commands refers to.\nDuplicated option specified.\n"}, 1},
      {{"adapter -i 0 --list", 0, "NVMe Controller 0 set as default CLI commands refers to.\nTotal number of NVMe Controllers: 2\nCurrent default NVMe Controller ID for CLI commands: 1\n"}, 1},
      {{"adapter -l x", 0, "Total number of NVMe Controllers: 2\nCurrent default NVMe Controller ID for CLI commands: 2\n", {}, 1}, 1}, {{"adapter -l", 1, ""}, 1},
      {{"adapter -s 03:00.000000", 0, "03:00.000000 is not NVMe Controller\n"}, 1}, {{"adapter -s '03:00.0000'", 0, "03:00.0000 is not NVMe Controller\n"}, 1},
      {{"adapter -s \"03:00.00000\"", 1, "-s : length of slot should be no more than 12 characters\n"}, 1},
      {{"adapter -i 0 -s 03:00.00", 1, "NVMe Controller 0 set as default CLI commands refers to.\nargument '-i' and '-s' not allow use in the same time.\n"}, 1},
  };
  CliSession session;
  for (const auto &each : rows) {
    expectRow(session, each.row);
    EXPECT_EQ(gCurrentAdapter, each.current) << each.row.line;
  }
}

TEST(Adapter, IsFoundByItsPlaceOnTheBus) {
  SimHost host;
  Outcome outcome = host.cli({}, "adapter -s \"04:00.00\"\nadapter --list\nadapter -s 03:00.00\nexit\n");
  for (const char *text : {"device.bus_dev_fun: 04:00.00\nnew NVMe Controller id : 1\n", "Current default NVMe Controller ID for CLI commands: 1\n",
                           "device.bus_dev_fun: 03:00.00\nnew NVMe Controller id : 0\n"})
    EXPECT_THAT(outcome.out, HasSubstr(text));
}

std::string config(int index, const char *autoRebuild, const char *rate) {
  return "NVMe Controller Index:   " + std::to_string(index) + "\nAuto Rebuild:            " + autoRebuild + "\nBGA Rate:                " + rate + "\n\n";
}

TEST(Configuration, IsReadAndWritten) {
  const std::string read = "op=e2 cdw10=3ff cdw12=1e0 len=4096", other = "vmhba3 admin " + read;
  const std::string start = config(0, "off", "Medium"), startOfAll = start + config(1, "off", "Medium");
  const std::string low = config(1, "on", "Low"), otherOne = config(1, "off", "Medium");
  auto write = [](const char *value) { return std::string("op=e2 cdw12=2e0 cdw14=") + value; };
  const char *updated = "HBA configuration is updated.\n", *jbof = "This feature is not support JBOF.\n";
  const std::vector<Row> rows = {
      // The same adapter is asked for every index.
      {"get -o hba", 0, startOfAll, {read, read}}, {"get -o HBA -i 0", 0, start, {read}}, {"get -o hba -i 1", 0, otherOne, {other}},
      {"get -o pd", 1, "-o : invalid object 'pd', should be NVMe Controller\n"}, {"get -o hba -i x", 1, "-i : id is not a number\n"},
      {"get -o hba -i 2", 1, "-i : invalid id '2'\n"}, {"get -o hba -i 0", 1, "-i : invalid id '0'\n", {}, 1},
      {"get -i 0", 1, "get: option -o is required\n"}, {"set -o hba -i 0", 0, "Invalid setting(s) for HBA\n", {read}},
      {"set -o hba -i 0 -r low", 0, updated, {read, write("2000")}}, {"set -o hba -i 1 -a off -a ON", 0, updated, {read, write("2001")}, 1},
      {"get -o hba -i 1", 0, low, {read}, 1}, {"set -o hba -i 0 -r high", 0, updated, {read, write("1")}},
      {"set -o hba -i 0 -a off -r medium", 0, updated, {read, write("200")}},
      {"set -o hba -i 0 -a maybe", 1, "-c : invalid auto rebuild mode 'maybe'\n"}, {"set -o hba -i 0 -r fast", 1, "-r : invalid BGA rate 'fast'\n"},
      {"set -o vd -i 0 -a on", 1, "-o : invalid object 'vd'\n"}, {"set -o hba -i 2 -a on", 1, "-i : invalid id '2'\n"},
      {"set -o hba -i x -a on", 1, "-i : invalid id 'x'\n"}, {"set -o hba -i 0 -a on", 1, "-i : invalid id '0'\n", {}, 1},
      {"get -o hba -i 3", 1, "-i : invalid id '3'\n", {}, 1}, {"set -o hba -a on", 1, "set: option -i is required\n"},
      {"set -i 0 -a on", 1, "set: option -o is required\n"}, {"set -o hba -i 1 -a on", 34, jbof},
  };
  CliSession session;
  expectRows(session, rows);
  EXPECT_THAT(session.run("set -c x").out, HasSubstr("set -o hba -i <NVMe Controller id>"));

  // An adapter chosen at start takes the place of -i.
  gSpecificAdapterFlag = 1;
  expectRow(session, {"set -o hba -a on", 0, updated, {read, write("201")}});
  expectRow(session, {"set -a on", 1, "set: option -i is required\n"});
  expectRow(session, {"get -o hba", 0, config(0, "on", "Medium"), {read}});
  gCurrentAdapter = 1;
  expectRow(session, {"get -o hba -i 0", 34, jbof});
  EXPECT_EQ(session.host().violations(), "");
}

TEST(Configuration, IsShownInWords) {
  CliSession session;
  const std::string read = "op=e2 cdw10=3ff cdw12=1e0 len=4096";
  for (const auto &[code, word] : std::map<uint8_t, const char *>{{0, "High"}, {1, "Unknown"}, {2, "Medium"}, {32, "Low"}, {33, "Unknown"}}) {
    deviceSays = [rate = code](std::span<uint8_t> reply) { reply[8] = 2, reply[9] = rate; };
    EXPECT_EQ(session.run("get -o hba -i 0").out, config(0, "off", word));
  }
  deviceSays = [](std::span<uint8_t> reply) { reply[0] = 'X', reply[4] = 1, reply[8] = 1, reply[9] = 32; };
  session.requests();
  // Neither command looks at the signature; what is not given is written back as it was.
  expectRow(session, {"set -o hba -i 0 -a off", 0, "CDW[0] : 0x000000e2\nCDW[10]: 0x000003ff\nCDW[12]: 0x000001e0\nCDW[0] : 0x000000e2\nCDW[10]: 0x00000000\n"
                      "CDW[12]: 0x000002e0\nCDW[14]: 0x00002000\nHBA configuration is updated.\n", {read, "op=e2 cdw12=2e0 cdw14=2000"}, 0, true});
  deviceSays = nullptr;
  session.host().sim("fault", {"add", "op=e2", "group=e0", "sub=1", "nth=2", "nvme=0x10b"});
  expectRow(session, {"get -o hba", 0xB, config(0, "off", "Low") + "\nUnable to get configuration of NVMe Controller 255\n", {read, read}});
}

TEST(Configuration, AsksOnlyTheFirstTwoAdaptersByNumber) {
  CliSession session("adapters33");
  expectRow(session, {"get -o hba -i 2", 1, "\nUnable to get configuration of NVMe Controller 2\n"});
  expectRow(session, {"get -o hba -i 3", 1, "\nUnable to get configuration of NVMe Controller 2\n", {}, 1});
}

TEST(DeviceControl, SendsWhatWasAsked) {
  const char *led = "LED control success\n", *reset = "Reset success\n";
  auto sent = [](const char *words) { return Words{std::string("op=e2 ") + words}; };
  const std::vector<Row> rows = {
      {"led -o rc -i 2 -a qb", 0, led, sent("cdw12=7e1 cdw14=30002")}, {"led -o EP -i 1 -a ON", 0, led, sent("cdw12=7e0 cdw14=10000"), 1},
      {"led -o rc -i 3 -a sb", 0, led, sent("cdw12=7e1 cdw14=20003")}, {"led -o rc -i 3 -a off", 0, led, sent("cdw12=7e1 cdw14=3")},
      {"led -o ep -i 0 -a on", 0, "-i : invalid id '0'\n", {}, 1}, {"reset -t device", 0, reset, sent("cdw12=8e1")},
      {"reset -i 2", 0, reset, sent("cdw12=8e1 cdw14=2")}, {"reset -i 3 -a on", 0, reset, sent("cdw12=8e1 cdw14=2"), 1},
      {"reset -i 0 -t perstn", 0, reset, sent("cdw12=8e1 cdw14=20000")}, {"reset -t power -a cycle -i 1", 0, reset, sent("cdw12=8e1 cdw14=10001")},
      {"reset -t power -a off -i 2", 0, reset, sent("cdw12=8e1 cdw14=2010001"), 1}, {"reset -t power --action=on -i 1", 0, reset, sent("cdw12=8e1 cdw14=1010001")},
      {"reset -i 2 -t power -a on", 1, "Power Pin ID only support 0 or 1\n"}, {"reset -i 3 -t power -a on", 1, "Power Pin ID only support 1 or 2\n", {}, 1},
      {"reset -i 65536", 0x706, "Reset failed.\n", sent("cdw12=8e1 cdw14=ffff"), 1},
      {"led -o rc -i 4 -a off", 0x704, "CDW[0] : 0x000000e2\nCDW[12]: 0x000007e1\nCDW[14]: 0x00000004\nLED control failed.\n", sent("cdw12=7e1 cdw14=4"), 0, true},
      {"reset -i 1 -t perstn -a on", 0, "CDW[0] : 0x000000e2\nCDW[12]: 0x000008e1\nCDW[14]: 0x01020001\nReset success\n", sent("cdw12=8e1 cdw14=1020001"), 0, true},
      {"reset -i 1 -t PERSTN -a off", 0, reset, sent("cdw12=8e1 cdw14=2020001")}, {"reset -i 0 -t device", 0, "-i : invalid device id '0'\n", {}, 1},
      {"debuglv -t 1", 0, "CDW[0] : 0x000000e2\nCDW[12]: 0x000112e0\ndebug level access to error only success.\n", sent("cdw12=112e0"), 0, true},
      {"debuglv -t 0", 0, "debug level access to normal success.\n", sent("cdw12=12e0")},
      {"kxf -a ON", 0, "KXF enable success. Please shutdown and boot your system to make function work as normal.\n", sent("cdw12=de0 cdw14=1")},
      {"protect -a on", 0, "Protect enable success. Please shutdown and boot your system to make function work as normal.\n", sent("cdw12=15e0 cdw14=1")},
      {"sriov -a off", 0, "SRIOV disable success. Please shutdown and boot your system to make function work as normal.\n", sent("cdw12=ee0")},
  };
  CliSession session;
  expectRows(session, rows);
  expectRefused(session, {
      {"led -o xy -i 0 -a on", "-m : invalid object 'xy'."}, {"led -o ep -i -1 -a on", "-i : invalid id '-1'"},
      {"led -o ep -i 65536 -a on", "-i : invalid id '65536'"}, {"led -o ep -i 0 -a blink", "-a : invalid action 'blink'."},
      {"led -i 0 -a on", "led: option -o is required"}, {"led -o ep -a on", "led: option -i is required"},
      {"led -o ep -i 0", "led: option -a is required"}, {"reset -t power --action", "-a : invalid action ''."},
      {"reset -t power -i 7", "reset: option -a is required"}, {"reset -t device -a on", "Option action is not allow."},
      {"reset -t warm", "-t : invalid type 'warm'."}, {"reset -i 65536", "-i : invalid device id '65536'"},
      {"reset -i x", "-i : invalid device id 'x'"}, {"reset -a hold", "-a : invalid action 'hold'."}, {"debuglv -t 2", "-t : invalid target '2'."},
      {"debuglv x", "debuglv: option -t is required"}, {"kxf -a maybe", "-a : invalid action 'maybe'."}, {"sriov x", "sriov: option -a is required"},
  });
  session.run("--debug");
  EXPECT_EQ(session.run("kxf -a off").out, "CDW[0] : 0x000000e2\nCDW[12]: 0x00000de0\nCDW[14]: 0x00000000\n"
            "KXF disable success. Please shutdown and boot your system to make function work as normal.\n");
  EXPECT_EQ(session.host().violations(), "");
}

TEST(DeviceControl, IsKeptByTheController) {
  CliSession session;
  auto shown = [&] { return session.host().sim("show").out; };
  for (const char *line : {"led -o rc -i 2 -a qb", "debuglv -t 1", "kxf -a on", "sriov -a on"}) session.run(line);
  EXPECT_THAT(shown(), HasSubstr("debug level error only, switches on: none (after a restart: kxf sriov)\n  LED of root complex 2: quick blink\n"));
  session.host().sim("restart");
  EXPECT_THAT(shown(), HasSubstr("switches on: kxf sriov\n"));
  session.run("kxf -a off");
  session.host().sim("restart");
  EXPECT_THAT(shown(), HasSubstr("switches on: sriov\n"));

  // A disk whose reset line is held, or whose power pin is off, is gone until both let go.
  EXPECT_THAT(session.run("info -o pd -i 3").out, HasSubstr("B2K80011920"));
  for (const char *line : {"reset -i 3 -t perstn -a on", "reset -i 1 -t power -a off", "reset -i 3 -t perstn -a off"}) session.run(line);
  session.requests();
  expectRow(session, {"info -o pd -i 3", 0, "\nUnable to get info of PD\n", {"op=e2 cdw12=e1 cdw14=3 len=4096"}});
  EXPECT_THAT(shown(), HasSubstr("\"scratch\", RAID code 0x0, 512 KiB stripe, 1490 GiB, offline, members missing 4"));
  session.run("reset -i 1 -t power -a on");
  EXPECT_THAT(session.run("info -o pd -i 3").out, HasSubstr("B2K80011920"));
  EXPECT_EQ(session.run("reset -i 9 -t perstn").status, 0x706);
  EXPECT_EQ(session.run("led -o ep -i 5 -a on").status, 0x704);
  EXPECT_EQ(session.host().violations(), "");
}

TEST(Configuration, DrivesBackgroundActivities) {
  CliSession session("clockwork");
  auto volume = [&](const std::string &id) { return session.run("info -o vd -i " + id).out; };
  // One percent a second at high rate, a half of it at medium, a tenth at low.
  const struct { const char *rate, *seconds, *done; } rows[] = {{"high", "10", "10%"}, {"medium", "10", "15%"}, {"low", "50", "20%"}};
  for (const auto &row : rows) {
    session.run(std::string("set -o hba -i 0 -r ") + row.rate);
    session.host().sim("advance", {row.seconds});
    EXPECT_THAT(volume("0"), HasSubstr(std::string("Initializing is running in ") + row.done));
  }
  // A lost member is replaced only when automatic rebuild is on.
  session.run("reset -i 3 -t perstn -a on");
  EXPECT_THAT(volume("1"), Not(HasSubstr("Rebuilding")));
  session.run("set -o hba -i 0 -a on -r high");
  EXPECT_THAT(volume("1"), HasSubstr("Rebuilding is running in 0%"));
  session.host().sim("advance", {"100"});
  EXPECT_THAT(volume("1"), HasSubstr("Functional"));
  EXPECT_EQ(session.host().violations(), "");
}

// clang-format on

}  // namespace
}  // namespace trx::test
