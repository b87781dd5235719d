// SPDX-License-Identifier: GPL-3.0-or-later
// Proof under load: many processes on one simulated host, faults, power cycles, and death at any moment. Then
// everything that must have stayed whole is looked at. SEED makes all choices; the timing is the machine's.
//
//   soak MINUTES SEED
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <algorithm>
#include <functional>
#include <set>
#include <thread>

#include "host/directory.h"
#include "host/faults.h"
#include "soak_actors.h"

namespace trx::test {
namespace {

using Minutes = std::chrono::duration<double, std::ratio<60>>;

// A controller that fails while it is identified is left out, and those behind it move up: only the last may
// fail there. What the platform fails while the completion says success counts as success; so it fails
// nothing that a later command builds on. No journal, and no answer to a pair, is changed into another sound
// one: the looks at them would have no ground.
// clang-format off
constexpr const char *kFaults[] = {
    "op=e2 delay=60 count=4", "op=e2 group=e2 nvme=0x706 count=3", "op=e2 group=e1 platform=5 count=2", "op=e2 group=e2 status=7",
    "op=e2 group=e2 short=9", "op=e2 group=e1 garbage", "op=e2 group=e5 ones", "op=e2 group=e3 signature count=2",
    "op=e2 group=fe sub=4 nvme=0x6 count=2", "op=e2 group=fe sub=4 ones", "op=e2 group=fe sub=4 nvme=0x6 count=20",
    "op=cb nvme=0x6", "op=ce nvme=0x706", "op=ce status=9", "op=ce signature", "op=ce garbage", "op=ce delay=150 count=2",
    "op=11 nth=70 nvme=0x6", "op=10 nvme=0x106", "op=c3 nth=70 nvme=0x706", "op=c2 nvme=0x706 count=2", "op=c2 delay=80",
};
constexpr const char *kFaultsOfTheLast[] = {"op=6 nvme=0x6", "op=6 platform=13", "op=e2 group=e0 sub=0 garbage count=2"};
constexpr const char *kHands[] = {
    "pull # %", "fail # %", "insert # %", "insert # %", "insert # %", "insert # %", "smart # media_errors=#7 %", "latency # %",
    "latency 0 %", "restart",
};
// clang-format on

Words versions(const std::string &shown) { return allOf(shown, "firmware ([^ ,]+)"); }

class Soak {
 public:
  explicit Soak(unsigned seed);
  /// @return whether all was well
  bool run(Minutes minutes);

 private:
  Ledger &ledger() { return stage_.ledger; }
  void addActors(size_t adapter);
  void step();
  void waitUntil(const std::string &what, const std::function<bool()> &isSo);
  void useHands();
  void hand(const std::string &verb);
  void finish();
  void exchangeOnce();
  json ask(size_t adapter, const std::string &line);
  void checkState();
  void checkOrder();
  void checkJournal(size_t adapter);
  void checkSemaphores();
  void checkRemains();
  Words semaphores() const;

  Stage stage_;
  std::set<std::string> versions_;
  std::vector<std::unique_ptr<Actor>> actors_;
  std::vector<std::pair<size_t, Watch *>> watches_;  ///< and their adapters
};

Soak::Soak(unsigned seed) : stage_(seed) {
  fs::current_path(stage_.host.directory());  // a file that somebody drops is found
  for (const std::string &version : versions(stage_.host.sim("show").out)) versions_.insert(version);
  for (const char *version : kImages) {
    const Words words{TRX_SIM_PATH, "image", version, "--size", std::to_string(kImageBytes),
                      "--version",  version};
    runProgram(words);
    versions_.insert(
        {version, std::regex_replace(version, std::regex("[.]0"), "")});  // a disk's has three parts
  }
  exchangeOnce();  // nobody dies yet while a semaphore is made
  for (size_t adapter = 0; adapter < std::size(kAdapters); ++adapter) addActors(adapter);
}

void Soak::addActors(size_t adapter) {
  const auto add = [&](auto actor) {
    auto *const added = actor.get();
    actors_.push_back(std::move(actor));
    return added;
  };
  for (int i = 0; i < 2; ++i) watches_.emplace_back(adapter, add(std::make_unique<Watch>(stage_, adapter)));
  for (int i = 0; i < 3; ++i) add(std::make_unique<Commands>(stage_, adapter));
  add(std::make_unique<Transfer>(stage_, adapter));
  PairProgram *const one = add(std::make_unique<PairProgram>(stage_, adapter));
  PairProgram *const other = add(std::make_unique<PairProgram>(stage_, adapter));
  one->meet(*other);
  other->meet(*one);
}

void Soak::step() {
  for (const auto &actor : actors_) actor->tick();
  stage_.traffic.drain();
  int status = 0;
  for (pid_t pid; (pid = waitpid(-1, &status, WNOHANG)) > 0;)  // also what a killed process had started
    std::ranges::any_of(actors_, [&](auto &actor) { return actor->takes(pid, status); });
  std::this_thread::sleep_for(milliseconds(3));
}

void Soak::waitUntil(const std::string &what, const std::function<bool()> &isSo) {
  const auto end = Clock::now() + std::chrono::minutes(2);
  while (!isSo() && Clock::now() < end) step();
  ledger().look("ends of processes", isSo(), "not in two minutes: " + what);
}

void Soak::useHands() {
  const size_t adapter = stage_.pick(std::size(kAdapters));
  if (stage_.oneIn(20)) return stage_.arm(stage_.pick(kFaultsOfTheLast), std::size(kAdapters) - 1);
  if (stage_.oneIn(2)) return stage_.arm(stage_.pick(kFaults), adapter);
  hand(stage_.filled(stage_.pick(kHands), adapter));
}

void Soak::hand(const std::string &verb) {
  const Outcome outcome = stage_.host.sim(verb);
  constexpr int kRefused = 2;  // such as to put in a disk that is there
  ledger().look("hands on the host", outcome.status == 0 || outcome.status == kRefused,
                verb + ": " + outcome.err);
  if (outcome.status == 0) ledger().count(verb == "restart" ? "power cycles" : "other hands on the host");
}

/// Watches go on until they have told what the others did to their ends, and a last power cycle.
void Soak::finish() {
  stage_.ends = true;
  const auto ended = [](auto &actor) { return !actor->runs() || dynamic_cast<Watch *>(actor.get()); };
  for (const auto &actor : actors_)
    if (!ended(actor)) actor->finish();
  waitUntil("the end of all", [&] { return std::ranges::all_of(actors_, ended); });
  long left = 0;
  for (const sim::Fault &fault : sim::listFaults(stage_.host.stateDirectory())) left += fault.count;
  ledger().count("faults that struck", ledger().counted("faults armed") - left);
  for (const char *verb : {"fault clear", "latency 0 0", "latency 0 1", "restart"}) hand(verb);
  for (auto [adapter, watch] : watches_)
    waitUntil("the last event",
              [&, watch = watch, last = stage_.newest(adapter)] { return watch->hasTold(last); });
  for (auto [adapter, watch] : watches_) watch->finish();
  waitUntil("the end of watch",
            [&] { return std::ranges::none_of(actors_, [](auto &actor) { return actor->runs(); }); });
}

void Soak::exchangeOnce() {
  for (size_t adapter = 0; adapter < std::size(kAdapters); ++adapter) {
    Words words = wordsOf(stage_.filled("% @ 1", adapter));
    words.insert(words.begin(), TRX_SOAK_WORKER);
    ledger().look("semaphores", runProgram(stage_.host.runWords(words)).status == 0, "no ordinary exchange");
    stage_.traffic.drain();
  }
}

json Soak::ask(size_t adapter, const std::string &line) {
  json told =
      json::parse(stage_.host.cli(wordsOf(std::to_string(adapter) + " --json " + line)).out, nullptr, false);
  stage_.traffic.drain();
  ledger().look("state", told.is_object() && told.value("outcome", "") == "ok",
                line + " told " + told.dump());
  return told;
}

void Soak::checkState() {
  const Outcome shown = stage_.host.sim("show");
  ledger().look("state", shown.status == 0, shown.err);
  for (const std::string &version : versions(shown.out))
    ledger().look("firmware", versions_.contains(version), version + " is active");
  for (size_t adapter = 0; adapter < std::size(kAdapters); ++adapter)
    for (const char *line : {"info -o hba", "info -o pd", "info -o vd", "info -o ns", "health"})
      ask(adapter, line);
}

/// A power cycle loses what was received: the next segment comes behind a gap, and ends its transfer.
void Soak::checkOrder() {
  long mayBeLost = ledger().counted("power cycles") * std::ssize(kAdapters);
  ledger().look("order of exchanges", true, "");
  for (const std::string &line : linesOf(stage_.host.violations()))
    ledger().look("order of exchanges", line.ends_with(": a gap before the segment") && mayBeLost-- > 0,
                  line);
}

void Soak::checkJournal(size_t adapter) {
  const auto &known = stage_.journal[adapter];
  for (const json &event : ask(adapter, "event -c 0")["data"]["events"]) {
    const int64_t number = event["sequence"];
    if (known.empty() || number > known.rbegin()->first) continue;  // it came after the watches
    const auto told = known.find(number);
    ledger().look("events", told != known.end() && told->second == event.dump(), "not told: " + event.dump());
  }
}

void Soak::checkSemaphores() {
  exchangeOnce();  // which mends what one left who was killed
  ledger().look("semaphores", semaphores().size() == std::size(kAdapters), "not one for each adapter");
  for (const std::string &name : semaphores()) {
    int value = -1;
    if (sem_t *lock = sem_open(name.c_str(), 0); lock != SEM_FAILED) sem_getvalue(lock, &value);
    ledger().look("semaphores", value == 1, name + " has the value " + std::to_string(value));
  }
}

Words Soak::semaphores() const {
  Words names;
  for (const auto &entry : fs::directory_iterator("/dev/shm")) {
    const std::string file = entry.path().filename();
    const size_t at = file.find(sim::semaphorePrefix(stage_.host.stateDirectory()));
    if (at != std::string::npos) names.push_back(file.substr(at));
  }
  return names;
}

void Soak::checkRemains() {
  ledger().look("processes left", waitpid(-1, nullptr, WNOHANG) == -1, "one is");
  std::set<std::string> known{"state",          stage_.host.traceFile().filename(),
                              ".trx_sim_state", "host",
                              "smbios",         "topology.json",
                              "faults",         "violations.log"};
  for (const char *image : kImages) known.insert(image);
  for (const std::string adapter : kAdapters) known.insert({adapter + ".state", adapter + ".lock"});
  for (const auto &entry : fs::recursive_directory_iterator(stage_.host.directory()))
    ledger().look("files left", known.contains(entry.path().filename()), entry.path());
  hand("reset");
  ledger().look("files left", semaphores().empty(), "semaphores after a reset");
}

bool Soak::run(Minutes minutes) {
  const auto end = Clock::now() + std::chrono::duration_cast<Clock::duration>(minutes);
  for (auto next = Clock::now(); Clock::now() < end; step()) {
    if (Clock::now() < next) continue;
    useHands();
    next = Clock::now() + milliseconds(50 + stage_.pick(250));
  }
  finish();
  checkState();
  checkOrder();
  for (size_t adapter = 0; adapter < std::size(kAdapters); ++adapter) checkJournal(adapter);
  checkSemaphores();
  checkRemains();
  for (const char *deaths : {"killed inside a firmware transfer", "killed inside a pair exchange"})
    ledger().look("deaths", minutes < Minutes(1) || ledger().counted(deaths) > 0,
                  std::string("none ") + deaths);
  return ledger().print();
}

}  // namespace
}  // namespace trx::test

int main(int argc, char **argv) try {
  if (argc != 3) return std::fprintf(stderr, "usage: soak MINUTES SEED\n") > 0 ? 2 : 1;
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  setvbuf(stdout, nullptr, _IOLBF, 0);
  trx::test::Soak soak(static_cast<unsigned>(std::stoul(argv[2])));
  return soak.run(trx::test::Minutes(std::stod(argv[1]))) ? 0 : 1;
} catch (const std::exception &problem) {
  return std::fprintf(stderr, "soak: %s\n", problem.what()) > 0 ? 2 : 1;
}
