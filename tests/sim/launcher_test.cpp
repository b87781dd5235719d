// SPDX-License-Identifier: GPL-3.0-or-later
// trx_sim as a person uses it.
#include <sys/stat.h>

#include <fstream>
#include <regex>
#include <set>

#include "seam.h"

namespace {

struct Output {
  std::string text;
  int status;
};

class Launcher : public Host {
 protected:
  /// Runs trx_sim; standard error joins the output.
  Output run(const std::string &arguments) const {
    const std::string host =
        "unset TRX_SIM_STATE; export XDG_STATE_HOME=" + directory + "; " TRX_SIM_PROGRAM " ";
    FILE *pipe = popen((host + arguments + " 2>&1").c_str(), "r");
    Output output{};
    for (int byte; (byte = fgetc(pipe)) != EOF;) output.text += static_cast<char>(byte);
    output.status = WEXITSTATUS(pclose(pipe));
    return output;
  }
  std::string state() const { return "--state " + directory + " "; }
  static std::string topology(const char *name) {
    return std::string("--topology ") + TRX_SIM_TOPOLOGIES + "/" + name + " ";
  }
};

TEST_F(Launcher, KeepsToTheTopologyOfTheStateAndWritesNothingElseIntoIt) {
  std::string text = run("run " + state() + topology("adapters33.json") + "-- lspci -p").text;
  EXPECT_LT(text.find("vmhba10\n"), text.find("vmhba1\n")) << "the last match must be the right one";
  // So much that it is written while the adapters' files are open.
  const std::string shown = run("show " + state()).text;
  for (const char *closed : {">&-", "0>&- >&-", "0>&- >&- 2>&-"}) run("show " + state() + closed + "; true");
  EXPECT_EQ(run("show " + state()).text, shown);
  EXPECT_EQ(run("run " + state() + "-- sh -c 'exit 7'").status, 7);
  Output other = run("run " + state() + topology("empty.json") + "-- true");
  EXPECT_EQ(other.status, 2);
  EXPECT_NE(other.text.find("trx_sim reset --state " + directory), std::string::npos) << other.text;
  EXPECT_EQ(run("reset " + state() + topology("empty.json")).status, 0);
  EXPECT_EQ(run("show " + state()).text.find("volume"), std::string::npos);
}

TEST_F(Launcher, WrongInputIsTold) {
  const std::pair<const char *, const char *> rows[] = {
      {"", "say what to do"},
      {"show --colour red", "option '--colour' is not known"},
      {"reset --topology /nowhere.json", "/nowhere.json: no such file"},
      {"run -- /no/such/program", "No such file or directory"},
  };
  for (const auto &[arguments, told] : rows) {
    const Output output = run(arguments);
    EXPECT_EQ(output.status, 2) << arguments;
    EXPECT_NE(output.text.find(told), std::string::npos) << arguments << ": " << output.text;
  }
}

TEST_F(Launcher, SemaphoresOfAHostAreItsOwnAndGoWithAReset) {
  const std::string reset = "reset " + state(), within = "run " + state() + "-- ";
  for (const std::string &again : {reset, reset, within + TRX_SIM_PROGRAM + " reset"}) {
    run(again);
    EXPECT_EQ(run(within + TRX_SIM_SEMAPHORE_PROBE).text, "made\n") << again;
    EXPECT_EQ(run(within + TRX_SIM_SEMAPHORE_PROBE).text, "found\n") << again;
  }
  run(reset);
}

TEST_F(Launcher, TouchesNoDirectoryThatIsNotItsOwn) {
  const std::set<std::string> files{"host",    "topology.json", "faults", "a.state",
                                    "b.image", "c.tmp",         "d.lock"};
  for (const std::string &file : files) std::ofstream(directory + "/" + file) << "mine";
  for (std::string verb : {"show", "reset", "restart", "lspci", "run -- true", "fault clear",
                           "fault add ones", "advance 1", "pull 0", "insert 0", "pcie 0 ok"}) {
    const Output output = run(verb.insert(std::min(verb.find(' '), verb.size()), " " + state()));
    EXPECT_EQ(output.status, 2) << verb;
    EXPECT_NE(output.text.find(directory + ": "), std::string::npos) << output.text;
    EXPECT_EQ(std::count(output.text.begin(), output.text.end(), '\n'), 1) << output.text;
  }
  std::set<std::string> left;
  for (const auto &file : std::filesystem::directory_iterator(directory)) left.insert(file.path().filename());
  EXPECT_EQ(left, files);
}

TEST_F(Launcher, AnImageGoesIntoTheFileThatIsThere) {
  const std::string file = directory + "/file", link = directory + "/link", pipe = directory + "/pipe";
  std::ofstream(file) << std::string(9000, 'x');
  std::filesystem::create_symlink("file", link);
  EXPECT_EQ(run("image " + link + " --size 4096").status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(std::filesystem::file_size(file), 4096U);
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_NE(run("image " + pipe).text.find(pipe + ": is no regular file"), std::string::npos);
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(Launcher, ARestartLosesHalfOfAnImageAndShowTellsWhatWasSet) {
  run("reset " + state());
  Page page;
  usr_io segment = withPage(block(0x11), page, TRX_TO_CONTROLLER), time = block(0xE2, 0x3E0, 3);
  segment.cmd.cdw10 = 1023;
  ASSERT_TRUE(send(segment).ok());
  EXPECT_EQ(run("restart " + state()).status, 0);
  segment.cmd.cdw11 = 1024;
  EXPECT_FALSE(send(segment).ok());
  EXPECT_NE(takeViolations().find("a gap before the segment"), std::string::npos);
  time.cmd.cdw13 = 0x00020001;
  ASSERT_TRUE(send(time).ok());
  const std::string shown = run("show " + state()).text;
  EXPECT_NE(shown.find("\n  time set by a program: 0x000100020003\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find(", firmware 1.2.0.1035 in slot 1\n"), std::string::npos) << shown;
}

TEST_F(Launcher, ProgramsFindTrxCliBehindWhatTheUserHasAndALspci) {
  const std::string found = run("run " + state() + "-- sh -c 'echo $PATH; command -v trx_cli'").text;
  const std::regex wanted(".*/trx_sim_lib/bin:.*/bin.*:(.*/cli)\n\\1/trx_cli\n");
  EXPECT_TRUE(std::regex_match(found, wanted)) << found;
  EXPECT_EQ(run("run " + state() + "-- lspci -p").text, run("lspci " + state()).text);
  for (const char *words : {"", "-v", "-p -v"}) {
    Output output = run("run " + state() + "-- lspci " + words);
    EXPECT_EQ(output.text + std::to_string(output.status), "lspci: only 'lspci -p' is simulated\n1") << words;
  }
}

/// First groups of the matches of a pattern.
std::set<std::string> matches(const std::string &text, const char *pattern) {
  const std::regex regex(pattern);
  return {std::sregex_token_iterator(text.begin(), text.end(), regex, 1), {}};
}

TEST_F(Launcher, PagesTellOfEveryVerbAndNoOther) {
  const std::set<std::string> verbs = matches(run("help").text, "  trx_sim (\\w+)");
  EXPECT_EQ(verbs.size(), 14U);
  bool exists = false;
  const std::string manual = sim::readText(TRX_SIM_DOCS "/trx_sim.1", exists);
  EXPECT_EQ(matches(manual.substr(0, manual.find("Options stand before")), "\n\\.It Cm (\\w+)"), verbs);
  const std::string table = sim::readText(TRX_SIM_DOCS "/simulator.md", exists);
  EXPECT_EQ(matches(table.substr(0, table.find("The state directory is")), "\n\\| `(\\w+)"), verbs);
}

}  // namespace
