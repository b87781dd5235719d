// SPDX-License-Identifier: GPL-3.0-or-later
// A recording of trx_cli, made in the simulated host and replayed without it.
#include <gmock/gmock.h>

#include "SimHost.h"

namespace trx::test {
namespace {

using namespace ::testing;

class RecordTest : public ::testing::Test {
 protected:
  Words words(const char *verb, const Words &options, const Words &program) const {
    Words words{TRX_SIM_PATH, verb, file()};
    words.insert(words.end(), options.begin(), options.end());
    words.emplace_back("--");
    words.insert(words.end(), program.begin(), program.end());
    return words;
  }
  Outcome record(const Words &program, const Words &options = {}) {
    return runProgram(host.runWords(words("record", options, program)));
  }
  Outcome replay(const Words &program) const { return runProgram(words("replay", {}, program)); }
  std::string file() const { return host.directory() / "recording"; }
  SimHost host;
};

Words info(const char *object) { return {TRX_CLI_PATH, "info", "-o", object}; }

TEST_F(RecordTest, AReplayGivesTheSameBytes) {
  for (const char *object : {"hba", "vd", "pd", "ns"}) {
    Outcome recorded = record(info(object));
    EXPECT_EQ(recorded.out, host.cli({"info", "-o", object}).out);
    Outcome replayed = replay(info(object));
    EXPECT_EQ(std::tie(replayed.out, replayed.err, replayed.status),
              std::tie(recorded.out, recorded.err, recorded.status));
    std::filesystem::remove(file());
  }
  EXPECT_EQ(host.violations(), "");
}

TEST_F(RecordTest, AHistoryIsReplayedOverSeveralProcesses) {
  // The second listing fails: the answers to the same requests differ in time.
  const std::string listing = std::string(TRX_CLI_PATH) + " info -o vd; ";
  const std::string arm = std::string(TRX_SIM_PATH) + " fault --state " + host.stateDirectory().string() +
                          " add op=e2 platform=110 count=9; ";
  const Words history{"sh", "-c", listing + arm + listing + "exit 7"};
  Outcome recorded = record(history);
  EXPECT_THAT(recorded.out, AllOf(HasSubstr("Total # of VD:"), HasSubstr("Connection timed out")));
  EXPECT_EQ(recorded.status, 7);
  EXPECT_THAT(readFile(file()), HasSubstr("result platform=110 "));
  Outcome replayed = replay(history);
  EXPECT_EQ(replayed.out, recorded.out);
  EXPECT_EQ(replayed.status, 7);
}

TEST_F(RecordTest, MaskedSerialNumbersAreNotInTheFile) {
  EXPECT_THAT(record(info("pd"), {"--mask-serials"}).out, HasSubstr("HX1S0A7731"));
  const std::string text = readFile(file()), out = replay(info("pd")).out;
  for (const char *serial : {"HX1S0A", "NS3-00", "B2K800"}) EXPECT_THAT(text + out, Not(HasSubstr(serial)));
  EXPECT_THAT(text, Not(HasSubstr("TRXA2")));
  EXPECT_THAT(out, HasSubstr("Serial:                 XXXXXXXXXX          \n"));
}

// The library opens its adapter for each command; a send and its receive have nothing but the adapter in
// common.
TEST_F(RecordTest, PairExchangesAreMaskedAndReplayed) {
  EXPECT_EQ(record({TRX_PROCESS_WORKER, "disks"}, {"--mask-serials"}).out,
            "HX1S0A7731          \nHX1S0A7748          \n");
  EXPECT_THAT(readFile(file()), Not(HasSubstr("HX1S0A")));
  EXPECT_EQ(replay({TRX_PROCESS_WORKER, "disks"}).out, "XXXXXXXXXX          \nXXXXXXXXXX          \n");
  std::filesystem::remove(file());
  const Words counting{TRX_PROCESS_WORKER, "pairs", "1", "12"};
  EXPECT_EQ(record(counting).status, 0);
  Outcome replayed = replay(counting);
  EXPECT_EQ(replayed.status, 0) << replayed.out << replayed.err;
}

TEST_F(RecordTest, WhatWasNotRecordedIsTold) {
  record(info("vd"));
  EXPECT_EQ(replay({"true"}).status, 0);
  Outcome other = replay(info("ns"));
  EXPECT_EQ(other.status, 2) << "the program's own status is 0";
  EXPECT_THAT(other.err, HasSubstr("trx_sim: " + file() + ": not recorded: exchange vmhba2 admin op=e2 "));
  EXPECT_THAT(other.out, HasSubstr("No data available"));
  const std::string cli = TRX_CLI_PATH;
  EXPECT_THAT(replay({"sh", "-c", cli + " info -o vd; " + cli + " info -o vd"}).err,
              HasSubstr(" times, asked for once more: exchange vmhba2 admin op=e2 "));
}

TEST_F(RecordTest, MistakesAreTold) {
  EXPECT_THAT(replay(info("vd")).err, HasSubstr(file() + ": no such file"));
  record({"true"});
  Outcome again = record({"true"});
  EXPECT_EQ(again.status, 2);
  EXPECT_THAT(again.err, HasSubstr(file() + ": File exists"));
  EXPECT_EQ(replay({"/no/such/program"}).status, 2);
  std::filesystem::resize_file(file(), std::filesystem::file_size(file()) - 5);
  Outcome cut = replay(info("vd"));
  EXPECT_EQ(cut.status, 2);
  EXPECT_THAT(cut.err, HasSubstr(": the file ends within this line"));
  EXPECT_THAT(runProgram({TRX_SIM_PATH, "record", file() + "2", "--", "true"}).err,
              HasSubstr("no platform library to record"));
  EXPECT_THAT(runProgram({TRX_SIM_PATH, "replay", file()}).err, HasSubstr("replay: say which program"));
}

}  // namespace
}  // namespace trx::test
