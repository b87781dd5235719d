// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/flash/flash.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>
#include <set>

#include "Functions/handlers.h"
#include "Play.h"
#include "RealData.h"

namespace trx::test {
namespace {

using namespace ::testing;

#define REBOOT "firmware success, please shutdown and boot again to make firmware active.\n"
#define INVALID_IMAGE "(Invalid firmware image, please check image and try again.)\n"
#define SLOTS(active, next) "Slot count: 3\nActive Slot: " #active ", Next Active Slot: " #next "\n"
#define SENT_SLOTS "< op=6 cdw10=1 len=4096\n< op=2 nsid=ffffffff cdw10=7f0003 len=512\n"
#define FAILED "NVMEDevice_sendCommand Failed, Input/output error.\n"

class Flash : public ::testing::Test {
 protected:
  ~Flash() override { EXPECT_EQ(session.host().violations(), ""); }
  std::string controllerVersion() {
    std::string out = session.run("info -o hba -i 0").out;
    return out.substr(out.find("Firmware Version:") + 37, 10);
  }
  std::string slots() { return session.run("flash -o hba -q firmware").library; }
  std::string image() { return session.host().directory() / "i.bin"; }
  CliSession session;
};

// Rows are read as tables.
// clang-format off

TEST_F(Flash, ChecksItsOptionsInOrder) {
  const std::string help = std::string("Description:Update flash image.") + flash_help;
  const std::string duplicated = "Duplicated option specified.\n=> 1\n";
  auto required = [](const std::string &letters) {
    return std::regex_replace(letters, std::regex("\\w"), "flash: option -$& is required\n") + "=> 1\n";
  };
  play(session, {
    {"flash -z", help + "flash: illegal option -- z\n=> 0\n"}, {"flash -o disk", "-o : invalid object 'disk'\n=> 1\n"},
    {"flash -t full", "-t : invalid type 'full'\n=> 1\n"}, {"flash -i x", "-i : invalid id 'x'.\n=> 1\n"},
    {"flash -i 4294967296", "-i : invalid id '4294967296'.\n=> 1\n"}, {"flash -s 8", "-s : invalid firmware slot '8'.\n=> 1\n"},
    {"flash --fs=9999999999", "-s : invalid firmware slot '9999999999'.\n=> 1\n"}, {"flash -c 8", "-c : invalid commit action '8'.\n=> 1\n"},
    {"flash -o pd -i 0 -f x --fs 2", "-s : invalid firmware slot ''.\n=> 1\n"}, {"flash -o pd -i 0 -f x --ca 3", "-c : invalid commit action ''.\n=> 1\n"},
    {"flash --bp_id=2", "-b : invalid boot partition id '2'.\n=> 1\n"}, {"flash --slot_info firmware", "-q : invalid query ''\n=> 1\n"}, {"flash -c 1 -c 1", duplicated},
    {"flash -i 1 -i x", "-i : invalid id 'x'.\n" + duplicated}, {"flash -o hba -o hba -c 1", required("sf")}, {"flash -o hba -t raw", required("cf")},
    {"flash -f x", required("ocs")}, {"flash -o pd -c 1 -s 1", required("fi")}, {"flash -o pd -f x.bin -s 1 -c 1", required("i")}, {"flash -c 3", required("os")},
  });
  g_oneBaseMode = 1;
  play(session, {{"flash -o pd -i 0 -c 2 -s 1", "-i : invalid id '0'.\n=> 1\n"}});
}

TEST_F(Flash, ShowsSlots) {
  play(session, {
    {"flash -o pd -o hba -i 9 -q firmware", SLOTS(1, 0) "=> 0\n" SENT_SLOTS},  // the current controller, whatever -i says
    {"flash -o hd -q FIRMWARE --id 2", SLOTS(1, 0) "=> 0\n< op=c2 nsid=2 cdw10=1 cdw14=6 len=4096\n< op=c2 nsid=2 cdw10=7f0003 cdw14=2 cdw15=ffffffff len=512\n"},
    {"flash -q firmware", "flash: option -o is required\nUnknown slot information request.=> 0\n"},
    {"flash -o pd -i 99 -q firmware",
     FAILED "Invalid HD ID (Status Code: 0x706)\nGet Firmware Slot Count Fail=> 0\n< op=c2 nsid=63 cdw10=1 cdw14=6 len=4096\n"},
    {"!fault add op=2 short=0", ""},
    {"flash -o hba -q firmware", SLOTS(0, 0) "=> 0\n" SENT_SLOTS},
    {"!fault add op=2 nvme=0x107", ""},
    {"flash -o hba -q firmware", "Slot count: 3\n" FAILED "Invalid Firmware Image (Status Code: 0x107)\nGet Firmware Slot Information Fail=> 0\n" SENT_SLOTS},
  });
}

TEST_F(Flash, UpdatesADisk) {
  const std::string done = "Flash NVMe Controller 0 disk 2 " REBOOT, sent = "< op=c3 nsid=2 cdw10=";
  auto slots = [&] { return session.run("flash -o pd -i 2 -q firmware").library; };
  play(session, {
    {"!image @i.bin --size 10000 --revision NEW7", ""},
    {"flash -o pd -i 2 -f \"@i.bin\" -s 2 -c 1",
     "Download firmware percentage:0\nDownload firmware percentage:40\nDownload firmware percentage:81\n" + done + "=> 0\n" + sent + "3ff cdw14=11 len=4096\n" +
         sent + "3ff cdw11=400 cdw14=11 len=4096\n" + sent + "3ff cdw11=800 cdw14=11 len=4096\n" + sent + "a cdw14=10\n"},
  });
  EXPECT_EQ(slots(), SLOTS(1, 2));
  EXPECT_THAT(session.run("info -o pd -i 2").out, Not(HasSubstr("NEW7")));
  EXPECT_EQ(session.run("reset -i 2 -t device").status, 0);
  EXPECT_THAT(session.run("info -o pd -i 2").out, HasSubstr("Firmware version:       NEW7"));
  session.run("flash -o pd -i 2 -s 1 -c 2");
  session.host().sim("restart");
  EXPECT_EQ(slots(), SLOTS(1, 0));
  // A commit alone; the line says success whatever the status. No disk here has boot partitions.
  play(session, {
    {"flash -o pd -i 2 -s 1 -c 3 -f /nonexistent", done + "=> 0\n" + sent + "19 cdw14=10\n"},
    {"flash -o pd -i 2 -s 3 -c 2 -b 1", done + FAILED "Invalid Field in Command (Status Code: 0x2)\n=> 2\n" + sent + "80000013 cdw14=10\n"},
  });
  EXPECT_EQ(slots(), SLOTS(1, 0));
  g_oneBaseMode = 1;
  play(session, {{"flash -o pd -i 3 -s 7 -c 2", done + FAILED "Invalid Firmware Slot (Status Code: 0x106)\n=> 262\n" + sent + "17 cdw14=10\n"}});
}

TEST_F(Flash, SendsNothingOfAFileThatIsNoImage) {
  for (const char *name : {"empty", "huge"}) std::ofstream(session.host().directory() / name).close();
  // The first length of which the last page's place would not fit its dword.
  ASSERT_EQ(truncate((session.host().directory() / "huge").c_str(), (off_t{1} << 32) - 4095), 0);
  ASSERT_EQ(mkfifo((session.host().directory() / "pipe").c_str(), 0600), 0);
  const std::string refused = "start to flash NVMe Controller 0 firmware failed " INVALID_IMAGE "=> 1\n";
  play(session, {
    {"flash -o pd -i 0 -s 1 -c 1 -f /none", "failed to open file /none\ntrx_cli: /none: No such file or directory\n=> 1\n"},
    {"flash -o pd -i 0 -s 1 -c 1 -f /", "failed to open file /\ntrx_cli: /: Is a directory\n=> 1\n"},
    {"flash -o pd -i 0 -s 1 -c 1 -f /dev/zero", "failed to open file /dev/zero\ntrx_cli: /dev/zero: Not a regular file\n=> 1\n"},
    {"flash -o pd -i 0 -s 1 -c 1 -f @pipe", "failed to open file @pipe\ntrx_cli: @pipe: Not a regular file\n=> 1\n"},
    {"flash -o pd -i 0 -s 1 -c 1 -f \"\"", "failed to open file \ntrx_cli: : No such file or directory\n=> 1\n"},
    {"flash -o pd -i 0 -s 1 -c 1 -f @empty", "file @empty is empty\n=> 1\n"},
    {"flash -o pd -i 0 -s 1 -c 1 -f @huge", "file @huge is too large\n=> 1\n"},
    {"flash -o hba -s 1 -c 1 -f @empty", "file @empty is empty\n" + refused},
    {"flash -o hba -s 1 -c 1 -f @huge", "file @huge is too large\n" + refused},
    {"!image @large --size 33554432", ""},
    {"flash -o hba -s 1 -c 1 -f @large", refused},
  });
}

TEST_F(Flash, UpdatesTheController) {
  const std::string started = "start to flash NVMe Controller 0 firmware\n", percentage = "flash NVMe Controller 0, percentage ";
  // The second poll, a second after the start, falls into the second of two segments.
  play(session, {{"!image @i.bin --size 8192 --version 1.0.2.1031", ""}, {"!fault add op=11 nth=2 delay=1500", ""}});
  session.requests();
  EXPECT_THAT(session.run("flash -o hba -f \"" + image() + "\" -s 2 -c 1").out,
              MatchesRegex(started + percentage + "[0-9]+\n" + percentage + "50\nflash NVMe Controller 0 " REBOOT));
  EXPECT_EQ(session.requests().size(), 3u);
  EXPECT_EQ(slots(), SLOTS(1, 2));
  EXPECT_EQ(controllerVersion(), "1.2.0.1035");
  session.host().sim("restart");
  EXPECT_EQ(slots(), SLOTS(2, 0));
  EXPECT_EQ(controllerVersion(), "1.0.2.1031");
  play(session, {{"flash -o hba -s 1 -c 3 -f /nonexistent", started + "Flash NVMe Controller 0 " REBOOT FAILED "=> 267\n< op=10 cdw10=19\n"}});
}

// The library takes quotes off the ends of a path: it must end up with the file that was checked.
TEST_F(Flash, SendsTheFileThatWasChecked) {
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(session.host().directory());
  for (const std::string name : {"a'", "b''", "'c"}) {
    session.host().sim("image", {name, "--size", "8192"});
    EXPECT_THAT(transcript(session, "flash -o hba -s 2 -c 1 -f " + name),
                EndsWith("=> 0\n< op=11 cdw10=3ff len=4096\n< op=11 cdw10=3ff cdw11=400 len=4096\n< op=10 cdw10=a\n")) << name;
  }
  for (const char *decoy : {"a", "b", "b'", "c"}) EXPECT_FALSE(std::filesystem::is_regular_file(decoy));
  std::filesystem::current_path(before);
}

TEST_F(Flash, ActivatesARawImageBeforeTheCommit) {
  play(session, {{"!image @i.bin --size 4096 --version 3.1.0.1007", ""}});
  // Slot 1, whatever -s says; the controller has compared the CRC in dword 15 with its own.
  EXPECT_THAT(transcript(session, "flash -o hba -t raw -s 3 -f " + image() + " -c 1"),
              MatchesRegex("start to flash NVMe Controller 0 firmware\nflash NVMe Controller 0 " REBOOT
                           "=> 0\n< op=11 cdw10=3ff len=4096\n< op=e2 cdw12=10be0 cdw13=20585254 cdw15=[0-9a-f]+\n< op=10 cdw10=9\n"));
  EXPECT_EQ(controllerVersion(), "1.2.0.1035") << "also when the slot that it came from is overwritten";
  session.host().sim("restart");
  EXPECT_EQ(controllerVersion(), "3.1.0.1007");
}

TEST_F(Flash, CommitsNothingAfterAFailure) {
  const std::string disk = "\nStart to flash NVMe Controller 0 disk 0 firmware failed " INVALID_IMAGE;
  auto failed = [](const std::string &code, const std::string &why) {
    return "start to flash NVMe Controller 0 firmware\nFlash NVMe Controller 0 firmware failed (error code: " + code + ")\n" + why + "=> " + code + "\n";
  };
  const std::string first = "< op=11 cdw10=3ff len=4096\n", second = "< op=11 cdw10=3ff cdw11=400 len=4096\n";
  play(session, {
    {"!image @i.bin --size 12288", ""},
    {"!fault add op=c3 nth=2 nvme=0x114", ""},
    {"flash -o pd -i 0 -f @i.bin -s 1 -c 1",
     "Download firmware percentage:0\nDownload firmware percentage:33\n" + disk + FAILED "Overlapping Range (Status Code: 0x114)\n=> " + std::to_string(disk.size()) +
         "\n< op=c3 cdw10=3ff cdw14=11 len=4096\n< op=c3 cdw10=3ff cdw11=400 cdw14=11 len=4096\n"},
    {"!fault add op=11 nth=2 nvme=6", ""},
    {"flash -o hba -f @i.bin -s 1 -c 1", failed("6", FAILED) + first + second},
    {"!image @i.bin --size 4096 --bad-sum", ""},
    {"flash -o hba -f @i.bin -s 1 -c 1", failed("263", FAILED) + first + "< op=10 cdw10=9\n"},
    {"flash -o hba -f @i.bin -t raw -c 1", failed("1", "Firmware image @i.bin: its words sum to 0x1, not to 0.\n")},
  });
  // No adapter has this id, and it does not come round to one that is there.
  EXPECT_THAT(transcript(session, "flash -o hba -i 256 -s 1 -c 2"), HasSubstr("Flash NVMe Controller 256 firmware failed (error code: 1)\n=> 1\n"));
  session.host().sim("restart");
  EXPECT_EQ(controllerVersion(), "1.2.0.1035");
}

TEST_F(Flash, KilledInMidTransferLeavesTheOldFirmware) {
  play(session, {{"!image @i.bin --size 65536 --version 9.9.9.9999", ""}, {"!fault add op=11 nth=3 delay=5000", ""}});
  auto kill = [&](const char *object) {
    return runProgram(session.host().runWords({"timeout", "-s", "KILL", "0.7", TRX_CLI_PATH, "flash", "-o", object, "-i", "0", "-f", image(), "-s", "1", "-c", "1"}));
  };
  Outcome killed = kill("hba");
  EXPECT_EQ(killed.status, 137);
  EXPECT_THAT(killed.out, StartsWith("start to flash NVMe Controller 0 firmware\nflash NVMe Controller 0, ")) << "told when it happens, also through a pipe";
  EXPECT_THAT(brief(session.requests().back()), StartsWith("op=11 cdw10=3ff cdw11=400"));
  play(session, {{"!fault clear", ""}, {"!fault add op=c3 delay=5000", ""}});
  EXPECT_EQ(kill("pd").out, "Download firmware percentage:0\n");
  play(session, {{"!fault clear", ""}, {"!restart", ""}});
  EXPECT_EQ(controllerVersion(), "1.2.0.1035");
  EXPECT_EQ(slots(), SLOTS(1, 0));
  EXPECT_EQ(session.run("flash -o hba -s 1 -f '" + image() + "' -c 1").status, 0) << "a new transfer goes through";
}

// clang-format on

TEST(FlashSlots, ReadsRealPagesAsAnotherProgramDoes) {
  std::filesystem::path folder = realData("nvme");
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << folder;
  Capture out(STDOUT_FILENO);
  printSlotCount(readRecord<TRX_ID_CONTROLLER>(folder / "identify/ecclesia_samsung.real.bin"));
  printActiveSlots(readRecord<TRX_FIRMWARE_SLOT_INFO_LOG>(folder / "fwslot/ecclesia.real.bin"));
  EXPECT_EQ(readJson(folder / "identify/ecclesia_samsung.real.nvme-cli.json")["frmw"], 3 << 1 | 0x11);
  EXPECT_EQ(readJson(folder / "fwslot/ecclesia.real.nvme-cli.json")["null"]["Active Firmware Slot (afi)"],
            0x11);
  EXPECT_EQ(out.text(), SLOTS(1, 1));
}

TEST_F(Flash, SendsTheCommandsThatAnotherProgramSends) {
  std::filesystem::path file = realData("commands/nvme_cli_commands.json");
  if (!std::filesystem::exists(file)) GTEST_SKIP() << file;
  const std::set<std::string> labels{"smart-log", "fw-log", "id-ctrl", "fw-commit-slot7-action2"};
  Words theirs, ours;
  const nlohmann::json recorded = readJson(file);
  for (const nlohmann::json &run : recorded["runs"]) {
    if (!labels.contains(run["label"])) continue;
    const nlohmann::json &command = run["commands"][0];
    std::ostringstream line;
    line << std::hex;
    for (const char *key : {"opcode", "nsid", "cdw10", "cdw11", "cdw12", "cdw13"})
      line << ' ' << key << '=' << std::stoul(command[key].get<std::string>(), nullptr, 16);
    theirs.push_back(brief(line.str().replace(0, 7, "op") + " len=" + command["data_len"].dump()));
  }
  for (const char *line : {"smart -o hba -i 0", "flash -o hba -q firmware", "flash -o hba -s 7 -c 2"}) {
    session.run(line);
    for (const std::string &request : session.requests()) ours.push_back(brief(request));
  }
  EXPECT_THAT(ours, UnorderedElementsAreArray(theirs));
}

}  // namespace
}  // namespace trx::test
