// SPDX-License-Identifier: GPL-3.0-or-later
// vd, ns, init, mp, rebuild, import, event and log: options, requests, results.
#include <gmock/gmock.h>

#include "Play.h"

namespace trx::test {
namespace {

using namespace ::testing;

constexpr char kSuccess[] = "cmd success\n";
constexpr char kFailed[] = "cmd failed.\n";

// clang-format off
TEST(Vd, ReadsItsOptionsAndSendsOneRequest) {
  CliSession session("lab");
  expectRows(session, {
    {"vd -a Create -r 1 -d 0,1", 0, kSuccess, {"op=e2 cdw12=10003e2 cdw13=3"}},
    {"vd -a create -r 10 -d 0,1,2,3 -b 512", 0x73B, kFailed, {"op=e2 cdw12=100203e2 cdw13=f"}},
    {"vd -a create -r 0 -r 1 -d 3,3,1 --sbs=1024 --namespace=300", 0x73E, kFailed, {"op=e2 cdw12=10303e2 cdw13=a cdw14=2c"}},
    {"vd -a create -r JBOD -d 255x,2 --namespace", 0x73D, kFailed, {"op=e2 cdw12=f0003e2 cdw13=5"}},
    {"vd -a delete -i 1", 0, kSuccess, {"op=e2 cdw12=104e2"}},
    {"vd -a delete -i 256", 0, "-i : invalid id '256'\n"},
    {"vd -r 1", 14, "Error action!\n"},
    {"vd --sbs", 0, "-b : invalid stripe block size ''.\n"},
    {"vd -d 0,32", 0, "-d : invalid PD ID '0,32'\n"},
    {"vd -a delete -i 9", 0x707,
     "CDW[0] : 0x000000e2\nCDW[12]: 0x000904e2\nCDW[13]: 0x00000000\nCDW[14]: 0x00000000\ncmd failed.\n",
     {"op=e2 cdw12=904e2"}, 0, true},
    {"vd -a delete -i 2", 0x707, kFailed, {"op=e2 cdw12=104e2"}, 1},
    {"vd -a delete -i 0", 0, "-i : invalid id '0'\n", {}, 1},
    {"vd -a create -r 1 -d 1,256,32", 0x706, kFailed, {"op=e2 cdw12=10003e2 cdw13=80000001"}, 1},
  });
}

TEST(Bga, StartsAndStops) {
  CliSession session;
  expectRows(session, {
    {"init -i 0", 0x745, kFailed, {"op=e2 cdw12=6e3 cdw14=20000"}},
    {"mp -a stop -i 1", 0x743, kFailed, {"op=e2 cdw12=4e3 cdw14=30001"}},
    {"rebuild -a start -i 1 -d 7", 0, kSuccess, {"op=e2 cdw12=7e3 cdw14=70001"}},
    {"rebuild -a start -i 0", 0, "rebuild: option -d is required\n"},
    {"mp -i 65536", 0, "-i : invalid vd id '65536'.\n"},
    {"rebuild -i 1 -d 0", 0, "-i : invalid pd id '0'.\n", {}, 1},
    {"rebuild -i 1 -d 70000", 0, "-d : invalid pd id '70000'.\n"},
    {"rebuild -i 1 -d 4294967296", 0, "-d : invalid pd id '4294967296'.\n", {}, 1},
  });
}

TEST(Import, AdoptsOnTheChosenAdapterWhatTheCurrentOneShows) {
  CliSession session;
  expectRows(session, {
    {"import -l 3", 0, "VD 3 import successfully.\n", {"op=e2 cdw12=e2 cdw14=3 len=4096", "op=e2 cdw12=6e2 cdw14=3"}},
    {"import -l 7", 0, "\nUnable to get info of VD\n", {"op=e2 cdw12=e2 cdw14=7 len=4096"}},
    {"import -l 0 -i 1", 0, "Importable not support or parameters error.\n"},
    {"import -l 65536", 1, "-l : invalid vd id '65536'\n"},
    {"import -i 2 -l x", 1, "NVMe Controller 2 does not exist.\n"},
    {"import -i 0", 1, "import: option -l is required\n"},
    {"import -i 3", 1, "NVMe Controller 2 does not exist.\n", {}, 1},
    {"import -l 4", 0, "\nVD 4 is not importable.\n", {"op=e2 cdw12=e2 cdw14=3 len=4096"}, 1},
  });
}

TEST(Ns, ReadsItsOptionsAndSendsOneRequest) {
  CliSession session("lab");
  session.run("vd -a create -r 1 -d 0,1");
  session.requests();
  expectRows(session, {
    {"ns -a create -i 1 -c 1 -l 0x2800000", 0x741, "\nUnable to create NS\n", {"op=e2 cdw12=10204e5 cdw13=2800000"}},
    {"ns -a share -i 1 -s no -c 1", 0, "\nSet sharing NS successfully\n", {"op=e2 cdw12=103e5 cdw14=100"}},
    {"ns -a share -e 7472580000000001 -i 9 -s YES", 0, "\nSet sharing NS successfully\n", {"op=e2 cdw12=103e5 cdw14=1"}},
    {"ns -a attach -i 1 -d 0,1", 0, "Attach namespace success\n", {"op=15 nsid=1 len=4096"}},
    {"ns -a detach -i 1 -d 0,1", 0, "Detach namespace success\n", {"op=15 nsid=1 cdw10=1 len=4096"}},
    {"ns -i 1", 1, "Error action!\n"},
    {"ns -p ctrl --list", 0, "Primary Controller Id is 0\n", {"op=6 cdw10=14 len=4096"}},
    {"ns -a init -i 65536 -n 1", 0, "invalid id '65536'\n"},
    {"ns -a share -i 65536 -s yes", 0, "invalid id '65536'\n"},
    {"ns -a share -i 1 -s no -c 16777216", 0, "-c: controller id should be a number\n"},
    {"ns -i 4294967296", 0, "invalid id '4294967296'\n"},
    {"ns -a detach -i 4294967295", 0x0B, "Detach namespace failed\n", {"op=15 nsid=ffffffff cdw10=1 len=4096"}},
    {"ns -l 0x1g", 0, "-l: Invalid LBA\n"},
    {"ns -d 0,", 0, "-d : controller ids should be a number\n"},
    {"adapter -i 1", 0, "NVMe Controller 1 set as default CLI commands refers to.\n"},
    {"ns -a init -i 1 -n 2", 0, "\nInitial NS successfully\n", {"vmhba3 admin op=e2 cdw12=2e5 cdw14=2"}, 1},
    {"ns -i 1 -a init -n 2", 0, "\nInitial NS successfully\n", {"vmhba3 admin op=e2 cdw12=102e5 cdw14=2"}, 1},
    {"ns -a create -i 0", 0, "invalid id '0'\n", {}, 1},
  });
}
// clang-format on

TEST(Ns, BoundsItsLists) {
  CliSession session;
  std::string list(2 * 2048 - 1, ',');
  for (size_t i = 0; i < list.size(); i += 2) list[i] = '0';
  EXPECT_EQ(session.run("ns -d " + list).out, "-d : at most 2047 controller ids\n");
  EXPECT_EQ(session.run("ns -d " + list.substr(2)).out, "Error action!\n");
  session.run("ns -a detach -i 1 -d 0,1");
  EXPECT_THAT(session.requests().back(), EndsWith("dir=0 len=4096 out=0200000001"));
  g_pAdInfos[0].MaxNS = 255;  // more than the 170 entries of a reply
  session.run("ns -p ctrl");
  EXPECT_THAT(session.requests(), SizeIs(1 + 4 + 1)) << "the list, its four namespaces, the primary";
}

TEST(Event, ShowsWhatTheOtherRequestsBroughtWhenOneFails) {
  CliSession session;
  CommandResult one = session.run("event -c 1");
  EXPECT_THAT(one.out, StartsWith("Seq:5\n"));
  EXPECT_EQ(one.library, "Total events: 1\n");
  EXPECT_THAT(session.requests(), SizeIs(16));
  EXPECT_EQ(session.run("event --count").library, "Total events: 5\n");
  session.host().sim("fault", {"add", "nvme=6", "group=fe", "sub=4", "nth=2"});
  CommandResult gap = session.run("event -c 0");
  EXPECT_THAT(gap.out, StartsWith("\n event request fail\nSeq:5\n"));
  session.host().sim("fault", {"add", "nvme=6", "group=fe", "sub=4", "count=16"});
  CommandResult none = session.run("event -c 0");
  EXPECT_THAT(none.library, EndsWith("No events\n"));
  EXPECT_EQ(none.status, 6);
}

TEST(Log, RefusesWhatCannotBeRead) {
  CliSession session;
  const std::string unable = "\nUnable to get SPI log from NVMe Controller 0\n";
  const std::string empty = std::string("No SPI log\n") + kSuccess;
  auto show = [&](const Words &fault) {
    if (!fault.empty()) session.host().sim("fault", fault);
    return session.run("log -a show");
  };
  EXPECT_EQ(show({}).out, unable);
  EXPECT_EQ(session.run("log -a on").out, kSuccess);
  EXPECT_EQ(show({}).out, empty);
  EXPECT_EQ(show({"add", "nvme=6", "group=fe", "sub=2"}).out, unable + empty);
  EXPECT_EQ(show({"add", "nvme=6", "group=fe", "sub=0"}).status, 6);
  EXPECT_EQ(show({"add", "ones", "group=fe", "sub=0"}).out, "Error SPI data length: 65535\n");
  session.requests();
  expectRows(session, {{"log -a show --outputfile=/nonexistent/x", 1,
                        "Unable to open file '/nonexistent/x': No such file or directory\n"}});
}

}  // namespace
}  // namespace trx::test
