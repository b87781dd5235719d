// SPDX-License-Identifier: GPL-3.0-or-later
// Wait for background activities to end, and tell how they ended.
#include <algorithm>
#include <chrono>

#include "Functions/handlers.h"
#include "Functions/monitor/own.h"
#include "Functions/monitor/patience.h"
#include "Functions/monitor/progress.h"
#include "Functions/monitor/ring.h"
#include "Functions/monitor/sight.h"
#include "Public/listing.h"
#include "Public/numbers.h"

namespace trx {

const char wait_help[] = R"(
wait [-o <vd|pd> [-i <id>]] [-t <seconds>] [-h]

Waits until the background activities of the NVMe Controller have ended; a
paused one is waited for. Fails when one was aborted or has failed, and when an
object is worse off than before.

Options:
    -o, --object=<vd|pd>
        Only activities of virtual disks, or of physical disks.
    -i, --id=<id>
        Only of the object with this ID.
    -t, --timeout=<seconds>
        Give up after so many seconds. 0 looks once.
    -h, --help

Examples:
    wait
    Wait for all activities of current NVMe Controller.

    wait -o vd -i 0 -t 600
    Wait ten minutes at most for what runs on VD 0.

)";

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr Word<Subject::Kind> kObjects[] = {{"vd", Subject::Kind::Volume}, {"pd", Subject::Kind::Disk}};

struct Options {
  Counted<Subject::Kind> object;
  Counted<TRX_U16> id;
  Counted<int32_t> seconds;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       return choose(o.object, text, kObjects) || complain("-o : invalid object '%s'\n", text); }},
    {"id", 'i', idOf(Objects::None, 'o'), [](Options &o, const char *text) {
       return (*text && o.id.take(zeroBasedId16(text))) || complain("-i : invalid id '%s'.\n", text); }},
    {"timeout", 't', Argument::Required, [](Options &o, const char *text) {
       return (*text && o.seconds.take(decimalUpTo(INT32_MAX, text))) ||
              complain("-t : invalid number of seconds '%s'.\n", text); }},
};
// clang-format on

enum class End { Running, Completed, Aborted, Failed, Worse, Vanished };

struct EndRow {
  const char *word;
  Outcome outcome;
  const char *sentence;  ///< behind the name of the activity
};
constexpr EndRow kEnds[] = {
    {"running", Outcome::TimedOut, "has not ended"},
    {"completed", Outcome::Ok, "has completed"},
    {"aborted", Outcome::Refused, "was aborted"},
    {"failed", Outcome::Refused, "has failed"},
    {"worse", Outcome::Refused, "has ended, and left it worse off than before"},
    {"vanished", Outcome::NotFound, "has ended: there is no such object any more"},
};

/// An activity that is waited for.
struct Activity {
  Subject subject;
  Sight first, last;  ///< as it was found, and while it ran
  Clock::time_point found;
  std::string shown = {};
  End end = End::Running;

  double percentPerSecond() const {
    const double seconds = std::chrono::duration<double>(Clock::now() - found).count();
    return seconds > 0 ? (last.percent.value_or(0) - first.percent.value_or(0)) / seconds : 0;
  }
};

class Waiting {
 public:
  explicit Waiting(const Options &options) : options_(options) {}
  void run();

 private:
  std::vector<Subject> scope() const;
  void rememberJournal();
  bool find();
  bool lookAgain(Activity &activity);
  bool lookAgain();
  bool hasEnded();
  bool isOver() const { return options_.seconds.given() && Clock::now() >= deadline(); }
  bool sleep() const;
  void show();
  void judge();
  void tellEnds() const;
  void tellFacts() const;
  Clock::time_point deadline() const { return begin_ + std::chrono::seconds(options_.seconds.value); }

  Options options_;
  Clock::time_point begin_ = Clock::now();
  bool hasJournal_ = false;
  std::optional<TRX_U32> newest_;  ///< event at the start; nothing when the journal was empty
  std::vector<Activity> activities_;
};

std::vector<Subject> Waiting::scope() const {
  if (options_.id.given()) return {{options_.object.value, options_.id.value}};
  std::vector<Subject> all;
  for (const auto &[word, kind] : kObjects) {
    if (options_.object.given() && options_.object.value != kind) continue;
    for (const Subject &subject : candidates(kind)) all.push_back(subject);
  }
  return all;
}

/// What aborts an activity is told in the journal, and only there.
void Waiting::rememberJournal() {
  const Aside aside;
  const std::optional<Events> events = readRing();
  hasJournal_ = events.has_value();
  if (hasJournal_ && !events->empty()) newest_ = newestOf(*events);
}

/// Find what runs. @return whether all could be asked
bool Waiting::find() {
  for (const Subject &subject : scope()) {
    const std::optional<Sight> sight =
        askPatiently(activities_.empty() ? kOnce : kPatient, [&] { return lookAt(subject); });
    if (!sight) return false;
    if (!sight->present && options_.id.given() && activities_.empty())
      tellWrong(Outcome::NotFound, "%s is not there.\n", subject.name().c_str());
    if (sight->isBusy()) activities_.push_back({subject, *sight, *sight, Clock::now()});
  }
  return outcomeNow() == Outcome::Ok;
}

bool Waiting::lookAgain(Activity &activity) {
  if (activity.end != End::Running) return true;
  const std::optional<Sight> now = askPatiently(kPatient, [&] { return lookAt(activity.subject); });
  if (!now) return false;
  if (!now->present) {
    activity.end = End::Vanished;
  } else if (now->isBusy()) {
    activity.last = *now;
  } else {
    activity.end = now->isWorseThan(activity.first) ? End::Worse : End::Completed;
  }
  return true;
}

bool Waiting::lookAgain() {
  return std::ranges::all_of(activities_, [&](Activity &each) { return lookAgain(each); });
}

/// Whether all has ended. What was begun meanwhile is waited for, too.
bool Waiting::hasEnded() {
  if (std::ranges::any_of(activities_, [](const Activity &each) { return each.end == End::Running; }))
    return false;
  const size_t known = activities_.size();
  return known == 0 || options_.id.given() || !find() || activities_.size() == known;
}

/// Ever longer, because what takes long need not be looked at often. @return whether it goes on
bool Waiting::sleep() const {
  const auto past = std::chrono::duration_cast<milliseconds>(Clock::now() - begin_);
  auto span = std::clamp(past / 20, milliseconds(1000), milliseconds(5000));
  if (options_.seconds.given())
    span = std::min(span, std::chrono::duration_cast<milliseconds>(deadline() - Clock::now()));
  return !sleepMilliseconds(std::max<long>(span.count() + 1, 1));
}

void Waiting::show() {
  if (gathersFacts()) return;
  const Activity *slowest = nullptr;
  size_t running = 0;
  for (Activity &each : activities_) {
    if (each.end != End::Running) continue;
    ++running;
    if (!slowest || each.last.percent.value_or(100) < slowest->last.percent.value_or(100)) slowest = &each;
    std::string line = progressLine(each.subject, each.last);
    if (!drawsBar() && line != each.shown) tell("%s\n", line.c_str());
    each.shown = std::move(line);
  }
  if (drawsBar() && slowest)
    drawBar(progressBar(slowest->subject, slowest->last, slowest->percentPerSecond(), running - 1));
  std::fflush(nullptr);
}

/// What the journal says of an activity that has ended while it was waited for.
void Waiting::judge() {
  const bool some = std::ranges::any_of(activities_, [](const Activity &a) { return a.end != End::Running; });
  if (!some || !hasJournal_ || outcomeNow() != Outcome::Ok) return;
  const std::optional<Events> events = askPatiently(kPatient, readRing);
  if (!events) return;
  for (const NVME_SA_Evt_Item &event : *events) {
    if (newest_ && !isAfter(event.ordinal, *newest_)) continue;
    const std::string message = deviceText(event.msg);
    const bool aborted = message.find("abort") != std::string::npos;
    if (!aborted && message.find("fail") == std::string::npos) continue;
    for (Activity &each : activities_) {
      if (each.subject.isMeantBy(message) && (each.end == End::Completed || each.end == End::Worse))
        each.end = aborted ? End::Aborted : End::Failed;
    }
  }
}

void Waiting::tellEnds() const {
  for (const Activity &each : activities_) {
    const EndRow &row = kEnds[static_cast<size_t>(each.end)];
    const char *activity = wordOfActivity(each.last);
    const std::string name = each.subject.name();
    if (row.outcome == Outcome::Ok) {
      tell("%s: %s %s.\n", name.c_str(), activity, row.sentence);
    } else if (each.end != End::Running || isOver()) {
      // At a terminal the bar is gone by now.
      const bool told = each.end == End::Running && each.last.percent;
      const std::string far = told ? ", " + std::to_string(*each.last.percent) + "% done" : "";
      tellWrong(row.outcome, "%s: %s %s%s.\n", name.c_str(), activity, row.sentence, far.c_str());
    }
  }
}

void Waiting::tellFacts() const {
  if (!gathersFacts()) return;
  const auto waited = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begin_);
  data().array("activities");
  for (const Activity &each : activities_) {
    const bool running = each.end == End::Running;
    Object entry = data().append("activities");
    Object object = entry.object("object");
    object.put("kind",
               std::string(each.subject.kind == Subject::Kind::Volume ? "virtual_disk" : "physical_disk"));
    object.put("id", int64_t{userCounting(each.subject.id)});
    entry.put("kind", Enumerated{wordOfActivity(each.last), each.last.type});
    entry.put("state", Enumerated{each.last.isPaused() ? "pause" : "running", each.last.state}, running);
    const std::optional<int> percent = each.end == End::Completed ? 100 : each.last.percent;
    entry.put("progress_percent", int64_t{percent.value_or(0)}, percent.has_value());
    entry.put("result", std::string(kEnds[static_cast<size_t>(each.end)].word));
  }
  data().put("waited_seconds", int64_t{waited.count()});
}

void Waiting::run() {
  rememberJournal();
  bool goesOn = find();
  if (goesOn && activities_.empty()) tell("Nothing is running.\n");
  while (goesOn) {
    show();
    goesOn = !hasEnded() && !isOver() && sleep() && lookAgain();
  }
  if (!gathersFacts() && drawsBar()) drawBar("");
  judge();
  tellEnds();
  tellFacts();
}

}  // namespace

constexpr OptionList wait_options = optionList<kOptions>();

int32_t doWait(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOwnOptions(argc, argv, row, kOptions, o)) return *end;
  if (anyRepeated(o.object, o.id, o.seconds)) complainDuplicate();
  if (o.id.given() && !o.object.given()) complainRequired(argv[0], 'o');
  if (outcomeNow() != Outcome::Ok) return statusNow();
  if (gNumAdaptersFound == 0) return noController();
  const HeedInterrupts heeded;
  {
    // What was seen until then is told all the same.
    const HeedInterrupts interrupts(nullptr);
    Waiting(o).run();
  }
  endIfInterrupted();
  return statusNow();
}

}  // namespace trx
