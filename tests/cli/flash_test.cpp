// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/flash/flash.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>

#include "Functions/handlers.h"
#include "RealData.h"
#include "Requests.h"

namespace trx::test {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr char kInvalidImage[] = "(Invalid firmware image, please check image and try again.)\n";
constexpr char kReboot[] = "firmware success, please shutdown and boot again to make firmware active.\n";
constexpr char kQuery[] = "flash -o hba -q firmware";

class Flash : public ::testing::Test {
 protected:
  ~Flash() override { EXPECT_EQ(session.host().violations(), ""); }

  std::string image(const Words &options) {
    std::string path = session.host().directory() / "image.bin";
    Words words{path};
    words.insert(words.end(), options.begin(), options.end());
    EXPECT_EQ(session.host().sim("image", words).status, 0);
    return path;
  }
  void fault(const Words &words) {
    Words add{"add"};
    add.insert(add.end(), words.begin(), words.end());
    EXPECT_EQ(session.host().sim("fault", add).status, 0);
  }
  std::string controllerVersion() {
    std::string out = session.run("info -o hba -i 0").out;
    size_t at = out.find("Firmware Version:") + 37;
    return out.substr(at, out.find('\n', at) - at);
  }

  CliSession session;
};

/// What a controller update prints, with any number of polls in between.
bool isTransfer(const std::string &out, const std::string &end) {
  const std::string start = "start to flash NVMe Controller 0 firmware\n";
  if (!out.starts_with(start) || !out.ends_with(end)) return false;
  std::string polls = out.substr(start.size(), out.size() - start.size() - end.size());
  return std::regex_match(polls, std::regex("(flash NVMe Controller 0, percentage [0-9]{1,3}\n)*"));
}

TEST_F(Flash, ChecksItsOptionsInOrder) {
  const std::string help = std::string("Description:Update flash image.") + flash_help;
  auto required = [](const std::string &letters) {
    std::string lines;
    for (char letter : letters) lines += std::string("flash: option -") + letter + " is required\n";
    return lines;
  };
  const std::string duplicated = "Duplicated option specified.\n";
  const struct {
    const char *line;
    std::string out;
    int32_t status = 1;
  } rows[] = {
      {"flash", help, 1},
      {"flash -h", help, 0},
      {"flash -z", help, 0},
      {"flash -o disk", "-o : invalid object 'disk'\n"},
      {"flash -t full", "-t : invalid type 'full'\n"},
      {"flash -i x", "-i : invalid id 'x'.\n"},
      {"flash -i 4294967296", "-i : invalid id '4294967296'.\n"},
      {"flash -s 8", "-s : invalid firmware slot '8'.\n"},
      {"flash --fs=9999999999", "-s : invalid firmware slot '9999999999'.\n"},
      {"flash -c 8", "-c : invalid commit action '8'.\n"},
      {"flash --bp_id=2", "-b : invalid boot partition id '2'.\n"},
      {"flash --slot_info firmware",
       "-q : invalid query ''\n"},  // an optional argument stands in the same word
      {"flash -c 1 -c 1", duplicated},
      {"flash -i 1 -i x", "-i : invalid id 'x'.\n" + duplicated},
      {"flash -o hba -o hba -c 1", required("sf")},
      {"flash -o hba -t raw", required("cf")},
      {"flash -f x", required("ocs")},
      {"flash -o pd -c 1 -s 1", required("fi")},
      {"flash -o pd -f x.bin -s 1 -c 1", required("i")},
      {"flash -c 3", required("os")},
  };
  for (const auto &row : rows) {
    CommandResult result = session.run(row.line);
    EXPECT_EQ(result.out, row.out) << row.line;
    EXPECT_EQ(result.status, row.status) << row.line;
  }
  g_oneBaseMode = 1;
  EXPECT_EQ(session.run("flash -o pd -i 0 -c 2 -s 1").out, "-i : invalid id '0'.\n");
  EXPECT_THAT(session.requests(), IsEmpty());
}

TEST_F(Flash, ShowsSlots) {
  const char *const slots = "Slot count: 3\nActive Slot: 1, Next Active Slot: 0\n";
  CommandResult hba = session.run("flash -o pd -o hba -i 9 -q firmware");  // two objects: the controller
  EXPECT_EQ(hba.library, slots);
  EXPECT_EQ(hba.out, "");
  EXPECT_EQ(session.run("flash -o hd -q FIRMWARE --id 2").library, slots);
  EXPECT_THAT(briefRequests(session),
              ElementsAre("op=6 cdw10=1 len=4096", "op=2 nsid=ffffffff cdw10=7f0003 len=512",
                          "op=c2 nsid=2 cdw10=1 cdw14=6 len=4096",
                          "op=c2 nsid=2 cdw10=7f0003 cdw14=2 cdw15=ffffffff len=512"));

  CommandResult none = session.run("flash -q firmware");
  EXPECT_EQ(none.out, "flash: option -o is required\n");
  EXPECT_EQ(none.library, "Unknown slot information request.");
  EXPECT_EQ(none.status, 0);
  EXPECT_THAT(session.run("flash -o pd -i 99 -q firmware").library,
              EndsWith("\nGet Firmware Slot Count Fail"));
  fault({"op=2", "nvme=6"});
  CommandResult noLog = session.run(kQuery);
  EXPECT_THAT(noLog.library,
              AllOf(StartsWith("Slot count: 3\n"), EndsWith("\nGet Firmware Slot Information Fail")));
  EXPECT_EQ(noLog.status, 0);
}

TEST_F(Flash, UpdatesADisk) {
  std::string path = image({"--size", "10000", "--revision", "NEW7"});
  const std::string done = std::string("Flash NVMe Controller 0 disk 2 ") + kReboot;
  session.requests();
  CommandResult result = session.run("flash -o pd -i 2 -f \"" + path + "\" -s 2 -c 1");
  EXPECT_EQ(
      result.out,
      "Download firmware percentage:0\nDownload firmware percentage:40\nDownload firmware percentage:81\n" +
          done);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(briefRequests(session), ElementsAre("op=c3 nsid=2 cdw10=3ff cdw14=11 len=4096",
                                                  "op=c3 nsid=2 cdw10=3ff cdw11=400 cdw14=11 len=4096",
                                                  "op=c3 nsid=2 cdw10=3ff cdw11=800 cdw14=11 len=4096",
                                                  "op=c3 nsid=2 cdw10=a cdw14=10"));
  EXPECT_EQ(session.run("flash -o pd -i 2 -q firmware").library,
            "Slot count: 3\nActive Slot: 1, Next Active Slot: 2\n");
  EXPECT_THAT(session.run("info -o pd -i 2").out, Not(HasSubstr("NEW7")));
  session.host().sim("restart");
  EXPECT_THAT(session.run("info -o pd -i 2").out, HasSubstr("Firmware version:       NEW7"));

  // Activation alone; the line says success whatever the status.
  session.requests();
  result = session.run("flash -o pd -i 2 -s 1 -c 3 -f /nonexistent");
  EXPECT_EQ(result.out, done);
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(briefRequests(session), ElementsAre("op=c3 nsid=2 cdw10=19 cdw14=10"));
  EXPECT_EQ(session.run("flash -o pd -i 2 -q firmware").library,
            "Slot count: 3\nActive Slot: 1, Next Active Slot: 0\n");
  result = session.run("flash -o pd -i 2 -s 3 -c 2 -b 1");
  EXPECT_EQ(result.out, done);
  EXPECT_EQ(result.status, 2) << "a disk without boot partitions";

  g_oneBaseMode = 1;
  session.requests();
  EXPECT_EQ(session.run("flash -o pd -i 3 -s 7 -c 2").status, 0x106);
  EXPECT_THAT(briefRequests(session), ElementsAre("op=c3 nsid=2 cdw10=17 cdw14=10"));
}

TEST_F(Flash, CommitsNoDiskImageAfterAFailedSegment) {
  std::string path = image({"--size", "16384"});
  fault({"op=c3", "nth=2", "nvme=0x114"});
  session.requests();
  CommandResult result = session.run("flash -o pd -i 0 -f " + path + " -s 1 -c 1");
  std::string message =
      std::string("\nStart to flash NVMe Controller 0 disk 0 firmware failed ") + kInvalidImage;
  EXPECT_EQ(result.out, "Download firmware percentage:0\nDownload firmware percentage:25\n" + message);
  EXPECT_EQ(result.status, static_cast<int32_t>(message.size()));
  EXPECT_EQ(session.requests().size(), 2u);
}

TEST_F(Flash, SendsNothingOfAFileThatIsNoImage) {
  std::string empty = session.host().directory() / "empty", huge = session.host().directory() / "huge";
  std::ofstream(empty).close();
  std::ofstream(huge).close();
  ASSERT_EQ(truncate(huge.c_str(), off_t{1} << 32), 0);
  const struct {
    std::string path, line;
  } rows[] = {
      {"/nonexistent", "failed to open file /nonexistent\n"},
      {"/", "failed to open file /\n"},
      {"\"\"", "failed to open file \n"},
      {empty, "file " + empty + " is empty\n"},
      {huge, "file " + huge + " is too large\n"},
  };
  for (const auto &row : rows) {
    CommandResult result = session.run("flash -o pd -i 0 -s 1 -c 1 -f " + row.path);
    EXPECT_EQ(result.out, row.line);
    EXPECT_EQ(result.status, 1);
  }
  for (const std::string &path : {empty, image({"--size", "33554432"})}) {
    CommandResult result = session.run("flash -o hba -s 1 -c 1 -f " + path);
    EXPECT_THAT(result.out,
                EndsWith(std::string("start to flash NVMe Controller 0 firmware failed ") + kInvalidImage));
    EXPECT_EQ(result.status, 1);
  }
  EXPECT_THAT(session.requests(), IsEmpty());
}

TEST_F(Flash, UpdatesTheController) {
  std::string path = image({"--size", "8192", "--version", "1.0.2.1031"});
  // The second poll, a second after the start, falls into the second of two segments.
  fault({"op=11", "nth=2", "delay=1500"});
  session.requests();
  CommandResult result = session.run("flash -o hba -f \"" + path + "\" -s 2 -c 1");
  const std::string done = std::string("flash NVMe Controller 0 ") + kReboot;
  EXPECT_TRUE(isTransfer(result.out, "flash NVMe Controller 0, percentage 50\n" + done)) << result.out;
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(briefRequests(session),
              ElementsAre("op=11 cdw10=3ff len=4096", "op=11 cdw10=3ff cdw11=400 len=4096", "op=10 cdw10=a"));
  EXPECT_EQ(session.run(kQuery).library, "Slot count: 3\nActive Slot: 1, Next Active Slot: 2\n");
  EXPECT_EQ(controllerVersion(), "1.2.0.1035");
  session.host().sim("restart");
  EXPECT_EQ(session.run(kQuery).library, "Slot count: 3\nActive Slot: 2, Next Active Slot: 0\n");
  EXPECT_EQ(controllerVersion(), "1.0.2.1031");

  session.requests();
  result = session.run("flash -o hba -s 1 -c 3 -f /nonexistent");
  EXPECT_TRUE(isTransfer(result.out, std::string("Flash NVMe Controller 0 ") + kReboot)) << result.out;
  EXPECT_EQ(result.status, 0x10B);
  EXPECT_THAT(briefRequests(session), ElementsAre("op=10 cdw10=19"));
}

TEST_F(Flash, ActivatesARawImageBeforeTheCommit) {
  std::string path = image({"--size", "4096", "--version", "3.1.0.7"});
  session.requests();
  CommandResult result = session.run("flash -o hba -t raw -s 3 -f " + path + " -c 1");
  EXPECT_TRUE(isTransfer(result.out, std::string("flash NVMe Controller 0 ") + kReboot)) << result.out;
  // Slot 1, whatever -s says; the controller has compared the CRC in dword 15 with its own.
  Words sent = briefRequests(session);
  ASSERT_EQ(sent.size(), 3u);
  EXPECT_THAT(sent[1], StartsWith("op=e2 cdw12=10be0 cdw13=20585254 cdw15="));
  EXPECT_EQ(sent[2], "op=10 cdw10=9");
  EXPECT_EQ(controllerVersion(), "1.2.0.1035") << "also when the slot that it came from is overwritten";
  session.host().sim("restart");
  EXPECT_EQ(controllerVersion(), "3.1.0.0007");
}

TEST_F(Flash, TellsWhyAControllerUpdateFailed) {
  const std::string failed = "Flash NVMe Controller 0 firmware failed (error code: ";
  const struct {
    Words image, fault;
    const char *words;
    int32_t status;
    size_t requests;
  } rows[] = {
      {{"--size", "4096", "--bad-sum"}, {}, "-s 1 -c 1", 0x107, 2},
      {{"--size", "4096", "--bad-sum"}, {}, "-t raw -c 1", 1, 0},
      {{"--size", "12288"}, {"op=11", "nth=2", "nvme=6"}, "-s 1 -c 1", 6, 2},
      {{"--size", "4096"}, {"op=e2", "group=e0", "sub=b", "nvme=0x701"}, "-t raw -c 1", 0x701, 2},
      {{"--size", "4096"}, {}, "-s 4 -c 1", 0x106, 2},
      {{"--size", "4096"}, {}, "-s 1 -c 5", 2, 2},
  };
  for (const auto &row : rows) {
    std::string path = image(row.image);
    if (!row.fault.empty()) fault(row.fault);
    session.requests();
    CommandResult result = session.run("flash -o hba -f " + path + " " + row.words);
    EXPECT_TRUE(isTransfer(result.out, failed + std::to_string(row.status) + ")\n")) << result.out;
    EXPECT_EQ(result.status, row.status);
    EXPECT_EQ(session.requests().size(), row.requests) << row.words;
  }
  // No adapter has this id, and it does not come round to one that is there.
  CommandResult far = session.run("flash -o hba -i 256 -s 1 -c 2");
  EXPECT_THAT(far.out, EndsWith("Flash NVMe Controller 256 firmware failed (error code: 1)\n"));
  EXPECT_THAT(session.requests(), IsEmpty());
  session.host().sim("restart");
  EXPECT_EQ(controllerVersion(), "1.2.0.1035");
}

TEST_F(Flash, KilledInMidTransferLeavesTheOldFirmware) {
  std::string path = image({"--size", "65536", "--version", "9.9.9.9"});
  fault({"op=11", "nth=3", "delay=5000"});
  SimHost &host = session.host();
  Outcome killed = runProgram(host.runWords({"timeout", "-s", "KILL", "0.7", TRX_CLI_PATH, "flash", "-o",
                                             "hba", "-f", path, "-s", "1", "-c", "1"}));
  EXPECT_EQ(killed.status, 137);
  std::string sent = ::testing::PrintToString(briefRequests(session));
  EXPECT_THAT(sent, AllOf(HasSubstr("op=11 cdw10=3ff cdw11=400 "), Not(HasSubstr("op=10"))));
  host.sim("fault", {"clear"});
  host.sim("restart");
  EXPECT_EQ(controllerVersion(), "1.2.0.1035");
  EXPECT_EQ(session.run(kQuery).library, "Slot count: 3\nActive Slot: 1, Next Active Slot: 0\n");
  EXPECT_EQ(session.run("flash -o hba -s 1 -f '" + path + "' -c 1").status, 0)
      << "and a new transfer goes through";
}

TEST(FlashSlots, ReadsRealPagesAsAnotherProgramDoes) {
  std::filesystem::path folder = realData() / "nvme";
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << folder;
  Capture out(STDOUT_FILENO);
  printSlotCount(readRecord<TRX_ID_CONTROLLER>(folder / "identify/ecclesia_samsung.real.bin"));
  printActiveSlots(readRecord<TRX_FIRMWARE_SLOT_INFO_LOG>(folder / "fwslot/ecclesia.real.bin"));
  int frmw = readJson(folder / "identify/ecclesia_samsung.real.nvme-cli.json")["frmw"];
  int afi = readJson(folder / "fwslot/ecclesia.real.nvme-cli.json")["null"]["Active Firmware Slot (afi)"];
  char expected[96];
  std::snprintf(expected, sizeof expected, "Slot count: %d\nActive Slot: %d, Next Active Slot: %d\n",
                frmw / 2 % 8, afi % 8, afi / 16 % 8);
  EXPECT_EQ(out.text(), expected);
}

TEST_F(Flash, SendsTheCommandsThatAnotherProgramSends) {
  std::filesystem::path file = realData() / "commands/nvme_cli_commands.json";
  if (!std::filesystem::exists(file)) GTEST_SKIP() << file;
  Words theirs;
  nlohmann::json runs = readJson(file)["runs"];
  for (const char *label :
       {"id-ctrl", "fw-log", "smart-log", "fw-download-10000", "fw-commit-slot7-action2"}) {
    for (const nlohmann::json &run : runs) {
      if (run["label"] != label) continue;
      for (const nlohmann::json &command : run["commands"]) {
        if (!command.contains("opcode")) continue;
        auto dword = [&](const char *key) {
          return std::stoul(command[key].get<std::string>(), nullptr, 16);
        };
        char line[128];
        // A last segment that is short goes out whole here.
        std::snprintf(line, sizeof line, "x admin op=%lx nsid=%lx cdw10=%lx cdw11=%lx len=%d",
                      dword("opcode"), dword("nsid"), dword("cdw10") | (dword("opcode") == 0x11 ? 0x3FF : 0),
                      dword("cdw11"), dword("opcode") == 0x11 ? 4096 : command["data_len"].get<int>());
        theirs.push_back(brief(line));
      }
    }
  }
  std::string path = image({"--size", "10000"});
  session.requests();
  for (const std::string &line :
       {std::string(kQuery), std::string("smart -o hba -i 0"), "flash -o hba -s 1 -c 1 -f " + path,
        std::string("flash -o hba -s 7 -c 2")}) {
    session.run(line);
  }
  Words ours = briefRequests(session);
  std::erase(ours, "op=10 cdw10=9");  // the commit of the 10000 bytes
  EXPECT_EQ(ours, theirs);
}

}  // namespace
}  // namespace trx::test
