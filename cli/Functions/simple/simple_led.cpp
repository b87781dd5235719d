// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/request.h"

namespace trx {

const char led_help[] = R"(
led -o <ep|rc> -i <ep id | rc id> -a <on|off|sb|qb >  [-h]

Options:
    -o, --object <ep|rc>
        ep - End point
        rc - Root complex
    -i, --id <ep id | rc id>
        ID of the end point or root complex.
    -a, --action <on|off|sb|qb>
        on  - LED on
        off - LED off
        sb  - Slow blink
        qb  - Quick blink
    -h, --help

Examples:
    led -o ep -i 0 -a on
    Switch the LED of end point 0 on.

    led -o rc -i 2 -a qb
    Let the LED of root complex 2 blink quickly.

Notice: This command is using for LED control testing.

)";

namespace {

enum class Object : TRX_U8 { EndPoint = 0, RootComplex = 1 };
enum class Action : TRX_U8 { Off = 0, On = 1, SlowBlink = 2, QuickBlink = 3 };

constexpr Word<Object> kObjects[] = {{"ep", Object::EndPoint}, {"rc", Object::RootComplex}};
constexpr Word<Action> kActions[] = {
    {"on", Action::On}, {"off", Action::Off}, {"sb", Action::SlowBlink}, {"qb", Action::QuickBlink}};

struct Options {
  Counted<Object> object;
  Counted<TRX_U16> id;
  Counted<Action> action;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       // "-m" stays: scripts know the line.
       return choose(o.object, text, kObjects) || complain("-m : invalid object '%s'.\n", text); }},
    {"id", 'i', Argument::Required, [](Options &o, const char *text) {
       return o.id.take(zeroBasedId16(text)) || complain("-i : invalid id '%s'\n", text); }},
    {"action", 'a', oneOf<kActions>(), [](Options &o, const char *text) {
       return choose(o.action, text, kActions) || complain("-a : invalid action '%s'.\n", text); }},
};
// clang-format on

ControllerRequest ledRequest(Object object, TRX_U16 id, Action action) {
  auto group = static_cast<TRX_U8>(object == Object::EndPoint ? 0xE0 : 0xE1);
  return ControllerRequest::function(group, 7).set(14, id | static_cast<TRX_U32>(action) << 16);
}

}  // namespace

constexpr OptionList led_options = optionList<kOptions>();

int32_t doSLed(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  if (anyRepeated(o.object, o.id, o.action)) return complainDuplicate();
  if (!o.object.given()) return complainRequired(argv[0], 'o', 0);
  if (!o.id.given()) return complainRequired(argv[0], 'i', 0);
  if (!o.action.given()) return complainRequired(argv[0], 'a', 0);

  return sendAndTell(ledRequest(o.object.value, o.id.value, o.action.value),
                     {"LED control success\n", "LED control failed.\n"});
}

}  // namespace trx
