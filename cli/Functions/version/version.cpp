// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/listing.h"
#include "Public/options.h"
#include "trx/trx_api.h"

namespace trx {

const char version_help[] = R"(
version [-h]

Options:
    -h, --help

Examples:
    version
    Show version of API, CLI and supported firmware.

)";

namespace {

struct Options {};

// -i takes an argument and gets the help. This is meant.
constexpr OptionRow<Options> kOptions[] = {{nullptr, 'i', Argument::Required, nullptr}};

}  // namespace

constexpr OptionList version_options = optionList<kOptions>();

int32_t doVersion(int argc, char **argv, const Command_Info *row) {
  Options none;
  Parsed end = parseOptions(argc, argv, row, kOptions, none);
  if (end == Parsed::Help) return 0;
  if (end != Parsed::Complete) return 1;
  listed("supported_firmware_version", std::string("1.0.0.1029"),
         "Support Firmware Version: 1.0.%d.1029 above\n", 0);
  listed("cli_version", std::string(CLI_VERSION), "CLI Version: %s\n", CLI_VERSION);
  listed("api_version", std::string(TRX_Get_Version()), "API Version: %s\n", TRX_Get_Version());
  return 0;
}

}  // namespace trx
