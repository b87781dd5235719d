// SPDX-License-Identifier: GPL-3.0-or-later
// Start and stop the background activities of a virtual disk: one routine, a row per command.
#include "Functions/handlers.h"
#include "Functions/info/machines.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/request.h"

namespace trx {

const char init_help[] = R"(
init -i <vd id> [-a <start|stop>] [-h]

Options:
    -a, --action <start|stop>
        start - Start the initialization, default
        stop  - Stop it
    -i, --vd_id <vd id>
        VD to initialize.
    -h, --help

Examples:
    init -i 0
    Start the initialization of VD 0.

    init -a stop -i 0
    Stop the initialization of VD 0.

)";

const char mp_help[] = R"(
mp -i <vd id> [-a <start|stop>] [-h]

Options:
    -a, --action <start|stop>
        start - Start the media patrol, default
        stop  - Stop it
    -i, --vd_id <vd id>
        VD whose media is patrolled.
    -h, --help

Examples:
    mp -i 0
    Start the media patrol of VD 0.

    mp -a stop -i 0
    Stop the media patrol of VD 0.

)";

const char rebuild_help[] = R"(
rebuild -i <vd id> [-a <start|stop>] [-d <pd id>] [-h]

Options:
    -a, --action <start|stop>
        start - Start the rebuild, default
        stop  - Stop it
    -i, --vd_id <vd id>
        VD to rebuild.
    -d, --pd_id <pd id>
        PD that becomes the new member. Required with -a start.
    -h, --help

Examples:
    rebuild -a start -i 0 -d 2
    Rebuild VD 0 onto PD 2.

    rebuild -a stop -i 0
    Stop the rebuild of VD 0.

)";

namespace {

/// What a command starts: the controller function of group E3h, and what it wants beside the VD id in
/// bits 16 and up of CDW14.
struct Activity {
  TRX_U8 startFunction;
  TRX_U16 startArgument;
  bool ontoDisk;  ///< the argument is a PD id, given with -d
};

constexpr Activity kInit{0x06, TRX_NVME_BGA_TYPE_VD_INIT_BACKGROUND, false};
constexpr Activity kMediaPatrol{0x0A, 0, false};
constexpr Activity kRebuild{0x07, 0, true};
constexpr TRX_U8 kControlFunction = 0x04;

enum class Action { Start, Stop };
constexpr Word<Action> kActions[] = {{"start", Action::Start}, {"stop", Action::Stop}};

struct Options {
  Counted<Action> action;
  Counted<TRX_U16> vd;
  Counted<TRX_U16> pd;
};

// clang-format off
constexpr OptionRow<Options> kActionRow{"action", 'a', oneOf<kActions>(), [](Options &o, const char *text) {
  return choose(o.action, text, kActions) || complain("-a : invalid action '%s'.\n", text); }};
constexpr OptionRow<Options> kVolumeRow{"vd_id", 'i', idOf(Objects::Volumes), [](Options &o, const char *text) {
  return o.vd.take(zeroBasedId16(text)) || complain("-i : invalid vd id '%s'.\n", text); }};
constexpr OptionRow<Options> kDiskRow{"pd_id", 'd', idOf(Objects::Disks), [](Options &o, const char *text) {
  if (o.pd.take(zeroBasedId16(text))) return true;
  // An id below the first one is laid to -i; scripts know the line.
  bool belowFirst = zeroBased(decimal(text).value_or(g_oneBaseMode)) < 0;
  return complain(belowFirst ? "-i : invalid pd id '%s'.\n" : "-d : invalid pd id '%s'.\n", text); }};
// clang-format on

constexpr OptionRow<Options> kOptions[] = {kActionRow, kVolumeRow};
constexpr OptionRow<Options> kRebuildOptions[] = {kActionRow, kVolumeRow, kDiskRow};

ControllerRequest startActivity(const Activity &activity, TRX_U16 vd, TRX_U16 argument) {
  return ControllerRequest::function(0xE3, activity.startFunction)
      .set(14, vd | static_cast<TRX_U32>(argument) << 16);
}

ControllerRequest stopActivity(TRX_U16 vd) {
  return ControllerRequest::function(0xE3, kControlFunction)
      .set(14, vd | static_cast<TRX_U32>(TRX_NVME_BGA_OPERATION_ABORT) << 16);
}

int32_t control(const Activity &activity, int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = activity.ontoDisk ? readOptions(argc, argv, row, kRebuildOptions, o, 0)
                                   : readOptions(argc, argv, row, kOptions, o, 0)) {
    return *end;
  }
  // A repeated -d is not refused: the last one wins, so that a script can append its own.
  if (anyRepeated(o.action, o.vd)) return complainDuplicate();
  if (!o.vd.given()) return complainRequired(argv[0], 'i', 0);
  bool stop = o.action.value == Action::Stop;
  if (activity.ontoDisk && o.action.given() && !stop && !o.pd.given())
    return complainRequired(argv[0], 'd', 0);

  // Without any -a, a rebuild goes onto PD 0 when -d is not given. This is meant.
  TRX_U16 argument = activity.ontoDisk ? o.pd.value : activity.startArgument;
  int32_t status =
      sendAndTell(stop ? stopActivity(o.vd.value) : startActivity(activity, o.vd.value, argument),
                  {"cmd success\n", "cmd failed.\n"});
  tellVolume(gCurrentAdapter, o.vd.value);
  return status;
}

}  // namespace

constexpr OptionList init_options = optionList<kOptions>();
constexpr OptionList mp_options = optionList<kOptions>();
constexpr OptionList rebuild_options = optionList<kRebuildOptions>();

int32_t doSINIT(int argc, char **argv, const Command_Info *row) { return control(kInit, argc, argv, row); }
int32_t doSMP(int argc, char **argv, const Command_Info *row) {
  return control(kMediaPatrol, argc, argv, row);
}
int32_t doSRebuild(int argc, char **argv, const Command_Info *row) {
  return control(kRebuild, argc, argv, row);
}

}  // namespace trx
