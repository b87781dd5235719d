// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/files.h"
#include "Public/listing.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char dumphba_help[] = R"(
dumphba -a <show> [--outputfile <outputfile>] [-h]

Options:
    -a, --action <show>
        show, display the feature switches of the NVMe Controller
    --outputfile <outputfile>
        File that also receives the 4096 bytes of the information data as they are.
    -h, --help

Examples:
    dumphba -a show
    Display the feature switches of current NVMe Controller.

    dumphba -a show --outputfile hba_info
    Display them, and write the information data into the file hba_info.

)";

namespace {

enum class Action { Show };

constexpr Word<Action> kActions[] = {{"show", Action::Show}};

struct Options {
  Counted<Action> action;
  Counted<std::string> outputFile;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"outputfile", '1', kPath, [](Options &o, const char *text) {
       return o.outputFile.set(pathArgument(text)); }},
    {"action", 'a', oneOf<kActions>(), [](Options &o, const char *text) {
       return choose(o.action, text, kActions) || complain("-a : invalid action '%s'.\n", text); }},
};
// clang-format on

Shown onOff(TRX_U32 value) { return {value != 0 ? "On" : "Off", value != 0}; }

void printSwitches(const Page &data) {
  const TRX_U8 *byte = data.bytes;
  Listing listing(32);
  heading("\n\n");
  listing.row("KXF Function:", "kxf", onOff(byte[449]));
  listing.row("SRIOV Function:", "sriov", onOff(byte[450]));
  listing.row("Debug message in SPI:", "spi_log", onOff(byte[448]));
  listing.row("MI-VPD buffer switch:", "vpd_target",
              Enumerated{byte[451] != 0 ? "SPI" : "EEPROM", byte[451]});
  listing.row("Debug Level:", "debug_level", Enumerated{byte[488] != 0 ? "Error only" : "Normal", byte[488]});
  listing.text("[GPIO Feature]", Nothing{});
  listing.row("  Function Switch:", "gpio_function_switch", Hex{data.at<TRX_U32>(64)});
  listing.row("  Level:", "gpio_level", Hex{data.at<TRX_U32>(68)});
  listing.row("  Value:", "gpio_value", Hex{data.at<TRX_U32>(72)});
  listing.row("  Set Default:", "gpio_set_default", onOff(data.at<TRX_U32>(76)));
  listing.fact("data", Bytes{data.bytes});
  heading("\n\n");
}

}  // namespace

constexpr OptionList dumphba_options = optionList<kOptions>();

int32_t doSDUMPHBA(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (anyRepeated(o.outputFile, o.action)) return complainDuplicate();
  CommandFile file;
  if (o.outputFile.given() && file.open_file(o.outputFile.value, "wb") != 0) {
    tellWrong(file.howItFailed(), "File is not exist.\n");
    return 0;
  }

  // The whole page is the information data: this reply has neither signature nor status byte.
  Page data;
  TRX_U32 status =
      ControllerRequest::function(0xE0, 0x0F).set(10, 0x3FF).trace().fetch(gCurrentAdapter, data);
  if (status != 0) {
    // Zero-based also for those who count from 1; scripts know the line.
    tellFailed("\nUnable to dump NVMe Controller info from NVMe Controller %d\n", gCurrentAdapter);
    return static_cast<int32_t>(status);
  }
  printSwitches(data);
  if (file.isOpen() && !(file.write_file(data.bytes, sizeof data.bytes) && file.close_file())) return 1;
  tell("cmd success\n");
  return 0;
}

}  // namespace trx
