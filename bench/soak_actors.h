// SPDX-License-Identifier: GPL-3.0-or-later
// Who is on the stage of `soak`: processes of one kind, one after the other, at one adapter.
#ifndef TRX_BENCH_SOAK_ACTORS_H
#define TRX_BENCH_SOAK_ACTORS_H

#include <sys/prctl.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>

#include "model/state_file.h"
#include "soak_stage.h"

namespace trx::test {

namespace fs = std::filesystem;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// clang-format off
inline constexpr const char *kCommands[] = {
    "info -o hba", "info -o pd", "info -o vd", "info -o vd -i #", "info -o ns", "info -o ns -t vd -v #",
    "vd -a create -r 1 -d #,#", "vd -a create -r 0 -d #,# -n 2", "vd -a delete -i #", "ns -a share -i # -s yes", "ns --list",
    "ns -a detach -i # -d 0", "ns -a attach -i # -d 0", "rebuild -a start -i # -d #", "rebuild -a stop -i #", "init -i #", "mp -i #",
    "mp -a stop -i #", "get -o hba -i %", "set -o hba -i % -r high", "set -o hba -i % -a on -r medium", "smart -i #",
    "smart -i # -o hba", "event -c 9", "event -c 0", "health", "metrics", "wait -t 1", "log -a on", "log -a show", "led -o ep -i 0 -a on",
    "passthru -i # -o 6 -r read -d 4096 --cdw10=1", "flash -o hba -q firmware", "reset -i # -t device",
};
/// So many events that a watch that rests loses some.
inline constexpr const char *kEventful[] = {"set -o hba -i % -a on -r high", "set -o hba -i % -a off -r medium"};
inline constexpr const char *kTransfers[] = {
    "flash -o hba -f & -s 2 -c 1", "flash -o hba -f & -s 3 -c 0", "flash -o hba -s 3 -c 2", "flash -o hba -t raw -f & -c 1",
    "flash -o pd -i # -f & -s 2 -c 1", "flash -o pd -i # -f & -s 1 -c 1", "flash -o pd -i # -s 2 -c 2",
};
// clang-format on
inline constexpr int kLastOutcome = 8;

/// A process in the simulated host, which dies with this one.
class Child {
 public:
  Child(const Words &program, const std::string &input) {
    files_[0].put(input);
    std::vector<char *> argv;
    for (const std::string &word : program) argv.push_back(const_cast<char *>(word.c_str()));
    argv.push_back(nullptr);
    pid_ = fork();
    if (pid_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (int i = 0; i < 3; ++i) dup2(files_[i].descriptor(), i);
    execv(argv[0], argv.data());
    _exit(127);
  }
  ~Child() {
    if (pid_ > 0 && kill(pid_, SIGKILL) == 0) waitpid(pid_, nullptr, 0);
  }
  Child(const Child &) = delete;
  Child &operator=(const Child &) = delete;

  pid_t pid() const { return pid_; }
  void reaped() { pid_ = 0; }
  size_t written() const {
    struct stat facts {};
    fstat(files_[1].descriptor(), &facts);
    return static_cast<size_t>(facts.st_size);
  }
  /// The lines that it has written since the last call, without one that is not whole.
  Words news() {
    std::string text(written() - read_, '\0');
    const ssize_t n = pread(files_[1].descriptor(), text.data(), text.size(), static_cast<off_t>(read_));
    text.resize(n <= 0 ? 0 : text.rfind('\n', static_cast<size_t>(n) - 1) + 1);
    read_ += text.size();
    return linesOf(text);
  }
  bool endsInALine() const { return read_ == written(); }
  std::string errors() const { return files_[2].content(); }

 private:
  Scratch files_[3];
  pid_t pid_ = 0;
  size_t read_ = 0;
};

class Actor {
 public:
  Actor(Stage &stage, size_t adapter) : stage_(stage), adapter_(adapter) {}
  virtual ~Actor() = default;

  /// Begin, look at what runs, or kill it.
  void tick() {
    if (!child_) {
      if ((stage_.ends || Clock::now() >= rests_) && mayBegin()) begin();
      return;
    }
    look();
    if (!struckBy_ && isTime()) strike(stage_.oneIn(4) ? SIGTERM : SIGKILL);
  }
  /// A process has ended. @return whether it was the actor's
  bool takes(pid_t pid, int status) {
    if (!child_ || child_->pid() != pid) return false;
    if (struckBy_ == SIGKILL && WIFSIGNALED(status)) stage_.ledger.count("killed " + place());
    child_->reaped();
    look();
    judge(WIFEXITED(status) || WTERMSIG(status) == struckBy_, status);
    ended(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), struckBy_ != 0);
    child_.reset();
    rests_ = Clock::now() + milliseconds(stage_.pick(longestRest_));
    return true;
  }
  bool runs() const { return child_ != nullptr; }
  /// The play is over: end what does not end by itself.
  virtual void finish() {}

 protected:
  virtual bool mayBegin() { return !stage_.ends; }
  virtual void begin() = 0;
  virtual void look() {}
  virtual bool isTime() { return Clock::now() >= dies_; }
  virtual std::string place() const { return "elsewhere"; }
  virtual void ended(int status, bool struck) = 0;

  void start(const char *program, const std::string &words, const std::string &input = {}) {
    Words all = wordsOf(stage_.filled(words, adapter_));
    all.insert(all.begin(), program);
    line_ = kAdapters[adapter_] + std::string(":");
    for (const std::string &word : all) line_ += " " + word;
    struckBy_ = 0;
    dies_ = Clock::time_point::max();
    child_ = std::make_unique<Child>(stage_.host.runWords(all), input);
  }
  void mayDieWithin(size_t millis) { dies_ = Clock::now() + milliseconds(stage_.pick(millis)); }
  void strike(int signal) { kill(child_->pid(), struckBy_ = signal); }
  void judge(bool good, int status) {
    const std::string said = good ? "" : child_->errors();
    stage_.ledger.look("ends of processes", good,
                       line_ + " ended with " + std::to_string(status) + ": " + said);
  }
  /// A line that must be a document. @return it; empty when it is none
  json document(const std::string &line) {
    json made = json::parse(line, nullptr, false);
    const bool whole =
        made.is_object() && made.contains("outcome") && made.value("exit_status", 99) <= kLastOutcome;
    stage_.ledger.look("documents", whole, line_ + " told " + line);
    return whole ? made : json::object();
  }

  Stage &stage_;
  const size_t adapter_;
  std::unique_ptr<Child> child_;
  std::string line_;
  size_t longestRest_ = 60;  ///< between two processes, in milliseconds

 private:
  int struckBy_ = 0;
  Clock::time_point rests_{}, dies_{};
};

/// Commands: as text, as a document, or a session of many.
class Commands : public Actor {
 public:
  using Actor::Actor;

 private:
  void begin() override {
    constexpr size_t kSession = 15, kFlood = 700;
    documents_ = stage_.oneIn(100) ? kFlood : stage_.oneIn(4) ? kSession : stage_.pick(2);
    const char *line = stage_.pick(kCommands);
    std::string input;
    for (size_t i = 0; i < documents_; ++i) {
      const char *each = documents_ == kFlood ? kEventful[i % std::size(kEventful)] : stage_.pick(kCommands);
      input += stage_.filled(each, adapter_) + "\n";
    }
    if (documents_ > 1) return start(TRX_CLI_PATH, "% --json", input), mayDie(1000);
    start(TRX_CLI_PATH, std::string(documents_ ? "% --json " : "% --strict ") + line);
    mayDie(100);
  }
  void mayDie(size_t millis) {
    if (stage_.oneIn(5)) mayDieWithin(millis);
  }
  void ended(int status, bool struck) override {
    size_t told = 0;
    for (const std::string &line : child_->news()) told += documents_ != 0 && !document(line).empty();
    stage_.ledger.count("commands", static_cast<long>(std::max(told, size_t{1})));
    if (struck) return;
    judge(status <= kLastOutcome && told == documents_ && (told == 0 || child_->endsInALine()), status);
    stage_.ledger.count("processes with the outcome " + std::to_string(status));
  }
  size_t documents_ = 0;
};

/// A watch, and after its end another one from the next event on: to the end each number is told or told as
/// lost, once and in order.
class Watch : public Actor {
 public:
  using Actor::Actor;
  bool hasTold(int64_t number) const { return next_ > number; }
  void finish() override {
    isOver_ = true;
    if (runs()) strike(SIGTERM);
  }

 private:
  bool mayBegin() override { return !isOver_; }
  void begin() override {
    start(TRX_CLI_PATH, "% --json watch -s " + std::to_string(next_));
    if (!stage_.ends) mayDieWithin(20000);
    longestRest_ = stage_.oneIn(3) ? 30000 : 60;
  }
  void look() override {
    for (const std::string &line : child_->news()) take(document(line));
  }
  void take(const json &document) {
    if (!document.contains("data") || document["data"].empty()) return;
    const bool isOurs = document["adapter"].value("device", "") == kAdapters[adapter_];
    stage_.ledger.look("events", isOurs, line_ + " told " + document.dump());
    if (const int64_t lost = document["data"].value("lost", int64_t{0})) lose(lost);
    for (const json &event : document["data"].value("events", json::array()))
      take(event["sequence"], event.dump());
  }
  void lose(int64_t lost) {
    constexpr int64_t kHeld = 500;  // by the journal at least: what is younger is still there
    next_ += lost;
    stage_.ledger.look("events", stage_.newest(adapter_) >= next_ + kHeld, line_ + " lost what is there");
    stage_.ledger.count("events lost, and told so", lost);
  }
  void take(int64_t number, const std::string &event) {
    const std::string told = line_ + " told " + event;
    stage_.ledger.look("events", number == next_, told + ", and not " + std::to_string(next_));
    next_ = number + 1;
    const std::string &known = stage_.journal[adapter_].emplace(number, event).first->second;
    stage_.ledger.look("events", known == event, told + ", and another one " + known);
    stage_.ledger.count("events told by watch");
  }
  void ended(int status, bool struck) override {
    if (struck) return;
    judge(status <= kLastOutcome && child_->endsInALine(), status);
    stage_.ledger.count("watches that gave up");
  }
  int64_t next_ = 1;
  bool isOver_ = false;
};

/// Firmware transfers. Two at a time would send one controller two images in one, and nobody keeps them
/// apart.
class Transfer : public Actor {
 public:
  using Actor::Actor;

 private:
  void begin() override {
    begun_ = fs::file_time_type::clock::now();
    start(TRX_CLI_PATH, std::string("% --strict ") + stage_.pick(kTransfers));
    constexpr std::string_view kDisk = "-o pd -i ";
    const size_t at = line_.find(kDisk);
    const bool toDisk = at != std::string::npos;
    const std::string disk = toDisk ? std::string(".disk") + line_[at + kDisk.size()] : "";
    image_ = stage_.host.stateDirectory() / (kAdapters[adapter_] + disk + ".image");
    fatal_ = stage_.oneIn(2) ? stage_.pick(kImageBytes) : kImageBytes;
    if (fatal_ < kImageBytes)
      stage_.arm(toDisk ? "op=c3 delay=6 count=60" : "op=11 delay=6 count=60", adapter_);
  }
  /// How much of the image has come; one that was left by an earlier transfer does not count.
  size_t received() const {
    std::error_code none;
    const fs::file_time_type changed = fs::last_write_time(image_, none);
    if (none || changed < begun_) return 0;
    const auto size = fs::file_size(image_, none);
    return none ? 0 : size;
  }
  bool isTime() override { return received() > fatal_; }
  std::string place() const override { return received() != 0 ? "inside a firmware transfer" : "elsewhere"; }
  void ended(int status, bool struck) override {
    judge(struck || status <= kLastOutcome, status);
    if (!struck) stage_.ledger.count(status == 0 ? "firmware updates done" : "firmware updates that failed");
  }
  fs::file_time_type begun_{};
  fs::path image_;
  size_t fatal_ = 0;
};

/// A library program that exchanges pairs. There are two at an adapter and no more, and after the death of
/// one the next comes when the other is through: who waits for a dead holder goes on after five seconds, and
/// of several who wait as long each would go on (function/lock.h). That is the lock's limit, and not what is
/// tried here. For the same reason nothing here takes seconds.
class PairProgram : public Actor {
 public:
  using Actor::Actor;
  void meet(PairProgram &fellow) { fellow_ = &fellow; }
  void finish() override {
    if (runs()) strike(SIGTERM);
  }

 private:
  bool mayBegin() override { return !stage_.ends && (!wasKilled_ || fellow_->isThrough()); }
  void begin() override {
    start(TRX_SOAK_WORKER, "% @");
    mark_ = 0;
    diesInside_ = !stage_.oneIn(3);
    mayDieWithin(6000);
    if (diesInside_) stage_.arm("op=ce delay=150 count=2", adapter_);
  }
  /// The first exchange that ends after a death may have begun before it; the second has not.
  bool isThrough() const { return runs() && child_->written() >= mark_ + 2; }
  /// Whether it has sent, and has not received yet.
  bool isInside() const {
    sim::LockHead head{};
    std::ifstream lock(stage_.host.stateDirectory() / (kAdapters[adapter_] + std::string(".lock")));
    lock.read(reinterpret_cast<char *>(&head), sizeof head);
    return head.pairOwner == child_->pid();
  }
  bool isTime() override {
    return Actor::isTime() && isThrough() && fellow_->isThrough() && (!diesInside_ || isInside());
  }
  std::string place() const override { return isInside() ? "inside a pair exchange" : "elsewhere"; }
  void ended(int status, bool struck) override {
    wasKilled_ = status >= 128;
    if (fellow_->runs()) fellow_->mark_ = fellow_->child_->written();
    constexpr int kNotFound = 3;  // by a start that a fault struck
    judge(wasKilled_ || status == kNotFound || (struck && status == 0), status);
  }
  PairProgram *fellow_ = nullptr;
  size_t mark_ = 0;  ///< what it had written when its fellow died
  bool wasKilled_ = false, diesInside_ = false;
};

}  // namespace trx::test

#endif  // TRX_BENCH_SOAK_ACTORS_H
