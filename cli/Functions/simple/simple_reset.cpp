// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/request.h"

namespace trx {

const char reset_help[] = R"(
reset -i <id> -t <device | perstn | power -a <cycle|on|off> > [-h]

Options:
    -i, --pdid <id>
        Power pin ID for type power, PD ID for the other types.
    -t, --type <device|perstn|power>
        device - Disable and enable the device
        perstn - Drive the PCIe reset line of the device
        power  - Switch a power pin, needs -a
    -a, --action <cycle|on|off>
        Not for type device.
        cycle - off and on again, default of perstn
        on    - on
        off   - off
    -h, --help

Examples:
    reset -i 0 -t device
    Disable and enable PD 0.

    reset -i 0 -t perstn
    Cycle the PCIe reset line of PD 0.

    reset -i 1 -t power -a off
    Switch power pin 1 off.

)";

namespace {

/// The codes of the request; a device is reset by sending none.
enum class Type : TRX_U8 { Device = 0, Power = 1, Perstn = 2 };
enum class Action : TRX_U8 { Cycle = 0, On = 1, Off = 2 };

constexpr Word<Type> kTypes[] = {{"device", Type::Device}, {"perstn", Type::Perstn}, {"power", Type::Power}};
constexpr Word<Action> kActions[] = {{"cycle", Action::Cycle}, {"on", Action::On}, {"off", Action::Off}};
constexpr TRX_U16 kPowerPins = 2;

struct Options {
  Counted<TRX_U16> id;
  Counted<Type> type;
  Counted<Action> action;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"pdid", 'i', idOf(Objects::Disks), [](Options &o, const char *text) {
       return o.id.take(zeroBasedId16(text)) || complain("-i : invalid device id '%s'\n", text); }},
    {"type", 't', oneOf<kTypes>(), [](Options &o, const char *text) {
       return choose(o.type, text, kTypes) || complain("-t : invalid type '%s'.\n", text); }},
    {"action", 'a', oneOf<kActions>(Argument::OptionalWhenLong), [](Options &o, const char *text) {
       return choose(o.action, text, kActions) || complain("-a : invalid action '%s'.\n", text); }},
};
// clang-format on

ControllerRequest resetRequest(TRX_U16 id, Type type, Action action) {
  TRX_U32 value = id;
  if (type != Type::Device) value |= static_cast<TRX_U32>(type) << 16 | static_cast<TRX_U32>(action) << 24;
  return ControllerRequest::function(0xE1, 8).set(14, value);
}

}  // namespace

constexpr OptionList reset_options = optionList<kOptions>();

int32_t doSReset(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  if (anyRepeated(o.id, o.type, o.action)) return complainDuplicate();
  bool power = o.type.given() && o.type.value == Type::Power;
  bool device = o.type.given() && o.type.value == Type::Device;
  if (power && !o.action.given()) return complainRequired(argv[0], 'a', 0);
  // Without -t the device is reset as well, and -a is not refused. This is meant.
  if (device && o.action.given()) {
    complain("Option action is not allow.\n");
    return 0;
  }
  if (power && o.id.value >= kPowerPins) {
    complain("Power Pin ID only support %d or %d\n", userCounting(0), userCounting(1));
    return 1;
  }
  return sendAndTell(resetRequest(o.id.value, o.type.value, o.action.value),
                     {"Reset success\n", "Reset failed.\n"});
}

}  // namespace trx
