// SPDX-License-Identifier: GPL-3.0-or-later
// Options before the command: what they make of a line, how it ends, and where its document goes.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CliSession.h"
#include "Functions/changes/guard.h"
#include "Functions/changes/objects.h"
#include "Functions/changes/requests.h"
#include "Public/common.h"
#include "Public/report.h"

namespace trx::test {
namespace {

using namespace ::testing;
using nlohmann::json;

/// A line, its exit status, and what stands at a place of its document.
struct Told {
  Words words;
  int status;
  const char *at;
  json value;
};

json documentIn(const std::string &line) {
  EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
  return json::parse(line, nullptr, false);
}

void expectTold(SimHost &host, const std::vector<Told> &rows) {
  for (const Told &row : rows) {
    SCOPED_TRACE(PrintToString(row.words));
    const Outcome outcome = host.cli(row.words);
    const json document = documentIn(outcome.out);
    EXPECT_EQ(document.value(json::json_pointer(row.at), json("nothing there")), row.value) << outcome.out;
    EXPECT_EQ(document["exit_status"], row.status);
    EXPECT_EQ(outcome.status, row.status);
  }
}

// Rows are read as tables.
// clang-format off

TEST(Line, IsADocumentWhateverHappens) {
  SimHost host;
  expectTold(host, {
    {{"--json", "inf", "-o", "vd", "-i", "1"}, 0, "/command", {"info", "-o", "vd", "-i", "1"}},
    {{"--json", "1", "version"}, 0, "/adapter", {{"id", 1}, {"device", "vmhba3"}}}, {{"1", "--json", "version"}, 0, "/adapter/id", 1},
    {{"7", "--json", "version"}, 3, "/adapter", nullptr}, {{"--json", "7", "version"}, 3, "/messages/0", {{"severity", "error"}, {"text", "Adapter ID 7 is not exist"}}},
    {{"--json", "BoGus", "x"}, 2, "/command/0", "BoGus"}, {{"--json", "--json", "version"}, 2, "/outcome", "usage"}, {{"--json", "--strict", "--strict", "version"}, 2, "/outcome", "usage"},
    {{"--expect", "a=b", "--json", "--expect"}, 2, "/outcome", "usage"}, {{"--json", "--expect", "name=x", "info", "-o", "vd"}, 2, "/outcome", "usage"},
    {{"--json", "--help"}, 0, "/adapter", nullptr}, {{"--json", "vd", "-h"}, 0, "/outcome", "ok"}, {{"--json", "vd"}, 2, "/outcome", "usage"},
    {{"--json", "info", "-o", "vd", "-i", "60"}, 3, "/status", {{"source", "firmware"}, {"code", 7}, {"sct", nullptr}, {"sc", nullptr}, {"text", "Invalid LD ID"}}},
    {{"--json", "vd", "-a", "create", "-r", "1", "-d", "0,7"}, 1, "/status", {{"source", "nvme"}, {"code", 0x73b}, {"sct", 7}, {"sc", 59}, {"text", "HD is assigned"}}},
    {{"--json", "--expect", "name=logs,status=degrade", "--dry-run", "vd", "-a", "delete", "-i", "1"}, 0, "/data/would_send/0/function", "Delete VD"},
    {{"--json", "--expect", "name=lögs", "vd", "-a", "delete", "-i", "1"}, 6, "/data/found/0/value", "logs"}, {{"--json", "--expect", "nam=logs", "vd", "-a", "delete", "-i", "1"}, 2, "/outcome", "usage"},
    {{"--json", "--expect", "name=logs,status=degrade,serial=NS3-00533", "--dry-run", "rebuild", "-i", "1", "-d", "7"}, 0, "/data/would_send/0/loss", json{"PD 7 Norvik Stream 3 1.92TB NS3-00533 of 1920383410176 bytes loses its data"}},
    {{"--json", "--expect", "name=logs,serial=x", "rebuild", "-i", "1", "-d", "7"}, 6, "/data/found", json{{{"object", "PD 7"}, {"key", "serial"}, {"expected", "x"}, {"value", "NS3-00533"}}}}, {{"--json", "--expect", "name=logs,nam=x", "rebuild", "-i", "1", "-d", "7"}, 2, "/messages/0/text", "trx_cli: --expect: VD 1 has no nam"},
    {{"--json", "--expect", "size_bytes=1920383320064,importable=false", "--dry-run", "mp", "-i", "1"}, 0, "/outcome", "ok"}, {{"--json", "--expect", "name=x", "vd", "-a", "delete", "-i", "9"}, 3, "/outcome", "not_found"},
    {{"--json", "info", "-o", "vd", "-i", "1"}, 0, "/data/virtual_disks/0/name", "logs"},
    {{"--json", "version", "-output", "/none/x"}, 5, "/command", {"version"}},
  });
  EXPECT_EQ(host.violations(), "");
  // A listing without one of its objects is partial; without all of them it failed as they did.
  const std::vector<std::pair<Words, Told>> faults = {
    {{"group=e2", "sub=0", "nth=2", "platform=5"}, {{"--json", "info", "-o", "vd"}, 7, "/data/virtual_disks/1", {{"id", 1}, {"error", {{"source", "platform"}, {"code", 5}, {"sct", nullptr}, {"sc", nullptr}, {"text", "Input/output error"}}}}}},
    {{"group=e2", "sub=0", "count=99", "nvme=0x6"}, {{"--json", "info", "-o", "vd"}, 1, "/status/text", "Internal Error"}}, {{"group=e2", "sub=0", "count=99", "platform=13"}, {{"--json", "info", "-o", "vd"}, 4, "/outcome", "denied"}},
    {{"group=e2", "sub=0", "signature"}, {{"--json", "info", "-o", "vd", "-i", "0"}, 5, "/status/text", "Bad message"}}, {{"adapter=vmhba2", "group=e0", "sub=0", "nth=2", "platform=5"}, {{"--json", "info", "-o", "vd"}, 5, "/outcome", "failed"}},
    {{"op=6", "nth=3", "nvme=0x6"}, {{"--json", "info", "-o", "hba"}, 7, "/data/adapters/0/host_id", nullptr}}, {{"op=e2", "group=e0", "sub=1", "platform=5"}, {{"--json", "get", "-o", "hba", "-i", "0"}, 5, "/outcome", "failed"}},
    {{"op=e2", "group=e2", "platform=133"}, {{"--json", "info", "-o", "vd", "-i", "0"}, 5, "/status/code", 133}},
  };
  for (const auto &[fault, row] : faults) {
    Words add = fault;
    add.insert(add.begin(), "add");
    host.sim("fault", add);
    expectTold(host, {row});
    host.sim("fault clear");
  }
}

TEST(Line, EndsAsItsOutcome) {
  SimHost host, none("unsupported");
  const std::vector<std::pair<Words, int>> rows = {
    {{"--strict", "vd", "-a"}, 2}, {{"--strict", "info", "-o", "vd", "-i", "60"}, 3}, {{"info", "-o", "vd", "-i", "60"}, 0}, {{"--strict", "spi", "-t", "write"}, 1},
    {{"--dry-run", "vd", "-a", "delete", "-i", "1"}, 0}, {{"--dry-run", "vd", "-a", "delete", "-i", "9"}, 3}, {{"--dry-run", "ns", "-a", "detach", "-i", "9", "-d", "0"}, 3}, {{"--dry-run", "vd", "-a", "x"}, 0}, {{"--strict", "--dry-run", "vd", "-a", "x"}, 2}, {{"--expect", "name=x", "vd", "-a", "delete", "-i", "1"}, 6},
    {{"--expect", "x=1", "version"}, 2}, {{"--expect"}, 2}, {{"--json=x"}, 1}, {{"--d"}, 0}, {{"--dry-run", "--version"}, 0}, {{"--strict", "9", "version"}, 3},
  };
  for (const auto &[words, status] : rows) EXPECT_EQ(host.cli(words).status, status) << PrintToString(words);
  // Where there is no controller, a line that asks for one is told from one that is wrong in itself, and from one that asks nobody.
  const std::pair<const char *, int> alone[] = {
    {"info -o vd", 3}, {"vd -a x", 2}, {"vd -h", 0}, {"bogus", 2}, {"wait -i 0", 2}, {"hotkey", 0}, {"gen -t createns --nsze=1", 0}, {"? vd", 0}, {"--debug -a enable", 0}, {"flash -o hba -f /none -s 2 -c 1", 3},
  };
  for (const auto &[line, status] : alone) EXPECT_EQ(none.cli(wordsOf(std::string("--strict ") + line)).status, status) << line;
  // The text of a strict line is that of a plain one.
  for (const char *line : {"info -o vd -i 60", "vd -a delete -i 9", "bogus", "event -c 2", "adapter -s x"}) {
    Words plain = wordsOf(line), strict = plain;
    strict.insert(strict.begin(), "--strict");
    const Outcome one = host.cli(plain), other = host.cli(strict);
    EXPECT_EQ(other.out + other.err, one.out + one.err);
  }
}

TEST(Session, AnswersEachLineAndEndsWithTheWorst) {
  SimHost host;
  const std::string tooLong(2048, 'x'), many = [] { std::string line; for (int i = 0; i < 65; ++i) line += "a "; return line; }();
  const Outcome session = host.cli({"--json"}, "version\n\n \t\n\"open\n" + tooLong + "\n" + many + "\n1 info -o pd -i 0\n--dry-run reset -i 0\nwatch\nadapter -i 1\nversion\nexit\nversion\n");
  Words outcomes;
  std::istringstream lines(session.out);
  for (std::string line; std::getline(lines, line);) {
    const json document = json::parse(line);
    outcomes.push_back(document["outcome"].get<std::string>() + (document["adapter"].is_null() ? "" : document["adapter"]["id"].dump()));
  }
  EXPECT_THAT(outcomes, ElementsAre("ok0", "usage0", "usage0", "usage0", "ok1", "ok0", "usage0", "ok1", "ok1"));
  EXPECT_EQ(session.status, 2);
  EXPECT_EQ(session.err, "");
  for (const char *absent : {"7", "4294967296"}) {
    const Outcome lost = host.cli({absent, "--json"}, "version\n1 version\n");
    EXPECT_THAT(lost.out, AllOf(StartsWith("{"), MatchesRegex("[^\n]*not_found[^\n]*\n[^\n]*vmhba3[^\n]*\n"))) << absent;
    EXPECT_EQ(lost.status, 3);
  }
  // At the prompt they hold for a line; of the shell, for every line.
  EXPECT_THAT(host.cli({}, "--json version\nversion\n--strict 1 info -o pd -i 0\nadapter --list\n").out, AllOf(HasSubstr("> version\nSupport Firmware Version"), HasSubstr("commands: 0\n")));
  const Outcome shell = host.cli({"--dry-run"}, "vd -a delete -i 1\ninfo -o vd -i 1\n--json 1 version\nsmart -i 30\nquit\n");
  EXPECT_THAT(shell.out, AllOf(HasSubstr("Dry run: nothing was sent.\n"), HasSubstr("Name:                logs"), HasSubstr("{\"id\":1,\"device\":\"vmhba3\"}"), HasSubstr("NVMEDevice_sendCommand Failed")));
  EXPECT_THAT(host.cli({"--json"}, "version").out, HasSubstr("\"outcome\":\"ok\"")) << "a last line without its end";
  EXPECT_EQ(runProgram(host.runWords({"sh", "-c", TRX_CLI_PATH " --json >/dev/full"}), "version\n").status, 5);
}

TEST(Document, ArrivesWholeOrNotAtAll) {
  SimHost host;
  const std::string file = host.directory() / "out", program = TRX_CLI_PATH;
  auto shell = [&](const std::string &line) { return runProgram(host.runWords({"sh", "-c", line})); };
  std::ofstream(file) << "before\n";
  EXPECT_EQ(shell(program + " --json version -output " + file).out, "");
  EXPECT_THAT(readFile(file), AllOf(StartsWith("before\n{"), EndsWith("}\n")));
  const Outcome full = shell(program + " --json version -output /dev/full");
  EXPECT_EQ(documentIn(full.out)["outcome"], "ok");
  EXPECT_EQ(full.status, 5);
  const Outcome unopened = shell(program + " --json version -output /none/x");
  EXPECT_EQ(documentIn(unopened.out)["exit_status"], 5);
  EXPECT_EQ(shell(program + " --json version >/dev/full").status, 5);
  EXPECT_EQ(shell("(" + program + " --json info -o vd; echo $? >" + file + ") | true").status, 0);
  EXPECT_EQ(shell("ulimit -f 0; " + program + " --json version -output " + file + ".small").status, 5);
  EXPECT_EQ(readFile(file + ".small"), "");
}

std::string gObjects;  ///< of the first request of a line that changes something

TEST(Changes, AreAboutTheirObjects) {
  CliSession session;
  gBeforeSend = [](const Wire &wire) {
    if (!changesSomething(wire)) return;
    for (const Target &target : rowOf(wire)->targets(wire)) gObjects += nameOf(target) + " ";
    throw LineEnds{};
  };
  const struct { int adapter; const char *line, *objects; } rows[] = {
    {0, "import -l 3", "VD 3 "}, {0, "init -i 2", "VD 2 "}, {0, "init -a stop -i 1", "VD 1 "}, {0, "mp -i 2", "VD 2 "}, {0, "rebuild -a start -i 1 -d 7", "VD 1 PD 7 "},
    {0, "vd -a create -r 5 -d 0,4,7", "PD 0 PD 4 PD 7 "}, {0, "vd -a delete -i 2", "VD 2 "}, {0, "reset -i 4 -t device", "PD 4 "}, {0, "reset -i 1 -t power -a on", "NVMe Controller 0 "},
    {0, "ns -a share -i 2 -s yes", "NS 2 "}, {0, "ns -a attach -i 3 -d 0", "NS 3 "}, {0, "ns -a detach -i 4 -d 0", "NS 4 "}, {0, "ns -a create -i 3 -c 0 -l 1", "VD 3 "}, {1, "ns -a create -i 1 -c 0 -l 1", "PD 1 "},
    {1, "ns -a init -i 2 -n 2", "PD 2 "}, {1, "kxf -a on", "NVMe Controller 1 "}, {0, "passthru -i 5 -o 0x80 -r read", "PD 5 "},
  };
  for (const auto &row : rows) {
    gCurrentAdapter = static_cast<uint8_t>(row.adapter);
    gObjects.clear();
    EXPECT_THROW(session.run(row.line), LineEnds) << row.line;
    EXPECT_EQ(gObjects, row.objects) << row.line;
  }
  gBeforeSend = nullptr;
}

TEST(Changes, AreToldFromReadings) {
  const struct { std::array<TRX_U32, 16> cdw; const char *name; bool changes; } rows[] = {
    {{0xE2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x104E2}, "Delete VD", true}, {{0xE2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x00E2}, "Get VD information", false},
    {{0xC2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x4006}, "Read from disk", false}, {{0xC3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x80}, "Command of disk", true},
    {{0xC2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x0A}, "Read from disk", false}, {{0xC2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x11}, "Firmware Image Download to disk", true},
    {{0x15, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}, "Attach namespace", true}, {{0x15, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1}, "Detach namespace", true},
    {{0x1E}, "NVMe-MI Receive", false}, {{0xE2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFFE2}, nullptr, true}, {{0x80}, nullptr, true},
  };
  for (const auto &row : rows) {
    const Wire wire{0, row.cdw, {}};
    const RequestRow *found = rowOf(wire);
    EXPECT_STREQ(found ? found->name : nullptr, row.name);
    EXPECT_EQ(changesSomething(wire), row.changes);
  }
  std::vector<std::pair<std::string, std::string>> pairs;
  EXPECT_TRUE(readExpectations("name=a\\,b=c,x=", pairs));
  EXPECT_THAT(pairs, ElementsAre(Pair("name", "a,b=c"), Pair("x", "")));
  for (const char *wrong : {"", "a", "=b", "a=b,", ",a=b", "a=b,c"}) EXPECT_FALSE(readExpectations(wrong, pairs)) << wrong;
}

// clang-format on

}  // namespace
}  // namespace trx::test
