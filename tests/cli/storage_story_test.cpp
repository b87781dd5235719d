// SPDX-License-Identifier: GPL-3.0-or-later
// The life of an array, told with the program alone: made, used, broken, healed, taken apart.
#include <gmock/gmock.h>

#include <thread>

#include "SimHost.h"

namespace trx::test {
namespace {

using namespace ::testing;

class Story : public ::testing::Test {
 protected:
  ~Story() override { EXPECT_EQ(host_.violations(), ""); }

  /// Output of a command line; `status` is expected of it.
  std::string run(const std::string &line, int status = 0) {
    Outcome outcome = host_.cli(wordsOf(line));
    EXPECT_EQ(outcome.status, status) << line << "\n" << outcome.out;
    return outcome.out;
  }

  /// The reason that the controller gives for refusing.
  void refused(const std::string &line, const std::string &reason) {
    EXPECT_THAT(host_.cli(wordsOf(line)).out, HasSubstr("\n" + reason + " (Status Code: ")) << line;
  }

  std::string volume(const std::string &id) { return run("info -o vd -i " + id); }
  void hands(const std::string &verb, const std::string &word) { EXPECT_EQ(host_.sim(verb, {word}).err, ""); }

  /// A shell that is given these lines so many times.
  void repeat(int times, const std::string &lines, const std::string &last = "") {
    std::string script;
    for (int i = 0; i < times; ++i) script += lines;
    EXPECT_EQ(host_.cli({}, script + last).status, 0);
  }

  SimHost host_{"lab"};
};

size_t count(const std::string &text, const std::string &part) {
  size_t found = 0;
  for (size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++found;
  return found;
}

// clang-format off

TEST_F(Story, VolumesTakeDisksAndGiveCapacityByLevel) {
  run("vd -a create -r 1 -d 0,1 -n 3");
  run("vd -a create -r 0 -d 2,3 -b 512");
  EXPECT_THAT(volume("1"), HasSubstr("RAID Mode:           RAID1\nsize:                447 G\nPD Count:            2\nPDs:                 0 1 \n"));
  EXPECT_THAT(volume("2"), AllOf(HasSubstr(" 894 G\n"), HasSubstr("Stripe Block Size:   512K\n")));
  EXPECT_EQ(count(run("info -o ns -t vd -v 1"), "Size:                149 G\n"), 3u);
  refused("vd -a create -r 1 -d 1,4", "HD is assigned");
  run("vd -a delete -i 1");
  run("vd -a delete -i 2");
  run("vd -a create -r 10 -d 0,1,2,3");
  EXPECT_THAT(volume("1"), AllOf(HasSubstr("RAID10\nsize:                894 G\n"), HasSubstr("0 1 2 3 \n")));
}

TEST_F(Story, NamespacesKeepTheirIdentity) {
  run("vd -a create -r 1 -d 0,1 -n 2");
  EXPECT_EQ(run("ns -a attach -e 7472580000000002 -d 0,1"), "Attach namespace success\n");
  refused("ns -a attach -i 2 -d 1", "Namespace Already Attached");
  run("ns -a detach -i 2 -d 1");
  run("ns -a share -i 2 -s no -c 0");
  refused("ns -a attach -i 2 -d 1", "Namespace Is Private");
  EXPECT_EQ(count(run("ns --list"), "7472580000000002\nParent VD ID:        1\n"), 1u);
  run("vd -a delete -i 1");
  run("vd -a create -r 1 -d 0,1");
  EXPECT_THAT(run("ns --list"), HasSubstr("ID:               1\nEUI64:               7472580000000003\n"));

  run("1 ns -a init -i 0 -n 2");
  run("1 ns -a create -i 1 -c 2 -l 0x40000000");
  EXPECT_THAT(run("1 ns --list"), AllOf(HasSubstr("7472580100000003\nParent PD ID:        1\n"), HasSubstr("Size:                512 G\n"), HasSubstr("Total # of NS:       3\n")));
}

TEST_F(Story, ActivitiesAdvanceAndFinish) {
  run("vd -a create -r 1 -d 0,1");
  run("init -i 1");
  hands("advance", "30");
  EXPECT_THAT(volume("1"), HasSubstr("BGA progress:        Initializing is running in 30%\n"));
  refused("mp -i 1", "BGA is running");
  run("init -a stop -i 1");
  run("mp -i 1");
  hands("advance", "100");
  EXPECT_THAT(run("event -c 4"), StartsWith("Seq:9\nTime:"));
}

TEST_F(Story, AReplacedDiskHealsItsVolume) {
  run("vd -a create -r 1 -d 0,1");
  run("vd -a create -r 0 -d 2,3");
  hands("pull", "1");
  hands("pull", "2");
  EXPECT_THAT(volume("1"), AllOf(HasSubstr("Status:              Degrade\n"), HasSubstr("0 ? \n")));
  EXPECT_THAT(volume("2"), AllOf(HasSubstr("Status:              Offline\n"), HasSubstr("? 3 \n")));
  hands("insert", "1");
  run("rebuild -a start -i 1 -d 1");
  hands("advance", "99");
  EXPECT_THAT(volume("1"), AllOf(HasSubstr("Status:              Rebuilding\n"), HasSubstr("Rebuilding is running in 99%\n")));
  hands("advance", "1");
  EXPECT_THAT(volume("1"), AllOf(HasSubstr("Status:              Functional\n"), HasSubstr("0 1 \n")));
  EXPECT_EQ(run("import -l 0"), "VD 0 import successfully.\n");
}

TEST_F(Story, TheJournalWrapsAndIsReadNewestFirst) {
  repeat(600, "vd -a create -r 1 -d 0,1\nvd -a delete -i 1\n");
  const std::string events = run("event -c 0");
  EXPECT_THAT(events, StartsWith("Seq:1200\n"));
  size_t kept = count(events, "Seq:"), at = 0;
  EXPECT_THAT(kept, AllOf(Gt(900u), Lt(1200u)));
  for (size_t i = 0; i < kept && at != std::string::npos; ++i)
    at = events.find("Seq:" + std::to_string(1200 - i) + "\n", at);
  EXPECT_EQ(at, events.rfind("Seq:"));
}

TEST_F(Story, TheSpiLogFillsWhileItIsOn) {
  std::string file = host_.directory() / "log.txt";
  run("log -a on");
  repeat(100, "ns -p ctrl\n");
  std::string shown = run("log -a show --outputfile=" + file);
  EXPECT_GT(count(shown, "Identify: nsid 0, dwords 14"), 99u);
  EXPECT_GT(shown.size(), 2 * 4080u) << "several pieces";
  EXPECT_EQ(readFile(file) + "cmd success\n", shown);
}

TEST_F(Story, TwoProcessesLeaveAWholeState) {
  auto work = [this](const std::string &disks, const std::string &deleted) {
    const std::string create = "vd -a create -r 1 -n 2 -d " + disks + "\n";
    repeat(60, create + "vd -a delete -i " + deleted + "\n", create);
  };
  std::thread other(work, "0,1", "1");
  work("2,3", "2");
  other.join();
  std::string volumes = run("info -o vd");
  size_t made = count(volumes, "VD ID:") - 1;  // one was there before
  EXPECT_THAT(volumes, HasSubstr("Total # of VD:       " + std::to_string(made + 1) + "\n"));
  EXPECT_EQ(count(run("info -o ns"), "NS ID:"), 2 * made);
}

// clang-format on

}  // namespace
}  // namespace trx::test
