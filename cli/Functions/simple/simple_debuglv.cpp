// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char debuglv_help[] = R"(
debuglv <-t 0|1 > [-h]

Options:
    -t, --target <0|1>
        0 - Normal
        1 - Error only
    -h, --help

Examples:
    debuglv -t 0
    Switch debug level to normal.

    debuglv -t 1
    Switch debug level to error only.

)";

namespace {

enum class Level : TRX_U8 { Normal = 0, ErrorOnly = 1 };

constexpr Word<Level> kLevels[] = {{"0", Level::Normal}, {"1", Level::ErrorOnly}};

struct Options {
  Counted<Level> target;
};

constexpr OptionRow<Options> kOptions[] = {
    {"target", 't', oneOf<kLevels>(),
     [](Options &o, const char *text) {
       return choose(o.target, text, kLevels) || complain("-t : invalid target '%s'.\n", text);
     }},
};

}  // namespace

constexpr OptionList debuglv_options = optionList<kOptions>();

int32_t doSDEBUGLV(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  if (o.target.repeated()) return complainDuplicate();
  if (!o.target.given()) return complainRequired(argv[0], 't', 0);

  Level level = o.target.value;
  const char *name = level == Level::Normal ? "normal" : "error only";
  int32_t status =
      sendAndTell(ControllerRequest::function(0xE0, 0x12, static_cast<TRX_U16>(level)),
                  {"debug level access to %s success.\n", "debug level access to %s failed.\n"}, name);
  if (status == 0) data().put("debug_level", Enumerated{name, static_cast<TRX_U32>(level)});
  return status;
}

}  // namespace trx
