// SPDX-License-Identifier: GPL-3.0-or-later
// Every command of both tables: the rows themselves, and what a command answers to no words, to -h, to
// an unknown option and to repeated ones.
#include <gmock/gmock.h>

#include <regex>
#include <set>
#include <sstream>

#include "CliSession.h"
#include "Functions/commandTables.h"

namespace trx::test {
namespace {

using namespace ::testing;

std::vector<const Command_Info *> allRows() {
  std::vector<const Command_Info *> rows;
  for (int i = 0; i < generalCmdTableV1Size(); ++i) rows.push_back(&generalCmdTableV1[i]);
  for (int i = 0; i < hiddenCmdTableV1Size(); ++i) rows.push_back(&hiddenCmdTableV1[i]);
  return rows;
}

// clang-format off
constexpr const char *kHelp = nullptr;

/// What a command answers in the cases where commands differ.
constexpr struct {
  std::string_view word;
  int none;               ///< its result without words: 1 goes with the help
  int unknown;            ///< its result at an unknown option
  const char *told = "";  ///< what it writes then; kHelp for its help
} kWords[] = {
    {"?", 0, 0, kHelp}, {"help", 0, 0, kHelp}, {"adapter", 1, 1}, {"version", 0, 1}, {"smart", 1, 0}, {"flash", 1, 0, kHelp}, {"log", 1, 0},
    {"info", 1, 1, "info: option -o is required\n"}, {"event", 1, 1}, {"import", 1, 1}, {"init", 1, 0}, {"mp", 1, 0}, {"rebuild", 1, 0}, {"debuglv", 1, 0},
    {"get", 1, 1}, {"set", 1, 1}, {"passthru", 1, 0}, {"spi", 1, 0, kHelp}, {"vd", 1, 0}, {"reset", 1, 0}, {"led", 1, 0}, {"vpd", 1, 0, kHelp},
    {"dumphba", 1, 0, kHelp}, {"gpio", 1, 0, kHelp}, {"ns", 1, 0, kHelp}, {"vpdread", 1, 0, kHelp}, {"--debug", 0, 0, "Set debug mode to enable\n"},
    {"gen", 1, 0, kHelp}, {"reg", 1, 0, kHelp}, {"kxf", 1, 0}, {"protect", 1, 0}, {"i2c", 1, 0, kHelp}, {"pcie", 1, 0, kHelp}, {"sriov", 1, 0},
    {"hotkey", 0, 0, kHelp}, {"mi_passthruread", 1, 0, kHelp}, {"mi_passthruwrite", 1, 0, kHelp},
};

// Options of a command that may stand once, and what a second one leads to.
constexpr struct { const char *word; int result; std::initializer_list<const char *> options; } kOnce[] = {
    {"adapter", 1, {"-i 0", "-s 03:00.00", "-l x", "--list"}}, {"smart", 1, {"-i 0", "-o hba"}},
    {"flash", 1, {"-f x", "-t raw", "-i 0", "-s 1", "-c 1", "-b 0", "-q firmware"}}, {"log", 1, {"-a show", "-a off"}},
    {"info", 1, {"-o hba", "-i 0", "-t host", "-v 0"}}, {"import", 1, {"-i 0", "-l 0"}}, {"init", 1, {"-i 0", "-a stop"}}, {"mp", 1, {"-i 0", "-a stop"}},
    {"rebuild", 1, {"-i 0", "-a stop"}}, {"debuglv", 1, {"-t 0"}}, {"get", 1, {"-o hba", "-i 0"}}, {"set", 1, {"-o hba", "-i 0", "-r low"}},
    {"passthru", 0, {"-t nvm", "-i 0", "-r read", "-p 0", "-f 0", "-o 6", "-n 1", "--cdw2=1", "--cdw3=1", "-m 1", "-d 1", "--cdw10=1", "--cdw11=1", "--cdw12=1", "--cdw13=1",
                     "--outputfile=/dev/null", "--inputfile=/etc/passwd"}},
    {"spi", 1, {"-t write", "--outputfile=x", "--inputfile=x"}}, {"vd", 1, {"-a create", "-i 0", "-n 1", "-d 1", "-b 128"}},
    {"reset", 1, {"-i 0", "-t device", "-a on"}}, {"led", 1, {"-o ep", "-i 0", "-a on"}}, {"vpd", 1, {"-t spi"}}, {"dumphba", 1, {"--outputfile=x", "-a show"}},
    {"gpio", 1, {"--func-switch=0x30", "--level=0x30", "--value=0x30", "--set-default=no"}},
    {"ns", 0, {"-a init", "-i 0", "-n 1", "-s no", "-c 1", "-l 1", "-d 1", "-p ctrl", "--list", "-e 7472580000000001"}},
    {"vpdread", 1, {"-o 0", "-l 1", "-f /dev/null"}}, {"gen", 1, {"-t createns", "--nsze=1", "--ncap=1", "--flbas=1", "--dps=1", "--nmic=1", "--list=1"}},
    {"reg", 1, {"-t read", "-i 0", "-a 0", "-d 1"}}, {"kxf", 1, {"-a on"}}, {"protect", 1, {"-a on"}}, {"i2c", 1, {"-i 0"}}, {"pcie", 1, {"-i 0"}},
    {"sriov", 1, {"-a on"}}, {"mi_passthruwrite", 1, {"-o 0", "-l 1", "-f /etc/passwd"}},
};
TEST(CommandTables, RowsAreWholeAndAnswerTheUsualQuestions) {
  EXPECT_EQ(generalCmdTableV1Size(), 26);
  const std::vector<const Command_Info *> commands = allRows();
  ASSERT_EQ(commands.size(), std::size(kWords));
  for (size_t i = 0; i < commands.size(); ++i) {
    const Command_Info *row = commands[i];
    const std::string word = row->cmd, help = std::string(row->cmdShortHelp) + row->cmdHelp;
    SCOPED_TRACE(word);
    EXPECT_EQ(word, kWords[i].word);
    EXPECT_EQ(row->cmdLen, static_cast<int32_t>(word.size()) + 1);
    if (word != "--debug") {  // which has no help
      EXPECT_THAT(row->cmdShortHelp, AllOf(StartsWith(":"), Not(EndsWith("\n"))));
      EXPECT_THAT(row->cmdHelp, StartsWith(word == "?" ? "\n" : "\n" + word));
      EXPECT_THAT(row->cmdHelp, EndsWith(word == "passthru" ? "\n" : "\n\n"));
    }

    CliSession session;
    CommandResult none = session.run(word);
    EXPECT_EQ(none.status, kWords[i].none);
    if (none.status == 1) {
      EXPECT_EQ(none.out, word.starts_with("mi_") ? help : "Description" + help);
    }
    CommandResult asked = session.run(word + " -h");
    EXPECT_EQ(asked.status, 0);
    EXPECT_EQ(asked.out, "Description" + help);
    EXPECT_EQ(asked.err, word == "help" || word == "?" ? word + ": illegal option -- h\n" : "");
    CommandResult unknown = session.run(word + " -Z");
    EXPECT_EQ(unknown.status, kWords[i].unknown);
    EXPECT_EQ(unknown.out, kWords[i].told == kHelp ? "Description" + help : kWords[i].told);
    if (word != "hotkey") {
      EXPECT_EQ(unknown.err, word + ": illegal option -- Z\n");
    }
    EXPECT_EQ(session.host().violations(), "");
  }
}

TEST(CommandTables, OptionsThatStandOnceAreRefusedTwice) {
  CliSession session;
  for (const auto &row : kOnce) {
    for (const std::string option : row.options) {
      CommandResult result = session.run(std::string(row.word) + " " + option + " " + option);
      EXPECT_THAT(result.out, EndsWith("Duplicated option specified.\n")) << row.word << " " << option;
      EXPECT_EQ(result.status, row.result) << row.word << " " << option;
    }
  }
  // The last one counts.
  for (const char *line : {"version -i 0 -i 0", "event -c 1 -c 1", "mi_passthruread -i 0 -i 0", "--debug -a enable -a disable", "set -o hba -i 0 -a on -a off",
                           "flash -o hba -o hba -q firmware", "help vd vd", "hotkey -h -h"}) {
    CommandResult result = session.run(line);
    EXPECT_THAT(result.out, Not(HasSubstr("Duplicated"))) << line;
    EXPECT_EQ(result.status, 0) << line;
  }
}

// clang-format on

/// The commands of the manual page in its order, each with the long options that it tells of.
std::vector<std::pair<std::string, Words>> manualPage() {
  std::istringstream page(readFile(TRX_TOPOLOGY_DIR "/../../docs/trx_cli.8"));
  const std::regex item(R"(\.(?:It )?Ic (\S+).*)"), option("Fl Fl (\\S+)");
  std::vector<std::pair<std::string, Words>> commands;
  bool headed = false;  // the line before began the head of an item
  for (std::string line; std::getline(page, line);) {
    std::smatch found;
    bool isHead = line.starts_with(".It") || headed;
    headed = line == ".It Xo";
    if (!isHead) continue;
    if (std::regex_match(line, found, item)) {
      std::string word = found[1] == "\\&?" ? "?" : found[1].str();
      if (commands.empty() || commands.back().first != word) commands.push_back({word, {}});
    } else if (!commands.empty()) {
      for (std::sregex_iterator at(line.begin(), line.end(), option), end; at != end; ++at)
        commands.back().second.push_back((*at)[1]);
    }
  }
  return commands;
}

TEST(ManualPage, TellsOfEveryCommandAndOfNoOptionThatIsNot) {
  Words told, words;
  for (const auto &[word, options] : manualPage()) told.push_back(word);
  for (size_t i = 0; ownCommandWord(i); ++i) words.push_back(ownCommandWord(i));
  const std::ptrdiff_t listed = std::ssize(words) + generalCmdTableV1Size();
  for (const Command_Info *row : allRows()) words.push_back(row->cmd);
  std::sort(words.begin() + listed, words.end());
  std::sort(told.begin() + std::min(std::ssize(told), listed), told.end());
  EXPECT_EQ(told, words);

  CliSession session;
  for (const auto &[word, options] : manualPage()) {
    for (const std::string &option : options) {
      EXPECT_THAT(session.run(word + " --" + option).err, Not(HasSubstr("unrecognized"))) << word;
    }
  }
}

}  // namespace
}  // namespace trx::test
