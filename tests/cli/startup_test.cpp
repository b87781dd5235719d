// SPDX-License-Identifier: GPL-3.0-or-later
// The entry: adapter ID, -output, what start-up sends, and hosts without adapters.
#include <gmock/gmock.h>

#include "Play.h"

namespace trx::test {
namespace {

using namespace ::testing;

constexpr char kVersion[] =
    "Support Firmware Version: 1.0.0.1029 above\nCLI Version: 1.0.0.1035\nAPI Version: 1.0.0.1035\n";

struct Answer {
  Words words;
  Matcher<std::string> out;
  int status = 0;
};

void expectAnswers(const SimHost &host, const std::vector<Answer> &rows, const char *program = TRX_CLI_PATH) {
  for (const Answer &row : rows) {
    Words words = row.words;
    words.insert(words.begin(), program);
    Outcome outcome = runProgram(host.runWords(words));
    EXPECT_THAT(outcome.out, row.out) << PrintToString(row.words);
    EXPECT_EQ(outcome.status, row.status) << PrintToString(row.words);
  }
}

// Rows are read as tables.
// clang-format off

TEST(Startup, SendsTwoIdentificationsPerAdapterThenASummaryEach) {
  SimHost host, many("adapters33");
  EXPECT_EQ(host.cli({"version"}).out, kVersion);
  Words sent;
  for (const std::string &line : host.traffic()) sent.push_back(brief(line.substr(0, line.find(" ->"))));
  const std::string identify = "op=6 cdw10=1 len=4096", information = "op=e2 cdw12=e0 len=4096", other = "vmhba3 admin ";
  EXPECT_THAT(sent, ElementsAre("global list", identify, information, other + identify, other + information, information, other + information));
  EXPECT_EQ(host.violations(), "");
  EXPECT_EQ(many.cli({"version"}).out, kVersion);
  EXPECT_EQ(many.traffic().size(), 1u + 3 * 33);
}

TEST(Startup, TakesAnAdapterId) {
  SimHost host;
  expectAnswers(host, {
    {{"1", "version"}, kVersion}, {{"0", "version"}, kVersion}, {{"", "version"}, kVersion}, {{"256", "version"}, kVersion},
    {{"2", "version"}, "Adapter ID 2 is not exist\n"}, {{"258", "version"}, "Adapter ID 2 is not exist\n"}, {{"4294967295", "version"}, "Adapter ID -1 is not exist\n"},
    {{"4294967296", "version"}, "Adapter ID 0 is not exist\n"}, {{"99999999999999999999", "version"}, "Adapter ID -1 is not exist\n"},
    {{"1x", "version"}, "Invalid command '1x'!\n", 1}, {{"1", "exit"}, _, 255},
  });
  EXPECT_THAT(host.cli({"1"}, "adapter --list\nexit\n").out, HasSubstr("ID for CLI commands: 1\n"));

  // It is told on standard output, and ends with what became of the last summary: of each adapter the second
  // request for the controller information.
  const std::string file = host.directory() / "out", unread = "\nUnable to get info of NVMe Controller";
  for (const char *adapter : {"adapter=vmhba2", "adapter=vmhba3"}) {
    host.sim("fault", {"add", adapter, "op=e2", "group=e0", "sub=0", "nth=2", "nvme=0x10b"});
    expectAnswers(host, {{{"2", "version", "-output", file}, EndsWith("Adapter ID 2 is not exist\n"), adapter[13] == '2' ? 0 : 0x0B}});
  }
  EXPECT_EQ(readFile(file), unread + "\n" + unread + " 0\n" + unread + "\n" + unread + " 1\n");
}

TEST(Startup, CountsFromOneWhereUsersDo) {
  SimHost host, unsupported("unsupported");
  const std::string current = "Total number of NVMe Controllers: 2\nCurrent default NVMe Controller ID for CLI commands: ";
  expectAnswers(host, {
    {{"0", "version"}, "Adapter ID 0 is not exist\n"}, {{"", "version"}, "Adapter ID 0 is not exist\n"}, {{"3", "version"}, "Adapter ID 3 is not exist\n"},
    {{"256", "version"}, "Adapter ID 256 is not exist\n"}, {{"257", "version"}, kVersion}, {{"1", "adapter", "--list"}, current + "1\n"},
    {{"2", "adapter", "--list"}, current + "2\n"},
  }, TRX_ONE_BASED_PATH);
  host.sim("fault", {"add", "adapter=vmhba3", "op=e2", "group=e0", "sub=0", "nth=2", "nvme=6"});
  expectAnswers(host, {{{"version"}, EndsWith(std::string("\nUnable to get info of NVMe Controller\n\nUnable to get info of NVMe Controller 2\n") + kVersion)}}, TRX_ONE_BASED_PATH);
  expectAnswers(unsupported, {{{"info"}, "NVMe Controller is found, but need administrator permission.\n"}}, TRX_ONE_BASED_PATH);
}

TEST(Startup, RedirectsOutput) {
  SimHost host;
  const std::string file = host.directory() / "out.txt";
  expectAnswers(host, {
    {{"version", "-output", file}, ""},
    {{"-OUTPUT", file, "version"}, "", 1},  // the option's word is the command then
    {{"version", "-OUTPUT", file}, ""},
    {{"version", "-output", file + "1", "-output", file + "2"}, "", 1},  // only the first one counts
    {{"version", "-output"}, _, 1},  // the last word is never looked at
    {{"version", "--output", file}, kVersion},  // accepted, and ignored
  });
  EXPECT_EQ(readFile(file), std::string(kVersion) + "Invalid command '-\001utput'!\n" + kVersion);
  EXPECT_TRUE(std::filesystem::exists(file + "1"));
  EXPECT_FALSE(std::filesystem::exists(file + "2"));

  host.traffic();
  Outcome refused = host.cli({"info", "-o", "hba", "-output", "/nonexistent/x"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "Unable to open output file '/nonexistent/x': No such file or directory\n");
  EXPECT_THAT(host.traffic(), ElementsAre());
}

TEST(Startup, TellsOfOutputThatCannotBeWritten) {
  SimHost host, none("unsupported");
  const std::string full = "No space left on device\n", closed = "Bad file descriptor\n", file = host.directory() / "out.txt";
  const std::pair<std::string, std::string> rows[] = {  // without a reason nothing was lost
    {"$cli version >/dev/full", full},
    {"$cli </dev/null >/dev/full", full},
    {"$cli 9 version >/dev/full", full},
    {"$cli 4294967295 >/dev/full", full},
    {"$cli info -o pd | head -c 1 >/dev/null", ""},
    {"$cli info -o vd -output " + file + " >/dev/full", ""},
    {"$cli vpdread -o 0 -l 4 -output " + file + " >/dev/full", full},  // some of its lines go there all the same
    {"$cli version -output /dev/full", full},
    {"$cli help -output /dev/full", full},
    {"$cli version >&-", closed},
    {"$cli version -output " + file + " >&-", ""},
    {"$cli log -a show --outputfile=" + file + " >&- 2>/dev/null; test ! -s " + file, ""},
  };
  for (const auto &[line, reason] : rows) {
    std::filesystem::remove(file);
    Outcome outcome = runProgram(host.runWords({"sh", "-c", "cli=" TRX_CLI_PATH "; " + line}));
    EXPECT_EQ(outcome.status, reason.empty() ? 0 : 1) << line;
    EXPECT_EQ(outcome.err, reason.empty() ? "" : "trx_cli: the output could not be written: " + reason) << line;
  }
  EXPECT_EQ(runProgram(none.runWords({"sh", "-c", TRX_CLI_PATH " info >/dev/full"})).status, 1);
}

TEST(Startup, AnswersSomeWordsWithoutAController) {
  SimHost host;
  const char *versions = "CLI Version: 1.0.0.1035\nAPI Version: 1.0.0.1035\n";
  const auto help = StartsWith("\nLegend: ");
  expectAnswers(host, {{{"--version"}, versions}, {{"1", "--version"}, versions}, {{"--help"}, help}, {{"-h"}, help}});
  EXPECT_THAT(host.traffic(), IsEmpty());
  expectAnswers(host, {{{"--vers"}, _, 1}, {{"--d"}, StartsWith("Set debug mode")}});  // whole words only
}

TEST(Startup, WithoutAdaptersOnlyHelpAndVersionRun) {
  SimHost unsupported("unsupported");
  const std::string none = "No NVMe Controller is found.\n";
  expectAnswers(unsupported, {
    {{"version"}, none + kVersion}, {{"help"}, StartsWith(none + "\nLegend: ")}, {{"HELP"}, none}, {{"?"}, none}, {{"info"}, none}, {{"nonsense"}, none},
  });
  Outcome shell = unsupported.cli({}, "version\n");
  EXPECT_EQ(shell.out, none + "CLI Version: 1.0.0.1035   API Version: 1.0.0.1035\nWelcome to NVMe Command Line Interface.\n\n");
  EXPECT_EQ(shell.status, 0);
  Outcome bare = runProgram({TRX_CLI_PATH, "version"});
  EXPECT_EQ(bare.out, "Failed to initialize NVMe." + none + kVersion) << "no platform library at all";
  EXPECT_EQ(bare.status, 0);
}

// clang-format on

}  // namespace
}  // namespace trx::test
