// SPDX-License-Identifier: GPL-3.0-or-later
// vd, ns, init, mp, rebuild, import, event and log: options, requests, results.
#include <gmock/gmock.h>

#include "CliSession.h"
#include "Public/common.h"

namespace trx::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using ::testing::StartsWith;

/// What acted, as "cdw10 cdw12 cdw13 cdw14"; the reading of the namespace table is left out.
Words actions(CliSession &session) {
  Words told;
  for (const std::string &line : session.requests()) {
    auto dword = [&](const std::string &name) {
      size_t at = line.find(" " + name + "=") + name.size() + 2;
      return line.substr(at, line.find(' ', at) - at);
    };
    if (dword("op") == "6" || dword("cdw12") == "e5") continue;
    told.push_back(dword("cdw10") + " " + dword("cdw12") + " " + dword("cdw13") + " " + dword("cdw14"));
  }
  return told;
}

struct Row {
  const char *line;
  int status;
  const char *out;
  const char *request = "";  ///< "": nothing acted
};

void expectRows(CliSession &session, std::initializer_list<Row> rows) {
  for (const Row &row : rows) {
    CommandResult result = session.run(row.line);
    EXPECT_EQ(result.status, row.status) << row.line;
    EXPECT_EQ(result.out, row.out) << row.line;
    Words sent = actions(session);
    EXPECT_EQ(sent, *row.request ? Words{row.request} : Words{}) << row.line;
  }
  EXPECT_EQ(session.host().violations(), "");
}

constexpr char kSuccess[] = "cmd success\n";
constexpr char kFailed[] = "cmd failed.\n";
constexpr char kTwice[] = "Duplicated option specified.\n";

// clang-format off
TEST(Vd, ReadsItsOptionsAndSendsOneRequest) {
  CliSession session("lab");
  expectRows(session, {
    {"vd -a Create -r 1 -d 0,1", 0, kSuccess, "0 10003e2 3 0"},
    {"vd -a create -r 10 -d 0,1,2,3 -b 512", 0x73B, kFailed, "0 100203e2 f 0"},
    {"vd -a create -r 0 -r 1 -d 3,3,1 --sbs=1024 --namespace=300", 0x73E, kFailed, "0 10303e2 a 2c"},
    {"vd -a create -r JBOD -d 255x,2 --namespace", 0x73D, kFailed, "0 f0003e2 5 0"},
    {"vd -a delete -i 1", 0, kSuccess, "0 104e2 0 0"},
    {"vd -a delete -i 256", 0, "-i : invalid id '256'\n"},
    {"vd -r 1", 14, "Error action!\n"},
    {"vd --sbs", 0, "-b : invalid stripe block size ''.\n"},
    {"vd -d 0,32", 0, "-d : invalid PD ID '0,32'\n"},
  });
  dbg_enable = true;
  expectRows(session, {{"vd -a delete -i 9", 0x707,
    "CDW[0] : 0x000000e2\nCDW[12]: 0x000904e2\nCDW[13]: 0x00000000\nCDW[14]: 0x00000000\ncmd failed.\n",
    "0 904e2 0 0"}});
  dbg_enable = false;
  g_oneBaseMode = 1;
  expectRows(session, {
    {"vd -a delete -i 2", 0x707, kFailed, "0 104e2 0 0"},
    {"vd -a delete -i 0", 0, "-i : invalid id '0'\n"},
    {"vd -a create -r 1 -d 1,256,32", 0x706, kFailed, "0 10003e2 80000001 0"},
  });
}

TEST(Bga, StartsAndStops) {
  CliSession session;
  expectRows(session, {
    {"init -i 0", 0x745, kFailed, "0 6e3 0 20000"},
    {"mp -a stop -i 1", 0x743, kFailed, "0 4e3 0 30001"},
    {"rebuild -a start -i 1 -d 7", 0, kSuccess, "0 7e3 0 70001"},
    {"rebuild -a start -i 0", 0, "rebuild: option -d is required\n"},
    {"mp -i 65536", 0, "-i : invalid vd id '65536'.\n"},
  });
  g_oneBaseMode = 1;
  expectRows(session, {{"rebuild -i 1 -d 0", 0, "-i : invalid pd id '0'.\n"}});
}

TEST(Import, AdoptsOnTheChosenAdapterWhatTheCurrentOneShows) {
  CliSession session;
  EXPECT_EQ(session.run("import -l 3").out, "VD 3 import successfully.\n");
  EXPECT_THAT(actions(session), ElementsAre("0 e2 0 3", "0 6e2 0 3"));
  expectRows(session, {
    {"import -l 7", 0, "\nUnable to get info of VD\n", "0 e2 0 7"},
    {"import -l 0 -i 1", 0, "Importable not support or parameters error.\n"},
    {"import -l 65536", 1, "-l : invalid vd id '65536'\n"},
    {"import -i 2 -l x", 1, "NVMe Controller 2 does not exist.\n"},
    {"import -i 0", 1, "import: option -l is required\n"},
  });
  g_oneBaseMode = 1;
  expectRows(session, {
    {"import -i 3", 1, "NVMe Controller 2 does not exist.\n"},
    {"import -l 4", 0, "\nVD 4 is not importable.\n", "0 e2 0 3"},
  });
}

TEST(Ns, ReadsItsOptionsAndSendsOneRequest) {
  CliSession session("lab");
  session.run("vd -a create -r 1 -d 0,1");
  actions(session);
  expectRows(session, {
    {"ns -a create -i 1 -c 1 -l 0x2800000", 0x741, "\nUnable to create NS\n", "0 10204e5 2800000 0"},
    {"ns -a share -i 1 -s no -c 1", 0, "\nSet sharing NS successfully\n", "0 103e5 0 100"},
    {"ns -a share -e 7472580000000001 -i 9 -s YES", 0, "\nSet sharing NS successfully\n", "0 103e5 0 1"},
    {"ns -a attach -i 1 -d 0,1", 0, "Attach namespace success\n", "0 0 0 0"},
    {"ns -a detach -i 1 -d 0,1", 0, "Detach namespace success\n", "1 0 0 0"},
    {"ns -i 1", 1, "Error action!\n"},
    {"ns -p ctrl --list", 0, "Primary Controller Id is 0\n"},
    {"ns -a init -a share", 0, kTwice},
    {"ns -i 65536", 0, "invalid id '65536'\n"},
    {"ns -d 0,", 0, "-d : controller ids should be a number\n"},
  });
  g_oneBaseMode = 1;
  session.run("adapter -i 2");
  actions(session);
  expectRows(session, {
    {"ns -a init -i 1 -n 2", 0, "\nInitial NS successfully\n", "0 2e5 0 2"},
    {"ns -i 1 -a init -n 2", 0, "\nInitial NS successfully\n", "0 102e5 0 2"},
    {"ns -a create -i 0", 0, "invalid id '0'\n"},
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

TEST(Help, StandsAloneOrIsAskedFor) {
  CliSession session;
  for (const std::string word : {"vd", "ns", "init", "mp", "rebuild", "import", "event", "log"}) {
    CommandResult alone = session.run(word), asked = session.run(word + " -h -a");
    EXPECT_EQ(alone.status, 1) << word;
    EXPECT_EQ(asked.status, 0) << word;
    EXPECT_EQ(asked.out, alone.out) << word;
    EXPECT_THAT(alone.out, AllOf(StartsWith("Description:"), HasSubstr("\n" + word + " "))) << word;
  }
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
  actions(session);
  expectRows(session, {{"log -a show --outputfile=/nonexistent/x", 1,
                        "Unable to open file '/nonexistent/x': No such file or directory\n"}});
}

}  // namespace
}  // namespace trx::test
