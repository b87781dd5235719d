// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char gpio_help[] = R"(
gpio [--func-switch <bits>] [--level <bits>] [--value <bits>] [--set-default <yes|no>] [-h]

Options:
    --func-switch <bits>
        Pins that are used as GPIO, a bit for each, bit 4 to 7. Default is 0x30.
    --level <bits>
        Pins that are outputs, a bit for each, bit 4 to 7. Default is 0x30.
    --value <bits>
        Pins that are driven high, a bit for each, bit 4 to 7. Default is 0x30.
    --set-default <yes|no>
        Whether the setting becomes the default. Default is no.
    -h, --help

Examples:
    gpio --func-switch=0x30 --level=0x30 --value=0x10
    Use GPIO 4 and 5 as outputs, GPIO 4 high and GPIO 5 low.

    gpio --value=0x20 --set-default=yes
    Drive GPIO 5 high and GPIO 4 low, also after the next start.

)";

namespace {

// GPIO 4 to 7 are the only pins that may be set; GPIO 4 and 5, which switch the power, are the default.
constexpr uint32_t kPins = 0xF0;
constexpr uint32_t kDefaultPins = 0x30;

struct Options {
  Counted<uint32_t> functionSwitch{kDefaultPins};
  Counted<uint32_t> level{kDefaultPins};
  Counted<uint32_t> value{kDefaultPins};
  Counted<bool> setDefault;
};

constexpr Word<bool> kYesNo[] = {{"yes", true}, {"no", false}};

bool readWord(Counted<uint32_t> &into, const char *text, const char *complaint) {
  return into.take(hexOrDecimalUpTo(UINT32_MAX, text)) || complain("%s", complaint);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"func-switch", '0', Argument::Required, [](Options &o, const char *text) {
       return readWord(o.functionSwitch, text, "--func-switch: Function switch range is not correct. \n"); }},
    {"level", '1', Argument::Required, [](Options &o, const char *text) {
       return readWord(o.level, text, "--level: Level range is not correct. \n"); }},
    {"value", '2', Argument::Required, [](Options &o, const char *text) {
       return readWord(o.value, text, "--value: Value range is not correct. \n"); }},
    {"set-default", '3', oneOf<kYesNo>(), [](Options &o, const char *text) {
       return choose(o.setDefault, text, kYesNo)
              || complain("--set-default: Set default is not correct \n"); }},
};
// clang-format on

ControllerRequest gpioRequest(const Options &o) {
  return ControllerRequest::function(0xE0, 0x11, o.setDefault.value ? 1 : 0)
      .set(13, o.functionSwitch.value)
      .set(14, o.level.value)
      .set(15, o.value.value);
}

bool onlyPins(const Options &o) {
  uint32_t functionSwitch = o.functionSwitch.value, level = o.level.value, value = o.value.value;
  if (functionSwitch & ~kPins) return complain("Func-switch value is not correct: 0x%08x\n", functionSwitch);
  if (level & ~kPins) return complain("Level value is not correct: 0x%08x\n", level);
  // "Default" stands for the value here; scripts know the line.
  if (value & ~kPins) return complain("Default value is not correct: 0x%08x\n", value);
  return true;
}

}  // namespace

constexpr OptionList gpio_options = optionList<kOptions>();

int32_t doSGPIO(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (anyRepeated(o.functionSwitch, o.level, o.value, o.setDefault)) return complainDuplicate();
  // A trace that was left behind and that scripts have learnt to skip.
  tell("result: %d\n", static_cast<int32_t>(o.functionSwitch.value & ~kPins));
  if (!onlyPins(o)) return 0;
  return sendAndTell(gpioRequest(o), {"GPIO setting success.\n", "GPIO setting failed.\n"});
}

}  // namespace trx
