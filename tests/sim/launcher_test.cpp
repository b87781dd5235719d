// SPDX-License-Identifier: GPL-3.0-or-later
// trx_sim as a person uses it.
#include <sys/stat.h>

#include <chrono>
#include <fstream>
#include <regex>
#include <set>

#include "seam.h"

namespace {

struct Output {
  std::string text;
  int status;
};

class Launcher : public Host {
 protected:
  ~Launcher() override { run("reset " + state()); }  // semaphores lie elsewhere
  /// Runs trx_sim; standard error joins the output.
  Output run(const std::string &arguments) const {
    const std::string host =
        "unset TRX_SIM_STATE; export XDG_STATE_HOME=" + directory + "; " TRX_SIM_PROGRAM " ";
    FILE *pipe = popen((host + arguments + " 2>&1").c_str(), "r");
    Output output{};
    for (int byte; (byte = fgetc(pipe)) != EOF;) output.text += static_cast<char>(byte);
    output.status = WEXITSTATUS(pclose(pipe));
    return output;
  }
  /// Runs a verb on the state that in-process calls see.
  Output hand(std::string line) const { return run(line.insert(line.find(' '), " " + state())); }
  std::string state() const { return "--state " + directory + " "; }
  static std::string topology(const char *name) {
    return std::string("--topology ") + TRX_SIM_TOPOLOGIES + "/" + name + " ";
  }
};

TEST_F(Launcher, KeepsToTheTopologyOfTheStateAndWritesNothingElseIntoIt) {
  std::string text = run("run " + state() + topology("adapters33.json") + "-- lspci -p").text;
  EXPECT_LT(text.find("vmhba10\n"), text.find("vmhba1\n")) << "the last match must be the right one";
  // So much that it is written while the adapters' files are open.
  const std::string shown = run("show " + state()).text;
  for (const char *closed : {">&-", "0>&- >&-", "0>&- >&- 2>&-"}) run("show " + state() + closed + "; true");
  EXPECT_EQ(run("show " + state()).text, shown);
  EXPECT_EQ(run("run " + state() + "-- sh -c 'exit 7'").status, 7);
  Output other = run("run " + state() + topology("empty.json") + "-- true");
  EXPECT_EQ(other.status, 2);
  EXPECT_NE(other.text.find("trx_sim reset --state " + directory), std::string::npos) << other.text;
  EXPECT_EQ(run("reset " + state() + topology("empty.json")).status, 0);
  EXPECT_EQ(run("show " + state()).text.find("volume"), std::string::npos);
}

TEST_F(Launcher, WrongInputIsTold) {
  const std::pair<const char *, const char *> rows[] = {
      {"", "say what to do"},
      {"show --colour red", "option '--colour' is not known"},
      {"reset --topology /nowhere.json", "/nowhere.json: no such file"},
      {"run -- /no/such/program", "No such file or directory"},
  };
  for (const auto &[arguments, told] : rows) {
    const Output output = run(arguments);
    EXPECT_EQ(output.status, 2) << arguments;
    EXPECT_NE(output.text.find(told), std::string::npos) << arguments << ": " << output.text;
  }
}

TEST_F(Launcher, SemaphoresOfAHostAreItsOwnAndGoWithAReset) {
  const std::string reset = "reset " + state(), within = "run " + state() + "-- ";
  for (const std::string &again : {reset, reset, within + TRX_SIM_PROGRAM + " reset"}) {
    run(again);
    EXPECT_EQ(run(within + TRX_SIM_SEMAPHORE_PROBE).text, "made\n") << again;
    EXPECT_EQ(run(within + TRX_SIM_SEMAPHORE_PROBE).text, "found\n") << again;
  }
  run(reset);
}

TEST_F(Launcher, TouchesNoDirectoryThatIsNotItsOwn) {
  const std::set<std::string> files{"host",    "topology.json", "faults", "a.state",
                                    "b.image", "c.tmp",         "d.lock"};
  for (const std::string &file : files) std::ofstream(directory + "/" + file) << "mine";
  for (std::string verb : {"show", "reset", "restart", "lspci", "run -- true", "fault clear",
                           "fault add ones", "advance 1", "pull 0", "insert 0", "pcie 0 ok", "fail 0",
                           "insert 0 --serial S", "smart 0 temperature=1", "latency 1"}) {
    const Output output = run(verb.insert(std::min(verb.find(' '), verb.size()), " " + state()));
    EXPECT_EQ(output.status, 2) << verb;
    EXPECT_NE(output.text.find(directory + ": "), std::string::npos) << output.text;
    EXPECT_EQ(std::count(output.text.begin(), output.text.end(), '\n'), 1) << output.text;
  }
  std::set<std::string> left;
  for (const auto &file : std::filesystem::directory_iterator(directory)) left.insert(file.path().filename());
  EXPECT_EQ(left, files);
}

TEST_F(Launcher, AnImageGoesIntoTheFileThatIsThere) {
  const std::string file = directory + "/file", link = directory + "/link", pipe = directory + "/pipe";
  std::ofstream(file) << std::string(9000, 'x');
  std::filesystem::create_symlink("file", link);
  EXPECT_EQ(run("image " + link + " --size 4096").status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(std::filesystem::file_size(file), 4096U);
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_NE(run("image " + pipe).text.find(pipe + ": is no regular file"), std::string::npos);
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(Launcher, ARestartLosesHalfOfAnImageAndShowTellsWhatWasSet) {
  run("reset " + state());
  Page page;
  usr_io segment = withPage(block(0x11), page, TRX_TO_CONTROLLER), time = block(0xE2, 0x3E0, 3);
  segment.cmd.cdw10 = 1023;
  ASSERT_TRUE(send(segment).ok());
  EXPECT_EQ(run("restart " + state()).status, 0);
  segment.cmd.cdw11 = 1024;
  EXPECT_FALSE(send(segment).ok());
  EXPECT_NE(takeViolations().find("a gap before the segment"), std::string::npos);
  time.cmd.cdw13 = 0x00020001;
  ASSERT_TRUE(send(time).ok());
  const std::string shown = run("show " + state()).text;
  EXPECT_NE(shown.find("\n  time set by a program: 0x000100020003\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find(", firmware 1.2.0.1035 in slot 1\n"), std::string::npos) << shown;
}

TEST_F(Launcher, ProgramsFindTrxCliBehindWhatTheUserHasAndALspci) {
  const std::string found = run("run " + state() + "-- sh -c 'echo $PATH; command -v trx_cli'").text;
  const std::regex wanted(".*/trx_sim_lib/bin:.*/bin.*:(.*/cli)\n\\1/trx_cli\n");
  EXPECT_TRUE(std::regex_match(found, wanted)) << found;
  EXPECT_EQ(run("run " + state() + "-- lspci -p").text, run("lspci " + state()).text);
  for (const char *words : {"", "-v", "-p -v"}) {
    Output output = run("run " + state() + "-- lspci " + words);
    EXPECT_EQ(output.text + std::to_string(output.status), "lspci: only 'lspci -p' is simulated\n1") << words;
  }
}

/// First groups of the matches of a pattern.
std::set<std::string> matches(const std::string &text, const char *pattern) {
  const std::regex regex(pattern);
  return {std::sregex_token_iterator(text.begin(), text.end(), regex, 1), {}};
}

constexpr char kHealing[] =
    R"({"clock": 1720000000, "adapters": [{"rate": 1, "bgaRate": "high", "autoRebuild": true,
  "disks": [{"sizeGiB": 9}, {"sizeGiB": 9}, {"sizeGiB": 9}, {"sizeGiB": 9, "present": false}],
  "volumes": [{"raid": "RAID1", "members": [0, 1]}, {"raid": "JBOD", "members": [2]}]},
  {"mode": "jbof", "disks": [{"sizeGiB": 9}], "namespaces": [{"disk": 0}]}]})";

/// A whole listing in few lines: label, value, label, value.
std::string squeezed(const std::string &text) {
  return std::regex_replace(text, std::regex(" *: *| *\n"), "|");
}

// clang-format off

TEST_F(Launcher, WhatGoesWrongIsWhatProgramsSee) {
  make(kHealing);
  for (const char *line : {"fail 0", "fail 2 0", "insert 5 --serial NEW-1", "advance 60", "fail 0 1"})
    EXPECT_EQ(hand(line).text, "") << line;
  const std::string cli = "run " + state() + "-- trx_cli ";
  EXPECT_EQ(squeezed(run(cli + "info -o vd").text),
            "|VD ID|0|Name|VD0|Status|Rebuilding|Importable|No|RAID Mode|RAID1|size|9 G|PD Count|2|PDs|5 1|Stripe Block Size|128K|Sector Size|512 bytes|"
            "BGA progress|Rebuilding is running in 60%||VD ID|1|Name|VD1|Status|Offline|Importable|No|RAID Mode|JBOD|size|9 G|PD Count|1|PDs|?|"
            "Stripe Block Size|128K|Sector Size|512 bytes||Total # of VD|2||");
  const auto disk = [](const std::string &id, const std::string &serial, const std::string &status) {
    return "|PD ID|" + id + "|Model|Halden HX1 NVMe SSD|Serial|" + serial + "|Stripe Block Size|256K|LBA|18874368|Size|9 G|SSD NVMe Adapter ID|" + id +
           "|SSD Namespace ID|1|Firmware version|HX10A02|Status|" + status + "|Namespace Count|1|";
  };
  EXPECT_EQ(squeezed(run(cli + "info -o pd").text),
            disk("0", "HX1S10000", "Fail|Assigned|No") + disk("1", "HX1S10001", "Idle|Assigned|Yes") + disk("2", "HX1S10002", "Fail|Assigned|No") +
                disk("5", "NEW-1", "Idle|Assigned|Yes") + "|Total # of PD|4||");
  EXPECT_EQ(run(cli + "event -c 2").text, "Seq:8\nTime:2024-07-03 09:47:30\nMessage:rebuild on virtual disk 0 is 50% done\n\n"
            "Seq:7\nTime:2024-07-03 09:47:05\nMessage:rebuild on virtual disk 0 is 25% done\n\nTotal events: 2\n");
  EXPECT_NE(run(cli + "1 ns -a init -i 0 -n 1").text.find("Unable to initial NS"), std::string::npos);
  EXPECT_EQ(hand("insert 0 --serial NEW-2 1").text, "");
  EXPECT_EQ(run(cli + "1 info -o ns").text, "No Namespace Info Exist.\n") << "they went with the disk";
  EXPECT_EQ(run(cli + "1 ns -a init -i 0 -n 1").text, "\nInitial NS successfully\n");
}

TEST_F(Launcher, SmartValuesAreSetAndCountOn) {
  make(kHealing);
  hand("advance 7200");
  std::string line = "smart 0 1", keys = run("help").text;
  keys.erase(0, keys.find("smart takes keys"));
  int value = 40;  // in the order of the keys
  for (const std::string &key : matches(keys, "  (\\w+)")) line += " " + key + "=" + std::to_string(value++);
  EXPECT_EQ(hand(line).text, "");
  hand("advance 3600");
  EXPECT_EQ(squeezed(run("run " + state() + "-- trx_cli 1 smart -i 0").text),
            "|NVME SMART Information|||Critical Warning|0x2c|Composite Temperature|54 Celsius|Available Spare|40%|Available Spare Threshold|41%|"
            "Percentage Used|51%|Data Units Read|495 (0 GB)|Data Units Written|271 (0 GB)|Host Read Commands|14447|Host Write Commands|7248|"
            "Controller Busy Time|43|Power Cycles|52|Power On Hours|54|Unsafe Shutdowns|59|Media and Data Integrity Errors|49|Num Err Log Entries|50|"
            "Warning Composite Temperature Time|60|Critical Composite Temperature Time|43|Thermal Management Temperature 1 Transition Count|55|"
            "Thermal Management Temperature 2 Transition Count|56|Total Time For Thermal Management Temperature 1|57|"
            "Total Time For Thermal Management Temperature 2|58||");
}

TEST_F(Launcher, NonsenseOfAHandIsRefusedAndChangesNothing) {
  make(kHealing);
  hand("fail 2");
  const std::pair<const char *, const char *> rows[] = {
      {"fail 2", "disk 2 has failed already"}, {"fail 3", "disk 3 is not there"}, {"fail 9", "no disk 9"}, {"fail x", "'x' is not a number"},
      {"fail 0 2", "no adapter 2"}, {"fail 0 0 0", "say which disk"}, {"insert 0", "disk 0 is there"}, {"insert 0 --serial NEW", "disk 0 is there"},
      {"insert 3 --serial HX1S10001", "disk 1 has the serial number HX1S10001"}, {"insert 3 --serial 123456789012345678901", "is no serial number"},
      {"insert 3 --serial 'A B'", "is no serial number"}, {"insert 3 --serial", "--serial needs a value"}, {"insert 32 --serial A", "no disk 32"},
      {"smart 0", "KEY=VALUE"}, {"smart 3 temperature=1", "disk 3 is not there"}, {"smart 0 temperature=1 colour=1", "'colour' is not known"},
      {"smart 0 temperature=-274", "is no number from -273 to 65262"}, {"smart 0 available_spare=101", "is no number from 0 to 100"},
      {"smart 0 media_errors=4611686018427387904", "is no number from 0 to 4611686018427387903"}, {"smart 0 media_errors=", "is no number"}, {"smart 0 media_errors=1x", "is no number"}, {"latency 60001", "the most is 60000"},
      {"latency -1", "'-1' is not a number"}, {"latency 5 2", "no adapter 2"},
  };
  bool exists = false;
  const std::string path = directory + "/vmhba2.state", before = sim::readText(path, exists);
  for (const auto &[line, told] : rows) {
    const Output output = hand(line);
    EXPECT_EQ(output.status, 2) << line;
    EXPECT_NE(output.text.find(told), std::string::npos) << line << ": " << output.text;
    EXPECT_EQ(sim::readText(path, exists), before) << line;
  }
}

// clang-format on

TEST_F(Launcher, EachExchangeTakesTheLatencyUntilItIsTakenBack) {
  make(kHealing);
  EXPECT_EQ(hand("latency 40").text, "");
  EXPECT_NE(run("show " + state()).text.find("\n  each exchange takes 40 ms\n"), std::string::npos);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(pair({0xE2, 0}, RequestHeader{}), 0U);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(80));
  EXPECT_EQ(hand("latency 60000").text, "");
  hand("latency 0");
  EXPECT_EQ(run("show " + state()).text.find(" ms\n"), std::string::npos);
}

TEST_F(Launcher, PagesTellOfEveryVerbAndNoOther) {
  const std::set<std::string> verbs = matches(run("help").text, "  trx_sim (\\w+)");
  EXPECT_EQ(verbs.size(), 17U);
  bool exists = false;
  const std::string manual = sim::readText(TRX_SIM_DOCS "/trx_sim.1", exists);
  EXPECT_EQ(matches(manual.substr(0, manual.find("Options stand before")), "\n\\.It Cm (\\w+)"), verbs);
  const std::string table = sim::readText(TRX_SIM_DOCS "/simulator.md", exists);
  EXPECT_EQ(matches(table.substr(0, table.find("The state directory is")), "\n\\| `(\\w+)"), verbs);
}

}  // namespace
