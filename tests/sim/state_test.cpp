// SPDX-License-Identifier: GPL-3.0-or-later
// The state directory: it survives processes, kills and neighbours, and a broken one is refused.
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "model/state_file.h"
#include "seam.h"

namespace {

class State : public FrozenHost {
 protected:
  /// Changes the configuration, which also writes a journal line, `times` times.
  static bool toggle(int times) {
    for (int i = 0; i < times; ++i) {
      const uint32_t rate = i % 2 == 0 ? TRX_BGA_RATE_LOW : TRX_BGA_RATE_HIGH;
      if (!send(block(0xE2, 0x2E0, rate << 8)).ok()) return false;
    }
    return true;
  }
  static unsigned rename(const std::string &name) {
    NVME_VD_Config_Request names{header(0, 0, 1), {}};
    name.copy(reinterpret_cast<char *>(names.vd_config[0].Name), sizeof names.vd_config[0].Name);
    return pair({0xE2, 2}, names);
  }
  uint32_t journalLines() {
    sim::AdapterFiles files(directory, "vmhba2");
    return sim::Session(files).state().journal.front().nextSequence;
  }
};

TEST_F(State, TwoProcessesLoseNothingOfEachOther) {
  uint32_t before = journalLines();
  pid_t other = startChild([] { return toggle(201); });
  for (int i = 0; i < 100; ++i) ASSERT_EQ(rename("name" + std::to_string(i)), 0U);
  EXPECT_EQ(waitStatus(other), 0);
  EXPECT_EQ(journalLines(), before + 201);
  EXPECT_STREQ(reinterpret_cast<const char *>(volume(0).Name), "name99");
}

TEST_F(State, BrokenAndForeignFilesAreRefusedWithTheReason) {
  std::string path = sim::statePath(directory, "vmhba2");
  bool exists = false;
  const std::vector<char> whole = sim::readWhole(path, exists);
  std::vector<char> version = whole, flipped = whole, cut(whole.begin(), whole.end() - 1), text{'{', '}'};
  version[4] = 99;
  flipped[whole.size() / 2] ^= 1;
  const std::pair<std::vector<char> *, const char *> rows[] = {{&version, "another version (99"},
                                                               {&flipped, "checksum"},
                                                               {&cut, "length"},
                                                               {&text, "not a state file"}};
  for (const auto &[bytes, told] : rows) {
    const std::string why = refusal([&, &given = *bytes] { sim::decodeAdapter(given, path); });
    EXPECT_NE(why.find(told), std::string::npos) << told << ": " << why;
    EXPECT_NE(why.find("trx_sim reset"), std::string::npos) << told << ": " << why;
  }
  // clang-format off
  void (*const forgeries[])(sim::Adapter &) = {
      [](sim::Adapter &a) { std::memset(a.core.name, 'a', sizeof a.core.name); }, [](sim::Adapter &a) { a.core.vpdTarget = 2; },
      [](sim::Adapter &a) { a.core.controllerId = 34; }, [](sim::Adapter &a) { a.core.miRequestLength = 4097; },
      [](sim::Adapter &a) { a.core.firmware.pending = 9; }, [](sim::Adapter &a) { a.core.latencyMillis = 60001; }, [](sim::Adapter &a) { a.core.smart.since = INT64_MIN; }, [](sim::Adapter &a) { a.disks[1].sectorSize = 0; },
      [](sim::Adapter &a) { a.disks[1].firmware.active = 0; }, [](sim::Adapter &a) { a.volumes[1].memberCount = 33; }, [](sim::Adapter &a) { a.volumes[1].forcedStatus = 12; },
      [](sim::Adapter &a) { a.namespaces[1].owner = 34; }, [](sim::Adapter &a) { a.activities[0].slot = 32; }, [](sim::Adapter &a) { a.activities[0].type = 8; },
      [](sim::Adapter &a) { a.activities[0].newMemberCount = 33; }, [](sim::Adapter &a) { a.journal[0].page = 16; }, [](sim::Adapter &a) { a.journal[0].used = 4057; },
  };
  // clang-format on
  for (const auto &forge : forgeries) {
    sim::Adapter adapter = sim::decodeAdapter(whole, path);
    forge(adapter);
    EXPECT_NE(refusal([&] { sim::decodeAdapter(sim::encodeAdapter(adapter), path); }), "")
        << "forgery " << &forge - forgeries;
  }
}

TEST_F(State, ThatCannotBeWrittenIsAnInternalErrorAndNoLostController) {
  ASSERT_TRUE(send(block(0xE2, 0x3FE, 1)).ok());  // from here on each command writes a line by itself
  const auto tellsOfIt = [] {
    const Result result = send(block(0xE2, 0x2E0, TRX_BGA_RATE_LOW << 8));
    Page page;
    return result.platform == 0 && result.status == 5 && result.folded == 6 && rename("") == 0x1000 &&
           rename("") == 0x1000 && function(0x1E0, 0, page).ok() &&
           page.at<NVME_Adapter_Config>(8).BGARate != TRX_BGA_RATE_LOW;
  };
  const auto withoutRoom = [&] {
    const rlimit room{8192, 8192};  // enough for the lock file
    return signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &room) == 0 && tellsOfIt();
  };
  EXPECT_EQ(inChild(withoutRoom), 0);
  for (const auto &file : std::filesystem::directory_iterator(directory)) {
    EXPECT_NE(file.path().extension(), ".tmp") << "what was not written whole must go";
    chmod(file.path().c_str(), 0444);
  }
  chmod(directory.c_str(), 0555);
  EXPECT_EQ(inChild([&] { return (geteuid() != 0 || setuid(65534) == 0) && tellsOfIt(); }), 0);
  chmod(directory.c_str(), 0755);
}

}  // namespace
