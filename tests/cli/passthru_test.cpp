// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "Functions/handlers.h"
#include "Play.h"
#include "Public/common.h"

namespace trx::test {
namespace {

using namespace ::testing;

#define SUCCESS "Passthrough command is success.\n"
// clang-format off
#define FAILED(text) "Passthrough command is failed.\nNVMEDevice_sendCommand Failed, Input/output error.\n" text "\n"
TEST(Passthru, BuildsTheCommandFromItsOptions) {
  CliSession session;
  const std::string eight = "CDW[0]: 0x2\n\n0x00 0x34 0x01 0x64 0x0a 0x00 0x00 0x00 \n" SUCCESS;
  play(session, {
      {"passthru -i 3 -o 0x6 -r READ --cdw10=0x1 -t NVM", "CDW[0]: 0x6\n\n" SUCCESS "=> 0\n< op=c2 nsid=3 cdw10=1 cdw14=6\n"},
      {"passthru -i 1 -o 2 -r read --cdw10=0x7f0002 -d 8", eight + "=> 0\n< op=c2 nsid=1 cdw10=7f0002 cdw14=2 len=8\n"},
      {"passthru -i 1 -o 10 -r read --cdw10 0x104 -m 16 --cdw11=11 --cdw12=12 --cdw13=0xffffffff -n 0x2",
       "CDW[0]: 0xa\n\n" SUCCESS "=> 0\n< op=c2 nsid=1 cdw10=104 cdw11=b cdw12=c cdw13=ffffffff cdw14=a cdw15=2\n"},
      {"passthru -i 1 -o 6 -r read --cdw10=1 --cdw2=5 --cdw3=6 --data-len=0", "CDW[0]: 0x6\n\n" SUCCESS "=> 0\n< op=c2 nsid=1 cdw2=5 cdw10=1 cdw14=6\n"},
      {"passthru -i 1 -o 6 -p 2 -f 1 -r read", "CDW[0]: 0x8106\n" FAILED("Invalid Field in Command (Status Code: 0x2)") "=> 2\n< op=c2 nsid=1 cdw14=8106\n"},
      {"passthru -i 3 -o 0xb -p 1 -f 2 -n 0x17 --cdw2=0x22 --cdw3=0x33 --cdw10=0x1010 --cdw11=0x1111 --cdw12=0x1212 --cdw13=0x1313 -s -r write",
       "CDW[0]: 0x420b\n[Command Format]\nCDW00: 0xc3\nCDW01: 0x3\nCDW02: 0x22\nCDW03: 0x33\nCDW04: 0x0\nCDW05: 0x0\nCDW06: 0x0\nCDW07: 0x0\nCDW08: 0x0\nCDW09: 0x0\n"
       "CDW10: 0x1010\nCDW11: 0x1111\nCDW12: 0x1212\nCDW13: 0x1313\nCDW14: 0x420b\nCDW15: 0x17\nVMware does not support passthrough write command .\n=> 0\n"},
      {"passthru -i 1 -o 6 -r read --cdw10=1 -d 17", "CDW[0]: 0x6\n\n0x10 0x7a 0x10 0x7a 0x48 0x58 0x31 0x53 0x30 0x41 0x37 0x37 0x34 0x38 0x20 0x20 \n0x20 \n" SUCCESS "=> 0\n< op=c2 nsid=1 cdw10=1 cdw14=6 len=17\n"},
      // The health log is decoded where it is whole, and where it is that command.
      {"passthru -i 1 -o 6 -r read --cdw10=0x7f0002 -d 1", "CDW[0]: 0x6\n" FAILED("Invalid Field in Command (Status Code: 0x2)") "=> 2\n< op=c2 nsid=1 cdw10=7f0002 cdw14=6 len=1\n"},
      {"passthru -i 77 -o 6 -r read", "CDW[0]: 0x6\n" FAILED("Invalid HD ID (Status Code: 0x706)") "=> 1798\n< op=c2 nsid=4d cdw14=6\n"},
      {"passthru -i 0 -o 0x77 -r read", "CDW[0]: 0x77\n" FAILED("Invalid Command Opcode (Status Code: 0x1)") "=> 1\n< op=c2 cdw14=77\n"},
      {"passthru -i 0 -o 2 -r read --cdw10=0x7f0005", "CDW[0]: 0x2\n" FAILED("Invalid Log Page (Status Code: 0x109)") "=> 265\n< op=c2 cdw10=7f0005 cdw14=2\n"},
  });
  EXPECT_EQ(session.host().violations(), "");
}

TEST(Passthru, DumpsAndDecodesTheHealthLog) {
  CliSession session;
  const std::string line = "passthru -i 0 -o 2 -n 0xffffffff --cdw10=0x7f0002 --data-len=512 -r read";
  std::string text = transcript(session, line), health = session.run("smart -i 0").out;
  std::string dump = text.substr(0, text.find("\nNVME SMART"));
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 1 + 1 + 32);
  EXPECT_THAT(dump, StartsWith("CDW[0]: 0x2\n\n0x00 0x34 0x01 0x64 0x0a 0x00 "));
  EXPECT_THAT(dump, EndsWith("0x00 \n"));
  EXPECT_EQ(text.substr(dump.size()), health + SUCCESS "=> 0\n< op=c2 cdw10=7f0002 cdw14=2 cdw15=ffffffff len=512\n");

  std::string file = session.host().directory() / "health log", quoted = session.host().directory() / "log";
  std::string saved = session.run(line + " --outputfile \"" + file + "\" --showcmd").out;
  session.run(line + " --outputfile '" + quoted + "'");
  EXPECT_EQ(readFile(file).size(), 512u);
  EXPECT_EQ(readFile(file), readFile(quoted));
  EXPECT_EQ(readFile(file).substr(0, 4), std::string("\0\x34\x01\x64", 4));
  EXPECT_EQ(std::regex_replace(saved, std::regex("CDW07: 0x[0-9a-f]+000\n"), "CDW07: PAGE\n"),
            "CDW[0]: 0x2\n[Command Format]\nCDW00: 0xc2\nCDW01: 0x0\nCDW02: 0x0\nCDW03: 0x0\nCDW04: 0x0\nCDW05: 0x0\nCDW06: 0x0\nCDW07: PAGE\n"
            "CDW08: 0x0\nCDW09: 0x200\nCDW10: 0x7f0002\nCDW11: 0x0\nCDW12: 0x0\nCDW13: 0x0\nCDW14: 0x2\nCDW15: 0xffffffff\n" + health + SUCCESS);
}

TEST(Passthru, WritesOnlyTheFileThatIsOpen) {
  CliSession session;
  std::string out = session.host().directory() / "out", in = session.host().directory() / "in";
  const std::string line = "passthru -i 0 -o 6 --cdw10=1 -d 4096 -r read ";
  ASSERT_EQ(session.run(line + "--outputfile " + in).status, 0);
  EXPECT_THAT(readFile(in), HasSubstr("Halden HX1 NVMe SSD 960GB"));
  // The later file replaces the earlier: nothing is written to the input file, and that is told.
  CommandResult replaced = session.run(line + "--outputfile " + out + " --inputfile " + in);
  EXPECT_EQ(replaced.status, 1);
  EXPECT_THAT(replaced.out, HasSubstr("Unable to write file '" + in + "'"));
  EXPECT_EQ(readFile(in).size(), 4096u);
  EXPECT_EQ(session.run(line + "--outputfile /dev/full").status, 1);
  // 65544 bytes travel as 8; the file has all that were asked for.
  play(session, {{"passthru -i 0 -o 6 --cdw10=1 -d 65544 -r read --outputfile " + out,
                  "CDW[0]: 0x6\n" SUCCESS "=> 0\n< op=c2 cdw10=1 cdw14=6 len=8\n"}});
  EXPECT_EQ(readFile(out), readFile(in).substr(0, 8) + std::string(65536, '\0'));
}

TEST(Passthru, RefusesWithResultZero) {
  CliSession session;
  const std::string refused = "VMware does not support passthrough write command .";
  const std::pair<std::string, std::string> refusals[] = {
      {"passthru -i 0x1", "-i: SSD adapter id should be a number"}, {"passthru -i 99999999999", "-i : invalid SSD adapter id '99999999999'."},
      {"passthru -r both", "-r : invalid request 'both'"}, {"passthru -t io", "-t : invalid action 'io'"}, {"passthru -i 65536", "-i : invalid SSD adapter id '65536'."},
      {"passthru -d 1048577", "A length of 1048577 bytes is too large, at most 1048576."},
      {"passthru -m 0x100001", "A length of 0x100001 bytes is too large, at most 1048576."},
      {"passthru --outputfile /none/x", "Unable to open file '/none/x': No such file or directory"},
      {"passthru --inputfile /", "Unable to open file '/': Is a directory"}, {"passthru -o 6 -r read", "passthru: option -i is required"},
      {"passthru -i 0 -o 6", "passthru: option -r is required"}, {"passthru -i 0 -r read", "passthru: option -r is required"},
      {"passthru -i 0 -r read -r read", "Duplicated option specified."}, {"passthru -d 1 -d 1", "Duplicated option specified."},
      {"passthru -i 0 -o 0x10 -r write", "CDW[0]: 0x10\n" + refused}, {"passthru -i 0 -o 0x10 -r None", "CDW[0]: 0x10\n" + refused},
  };
  for (const auto &[line, text] : refusals) EXPECT_EQ(transcript(session, line), text + "\n=> 0\n") << line;
  const struct { std::string option, name; Words values; } numbers[] = {
      {"-p", "PSDT", {"a", "4"}}, {"-f", "FUSE", {"-1", "0x4"}}, {"-o", "OPCode", {"1x0", "0x180", "0xg"}}, {"-n", "Namespace id", {"all", "0x100000000"}},
      {"-m", "Metadata length id", {"k"}}, {"-d", "data length id", {"4k"}}, {"--cdw2", "CDW2", {"g"}}, {"--cdw3", "CDW3", {"x", "4294967296"}},
      {"--cdw10", "CDW10", {"x", "0x100000000"}}, {"--cdw11", "CDW11", {"x", "0x100000000"}}, {"--cdw12", "CDW12", {"x", "0x100000000"}}, {"--cdw13", "CDW13", {"1x0"}},
  };
  for (const auto &row : numbers) {
    for (const std::string &value : row.values)
      EXPECT_EQ(transcript(session, "passthru " + row.option + " " + value), row.option + ": " + row.name + " should be a decimal or hexadecimal\n=> 0\n");
  }
  g_oneBaseMode = 1;
  play(session, {{"passthru -i 0", "-i : invalid SSD adapter id '0'.\n=> 0\n"}, {"passthru -i 2 -o 0x77 -r write", "CDW[0]: 0x77\n" + refused + "\n=> 0\n"}});
}
// clang-format on

}  // namespace
}  // namespace trx::test
