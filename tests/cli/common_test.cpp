// SPDX-License-Identifier: GPL-3.0-or-later
// Lines into words, words into calls, texts into numbers and paths: no controller needed.
#include "Public/common.h"

#include <gmock/gmock.h>

#include <array>
#include <optional>

#include "CliSession.h"
#include "Functions/commandTables.h"
#include "Public/files.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/request.h"

namespace trx {
namespace {

using namespace ::testing;

using Tokens = std::optional<std::vector<std::string>>;

Tokens split(std::string line) {
  line.push_back('\0');
  std::array<char *, kMaxTokens> tokens{};
  int32_t count = -1;
  if (!parse(&count, tokens.data(), line.data())) return std::nullopt;
  return std::vector<std::string>(tokens.begin(), tokens.begin() + std::min(count, kMaxTokens));
}

TEST(Parse, SplitsLinesIntoTokens) {
  using T = std::vector<std::string>;
  const struct {
    const char *line;
    Tokens tokens;
  } rows[] = {
      {"", T{}},
      {"help", T{"help"}},
      {"info -o  vd ", T{"info", "-o", "vd"}},
      {"  help", T{"", "help"}},
      {"\thelp", T{"", "help"}},
      {"a\t\tb", T{"a", "", "b"}},
      {"a \tb", T{"a", "", "b"}},
      {"a\t b", T{"a", "b"}},
      {"a\t", T{"a"}},
      {"vd -n \"two words\"", T{"vd", "-n", "\"two words\""}},
      {"a\"b c\"d e", T{"a\"b c\"d", "e"}},
      {"\"\"", T{"\"\""}},
      {"'a b'", T{"'a", "b'"}},
      {"\"", std::nullopt},
      {"vd -n \"two words", std::nullopt},
      {"a\"", std::nullopt},
  };
  for (const auto &row : rows) EXPECT_EQ(split(row.line), row.tokens) << '[' << row.line << ']';
}

TEST(Parse, CountsTokensBeyondTheVector) {
  std::string line;
  for (int i = 0; i < 70; ++i) line += "a ";
  line.push_back('\0');
  std::array<char *, kMaxTokens> tokens{};
  int32_t count = 0;
  EXPECT_EQ(parse(&count, tokens.data(), line.data()), 1);
  EXPECT_EQ(count, 70);
}

TEST(NoQuoteStrncpy, TakesOnlyMatchingQuotesOff) {
  const struct {
    const char *source;
    size_t n;
    std::string copy;
  } rows[] = {
      {"plain", 5, "plain"},   {"\"03:00.00\"", 10, "03:00.00"},
      {"'a b'", 5, "a b"},     {"\"mixed'", 7, "\"mixed'"},
      {"\"open", 5, "\"open"}, {"\"", 1, ""},
      {"\"\"", 2, ""},         {"", 0, ""},
      {"cut off", 3, "cut"},
  };
  for (const auto &row : rows) {
    std::array<char, 32> buffer{};
    noQuoteStrncpy(buffer.data(), row.source, row.n);
    EXPECT_EQ(buffer.data(), row.copy) << row.source;
  }
  // The NUL stands one past the end: what follows an uncleared buffer's text shows it.
  std::array<char, 8> dirty;
  dirty.fill('#');
  noQuoteStrncpy(dirty.data(), "'ab'", 4);
  EXPECT_EQ(std::string(dirty.data(), 4), std::string("ab#\0", 4));
}

/// Runs a line and returns what it wrote on `stream`.
std::string dispatch(const std::string &line, int32_t expected) {
  useCommandTables();
  std::string words = line;
  words.push_back('\0');
  std::array<char *, kMaxTokens> tokens{};
  int32_t count = 0;
  parse(&count, tokens.data(), words.data());
  return test::outputOf([&] { EXPECT_EQ(cmdDispatcher(count, tokens.data()), expected) << line; });
}

TEST(Dispatch, FindsWordsAndAbbreviations) {
  const struct {
    const char *line;
    int32_t result;
    const char *beginning;
  } rows[] = {
      {"he -h", 0, "Description:Get brief help for all commands or detail"},
      {"? -x", 0, "Description:Get brief help for all commands."},
      {"h", 1, "Ambiguous command 'h'!\n"},
      {"in", 1, "Ambiguous command 'in'!\n"},
      {"re", 1, "Ambiguous command 're'!\n"},
      {" help", 1, "Ambiguous command ''!\n"},
      {"inf -h", 0, "Description:For display NVMe"},
      {"VPD -h", 0, "Description:For switch VPD access target"},
      {"vpdr -h", 0, "Description:Read VPD via standard"},
      {"mi_passthruw -h", 0, "Description:Write pass-through"},
      {"--d", 0, "Set debug mode to enable\n"},
      {"--debug -a DISABLE", 0, "Set debug mode to disable\n"},
      {"--debug -a x", 0, "Set debug mode to enable\n"},
      {"--debug -a disable -z", 0, "Set debug mode to disable\n"},
      {"exit", -1, ""},
      {"Quit", -1, ""},
      {"exi", 1, "Invalid command 'exi'!\n"},
      {"helpx", 1, "Invalid command 'helpx'!\n"},
      {"help VD", 0, "No help available for 'VD'\n"},
      {"help kxf", 0, "No help available for 'kxf'\n"},
      {"help version x", 0, "Description:Show API, CLI and support firmware version\nversion"},
      {"version", 0,
       "Support Firmware Version: 1.0.0.1029 above\nCLI Version: 1.0.0.1035\nAPI Version: 1.0.0.1035\n"},
      {"version -i 1", 0, "Description:Show API"},
      {"version -z", 1, ""},
      {"version --output x", 0, "Support"},
  };
  for (const auto &row : rows) {
    EXPECT_THAT(dispatch(row.line, row.result), StartsWith(row.beginning)) << row.line;
  }
  dbg_enable = false;
}

TEST(Dispatch, HelpListsTheGeneralTable) {
  std::string overview = dispatch("help", 0);
  EXPECT_THAT(overview, StartsWith("\nLegend: "));
  EXPECT_THAT(overview, HasSubstr("\n" + std::string(65, '-') + R"(
?                  :Get brief help for all commands.
help               :Get brief help for all commands or detail help for one command.
adapter            :Default NVMe Controller the following CLI commands refers to.
version            :Show API, CLI and support firmware version
smart              :Get SSD adapter smart info.
flash              :Update flash image.
log                :For show/on/off SPI log
info               :For display NVMe Controller(hba), virtual disk(vd), physical disk(pd) or Namespace(ns) information.
event              :For getting event from NVMe Controller.
import             :For import VD
init               :For start or stop VD initialization.
mp                 :For start or stop media patrol for a virtual disk.
rebuild            :For start or stop VD rebuild.
debuglv            :For switch debug level target
get                :For getting configuration information of NVMe Controller.
set                :For setting configuration parameters of NVMe Controller.
passthru           :Passthrough NVMe admin command to backend device
spi                :Read and write SPI data. Maximal size of SPI data is 4096 bytes.
vd                 :For VD create and delete
reset              :For reset back-end device
[Notice]
  <Default GPIO setting>
    Set power: 
        Power pin id 0 means control GPIO4
        Power pin id 1 means control GPIO5
    Set perstn
        PD id 0 means control GPIO8
        PD id 1 means control GPIO9
        PD id 2 means control GPIO10
        PD id 3 means control GPIO11
led                :For control LED of device
vpd                :For switch VPD access target
dumphba            :For dump hba info data structure
gpio               :For GPIO setting in HBA info (Only for GPIO 4 to 7)
ns                 :For namespace management
vpdread            :Read VPD via standard MI-Send and MI-Receive
)"));
  std::string hidden;
  for (int i = 0; i < hiddenCmdTableV1Size(); ++i)
    hidden += std::string(hiddenCmdTableV1[i].cmd) + hiddenCmdTableV1[i].cmdShortHelp + "\n";
  EXPECT_EQ(hidden, R"(--debug
gen:Using for generate PRP data which file name is prp_data and size is 4K for nvme standard admin command
reg:For read and write PCIe register. Maximal size of data is 4 bytes.
kxf:For control manufacture flash tool
protect:For control protection area
i2c:For test i2c device
pcie:For get PCIe information from backend device
sriov:For control SRIOV feature
hotkey:For hotkey.
mi_passthruread:Read pass-through command via standard MI-Send and MI-Receive
mi_passthruwrite:Write pass-through command via standard MI-Send
)");
  EXPECT_THAT(overview, Not(HasSubstr("kxf")));
  EXPECT_THAT(overview, EndsWith("trx_cli 1 info -o pd\n\n"));
}

TEST(Numbers, AreReadAsUsersMeanThem) {
  EXPECT_EQ(decimal("12"), 12);
  EXPECT_EQ(decimal(""), 0);
  EXPECT_EQ(decimal("-1"), std::nullopt);
  EXPECT_EQ(decimal("4294967296"), 4294967296);
  EXPECT_EQ(decimal("99999999999999999999"), INT64_MAX);
  EXPECT_EQ(decimalUpTo(7, "7"), 7);
  EXPECT_EQ(decimalUpTo(7, "8"), std::nullopt);
  for (const char *slip : {"1x0", "0x", "0xg", "0xe2c00o00", "00x1", " 0x1", "-0x1", "0x1 ",
                           "0x10000000000000000", "18446744073709551616", "1 ", "+1"})
    EXPECT_EQ(hexOrDecimal(slip), std::nullopt) << slip;
  EXPECT_EQ(hexOrDecimal("0xFfffffffffffffff"), UINT64_MAX);
  EXPECT_EQ(hexOrDecimal("18446744073709551615"), UINT64_MAX);
  EXPECT_EQ(hexOrDecimal(""), 0u);
  EXPECT_EQ(hexOrDecimalUpTo(255, "0xff"), 255u);
  EXPECT_EQ(hexOrDecimalUpTo(255, "256"), std::nullopt);
  EXPECT_EQ(zeroBasedId16("65535"), 65535);
  EXPECT_EQ(zeroBasedId16("65536"), std::nullopt);
  g_oneBaseMode = 1;
  EXPECT_EQ(zeroBasedId("1"), 0);
  EXPECT_EQ(zeroBasedId("0"), std::nullopt);
  EXPECT_EQ(zeroBasedId("2147483648"), 2147483647);
  EXPECT_EQ(zeroBasedId("2147483649"), std::nullopt);
  EXPECT_EQ(userCounting(4), 5);
  g_oneBaseMode = 0;
}

TEST(Request, FlagsExactlyTheDwordsThatAreSet) {
  ControllerRequest volume = ControllerRequest::function(0xE3, 2).set(14, 7);
  EXPECT_EQ(volume.record().CDW[0], 0xE2u);
  EXPECT_EQ(volume.record().CDW[12], 0x2E3u);
  EXPECT_EQ(volume.record().CDW[14], 7u);
  EXPECT_EQ(volume.record().cdw_flag, 0x5001);
  EXPECT_EQ(ControllerRequest::function(0xE5, 1, 3).set(14, 0).record().CDW[12], 0x301E5u);
  ControllerRequest disk = ControllerRequest::disk(TRX_OPCODE_DISK_READ, 4).set(10, 1).set(14, 6);
  EXPECT_EQ(disk.record().cdw_flag, 0x4403);
  EXPECT_EQ(disk.record().CDW[1], 4u);
}

TEST(Files, PathsLoseTheirQuotes) {
  EXPECT_EQ(pathArgument("\"a b\" c"), "a b");
  EXPECT_EQ(pathArgument("\"a b"), "a b");
  EXPECT_EQ(pathArgument("\"\""), "");
  EXPECT_EQ(pathArgument("plain"), "plain");
  EXPECT_EQ(pathArgument(std::string(2000, 'x').c_str()).size(), 1023u);
  CommandFile file;
  EXPECT_EQ(file.open_file("/", "r"), 1);
  EXPECT_EQ(file.open_file("'/etc/passwd'", "r"), 0);
  EXPECT_GT(file.get_file_length(), 0u);
}

}  // namespace
}  // namespace trx
