// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include "Functions/handlers.h"
#include "Public/common.h"
#include "Requests.h"

namespace trx::test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr char kSuccess[] = "Passthrough command is success.\n";

TEST(Passthru, BuildsTheCommandFromItsOptions) {
  CliSession session;
  const struct {
    const char *line, *out, *request;
  } rows[] = {
      {"passthru -i 0 -o 6 -r read --cdw10=0x1", "CDW[0]: 0x6\n\n", "op=c2 cdw10=1 cdw14=6"},
      {"passthru -i 3 -o 0x102 -r READ", "CDW[0]: 0x2\n\n", nullptr},  // 8 bits; log 0 is not there
      {"passthru -i 1 -o 10 -r read --cdw10=10 -n 1", "CDW[0]: 0xa\n\n", nullptr},
      {"passthru -i 1 -o 2 -r read --cdw10=0x7f0002 -d 8 -t nvm",
       "CDW[0]: 0x2\n\n0x00 0x34 0x01 0x64 0x0a 0x00 0x00 0x00 \n",
       "op=c2 nsid=1 cdw10=7f0002 cdw14=2 len=8"},
      // 65544 bytes travel as 8: no more can come back, and no more is shown.
      {"passthru -i 1 -o 2 -r read --cdw10=0x7f0002 -d 65544",
       "CDW[0]: 0x2\n\n0x00 0x34 0x01 0x64 0x0a 0x00 0x00 0x00 \n",
       "op=c2 nsid=1 cdw10=7f0002 cdw14=2 len=8"},
      {"passthru -i 1 -o 0xa -r read --cdw10 0x104 -m 16 --cdw11=11 --cdw12=12 --cdw13=0xffffffff -n "
       "0x100000002",
       "CDW[0]: 0xa\n\n", "op=c2 nsid=1 cdw10=104 cdw11=b cdw12=c cdw13=ffffffff cdw14=a cdw15=2"},
      {"passthru -i 1 -o 6 -p 2 -f 1 -r read", "CDW[0]: 0x8106\n", "op=c2 nsid=1 cdw14=8106"},
      {"passthru -i 1 -o 6 -r read --cdw2=5 --cdw3=6", "CDW[0]: 0x6\n", "op=c2 nsid=1 cdw2=5 cdw14=6"},
  };
  for (const auto &row : rows) {
    CommandResult result = session.run(row.line);
    Words sent = briefRequests(session);
    EXPECT_THAT(result.out, StartsWith(result.status == 0 ? row.out : std::string(row.out, 8))) << row.line;
    EXPECT_THAT(result.out, EndsWith(result.status == 0 ? kSuccess : "Passthrough command is failed.\n"))
        << row.line;
    if (row.request) {
      EXPECT_THAT(sent, ElementsAre(row.request)) << row.line;
    }
  }
  EXPECT_EQ(session.host().violations(), "");
}

TEST(Passthru, DumpsAndDecodesTheHealthLog) {
  CliSession session;
  const std::string line = "passthru -i 0 -o 2 -n 0xffffffff --cdw10=0x7f0002 --data-len=512 -r read";
  CommandResult result = session.run(line);
  EXPECT_THAT(briefRequests(session), ElementsAre("op=c2 cdw10=7f0002 cdw14=2 cdw15=ffffffff len=512"));
  std::string health = session.run("smart -i 0").out;
  ASSERT_EQ(result.status, 0);
  size_t decode = result.out.find("\nNVME SMART");
  std::string dump = result.out.substr(0, decode);
  EXPECT_EQ(std::count(dump.begin(), dump.end(), '\n'), 1 + 1 + 32);
  EXPECT_THAT(dump, StartsWith("CDW[0]: 0x2\n\n0x00 0x34 0x01 0x64 0x0a 0x00 "));
  EXPECT_THAT(dump, EndsWith("0x00 \n"));
  EXPECT_EQ(result.out.substr(decode), health + kSuccess);

  std::string file = session.host().directory() / "health log";
  CommandResult saved = session.run(line + " --outputfile \"" + file + "\" --showcmd");
  std::string quoted = session.host().directory() / "health.quoted";
  session.run(line + " --outputfile '" + quoted + "'");
  std::string bytes = readFile(file);
  EXPECT_EQ(bytes.size(), 512u);
  EXPECT_EQ(bytes, readFile(quoted));
  EXPECT_EQ(bytes.substr(0, 4), std::string("\0\x34\x01\x64", 4));
  std::string shown = std::regex_replace(saved.out, std::regex("CDW07: 0x[0-9a-f]+000\n"), "CDW07: PAGE\n");
  EXPECT_EQ(shown,
            "CDW[0]: 0x2\n[Command Format]\nCDW00: 0xc2\nCDW01: 0x0\nCDW02: 0x0\nCDW03: 0x0\nCDW04: 0x0\n"
            "CDW05: 0x0\nCDW06: 0x0\nCDW07: PAGE\nCDW08: 0x0\nCDW09: 0x200\nCDW10: 0x7f0002\nCDW11: 0x0\n"
            "CDW12: 0x0\nCDW13: 0x0\nCDW14: 0x2\nCDW15: 0xffffffff\n" +
                health + kSuccess);
}

TEST(Passthru, WritesOnlyTheFileThatIsOpen) {
  CliSession session;
  std::string out = session.host().directory() / "out", in = session.host().directory() / "in";
  const std::string line = "passthru -i 0 -o 6 --cdw10=1 -d 4096 -r read ";
  ASSERT_EQ(session.run(line + "--outputfile " + in).status, 0);
  EXPECT_EQ(readFile(in).size(), 4096u);
  EXPECT_THAT(readFile(in), HasSubstr("Halden HX1 NVMe SSD 960GB"));

  // The later file replaces the earlier: nothing is written to the input file, and that is told.
  CommandResult replaced = session.run(line + "--outputfile " + out + " --inputfile " + in);
  EXPECT_EQ(replaced.status, 1);
  EXPECT_THAT(replaced.out, HasSubstr("Unable to write file '" + in + "'"));
  EXPECT_EQ(readFile(in).size(), 4096u);
  EXPECT_EQ(readFile(out), "");

  session.requests();
  EXPECT_EQ(session.run(line + "--outputfile /nonexistent/x").out,
            "Unable to open file '/nonexistent/x': No such file or directory\n");
  EXPECT_EQ(session.run(line + "--inputfile /").out, "Unable to open file '/': Is a directory\n");
  EXPECT_THAT(session.requests(), IsEmpty());
  EXPECT_EQ(session.run(line + "--outputfile /dev/full").status, 1);
}

TEST(Passthru, RefusesWithResultZero) {
  CliSession session;
  const std::string help =
      std::string("Description:Passthrough NVMe admin command to backend device") + passthru_help;
  const std::string duplicated = "Duplicated option specified.\n";
  const struct {
    const char *line;
    std::string out;
    int32_t status = 0;
  } rows[] = {
      {"passthru", help, 1},
      {"passthru --help", help},
      {"passthru -z", ""},
      {"passthru -i 0x1", "-i: SSD adapter id should be a number\n"},
      {"passthru -i 99999999999", "-i : invalid SSD adapter id '99999999999'.\n"},
      {"passthru -r both", "-r : invalid request 'both'\n"},
      {"passthru -t io", "-t : invalid action 'io'\n"},
      {"passthru -p a", "-p: PSDT should be a decimal or hexadecimal\n"},
      {"passthru -f -1", "-f: FUSE should be a decimal or hexadecimal\n"},
      {"passthru -o 1x0", "-o: OPCode should be a decimal or hexadecimal\n"},
      {"passthru -n all", "-n: Namespace id should be a decimal or hexadecimal\n"},
      {"passthru --cdw2=g", "--cdw2: CDW2 should be a decimal or hexadecimal\n"},
      {"passthru --cdw13=1x0", "--cdw13: CDW13 should be a decimal or hexadecimal\n"},
      {"passthru -m k", "-m: Metadata length id should be a decimal or hexadecimal\n"},
      {"passthru -d 4k", "-d: data length id should be a decimal or hexadecimal\n"},
      {"passthru -d 18446744073709551615 -i 0",
       "Unable to allocate a buffer of 18446744073709551615 bytes.\n"},
      {"passthru -m 0xffffffff -i 0", "Unable to allocate a buffer of 0xffffffff bytes.\n"},
      {"passthru -o 6 -r read", "passthru: option -i is required\n"},
      {"passthru -i 0 -o 6", "passthru: option -r is required\n"},
      {"passthru -i 0 -r read", "passthru: option -r is required\n"},
      {"passthru -i 0 -r read -r read", duplicated},
      {"passthru -d 1 -d 1", duplicated},
      {"passthru --cdw12=1 --cdw12=1 -i 0", duplicated},
      {"passthru -i 0 -o 0x10 -r write",
       "CDW[0]: 0x10\nVMware does not support passthrough write command .\n"},
      {"passthru -i 0 -o 0x10 -r None --showcmd",
       "CDW[0]: 0x10\n[Command Format]\nCDW00: 0xc3\nCDW01: 0x0\nCDW02: 0x0\nCDW03: 0x0\nCDW04: 0x0\n"
       "CDW05: 0x0\nCDW06: 0x0\nCDW07: 0x0\nCDW08: 0x0\nCDW09: 0x0\nCDW10: 0x0\nCDW11: 0x0\nCDW12: 0x0\n"
       "CDW13: 0x0\nCDW14: 0x10\nCDW15: 0x0\nVMware does not support passthrough write command .\n"},
  };
  for (const auto &row : rows) {
    CommandResult result = session.run(row.line);
    EXPECT_EQ(result.out, row.out) << row.line;
    EXPECT_EQ(result.status, row.status) << row.line;
  }
  g_oneBaseMode = 1;
  EXPECT_EQ(session.run("passthru -i 0").out, "-i : invalid SSD adapter id '0'.\n");
  EXPECT_THAT(session.requests(), IsEmpty());
}

TEST(Passthru, TellsWhatTheDiskAnswered) {
  CliSession session;
  const struct {
    const char *words;
    int32_t status;
    const char *text;
  } rows[] = {
      {"-i 77 -o 6", 0x706, "Invalid HD ID"},
      {"-i 0 -o 0x77", 0x001, "Invalid"},
      {"-i 0 -o 0x10", 0x002, "Invalid Field"},  // a command without data is not read
      {"-i 0 -o 2 --cdw10=0x7f0005 -d 512", 0x109, "Invalid Log Page"},
      {"-i 0 -o 6 -n 9 -d 4096", 0x00B, "Invalid Namespace"},
  };
  for (const auto &row : rows) {
    CommandResult result = session.run(std::string("passthru -r read ") + row.words);
    EXPECT_EQ(result.status, row.status) << row.words;
    EXPECT_THAT(result.out, EndsWith("\nPassthrough command is failed.\n")) << row.words;
    EXPECT_THAT(result.library, HasSubstr(row.text)) << row.words;
  }
}

}  // namespace
}  // namespace trx::test
