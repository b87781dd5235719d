// SPDX-License-Identifier: GPL-3.0-or-later
// What the diagnostics tell machines: facts, outcomes, and what a dry run keeps back.
#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "CliSession.h"
#include "line.h"

namespace trx::test {
namespace {

using namespace ::testing;
using nlohmann::json;

json documentOf(const std::string &line) {
  Words words = wordsOf(line);
  std::vector<char *> tokens;
  for (std::string &word : words) tokens.push_back(word.data());
  LineStart start = startOfLine(tokens);
  start.options.json = true;
  int32_t status = 0;
  json document = json::parse(documentOfCommand(start, Tokens(tokens).subspan(start.count), status));
  EXPECT_EQ(document["exit_status"], status);
  return document;
}

json dataOf(const std::string &line) { return documentOf(line)["data"]; }

/// Every reply becomes this, from its beginning on.
void answer(std::string bytes) {
  deviceSays = [bytes](std::span<uint8_t> reply) {
    std::copy_n(bytes.begin(), std::min(bytes.size(), reply.size()), reply.begin());
  };
}

// Rows are read as tables.
// clang-format off

constexpr char kMost[] = "340282366920938463463374607431768211455";

TEST(DiagnosticDocuments, TellTheHealthLogExactly) {
  CliSession session;
  answer(std::string(512, '\xff'));
  json expected = {{"critical_warning", 255}, {"temperature_celsius", 65262}, {"available_spare_percent", 255}, {"available_spare_threshold_percent", 255}, {"used_percent", 255}};
  for (const char *key : {"data_units_read", "data_units_written", "host_read_commands", "host_write_commands", "controller_busy_time_minutes", "power_cycles", "power_on_hours",
                          "unsafe_shutdowns", "media_errors", "error_log_entries"})
    expected[key] = nullptr, expected[std::string(key) + "_s"] = kMost;
  for (const char *key : {"data_units_read_bytes", "data_units_written_bytes"})
    expected[key] = nullptr, expected[std::string(key) + "_s"] = "174224571863520493293247799005065324264960000";
  for (const char *key : {"warning_temperature_time_minutes", "critical_temperature_time_minutes", "thermal_management_1_transitions", "thermal_management_2_transitions",
                          "thermal_management_1_time_seconds", "thermal_management_2_time_seconds"})
    expected[key] = 4294967295;
  EXPECT_EQ(dataOf("smart -i 0")["smart"], expected);
  EXPECT_EQ(dataOf("1 smart -i 0 -o hba")["smart"], expected);
  EXPECT_EQ(dataOf("passthru -i 0 -o 2 -r read -d 512 --cdw10=0x7f0002"), (json{{"data", std::string(1024, 'f')}, {"smart", expected}}));
  // No temperature; a counter beyond 53 bits.
  answer(std::string(64, '\0') + std::string("\1\0\0\0\0\0\x20", 7));
  EXPECT_EQ(dataOf("smart -i 0")["smart"]["temperature_celsius"], json());
  EXPECT_EQ(dataOf("smart -i 0")["smart"]["host_read_commands_s"], "9007199254740993");
}

TEST(DiagnosticDocuments, TellHostileBytesOfADisk) {
  CliSession session;
  std::string reply(4096, '\0');
  reply.replace(8 + 4, 20, "\"}\\\x1b[2J\xff\xc3(\0x", 12 + 1).replace(8 + 24, 40, 40, ' ');
  reply.replace(8 + 280, 16, 16, '\xff');
  answer(reply);
  const json data = dataOf("mi_passthruread -i 0"), identity = data["identify_controller"];
  EXPECT_EQ(identity["serial"], "\"}\\\xEF\xBF\xBD[2J\xEF\xBF\xBD\xEF\xBF\xBD(\xEF\xBF\xBDx");
  EXPECT_EQ(identity["serial_hex"], "227d5c1b5b324affc3280078");
  EXPECT_EQ(identity["model"], "");
  EXPECT_EQ(identity["tnvmcap_bytes"], json());
  EXPECT_EQ(identity["tnvmcap_bytes_s"], kMost);
  EXPECT_EQ(identity["wctemp_kelvin"], json());
  EXPECT_THAT(data["data"].get<std::string>(), AllOf(SizeIs(1024), StartsWith("00000000227d5c1b")));
}

std::string inputFile(CliSession &session) {
  const std::string path = session.host().directory() / "in";
  std::ofstream(path) << "ABCDEF";
  return path;
}

TEST(DiagnosticDocuments, TellValuesAndHowItWent) {
  CliSession session;
  const std::string path = inputFile(session);
  const struct { const char *fault; std::string line; const char *outcome; json data; } rows[] = {
      {"", "reg -t read -i 1 -a 0x10", "ok", {{"data", "00000000"}, {"address", 16}, {"value", 0}}},
      {"sub=9 nvme=0x106", "reg -t read -i 1 -a 0x10", "refused", {{"data", nullptr}, {"address", 16}, {"value", nullptr}}},
      {"", "pcie -i 0", "ok", {{"link_speed", "gen3 8.0 gt/s"}, {"link_speed_code", 3}, {"link_width", "x4"}, {"link_width_code", 4}, {"correctable_errors", 0}, {"uncorrectable_errors", 0}}},
      // A register that counts as 0 in the text is no reason to tell a machine of a slow link.
      {"sub=9 nth=2 platform=5", "pcie -i 0", "failed",
       {{"link_speed", nullptr}, {"link_speed_code", nullptr}, {"link_width", nullptr}, {"link_width_code", nullptr}, {"correctable_errors", nullptr}, {"uncorrectable_errors", nullptr}}},
      {"", "pcie -i 9", "failed", json::object()}, {"", "i2c -i 0x50", "ok", json::object()}, {"", "i2c -i 2", "refused", json::object()},
      {"", "passthru -r write -i 0 -o 2", "refused", json::object()}, {"", "passthru -r none -i 0 -o 2", "refused", json::object()}, {"", "spi -t write", "refused", json::object()},
      {"", "passthru -r read -i 99 -o 2", "not_found", json::object()}, {"op=c2 platform=13", "passthru -r read -i 0 -o 2 -d 4", "denied", {{"data", nullptr}}},
      {"", "passthru -r read -i 0 -o 2 --outputfile /nowhere/x", "failed", json::object()}, {"", "passthru -r read -i 0 -o 2 --inputfile /nowhere/x", "not_found", json::object()},
      {"op=1e platform=5", "vpdread -o 0 -l 1", "failed", {{"data", nullptr}}}, {"op=1d nvme=0x707", "vpdread -o 0 -l 1", "not_found", json::object()},
      {"", "vpdread -o 500 -l 13", "usage", json::object()}, {"", "mi_passthruread", "usage", json::object()},
      {"", "mi_passthruwrite -o 0 -l 7 -f " + path, "usage", json::object()}, {"", "mi_passthruwrite -o 6 -l 2 -f " + path, "ok", {{"data", "4142"}}},
      {"", "gpio --level=1", "usage", json::object()}, {"", "--debug -a disable", "ok", {{"debug", false}}}, {"", "help nix", "usage", json::object()},
  };
  for (const auto &row : rows) {
    if (*row.fault) session.host().sim("fault add", wordsOf(row.fault));
    const json document = documentOf(row.line);
    EXPECT_EQ(document["outcome"], row.outcome) << row.line;
    EXPECT_EQ(document["data"], row.data) << row.line;
    session.host().sim("fault clear");
  }
  for (const char *line : {"hotkey", "help -h", "spi -h", "? vd ns"}) EXPECT_THAT(dataOf(line)["text"].get<std::string>(), StartsWith("Description:")) << line;
  EXPECT_EQ(session.host().violations(), "");
}

TEST(DiagnosticDocuments, AreDry) {
  CliSession session;
  const std::string path = inputFile(session);
  session.requests();
  const std::pair<std::string, const char *> rows[] = {
      {"reg -t write -i 1 -a 16 -d 1", "Write register"}, {"gpio --value=0x10", "Set GPIO"}, {"pcie -i 0", "Write register"}, {"passthru -r read -i 0 -o 0x80", "Command of disk"},
      {"mi_passthruwrite -o 6 -l 2 -f " + path, "NVMe-MI Send: VPD Write"},
  };
  for (const auto &[line, function] : rows) {
    const json sent = dataOf("--dry-run " + line)["would_send"];
    ASSERT_THAT(sent, SizeIs(1)) << line;
    EXPECT_EQ(sent[0]["function"], function);
    EXPECT_THAT(session.requests(), Each(HasSubstr(" cdw12=e1 "))) << line;  // the disk is looked for
  }
  EXPECT_EQ(dataOf("--dry-run smart -i 0").count("would_send"), 0U);
}

// clang-format on

}  // namespace
}  // namespace trx::test
