// SPDX-License-Identifier: GPL-3.0-or-later
// The documents of commands that change something, and of those that tell of settings, events and firmware.
#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "Play.h"
#include "line.h"

namespace trx::test {
namespace {

using namespace ::testing;
using nlohmann::json;

json documentOfLine(CliSession &session, const std::string &line) {
  std::string buffer = session.host().placed(line);
  std::array<char *, kMaxTokens> tokens{};
  int32_t count = 0, status = 0;
  LineOptions options;
  options.json = true;
  EXPECT_TRUE(parse(&count, tokens.data(), buffer.data()));
  const Tokens words(tokens.data(), static_cast<size_t>(count));
  const LineStart start = startOfLine(words, options);
  json document = json::parse(documentOfCommand(start, words.subspan(start.count), status));
  EXPECT_EQ(document["exit_status"], status) << line;
  return document;
}

/// Whether all that is wanted is there. Arrays have no more elements than that.
bool holds(const json &found, const json &wanted) {
  if (wanted.is_object()) {
    for (const auto &[key, value] : wanted.items())
      if (!found.is_object() || !found.contains(key) || !holds(found[key], value)) return false;
    return true;
  }
  if (!wanted.is_array()) return found == wanted;
  return found.is_array() && std::equal(found.begin(), found.end(), wanted.begin(), wanted.end(), holds);
}

struct Fact {
  std::string line;  ///< "!" begins a verb of trx_sim
  std::string outcome;
  std::string data = "{}";
  std::string severities = ".*";  ///< of its messages, a letter each: "ie"
};

void expectFacts(const std::vector<Fact> &rows) {
  CliSession session;
  for (const Fact &row : rows) {
    if (row.line[0] == '!') {
      EXPECT_EQ(session.host().sim(session.host().placed(row.line.substr(1))).status, 0) << row.line;
      continue;
    }
    const json document = documentOfLine(session, row.line);
    EXPECT_EQ(document["outcome"], row.outcome) << row.line << document;
    EXPECT_TRUE(holds(document["data"], json::parse(row.data))) << row.line << document["data"];
    std::string severities;
    for (const json &message : document["messages"]) severities += message["severity"].get<std::string>()[0];
    EXPECT_THAT(severities, MatchesRegex(row.severities)) << row.line << document["messages"];
  }
  EXPECT_EQ(session.host().violations(), "");
}

// Rows are read as tables.
// clang-format off

TEST(StorageDocuments, TellWhatBecameOfVolumes) {
  expectFacts({
    {"vd -a delete -i 2", "ok", R"({"virtual_disk": {"id": 2, "name": "scratch", "namespaces": [4]}})", "i"},
    {"!fault add op=e2 group=e2 sub=0 status=7", ""},  // VD 0 comes out of nowhere, and is not the one
    {"vd -a create -r 0 -d 3,4 -n 2", "ok", R"({"virtual_disk": {"id": 2, "name": "VD2", "namespaces": [4, 5], "activity": null},
      "namespaces": [{"id": 4, "virtual_disk": 2, "size_bytes": 800165986304}, {"id": 5, "eui64": "7472580000000006"}]})", "i"},
    {"vd -a create -r 0 -d 3,4", "refused", "{}", "eee"}, {"vd -a delete -i 7", "not_found", R"({"virtual_disk": {"id": 7}})", "eee"},
    {"vd -r 1", "usage"}, {"vd -a delete", "usage"},
    {"mp -i 2", "ok", R"({"virtual_disk": {"id": 2, "activity": {"kind": "media patrol", "state": "running", "progress_percent": 0}}})", "i"},
    {"init -i 0", "refused", R"({"virtual_disk": {"activity": {"kind": "initializing", "progress_percent": 37}}})"},
    {"init -a stop -i 0", "ok", R"({"virtual_disk": {"id": 0, "activity": null}})"}, {"rebuild -a start -i 7 -d 1", "not_found"},
    // What is read for the document alone is no reason to fail.
    {"!fault add op=e2 group=e3 sub=2 nvme=6", ""},
    {"mp -a stop -i 2", "ok", R"({"virtual_disk": {"id": 2, "activity": null, "error": {"source": "nvme", "code": 6}}})", "iwww"},
    {"import -l 2", "refused"}, {"import -l 7", "not_found"}, {"import -l 0 -i 1", "refused"}, {"import -l 0 -i 9", "not_found"},
    {"import -l 3", "ok", R"({"virtual_disk": {"id": 3, "name": "oldarray", "status": "functional"}})"},
  });
}

TEST(StorageDocuments, TellWhatBecameOfNamespaces) {
  expectFacts({
    {"ns -p ctrl", "ok", R"({"primary_controller_id": 0})", ""}, {"1 ns -a init -i 2 -n 2", "ok", R"({"namespaces": [{"id": 4, "physical_disk": 2}, {"id": 6}]})"},
    {"ns -a detach -i 77 -d 0", "not_found", R"({"namespace_id": 77})"}, {"ns -a init -i 70000 -n 1", "usage"}, {"ns -a attach -i 2 -d 70000", "usage"},
    {"ns -a attach -e 0000000000000000 -d 0", "not_found"}, {"ns -a detach -e 7472580000000004 -d 0", "ok", R"({"namespace_id": 4})"},
    // The table of namespaces counts for those who need it.
    {"!fault add op=e2 group=e5 sub=0 count=2 nvme=6", ""}, {"ns -p ctrl", "ok", R"({"primary_controller_id": 0})", "www"},
    {"ns -a attach -e 7472580000000004 -d 0", "refused", "{}", "wwwe"}, {"ns -x", "usage"}, {"ns", "usage"},
    {"!fault add op=e2 group=e5 sub=0 nth=2 nvme=6", ""}, {"1 ns -a init -i 3 -n 1", "ok", R"({"namespaces": null})", "iwww"},
  });
}

TEST(StorageDocuments, TellSettingsEventsAndTheLog) {
  const std::string one = R"({"events": [{"sequence": 5, "time_seconds": 1710000000, "message": "init on virtual disk 0 is 25% done"}], "total": 1})";
  expectFacts({
    {"event -c 1", "ok", one, ""}, {"!fault add op=e2 group=fe sub=4 nth=9 nvme=6", ""}, {"event -c 1", "partial", one, "eee"},
    {"!fault add op=e2 group=fe sub=4 count=16 nvme=6", ""}, {"event -c 1", "refused", R"({"events": [], "total": 0})"},
    {"get -o hba -i 1", "ok", R"({"settings": [{"id": 1, "auto_rebuild": false, "bga_rate": "medium", "bga_rate_code": 2}]})", ""},
    {"!fault add op=e2 group=e0 sub=1 status=59", ""}, {"get -o hba -i 0", "refused", R"({"settings": [{"id": 0, "bga_rate": null, "error": {"source": "firmware", "code": 59}}]})"},
    {"!fault add op=e2 group=e0 sub=1 signature", ""}, {"get -o hba", "partial", R"({"settings": [{"id": 0, "auto_rebuild": null, "error": {}}, {"id": 1, "auto_rebuild": false}]})"},
    {"!fault add op=e2 group=e0 sub=1 nvme=6", ""}, {"get -o hba", "refused", R"({"settings": [{"id": 0, "error": {"code": 6}}]})"},
    {"get -o hba -i 2", "not_found"}, {"get -o hba -i x", "usage"}, {"1 get -o hba", "refused"}, {"set -o hba -i 0", "usage"},
    {"set -o hba -i 0 -r low", "ok", R"({"settings": [{"id": 0, "auto_rebuild": false, "bga_rate": "low"}]})", "i"},
    {"log -a show", "refused", R"({"log_on": false})"}, {"log -a on", "ok", R"({"log_on": true})"}, {"log", "usage"}, {"log -a show --outputfile=/none/x", "failed"},
    {"adapter --list", "ok", R"({"adapter_count": 2, "current_adapter": 0, "adapters": [{"id": 0, "device": "vmhba2"}, {"id": 1, "device": "vmhba3"}]})", ""},
    {"adapter -i 2", "not_found"}, {"adapter -i 1 -s 03:00.00", "usage"},
    {"reset -i 1 -t device -a on", "usage"}, {"reset -i 2 -t power -a on", "usage"}, {"vpd -t spi", "ok", R"({"vpd_target": "spi"})"}, {"kxf -a on", "ok", R"({"kxf": true})"},
  });
}

TEST(StorageDocuments, ReplaceWhatIsNoTextInTheLog) {
  CliSession session;
  for (const char *line : {"log -a on", "vd -a delete -i 2"}) documentOfLine(session, line);
  deviceSays = [](std::span<uint8_t> reply) { if (reply.size() == TRX_PAGE_SIZE && reply[16] == '[') reply[16] = 0x1B; };
  const json data = documentOfLine(session, "log -a show")["data"];
  ASSERT_FALSE(data["lines"].empty());
  EXPECT_THAT(data["lines"][0].get<std::string>(), StartsWith("\xEF\xBF\xBD" "1720000000] "));
  EXPECT_THAT(data["lines_hex"].get<std::string>(), StartsWith("1b31373230"));
}

TEST(StorageDocuments, TellHowAnUpdateOfFirmwareWent) {
  expectFacts({
    {"flash -o pd -i 3 -q firmware", "ok", R"({"slot_count": 3, "active_slot": 1, "next_active_slot": 0, "slots": [{"id": 1, "active": true, "firmware_version": "B200W7"}, {}, {}]})", ""},
    {"flash -q firmware", "usage"}, {"flash -o pd -i 99 -q firmware", "not_found"}, {"!image @h --size 8192", ""}, {"!image @bad --size 8192 --bad-sum", ""},
    {"flash -o pd -i 2 -f @h -s 2 -c 1", "ok", "{}", "i"}, {"flash -o pd -i 2 -f @none -s 2 -c 1", "not_found"}, {"flash -o pd -i 2 -f / -s 2 -c 1", "usage"},
    {"flash -o hba -f @h -s 2 -c 1", "ok", "{}", "ii"}, {"flash -o hba -i 7 -f @h -s 2 -c 1", "not_found"}, {"flash -o hba -t raw -f @bad -c 1", "usage"},
    // It will run from the next reset on, which is no failure. The worker may fail before it is told that it began.
    {"flash -o hba -s 1 -c 3", "ok"}, {"!fault add op=10 nvme=0x113", ""}, {"flash -o hba -s 1 -c 2", "refused", "{}", "iee|eie"},
    {"!fault add op=10 platform=13", ""}, {"flash -o hba -s 2 -c 2", "denied"}, {"!fault add op=c3 platform=5", ""}, {"flash -o pd -i 2 -s 2 -c 2", "failed"},
  });
}

TEST(StorageDocuments, ShowAnUpdateInsteadOfSendingIt) {
  CliSession session;
  session.host().sim(session.host().placed("image @i --size 8192"));
  const std::string before = session.host().sim("show").out, hba = "flash -o hba -t raw -f @i -c 1", pd = "flash -o pd -i 2 -f @i -s 2 -c 1";
  const json raw = documentOfLine(session, "--dry-run " + hba), disk = documentOfLine(session, "--dry-run " + pd);
  EXPECT_TRUE(holds(raw["data"], json::parse(R"({"would_send": [{"image_bytes": 8192, "segment_count": 2}, {"function": "Activate raw firmware image"}, {"function": "Firmware Commit"}]})"))) << raw;
  EXPECT_TRUE(holds(disk["data"], json::parse(R"({"would_send": [{"segment_count": 2}, {"function": "Firmware Commit of disk"}]})"))) << disk;
  Words words = wordsOf(session.host().placed("--dry-run " + pd));
  EXPECT_EQ(session.host().cli(words).out, R"(Would send to vmhba2: Firmware Image Download to disk
CDW[0] : 0x000000c3
CDW[1] : 0x00000002
CDW[10]: 0x000003ff
CDW[14]: 0x00000011
Image: 8192 bytes in 2 pieces, of which this is the first
Data: 4096 bytes: 54 52 58 49 4d 41 47 45 01 00 00 00 00 00 01 00 ...
Would send to vmhba2: Firmware Commit of disk
CDW[0] : 0x000000c3
CDW[1] : 0x00000002
CDW[10]: 0x0000000a
CDW[14]: 0x00000010
Dry run: nothing was sent.
)");
  for (const char *line : {"--dry-run flash -o hba -i 7 -f @i -s 1 -c 1", "--expect device=vmhba9 flash -o hba -f @i -s 1 -c 1", "--expect serial=x flash -o pd -i 2 -f @i -s 2 -c 1"})
    EXPECT_EQ(documentOfLine(session, line)["outcome"], line[2] == 'd' ? "not_found" : "guarded") << line;
  EXPECT_EQ(session.host().sim("show").out, before);
  // The activation that is shown is the one that is sent.
  const uint64_t crc = raw["data"]["would_send"][1]["dwords"][15];
  session.requests();
  documentOfLine(session, "--expect device=vmhba2 " + hba);
  std::ostringstream wanted;
  wanted << "cdw15=" << std::hex << crc;
  EXPECT_THAT(session.requests(), Contains(HasSubstr(wanted.str())));
}

// clang-format on

}  // namespace
}  // namespace trx::test
