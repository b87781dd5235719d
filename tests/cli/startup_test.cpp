// SPDX-License-Identifier: GPL-3.0-or-later
// The entry: adapter ID, -output, what start-up sends, and hosts without adapters.
#include <gmock/gmock.h>

#include <fstream>

#include "Play.h"

namespace trx::test {
namespace {

using namespace ::testing;

constexpr char kVersion[] =
    "Support Firmware Version: 1.0.0.1029 above\nCLI Version: 1.0.0.1035\nAPI Version: 1.0.0.1035\n";

TEST(Startup, SendsTwoIdentificationsPerAdapterThenASummaryEach) {
  SimHost host;
  EXPECT_EQ(host.cli({"version"}).out, kVersion);
  Words sent;
  for (const std::string &line : host.traffic()) sent.push_back(brief(line.substr(0, line.find(" ->"))));
  const char *identify = "op=6 cdw10=1 len=4096", *information = "op=e2 cdw12=e0 len=4096";
  const std::string other = "vmhba3 admin ";
  EXPECT_THAT(sent, ElementsAre("global list", identify, information, other + identify, other + information,
                                information, other + information));
  EXPECT_EQ(host.violations(), "");
}

TEST(Startup, GrowsByThreeExchangesPerAdapter) {
  SimHost host("adapters33");
  EXPECT_EQ(host.cli({"version"}).out, kVersion);
  EXPECT_EQ(host.traffic().size(), 1u + 3 * 33);
}

TEST(Startup, TakesAnAdapterId) {
  SimHost host;
  const struct {
    Words words;
    int status;
    const char *out;
  } rows[] = {
      {{"1", "version"}, 0, kVersion},
      {{"0", "version"}, 0, kVersion},
      {{"", "version"}, 0, kVersion},
      {{"256", "version"}, 0, kVersion},
      {{"2", "version"}, 0, "Adapter ID 2 is not exist\n"},
      {{"258", "version"}, 0, "Adapter ID 2 is not exist\n"},
      {{"4294967295", "version"}, 0, "Adapter ID -1 is not exist\n"},
      {{"4294967296", "version"}, 0, "Adapter ID 0 is not exist\n"},
      {{"99999999999999999999", "version"}, 0, "Adapter ID -1 is not exist\n"},
      {{"1x", "version"}, 1, "Invalid command '1x'!\n"},
  };
  for (const auto &row : rows) {
    Outcome outcome = host.cli(row.words);
    EXPECT_EQ(outcome.out, row.out) << row.words[0];
    EXPECT_EQ(outcome.status, row.status) << row.words[0];
  }
  EXPECT_THAT(host.cli({"1"}, "adapter --list\nexit\n").out, HasSubstr("ID for CLI commands: 1\n"));
  EXPECT_EQ(host.cli({"1", "exit"}).status, 255);

  // It is told on standard output, and ends with what became of the last summary.
  const std::string file = host.directory() / "out";
  for (const char *adapter : {"adapter=vmhba2", "adapter=vmhba3"}) {
    host.sim("fault", {"add", adapter, "op=e2", "group=e0", "sub=0", "nth=2", "nvme=0x10b"});
    Outcome outcome = host.cli({"2", "version", "-output", file});
    EXPECT_THAT(outcome.out, EndsWith("Adapter ID 2 is not exist\n"));
    EXPECT_EQ(outcome.status, adapter[13] == '2' ? 0 : 0x0B);
  }
  EXPECT_THAT(readFile(file), EndsWith("\nUnable to get info of NVMe Controller 1\n"));
}

TEST(Startup, CountsFromOneWhereUsersDo) {
  SimHost host;
  auto run = [&](Words words) {
    words.insert(words.begin(), TRX_ONE_BASED_PATH);
    return runProgram(host.runWords(words));
  };
  const char *none = "Current default NVMe Controller ID for CLI commands: ";
  const struct {
    Words words;
    std::string out;
  } rows[] = {
      {{"0", "version"}, "Adapter ID 0 is not exist\n"},
      {{"", "version"}, "Adapter ID 0 is not exist\n"},
      {{"3", "version"}, "Adapter ID 3 is not exist\n"},
      {{"256", "version"}, "Adapter ID 256 is not exist\n"},
      {{"257", "version"}, kVersion},
      {{"1", "adapter", "--list"}, std::string("Total number of NVMe Controllers: 2\n") + none + "1\n"},
      {{"2", "adapter", "--list"}, std::string("Total number of NVMe Controllers: 2\n") + none + "2\n"},
  };
  for (const auto &row : rows) {
    Outcome outcome = run(row.words);
    EXPECT_EQ(outcome.out, row.out) << row.words[0];
    EXPECT_EQ(outcome.status, 0) << row.words[0];
  }
  host.sim("fault", {"add", "adapter=vmhba3", "op=e2", "group=e0", "sub=0", "nth=2", "nvme=6"});
  EXPECT_THAT(run({"version"}).out, HasSubstr("\nUnable to get info of NVMe Controller 2\n"));

  SimHost unsupported("unsupported");
  EXPECT_EQ(runProgram(unsupported.runWords({TRX_ONE_BASED_PATH, "info"})).out,
            "NVMe Controller is found, but need administrator permission.\n");
}

TEST(Startup, RedirectsOutput) {
  SimHost host;
  std::string file = host.directory() / "out.txt";
  EXPECT_EQ(host.cli({"version", "-output", file}).out, "");
  EXPECT_EQ(host.cli({"-OUTPUT", file, "version"}).status, 1) << "the option's word is the command then";
  EXPECT_EQ(host.cli({"version", "-OUTPUT", file}).status, 0);
  EXPECT_EQ(readFile(file), std::string(kVersion) + "Invalid command '-\001utput'!\n" + kVersion);

  EXPECT_EQ(host.cli({"version", "-output", file + "1", "-output", file + "2"}).status, 1);
  EXPECT_TRUE(std::filesystem::exists(file + "1")) << "only the first one counts";
  EXPECT_FALSE(std::filesystem::exists(file + "2"));

  EXPECT_EQ(host.cli({"version", "-output"}).status, 1) << "the last word is never looked at";
  EXPECT_EQ(host.cli({"version", "--output", file}).out, kVersion) << "accepted, and ignored";

  host.traffic();
  Outcome refused = host.cli({"info", "-o", "hba", "-output", "/nonexistent/x"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_EQ(refused.err, "Unable to open output file '/nonexistent/x': No such file or directory\n");
  EXPECT_THAT(host.traffic(), ElementsAre());

  Outcome full = host.cli({"help", "-output", "/dev/full"});
  EXPECT_EQ(full.status, 1);
  EXPECT_THAT(full.err, HasSubstr("could not be written: No space left on device"));
}

TEST(Startup, TellsOfOutputThatCannotBeWritten) {
  SimHost host;
  const std::string full = "No space left on device\n", closed = "Bad file descriptor\n";
  const std::string file = host.directory() / "out.txt";
  const struct {
    std::string line;
    std::string reason;  ///< empty: nothing was lost
  } rows[] = {
      {"$cli version >/dev/full", full},
      {"$cli </dev/null >/dev/full", full},
      {"$cli 9 version >/dev/full", full},
      {"$cli 4294967295 >/dev/full", full},
      {"$cli info -o pd | head -c 1 >/dev/null", ""},
      {"$cli info -o vd -output " + file + " >/dev/full", ""},
      {"$cli vpdread -o 0 -l 4 -output " + file + " >/dev/full",
       full},  // some of its lines go there all the same
      {"$cli version -output /dev/full", full},
      {"$cli help -output /dev/full", full},
      {"$cli version >&-", closed},
      {"$cli version -output " + file + " >&-", ""},
      {"$cli log -a show --outputfile=" + file + " >&- 2>/dev/null; test ! -s " + file, ""},
  };
  for (const auto &row : rows) {
    std::filesystem::remove(file);
    Outcome outcome = runProgram(host.runWords({"sh", "-c", "cli=" TRX_CLI_PATH "; " + row.line}));
    EXPECT_EQ(outcome.status, row.reason.empty() ? 0 : 1) << row.line;
    std::string told = row.reason.empty() ? "" : "trx_cli: the output could not be written: " + row.reason;
    EXPECT_EQ(outcome.err, told) << row.line;
  }
  SimHost none("unsupported");
  EXPECT_EQ(runProgram(none.runWords({"sh", "-c", TRX_CLI_PATH " info >/dev/full"})).status, 1);
}

TEST(Startup, AnswersSomeWordsWithoutAController) {
  SimHost host;
  const char *versions = "CLI Version: 1.0.0.1035\nAPI Version: 1.0.0.1035\n";
  EXPECT_EQ(host.cli({"--version"}).out, versions);
  EXPECT_EQ(host.cli({"1", "--version"}).out, versions);
  for (const char *word : {"--help", "-h"}) {
    Outcome outcome = host.cli({word});
    EXPECT_THAT(outcome.out, StartsWith("\nLegend: "));
    EXPECT_EQ(outcome.status, 0);
  }
  EXPECT_THAT(host.traffic(), IsEmpty());
  EXPECT_EQ(host.cli({"--vers"}).status, 1) << "whole words only";
  EXPECT_THAT(host.cli({"--d"}).out, StartsWith("Set debug mode"));
}

TEST(Startup, WithoutAdaptersOnlyHelpAndVersionRun) {
  SimHost unsupported("unsupported");
  const std::string none = "No NVMe Controller is found.\n";
  EXPECT_EQ(unsupported.cli({"version"}).out, none + kVersion);
  EXPECT_THAT(unsupported.cli({"help"}).out, StartsWith(none + "\nLegend: "));
  for (const char *word : {"HELP", "?", "info", "nonsense"}) {
    Outcome outcome = unsupported.cli({word});
    EXPECT_EQ(outcome.out, none) << word;
    EXPECT_EQ(outcome.status, 0) << word;
  }
  Outcome shell = unsupported.cli({}, "version\n");
  EXPECT_EQ(
      shell.out,
      none +
          "CLI Version: 1.0.0.1035   API Version: 1.0.0.1035\nWelcome to NVMe Command Line Interface.\n\n");
  EXPECT_EQ(shell.status, 0);

  Outcome bare = runProgram({TRX_CLI_PATH, "version"});
  EXPECT_EQ(bare.out, "Failed to initialize NVMe." + none + kVersion) << "no platform library at all";
  EXPECT_EQ(bare.status, 0);
}

TEST(Startup, GoesOnWhenASummaryCannotBeRead) {
  SimHost host;
  // The second controller information request to the first adapter is its summary.
  Outcome armed =
      host.sim("fault", {"add", "adapter=vmhba2", "op=e2", "group=e0", "sub=0", "nth=2", "nvme=6"});
  ASSERT_EQ(armed.status, 0) << armed.err;
  Outcome outcome = host.cli({"version"});
  EXPECT_THAT(
      outcome.out,
      HasSubstr("\nUnable to get info of NVMe Controller\n\nUnable to get info of NVMe Controller 0\n"));
  EXPECT_EQ(outcome.status, 0);
}

}  // namespace
}  // namespace trx::test
