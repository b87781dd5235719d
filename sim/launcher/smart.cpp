// SPDX-License-Identifier: GPL-3.0-or-later
// Sets what a disk of a running host counts of its life.
#include <charconv>
#include <type_traits>

#include "launcher/hands.h"
#include "model/smart.h"

namespace sim {
namespace {

/// Nobody lives to see a counter pass its end, however long the host runs on.
constexpr int64_t kMostCounted = INT64_MAX / 2;
constexpr int64_t kWord = UINT32_MAX;
constexpr int64_t kZeroCelsius = 273;

template <auto Field>
void put(SmartBase &smart, int64_t value) {
  smart.*Field = static_cast<std::remove_reference_t<decltype(smart.*Field)>>(value);
}

struct Key {
  std::string_view word;
  int64_t least, most;
  void (*set)(SmartBase &, int64_t);
};

// clang-format off
constexpr Key kKeys[] = {
    {"critical_warning",                                  0, UINT8_MAX, put<&SmartBase::criticalWarning>},
    {"temperature",  -kZeroCelsius, UINT16_MAX - kZeroCelsius,
     [](SmartBase &smart, int64_t celsius) { put<&SmartBase::temperatureKelvin>(smart, celsius + kZeroCelsius); }},
    {"available_spare",                                   0, 100,          put<&SmartBase::availableSpare>},
    {"available_spare_threshold",                         0, 100,          put<&SmartBase::spareThreshold>},
    {"percentage_used",                                   0, UINT8_MAX,    put<&SmartBase::percentageUsed>},
    {"data_units_read",                                   0, kMostCounted, put<&SmartBase::dataUnitsRead>},
    {"data_units_written",                                0, kMostCounted, put<&SmartBase::dataUnitsWritten>},
    {"host_read_commands",                                0, kMostCounted, put<&SmartBase::hostReads>},
    {"host_write_commands",                               0, kMostCounted, put<&SmartBase::hostWrites>},
    {"controller_busy_time",                              0, kMostCounted, put<&SmartBase::busyMinutes>},
    {"power_cycles",                                      0, kMostCounted, put<&SmartBase::powerCycles>},
    {"power_on_hours",                                    0, kMostCounted, put<&SmartBase::powerOnHours>},
    {"unsafe_shutdowns",                                  0, kMostCounted, put<&SmartBase::unsafeShutdowns>},
    {"media_errors",                                      0, kMostCounted, put<&SmartBase::mediaErrors>},
    {"num_err_log_entries",                               0, kMostCounted, put<&SmartBase::errorLogEntries>},
    {"warning_composite_temperature_time",                0, kWord,        put<&SmartBase::warningMinutes>},
    {"critical_composite_temperature_time",               0, kWord,        put<&SmartBase::criticalMinutes>},
    {"thermal_management_temperature_1_transition_count", 0, kWord,        put<&SmartBase::throttled1>},
    {"thermal_management_temperature_2_transition_count", 0, kWord,        put<&SmartBase::throttled2>},
    {"total_time_for_thermal_management_temperature_1",   0, kWord,        put<&SmartBase::throttledSeconds1>},
    {"total_time_for_thermal_management_temperature_2",   0, kWord,        put<&SmartBase::throttledSeconds2>},
};
// clang-format on

struct Setting {
  const Key *key;
  int64_t value;
};

Setting settingFrom(const std::string &word) {
  const std::string name = word.substr(0, word.find('='));
  const std::string text = word.substr(name.size() + 1);
  for (const Key &key : kKeys) {
    if (key.word != name) continue;
    int64_t value = 0;
    auto [end, wrong] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (wrong == std::errc() && end == text.data() + text.size() && value >= key.least && value <= key.most)
      return {&key, value};
    throw UsageError("smart: '" + word + "' is no number from " + std::to_string(key.least) + " to " +
                     std::to_string(key.most));
  }
  throw UsageError("smart: '" + name + "' is not known");
}

}  // namespace

std::string smartHelp() {
  std::string help;
  for (const Key &key : kKeys) help += "  " + std::string(key.word) + "\n";
  return help;
}

int smartVerb(const Arguments &arguments) {
  Words words;
  std::vector<Setting> settings;
  for (const std::string &word : arguments.words)
    if (word.find('=') == std::string::npos)
      words.push_back(word);
    else
      settings.push_back(settingFrom(word));
  if (settings.empty()) throw UsageError("smart: say which disk, KEY=VALUE..., and perhaps which adapter");
  return handleDisk(arguments, "smart", words, absent, [&settings](Session &session, Disk &disk) {
    disk.smart = grown(disk.smart, session.now());
    for (const Setting &setting : settings) setting.key->set(disk.smart, setting.value);
  });
}

}  // namespace sim
