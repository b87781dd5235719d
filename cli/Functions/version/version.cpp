// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Functions/help/help.h"
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

void printVersions() {
  std::fprintf(stream, "CLI Version: %s\nAPI Version: %s\n", CLI_VERSION, TRX_Get_Version());
}

constexpr OptionList version_options = optionList<kOptions>();

int32_t doVersion(int argc, char **argv, const Command_Info *row) {
  Options none;
  Parsed end = parseOptions(argc, argv, row, kOptions, none);
  if (end == Parsed::Help) return 0;
  if (end != Parsed::Complete) return 1;
  std::fprintf(stream, "Support Firmware Version: 1.0.%d.1029 above\n", 0);
  printVersions();
  return 0;
}

}  // namespace trx
