// SPDX-License-Identifier: GPL-3.0-or-later
// Manufacturing switches: kxf, protect and sriov. A change takes effect when the host is shut down
// and started again.
#include "Functions/handlers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char kxf_help[] = R"(
kxf <-a on|off > [-h]

Options:
    -a, --action <on|off>
        on, enable manufacture flash tool
        off, disable manufacture flash tool
    -h, --help

Examples:
    kxf -a on
    Enable manufacture flash tool.

    kxf -a off
    Disable manufacture flash tool.

)";

const char protect_help[] = R"(
protect <-a on|off > [-h]

Options:
    -a, --action <on|off>
        on, enable protection area
        off, disable protection area
    -h, --help

Examples:
    protect -a on
    Enable protection area.

    protect -a off
    Disable protection area.

)";

const char sriov_help[] = R"(
sriov <-a on|off > [-h]

Options:
    -a, --action <on|off>
        on, enable SRIOV feature
        off, disable SRIOV feature
    -h, --help

Examples:
    sriov -a on
    Enable SRIOV feature.

    sriov -a off
    Disable SRIOV feature.

)";

namespace {

struct Switch {
  TRX_U8 subFunction;
  OutcomeLines lines;
};

// clang-format off
constexpr Switch kFlashTool = {0x0D, {
    "KXF %s success. Please shutdown and boot your system to make function work as normal.\n",
    "KXF %s failed.\n"}};
constexpr Switch kProtection = {0x15, {
    "Protect %s success. Please shutdown and boot your system to make function work as normal.\n",
    "Protect %s failed.\n"}};
constexpr Switch kVirtualisation = {0x0E, {
    "SRIOV %s success. Please shutdown and boot your system to make function work as normal.\n",
    "SRIOV %s failed.\n"}};
// clang-format on

constexpr Word<bool> kActions[] = {{"on", true}, {"off", false}};

struct Options {
  Counted<bool> on;
};

constexpr OptionRow<Options> kOptions[] = {
    {"action", 'a', Argument::Required,
     [](Options &o, const char *text) {
       return choose(o.on, text, kActions) || complain("-a : invalid action '%s'.\n", text);
     }},
};

int32_t doSwitch(int argc, char **argv, const Command_Info *row, const Switch &feature) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  if (o.on.repeated()) return complainDuplicate();
  if (!o.on.given()) return complainRequired(argv[0], 'a', 0);
  int32_t status = sendAndTell(ControllerRequest::function(0xE0, feature.subFunction).set(14, o.on.value),
                               feature.lines, o.on.value ? "enable" : "disable");
  if (status == 0) data().put(row->cmd, o.on.value);
  return status;
}

}  // namespace

int32_t doSKXF(int argc, char **argv, const Command_Info *row) {
  return doSwitch(argc, argv, row, kFlashTool);
}

int32_t doSProtect(int argc, char **argv, const Command_Info *row) {
  return doSwitch(argc, argv, row, kProtection);
}

int32_t doSSRIOV(int argc, char **argv, const Command_Info *row) {
  return doSwitch(argc, argv, row, kVirtualisation);
}

}  // namespace trx
