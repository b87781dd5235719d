// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/get/get.h"
#include "Functions/handlers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char set_help[] = R"(
set -o hba -i <NVMe Controller id> [-a on | off] [-r < high|medium|low >] 

Options:
    -o, --object <hba>
        Object to configure.
        hba - NVMe Controller
    -i, --id <NVMe Controller id>
        ID of the NVMe Controller.
    -a, --autorebuild <on|off>
        on  - a degraded virtual disk is rebuilt as soon as a spare is there
        off - a rebuild waits for the command rebuild
    -r, --bgarate <high|medium|low>
        Rate of background activities.
    -h, --help

Examples:
    set -o hba -i 0 -a on
    Switch automatic rebuild of NVMe Controller 0 on.

    set -o hba -i 0 -r low
    Let background activities of NVMe Controller 0 run at low rate.

)";

namespace {

struct Options {
  Counted<bool> autoRebuild;
  Counted<bool> object;
  Counted<int32_t> id;
  Counted<TRX_U8> rate;
};

constexpr Word<bool> kObjects[] = {{"hba", true}};
constexpr Word<bool> kSwitch[] = {{"on", true}, {"off", false}};
constexpr Word<TRX_U8> kRates[] = {
    {"high", TRX_BGA_RATE_HIGH}, {"medium", TRX_BGA_RATE_MEDIUM}, {"low", TRX_BGA_RATE_LOW}};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"autorebuild", 'a', oneOf<kSwitch>(), [](Options &o, const char *text) {
       // "-c" stays: scripts know the line.
       return choose(o.autoRebuild, text, kSwitch) || complain("-c : invalid auto rebuild mode '%s'\n", text); }},
    {nullptr, 'c', Argument::Required, nullptr},
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       return choose(o.object, text, kObjects) || complain("-o : invalid object '%s'\n", text); }},
    {"id", 'i', idOf(Objects::Adapters), [](Options &o, const char *text) { return readAdapterId(o.id, text); }},
    {"bgarate", 'r', oneOf<kRates>(), [](Options &o, const char *text) {
       return choose(o.rate, text, kRates) || complain("-r : invalid BGA rate '%s'\n", text); }},
};
// clang-format on

ControllerRequest setConfigRequest(const NVME_Adapter_Config &config) {
  return ControllerRequest::function(0xE0, 2).set(10, 0).set(
      14, static_cast<TRX_U32>(config.BGARate << 8 | config.AutoRebuildOn));
}

/// Change what was given; the other setting is written back as it was read.
int32_t configure(TRX_U8 adapter, const Options &o) {
  ControllerReply reply;
  if (configRequest().trace().fetch(adapter, reply) != 0) {
    tellFailed("\nUnable to get configuration info of adapter %d\n", adapter);
    return 1;
  }
  auto config = reply.record<NVME_Adapter_Config>();
  if (o.autoRebuild.given()) config.AutoRebuildOn = o.autoRebuild.value;
  if (o.rate.given()) config.BGARate = o.rate.value;
  if (!o.autoRebuild.given() && !o.rate.given()) {
    complain("Invalid setting(s) for HBA\n");
    return 0;
  }
  if (setConfigRequest(config).trace().send(adapter) != 0) {
    tellFailed("\nFailed to configure hba %d\n", adapter);
    return 1;
  }
  tell("HBA configuration is updated.\n");
  if (gathersFacts()) hbaGet_printf(adapter, config);
  return 0;
}

}  // namespace

constexpr OptionList set_options = optionList<kOptions>();

int32_t doSSet(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 1)) return *end;
  // A repeated -a is not refused: the last one holds, so that a script can append its own.
  if (anyRepeated(o.object, o.id, o.rate)) return complainDuplicate();
  bool chosenAtStart = o.object.given() && gSpecificAdapterFlag;
  if (!o.id.given() && !chosenAtStart) return complainRequired(argv[0], 'i');
  if (!o.object.given()) return complainRequired(argv[0], 'o');

  auto adapter = static_cast<TRX_U8>(o.id.given() ? o.id.value : gCurrentAdapter);
  if (!isRaidMode(summaryOf(adapter))) return refuseJbof();
  return configure(adapter, o);
}

}  // namespace trx
