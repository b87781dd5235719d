// SPDX-License-Identifier: GPL-3.0-or-later
// vd, ns, init, mp, rebuild, import, event and log: options, requests, results.
#include <gmock/gmock.h>

#include <cstdlib>
#include <cstring>
#include <ctime>

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
    {"vd -r 1", 14, "Error action!\n"},
    {"vd -a delete -i 9", 0x707, "CDW[0] : 0x000000e2\nCDW[12]: 0x000904e2\nCDW[13]: 0x00000000\nCDW[14]: 0x00000000\ncmd failed.\n", {"op=e2 cdw12=904e2"}, 0, true},
    {"vd -a delete -i 2", 0x707, kFailed, {"op=e2 cdw12=104e2"}, 1},
    {"vd -a delete -i 0", 0, "-i : invalid id '0'\n", {}, 1},
    {"vd -a create -r 1 -d 1,256,32", 0x706, kFailed, {"op=e2 cdw12=10003e2 cdw13=80000001"}, 1},
    {"vd -a delete -i 256", 0x707, kFailed, {"op=e2 cdw12=ff04e2"}, 1},
    {"vd -d 0", 0, "-d : invalid PD ID '0'\n", {}, 1},
  });
  expectRefused(session, {
    {"vd -a delete -i 256", "-i : invalid id '256'"}, {"vd --sbs", "-b : invalid stripe block size ''."}, {"vd -d 0,32", "-d : invalid PD ID '0,32'"},
    {"vd -a update", "-a : invalid action 'update'."}, {"vd -r 2", "-r : invalid raid mode 2"}, {"vd -i x", "-i : invalid vd id 'x'."},
    {"vd -n x", "-n : invalid namespaces 'x'."}, {"vd -d ,1", "-d : invalid PD ID ',1'"}, {"vd -d 1,,2", "-d : invalid PD ID '1,,2'"},
    {"vd -d 1,", "-d : invalid PD ID '1,'"}, {"vd -a create -d 0", "vd: option -r is required"}, {"vd -a create -r 1", "vd: option -d is required"},
    {"vd -a delete", "vd: option -i is required"},
  });
}

TEST(Bga, StartsAndStops) {
  CliSession session;
  expectRows(session, {
    {"init -i 0", 0x745, kFailed, {"op=e2 cdw12=6e3 cdw14=20000"}},
    {"mp -a stop -i 1", 0x743, kFailed, {"op=e2 cdw12=4e3 cdw14=30001"}},
    {"rebuild -a start -i 1 -d 7", 0, kSuccess, {"op=e2 cdw12=7e3 cdw14=70001"}},
    {"rebuild -i 1 -d 0", 0, "-i : invalid pd id '0'.\n", {}, 1},
    {"rebuild -i 1 -d 4294967296", 0, "-d : invalid pd id '4294967296'.\n", {}, 1},
    {"rebuild -i 2", 0x745, "CDW[0] : 0x000000e2\nCDW[12]: 0x000007e3\nCDW[14]: 0x00000001\ncmd failed.\n", {"op=e2 cdw12=7e3 cdw14=1"}, 1, true},
    {"rebuild -i 2 -d 9 -d 8", 0x745, kFailed, {"op=e2 cdw12=7e3 cdw14=70001"}, 1},
    {"rebuild -a STOP -i 1 -d 3", 0, kSuccess, {"op=e2 cdw12=4e3 cdw14=30001"}},
    {"mp -a start -i 3", 0, kSuccess, {"op=e2 cdw12=ae3 cdw14=2"}, 1},
    {"init -i 2", 0x735, kFailed, {"op=e2 cdw12=6e3 cdw14=20001"}, 1},
    {"mp -i 0", 0, "-i : invalid vd id '0'.\n", {}, 1},
  });
  expectRefused(session, {
    {"rebuild -a start -i 0", "rebuild: option -d is required"}, {"mp -i 65536", "-i : invalid vd id '65536'."}, {"rebuild -i 1 -d 70000", "-d : invalid pd id '70000'."},
    {"rebuild -i 1 -d x", "-d : invalid pd id 'x'."}, {"init -a pause", "-a : invalid action 'pause'."}, {"init -i x", "-i : invalid vd id 'x'."},
    {"mp -a start", "mp: option -i is required"},
  });
}

TEST(Import, AdoptsOnTheChosenAdapterWhatTheCurrentOneShows) {
  CliSession session;
  expectRows(session, {
    {"import -l 3", 0, "VD 3 import successfully.\n", {"op=e2 cdw12=e2 cdw14=3 len=4096", "op=e2 cdw12=6e2 cdw14=3"}},
    {"import -l 7", 0, "\nUnable to get info of VD\n", {"op=e2 cdw12=e2 cdw14=7 len=4096"}},
    {"import -l 65536", 1, "-l : invalid vd id '65536'\n"},
    {"import -i 2 -l x", 1, "NVMe Controller 2 does not exist.\n"},
    {"import -i 0", 1, "import: option -l is required\n"},
    {"import -i 3", 1, "NVMe Controller 2 does not exist.\n", {}, 1},
    {"import -l 4", 0, "\nVD 4 is not importable.\n", {"op=e2 cdw12=e2 cdw14=3 len=4096"}, 1},
    {"import -i x -l 0", 1, "-i : invalid NVMe Controller id 'x'\n"},
    {"import -i 0 -l 0", 1, "-i : invalid NVMe Controller id '0'\n", {}, 1},
    {"import -l x", 1, "-l : invalid vd id 'x'\n"},
    {"import -l 0", 1, "-l : invalid vd id '0'\n", {}, 1},
    {"import -l 0 -i 1", 0, "Importable not support or parameters error.\n"},
  });
  for (TRX_U32 features : {TRX_FEATURE_RAID, TRX_FEATURE_IMPORT}) {  // both are needed
    g_pAdInfos[0].Features = features;
    expectRow(session, {"import -l 3", 0, "Importable not support or parameters error.\n"});
  }
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
    {"ns -a detach -i 4294967295", 0x0B, "Detach namespace failed\n", {"op=15 nsid=ffffffff cdw10=1 len=4096"}},
    {"adapter -i 1", 0, "NVMe Controller 1 set as default CLI commands refers to.\n"},
    {"ns -a init -i 1 -n 2", 0, "\nInitial NS successfully\n", {"vmhba3 admin op=e2 cdw12=2e5 cdw14=2"}, 1},
    {"ns -i 1 -a init -n 2", 0, "\nInitial NS successfully\n", {"vmhba3 admin op=e2 cdw12=102e5 cdw14=2"}, 1},
    {"ns -a create -i 0", 0, "invalid id '0'\n", {}, 1},
    {"ns -a create -c 3 -i 255 -l 0x123456789", 0x706, "\nUnable to create NS\n", {"vmhba3 admin op=e2 cdw12=3ff04e5 cdw13=23456789 cdw14=1"}, 1},
    {"ns -a init -i 9 -n 258", 0x706, "\nUnable to initial NS\n", {"vmhba3 admin op=e2 cdw12=902e5 cdw14=2"}},
    {"ns -a share -i 9 -s no -c 16777215", 0x704, "\nUnable to set sharing NS\n", {"vmhba3 admin op=e2 cdw12=903e5 cdw14=ffffff00"}},
    {"ns -a ATTACH -i 9", 0xB, "Attach namespace failed\n", {"vmhba3 admin op=15 nsid=9 len=4096"}},
    {"ns -a detach -i 9", 0xB, "Detach namespace failed\n", {"vmhba3 admin op=15 nsid=9 cdw10=1 len=4096"}},
    {"ns -d 1,0", 0, "invalid controller id '0'\n", {}, 1},
  });
  expectRefused(session, {
    {"ns -a init -i 65536 -n 1", "invalid id '65536'"}, {"ns -a share -i 65536 -s yes", "invalid id '65536'"},
    {"ns -a share -i 1 -s no -c 16777216", "-c: controller id should be a number"}, {"ns -i 4294967296", "invalid id '4294967296'"}, {"ns -l 0x1g", "-l: Invalid LBA"},
    {"ns -d 0,", "-d : controller ids should be a number"}, {"ns -a make", "-a : invalid action 'make'."}, {"ns -i x", "-i: id should be a number"},
    {"ns -e 747258000000001", "-e : invalid EUI64 '747258000000001'."}, {"ns -e 74725800000000001", "-e : invalid EUI64 '74725800000000001'."},
    {"ns -n x", "-n: number of namespace should be a number"}, {"ns -s maybe", "-s : invalid option 'maybe'."}, {"ns -c x", "-c: controller id should be a number"},
    {"ns -l x", "-l: Invalid LBA"}, {"ns -p disk", "-p : invalid value 'disk'"}, {"ns -d 65536", "invalid controller id '65536'"},
    {"ns -a init -n 1", "ns: option -i is required"}, {"ns -a init -i 1", "ns: option -n is required"}, {"ns -a share -s no", "ns: option -i or -e is required"},
    {"ns -a share -i 1", "ns: option -s is required"}, {"ns -a create -c 1 -l 1", "ns: option -i is required"}, {"ns -a create -i 1 -l 1", "ns: option -c is required"},
    {"ns -a create -i 1 -c 1", "ns: option -l is required"}, {"ns -a attach -d 1", "ns: option -i or -e is required"},
    {"ns -a detach -e 747258010000000a", "invalid EUI64 id: 747258010000000a"},
  });
  // Without the feature, and without any namespaces, nothing more is looked at.
  g_pAdInfos[1].Features &= ~static_cast<TRX_U32>(TRX_FEATURE_NAMESPACE);
  g_pAdInfos[1].MaxNS = 0;
  expectRefused(session, {
    {"ns -a attach", "Namespace management and attachment is not support."},
    {"ns -a share -s yes -e 7472580100000001", "Get MaxNS from adapter info fail.\ninvalid EUI64 id: 7472580100000001"},
    {"ns --list", "Get MaxNS from adapter info fail."}, {"info -o ns", "Get MaxNS from adapter info fail."},
  });
}

TEST(Ns, ReadsWhatTheControllerSays) {
  CliSession session;
  session.run("adapter -i 1");
  session.requests();
  deviceSays = [](std::span<uint8_t> reply) {
    if (reply[0] == 'T') return;
    reply[0] = 0x34, reply[1] = 0x12;
    std::fill_n(&reply[120], 8, uint8_t{0});
  };
  expectRows(session, {
    {"ns -p ctrl", 0, "Primary Controller Id is 4660\n", {"vmhba3 admin op=6 cdw10=14 len=4096"}},
    // A namespace without an EUI-64 is not found by it.
    {"ns -a share -e 0000000000000000 -s yes", 0, "invalid EUI64 id: 0000000000000000\n"},
  });
}

TEST(Ns, BoundsItsLists) {
  CliSession session;
  std::string list(2 * 2048 - 1, ',');
  for (size_t i = 0; i < list.size(); i += 2) list[i] = '0';
  EXPECT_EQ(session.run("ns -d " + list).out, "-d : at most 2047 controller ids\n");
  EXPECT_EQ(session.run("ns -d " + list.substr(2)).out, "Error action!\n");
  session.run("ns -a detach -i 1 -d 0,1");
  EXPECT_THAT(session.requests().back(), EndsWith("dir=0 len=4096 out=0200000001"));
  g_oneBaseMode = 1;
  session.run("ns -a detach -i 1 -d 3,65536");
  EXPECT_THAT(session.requests().back(), EndsWith("nsid=1 cdw2=0 cdw10=1 cdw11=0 cdw12=0 cdw13=0 cdw14=0 cdw15=0 dir=0 len=4096 out=02000200ffff"));
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
  std::string pages;
  for (const char *at : {"", "1", "2", "3", "4", "5", "6", "7", "8", "9", "a", "b", "c", "d", "e", "f"})
    pages += std::string("< op=e2 cdw10=3ff cdw12=4fe ") + (*at ? "cdw13=" : "") + at + (*at ? "000 " : "") + "cdw14=1000 len=4096\n";
  setenv("TZ", "EST+5", 1);
  tzset();
  play(session, {{"event -c x", "-c : invalid count 'x'.\n=> 1\n"},
                 {"event -c 2", "Seq:5\nTime:2024-03-09 11:00:00\nMessage:init on virtual disk 0 is 25% done\n\n"
                                "Seq:4\nTime:15 seconds from the boot time.\nMessage:init on virtual disk 0 started\n\nTotal events: 2\n=> 0\n" + pages}});
  session.host().sim("fault", {"add", "nvme=6", "group=fe", "sub=4", "nth=2"});
  EXPECT_THAT(session.run("event -c 0").out, StartsWith("\n event request fail\nSeq:5\n"));
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
  EXPECT_EQ(show({"add", "signature", "group=fe", "sub=2"}).status, 1);
  session.host().sim("fault", {"add", "nvme=0x701", "group=fe", "sub=3"});
  session.requests();
  expectRows(session, {
    {"log -a show --outputfile=/nonexistent/x", 1, "Unable to open file '/nonexistent/x': No such file or directory\n"}, {"log --outputfile=/dev/null", 1, "Error action!\n"},
    {"log -a OFF", 0x701, "CDW[0] : 0x000000e2\nCDW[12]: 0x000003fe\nCDW[14]: 0x00000000\ncmd failed.\n", {"op=e2 cdw12=3fe"}, 0, true},
    {"log -a on", 0, kSuccess, {"op=e2 cdw12=3fe cdw14=1"}},
  });

  // Pieces as the device says them: only the low half of the word is the length, and all of it tells the last.
  std::vector<TRX_U32> lengths{4080, 0x10000, 1, 0};
  size_t next = 0;
  deviceSays = [&](std::span<uint8_t> reply) {
    if (reply.size() != TRX_PAGE_SIZE || next == lengths.size()) return;
    std::fill(reply.begin() + 16, reply.end(), static_cast<uint8_t>('a' + next));
    std::memcpy(&reply[8], &lengths[next++], 4);
  };
  lengths.insert(lengths.begin(), 1);  // the state
  EXPECT_EQ(show({}).out, std::string(4080, 'b') + "d" + kSuccess);
  lengths = {1, 4081}, next = 0, session.requests();
  expectRow(session, {"log -a show", 1, "Error SPI data length: 4081\n", {"op=e2 cdw10=3ff cdw12=2fe len=4096", "op=e2 cdw10=3ff cdw12=fe len=4096"}});
  lengths = {1, 0x10000}, next = 0;
  EXPECT_EQ(show({}).out, empty);
  deviceSays = [](std::span<uint8_t> reply) { reply[8] = 1, reply[16] = '.'; };
  EXPECT_EQ(show({}).out, std::string(16384, '.') + "SPI log does not end\n");
  EXPECT_EQ(session.run("log -a show --outputfile=/dev/full").status, 1);
}

// clang-format on

}  // namespace
}  // namespace trx::test
