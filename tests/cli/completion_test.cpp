// SPDX-License-Identifier: GPL-3.0-or-later
// What completion offers: the text in front of the cursor, then the words.
#include "completion.h"

#include <gmock/gmock.h>

#include "CliSession.h"
#include "Functions/commandTables.h"
#include "Public/options.h"

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
      {"vpd -- ", "--target --help"}, {"vd --raidmode 5", "5 50"}, {"vd -r j", "JBOD"}, {"vd -b 1", "128 1024"},
      {"vd --sbs ", "--action --vd_id --raidmode --pdid --sbs= --namespace= --help"}, {"vd --sbs=", "128 256 512 1024"}, {"flash -q ", "firmware"}, {"set -c ", ""},
      {"adapter -l ", ""}, {"passthru -si ", ""}, {"passthru -sr w", "write"},
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
