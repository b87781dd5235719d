// SPDX-License-Identifier: GPL-3.0-or-later
// The prompt: as a person sees it on a terminal, and as a script sees it in a pipe.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>

#include "SimHost.h"

namespace trx::test {
namespace {

using namespace ::testing;

constexpr char kBanner[] =
    "CLI Version: 1.0.0.1035   API Version: 1.0.0.1035\nWelcome to NVMe Command Line Interface.\n\n";

/// trx_cli on a terminal of its own.
class Terminal {
 public:
  explicit Terminal(const SimHost &host) {
    Words words = host.runWords({TRX_CLI_PATH});
    pid_ = forkpty(&descriptor_, nullptr, nullptr, nullptr);
    if (pid_ == 0) {
      setenv("TERM", "xterm", 1);
      signal(SIGINT, SIG_DFL);  // a test in the background has it ignored
      std::vector<char *> argv;
      for (std::string &word : words) argv.push_back(word.data());
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      _exit(127);
    }
  }
  ~Terminal() { close(descriptor_); }

  /// What is shown from then on until `text` was.
  std::string type(const std::string &keys, const std::string &text) {
    EXPECT_EQ(write(descriptor_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    return readUntil(text);
  }

  /// Everything shown until `text` was; carriage returns left out.
  std::string readUntil(const std::string &text) {
    std::string shown;
    while (shown.find(text) == std::string::npos) {
      pollfd ready{descriptor_, POLLIN, 0};
      char piece[1024];
      if (poll(&ready, 1, 20000) != 1) break;
      ssize_t got = read(descriptor_, piece, sizeof piece);
      if (got <= 0) break;
      shown.append(piece, static_cast<size_t>(got));
      std::erase(shown, '\r');
    }
    return shown;
  }

  int wait() {
    int status = -1;
    waitpid(pid_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  int descriptor_ = -1;
  pid_t pid_ = -1;
};

// Rows are read as tables.
// clang-format off

TEST(Shell, OnATerminal) {
  SimHost host;
  Terminal terminal(host);
  EXPECT_EQ(terminal.readUntil("> "), std::string(kBanner) + "> ");

  const std::string end = "API Version: 1.0.0.1035\n> ", hint = "Type 'exit' to exit CLI.\n> ";
  const struct { std::string keys, until, shown; } rows[] = {
      {"\x04version\n", end, "Support Firmware Version: 1.0.0.1029 above\n"},  // Ctrl-D does not end it
      {"\x1b[A\n", end, "Support Firmware Version"},  // the line before, from the history
      {"\n", hint, ""}, {"\x1b[A\n", "CLI.\n> ", hint},  // an empty line is kept, too
  };
  for (const auto &row : rows) EXPECT_THAT(terminal.type(row.keys, row.until), AllOf(HasSubstr(row.shown), Not(HasSubstr("\x1b[?2004"))));
  terminal.type("EXIT\n", "\x01");
  EXPECT_EQ(terminal.wait(), 0);
}

TEST(Shell, DropsALineAtCtrlCAndEndsACommand) {
  SimHost host;
  Terminal terminal(host);
  terminal.readUntil("> ");
  terminal.type("vd -a delete -i 0", "-i 0");
  EXPECT_EQ(terminal.type("\x03", "\n> "), "^C\n> ");
  terminal.type("\x12zyx\x03", "\n> ");  // out of a search in the history, too
  EXPECT_THAT(terminal.type("version\n", "API Version: 1.0.0.1035\n> "), HasSubstr("\nSupport Firmware Version"));

  ASSERT_EQ(host.sim("fault", {"add", "op=e2", "delay=30000"}).status, 0);
  terminal.type("info -o vd\n", "vd\n\n");
  terminal.type("\x03", "\x01");
  EXPECT_EQ(terminal.wait(), 128 + SIGINT);
}

TEST(Shell, GivesThePromptBackAfterALineThatHeedsCtrlC) {
  SimHost host("clockwork");
  host.cli({"set", "-o", "hba", "-i", "0", "-r", "low"});
  Terminal terminal(host);
  terminal.readUntil("> ");
  EXPECT_THAT(terminal.type("wait\n", "0% ["), HasSubstr("VD 0: Initializing"));
  EXPECT_THAT(terminal.type("\x03", "\n> "), HasSubstr("interrupted\n> "));
  terminal.type("watch -s 0\n", "rate changed");
  terminal.type("\x03", "> ");
  EXPECT_EQ(terminal.type("version\n", "API Version: 1.0.0.1035\n> ").substr(0, 8), "version\n");
  terminal.type("exit\n", "\x01");
  EXPECT_EQ(terminal.wait(), 0);
}

TEST(Shell, CompletesAtATab) {
  SimHost host;
  std::string image = host.directory() / "two words.img";
  std::ofstream{image};
  Terminal terminal(host);
  terminal.readUntil("> ");
  const struct { std::string keys, shown; } rows[] = {
      {"inf\t-o v\t-i 99\n", "info -o vd -i 99\n\nUnable to get info of VD\n> "}, {"vd --sb\t7\n", "vd --sbs=7\n-b : invalid stripe block size '7'.\n> "},
      {"info -o vd -i \t\t", "\n0  1  2  3  \n> info -o vd -i "}, {"9\n", "Unable to get info of VD\n> "}, {"vd -a delete -i 0\ninfo -o vd -i \t\t", "\n1  2  3  \n> info -o vd -i "}, {"9\n", "Unable to get info of VD\n> "},
      {"info --object=n\t-Z\n", "info --object=ns -Z\ninfo: illegal option -- Z\n> "}, {"info -i /et\t\n", "info -i /et\a\n-i : id should be a number\n"},  // no file may stand there
      {"flash -o pd -i 0 -c 1 -s 1 -f " + image.substr(0, image.find(' ')) + "\t\n", "file " + image + " is empty\n"},
  };
  for (const auto &row : rows) EXPECT_THAT(terminal.type(row.keys, row.shown), HasSubstr(row.shown)) << row.keys;
}

TEST(Shell, InAPipe) {
  SimHost host;
  const struct { const char *input, *output; } rows[] = {
      {"\n", "Type 'exit' to exit CLI.\n"}, {"\"\n", "Invalid quoted string.\n"}, {"nonsense\nexit\nversion\n", "Invalid command 'nonsense'!\n"},
      {"info -o vd -i 99\n", "\nUnable to get info of VD\n"}, {"info\t-o vd -i 99\n", "\nUnable to get info of VD\n"},  // a tab completes nothing here
      {"help nope", "\n> help nope\nNo help available for 'nope'\n> "},
      // Keys that edit a line at a terminal are bytes of it here.
      {"\r\xbc\x0f\xee\x07z\x10\x0f", "\n> \r\xbc\x0f\xee\x07z\x10\x0f\nInvalid command '\r\xbc\x0f\xee\x07z\x10\x0f'!\n"},
      {"help x\x01y\x15z\x03\n", "No help available for 'x\x01y\x15z\x03'\n"},
  };
  for (const auto &row : rows) {
    Outcome outcome = host.cli({}, row.input);
    EXPECT_THAT(outcome.out, AllOf(StartsWith(kBanner), HasSubstr(row.output))) << row.input;
    // Nothing runs after exit.
    EXPECT_THAT(outcome.out, Not(AnyOf(HasSubstr("Support Firmware"), HasSubstr("\x1b")))) << row.input;
    EXPECT_EQ(outcome.status, 0) << row.input;
  }

  std::string many = "help", answers;
  for (int i = 1; i < 64; ++i)
    many += " " + std::to_string(i), answers += "No help available for '" + std::to_string(i) + "'\n";
  EXPECT_THAT(host.cli({}, many + "\n").out, HasSubstr(answers));
  EXPECT_THAT(host.cli({}, many + " 64\n").out, HasSubstr("Too many words in the line (at most 64).\n"));

  // What follows `exit` is for whoever reads the same input next.
  Words rest = host.runWords({"sh", "-c", TRX_CLI_PATH " >/dev/null; cat"});
  EXPECT_EQ(runProgram(rest, "help\nexit\nhello\n").out, "hello\n");

  EXPECT_EQ(host.cli({}, std::string(2047, 'x') + "\n").status, 0);
  Outcome tooLong = host.cli({}, std::string(2048, 'x') + "\n");
  EXPECT_EQ(tooLong.status, 128 + SIGABRT);
  EXPECT_THAT(tooLong.err, HasSubstr("too long"));
}

// clang-format on

}  // namespace
}  // namespace trx::test
