// SPDX-License-Identifier: GPL-3.0-or-later
// Every command of both tables: the rows themselves, and what a command answers to no words, to -h, to
// an unknown option and to a repeated one.
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

TEST(CommandTables, RowsAreWhole) {
  EXPECT_EQ(generalCmdTableV1Size(), 26);
  EXPECT_EQ(hiddenCmdTableV1Size(), 11);
  std::set<std::string> words;
  for (const Command_Info *row : allRows()) {
    std::string word = row->cmd;
    SCOPED_TRACE(word);
    EXPECT_TRUE(words.insert(word).second) << "the word stands twice";
    EXPECT_EQ(row->cmdLen, static_cast<int32_t>(word.size()) + 1);
    EXPECT_NE(row->cmdHandler, nullptr);
    if (word == "--debug") continue;  // it has no help
    EXPECT_THAT(row->cmdShortHelp, StartsWith(":"));
    EXPECT_THAT(row->cmdShortHelp, Not(EndsWith("\n")));
    EXPECT_THAT(row->cmdHelp, StartsWith("\n"));
    EXPECT_THAT(row->cmdHelp, EndsWith(word == "passthru" ? "\n" : "\n\n"));
    if (word != "?") {
      EXPECT_THAT(row->cmdHelp, StartsWith("\n" + word));
    }
  }
}

/// What a command returns, and what it says in the cases where commands differ.
struct WordRow {
  const char *word;
  int none;           ///< no words: 1 goes with the help
  int unknown;        ///< an unknown option
  const char *again;  ///< a line with a repeated option
  int repeated;
  bool refused;  ///< whether the repeated option is refused as a duplicate

  friend void PrintTo(const WordRow &row, std::ostream *out) { *out << row.word; }
};

// clang-format off
constexpr WordRow kWords[] = {
    // word             none unknown  repeated option                 result  refused
    {"?",                0,   0,     "? vd vd",                           0,  false},
    {"help",             0,   0,     "help vd vd",                        0,  false},
    {"adapter",          1,   1,     "adapter -i 0 -i 0",                 1,  true},
    {"version",          0,   1,     "version -i 0 -i 0",                 0,  false},
    {"smart",            1,   0,     "smart -i 0 -i 0",                   1,  true},
    {"flash",            1,   0,     "flash -f x -f x",                   1,  true},
    {"log",              1,   0,     "log -a show -a on",                 1,  true},
    {"info",             1,   1,     "info -o hba -o hba",                1,  true},
    {"event",            1,   1,     "event -c 1 -c 1",                   0,  false},
    {"import",           1,   1,     "import -l 0 -l 0",                  1,  true},
    {"init",             1,   0,     "init -i 0 -i 0",                    1,  true},
    {"mp",               1,   0,     "mp -a start -a stop -i 0",          1,  true},
    {"rebuild",          1,   0,     "rebuild -i 0 -i 0",                 1,  true},
    {"debuglv",          1,   0,     "debuglv -t 0 -t 1",                 1,  true},
    {"get",              1,   1,     "get -o hba -i 0 -i 0",              1,  true},
    {"set",              1,   1,     "set -o hba -i 0 -r low -r low",     1,  true},
    {"passthru",         1,   0,     "passthru -i 0 -i 0 -o 6 -r read",   0,  true},
    {"spi",              1,   0,     "spi -t write -t write",             1,  true},
    {"vd",               1,   0,     "vd -a create -a delete",            1,  true},
    {"reset",            1,   0,     "reset -t device -t device",         1,  true},
    {"led",              1,   0,     "led -o ep -i 0 -a on -a on",        1,  true},
    {"vpd",              1,   0,     "vpd -t spi -t spi",                 1,  true},
    {"dumphba",          1,   0,     "dumphba -a show -a show",           1,  true},
    {"gpio",             1,   0,     "gpio --value=0x30 --value=0x30",    1,  true},
    {"ns",               1,   0,     "ns -a init -a share",               0,  true},
    {"vpdread",          1,   0,     "vpdread -o 0 -o 0 -l 8",            1,  true},
    // It switches whatever else is said.
    {"--debug",          0,   0,     "--debug -a enable -a disable",      0,  false},
    {"gen",              1,   0,     "gen -t createns -t createns",       1,  true},
    {"reg",              1,   0,     "reg -t read -t read -i 0 -a 0",     1,  true},
    {"kxf",              1,   0,     "kxf -a on -a on",                   1,  true},
    {"protect",          1,   0,     "protect -a on -a off",              1,  true},
    {"i2c",              1,   0,     "i2c -i 0 -i 0",                     1,  true},
    {"pcie",             1,   0,     "pcie -i 0 -i 0",                    1,  true},
    {"sriov",            1,   0,     "sriov -a on -a on",                 1,  true},
    {"hotkey",           0,   0,     "hotkey -h -h",                      0,  false},
    {"mi_passthruread",  1,   0,     "mi_passthruread -i 0 -i 0",         0,  false},
    {"mi_passthruwrite", 1,   0,     "mi_passthruwrite -o 0 -o 0",        1,  true},
};
// clang-format on

class CommandWord : public ::testing::TestWithParam<WordRow> {};

TEST_P(CommandWord, AnswersTheUsualQuestions) {
  const WordRow &row = GetParam();
  std::string word = row.word;
  const Command_Info *entry = nullptr;
  for (const Command_Info *each : allRows()) {
    if (word == each->cmd) entry = each;
  }
  ASSERT_NE(entry, nullptr);
  std::string help = std::string(entry->cmdShortHelp) + entry->cmdHelp;

  CliSession session;
  CommandResult none = session.run(word);
  EXPECT_EQ(none.status, row.none);
  if (row.none == 1) {
    EXPECT_EQ(none.out, word.starts_with("mi_") ? help : "Description" + help);
  }
  CommandResult asked = session.run(word + " -h");
  EXPECT_EQ(asked.status, 0);
  EXPECT_EQ(asked.out, "Description" + help);
  CommandResult unknown = session.run(word + " -Z");
  EXPECT_EQ(unknown.status, row.unknown);
  if (word != "hotkey") {
    EXPECT_EQ(unknown.err, word + ": illegal option -- Z\n");
  }
  CommandResult again = session.run(row.again);
  EXPECT_EQ(again.status, row.repeated) << again.out;
  EXPECT_EQ(again.out.ends_with("Duplicated option specified.\n"), row.refused) << again.out;
  EXPECT_EQ(session.host().violations(), "");
}

std::string nameOf(const ::testing::TestParamInfo<WordRow> &info) {
  std::string word = info.param.word;
  return word == "?" ? "question" : word == "--debug" ? "debug" : word;
}

INSTANTIATE_TEST_SUITE_P(All, CommandWord, ::testing::ValuesIn(kWords), nameOf);

TEST(CommandTables, EveryWordIsAsked) {
  std::set<std::string> asked, words;
  for (const WordRow &row : kWords) asked.insert(row.word);
  for (const Command_Info *row : allRows()) words.insert(row->cmd);
  EXPECT_EQ(asked, words);
}

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

TEST(ManualPage, TellsOfEveryCommandAndNoOther) {
  Words told, words;
  for (const auto &[word, options] : manualPage()) told.push_back(word);
  for (const Command_Info *row : allRows()) words.push_back(row->cmd);
  std::sort(words.begin() + generalCmdTableV1Size(), words.end());
  std::sort(told.begin() + std::min<std::ptrdiff_t>(std::ssize(told), generalCmdTableV1Size()), told.end());
  EXPECT_EQ(told, words);
}

TEST(ManualPage, TellsOfOptionsThatExist) {
  CliSession session;
  for (const auto &[word, options] : manualPage()) {
    for (const std::string &option : options) {
      EXPECT_THAT(session.run(word + " --" + option).err, Not(HasSubstr("unrecognized"))) << word;
    }
  }
}

}  // namespace
}  // namespace trx::test
