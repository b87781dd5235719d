// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/request.h"

namespace trx {

const char i2c_help[] = R"(
i2c -i <device id> [-h]

Options:
    -i, --id <device id>
        I2C device to probe, decimal or hexadecimal (0x).
    -h, --help

Examples:
    i2c -i 0x50
    Test whether the I2C device 0x50 answers.

)";

namespace {

struct Options {
  Counted<uint32_t> id;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    // The id travels in 16 bits of dword 12.
    {"id", 'i', Argument::Required, [](Options &o, const char *text) {
       return o.id.take(hexOrDecimalUpTo(0xFFFF, text)) || complain("-i : invalid device id '%s'\n", text); }},
    // Letters of a test that is gone; they get the help, so that old scripts are told.
    {nullptr, 't', Argument::Required, nullptr},
    {nullptr, 'a', Argument::Required, nullptr},
};
// clang-format on

}  // namespace

int32_t doSi2c(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (o.id.repeated()) return complainDuplicate();
  if (!o.id.given()) return complainRequired(argv[0], 'i', 0);
  auto id = static_cast<TRX_U16>(o.id.value);
  return sendAndTell(ControllerRequest::function(0xE0, 0x14, id), {"Pass\n", "Fail\n"});
}

}  // namespace trx
