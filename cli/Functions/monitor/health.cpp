// SPDX-License-Identifier: GPL-3.0-or-later
// The state of all controllers in the form of the Monitoring Plugins guidelines: a line "WORD: text |
// performance data", then a line per problem.
#include <algorithm>
#include <iterator>
#include <string_view>

#include "Functions/handlers.h"
#include "Functions/monitor/facts.h"
#include "Public/getopt.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"

namespace trx {

const char health_help[] = R"(
health [-w temperature=60,wear=80] [-c temperature=70,wear=90] [-h]

Options:
    -w, --warning <KEY=VALUE>[,<KEY=VALUE>]
         a PD is worth a warning above it
    -c, --critical <KEY=VALUE>[,<KEY=VALUE>]
         a PD is critical above it
         temperature, in degrees Celsius
         wear, in percent of the life that the maker of a PD expects
    -h, --help

All NVMe Controllers are asked, or the one whose adapter ID stands before the command.

CRITICAL: A VD is degraded, offline, missing or not importable; a PD failed, has a SMART critical
          warning or less spare than its threshold.
UNKNOWN:  Something could not be asked, and nothing that is known is critical.
WARNING:  A VD is rebuilding, partially optimal, foreign, importable or handles an error; a PD has
          media errors or is importable; firmware waits for a reset.

The exit status is the state: 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN, also with --strict. With --json it is
the outcome.

Examples:
    health
    State of all NVMe Controllers.

    1 health -w temperature=55 -c temperature=65
    State of NVMe Controller 1, whose PDs shall stay cooler.

)";

namespace {

struct Limits {
  int temperature, wear;
};

struct Options {
  Counted<Limits> warning{{60, 80}};
  Counted<Limits> critical{{70, 90}};
};

bool readLimit(Limits &limits, std::string_view key, const std::string &value) {
  constexpr int kMost = 9999;
  int *limit = key == "temperature" ? &limits.temperature : key == "wear" ? &limits.wear : nullptr;
  const std::optional<int32_t> number = decimalUpTo(kMost, value.c_str());
  if (!limit || value.empty() || !number) return false;
  *limit = *number;
  return true;
}

bool readLimits(Counted<Limits> &limits, char letter, const std::string &text) {
  ++limits.count;
  std::vector<std::string> keys;
  for (size_t at = 0, end = 0; end < text.size(); at = end + 1) {
    end = std::min(text.find(',', at), text.size());
    const std::string part = text.substr(at, end - at);
    const size_t equals = std::min(part.find('='), part.size());
    keys.push_back(part.substr(0, equals));
    const bool again = std::ranges::count(keys, keys.back()) > 1;
    if (again || equals == part.size() || !readLimit(limits.value, keys.back(), part.substr(equals + 1)))
      return complain("UNKNOWN: -%c : invalid limit '%s'\n", letter, part.c_str());
  }
  return !keys.empty() || complain("UNKNOWN: -%c : invalid limit ''\n", letter);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"warning",  'w', Argument::Required, [](Options &o, const char *text) { return readLimits(o.warning, 'w', text); }},
    {"critical", 'c', Argument::Required, [](Options &o, const char *text) { return readLimits(o.critical, 'c', text); }},
};

constexpr const char *kWords[] = {"OK", "WARNING", "CRITICAL", "UNKNOWN"};
constexpr const char *kKeys[] = {"ok", "warning", "critical", "unknown"};

/// What the status of a volume is worth, by its number.
constexpr struct { State state; const char *text; } kVolumeStates[] = {
    {State::Ok, "functional"}, {State::Critical, "degraded"}, {State::Ok, "deleted"}, {State::Critical, "missing"},
    {State::Critical, "offline"}, {State::Warning, "partially optimal"}, {State::Warning, "foreign"},
    {State::Warning, "importable"}, {State::Critical, "not importable"}, {State::Ok, "initializing"},
    {State::Warning, "rebuilding"}, {State::Warning, "handling an error"},
};
// clang-format on

const char *wordOf(State state) { return kWords[static_cast<size_t>(state)]; }

/// The worst first. What is not known may be critical.
int rankOf(State state) {
  constexpr State kOrder[] = {State::Critical, State::Unknown, State::Warning, State::Ok};
  return static_cast<int>(std::ranges::find(kOrder, state) - std::begin(kOrder));
}

struct Problem {
  State state;
  TRX_U8 adapter;
  Target target;
  std::string name;  ///< of a volume, or the serial number of a disk, in the device's own bytes
  std::string text;  ///< with its subject
  Failure failure = {};
};

/// A value that a monitor draws.
struct Reading {
  std::string label;
  int value;
  const char *unit;     ///< as the guidelines have it
  const char *unitKey;  ///< as documents have it
  int warning, critical;
};

/// Device text that can neither break the line nor begin the performance data nor steer a terminal.
std::string plain(std::string text) {
  for (char &c : text) {
    if (c == '|') c = '/';
    if (c < 0x20 || c > 0x7E) c = '?';
  }
  return text;
}

std::string idText(int id) { return std::to_string(userCounting(id)); }

class Judgement {
 public:
  Judgement(const Facts &facts, const Options &options) : options_(options) {
    for (const Unread &unread : facts.unread) {
      problems_.push_back(
          {State::Unknown, unread.adapter, unread.target, {}, plain(describe(unread)), unread.failure});
    }
    for (const AdapterFacts &adapter : facts.adapters) judge(adapter);
    std::ranges::stable_sort(problems_, {}, [](const Problem &each) { return rankOf(each.state); });
  }

  const std::vector<Problem> &problems() const { return problems_; }
  const std::vector<Reading> &readings() const { return readings_; }

 private:
  void judge(const AdapterFacts &adapter);
  void judge(const AdapterFacts &adapter, const DiskFacts &disk);
  void judge(const AdapterFacts &adapter, const VolumeFacts &volume);
  void judgeWear(const AdapterFacts &adapter, const DiskFacts &disk);
  void judgeReading(const AdapterFacts &adapter, const DiskFacts &disk, const char *what, int value,
                    const char *unit, const char *unitKey, int Limits::*limit);

  void tell(State state, const AdapterFacts &adapter, const Target &target, const std::string &name,
            const std::string &what) {
    const std::string quoted = name.empty() ? "" : " \"" + name + "\"";
    problems_.push_back({state, adapter.id, target, name,
                         plain(subjectOf(adapter.id, target) + quoted + (what[0] == ',' ? "" : " ") + what)});
  }
  void tell(State state, const AdapterFacts &adapter, const DiskFacts &disk, const std::string &what) {
    tell(state, adapter, {Kind::Disk, disk.id}, fieldText(disk.info.SerialNo), what);
  }

  const Options &options_;
  std::vector<Problem> problems_;
  std::vector<Reading> readings_;
};

std::string waits(TRX_U8 slot) { return "firmware in slot " + std::to_string(slot) + " waits for a reset"; }

void Judgement::judge(const AdapterFacts &adapter) {
  // Of equal problems the one that is nearest to somebody's data comes first.
  for (const VolumeFacts &volume : adapter.volumes) judge(adapter, volume);
  for (const DiskFacts &disk : adapter.disks) judge(adapter, disk);
  if (adapter.waitingSlot.value_or(0) != 0)
    tell(State::Warning, adapter, {Kind::Adapter, adapter.id}, "", waits(*adapter.waitingSlot));
}

// ---- disks ----

std::string warningsOf(TRX_U8 bits) {
  std::string text;
  for (size_t i = 0; i < 8; ++i) {
    if ((bits & 1u << i) == 0) continue;
    text += text.empty() ? "" : ", ";
    text += i < std::size(kCriticalWarnings) ? kCriticalWarnings[i] : "bit " + std::to_string(i);
  }
  return text;
}

void Judgement::judgeReading(const AdapterFacts &adapter, const DiskFacts &disk, const char *what, int value,
                             const char *unit, const char *unitKey, int Limits::*limit) {
  const int warning = options_.warning.value.*limit, critical = options_.critical.value.*limit;
  readings_.push_back(
      {adapter.device + "_pd" + idText(disk.id) + "_" + what, value, unit, unitKey, warning, critical});
  if (value <= std::min(warning, critical)) return;
  const bool worst = value > critical;
  const std::string shown = unit[0] == '%' ? "%" : " C";
  tell(worst ? State::Critical : State::Warning, adapter, disk,
       std::string(what) + " " + std::to_string(value) + shown + ", above " +
           std::to_string(worst ? critical : warning) + shown);
}

void Judgement::judgeWear(const AdapterFacts &adapter, const DiskFacts &disk) {
  const SmartLog &log = *disk.smart;
  const bool spareLow = log.availableSpare < log.availableSpareThreshold;
  if (spareLow) {
    tell(State::Critical, adapter, disk,
         "spare " + std::to_string(log.availableSpare) + "%, below its threshold of " +
             std::to_string(log.availableSpareThreshold) + "%");
  }
  // The bit for the spare says the same once more.
  const auto warnings = static_cast<TRX_U8>(log.criticalWarning & (spareLow ? 0xFE : 0xFF));
  if (warnings != 0) tell(State::Critical, adapter, disk, "SMART critical warning: " + warningsOf(warnings));
  if (auto celsius = log.temperatureCelsius())
    judgeReading(adapter, disk, "temperature", *celsius, "", "celsius", &Limits::temperature);
  judgeReading(adapter, disk, "wear", log.percentageUsed, "%", "percent", &Limits::wear);
  if (const std::string errors = digitsOf({log.mediaErrors}); errors != "0")
    tell(State::Warning, adapter, disk, errors + (errors == "1" ? " media error" : " media errors"));
}

void Judgement::judge(const AdapterFacts &adapter, const DiskFacts &disk) {
  if (disk.failed()) return tell(State::Critical, adapter, disk, "failed; replace it");
  if (disk.smart) judgeWear(adapter, disk);
  if (disk.waitingSlot.value_or(0) != 0) tell(State::Warning, adapter, disk, ", " + waits(*disk.waitingSlot));
  // Behind a RAID controller the volume says it.
  if (!isRaidMode(*adapter.info) && (disk.info.Status & TRX_PD_STATUS_IMPORTABLE))
    tell(State::Warning, adapter, disk, "importable");
}

// ---- volumes ----

/// Whether a disk can take the place of a missing member: it belongs to none, and is as large as the smallest
/// of the others, which is what the firmware demands.
bool canReplace(const AdapterFacts &adapter, const VolumeFacts &volume, const DiskFacts &spare) {
  if (spare.info.Status & (TRX_PD_STATUS_ASSIGNED | TRX_PD_STATUS_IMPORTABLE | TRX_PD_STATUS_FAIL))
    return false;
  if (!spare.smart || spare.smart->criticalWarning != 0) return false;
  uint64_t smallest = UINT64_MAX;
  for (const DiskFacts &disk : adapter.disks) {
    const uint64_t sectors = disk.info.LBA.value;  // a copy: the record is packed
    if (std::ranges::count(volume.members(), disk.id) != 0) smallest = std::min(smallest, sectors);
  }
  return spare.info.SectorSize == volume.info.SectorSize && spare.info.LBA.value >= smallest;
}

/// What helps a degraded volume.
std::string spareFor(const AdapterFacts &adapter, const VolumeFacts &volume) {
  const DiskFacts *best = nullptr;
  for (const DiskFacts &disk : adapter.disks) {
    if (canReplace(adapter, volume, disk) && (!best || disk.info.LBA.value < best->info.LBA.value))
      best = &disk;
  }
  if (best) return "; PD " + idText(best->id) + " is free and large enough";
  return adapter.unread == 0 ? "; no free PD is large enough" : "";
}

std::string helpFor(const AdapterFacts &adapter, const VolumeFacts &volume) {
  switch (volume.info.Status) {
    case TRX_VD_STATUS_DEGRADE:
      return volume.missing() == 0 ? "" : spareFor(adapter, volume);
    case TRX_VD_STATUS_OFFLINE:
    case TRX_VD_STATUS_MISSING:
      return volume.missing() == 0 ? "" : "; put them back";
    case TRX_VD_STATUS_IMPORTABLE:
      return "; import -i " + idText(volume.id) + " takes it over";
    default:
      return "";
  }
}

std::string progressOf(const VolumeFacts &volume) {
  if (!volume.activity || volume.activity->BgaType != TRX_NVME_BGA_TYPE_VD_REBUILD) return "";
  const std::string percent = std::to_string(volume.activity->Percentage) + "%";
  return volume.activity->BgaStatus == TRX_NVME_BGA_STATUS_PAUSE ? ", paused at " + percent
                                                                 : ", " + percent + " done";
}

void Judgement::judge(const AdapterFacts &adapter, const VolumeFacts &volume) {
  const TRX_U8 status = volume.info.Status;
  const bool known = status < std::size(kVolumeStates);
  const State state = known ? kVolumeStates[status].state : State::Unknown;
  if (state == State::Ok) return;
  std::string text = known ? kVolumeStates[status].text : "in a state of number " + std::to_string(status);
  if (status == TRX_VD_STATUS_REBUILDING) text += progressOf(volume);
  if (const size_t missing = volume.missing(); missing != 0) {
    text += ", " + std::to_string(missing) + " of " + std::to_string(volume.members().size()) +
            (volume.members().size() == 1 ? " member missing" : " members missing");
  }
  tell(state, adapter, {Kind::Volume, volume.id}, fieldText(volume.info.Name),
       text + helpFor(adapter, volume));
}

// ---- answer ----

std::string counted(size_t count, const char *what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

std::string textFor(const Facts &facts, const std::vector<Problem> &problems) {
  if (!problems.empty()) {
    const size_t more = problems.size() - 1;
    return problems[0].text + (more == 0 ? "" : " (and " + std::to_string(more) + " more)");
  }
  if (facts.adapters.empty())
    return gSysDenied ? "NVMe Controller is found, but need administrator permission"
                      : "No NVMe Controller is found";
  size_t disks = 0, volumes = 0;
  for (const AdapterFacts &adapter : facts.adapters) {
    disks += adapter.disks.size();
    volumes += adapter.volumes.size();
  }
  return counted(facts.adapters.size(), "NVMe Controller") + ", " + counted(disks, "PD") + ", " +
         counted(volumes, "VD");
}

/// 'label'=value[UOM];warn;crit. A label is quoted when it has to be, and has no "=".
std::string performanceOf(const Reading &reading) {
  std::string label = plain(reading.label);
  std::ranges::replace(label, '=', '_');
  if (label.find_first_of(" '") != std::string::npos) {
    std::ranges::replace(label, '\'', '_');
    label = "'" + label + "'";
  }
  return label + "=" + std::to_string(reading.value) + reading.unit + ";" + std::to_string(reading.warning) +
         ";" + std::to_string(reading.critical);
}

void printHealth(State state, const std::string &text, const Judgement &judgement) {
  std::string line = std::string(wordOf(state)) + ": " + text;
  const char *separator = " | ";
  for (const Reading &reading : judgement.readings()) {
    line += separator + performanceOf(reading);
    separator = " ";
  }
  heading("%s\n", line.c_str());
  for (const Problem &problem : judgement.problems())
    heading("%s: %s\n", wordOf(problem.state), problem.text.c_str());
}

void putState(Object &object, State state) {
  object.put("state", std::string(kKeys[static_cast<size_t>(state)]));
  object.put("state_code", static_cast<int64_t>(state));
}

void putProblem(Object entry, const Problem &problem) {
  constexpr const char *kObjects[] = {"adapter", "physical_disk", "virtual_disk", "namespace"};
  const int id = static_cast<int>(problem.target.id);
  putState(entry, problem.state);
  entry.put("text", problem.text);
  const bool lost = problem.adapter == kLostAdapter;
  entry.put("adapter", int64_t{userCounting(problem.adapter)}, !lost);
  entry.put("device", std::string(TRX_Adapter_GetDevicePath(problem.adapter)), !lost);
  entry.put("object", std::string(kObjects[static_cast<size_t>(problem.target.kind)]));
  entry.put("id", int64_t{userCounting(id)}, !lost);
  const auto *name = reinterpret_cast<const uint8_t *>(problem.name.data());
  entry.put("name", problem.name.empty() ? Value() : Value(DeviceField{{name, problem.name.size()}}));
  entry.put("error", problem.failure);
}

void putHealth(State state, const std::string &text, const Judgement &judgement) {
  if (!gathersFacts()) return;
  Object health = data().object("health");
  putState(health, state);
  health.put("text", text);
  health.array("problems");
  for (const Problem &problem : judgement.problems()) putProblem(health.append("problems"), problem);
  health.array("performance");
  for (const Reading &reading : judgement.readings()) {
    Object entry = health.append("performance");
    entry.put("label", reading.label);
    entry.put("value", int64_t{reading.value});
    entry.put("unit", std::string(reading.unitKey));
    entry.put("warning", int64_t{reading.warning});
    entry.put("critical", int64_t{reading.critical});
  }
}

State stateOf(const Options &options) {
  const Facts facts = readFacts(Namespaces::Unread);
  const Judgement judgement(facts, options);
  const auto &problems = judgement.problems();
  const State state = !problems.empty()        ? problems[0].state
                      : facts.adapters.empty() ? State::Unknown
                                               : State::Ok;
  const std::string text = textFor(facts, problems);
  printHealth(state, text, judgement);
  putHealth(state, text, judgement);
  return state;
}

State answerHealth(int argc, char **argv, const Command_Info *row) {
  Options options;
  const Parsed end = parseOptions(argc, argv, row, kOptions, options);
  if (end == Parsed::Help) return State::Ok;
  if (end == Parsed::OptionError) return State::Unknown;
  if (end == Parsed::ParserError || optind < argc || anyRepeated(options.warning, options.critical)) {
    complain("UNKNOWN: the words after health will not do, see health -h\n");
    return State::Unknown;
  }
  return stateOf(options);
}

}  // namespace

constexpr OptionList health_options = optionList<kOptions>();

int32_t doHealth(int argc, char **argv, const Command_Info *row) {
  const State state = answerHealth(argc, argv, row);
  tellState(state);
  return static_cast<int32_t>(state);
}

}  // namespace trx
