// SPDX-License-Identifier: GPL-3.0-or-later
// Many processes at one controller, and processes that die in the middle.
#include <gmock/gmock.h>

#include <chrono>
#include <future>
#include <random>
#include <regex>
#include <sstream>

#include "SimHost.h"

namespace trx::test {
namespace {

using namespace ::testing;

constexpr int kProcesses = 32, kExchanges = 1000;  // of each process

Outcome worker(SimHost &host, Words words) {
  words.insert(words.begin(), TRX_PROCESS_WORKER);
  return runProgram(host.runWords(words));
}

std::ptrdiff_t count(const std::string &text, const std::string &part) {
  const std::regex wanted(part);
  return std::distance(std::sregex_iterator(text.begin(), text.end(), wanted), {});
}

TEST(Processes, KeepTheirPairsApartAndLoseNothing) {
  SimHost host("volumes64");
  std::vector<std::future<Outcome>> running;
  for (int volume = 0; volume < kProcesses; ++volume)
    running.push_back(std::async(std::launch::async, worker, std::ref(host),
                                 Words{"pairs", std::to_string(volume), std::to_string(kExchanges)}));
  for (auto &each : running) {
    const Outcome outcome = each.get();
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
  }
  EXPECT_EQ(host.violations(), "");
  EXPECT_EQ(worker(host, {"lock"}).out, "1");
  const std::string volumes = host.cli({"info", "-o", "vd"}).out;
  const std::string rounds = std::to_string(kExchanges / 4);
  for (int volume = 0; volume < kProcesses; ++volume)
    EXPECT_THAT(volumes, HasSubstr(" v" + std::to_string(volume) + "-" + rounds + "\n"));
}

TEST(Processes, OneThatDiesWithTheLockCostsTheNextFiveSeconds) {
  SimHost host;
  ASSERT_EQ(host.sim("fault", {"add", "op=ce", "delay=60000"}).status, 0);
  // It has sent, and waits for its answer with the lock held.
  const Words dying{"timeout", "-s", "KILL", "1", TRX_PROCESS_WORKER, "time", "1"};
  EXPECT_EQ(runProgram(host.runWords(dying)).status, 137);
  ASSERT_THAT(host.traffic().back(), HasSubstr("op=cb")) << "it did not come that far";
  EXPECT_EQ(worker(host, {"lock"}).out, "0");

  Outcome next = worker(host, {"time", "3"});
  EXPECT_EQ(next.status, 0);
  std::istringstream times(next.out);
  int first = 0;
  times >> first;
  EXPECT_THAT(first, AllOf(Ge(4900), Lt(9000)));
  for (int later; times >> later;) EXPECT_LT(later, 4000);
  EXPECT_EQ(worker(host, {"lock"}).out, "1");
  EXPECT_EQ(host.violations(), "");
}

// Mapped and touched, an empty file in a semaphore's place would end the process.
TEST(Processes, GoOnWithoutALockThatCannotBeHad) {
  SimHost host;
  const std::string script = ": >/dev/shm/sem.trxd0; exec " TRX_PROCESS_WORKER " time 2";
  Outcome outcome = runProgram(host.runWords({"sh", "-c", script}));
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.err, HasSubstr("not protected from other processes: no semaphore trxd0 (another file"));
  EXPECT_EQ(host.violations(), "");
}

TEST(Processes, ThatAreKilledAnywhereLeaveAWholeState) {
  SimHost host("lab");
  std::string script,
      round = "vd -a create -r 1 -d 0,1 -n 2\nset -o hba -i 0 -a on\nmp -i 1\nmp -a stop -i 1\n";
  for (int i = 0; i < 1000; ++i) script += round + "vd -a delete -i 1\n";
  std::minstd_rand random(7);
  for (int i = 0; i < 40; ++i) {
    const std::string seconds = "0." + std::to_string(1000 + random() % 1500);
    const Words dying = host.runWords({"timeout", "-s", "KILL", seconds, TRX_CLI_PATH});
    EXPECT_EQ(runProgram(dying, script).status, 137);
    Outcome shown = host.sim("show");
    EXPECT_EQ(shown.status, 0) << shown.err;
    const std::string volumes = host.cli({"info", "-o", "vd"}).out;
    // The foreign volume was there before, and has no namespace.
    const auto made = count(volumes, "VD ID:") - 1;
    EXPECT_THAT(volumes, HasSubstr("Total # of VD:       " + std::to_string(made + 1) + "\n"));
    EXPECT_EQ(count(host.cli({"info", "-o", "ns"}).out, "NS ID:"), 2 * made);
  }
  EXPECT_THAT(host.traffic(), Contains(HasSubstr("cdw12=104e2"))) << "killed before anything was done";
  host.sim("restart");  // writes all
  for (const auto &file : std::filesystem::directory_iterator(host.stateDirectory()))
    EXPECT_NE(file.path().extension(), ".tmp");
  EXPECT_EQ(host.violations(), "");
  EXPECT_EQ(worker(host, {"lock"}).out, "1");
}

}  // namespace
}  // namespace trx::test
