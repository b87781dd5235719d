// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/options.h"
#include "Public/report.h"

namespace trx {
namespace {

struct Options {
  bool enable = true;
};

constexpr OptionRow<Options> kOptions[] = {
    {"action", 'a', Argument::Required,
     [](Options &o, const char *text) {
       // Any word but "disable" enables: who types this command wants to see something.
       o.enable = strcasecmp(text, "disable") != 0;
       return true;
     }},
};

}  // namespace

int32_t doDebug(int argc, char **argv, const Command_Info *row) {
  Options o;
  // An unknown option does not stop it from being switched: the parser has told of it.
  if (parseOptions(argc, argv, row, kOptions, o) == Parsed::Help) return 0;
  dbg_enable = o.enable;
  data().put("debug", dbg_enable);
  tell("Set debug mode to %s\n", dbg_enable ? "enable" : "disable");
  return 0;
}

}  // namespace trx
