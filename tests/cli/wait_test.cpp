// SPDX-License-Identifier: GPL-3.0-or-later
// Commands that go on for long, and what ends them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "CliSession.h"
#include "Functions/monitor/progress.h"
#include "Functions/monitor/ring.h"
#include "Functions/monitor/sight.h"
#include "Public/interrupt.h"

extern char **environ;

namespace trx::test {
namespace {

using namespace ::testing;
using Json = nlohmann::json;

/// trx_cli while it runs.
class Running {
 public:
  Running(const SimHost &host, Words words) {
    words.insert(words.begin(), TRX_CLI_PATH);
    words = host.runWords(words);
    std::vector<char *> argv;
    for (std::string &word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (pipe2(keys_, O_CLOEXEC) != 0) std::abort();  // nothing comes, and no end
    posix_spawn_file_actions_adddup2(&actions, keys_[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out_.descriptor(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out_.descriptor(), STDERR_FILENO);
    if (posix_spawnp(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0) std::abort();
    posix_spawn_file_actions_destroy(&actions);
  }
  ~Running() {
    if (pid_ > 0) signal(SIGKILL), end();
    for (int key : keys_) close(key);
  }
  void signal(int number) const { kill(pid_, number); }
  int end() {
    int status = 0;
    waitpid(std::exchange(pid_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  std::string out() const { return out_.content(); }
  void await(const std::string &text) const {
    for (int i = 0; i < 500 && out().find(text) == std::string::npos; ++i) usleep(20000);
    EXPECT_THAT(out(), HasSubstr(text));
  }

 private:
  Scratch out_;
  int keys_[2];
  pid_t pid_ = -1;
};

// Rows are read as tables.
// clang-format off

TEST(Wait, LooksOnce) {
  SimHost host("clockwork");
  const std::tuple<const char *, int, const char *> rows[] = {
      {"wait -t 0", 8, "VD 0: Initializing 0%\nVD 0: Initializing has not ended, 0% done.\n"},
      {"wait -o vd -i 1", 0, "Nothing is running.\n"},
      {"wait -o pd", 0, "Nothing is running.\n"},
      {"wait -o vd -i 9", 3, "VD 9 is not there.\n"},
      {"wait -i 0", 2, "wait: option -o is required\n"},
      {"wait -t 1 -t 1", 2, "Duplicated option specified.\n"},
      {"wait -t -1", 2, "-t : invalid number of seconds '-1'.\n"},
      {"wait 5", 2, "wait: unknown word '5'\n"},
      {"watch -s 4294967296", 2, "-s : invalid sequence number '4294967296'.\n"},
      {"--expect name=a watch", 2, "trx_cli: --expect: the command changes nothing\n"},
  };
  for (const auto &[line, status, text] : rows) {
    const Outcome outcome = host.cli(wordsOf(line));
    EXPECT_EQ(outcome.out, text) << line;
    EXPECT_EQ(outcome.status, status) << line;
  }
  EXPECT_THAT(host.cli({"--json"}, "watch\n").out, HasSubstr("\"outcome\":\"usage\""));
  for (const auto &[line, requests] : {std::pair("wait -o vd", 30U), {"wait -o pd", 52U}, {"wait -o vd -i 1", 22U}}) {
    host.traffic();
    host.cli(wordsOf(std::string(line) + " -t 0"));
    EXPECT_EQ(host.traffic().size(), requests) << line << ": no id beyond the last is asked for";
  }
  host.sim("fault add op=e2 group=e2 platform=5");
  const Outcome unread = host.cli(wordsOf("wait -o vd"));
  EXPECT_EQ(unread.out + std::to_string(unread.status), "It could not be asked: Input/output error.\n5");
  const SimHost none("unsupported");
  for (const char *word : {"wait", "watch"}) {
    const Outcome outcome = runProgram(none.runWords({TRX_CLI_PATH, word}));
    EXPECT_EQ(outcome.out + outcome.err, "No NVMe Controller is found.\n");
    EXPECT_EQ(outcome.status, 3);
  }
}

TEST(Wait, TellsHowItEnded) {
  const struct { const char *before, *what, *result; int status; } rows[] = {
      {"", "!advance 300", "completed", 0}, {"", "init -a stop -i 0", "aborted", 1}, {"", "vd -a delete -i 0", "vanished", 3}, {"", "!pull 0", "aborted", 1}, {"", "!fault add count=999 platform=5", "running", 5},
      // What was aborted before is no reason, and without the journal the object itself tells.
      {"init -a stop -i 0;init -i 0", "!advance 300", "completed", 0}, {"!fault add op=e2 group=fe nvme=6", "!pull 0", "worse", 1},
      {"", "!fault add op=e2 group=e2 count=2 platform=5;!advance 300", "completed", 0}};
  auto happens = [](SimHost &host, const char *events) {
    std::istringstream each(events);
    for (std::string what; std::getline(each, what, ';');) what[0] == '!' ? host.sim(what.substr(1)) : host.cli(wordsOf(what), "y\n");
  };
  std::vector<std::unique_ptr<SimHost>> hosts;
  std::vector<std::unique_ptr<Running>> waiting;
  for (size_t i = 0; i < std::size(rows); ++i) {
    SimHost &host = *hosts.emplace_back(std::make_unique<SimHost>("clockwork"));
    happens(host, rows[i].before);
    waiting.push_back(std::make_unique<Running>(host, Words{"--json", "wait", "-o", "vd"}));
  }
  SimHost plain("clockwork");
  const Running text(plain, {"wait"});
  sleep(2);
  for (size_t i = 0; i < std::size(rows); ++i) {
    happens(*hosts[i], rows[i].what);
    if (rows[i].what == std::string("!pull 0")) hosts[i]->sim("advance 300");
  }
  plain.sim("advance 300");
  text.await("\nVD 0: Initializing has completed.\n");
  EXPECT_THAT(text.out(), MatchesRegex("VD 0: Initializing 0%\n(VD 0: Initializing [1-9]%\n)*VD 0: Initializing has completed.\n"));
  for (size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(waiting[i]->end(), rows[i].status) << rows[i].what;
    const std::string out = waiting[i]->out();
    const Json document = Json::parse(out.substr(out.find("{\"format")));
    const Json &activity = document["data"]["activities"][0];
    EXPECT_EQ(activity["object"], (Json{{"kind", "virtual_disk"}, {"id", 0}}));
    EXPECT_EQ(activity["result"], rows[i].result) << document;
  }
}

TEST(Wait, DrawsHowFarItIs) {
  const auto running = [](int percent) { return Sight{true, 0, 0, TRX_NVME_BGA_TYPE_VD_REBUILD, TRX_NVME_BGA_STATUS_RUNNING, percent}; };
  const Subject volume{Subject::Kind::Volume, 1};
  Sight paused = running(99), vague = running(0);
  paused.state = TRX_NVME_BGA_STATUS_PAUSE;
  vague.percent.reset();
  const struct { Sight sight; double rate; size_t others; const char *bar; } rows[] = {
      {running(40), 0.5, 0, "VD 1: Rebuilding 40% [========>           ] 0.5%/s, 0:02:00 left"}, {running(0), 0, 1, "VD 1: Rebuilding 0% [>                   ], and 1 more"},
      {running(97), 0.00078, 0, "VD 1: Rebuilding 97% [===================>] 0.00078%/s, 1:04:07 left"}, {running(100), 3, 0, "VD 1: Rebuilding 100% [====================] 3%/s, 0:00:00 left"},
      {paused, 1, 2, "VD 1: Rebuilding 99%, paused [===================>], and 2 more"}, {vague, 1, 0, "VD 1: Rebuilding"}};
  for (const auto &row : rows) EXPECT_EQ(progressBar(volume, row.sight, row.rate, row.others), row.bar);
  EXPECT_EQ(outputOf([] { for (const char *bar : {"abc", "d", "efgh", ""}) drawBar(bar); }), "\rabc\rd  \refgh\r    \r");
  EXPECT_EQ(outputOf([] { drawBar(std::string(99, 'x')); }), "\r" + std::string(79, 'x'));
}

TEST(Interrupt, EndsWhatHangsTheSecondTimeAndHeedsNohup) {
  SimHost host("clockwork"), hanging("clockwork");
  hanging.sim("fault add op=e2 group=e3 count=9 delay=20000");
  signal(SIGHUP, SIG_IGN);
  Running nohup(host, {"wait"});
  signal(SIGHUP, SIG_DFL);
  nohup.await("0%\n");
  nohup.signal(SIGHUP);
  Running twice(hanging, {"wait"});
  sleep(1);
  twice.signal(SIGINT), nohup.signal(SIGTERM);
  usleep(500000);
  twice.signal(SIGINT);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(twice.end(), 128 + SIGINT);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
  EXPECT_EQ(nohup.end(), 128 + SIGTERM);
}

TEST(Interrupt, SleepsAsLongAsItIsTold) {
  for (long span : {0, 30, 250, 1150}) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(sleepMilliseconds(span));
    const long slept = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin).count();
    EXPECT_THAT(slept, AllOf(Ge(span), Lt(span + 700)));
  }
}

TEST(Wait, KnowsWhomAMessageMeans) {
  constexpr auto kVolume = Subject::Kind::Volume, kDisk = Subject::Kind::Disk;
  const struct { Subject subject; const char *message; bool meant; } rows[] = {
      {{kVolume, 1}, "rebuild on virtual disk 1 aborted", true}, {{kVolume, 1}, "virtual disk 1", true}, {{kVolume, 1}, "init on virtual disk 12 aborted", false}, {{kVolume, 12}, "init on virtual disk 1 aborted", false},
      {{kVolume, 12}, "Virtual disk 12 failed", true}, {{kDisk, 1}, "virtual disk 1 failed", false}, {{kDisk, 1}, "Physical disk 1 failed", true}};
  for (const auto &row : rows) EXPECT_EQ(row.subject.isMeantBy(row.message), row.meant) << row.message;
}

std::vector<TRX_U32> follow(Follower &follower, std::vector<TRX_U32> ordinals) {
  Events events;
  for (TRX_U32 ordinal : ordinals) events.push_back({{}, 0, ordinal, {}});
  std::vector<TRX_U32> told;
  for (const Follower::Told &each : follower.take(events)) {
    if (each.lost != 0) told.push_back(1000000 + each.lost);
    told.push_back(each.event.ordinal);
  }
  return told;
}

TEST(Watch, TellsEveryEventOnceInItsOrder) {
  const TRX_U32 last = UINT32_MAX;
  Follower fresh(std::nullopt), all(0), late(5);
  EXPECT_THAT(follow(fresh, {last - 1, last}), IsEmpty());
  EXPECT_THAT(follow(fresh, {1, last, 0}), ElementsAre(0, 1)) << "numbers begin again";
  EXPECT_THAT(follow(fresh, {3, 1}), IsEmpty()) << "2 may stand in a page that was read too early";
  EXPECT_THAT(follow(fresh, {3, 2, 5}), ElementsAre(2, 3));
  EXPECT_TRUE(fresh.isWaiting());
  EXPECT_THAT(follow(fresh, {6, 5}), ElementsAre(1000001, 5, 6)) << "4 is nowhere";
  EXPECT_FALSE(fresh.isWaiting());
  EXPECT_THAT(follow(fresh, {5}), IsEmpty());
  EXPECT_THAT(follow(fresh, {6, 7}), ElementsAre(7)) << "only a page that had just been erased";
  for (bool again : {false, true}) EXPECT_EQ(follow(fresh, {1, 2}).size(), again ? 2u : 0u);

  EXPECT_THAT(follow(all, {}), IsEmpty());
  EXPECT_THAT(follow(all, {41, 40}), ElementsAre(40, 41));
  EXPECT_THAT(follow(late, {7}), IsEmpty());
  EXPECT_THAT(follow(late, {7}), ElementsAre(1000002, 7));
}

/// How many events a watch from 1 on has lost, when it has accounted for each.
int64_t lostBy(const Running &watch) {
  int64_t next = 1, lost = 0;
  std::istringstream lines(watch.out());
  for (std::string line; std::getline(lines, line);) {
    const Json facts = Json::parse(line)["data"];
    lost += facts.value("lost", 0);
    for (const Json &event : facts.value("events", Json::array())) EXPECT_EQ(event["sequence"], lost + next++);
  }
  EXPECT_GE(lost + next, 2500);
  return lost;
}

TEST(Watch, KeepsUpWithAWriterOrSaysWhatItLost) {
  CliSession session;
  session.run("set -o hba -i 0 -r low");
  Running early(session.host(), {"--json", "watch", "-s", "1"});
  for (int i = 0; i < 2500; ++i) session.run(i % 2 == 0 ? "set -o hba -i 0 -r high" : "set -o hba -i 0 -r low");
  Running late(session.host(), {"--json", "watch", "-s", "1"});
  session.run("set -o hba -i 0 -a on");
  for (Running *watch : {&early, &late}) {
    watch->await("Auto-rebuild");
    watch->signal(SIGTERM);
    EXPECT_EQ(watch->end(), 0);
  }
  Running told(session.host(), {"watch", "-s", "1"});
  told.await(" Auto-rebuild has been enabled\n");
  const std::string lost = told.out().substr(0, told.out().find(' '));
  EXPECT_THAT(told.out(), StartsWith(lost + " events were lost: the journal was written over before it was read.\n" + std::to_string(std::stoi("0" + lost) + 1) + "  "));
  EXPECT_THAT(told.out(), ContainsRegex("\n[0-9]+  [-0-9]+ [0-9:]+  Background "));
  EXPECT_LT(lostBy(early), 1200);
  EXPECT_GE(lostBy(late), 1000);
}

TEST(Watch, EndsWhenNobodyReads) {
  SimHost host;
  host.cli({"set", "-o", "hba", "-i", "0", "-r", "low"});
  for (const char *json : {"", "--json "}) {
    const std::string line =
        TRX_CLI_PATH " " + std::string(json) + "watch -s 0 | head -1; exit ${PIPESTATUS[0]}";
    EXPECT_EQ(runProgram(host.runWords({"timeout", "10", "bash", "-c", line})).status, 5) << json;
  }
}

TEST(Interrupt, EndsWhatTakesLongAndTheFirmwareStays) {
  SimHost host("clockwork");
  const std::string image = host.directory() / "i.bin";
  host.sim("image", {image, "--size", "409600", "--version", "1.0.2.1031"});
  host.sim("fault add op=11 count=999 delay=50");
  host.sim("fault add op=c3 count=999 delay=50");
  const Words controller{"flash", "-o", "hba", "-f", image, "-s", "2", "-c", "1"};
  Words disk{"flash", "-o", "pd", "-i", "0", "-f", image, "-s", "2", "-c", "1"};
  const std::string stays = "\ninterrupted: nothing was committed, the firmware stays as it is\n";
  const std::string document = "\"outcome\":\"failed\",\"exit_status\":5,";
  const struct { Words words; const char *begun; int signal, status; std::string told; } rows[] = {
      {{"wait"}, "0%\n", SIGTERM, 143, "\ninterrupted\n"}, {{"wait"}, "0%\n", SIGHUP, 129, "\ninterrupted\n"},
      {controller, "percentage", SIGINT, 130, stays}, {disk, "percentage", SIGTERM, 143, stays},
      {{"--json", "wait"}, "", SIGINT, 5, document}, {{"--json"}, "", SIGTERM, 5, document}, {{"watch"}, "", SIGINT, 0, ""}};
  for (const auto &row : rows) {
    SCOPED_TRACE(PrintToString(row.words));
    Running running(host, row.words);
    *row.begun ? running.await(row.begun) : void(usleep(500000));
    running.signal(row.signal);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(running.end(), row.status);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    EXPECT_THAT(running.out(), HasSubstr(row.told));
  }
  host.sim("fault add op=6 delay=900");
  Running session(host, {"--json"});
  usleep(300000);
  session.signal(SIGTERM);
  EXPECT_EQ(session.end(), 5) << "while it starts";
  EXPECT_THAT(session.out(), HasSubstr(document));
  EXPECT_THAT(host.cli({"flash", "-o", "hba", "-q", "firmware"}).out, HasSubstr("Next Active Slot: 0\n"));
  for (const std::string &request : host.traffic())
    EXPECT_THAT(request, Not(HasSubstr("op=10 "))) << "a commit";
}

// clang-format on

}  // namespace
}  // namespace trx::test
