// SPDX-License-Identifier: GPL-3.0-or-later
// What health looks at, in the Prometheus text format, for the textfile collector of its node exporter.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>

#include "Functions/handlers.h"
#include "Functions/monitor/facts.h"
#include "Public/getopt.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/utility.h"
#include "trx/trx_api.h"

namespace trx {

const char metrics_help[] = R"(
metrics [-h]

Options:
    -h, --help

All NVMe Controllers are asked, or the one whose adapter ID stands before the command. Where there is none,
trx_up is 0; a value that could not be read is left out, and the exit status is the outcome.

Examples:
    metrics
    Metrics in the text format that the textfile collector of Prometheus reads.

)";

namespace {

using Labels = std::vector<std::pair<const char *, std::string>>;

struct Sample {
  Labels labels;
  Value value;
};

/// What a family measures of its objects.
struct Samples {
  Labels object;  ///< of the object that is measured now
  std::vector<Sample> all;

  void add(const Value &value, const Labels &more = {}) {
    Labels labels = object;
    labels.insert(labels.end(), more.begin(), more.end());
    all.push_back({std::move(labels), value});
  }
  void addFlag(bool flag, const Labels &more = {}) { add(int64_t{flag}, more); }
  void addStates(size_t now, std::span<const char *const> words) {
    for (size_t i = 0; i < words.size(); ++i) addFlag(i == now, {{"state", words[i]}});
  }
};

template <typename Object>
struct Family {
  const char *name, *type, *help;
  void (*measure)(const Object &object, Samples &samples);
};

constexpr char kGauge[] = "gauge", kCounter[] = "counter";

Value sizeOf(uint64_t sectors, uint32_t sectorBytes) { return Multiple{counterOf(sectors), sectorBytes}; }

void waits(const std::optional<TRX_U8> &slot, Samples &samples) {
  if (slot) samples.addFlag(*slot != 0);
}

// ---- adapters ----

std::string versionText(const NVME_Version_Info &version) {
  char text[32];
  std::snprintf(text, sizeof text, "%d.%d.%d.%04d", version.MajorVersion, version.MinorVersion,
                version.OEMNumber, version.BuildNumber);
  return text;
}

void adapterInfo(const AdapterFacts &adapter, Samples &samples) {
  if (!adapter.info) return;
  samples.addFlag(true, {{"device", adapter.device},
                         {"firmware", versionText(adapter.info->FirmwareVersion)},
                         {"mode", isRaidMode(*adapter.info) ? "raid" : "jbof"}});
}

// ---- disks ----

void diskInfo(const DiskFacts &disk, Samples &samples) {
  samples.addFlag(true, {{"model", fieldText(disk.info.Model)},
                         {"serial", fieldText(disk.info.SerialNo)},
                         {"firmware", fieldText(disk.info.FWVersion)}});
}

void diskState(const DiskFacts &disk, Samples &samples) {
  constexpr const char *kStates[] = {"idle", "media patrol executing", "fail"};
  samples.addStates(disk.failed() ? 2 : disk.info.Status & TRX_PD_STATUS_MEDIA_PATROL ? 1 : 0, kStates);
}

void diskWarnings(const DiskFacts &disk, Samples &samples) {
  for (size_t i = 0; disk.smart && i < std::size(kCriticalWarnings); ++i)
    samples.addFlag((disk.smart->criticalWarning & 1u << i) != 0, {{"warning", kCriticalWarnings[i]}});
}

void diskTemperature(const DiskFacts &disk, Samples &samples) {
  if (!disk.smart) return;
  if (auto celsius = disk.smart->temperatureCelsius()) samples.add(int64_t{*celsius});
}

template <TRX_U8 SmartLog::*percent>
void diskRatio(const DiskFacts &disk, Samples &samples) {
  if (disk.smart) samples.add(Ratio{(*disk.smart).*percent});
}

template <Counter SmartLog::*count, uint32_t unit = 1>
void diskCounter(const DiskFacts &disk, Samples &samples) {
  if (disk.smart) samples.add(Multiple{(*disk.smart).*count, unit});
}

// ---- volumes ----

/// By the number of the status; the words are those of documents.
constexpr const char *kVolumeStates[] = {
    "functional", "degrade",    "deleted",        "missing",        "offline",    "partially optimal",
    "foreign",    "importable", "not importable", "initialization", "rebuilding", "error handling"};

void volumeInfo(const VolumeFacts &volume, Samples &samples) {
  samples.addFlag(true,
                  {{"name", fieldText(volume.info.Name)}, {"raid_mode", RaidModeStr(volume.info.RaidMode)}});
}

const char *activityWord(TRX_U8 type) {
  constexpr const char *kWords[] = {"none",          "initializing", "initializing", "rebuilding",
                                    "synchronizing", "migrating",    "media patrol", "media patrol"};
  return type < std::size(kWords) ? kWords[type] : "unknown";
}

void volumeProgress(const VolumeFacts &volume, Samples &samples) {
  if (!volume.activity) return;
  const bool running = volume.activity->BgaStatus == TRX_NVME_BGA_STATUS_RUNNING;
  if (!running && volume.activity->BgaStatus != TRX_NVME_BGA_STATUS_PAUSE) return;
  samples.add(Ratio{volume.activity->Percentage},
              {{"kind", activityWord(volume.activity->BgaType)}, {"state", running ? "running" : "pause"}});
}

// ---- the families ----

// clang-format off
constexpr Family<Facts> kHost[] = {
    {"trx_up", kGauge, "Whether an NVMe Controller answers.", [](const Facts &f, Samples &s) {
       s.addFlag(std::ranges::any_of(f.adapters, [](const AdapterFacts &each) { return each.info.has_value(); })); }},
    {"trx_build_info", kGauge, "The program that made this page.", [](const Facts &, Samples &s) {
       s.addFlag(true, {{"version", CLI_VERSION}, {"api_version", TRX_Get_Version()}}); }},
};

constexpr Family<AdapterFacts> kAdapters[] = {
    {"trx_adapter_up", kGauge, "Whether the NVMe Controller answers.", [](const AdapterFacts &a, Samples &s) { s.addFlag(a.info.has_value()); }},
    {"trx_adapter_info", kGauge, "The NVMe Controller.", adapterInfo},
    {"trx_adapter_unread_objects", kGauge, "Objects and logs behind it that could not be read.", [](const AdapterFacts &a, Samples &s) { s.add(uint64_t{a.unread}); }},
    {"trx_adapter_firmware_pending", kGauge, "Whether firmware waits for a reset.", [](const AdapterFacts &a, Samples &s) { waits(a.waitingSlot, s); }},
};

constexpr Family<DiskFacts> kDisks[] = {
    {"trx_disk_info", kGauge, "The physical disk.", diskInfo},
    {"trx_disk_size_bytes", kGauge, "Capacity.", [](const DiskFacts &d, Samples &s) { s.add(sizeOf(d.info.LBA.value, d.info.SectorSize)); }},
    {"trx_disk_state", kGauge, "1 for the state that it is in.", diskState},
    {"trx_disk_assigned", kGauge, "Whether a virtual disk has it.", [](const DiskFacts &d, Samples &s) { s.addFlag((d.info.Status & TRX_PD_STATUS_ASSIGNED) != 0); }},
    {"trx_disk_firmware_pending", kGauge, "Whether firmware waits for a reset.", [](const DiskFacts &d, Samples &s) { waits(d.waitingSlot, s); }},
    {"trx_disk_critical_warning", kGauge, "1 for each critical warning of its SMART log.", diskWarnings},
    {"trx_disk_temperature_celsius", kGauge, "Composite temperature.", diskTemperature},
    {"trx_disk_spare_ratio", kGauge, "Spare that is left.", diskRatio<&SmartLog::availableSpare>},
    {"trx_disk_spare_threshold_ratio", kGauge, "Spare below which it is critical.", diskRatio<&SmartLog::availableSpareThreshold>},
    {"trx_disk_wear_ratio", kGauge, "Used part of the life that its maker expects; may exceed 1.", diskRatio<&SmartLog::percentageUsed>},
    {"trx_disk_read_bytes_total", kCounter, "Data read by the host.", diskCounter<&SmartLog::dataUnitsRead, 512000>},
    {"trx_disk_written_bytes_total", kCounter, "Data written by the host.", diskCounter<&SmartLog::dataUnitsWritten, 512000>},
    {"trx_disk_power_on_seconds_total", kCounter, "Time that it was powered on.", diskCounter<&SmartLog::powerOnHours, 3600>},
    {"trx_disk_power_cycles_total", kCounter, "Power cycles.", diskCounter<&SmartLog::powerCycles>},
    {"trx_disk_unsafe_shutdowns_total", kCounter, "Shutdowns without notice.", diskCounter<&SmartLog::unsafeShutdowns>},
    {"trx_disk_media_errors_total", kCounter, "Media and data integrity errors.", diskCounter<&SmartLog::mediaErrors>},
    {"trx_disk_error_log_entries_total", kCounter, "Entries that its error log ever had.", diskCounter<&SmartLog::errorLogEntries>},
};

constexpr Family<VolumeFacts> kVolumes[] = {
    {"trx_volume_info", kGauge, "The virtual disk.", volumeInfo},
    {"trx_volume_size_bytes", kGauge, "Capacity.", [](const VolumeFacts &v, Samples &s) { s.add(sizeOf(v.info.LBA.value, v.info.SectorSize)); }},
    {"trx_volume_state", kGauge, "1 for the state that it is in.", [](const VolumeFacts &v, Samples &s) { s.addStates(v.info.Status, kVolumeStates); }},
    {"trx_volume_importable", kGauge, "Whether it can be imported.", [](const VolumeFacts &v, Samples &s) { s.addFlag(v.info.Importable == 1); }},
    {"trx_volume_members", kGauge, "Members, missing ones too.", [](const VolumeFacts &v, Samples &s) { s.add(uint64_t{v.members().size()}); }},
    {"trx_volume_missing_members", kGauge, "Members that are missing.", [](const VolumeFacts &v, Samples &s) { s.add(uint64_t{v.missing()}); }},
    {"trx_volume_activity_progress_ratio", kGauge, "Done part of the activity that runs or pauses.", volumeProgress},
};

constexpr Family<NVME_NS_Info> kNamespaces[] = {
    {"trx_namespace_size_bytes", kGauge, "Capacity.", [](const NVME_NS_Info &n, Samples &s) { s.add(sizeOf(n.LBA.value, n.SectorSize)); }},
    {"trx_namespace_active", kGauge, "Whether it is active.", [](const NVME_NS_Info &n, Samples &s) { s.addFlag((n.Status & TRX_NS_STATUS_ACTIVE) != 0); }},
};
// clang-format on

// ---- the page ----

/// Text of a device in UTF-8, as the format escapes it.
std::string escaped(const std::string &text) {
  std::string shown;
  for (char c : text) {
    if (c == '\n') {
      shown += "\\n";
    } else if (c < 0x20 || c > 0x7E) {
      shown += "\xEF\xBF\xBD";  // U+FFFD
    } else {
      if (c == '\\' || c == '"') shown += '\\';
      shown += c;
    }
  }
  return shown;
}

struct NumberText {
  std::string operator()(int64_t number) const { return std::to_string(number); }
  std::string operator()(uint64_t number) const { return std::to_string(number); }
  std::string operator()(const Multiple &multiple) const { return digitsOf(multiple); }
  std::string operator()(Ratio ratio) const {
    char text[32];
    std::snprintf(text, sizeof text, "%g", ratio.hundredths / 100.0);
    return text;
  }
  template <typename Other>
  std::string operator()(const Other &) const {
    return "NaN";
  }
};

void printSample(const char *name, const Sample &sample) {
  std::string labels;
  for (const auto &[key, value] : sample.labels) {
    labels += labels.empty() ? "{" : ",";
    labels += std::string(key) + "=\"" + escaped(value) + "\"";
  }
  if (!labels.empty()) labels += "}";
  heading("%s%s %s\n", name, labels.c_str(), std::visit(NumberText{}, sample.value).c_str());
}

void putSample(const char *name, const Sample &sample) {
  Object metric = data().append("metrics");
  metric.put("name", std::string(name));
  Object labels = metric.object("labels");
  for (const auto &[key, value] : sample.labels)
    labels.put(key, DeviceField{{reinterpret_cast<const uint8_t *>(value.data()), value.size()}});
  metric.put("value", sample.value);
}

template <typename Object>
using Measure = std::function<void(const Labels &labels, const Object &object)>;

void forEach(const Facts &facts, const Measure<Facts> &measure) { measure({}, facts); }

void forEach(const Facts &facts, const Measure<AdapterFacts> &measure) {
  for (const AdapterFacts &adapter : facts.adapters)
    measure({{"adapter", std::to_string(userCounting(adapter.id))}}, adapter);
}

/// The objects behind the adapters. @param idOf its id as users know it
template <typename Object, typename IdOf>
void forEachBehind(const Facts &facts, std::vector<Object> AdapterFacts::*objects, const char *label,
                   IdOf idOf, const Measure<Object> &measure) {
  forEach(facts, Measure<AdapterFacts>([&](const Labels &adapter, const AdapterFacts &each) {
            for (const Object &object : each.*objects) {
              Labels labels = adapter;
              labels.emplace_back(label, std::to_string(idOf(object)));
              measure(labels, object);
            }
          }));
}

void forEach(const Facts &facts, const Measure<DiskFacts> &measure) {
  forEachBehind(
      facts, &AdapterFacts::disks, "disk", [](auto &each) { return userCounting(each.id); }, measure);
}

void forEach(const Facts &facts, const Measure<VolumeFacts> &measure) {
  forEachBehind(
      facts, &AdapterFacts::volumes, "volume", [](auto &each) { return userCounting(each.id); }, measure);
}

void forEach(const Facts &facts, const Measure<NVME_NS_Info> &measure) {
  forEachBehind(
      facts, &AdapterFacts::namespaces, "namespace", [](auto &each) { return each.NSID; }, measure);
}

template <typename Object, size_t N>
void show(const Facts &facts, const Family<Object> (&families)[N]) {
  for (const Family<Object> &family : families) {
    Samples samples;
    forEach(facts, Measure<Object>([&](const Labels &labels, const Object &object) {
              samples.object = labels;
              family.measure(object, samples);
            }));
    if (samples.all.empty()) continue;
    heading("# HELP %s %s\n# TYPE %s %s\n", family.name, family.help, family.name, family.type);
    for (const Sample &sample : samples.all)
      gathersFacts() ? putSample(family.name, sample) : printSample(family.name, sample);
  }
}

}  // namespace

constexpr OptionList metrics_options = {0, nullptr};

int32_t doMetrics(int argc, char **argv, const Command_Info *row) {
  const Parsed end = parseNoOptions(argc, argv, row, HelpOption::Declared);
  if (end == Parsed::Help) return 0;
  if (end != Parsed::Complete || optind < argc) {
    complain("metrics takes no words, see metrics -h\n");
    return static_cast<int32_t>(outcomeNow());
  }
  const Facts facts = readFacts(Namespaces::Read);
  for (const Unread &unread : facts.unread) std::fprintf(stderr, "%s\n", describe(unread).c_str());
  show(facts, kHost);
  show(facts, kAdapters);
  show(facts, kDisks);
  show(facts, kVolumes);
  show(facts, kNamespaces);
  // A collector wants its page also where there is no controller.
  return facts.adapters.empty() ? 0 : static_cast<int32_t>(outcomeNow());
}

}  // namespace trx
