// SPDX-License-Identifier: GPL-3.0-or-later
// What monitors are told: whole pages, where all is well, where it is not, and where nobody says.
#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "CliSession.h"
#include "Public/common.h"

namespace trx::test {
namespace {

using namespace ::testing;

std::string withoutPerformance(const std::string &out) {
  return std::regex_replace(out, std::regex(" \\|[^\n]*"), "");
}

// Rows are read as tables.
// clang-format off

constexpr char kLogs[] = "vmhba2 VD 1 \"logs\" degraded, 1 of 2 members missing; PD 7 is free and large enough";
constexpr char kOld[] = "WARNING: vmhba2 VD 3 \"oldarray\" importable; import -i 3 takes it over\n";
constexpr char kLab[] = "vmhba2 VD 0 \"oldarray\" importable; import -i 0 takes it over";

const std::string kFirst = std::string("CRITICAL: ") + kLogs + " (and 1 more)\nCRITICAL: " + kLogs + "\n" + kOld;

TEST(Health, TellsTheStateAndWhatHelps) {
  const struct { const char *topology, *fault, *line; int status; std::string out; } rows[] = {
      {"frozen", "", "health", 2, kFirst},
      {"frozen", "", "--strict 0 health", 2, kFirst},
      {"frozen", "", "1 health", 0, "OK: 1 NVMe Controller, 4 PDs, 0 VDs\n"},
      {"frozen", "", "1 health --warning=temperature=34 -c wear=1", 1, "WARNING: vmhba3 PD 0 \"NS3-01007\" temperature 35 C, above 34 C (and 3 more)\n"
       "WARNING: vmhba3 PD 0 \"NS3-01007\" temperature 35 C, above 34 C\nWARNING: vmhba3 PD 1 \"NS3-01008\" temperature 35 C, above 34 C\n"
       "WARNING: vmhba3 PD 2 \"T4-88120A\" temperature 35 C, above 34 C\nWARNING: vmhba3 PD 3 \"T4-88120B\" temperature 35 C, above 34 C\n"},
      {"frozen", "", "1 health -w temperature=35 -c temperature=35", 0, "OK: 1 NVMe Controller, 4 PDs, 0 VDs\n"},
      // What could not be asked weighs more than a warning, and less than what is known to be critical.
      {"lab", "", "health", 1, std::string("WARNING: ") + kLab + "\nWARNING: " + kLab + "\n"},
      {"lab", "op=e2 group=e2 nth=2 nvme=6", "health", 3, std::string("UNKNOWN: vmhba2 VD 1 could not be read: Internal Error (and 1 more)\n"
       "UNKNOWN: vmhba2 VD 1 could not be read: Internal Error\nWARNING: ") + kLab + "\n"},
      {"frozen", "op=e2 group=e0 adapter=vmhba3 nth=2 nvme=6", "--strict 1 health", 3, "UNKNOWN: vmhba3 could not be read: Internal Error\nUNKNOWN: vmhba3 could not be read: Internal Error\n"},
      {"frozen", "op=c2 nth=3 platform=5", "0 health", 2, std::string("CRITICAL: ") + kLogs + " (and 2 more)\nCRITICAL: " + kLogs +
       "\nUNKNOWN: vmhba2 PD 1: its SMART log could not be read: Input/output error\n" + kOld},
      {"frozen", "op=c2 nth=15 nvme=6", "0 health", 2, std::string("CRITICAL: vmhba2 VD 1 \"logs\" degraded, 1 of 2 members missing (and 2 more)\n"
       "CRITICAL: vmhba2 VD 1 \"logs\" degraded, 1 of 2 members missing\nUNKNOWN: vmhba2 PD 7: its SMART log could not be read: Internal Error\n") + kOld},
      {"lab", "op=6 adapter=vmhba3 platform=5", "health", 3, std::string("UNKNOWN: An NVMe adapter of this host did not answer: Input/output error (and 1 more)\n"
       "UNKNOWN: An NVMe adapter of this host did not answer: Input/output error\nWARNING: ") + kLab + "\n"},
      {"frozen", "op=e2 group=e1 nth=3 status=6", "1 health", 0, "OK: 1 NVMe Controller, 3 PDs, 0 VDs\n"},
      {"unsupported", "", "health", 3, "UNKNOWN: No NVMe Controller is found\n"},
      // A line that is wrong in itself.
      {"empty", "", "health -w temperature", 3, "UNKNOWN: -w : invalid limit 'temperature'\n"}, {"empty", "", "health -c wear=5,wear=6", 3, "UNKNOWN: -c : invalid limit 'wear=6'\n"},
      {"empty", "", "health -c wear=9999", 0, "OK: 1 NVMe Controller, 0 PDs, 0 VDs\n"}, {"empty", "", "health -c wear=10000", 3, "UNKNOWN: -c : invalid limit 'wear=10000'\n"},
      {"empty", "", "health -c wear=-1", 3, "UNKNOWN: -c : invalid limit 'wear=-1'\n"}, {"empty", "", "health -c speed=1", 3, "UNKNOWN: -c : invalid limit 'speed=1'\n"},
      {"empty", "", "health -w wear=1 -w wear=2", 3, "UNKNOWN: the words after health will not do, see health -h\n"}, {"empty", "", "health now", 3, "UNKNOWN: the words after health will not do, see health -h\n"},
      {"empty", "", "--expect id=1 health", 3, "UNKNOWN: trx_cli: --expect: the command changes nothing\n"}, {"empty", "", "--strict --strict health", 3, "UNKNOWN: trx_cli: --strict is given twice\n"},
      {"empty", "", "7 health", 3, "UNKNOWN: Adapter ID 7 is not exist\n"}, {"empty", "", "health -output /nowhere/at/all", 3, ""},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.topology) + ": " + row.fault + ": " + row.line);
    SimHost host(row.topology);
    if (*row.fault) host.sim("fault add", wordsOf(row.fault));
    const Outcome told = host.cli(wordsOf(row.line));
    EXPECT_EQ(told.status, row.status);
    EXPECT_EQ(withoutPerformance(told.out), row.out);
    EXPECT_EQ(host.sim("fault list").out, "") << "the request was not sent";
    EXPECT_EQ(host.violations(), "");
  }
}

constexpr char kSick[] = R"({"clock": 1720000000, "adapters": [{"rate": 0, "disks": [
  {"sizeGiB": 9, "serial": "A|\"\u0007B", "failed": true}, {"sizeGiB": 9, "serial": "B", "smart": {"criticalWarning": 77, "availableSpare": 3}},
  {"sizeGiB": 9, "serial": "C", "smart": {"temperatureKelvin": 344, "percentageUsed": 91, "mediaErrors": 1}},
  {"sizeGiB": 9, "serial": "D", "smart": {"temperatureKelvin": 0, "percentageUsed": 90, "mediaErrors": 2}}, {"sizeGiB": 8, "serial": "E"}],
  "volumes": [{"name": "a|b", "raid": "RAID1", "members": [2, null]}, {"raid": "JBOD", "members": [3], "name": "odd", "status": "STATUS"}]}]})";

TEST(Health, KnowsEveryStateOfDisksAndVolumes) {
  const struct { const char *status, *line; } rows[] = {
      {"functional", ""}, {"deleted", ""}, {"initialization", ""}, {"missing", "CRITICAL: vmhba2 VD 1 \"odd\" missing\n"}, {"offline", "CRITICAL: vmhba2 VD 1 \"odd\" offline\n"},
      {"degrade", "CRITICAL: vmhba2 VD 1 \"odd\" degraded\n"}, {"not importable", "CRITICAL: vmhba2 VD 1 \"odd\" not importable\n"},
      {"partially optimal", "WARNING: vmhba2 VD 1 \"odd\" partially optimal\n"}, {"foreign", "WARNING: vmhba2 VD 1 \"odd\" foreign\n"},
      {"importable", "WARNING: vmhba2 VD 1 \"odd\" importable; import -i 1 takes it over\n"}, {"rebuilding", "WARNING: vmhba2 VD 1 \"odd\" rebuilding\n"},
      {"error handling", "WARNING: vmhba2 VD 1 \"odd\" handling an error\n"},
  };
  const SimHost place("empty");
  const std::string file = place.placed("@sick.json");
  for (const auto &row : rows) {
    SCOPED_TRACE(row.status);
    std::ofstream(file) << std::regex_replace(kSick, std::regex("STATUS"), row.status);
    const Outcome told = SimHost(file).cli({"health"});
    const bool critical = row.line[0] == 'C';
    const std::string first = "CRITICAL: vmhba2 VD 0 \"a/b\" degraded, 1 of 2 members missing; no free PD is large enough";
    EXPECT_EQ(withoutPerformance(told.out), first + " (and " + std::to_string(*row.line ? 9 : 8) + " more)\n" + first + "\n" + (critical ? row.line : "") +
        "CRITICAL: vmhba2 PD 0 \"A/\"?B\" failed; replace it\nCRITICAL: vmhba2 PD 1 \"B\" spare 3%, below its threshold of 10%\n"
        "CRITICAL: vmhba2 PD 1 \"B\" SMART critical warning: reliability, read only, bit 6\nCRITICAL: vmhba2 PD 2 \"C\" temperature 71 C, above 70 C\nCRITICAL: vmhba2 PD 2 \"C\" wear 91%, above 90%\n" +
        (critical ? "" : row.line) + "WARNING: vmhba2 PD 2 \"C\" 1 media error\nWARNING: vmhba2 PD 3 \"D\" wear 90%, above 80%\nWARNING: vmhba2 PD 3 \"D\" 2 media errors\n");
  }
}

constexpr char kMending[] = R"({"clock": 1720000000, "adapters": [{"rate": 0, "disks": [{"sizeGiB": 9}, {"sizeGiB": 9}, {"sizeGiB": 80, "sectorSize": 4096}, {"sizeGiB": 30}, {"sizeGiB": 20},
  {"sizeGiB": 9}, {"sizeGiB": 9, "smart": {"availableSpare": 10}}, {"sizeGiB": 9, "smart": {"criticalWarning": 1}}, {"sizeGiB": 9}, {"sizeGiB": 9}],
  "volumes": [{"name": "few", "raid": "RAID1", "members": [0, null]}, {"name": "half", "raid": "RAID1", "members": [1, 5], "activity": {"type": "rebuild", "percent": 40, "slot": 1, "paused": true}},
    {"name": "gone", "raid": "RAID0", "members": [6, null]}, {"name": "more", "raid": "RAID1", "members": [8, 9], "activity": {"type": "rebuild", "percent": 60, "slot": 1}}]},
  {"mode": "jbof", "rate": 0, "disks": [{"sizeGiB": 9}]}]})";

TEST(Health, TellsWhatMendsAndHowFarItIs) {
  const SimHost place("empty");
  const std::string file = place.placed("@mending.json"), one = "vmhba3 PD 0 \"HX1S10000\" temperature 35 C, above 34 C\n", all = R"(CRITICAL: vmhba2 VD 0 "few" degraded, 1 of 2 members missing; PD 4 is free and large enough (and 4 more)
CRITICAL: vmhba2 VD 0 "few" degraded, 1 of 2 members missing; PD 4 is free and large enough
CRITICAL: vmhba2 VD 2 "gone" offline, 1 of 2 members missing; put them back
CRITICAL: vmhba2 PD 7 "HX1S10007" SMART critical warning: spare
WARNING: vmhba2 VD 1 "half" rebuilding, paused at 40%
WARNING: vmhba2 VD 3 "more" rebuilding, 60% done
)";
  std::ofstream(file) << kMending;
  SimHost host(file);
  EXPECT_EQ(withoutPerformance(host.cli({"health"}).out), all);
  EXPECT_EQ(host.cli({"1", "health"}).out, "OK: 1 NVMe Controller, 1 PD, 0 VDs | vmhba3_pd0_temperature=35;60;70 vmhba3_pd0_wear=0%;80;90\n");
  EXPECT_EQ(withoutPerformance(host.cli(wordsOf("1 health -c temperature=34")).out), "CRITICAL: " + one + "CRITICAL: " + one);
  EXPECT_EQ(withoutPerformance(host.cli(wordsOf("1 health -w temperature=34 -c temperature=35")).out), "WARNING: " + one + "WARNING: " + one);
  EXPECT_EQ(host.cli(wordsOf("wait -t 0")).out, "VD 1: Rebuilding 40%, paused\nVD 3: Rebuilding 60%\nVD 1: Rebuilding has not ended, 40% done.\nVD 3: Rebuilding has not ended, 60% done.\n");
  EXPECT_THAT(host.cli({"metrics"}).out, HasSubstr("progress_ratio{adapter=\"0\",volume=\"1\",kind=\"rebuilding\",state=\"pause\"} 0.4\n"));
  // The same where users count from 1.
  auto oneBased = [&](const std::string &line) {
    Words words = wordsOf(line);
    words.insert(words.begin(), TRX_ONE_BASED_PATH);
    return runProgram(host.runWords(words)).out;
  };
  EXPECT_THAT(oneBased("1 health"), AllOf(HasSubstr("vmhba2 VD 1 \"few\" degraded, 1 of 2 members missing; PD 5 is free"), HasSubstr(" vmhba2_pd10_wear=")));
  EXPECT_THAT(oneBased("--json 2 health"), AllOf(HasSubstr("\"adapter\":{\"id\":2,\"device\":\"vmhba3\"}"), HasSubstr("\"vmhba3_pd1_wear\"")));
  EXPECT_THAT(oneBased("2 metrics"), HasSubstr("\ntrx_disk_size_bytes{adapter=\"2\",disk=\"1\"} 9663676416\n"));
  EXPECT_THAT(oneBased("wait -o vd -i 2 -t 0"), StartsWith("VD 2: Rebuilding 40%, paused\n"));
  EXPECT_THAT(oneBased("--dry-run vd -a delete -i 1"), HasSubstr("\nLoss: VD 1 \"few\" of "));
}

TEST(Health, TellsDocumentsOfOutcomesAndAsksNothingTwice) {
  SimHost host("frozen");
  const Outcome told = host.cli({"--json", "health"});
  EXPECT_EQ(told.status, 0);
  const auto health = nlohmann::json::parse(told.out)["data"]["health"];
  EXPECT_EQ(health["state"], "critical");
  EXPECT_EQ(health["problems"][0]["text"], kLogs);
  EXPECT_EQ(health["performance"].size(), 24U);
  const Words sent = host.traffic();
  // But for what the start asks when it looks for controllers.
  EXPECT_EQ(sent.size(), std::set(sent.begin(), sent.end()).size() + 2U);
  EXPECT_EQ(sent.size(), 109U) << "no id beyond the last is asked for";
  host.sim("fault add op=c2 nvme=6");
  const auto partial = nlohmann::json::parse(host.cli({"--json", "1", "health"}).out);
  EXPECT_EQ(partial["outcome"], "partial");
  EXPECT_EQ(partial["data"]["health"]["state"], "unknown");
  EXPECT_EQ(partial["data"]["health"]["problems"][0]["error"]["code"], 6);
  EXPECT_EQ(SimHost("unsupported").cli({"--json", "health"}).status, 3);
}

TEST(Health, WarnsOfFirmwareThatWaits) {
  SimHost host("empty");
  const std::string image = host.placed("@new.img");
  runProgram({TRX_SIM_PATH, "image", image, "--version", "1.3.0.1040"});
  host.cli({"flash", "-o", "hba", "-f", image, "-s", "2", "-c", "1"});
  constexpr char kWaits[] = "WARNING: vmhba2 firmware in slot 2 waits for a reset\n";
  EXPECT_NE(host.cli({"--json", "health"}).out.find("\"object\":\"adapter\",\"id\":0,"), std::string::npos);
  EXPECT_EQ(host.cli({"health"}).out, std::string(kWaits) + kWaits);
  EXPECT_THAT(host.cli({"metrics"}).out, HasSubstr("\ntrx_adapter_firmware_pending{adapter=\"0\"} 1\n"));
}

TEST(Health, TellsOfDisksWithoutAController) {
  CliSession session;
  gCurrentAdapter = gSpecificAdapterFlag = 1;
  deviceSays = [](std::span<uint8_t> reply) {
    if (reply.size() == 512 && reply[8] != 0) reply[0] = 0x21;               // firmware slots
    if (reply.size() > 512 && reply[20] == 'N') reply[10] |= 2 | 8;          // a disk: patrolled, importable
    if (reply.size() > 512 && reply[8] == 1 && reply[32] == 2) reply[8] = 2; // namespaces
  };
  std::string disks;
  for (const char *disk : {"0 \"NS3-01007\"", "1 \"NS3-01008\"", "2 \"T4-88120A\"", "3 \"T4-88120B\""}) {
    const std::string begin = std::string("WARNING: vmhba3 PD ") + disk;
    disks += begin + ", firmware in slot 2 waits for a reset\n" + (disk[3] == 'N' ? begin + " importable\n" : "");
  }
  const std::string health = withoutPerformance(session.run("health").out), metrics = session.run("metrics").out;
  EXPECT_EQ(health.substr(health.find('\n') + 1), disks + "WARNING: vmhba3 firmware in slot 2 waits for a reset\n");
  EXPECT_THAT(metrics, AllOf(HasSubstr("\ntrx_disk_state{adapter=\"1\",disk=\"1\",state=\"media patrol executing\"} 1\n"), HasSubstr("\ntrx_disk_firmware_pending{adapter=\"1\",disk=\"3\"} 1\n"),
                             Not(ContainsRegex("active.adapter=.1.,namespace=.2.*\ntrx_namespace_active.adapter=.1.,namespace=.2"))));
  EXPECT_EQ(session.run("wait -o pd -t 0").out, "PD 0: Media Patrol\nPD 1: Media Patrol\nPD 0: Media Patrol has not ended.\nPD 1: Media Patrol has not ended.\n");
}

TEST(Metrics, TellWhatHealthLooksAt) {
  SimHost place("empty");
  const std::string file = place.placed("@sick.json");
  std::ofstream(file) << std::regex_replace(kSick, std::regex("STATUS"), "foreign");
  SimHost sick(file), frozen("frozen");
  const std::string page = sick.cli({"metrics"}).out;
  for (const char *line : {"trx_up 1", "trx_disk_info{adapter=\"0\",disk=\"0\",model=\"Halden HX1 NVMe SSD\",serial=\"A|\\\"\xEF\xBF\xBD" "B\",firmware=\"HX10A02\"} 1", "trx_disk_state{adapter=\"0\",disk=\"0\",state=\"fail\"} 1",
                           "trx_disk_critical_warning{adapter=\"0\",disk=\"1\",warning=\"read only\"} 1", "trx_disk_critical_warning{adapter=\"0\",disk=\"1\",warning=\"temperature\"} 0",
                           "trx_disk_temperature_celsius{adapter=\"0\",disk=\"2\"} 71", "trx_disk_wear_ratio{adapter=\"0\",disk=\"2\"} 0.91", "trx_disk_media_errors_total{adapter=\"0\",disk=\"3\"} 2",
                           "trx_disk_size_bytes{adapter=\"0\",disk=\"4\"} 8589934592", "trx_volume_state{adapter=\"0\",volume=\"1\",state=\"foreign\"} 1", "trx_volume_missing_members{adapter=\"0\",volume=\"0\"} 1"})
    EXPECT_THAT(page, HasSubstr(std::string("\n") + line + "\n"));
  EXPECT_THAT(page, Not(AnyOf(HasSubstr("celsius{adapter=\"0\",disk=\"3\"}"), HasSubstr("celsius{adapter=\"0\",disk=\"0\"}"))));
  EXPECT_THAT(frozen.cli({"metrics"}).out, AllOf(HasSubstr("\ntrx_volume_activity_progress_ratio{adapter=\"0\",volume=\"0\",kind=\"initializing\",state=\"running\"} 0.37\n"),
                                                 HasSubstr("\ntrx_namespace_active{adapter=\"0\",namespace=\"3\"} 0\n")));

  // The same numbers for machines of the other kind.
  const auto metrics = nlohmann::json::parse(sick.cli({"--json", "metrics"}).out)["data"]["metrics"];
  EXPECT_EQ(metrics.size(), static_cast<size_t>(std::ranges::count(std::regex_replace(page, std::regex("#[^\n]*\n"), ""), '\n')));
  EXPECT_THAT(metrics, Contains(nlohmann::json({{"name", "trx_disk_wear_ratio"}, {"labels", {{"adapter", "0"}, {"disk", "2"}}}, {"value", 0.91}})));

  const struct { const char *topology, *fault, *line; int status; const char *text; } rows[] = {
      {"unsupported", "", "metrics", 0, "\ntrx_up 0\n"}, {"unsupported", "", "--strict metrics", 3, "\ntrx_up 0\n"}, {"unsupported", "", "--json metrics", 3, "{\"name\":\"trx_up\",\"labels\":{},\"value\":0}"},
      {"empty", "group=e0 op=e2 nth=2 nvme=6", "metrics", 1, "\ntrx_adapter_up{adapter=\"0\"} 0\n"}, {"frozen", "op=c2 platform=13", "metrics", 7, "\ntrx_adapter_unread_objects{adapter=\"0\"} 1\n"},
      {"empty", "", "metrics now", 2, "metrics takes no words, see metrics -h\n"}, {"empty", "", "metrics -h", 0, "Description:The same"},
  };
  for (const auto &row : rows) {
    SCOPED_TRACE(std::string(row.topology) + ": " + row.line);
    SimHost host(row.topology);
    if (*row.fault) host.sim("fault add", wordsOf(row.fault));
    const Outcome told = host.cli(wordsOf(row.line));
    EXPECT_EQ(told.status, row.status);
    EXPECT_THAT(told.out, HasSubstr(row.text));
  }
}
// clang-format on

}  // namespace
}  // namespace trx::test
