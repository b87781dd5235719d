// SPDX-License-Identifier: GPL-3.0-or-later
// Lines into words, words into calls, texts into numbers and paths: no controller needed.
#include "Public/common.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <optional>

#include "CliSession.h"
#include "Functions/commandTables.h"
#include "Public/files.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/request.h"

namespace trx {
namespace {

using namespace ::testing;

using Tokens = std::optional<std::vector<std::string>>;

/// A line in words.
struct Split {
  explicit Split(const std::string &line) : text(line + '\0') {
    whole = parse(&count, tokens.data(), text.data());
  }
  std::string text;
  std::array<char *, kMaxTokens> tokens{};
  int32_t count = -1;
  int whole = 0;
};

// Rows are read as tables.
// clang-format off

TEST(Parse, SplitsLinesIntoTokens) {
  using T = std::vector<std::string>;
  const struct { const char *line; Tokens tokens; } rows[] = {
      {"", T{}}, {"help", T{"help"}}, {"info -o  vd ", T{"info", "-o", "vd"}}, {"  help", T{"", "help"}}, {"\thelp", T{"", "help"}},
      {"a\t\tb", T{"a", "", "b"}}, {"a \tb", T{"a", "", "b"}}, {"a\t b", T{"a", "b"}}, {"a\t", T{"a"}},
      {"vd -n \"two words\"", T{"vd", "-n", "\"two words\""}}, {"a\"b c\"d e", T{"a\"b c\"d", "e"}}, {"\"\"", T{"\"\""}}, {"'a b'", T{"'a", "b'"}},
      {"\"", std::nullopt}, {"vd -n \"two words", std::nullopt}, {"a\"", std::nullopt},
  };
  for (const auto &row : rows) {
    const Split line(row.line);
    EXPECT_EQ(line.whole ? Tokens(std::in_place, line.tokens.begin(), line.tokens.begin() + line.count) : std::nullopt, row.tokens) << '[' << row.line << ']';
  }

  // Tokens beyond the vector are counted.
  std::string many;
  for (int i = 0; i < 70; ++i) many += "a ";
  EXPECT_EQ(Split(many).whole, 1);
  EXPECT_EQ(Split(many).count, 70);
}

TEST(NoQuoteStrncpy, TakesOnlyMatchingQuotesOff) {
  const struct { const char *source; size_t n; std::string copy; } rows[] = {
      {"plain", 5, "plain"}, {"\"03:00.00\"", 10, "03:00.00"}, {"'a b'", 5, "a b"}, {"\"mixed'", 7, "\"mixed'"}, {"\"open", 5, "\"open"},
      {"\"", 1, ""}, {"\"\"", 2, ""}, {"", 0, ""}, {"cut off", 3, "cut"},
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
  Split words(line);
  return test::outputOf([&] { EXPECT_EQ(cmdDispatcher(words.count, words.tokens.data()), expected) << line; });
}

TEST(Dispatch, FindsWordsAndAbbreviations) {
  const struct { const char *line; int32_t result; const char *beginning; } rows[] = {
      {"he -h", 0, "Description:Get brief help for all commands or detail"}, {"? -x", 0, "Description:Get brief help for all commands."},
      {"h", 1, "Ambiguous command 'h'!\n"}, {"in", 1, "Ambiguous command 'in'!\n"}, {"re", 1, "Ambiguous command 're'!\n"},
      {" help", 1, "Ambiguous command ''!\n"}, {"inf -h", 0, "Description:For display NVMe"},
      {"VPD -h", 0, "Description:For switch VPD access target"}, {"vpdr -h", 0, "Description:Read VPD via standard"},
      {"mi_passthruw -h", 0, "Description:Write pass-through"}, {"--d", 0, "Set debug mode to enable\n"},
      {"--debug -a DISABLE", 0, "Set debug mode to disable\n"}, {"--debug -a x", 0, "Set debug mode to enable\n"},
      {"--debug -a disable -z", 0, "Set debug mode to disable\n"}, {"exit", -1, ""}, {"Quit", -1, ""}, {"exi", 1, "Invalid command 'exi'!\n"},
      {"helpZA", 1, "Invalid command 'helpza'!\n"}, {"help VD", 0, "No help available for 'VD'\n"}, {"help kxf", 0, "No help available for 'kxf'\n"},
      {"help version x", 0, "Description:Show API, CLI and support firmware version\nversion"},
      {"version", 0, "Support Firmware Version: 1.0.0.1029 above\nCLI Version: 1.0.0.1035\nAPI Version: 1.0.0.1035\n"},
      {"version -i 1", 0, "Description:Show API"}, {"version -z", 1, ""}, {"version --output x", 0, "Support"},
  };
  for (const auto &row : rows) EXPECT_THAT(dispatch(row.line, row.result), StartsWith(row.beginning)) << row.line;
  dbg_enable = false;
  Split bare("mp -h");  // as a command without options would read it
  test::outputOf([&] { EXPECT_EQ(parseNoOptions(bare.count, bare.tokens.data(), generalCmdTableV1, HelpOption::Declared), Parsed::Help); });
}

TEST(Dispatch, HelpListsTheGeneralTable) {
  std::string overview = dispatch("help", 0);
  EXPECT_THAT(overview, StartsWith("\nLegend: "));
  EXPECT_THAT(overview, HasSubstr("\n" + std::string(65, '-') + "\n"
      "?                  :Get brief help for all commands.\nhelp               :Get brief help for all commands or detail help for one command.\n"
      "adapter            :Default NVMe Controller the following CLI commands refers to.\nversion            :Show API, CLI and support firmware version\n"
      "smart              :Get SSD adapter smart info.\nflash              :Update flash image.\nlog                :For show/on/off SPI log\n"
      "info               :For display NVMe Controller(hba), virtual disk(vd), physical disk(pd) or Namespace(ns) information.\nevent              :For getting event from NVMe Controller.\n"
      "import             :For import VD\ninit               :For start or stop VD initialization.\nmp                 :For start or stop media patrol for a virtual disk.\n"
      "rebuild            :For start or stop VD rebuild.\ndebuglv            :For switch debug level target\nget                :For getting configuration information of NVMe Controller.\n"
      "set                :For setting configuration parameters of NVMe Controller.\npassthru           :Passthrough NVMe admin command to backend device\n"
      "spi                :Read and write SPI data. Maximal size of SPI data is 4096 bytes.\nvd                 :For VD create and delete\nreset              :For reset back-end device\n"
      "[Notice]\n  <Default GPIO setting>\n    Set power: \n        Power pin id 0 means control GPIO4\n        Power pin id 1 means control GPIO5\n    Set perstn\n"
      "        PD id 0 means control GPIO8\n        PD id 1 means control GPIO9\n        PD id 2 means control GPIO10\n        PD id 3 means control GPIO11\n"
      "led                :For control LED of device\nvpd                :For switch VPD access target\ndumphba            :For dump hba info data structure\n"
      "gpio               :For GPIO setting in HBA info (Only for GPIO 4 to 7)\nns                 :For namespace management\nvpdread            :Read VPD via standard MI-Send and MI-Receive\n"));
  std::string hidden;
  for (int i = 0; i < hiddenCmdTableV1Size(); ++i)
    hidden += std::string(hiddenCmdTableV1[i].cmd) + hiddenCmdTableV1[i].cmdShortHelp + "\n";
  EXPECT_EQ(hidden,
      "--debug\ngen:Using for generate PRP data which file name is prp_data and size is 4K for nvme standard admin command\n"
      "reg:For read and write PCIe register. Maximal size of data is 4 bytes.\nkxf:For control manufacture flash tool\nprotect:For control protection area\ni2c:For test i2c device\n"
      "pcie:For get PCIe information from backend device\nsriov:For control SRIOV feature\nhotkey:For hotkey.\nmi_passthruread:Read pass-through command via standard MI-Send and MI-Receive\n"
      "mi_passthruwrite:Write pass-through command via standard MI-Send\n");
  EXPECT_THAT(overview, Not(HasSubstr("kxf")));
  EXPECT_THAT(overview, EndsWith("trx_cli 1 info -o pd\n\n"));
}

TEST(Numbers, AreReadAsUsersMeanThem) {
  const struct { std::optional<int64_t> read, meant; } ids[] = {
      {decimal("12"), 12}, {decimal(""), 0}, {decimal("-1"), {}}, {decimal("4294967296"), 4294967296}, {decimal("99999999999999999999"), INT64_MAX},
      {decimalUpTo(7, "7"), 7}, {decimalUpTo(7, "8"), {}}, {zeroBasedId16("65535"), 65535}, {zeroBasedId16("65536"), {}},
  };
  for (const auto &id : ids) EXPECT_EQ(id.read, id.meant);
  g_oneBaseMode = 1;
  const struct { const char *text; std::optional<int32_t> meant; } counted[] = {{"1", 0}, {"0", {}}, {"2147483648", 2147483647}, {"2147483649", {}}};
  for (const auto &id : counted) EXPECT_EQ(zeroBasedId(id.text), id.meant) << id.text;
  EXPECT_EQ(userCounting(4), 5);
  g_oneBaseMode = 0;
  for (const char *slip : {"1x0", "0x", "0xg", "0xe2c00o00", "00x1", " 0x1", "-0x1", "0x1 ", "0x10000000000000000", "18446744073709551616", "1 ", "+1"})
    EXPECT_EQ(hexOrDecimal(slip), std::nullopt) << slip;
  for (const char *largest : {"0xFfffffffffffffff", "18446744073709551615"}) EXPECT_EQ(hexOrDecimal(largest), UINT64_MAX);
  EXPECT_EQ(hexOrDecimal(""), 0u);
  EXPECT_EQ(hexOrDecimalUpTo(255, "0xff"), 255u);
  EXPECT_EQ(hexOrDecimalUpTo(255, "256"), std::nullopt);
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

TEST(DeviceText, SteersNoTerminal) {
  const std::string text = "\x1f \t\n~\x7f\x80\x9f\xa0\xff\x1b[2J";
  streamDescriptor = -1;
  EXPECT_EQ(deviceText(text), text) << "a file gets it as it is";
  streamDescriptor = posix_openpt(O_RDWR | O_NOCTTY);
  EXPECT_EQ(deviceText(text), "? \t\n~???\xa0\xff?[2J");
  close(streamDescriptor);
  streamDescriptor = STDOUT_FILENO;
}

TEST(Files, PathsLoseTheirQuotes) {
  const std::pair<const char *, const char *> rows[] = {{"\"a b\" c", "a b"}, {"\"a b", "a b"}, {"\"\"", ""}, {"plain", "plain"}};
  for (const auto &[text, path] : rows) EXPECT_EQ(pathArgument(text), path);
  EXPECT_EQ(pathArgument(std::string(2000, 'x').c_str()).size(), 1023u);
  const auto open = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  const auto before = open();
  CommandFile file;
  EXPECT_EQ(file.open_file("/", "r"), 1);
  EXPECT_EQ(open(), before) << "what is not read is not kept either";
  EXPECT_EQ(file.open_file("'/etc/passwd'", "r"), 0);
  EXPECT_GT(file.get_file_length(), 0u);
}

// clang-format on

}  // namespace
}  // namespace trx
