// SPDX-License-Identifier: GPL-3.0-or-later
// vd, ns, init, mp, rebuild, import, event and log: options, requests, results.
#include <gmock/gmock.h>

#include "CliSession.h"
#include "Public/common.h"

namespace trx::test {
namespace {

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
    {"vd -a delete -i 255", 0x707, kFailed, "0 ff04e2 0 0"},
    {"vd -a delete -i 256", 0, "-i : invalid id '256'\n"},
    {"vd -a delete -i 2x", 0, "-i : invalid vd id '2x'.\n"},
    {"vd -a delete", 0, "vd: option -i is required\n"},
    {"vd -a create -d 1", 0, "vd: option -r is required\n"},
    {"vd -a create -r 1", 0, "vd: option -d is required\n"},
    {"vd -r 1", 14, "Error action!\n"},
    {"vd -a create -a delete", 1, kTwice},
    {"vd -a mend", 0, "-a : invalid action 'mend'.\n"},
    {"vd -r 01 -a mend", 0, "-r : invalid raid mode 01\n"},
    {"vd -n 2x", 0, "-n : invalid namespaces '2x'.\n"},
    {"vd --sbs", 0, "-b : invalid stripe block size ''.\n"},
    {"vd -d 0,32", 0, "-d : invalid PD ID '0,32'\n"},
    {"vd -d 0,,1", 0, "-d : invalid PD ID '0,,1'\n"},
    {"vd -d 1,", 0, "-d : invalid PD ID '1,'\n"},
    {"vd -d x", 0, "-d : invalid PD ID 'x'\n"},
  });
  EXPECT_EQ(session.run("vd -z").err, "vd: illegal option -- z\n");
  g_oneBaseMode = 1;
  expectRows(session, {
    {"vd -a delete -i 2", 0x707, kFailed, "0 104e2 0 0"},
    {"vd -a delete -i 0", 0, "-i : invalid id '0'\n"},
    {"vd -d 1,0", 0, "-d : invalid PD ID '1,0'\n"},
    {"vd -a create -r 1 -d 1,256,32", 0x706, kFailed, "0 10003e2 80000001 0"},
  });
}

TEST(Bga, StartsAndStops) {
  CliSession session;
  expectRows(session, {
    {"init -i 0", 0x745, kFailed, "0 6e3 0 20000"},
    {"init -a STOP -i 0", 0, kSuccess, "0 4e3 0 30000"},
    {"mp -i 2", 0, kSuccess, "0 ae3 0 2"},
    {"mp -a stop -i 1", 0x743, kFailed, "0 4e3 0 30001"},
    {"rebuild -i 1 -d 7 -d 0", 0x73B, kFailed, "0 7e3 0 1"},
    {"rebuild -i 1", 0x73B, kFailed, "0 7e3 0 1"},
    {"rebuild -a start -i 1 -d 7", 0, kSuccess, "0 7e3 0 70001"},
    {"rebuild -a stop -i 1", 0, kSuccess, "0 4e3 0 30001"},
    {"rebuild -a start -i 0", 0, "rebuild: option -d is required\n"},
    {"rebuild -a start -d 2", 0, "rebuild: option -i is required\n"},
    {"rebuild -i 0 -d x", 0, "-d : invalid pd id 'x'.\n"},
    {"init -a start -a stop -i 0", 1, kTwice},
    {"init -i 0 -i 0", 1, kTwice},
    {"mp -a rest", 0, "-a : invalid action 'rest'.\n"},
    {"mp -i 65536", 0, "-i : invalid vd id '65536'.\n"},
  });
  EXPECT_EQ(session.run("init -i 0 -d 1").err, "init: illegal option -- d\n");
  g_oneBaseMode = 1;
  expectRows(session, {
    {"rebuild -i 1 -d 0", 0, "-i : invalid pd id '0'.\n"},
    {"rebuild -i 0", 0, "-i : invalid vd id '0'.\n"},
    {"mp -i 3 -a stop", 0, kSuccess, "0 4e3 0 30002"},
  });
}

TEST(Import, AdoptsOnTheChosenAdapterWhatTheCurrentOneShows) {
  CliSession session;
  auto request = [&] { return actions(session); };
  EXPECT_EQ(session.run("import -l 3").out, "VD 3 import successfully.\n");
  EXPECT_THAT(request(), ElementsAre("0 e2 0 3", "0 6e2 0 3"));
  EXPECT_EQ(session.run("import -l 0").out, "\nVD 0 is not importable.\n");
  EXPECT_EQ(session.run("import -l 7").out, "\nUnable to get info of VD\n");
  request();
  expectRows(session, {
    {"import -l 0 -i 1", 0, "Importable not support or parameters error.\n"},
    {"import -i 2 -l x", 1, "NVMe Controller 2 does not exist.\n"},
    {"import -i x", 1, "-i : invalid NVMe Controller id 'x'\n"},
    {"import -l x", 1, "-l : invalid vd id 'x'\n"},
    {"import -l 1 -l 1", 1, kTwice},
    {"import -i 0", 1, "import: option -l is required\n"},
  });
  g_oneBaseMode = 1;
  expectRows(session, {
    {"import -i 0", 1, "-i : invalid NVMe Controller id '0'\n"},
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
    {"ns -a create -i 1 -c 1 -l 4294967297", 0x741, "\nUnable to create NS\n", "0 10204e5 1 1"},
    {"ns -a init -i 1 -n 258", 0x705, "\nUnable to initial NS\n", "0 102e5 0 2"},
    {"ns -a share -i 1 -s no -c 1", 0, "\nSet sharing NS successfully\n", "0 103e5 0 100"},
    {"ns -a share -e 7472580000000001 -i 9 -s YES", 0, "\nSet sharing NS successfully\n", "0 103e5 0 1"},
    {"ns -a share -e 747258000000000A -s yes", 0, "invalid EUI64 id: 747258000000000A\n"},
    {"ns -a share -e 0000000000000000 -s yes", 0, "invalid EUI64 id: 0000000000000000\n"},
    {"ns -a share -s yes", 0, "ns: option -i or -e is required\n"},
    {"ns -a share -i 1", 0, "ns: option -s is required\n"},
    {"ns -a init -n 1", 0, "ns: option -i is required\n"},
    {"ns -a init -i 1", 0, "ns: option -n is required\n"},
    {"ns -a create -l 1 -i 0", 0, "ns: option -c is required\n"},
    {"ns -a create -c 1 -i 0", 0, "ns: option -l is required\n"},
    {"ns -a attach -d 0", 0, "ns: option -i or -e is required\n"},
    {"ns -a attach -i 1", 0x11C, "Attach namespace failed\n", "0 0 0 0"},
    {"ns -a attach -i 1 -d 0,1", 0, "Attach namespace success\n", "0 0 0 0"},
    {"ns -a detach -i 1 -d 0,1", 0, "Detach namespace success\n", "1 0 0 0"},
    {"ns -i 1", 1, "Error action!\n"},
    {"ns -p ctrl --list", 0, "Primary Controller Id is 0\n"},
    {"ns -a init -a share", 0, kTwice},
    {"ns --list --list", 0, kTwice},
    {"ns -p none", 0, "-p : invalid value 'none'\n"},
    {"ns -i x", 0, "-i: id should be a number\n"},
    {"ns -i 65536", 0, "invalid id '65536'\n"},
    {"ns -e 12", 0, "-e : invalid EUI64 '12'.\n"},
    {"ns -n x", 0, "-n: number of namespace should be a number\n"},
    {"ns -s maybe", 0, "-s : invalid option 'maybe'.\n"},
    {"ns -c x", 0, "-c: controller id should be a number\n"},
    {"ns -l x", 0, "-l: Invalid LBA\n"},
    {"ns -d 0,x", 0, "-d : controller ids should be a number\n"},
    {"ns -d 0,", 0, "-d : controller ids should be a number\n"},
    {"ns -a mend", 0, "-a : invalid action 'mend'.\n"},
  });
  EXPECT_EQ(session.run("ns -L").err, "ns: illegal option -- L\n");
  std::string many = "ns -d 0";
  for (int i = 1; i < 900; ++i) many += ",0";
  EXPECT_EQ(session.run(many + " -i 1").out, "Error action!\n");
  g_oneBaseMode = 1;
  session.run("adapter -i 2");
  actions(session);
  expectRows(session, {
    {"ns -a init -i 1 -n 2", 0, "\nInitial NS successfully\n", "0 2e5 0 2"},
    {"ns -i 1 -a init -n 2", 0, "\nInitial NS successfully\n", "0 102e5 0 2"},
    {"ns -a create -i 0", 0, "invalid id '0'\n"},
    {"ns -d 1,0", 0, "invalid controller id '0'\n"},
  });
}
// clang-format on

TEST(Ns, RefusesMoreControllersThanAListHolds) {
  CliSession session;
  std::string list(2 * 2048 - 1, ',');
  for (size_t i = 0; i < list.size(); i += 2) list[i] = '0';
  EXPECT_EQ(session.run("ns -d " + list).out, "-d : at most 2047 controller ids\n");
  EXPECT_EQ(session.run("ns -d " + list.substr(2)).out, "Error action!\n");
}

TEST(Ns, SendsTheControllerListWhole) {
  CliSession session;
  session.run("ns -a detach -i 1 -d 0,1");
  Words sent = session.requests();
  ASSERT_FALSE(sent.empty());
  EXPECT_THAT(sent.back(), EndsWith("dir=0 len=4096 out=02000000"
                                    "01"));
}

TEST(Ns, ReadsNoMoreThanAReplyHolds) {
  CliSession session;
  g_pAdInfos[0].MaxNS = 255;
  session.run("ns -p ctrl");
  EXPECT_THAT(session.requests(), SizeIs(1 + 4 + 1)) << "the list, its four namespaces, the primary";
  session.host().sim("fault", {"add", "ones", "op=e2", "group=e5"});
  session.run("ns -p ctrl");
  EXPECT_THAT(session.requests(), SizeIs(1 + 1)) << "a reply without signature lists nothing";
}

TEST(Help, StandsAloneOrIsAskedFor) {
  CliSession session;
  for (const std::string word : {"vd", "ns", "init", "mp", "rebuild", "import", "event", "log"}) {
    CommandResult alone = session.run(word);
    EXPECT_EQ(alone.status, 1) << word;
    EXPECT_THAT(alone.out, StartsWith("Description:")) << word;
    EXPECT_THAT(alone.out, HasSubstr("\n" + word + " ")) << word;
    CommandResult asked = session.run(word + " -h -a");
    EXPECT_EQ(asked.status, 0) << word;
    EXPECT_EQ(asked.out, alone.out) << word;
  }
}

TEST(Trace, ShowsEveryDwordThatIsGiven) {
  CliSession session;
  dbg_enable = true;
  EXPECT_EQ(session.run("vd -a delete -i 9").out,
            "CDW[0] : 0x000000e2\nCDW[12]: 0x000904e2\nCDW[13]: 0x00000000\nCDW[14]: 0x00000000\n"
            "cmd failed.\n");
  EXPECT_THAT(session.run("event -c 1").out,
              StartsWith("CDW[0] : 0x000000e2\nCDW[10]: 0x000003ff\nCDW[12]: 0x000004fe\n"
                         "CDW[13]: 0x00000000\nCDW[14]: 0x00001000\n"));
  EXPECT_EQ(session.run("log -a off").out,
            "CDW[0] : 0x000000e2\nCDW[12]: 0x000003fe\nCDW[14]: 0x00000000\ncmd success\n");
}

TEST(Event, ShowsWhatTheOtherRequestsBroughtWhenOneFails) {
  CliSession session;
  CommandResult one = session.run("event -c 1");
  EXPECT_THAT(one.out, StartsWith("Seq:5\n"));
  EXPECT_EQ(one.library, "Total events: 1\n");
  EXPECT_THAT(session.requests(), SizeIs(16));
  EXPECT_EQ(session.run("event -c 1x").out, "-c : invalid count '1x'.\n");
  EXPECT_EQ(session.run("event --count").library, "Total events: 5\n");
  session.host().sim("fault", {"add", "nvme=6", "group=fe", "sub=4", "nth=2"});
  CommandResult gap = session.run("event -c 0");
  EXPECT_THAT(gap.out, StartsWith("\n event request fail\nSeq:5\n"));
  EXPECT_EQ(gap.status, 0);
  session.host().sim("fault", {"add", "nvme=6", "group=fe", "sub=4", "count=16"});
  CommandResult none = session.run("event -c 0");
  EXPECT_THAT(none.library, EndsWith("No events\n"));
  EXPECT_EQ(none.status, 6);
}

TEST(Log, RefusesWhatCannotBeRead) {
  CliSession session;
  const char unable[] = "\nUnable to get SPI log from NVMe Controller 0\n";
  auto show = [&](const Words &fault) {
    if (!fault.empty()) session.host().sim("fault", fault);
    return session.run("log -a show");
  };
  EXPECT_EQ(show({}).out, unable);
  EXPECT_EQ(session.run("log -a on").out, kSuccess);
  EXPECT_EQ(show({}).out, std::string("No SPI log\n") + kSuccess);
  EXPECT_EQ(show({"add", "signature", "group=fe", "sub=2"}).status, 1);
  EXPECT_EQ(show({"add", "nvme=6", "group=fe", "sub=2"}).out,
            unable + std::string("No SPI log\n") + kSuccess);
  EXPECT_EQ(show({"add", "nvme=6", "group=fe", "sub=0"}).status, 6);
  EXPECT_EQ(show({"add", "ones", "group=fe", "sub=0"}).out, "Error SPI data length: 65535\n");
  EXPECT_EQ(session.run("log -a on -a off").out, kTwice);
  EXPECT_EQ(session.run("log -a maybe").out, "-a : invalid action 'maybe'.\n");
  EXPECT_EQ(session.run("log --outputfile=/dev/null").out, "Error action!\n");
  CommandResult unopened = session.run("log -a show --outputfile=/nonexistent/x");
  EXPECT_EQ(unopened.out, "Unable to open file '/nonexistent/x': No such file or directory\n");
  EXPECT_EQ(unopened.status, 1);
}

}  // namespace
}  // namespace trx::test
