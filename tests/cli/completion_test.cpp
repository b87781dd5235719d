// SPDX-License-Identifier: GPL-3.0-or-later
// What completion offers: the text in front of the cursor, then the words.
#include "completion.h"

#include <gmock/gmock.h>

#include "CliSession.h"
#include "Functions/commandTables.h"
#include "Public/options.h"
#include "present.h"

namespace trx::test {
namespace {

using namespace ::testing;

std::string offered(const std::string &line) {
  Completion found = complete(line);
  std::string text = found.path ? "<path>" : "";
  for (const std::string &word : found.words) text += (text.empty() ? "" : " ") + word;
  return text;
}

TEST(Completion, OffersWhatMayStandThere) {
  // clang-format off
  const struct { const char *line, *words; } rows[] = {
      // commands: the listed ones, in any case
      {"inf", "info"}, {"IN", "info init"}, {"v", "version vd vpd vpdread"}, {"mi_", ""}, {"--d", "--dry-run"}, {"w", "wait watch"}, {"--json --s", "--strict"}, {"--expect a=b --json hea", "health"}, {"--json info -o v", "vd"}, {"--expect x", ""},
      {"wait -o ", "vd pd"}, {"health --", "--warning --critical --help"}, {"metrics -", "--help"}, {" inf", ""},  // a leading blank makes an empty command word
      // options of the command, also of an abbreviated one
      {"info -", "--object --id --type --vdid --help"}, {"inf --O", "--object"}, {"led ", "--object --id --action --help"},
      {"rebuild --", "--action --vd_id --pd_id --help"}, {"mp --p", ""}, {"ns --e", "--EUI64"}, {"passthru --cdw1", "--cdw10 --cdw11 --cdw12 --cdw13"},  // -t has no long name
      {"vd --s", "--sbs="},  // never takes the next word
      {"adapter --l", "--list"}, {"version --", "--help"}, {"i -", ""},  // ambiguous
      {"pcie -", ""},  // hidden
      {"nonsense -", ""},  // unknown
      // values: the words that the help tells of, for letters, names, abbreviated names
      {"info -o ", "hba pd vd ns"}, {"info -o V", "vd"}, {"info -o h", "hba"}, {"info --object=v", "vd"}, {"info --ob v", "vd"}, {"info --type=x", ""},
      {"info -i ", ""}, {"info -o vd -t ", "host vd"}, {"info -ovd -", "--object --id --type --vdid --help"}, {"info -o -o ", "--object --id --type --vdid --help"},  // -o took "-o"
      {"vpd -- ", "--target --help"}, {"vd --raidmode 1", "1 10"}, {"vd -r ", "0 1 10 JBOD"}, {"vd -r j", "JBOD"}, {"vd -b 1", "128 1024"},
      {"vd --sbs ", "--action --vd_id --raidmode --pdid --sbs= --namespace= --help"}, {"vd --sbs=", "128 256 512 1024"}, {"flash -q ", "firmware"}, {"set -c ", ""},
      {"adapter -l ", ""}, {"passthru -si 7", "7"}, {"passthru -sr w", "write"},
      // file names
      {"flash -f ", "<path>"}, {"flash -f \"a b", "<path>"}, {"flash --file=/tmp/", "<path>"}, {"log --outputfile x", "<path>"}, {"spi -1 x", "<path>"},
      {"passthru --inputfile ", "<path>"}, {"vpdread -f ", "<path>"}, {"passthru -f ", ""},  // fused operations
      // topics
      {"help ve", "version"}, {"? vd vp", "vpd vpdread"},
  };
  // clang-format on
  CliSession session;
  for (const auto &row : rows) EXPECT_EQ(offered(row.line), row.words) << row.line;

  EXPECT_EQ(complete("").words.size(), generalCmdTableV1Size() + 4u);
  std::string many;
  for (int i = 0; i < 63; ++i) many += "help ";
  EXPECT_EQ(offered(many + "inf"), "info");
  EXPECT_EQ(offered(many + "help inf"), "") << "no line may have so many words";
}

TEST(Completion, OffersTheObjectsThatAreThere) {
  // clang-format off
  const struct { const char *line, *words; } rows[] = {
      {"info -o hba -i ", "0 1"}, {"info -o pd -i ", "0 1 2 3 4 5 6 7"}, {"inf -ovd -i ", "0 1 2 3"}, {"info --object=NS --id ", "1 2 3 4"}, {"info --ob hd --id=7", "7"}, {"info -o vd -o pd -i 6", "6"}, {"info -v 2", "2"}, {"info -o vd -i 4", ""},
      {"vd -i 3", "3"}, {"vd -d ", "0 1 2 3 4 5 6 7"}, {"vd -a create -d 3,6,", "3,6,0 3,6,1 3,6,2 3,6,4 3,6,5 3,6,7"}, {"vd -d 3,6", "3,6"}, {"rebuild -i ", "0 1 2 3"}, {"rebuild -d 7", "7"}, {"init -i 1", "1"}, {"import -l 3", "3"}, {"import -i ", "0 1"},
      {"ns -i ", "1 2 3 4"}, {"ns -a attach -i ", "1 2 3 4"}, {"ns -a init -i 7", "7"}, {"ns -a create -i ", "0 1 2 3"}, {"--strict 1 ns -a create -i ", "0 1 2 3"}, {"--json 1 ns -i ", "1 2 3 4 5"}, {"1 --json info -o vd -i ", ""}, {"--json 2 info -o pd -i ", ""}, {"1 info -o pd -i ", ""},
      {"smart -i 5", "5"}, {"smart -o hba -i ", "0 1"}, {"flash -i ", "0 1"}, {"flash -o pd -i 4", "4"}, {"get -i ", "0 1"}, {"set -i ", "0 1"}, {"adapter -i ", "0 1"}, {"passthru -i 7", "7"}, {"reset -i 7", "7"}, {"wait -o pd -i 7", "7"}, {"wait -i ", ""}, {"led -o ep -i ", ""},
  };
  // clang-format on
  CliSession session;
  session.run("vd -a delete -i 9");
  for (const auto &row : rows) EXPECT_EQ(offered(row.line), row.words) << row.line;

  // Read once, and again when a command may have changed something; nothing is said of what failed, and
  // nobody waits for the next ones.
  session.requests();
  EXPECT_EQ(offered("rebuild -i "), "0 1 2 3");
  EXPECT_THAT(session.requests(), IsEmpty());
  session.run("vd -a delete -i 1");
  forgetPresentIds();
  EXPECT_EQ(offered("rebuild -i "), "0 2 3");
  forgetPresentIds();
  session.requests();
  ASSERT_EQ(session.host().sim("fault", {"add", "op=e2", "group=e2", "sub=0", "nth=2", "platform=5"}).status,
            0);
  Capture out(1), err(2);
  dbg_enable = true;
  EXPECT_EQ(offered("rebuild -i "), "0");
  dbg_enable = false;
  EXPECT_EQ(out.text() + err.text(), "");
  EXPECT_THAT(session.requests(), SizeIs(2));
  EXPECT_EQ(gCurrentAdapter, 0);

  g_oneBaseMode = 1;
  forgetPresentIds();
  EXPECT_EQ(offered("vd -d 1,"), "1,2 1,3 1,4 1,5 1,6 1,7 1,8");
  EXPECT_EQ(offered("ns -i "), "1 4");
  EXPECT_EQ(offered("--strict 2 info -o pd -i "), "1 2 3 4");
}

TEST(Completion, OffersWhatTheCommandsTake) {
  CliSession session;
  for (int i = 0; i < generalCmdTableV1Size(); ++i) {
    const OptionList *options = optionsOf(&generalCmdTableV1[i]);
    ASSERT_NE(options, nullptr);
    for (size_t k = 0; k < options->count; ++k) {
      OptionShape option = options->at(k);
      if (!option.takes.word) continue;
      const std::string line = std::string(generalCmdTableV1[i].cmd) + " -" + option.code + " ";
      auto answer = [&](const char *value) {
        CommandResult result = session.run(line + value);
        return result.out + result.err;
      };
      // gpio's complaint has another wording
      const char *complaint = option.code == '3' ? "is not correct" : "invalid";
      EXPECT_THAT(answer("nonsense"), HasSubstr(complaint)) << line;
      for (size_t n = 0; const char *word = option.takes.word(n); ++n)
        EXPECT_THAT(answer(word), Not(HasSubstr(complaint))) << line << word;
    }
  }
}

}  // namespace
}  // namespace trx::test
