// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/smart/smart.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "Functions/handlers.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"

namespace trx {

const char smart_help[] = R"(
smart -i <SSD adapter id | NVMe Controller ID <-o hba> > [-h]

Options:
    -i,  --SSD adapter id or NVMe Controller ID.
         SSD adapter id, field in PD info.
         NVMe Controller id.
    -o,  --object
         hba, it means getting SMART from adapter
    -h,  --help
Examples:
    smart -i 0
    get SSD adapter ID 0 smart info
    smart -i 0 -o hba
    get NVMe Controller ID 0 smart info

)";

namespace {

/// What a field of the log is, and how it is shown.
enum class Field { Hex, Celsius, Percent, DataUnits, Count, Number };

struct LogLine {
  size_t offset;
  Field kind;
  const char *label;
  const char *key;
};

// clang-format off
constexpr LogLine kLogLines[] = {
    {offsetof(SmartLog, criticalWarning),         Field::Hex,       "Critical Warning                                      :", "critical_warning"},
    {offsetof(SmartLog, compositeTemperature),    Field::Celsius,   "Composite Temperature                                 :", "temperature_celsius"},
    {offsetof(SmartLog, availableSpare),          Field::Percent,   "Available Spare                                       :", "available_spare_percent"},
    {offsetof(SmartLog, availableSpareThreshold), Field::Percent,   "Available Spare Threshold                             :", "available_spare_threshold_percent"},
    {offsetof(SmartLog, percentageUsed),          Field::Percent,   "Percentage Used                                       :", "used_percent"},
    {offsetof(SmartLog, dataUnitsRead),           Field::DataUnits, "Data Units Read                                       :", "data_units_read"},
    {offsetof(SmartLog, dataUnitsWritten),        Field::DataUnits, "Data Units Written                                    :", "data_units_written"},
    {offsetof(SmartLog, hostReadCommands),        Field::Count,     "Host Read Commands                                    :", "host_read_commands"},
    {offsetof(SmartLog, hostWriteCommands),       Field::Count,     "Host Write Commands                                   :", "host_write_commands"},
    {offsetof(SmartLog, controllerBusyTime),      Field::Count,     "Controller Busy Time                                  :", "controller_busy_time_minutes"},
    {offsetof(SmartLog, powerCycles),             Field::Count,     "Power Cycles                                          :", "power_cycles"},
    {offsetof(SmartLog, powerOnHours),            Field::Count,     "Power On Hours                                        :", "power_on_hours"},
    {offsetof(SmartLog, unsafeShutdowns),         Field::Count,     "Unsafe Shutdowns                                      :", "unsafe_shutdowns"},
    {offsetof(SmartLog, mediaErrors),             Field::Count,     "Media and Data Integrity Errors                       :", "media_errors"},
    {offsetof(SmartLog, errorLogEntries),         Field::Count,     "Num Err Log Entries                                   :", "error_log_entries"},
    {offsetof(SmartLog, warningTemperatureTime),  Field::Number,    "Warning Composite Temperature Time                    :", "warning_temperature_time_minutes"},
    {offsetof(SmartLog, criticalTemperatureTime), Field::Number,    "Critical Composite Temperature Time                   :", "critical_temperature_time_minutes"},
    {offsetof(SmartLog, thermalTransitions),      Field::Number,    "Thermal Management Temperature 1 Transition Count     :", "thermal_management_1_transitions"},
    {offsetof(SmartLog, thermalTransitions) + 4,  Field::Number,    "Thermal Management Temperature 2 Transition Count     :", "thermal_management_2_transitions"},
    {offsetof(SmartLog, thermalTimes),            Field::Number,    "Total Time For Thermal Management Temperature 1       :", "thermal_management_1_time_seconds"},
    {offsetof(SmartLog, thermalTimes) + 4,        Field::Number,    "Total Time For Thermal Management Temperature 2       :", "thermal_management_2_time_seconds"},
};
// clang-format on

constexpr int kLabelWidth = 55;

static_assert(__LDBL_MANT_DIG__ >= 64, "counters are shown to 64 bits");

/// One of the standard's 128-bit numbers.
long double rounded(const Counter &counter) {
  long double value = 0;
  for (size_t i = counter.bytes.size(); i-- > 0;) value = value * 256 + counter.bytes[i];
  return value;
}

template <typename Record>
Record at(const SmartLog &log, size_t offset) {
  Record record;
  std::memcpy(&record, reinterpret_cast<const TRX_U8 *>(&log) + offset, sizeof record);
  return record;
}

[[gnu::format(printf, 1, 2)]] std::string formatted(const char *format, ...) {
  char text[128];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

std::string textOf(const LogLine &line, const SmartLog &log) {
  const auto counter = [&] { return rounded(at<Counter>(log, line.offset)); };
  switch (line.kind) {
    case Field::Hex:
      return formatted("0x%02x", at<TRX_U8>(log, line.offset));
    case Field::Celsius:
      return formatted("%d Celsius", at<TRX_U16>(log, line.offset) - 273);
    case Field::Percent:
      return formatted("%u%%", at<TRX_U8>(log, line.offset));
    case Field::DataUnits:
      return formatted("%.0Lf (%.0Lf GB)", counter(), counter() * 512 / 1000 / 1000);
    case Field::Count:
      return formatted("%.0Lf", counter());
    case Field::Number:
      break;
  }
  // Signed here, as it has always been shown.
  return formatted("%d", at<int32_t>(log, line.offset));
}

Value factOf(const LogLine &line, const SmartLog &log) {
  switch (line.kind) {
    case Field::Hex:
    case Field::Percent:
      return int64_t{at<TRX_U8>(log, line.offset)};
    case Field::Celsius: {
      const std::optional<int> celsius = log.temperatureCelsius();
      return celsius ? Value(int64_t{*celsius}) : Value();
    }
    case Field::DataUnits:
    case Field::Count:
      return at<Counter>(log, line.offset);
    case Field::Number:
      break;
  }
  return int64_t{at<TRX_U32>(log, line.offset)};
}

void show(const SmartLog &log) {
  heading("\nNVME SMART Information :\n\n");
  Listing listing(kLabelWidth, data().object("smart"));
  for (const LogLine &line : kLogLines) {
    listing.text(line.label, textOf(line, log));
    listing.fact(line.key, factOf(line, log));
    if (line.kind == Field::DataUnits)
      listing.fact((std::string(line.key) + "_bytes").c_str(),
                   Multiple{at<Counter>(log, line.offset), kDataUnitBytes});
  }
  listing.blankLine();
}

struct Options {
  Counted<int32_t> id;
  Counted<bool> hba;
};

constexpr Word<bool> kObjects[] = {{"hba", true}};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"pd_id", 'i', idOf(Objects::Disks, 'o'), [](Options &o, const char *text) {
       return o.id.take(zeroBasedId(text)) || complain("-i : invalid NVMe Controller id '%s'\n", text); }},
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       ++o.hba.count;
       return choose(o.hba.value, text, kObjects) || complain("-o : invalid object '%s'\n", text); }},
};
// clang-format on

}  // namespace

constexpr OptionList smart_options = optionList<kOptions>();

void showLogSmartInfo(std::span<const TRX_U8, kSmartLogBytes> log) {
  SmartLog record;
  std::memcpy(&record, log.data(), sizeof record);
  show(record);
}

int32_t doSmart(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  if (anyRepeated(o.id, o.hba)) return complainDuplicate();
  if (!o.id.given()) return complainRequired(argv[0], 'i', 0);
  SmartLog log{};
  // The log of a controller is that of the current one, whatever -i says; -i is demanded all the same.
  // Both are meant.
  TRX_U32 status = o.hba.given() ? readAdapterSmartLog(gCurrentAdapter, log)
                                 : readDiskSmartLog(gCurrentAdapter, static_cast<TRX_U32>(o.id.value), log);
  if (status != 0) {
    tellFailed("get smart info failed.\n");
    return static_cast<int32_t>(status);
  }
  show(log);
  return 0;
}

}  // namespace trx
