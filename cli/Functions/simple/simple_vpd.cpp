// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char vpd_help[] = R"(
vpd <-t eeprom|spi > [-h]

Options:
    -t,  --target set access EEPROM or SPI.
           eeprom, set access target to EEPROM
           spi, set access target to SPI
    -h,  --help
Examples:
    vpd -t eeprom
    Set access target to EEPROM

    vpd -t spi
    Set access target to SPI

)";

namespace {

enum class Target : TRX_U32 { Eeprom = 0, Spi = 1 };

constexpr Word<Target> kTargets[] = {{"eeprom", Target::Eeprom}, {"spi", Target::Spi}};

struct Options {
  Counted<Target> target;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"target", 't', oneOf<kTargets>(), [](Options &o, const char *text) {
       return choose(o.target, text, kTargets) || complain("-t : invalid target '%s'.\n", text); }},
};
// clang-format on

ControllerRequest vpdTargetRequest(Target target) {
  return ControllerRequest::function(0xE0, 0x10).set(14, static_cast<TRX_U32>(target));
}

}  // namespace

constexpr OptionList vpd_options = optionList<kOptions>();

int32_t doSVPD(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (o.target.repeated()) return complainDuplicate();
  if (!o.target.given()) return complainRequired(argv[0], 't', 0);
  const char *name = o.target.value == Target::Spi ? "SPI" : "EEPROM";
  int32_t status = sendAndTell(vpdTargetRequest(o.target.value),
                               {"VPD access to %s success.\n", "VPD access to %s failed.\n"}, name);
  if (status == 0) data().put("vpd_target", Enumerated{name, static_cast<TRX_U32>(o.target.value)});
  return status;
}

}  // namespace trx
