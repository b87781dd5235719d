// SPDX-License-Identifier: GPL-3.0-or-later
// The state directory: it survives processes, kills and neighbours, and a broken one is refused.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "model/state_file.h"
#include "seam.h"

namespace simtest {
namespace {

class State : public FrozenHost {
 protected:
  /// Changes the configuration, which also writes a journal line, `times` times.
  static bool toggle(int times) {
    for (int i = 0; i < times; ++i) {
      usr_io uio = block(0xE2, 0x2E0);
      uio.cmd.cdw14 = static_cast<uint32_t>(i % 2 == 0 ? TRX_BGA_RATE_LOW : TRX_BGA_RATE_HIGH) << 8;
      if (!send(uio).ok()) return false;
    }
    return true;
  }
  static pid_t startChild(bool (*work)()) {
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

TEST_F(State, TwoProcessesLoseNothingOfEachOther) {
  uint32_t before = journalLines();
  pid_t other = startChild([] { return toggle(201); });
  for (int i = 0; i < 100; ++i) {
    NVME_VD_Config_Request names{};
    names.header.numRequested = 1;
    std::snprintf(reinterpret_cast<char *>(names.vd_config[0].Name), 16, "name%d", i);
    ASSERT_EQ(pair({0xE2, 2}, names), 0U);
  }
  EXPECT_EQ(result(other), 0);
  EXPECT_EQ(journalLines(), before + 201);
  EXPECT_STREQ(reinterpret_cast<const char *>(volume(0).Name), "name99");
}

TEST_F(State, AKillAtAnyMomentLeavesItWhole) {
  for (unsigned round = 0; round < 25; ++round) {
    pid_t child = startChild([] { return toggle(1'000'000); });
    usleep(1000 + round * 1700);
    kill(child, SIGKILL);
    result(child);
    Page page;
    ASSERT_TRUE(function(0xE0, 0, page).ok()) << round;
    ASSERT_TRUE(toggle(2)) << round;
  }
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
    const std::string why = refusal([&] { sim::decodeAdapter(row.bytes, path); });
    EXPECT_NE(why.find(row.told), std::string::npos) << row.what << ": " << why;
    EXPECT_NE(why.find("trx_sim reset"), std::string::npos) << row.what << ": " << why;
  }
  using Forgery = void (*)(sim::Adapter &);
  const Forgery forgeries[] = {
      [](sim::Adapter &a) { std::memset(a.core.name, 'a', sizeof a.core.name); },
      [](sim::Adapter &a) { a.core.vpdTarget = 2; },
      [](sim::Adapter &a) { a.core.miRequestLength = 4097; },
      [](sim::Adapter &a) { a.core.firmware.pending = 9; },
      [](sim::Adapter &a) { a.core.smart.since = INT64_MIN; },
      [](sim::Adapter &a) { a.disks[1].sectorSize = 0; },
      [](sim::Adapter &a) { a.disks[1].firmware.active = 0; },
      [](sim::Adapter &a) { a.volumes[1].memberCount = 33; },
      [](sim::Adapter &a) { a.volumes[1].forcedStatus = 12; },
      [](sim::Adapter &a) { a.namespaces[1].owner = 64; },
      [](sim::Adapter &a) { a.activities[0].slot = 32; },
      [](sim::Adapter &a) { a.activities[0].type = 8; },
      [](sim::Adapter &a) { a.activities[0].newMemberCount = 33; },
      [](sim::Adapter &a) { a.journal[0].page = 16; },
      [](sim::Adapter &a) { a.journal[0].used = 4057; },
  };
  for (const Forgery &forge : forgeries) {
    sim::Adapter adapter = sim::decodeAdapter(whole, path);
    forge(adapter);
    EXPECT_NE(refusal([&] { sim::decodeAdapter(sim::encodeAdapter(adapter), path); }), "")
        << "forgery " << &forge - forgeries;
  }
}

TEST_F(State, ThatCannotBeWrittenIsAnInternalErrorAndNoLostController) {
  usr_io log = block(0xE2, 0x3FE);  // from here on each command writes a line by itself
  log.cmd.cdw14 = 1;
  ASSERT_TRUE(send(log).ok());
  const auto tellsOfIt = [] {
    usr_io change = block(0xE2, 0x2E0);
    change.cmd.cdw14 = TRX_BGA_RATE_LOW << 8;
    const Result result = send(change);
    NVME_VD_Config_Request names{};
    names.header.numRequested = 1;
    Page page;
    return result.platform == 0 && result.status == 5 && result.folded() == 6 &&
           pair({0xE2, 2}, names) == 0x1000 && pair({0xE2, 2}, names) == 0x1000 &&
           function(0x1E0, 0, page).ok() && page.at<NVME_Adapter_Config>(8).BGARate != TRX_BGA_RATE_LOW;
  };
  EXPECT_EQ(inChild([&] {
              const rlimit room{8192, 8192};  // enough for the lock file
              return signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &room) == 0 &&
                     tellsOfIt();
            }),
            0);
  for (const auto &file : std::filesystem::directory_iterator(directory)) {
    EXPECT_NE(file.path().extension(), ".tmp") << "what was not written whole must go";
    chmod(file.path().c_str(), 0444);
  }
  chmod(directory.c_str(), 0555);
  EXPECT_EQ(inChild([&] { return (geteuid() != 0 || setuid(65534) == 0) && tellsOfIt(); }), 0);
  chmod(directory.c_str(), 0755);
}

}  // namespace
}  // namespace simtest
