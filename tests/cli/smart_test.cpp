// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/smart/smart.h"

#include <gmock/gmock.h>

#include "Functions/handlers.h"
#include "Play.h"
#include "RealData.h"

namespace trx::test {
namespace {

using namespace ::testing;

using SmartLog = std::array<TRX_U8, kSmartLogBytes>;

std::string decoded(const SmartLog &log) {
  return outputOf([&] { showLogSmartInfo(log); });
}

/// The text behind a label, up to the end of the line.
std::string valueOf(const std::string &out, const std::string &label) {
  std::string padded = "\n" + label + std::string(54 - label.size(), ' ') + ": ";
  size_t at = out.find(padded);
  if (at == std::string::npos) return "no line '" + label + "'";
  at += padded.size();
  return out.substr(at, out.find('\n', at) - at);
}

__extension__ using Wide = unsigned __int128;

/// Data units in gigabytes, to the nearest; no real page has a half.
std::string gigabytes(const std::string &units) {
  constexpr unsigned kMega = 1'000'000;
  return std::to_string(static_cast<uint64_t>((Wide{std::stoull(units)} * 512 + kMega / 2) / kMega));
}

// Rows are read as tables.
// clang-format off

TEST(SmartLog, ReadsRealPagesAsAnotherProgramDoes) {
  std::filesystem::path folder = realData("nvme/smart");
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << folder;
  const struct { const char *label, *key, *unit; } numbers[] = {
      {"Available Spare", "avail_spare", "%"}, {"Available Spare Threshold", "spare_thresh", "%"}, {"Percentage Used", "percent_used", "%"},
      {"Host Read Commands", "host_read_commands", ""}, {"Host Write Commands", "host_write_commands", ""}, {"Controller Busy Time", "controller_busy_time", ""},
      {"Power Cycles", "power_cycles", ""}, {"Power On Hours", "power_on_hours", ""}, {"Unsafe Shutdowns", "unsafe_shutdowns", ""},
      {"Media and Data Integrity Errors", "media_errors", ""}, {"Num Err Log Entries", "num_err_log_entries", ""},
      {"Warning Composite Temperature Time", "warning_temp_time", ""}, {"Critical Composite Temperature Time", "critical_comp_time", ""},
      {"Thermal Management Temperature 1 Transition Count", "thm_temp1_trans_count", ""},
      {"Thermal Management Temperature 2 Transition Count", "thm_temp2_trans_count", ""},
      {"Total Time For Thermal Management Temperature 1", "thm_temp1_total_time", ""},
      {"Total Time For Thermal Management Temperature 2", "thm_temp2_total_time", ""},
  };
  int pages = 0;
  for (const auto &entry : std::filesystem::directory_iterator(folder)) {
    if (entry.path().extension() != ".bin") continue;
    SCOPED_TRACE(entry.path().filename());
    nlohmann::json json = readJson(std::filesystem::path(entry.path()).replace_extension(".nvme-cli.json"));
    std::string out = decoded(readRecord<SmartLog>(entry.path()));
    // Large counters are quoted there, small ones are not.
    auto field = [&](const char *key) { return json[key].is_string() ? json[key].get<std::string>() : json[key].dump(); };
    for (const auto &row : numbers) EXPECT_EQ(valueOf(out, row.label), field(row.key) + row.unit) << row.label;
    for (const auto &[label, key] : {std::pair{"Data Units Read", "data_units_read"}, {"Data Units Written", "data_units_written"}})
      EXPECT_EQ(valueOf(out, label), field(key) + " (" + gigabytes(field(key)) + " GB)");
    EXPECT_EQ(valueOf(out, "Composite Temperature"), std::to_string(json["temperature"].get<int>() - 273) + " Celsius");
    ++pages;
  }
  EXPECT_GE(pages, 10);
}

TEST(SmartLog, ReadsEveryFieldAtItsPlace) {
  SmartLog log{};
  for (size_t at : {0u, 1u, 3u, 4u, 5u}) log[at] = static_cast<TRX_U8>(0xA0 + at);
  log[2] = 1;
  for (size_t at = 32; at < 232; at += at < 192 ? 16 : 4) {
    log[at] = static_cast<TRX_U8>(at);
    log[at + 2] = static_cast<TRX_U8>(at / 16 - 1);
  }
  EXPECT_EQ(std::regex_replace(decoded(log), std::regex(" *: |\n"), "|"),
            "|NVME SMART Information :||Critical Warning|0xa0|Composite Temperature|144 Celsius|Available Spare|163%|Available Spare Threshold|164%|Percentage Used|165%|"
            "Data Units Read|65568 (34 GB)|Data Units Written|131120 (67 GB)|Host Read Commands|196672|Host Write Commands|262224|Controller Busy Time|327776|"
            "Power Cycles|393328|Power On Hours|458880|Unsafe Shutdowns|524432|Media and Data Integrity Errors|589984|Num Err Log Entries|655536|"
            "Warning Composite Temperature Time|721088|Critical Composite Temperature Time|721092|"
            "Thermal Management Temperature 1 Transition Count|786648|Thermal Management Temperature 2 Transition Count|786652|"
            "Total Time For Thermal Management Temperature 1|852192|Total Time For Thermal Management Temperature 2|852196||");
}

TEST(SmartLog, ShowsTheEdgesOfItsFields) {
  SmartLog log{};
  EXPECT_EQ(valueOf(decoded(log), "Composite Temperature"), "-273 Celsius");
  log[0] = 0x1F;
  log[1] = 0x43, log[2] = 0x01;
  log[32] = 0x40, log[33] = 0x42, log[34] = 0x0F;  // 1000000
  log[64 + 8] = 1;                                 // 2^64
  log[80 + 7] = 0x80, log[80] = 1;                 // 2^63 + 1: 64 significant bits are exact
  std::fill_n(&log[96], 16, TRX_U8{0xFF});         // 2^128 - 1 is rounded to 64 significant bits
  std::fill_n(&log[192], 4, TRX_U8{0xFF});
  const std::pair<const char *, const char *> rows[] = {
      {"Critical Warning", "0x1f"}, {"Composite Temperature", "50 Celsius"}, {"Data Units Read", "1000000 (512 GB)"}, {"Host Read Commands", "18446744073709551616"},
      {"Host Write Commands", "9223372036854775809"}, {"Controller Busy Time", "340282366920938463463374607431768211456"}, {"Warning Composite Temperature Time", "-1"},
  };
  for (const auto &[label, value] : rows) EXPECT_EQ(valueOf(decoded(log), label), value);
}

TEST(Smart, ReadsDisksAndTheController) {
  CliSession session;
  std::string disk = transcript(session, "smart -i 4");
  EXPECT_EQ(valueOf(disk, "Power On Hours"), "4380");
  EXPECT_THAT(disk, StartsWith("\nNVME SMART Information :\n\nCritical Warning    "));
  EXPECT_THAT(disk, EndsWith("Temperature 2       : 0\n\n=> 0\n< op=c2 nsid=4 cdw10=7f0002 cdw14=2 cdw15=ffffffff len=512\n"));
  EXPECT_THAT(transcript(session, "smart -i 99 -o HBA"), EndsWith("=> 0\n< op=2 nsid=ffffffff cdw10=7f0002 len=512\n"));
  play(session, {
      {"smart -i", "smart: option requires an argument -- i\n=> 0\n"}, {"smart -i x", "-i : invalid NVMe Controller id 'x'\n=> 0\n"},
      {"smart -i 3000000000", "-i : invalid NVMe Controller id '3000000000'\n=> 0\n"}, {"smart -o pd -i 0", "-o : invalid object 'pd'\n=> 0\n"},
      {"smart -o hba", "smart: option -i is required\n=> 0\n"},
      {"smart -i 77", "get smart info failed.\nNVMEDevice_sendCommand Failed, Input/output error.\nInvalid HD ID (Status Code: 0x706)\n=> 1798\n"
                      "< op=c2 nsid=4d cdw10=7f0002 cdw14=2 cdw15=ffffffff len=512\n"},
  });
  g_oneBaseMode = 1;
  EXPECT_THAT(transcript(session, "smart --pd_id 5"), EndsWith(disk.substr(disk.rfind("\n<"))));
  EXPECT_EQ(session.host().violations(), "");
}

TEST(Smart, CountersMove) {
  CliSession session;
  auto line = [&](const char *label) { return valueOf(session.run("smart -i 0").out, label); };
  std::string read = line("Data Units Read");
  session.run("passthru -i 0 -o 0x77 -r read");  // refused by the disk, which counts that
  session.host().sim("advance", {"3600"});
  session.host().sim("restart");
  EXPECT_NE(line("Data Units Read"), read);
  for (const auto &[label, value] : {std::pair{"Power On Hours", "4381"}, {"Power Cycles", "22"}, {"Num Err Log Entries", "1"}})
    EXPECT_EQ(line(label), value);
}

// clang-format on

}  // namespace
}  // namespace trx::test
