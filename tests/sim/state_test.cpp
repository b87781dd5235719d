// SPDX-License-Identifier: GPL-3.0-or-later
// The state directory: it survives processes, kills and neighbours, and a broken one is refused.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "model/state_file.h"
#include "seam.h"

namespace simtest {
namespace {

class State : public Host {
 protected:
  void SetUp() override {
    Host::SetUp();
    makeFrom("frozen.json");
  }
  /// Changes the configuration, which also writes a journal line, `times` times.
  static bool toggle(int times) {
    for (int i = 0; i < times; ++i) {
      usr_io uio = block(0xE2, 0x2E0);
      uio.cmd.cdw14 = static_cast<uint32_t>(i % 2 == 0 ? TRX_BGA_RATE_LOW : TRX_BGA_RATE_HIGH) << 8;
      if (!send(uio).ok()) return false;
    }
    return true;
  }
  static pid_t inChild(bool (*work)()) {
    pid_t child = fork();
    if (child == 0) _exit(work() ? 0 : 1);
    return child;
  }
  static int result(pid_t child) {
    int status = -1;
    waitpid(child, &status, 0);
    return status;
  }
  uint32_t journalLines() {
    sim::AdapterFiles files(directory, "vmhba2");
    return sim::Session(files).state().journal.front().nextSequence;
  }
};

TEST_F(State, WhatOneProcessDidTheNextOneSees) {
  ASSERT_EQ(result(inChild([] {
              NVME_VD_Delete gone{};
              gone.ID = 2;
              return pair({0xE2, 4}, gone) == 0;
            })),
            0);
  Page page;
  ASSERT_TRUE(function(0xE2, 2, page).ok());
  EXPECT_EQ(page.bytes[4], 7);
}

TEST_F(State, TwoProcessesLoseNothingOfEachOther) {
  uint32_t before = journalLines();
  pid_t one = inChild([] { return toggle(201); });
  pid_t two = inChild([] {
    for (int i = 0; i < 100; ++i) {
      NVME_VD_Config_Request names{};
      names.header.numRequested = 1;
      std::snprintf(reinterpret_cast<char *>(names.vd_config[0].Name), 16, "name%d", i);
      if (pair({0xE2, 2}, names) != 0) return false;
    }
    return true;
  });
  EXPECT_EQ(result(one), 0);
  EXPECT_EQ(result(two), 0);
  EXPECT_EQ(journalLines(), before + 201);
  EXPECT_STREQ(reinterpret_cast<const char *>(volume(0).Name), "name99");
}

TEST_F(State, ThreadsMayExchangeAtOnce) {
  std::thread other([] { EXPECT_TRUE(toggle(100)); });
  for (int i = 0; i < 100; ++i) EXPECT_EQ(volume(1).ID, 1);
  other.join();
}

TEST_F(State, AKillAtAnyMomentLeavesItWhole) {
  for (unsigned round = 0; round < 25; ++round) {
    pid_t child = inChild([] { return toggle(1'000'000); });
    usleep(1000 + round * 1700);
    kill(child, SIGKILL);
    result(child);
    Page page;
    ASSERT_TRUE(function(0xE0, 0, page).ok()) << round;
    ASSERT_TRUE(toggle(2)) << round;
  }
  std::string text = journal();
  EXPECT_NE(text.find("[SEQ]"), std::string::npos);
}

TEST_F(State, BrokenAndForeignFilesAreRefusedWithTheReason) {
  std::string path = sim::statePath(directory, "vmhba2");
  bool exists = false;
  const std::vector<char> whole = sim::readWhole(path, exists);
  struct Row {
    const char *what;
    std::vector<char> bytes;
    const char *told;
  };
  std::vector<char> version = whole, flipped = whole, cut(whole.begin(), whole.end() - 1), text{'{', '}'};
  version[4] = 99;
  flipped[whole.size() / 2] ^= 1;
  const Row rows[] = {{"version", version, "another version (99"},
                      {"flipped bit", flipped, "checksum"},
                      {"cut", cut, "length"},
                      {"other file", text, "not a state file"}};
  for (const Row &row : rows) {
    try {
      sim::decodeAdapter(row.bytes, path);
      ADD_FAILURE() << row.what;
    } catch (const sim::HostError &error) {
      EXPECT_NE(std::string(error.what()).find(row.told), std::string::npos) << error.what();
      EXPECT_NE(std::string(error.what()).find("trx_sim reset"), std::string::npos) << error.what();
    }
  }
  EXPECT_NO_THROW(sim::decodeAdapter(whole, path));
}

TEST_F(State, ReadingWritesNothing) {
  auto written = std::filesystem::last_write_time(sim::statePath(directory, "vmhba2"));
  volume(0);
  NVME_VD_Delete gone{};
  gone.ID = 60;
  EXPECT_EQ(pair({0xE2, 4}, gone), 7U);
  NVME_Create_VD wrong{};
  EXPECT_NE(pair({0xE2, 3}, wrong), 0U);
  EXPECT_EQ(std::filesystem::last_write_time(sim::statePath(directory, "vmhba2")), written);
}

TEST_F(State, OneProcessMaySwitchBetweenHosts) {
  ASSERT_EQ(volume(0).ID, 0);
  std::string other = directory + "/other";
  sim::createHost(other, sim::parseTopology(topologyFile("empty.json")));
  setenv("TRX_SIM_STATE", other.c_str(), 1);
  Page page;
  ASSERT_TRUE(function(0xE2, 0, page).ok());
  EXPECT_EQ(page.bytes[4], 7);
  setenv("TRX_SIM_STATE", directory.c_str(), 1);
  EXPECT_EQ(volume(3).Importable, 1);
  setenv("TRX_SIM_STATE", "/nowhere", 1);
  EXPECT_NE(function(0xE2, 0, page).platform, 0);
}

TEST_F(State, AResetIsSeenByAProcessThatRuns) {
  NVME_VD_Delete gone{};
  ASSERT_EQ(pair({0xE2, 4}, gone), 0U);
  makeFrom("frozen.json");
  EXPECT_EQ(volume(0).PDIDs[1], 1);
}

}  // namespace
}  // namespace simtest
