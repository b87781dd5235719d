// SPDX-License-Identifier: GPL-3.0-or-later
// Every command, and operations of the library, with every one of its exchanges failing in every way that the
// simulated host knows, each run on a fresh host. A run must end, say that it failed, return what its row
// allows, leave no descriptor, memory (under a sanitizer) or held lock behind, and keep to the protocol.
//
//   trx_sim run -- fault_sweep [PART OF A LINE]      with a part, what each run returned is shown
#include <fcntl.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "CliSession.h"
#include "Functions/commandTables.h"
#include "Public/common.h"
#include "line.h"
#include "trx/trx_api.h"

namespace trx::test {
namespace {

struct Row {
  const char *line;  ///< "@" stands for the host's directory
  /// Results allowed when an exchange fails: numbers; S: the completion's status (0x706), B: its low byte.
  const char *results;
  const char *before = nullptr;             ///< a line run first, "!" begins a verb of trx_sim
  enum { Usual, Late, Slow } pace = Usual;  ///< Late: also seconds too late; Slow: waits by itself, so less
  const char *topology = "frozen";
  TRX_U32 (*operation)() = nullptr;  ///< of the library, instead of a line: commands take no lock
};

template <typename Request, auto operation, TRX_U8 adapter = 0>
TRX_U32 ofFirst() {
  Request request{{0, TRX_REQUEST_ONE_OBJECT, 0, 0, 1, 0, 0, {}}, {}};
  return operation(adapter, &request);
}

TRX_U32 create() {
  NVME_Create_VD request{};
  request.RAIDMode = TRX_RAID_MODE_1;
  request.MemberCount = 2;
  request.PDIDs[1] = 1;
  request.StripeBlockSize = 256;
  request.NSCount = 1;
  return TRX_VD_Create(0, &request);
}

// clang-format off
constexpr Row kRows[] = {
    // The longest first: the others run beside them.
    {"pcie -i 0", "0 1"},
    {"flash -o hba -f @i.bin -s 2 -c 1", "0 2 263 S", "!image @i.bin --size 8192", Row::Slow},
    {"flash -o hba -t raw -f @i.bin -s 2 -c 1", "0 S 1795", "!image @i.bin --size 4096", Row::Slow},
    {"?", "0"}, {"help vd", "0"}, {"version", "0"}, {"hotkey", "0"}, {"--debug -a enable", "0"},
    {"adapter --list", "0"}, {"adapter -s 03:00.00", "0"}, {"gen -t createns --nsze=1", "0"},
    {"info -o hba", "0"}, {"info -o pd", "0"}, {"info -o vd", "0"}, {"info -o ns", "0"},
    {"info -o ns -t vd -v 0", "0"}, {"info -o vd -i 0", "0"},
    {"vd -a create -r 1 -d 3,4 -n 2", "0 S", "vd -a delete -i 2"}, {"vd -a delete -i 1", "0 S", nullptr, Row::Late},
    {"ns -p ctrl", "0 S"}, {"ns --list", "0 S"},
    {"ns -a init -i 3 -n 2", "0 S", "adapter -i 1"}, {"ns -a share -i 1 -s no -c 0", "0 S"},
    {"ns -a create -i 1 -c 1 -l 0x1000000", "0 S", "adapter -i 1", Row::Usual, "lab"}, {"ns -a attach -i 1 -d 0,1", "0 S"},
    {"ns -a detach -i 1 -d 0", "0 S"},
    {"event -c 5", "0 S"},
    {"init -i 2", "0 S"}, {"mp -i 2", "0 S"}, {"init -a stop -i 0", "0 S"}, {"rebuild -a start -i 1 -d 7", "0 S"},
    {"import -l 3", "0 S"},
    {"log -a show --outputfile=@log.txt", "0 1 S", "log -a on"}, {"log -a on", "0 S"}, {"log -a off", "0 S"},
    {"flash -o pd -i 2 -f @i.bin -s 2 -c 1", "0 S 117", "!image @i.bin --size 8192"},
    {"flash -o hba -q firmware", "0"}, {"flash -o pd -i 2 -q firmware", "0"},
    {"passthru -i 0 -o 6 -r read -d 4096 --cdw10=1", "0 S"},
    {"passthru -i 0 -o 2 -r read -d 512 -n 0xffffffff --cdw10=0x7f0002 --outputfile=@p", "0 S"},
    {"smart -i 0", "0 S"}, {"smart -i 0 -o hba", "0 S"},
    {"vpd -t spi", "0 S"}, {"vpdread -o 0 -l 32", "0 2 S"},
    {"mi_passthruread -i 0", "0 2 S"}, {"mi_passthruread -o 0 -l 32 -f @m", "0 2 S"},
    {"mi_passthruwrite -o 0 -l 32 -f @i.bin", "0 S", "!image @i.bin --size 4096"},
    {"reg -t read -i 0 -a 0x10", "0 S"}, {"reg -t write -i 0 -a 0x10 -d 1", "0 S"},
    {"gpio --value=0x30", "0 S"}, {"i2c -i 0x50", "0 S"}, {"spi -t read --outputfile @s", "0 S"},
    {"dumphba -a show --outputfile @d", "0 S"},
    {"get -o hba -i 0", "0 B"}, {"get -o hba", "0 B"}, {"set -o hba -i 0 -a on -r low", "0 1", nullptr, Row::Late},
    {"led -o ep -i 0 -a on", "0 S"}, {"reset -i 0 -t device", "0 S"}, {"debuglv -t 1", "0 S"},
    {"TRX_VD_GetInfo", "0 1 7", nullptr, Row::Late, "frozen", ofFirst<NVME_VD_Info_Request, TRX_VD_GetInfo>},
    {"TRX_PD_GetInfo", "0 1 7", nullptr, Row::Usual, "frozen", ofFirst<NVME_PD_Info_Request, TRX_PD_GetInfo, 1>},
    {"TRX_VD_SetConfig", "0 1 7", nullptr, Row::Usual, "frozen", ofFirst<NVME_VD_Config_Request, TRX_VD_SetConfig>},
    {"TRX_VD_Create", "0 1 7 S", "vd -a delete -i 0", Row::Usual, "lab", create},
    {"TRX_VD_Delete", "0 1 7", nullptr, Row::Usual, "volume1", [] { return TRX_VD_Delete(0, 0); }},
    {"kxf -a on", "0 S"}, {"protect -a off", "0 S"}, {"sriov -a on", "0 S"},
};
// clang-format on

constexpr const char *kWays[] = {"platform=5", "nvme=0x706", "signature", "status=7",
                                 "short=2",    "short=9",    "garbage",   "ones"};
/// A way to fail, and the outcome of a document about it.
constexpr std::pair<const char *, const char *> kTold[] = {
    {"platform=5", "failed"}, {"platform=13", "denied"}, {"nvme=0x106", "refused"}};
constexpr const char *kSlowWays[] = {"nvme=0x706", "platform=5", "delay=1200"};
constexpr const char *kLateWay = "delay=5200";

/// What a worker tells its parent, also when it dies.
struct Report {
  std::atomic<int> runs, failures;
  char running[512];
};
Report *report;
int reportDescriptor;
bool verbose;

void fail(const std::string &why, const std::string &text = {}) {
  ++report->failures;
  dprintf(reportDescriptor, "%s: %s\n%s", report->running, why.c_str(), text.c_str());
}

std::ptrdiff_t openDescriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

int lockValue(const char *name) {
  int value = 1;  // not made yet: free
  sem_t *lock = sem_open(name, O_RDWR);
  if (lock == SEM_FAILED) return value;
  sem_getvalue(lock, &value);
  sem_close(lock);
  return value;
}

class Sweep {
 public:
  explicit Sweep(const Row &row) : row_(row) {
    SimHost &host = session_.host();
    std::filesystem::current_path(host.directory());
    host.sim("reset", {"--topology", std::string(TRX_TOPOLOGY_DIR "/") + row.topology + ".json"});
    std::filesystem::copy(host.stateDirectory(), fresh());
    line_ = host.placed(row.line);
  }

  void all() {
    const CommandResult clean = run("");
    const size_t inStart = startExchanges_, inLine = lineExchanges_;
    unsetenv("TRX_SIM_TRACE");  // counted once; a trace of all the runs would be long to read each time
    if (clean.status != 0) fail("fails without a fault", clean.out);
    if (verbose) dprintf(reportDescriptor, "%s: %zu exchanges\n", row_.line, inLine);
    for (const char *way : row_.pace == Row::Slow ? std::span<const char *const>(kSlowWays) : kWays) {
      for (size_t n = 1; n <= inLine; ++n) judge(way, run(nth(n) + way));
      run(std::string("count=1000000 ") + way);  // a controller that never answers well: it must end, too
    }
    if (!row_.operation) {
      tellsDocuments_ = true;
      for (const auto &[way, outcome] : kTold)
        for (size_t n = 1; n <= inLine; ++n) judgeDocument(outcome, run(nth(n) + way).out);
      tellsDocuments_ = false;
    }
    if (row_.pace == Row::Slow) return;
    for (size_t n = 1; row_.pace == Row::Late && n <= inLine; ++n) judge(kLateWay, run(nth(n) + kLateWay));
    for (const char *way : {"nvme=0x706", "garbage"})
      for (size_t n = 1; n <= inStart; ++n) run(nth(n) + way, true);
  }

 private:
  static std::string nth(size_t n) { return "nth=" + std::to_string(n) + " "; }

  /// A run on a fresh host; the fault strikes the line or the start before it.
  CommandResult run(const std::string &fault, bool atStart = false) {
    std::snprintf(report->running, sizeof report->running, "%s / %s%s", row_.line, fault.c_str(),
                  atStart ? " (start)" : "");
    alarm(60);  // ends the process
    SimHost &host = session_.host();
    TRX_Final();
    restore();
    gCurrentAdapter = 0;
    dbg_enable = false;
    const auto descriptors = openDescriptors();
    host.traffic();
    if (atStart) arm(fault);
    start();
    startExchanges_ = exchanges(host.traffic());
    if (!atStart && row_.before) prepare();
    if (!atStart && !fault.empty()) arm(fault);
    host.traffic();
    CommandResult result = row_.operation ? operate() : tellsDocuments_ ? tell() : session_.run(line_);
    lineExchanges_ = exchanges(host.traffic());
    if (!atStart && fault.starts_with("nth") &&
        std::filesystem::file_size(host.stateDirectory() / "faults") != 0)
      fail("the fault did not strike");
    std::ofstream(host.stateDirectory() / "faults");
    ++report->runs;
    check(fault, result, descriptors);
    return result;
  }

  std::filesystem::path fresh() { return session_.host().directory() / "fresh"; }

  /// The state as it was made; much faster than a reset. Locks are in use, and are only overwritten.
  void restore() {
    namespace fs = std::filesystem;
    const fs::path state = session_.host().stateDirectory();
    for (const fs::directory_entry &entry : fs::directory_iterator(state))
      if (entry.path().extension() != ".lock") fs::remove(entry.path());
    fs::copy(fresh(), state, fs::copy_options::overwrite_existing | fs::copy_options::recursive);
  }

  CommandResult operate() {
    Capture standardOutput(STDOUT_FILENO), standardError(STDERR_FILENO);
    const TRX_U32 status = row_.operation();
    return {static_cast<int32_t>(status), "", standardOutput.text(), standardError.text()};
  }

  /// The line as a document.
  CommandResult tell() {
    std::vector<char> text(line_.begin(), line_.end());
    text.push_back('\0');
    std::array<char *, kMaxTokens> tokens{};
    int32_t count = 0, status = 0;
    parse(&count, tokens.data(), text.data());
    LineStart start;
    start.options.json = true;
    Capture standardError(STDERR_FILENO);
    return {status, documentOfCommand(start, {tokens.data(), static_cast<size_t>(count)}, status), "", ""};
  }

  /// What hindered a reading that the command does not need is told at least.
  void judgeDocument(const std::string &outcome, const std::string &text) {
    const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    if (document.is_discarded()) return fail("no document", text);
    if (verbose) dprintf(reportDescriptor, "%s => %s", report->running, text.c_str());
    const std::string told = document["outcome"];
    if (told == outcome || told == "partial") return;
    const auto &messages = document["messages"];
    const bool warned =
        std::any_of(messages.begin(), messages.end(), [](auto &each) { return each["severity"] != "info"; });
    if (told != "ok" || !warned) fail("the outcome is " + told + ", not " + outcome, text);
  }

  static size_t exchanges(const Words &traffic) {
    return static_cast<size_t>(std::count_if(traffic.begin(), traffic.end(),
                                             [](auto &line) { return !line.starts_with("global"); }));
  }

  void arm(const std::string &fault) {
    std::ofstream(session_.host().stateDirectory() / "faults") << fault << "\n";
  }

  /// What it writes is not this test's.
  void start() {
    Capture standardOutput(STDOUT_FILENO);
    outputOf(CliSession::start);
  }

  void prepare() {
    const std::string before = session_.host().placed(row_.before);
    if (before[0] == '!')
      session_.host().sim(before.substr(1));
    else
      session_.run(before);
  }

  void check(const std::string &fault, const CommandResult &result, std::ptrdiff_t descriptors) {
    static const std::regex complaint("fail|unable|error|invalid|not |no events|pio_", std::regex::icase);
    std::string said = result.out + result.err;
    // The line of a disk's commit says success whatever its status, on purpose; the library tells then.
    if (line_.starts_with("flash -o pd")) said += result.library;
    // An operation's status is its word.
    if (result.status != 0 && !row_.operation && !std::regex_search(said, complaint))
      fail("no word of a failure, result " + std::to_string(result.status), said);
    if (openDescriptors() != descriptors) fail("descriptors are left open");
    for (const char *name : {"/trxd0", "/trxd1"})
      if (lockValue(name) != 1) fail("a lock is left held");
    std::string violations = session_.host().violations();
    // The program takes a failure of the platform whose completion says success for a success, on
    // purpose, and goes on: a receive whose send was lost is then the controller's to refuse.
    if (!violations.empty() && fault.find("platform") == std::string::npos)
      fail("broke the protocol", violations);
  }

  void judge(const std::string &way, const CommandResult &result) {
    if (verbose)
      dprintf(reportDescriptor, "%s => %d\n%s", report->running, result.status,
              (result.out + result.library).c_str());
    const std::string status = result.status == 0x706 ? "S"
                               : result.status == 6   ? "B"
                                                      : std::to_string(result.status);
    const Words allowed = wordsOf(row_.results);
    if (std::find(allowed.begin(), allowed.end(), status) == allowed.end())
      fail("result " + std::to_string(result.status) + ", not " + row_.results, result.out);
    const bool told = way.starts_with("platform") || way.starts_with("nvme");
    if (told && result.library.find(" Failed, ") == std::string::npos)
      fail("nothing tells of the failure", result.out);
  }

  const Row &row_;
  CliSession session_;
  std::string line_;
  size_t startExchanges_ = 0, lineExchanges_ = 0;
  bool tellsDocuments_ = false;
};

int missingCommands() {
  std::set<std::string> words;
  for (const Row &row : kRows) words.insert(wordsOf(row.line)[0]);
  int missing = 0;
  auto look = [&](const Command_Info &row) {
    if (!words.contains(row.cmd)) missing += std::printf("no row for %s\n", row.cmd) > 0;
  };
  std::for_each(generalCmdTableV1, generalCmdTableV1 + generalCmdTableV1Size(), look);
  std::for_each(hiddenCmdTableV1, hiddenCmdTableV1 + hiddenCmdTableV1Size(), look);
  return missing;
}

/// One process per row: none can disturb another, and a row that waits holds up nobody.
int sweep(const char *part) {
  constexpr size_t kBytes = std::size(kRows) * sizeof(Report);
  void *shared = mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return 1;
  auto *reports = static_cast<Report *>(shared);
  reportDescriptor = dup(STDERR_FILENO);
  verbose = *part != '\0';
  std::map<pid_t, size_t> workers;
  int failed = missingCommands();
  auto reap = [&] {
    int status = 0;
    const Report &ended = reports[workers.extract(wait(&status)).mapped()];
    if (status != 0) ++failed;
    if (WIFSIGNALED(status) || (status != 0 && ended.failures == 0))
      std::fprintf(stderr, "%s: ended with status 0x%x (0xe: in time it did not)\n", ended.running, status);
  };
  for (size_t i = 0; i < std::size(kRows); ++i) {
    report = new (&reports[i]) Report{};
    if (!std::strstr(kRows[i].line, part)) continue;
    if (workers.size() == 8) reap();
    const pid_t worker = fork();
    workers[worker] = i;
    if (worker != 0) continue;
    Sweep(kRows[i]).all();
    std::exit(report->failures != 0);
  }
  while (!workers.empty()) reap();
  int runs = 0;
  for (size_t i = 0; i < std::size(kRows); ++i) runs += reports[i].runs;
  std::printf("fault sweep: %d runs, %d rows failed\n", runs, failed);
  return failed != 0;
}

}  // namespace
}  // namespace trx::test

int main(int argc, char **argv) { return trx::test::sweep(argc > 1 ? argv[1] : ""); }
