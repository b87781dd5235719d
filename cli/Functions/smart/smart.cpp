// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/smart/smart.h"

#include <cstdio>
#include <cstring>

#include "Functions/handlers.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/request.h"

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

/// What stands at an offset of the log, and how it is shown.
enum class Field { Hex, Celsius, Percent, DataUnits, Count, Signed };

struct LogLine {
  size_t offset;
  Field kind;
  const char *label;
};

// clang-format off
constexpr LogLine kLogLines[] = {
    {  0, Field::Hex,      "Critical Warning                                      : "},
    {  1, Field::Celsius,  "Composite Temperature                                 : "},
    {  3, Field::Percent,  "Available Spare                                       : "},
    {  4, Field::Percent,  "Available Spare Threshold                             : "},
    {  5, Field::Percent,  "Percentage Used                                       : "},
    { 32, Field::DataUnits, "Data Units Read                                       : "},
    { 48, Field::DataUnits, "Data Units Written                                    : "},
    { 64, Field::Count,    "Host Read Commands                                    : "},
    { 80, Field::Count,    "Host Write Commands                                   : "},
    { 96, Field::Count,    "Controller Busy Time                                  : "},
    {112, Field::Count,    "Power Cycles                                          : "},
    {128, Field::Count,    "Power On Hours                                        : "},
    {144, Field::Count,    "Unsafe Shutdowns                                      : "},
    {160, Field::Count,    "Media and Data Integrity Errors                       : "},
    {176, Field::Count,    "Num Err Log Entries                                   : "},
    {192, Field::Signed,   "Warning Composite Temperature Time                    : "},
    {196, Field::Signed,   "Critical Composite Temperature Time                   : "},
    {216, Field::Signed,   "Thermal Management Temperature 1 Transition Count     : "},
    {220, Field::Signed,   "Thermal Management Temperature 2 Transition Count     : "},
    {224, Field::Signed,   "Total Time For Thermal Management Temperature 1       : "},
    {228, Field::Signed,   "Total Time For Thermal Management Temperature 2       : "},
};
// clang-format on

static_assert(__LDBL_MANT_DIG__ >= 64, "counters are shown to 64 bits");

/// One of the standard's 128-bit numbers.
long double counter(const TRX_U8 *bytes) {
  long double value = 0;
  for (int i = 15; i >= 0; --i) value = value * 256 + bytes[i];
  return value;
}

template <typename Number>
Number number(const TRX_U8 *bytes) {
  Number value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

void printValue(Field kind, const TRX_U8 *at) {
  constexpr int kZeroCelsius = 273;  // kelvin
  switch (kind) {
    case Field::Hex:
      std::fprintf(stream, "0x%02x\n", *at);
      break;
    case Field::Celsius:
      std::fprintf(stream, "%d Celsius\n", number<TRX_U16>(at) - kZeroCelsius);
      break;
    case Field::Percent:
      std::fprintf(stream, "%u%%\n", *at);
      break;
    case Field::DataUnits:
      // A unit is 1000 blocks of 512 bytes.
      std::fprintf(stream, "%.0Lf (%.0Lf GB)\n", counter(at), counter(at) * 512 / 1000 / 1000);
      break;
    case Field::Count:
      std::fprintf(stream, "%.0Lf\n", counter(at));
      break;
    case Field::Signed:
      std::fprintf(stream, "%d\n", number<int32_t>(at));
      break;
  }
}

struct Options {
  Counted<int32_t> id;
  Counted<bool> hba;
};

constexpr Word<bool> kObjects[] = {{"hba", true}};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"pd_id", 'i', Argument::Required, [](Options &o, const char *text) {
       return o.id.take(zeroBasedId(text)) || complain("-i : invalid NVMe Controller id '%s'\n", text); }},
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       ++o.hba.count;
       return choose(o.hba.value, text, kObjects) || complain("-o : invalid object '%s'\n", text); }},
};
// clang-format on

ControllerRequest diskLog(TRX_U32 disk) {
  return ControllerRequest::disk(TRX_OPCODE_DISK_READ, disk)
      .set(10, kSmartLogPage)
      .set(14, TRX_NVME_GET_LOG_PAGE)
      .set(15, TRX_NVME_ALL_NAMESPACES);
}

TRX_U32 adapterLog(TRX_U8 adapter, Page &log) {
  return TRX_Adapter_Admin(adapter, TRX_NVME_GET_LOG_PAGE, TRX_NVME_ALL_NAMESPACES, &kSmartLogPage, 1,
                           nullptr, 0, log.bytes, kSmartLogBytes);
}

}  // namespace

constexpr OptionList smart_options = optionList<kOptions>();

void showLogSmartInfo(std::span<const TRX_U8, kSmartLogBytes> log) {
  std::fputs("\nNVME SMART Information :\n\n", stream);
  for (const LogLine &line : kLogLines) {
    std::fputs(line.label, stream);
    printValue(line.kind, &log[line.offset]);
  }
  std::fputc('\n', stream);
}

int32_t doSmart(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  if (anyRepeated(o.id, o.hba)) return complainDuplicate();
  if (!o.id.given()) return complainRequired(argv[0], 'i', 0);
  Page log;
  // The log of a controller is that of the current one, whatever -i says; -i is demanded all the same.
  // Both are meant.
  TRX_U32 status =
      o.hba.given() ? adapterLog(gCurrentAdapter, log)
                    : diskLog(static_cast<TRX_U32>(o.id.value)).fetch(gCurrentAdapter, log, kSmartLogBytes);
  if (status != 0) {
    std::fputs("get smart info failed.\n", stream);
    return static_cast<int32_t>(status);
  }
  showLogSmartInfo(std::span(log.bytes).first<kSmartLogBytes>());
  return 0;
}

}  // namespace trx
