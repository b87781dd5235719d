// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Public/exchange.h"
#include "Public/files.h"
#include "Public/listing.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char spi_help[] = R"(
spi -t <read|write> [--outputfile <outputfile>] [--inputfile <inputfile>] [-h]

Options:
    -t, --type <read|write>
        Read or write the SPI flash area. VMware does not support the write.
    --outputfile <outputfile>
        File that receives the 4096 bytes of SPI data.
    --inputfile <inputfile>
        File with the SPI data to write.
    -h, --help

Examples:
    spi -t read --outputfile spi_data
    Read the SPI data into the file spi_data.

)";

namespace {

constexpr TRX_U32 kSpiLogPage = TRX_NVME_LOG_PAGE_CDW10(TRX_NVME_LID_SPI, TRX_PAGE_SIZE);

enum class Access { Read, Write };

constexpr Word<Access> kAccesses[] = {{"read", Access::Read}, {"write", Access::Write}};

struct Options {
  Counted<Access> type;
  Counted<std::string> outputFile;
  Counted<std::string> inputFile;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"type", 't', oneOf<kAccesses>(), [](Options &o, const char *text) {
       return choose(o.type, text, kAccesses) || complain("-t : invalid type '%s'\n", text); }},
    {"outputfile", '1', kPath, [](Options &o, const char *text) {
       return o.outputFile.set(pathArgument(text)); }},
    // Nothing reads it, for nothing is written.
    {"inputfile", '2', kPath, [](Options &o, const char *text) {
       return o.inputFile.set(pathArgument(text)); }},
};
// clang-format on

}  // namespace

constexpr OptionList spi_options = optionList<kOptions>();

int32_t doSPI(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (anyRepeated(o.type, o.outputFile, o.inputFile)) return complainDuplicate();
  if (!o.type.given()) return complainRequired(argv[0], 't', 0);
  if (o.type.value == Access::Write) {
    tellWrong(Outcome::Refused, "VMware does not support SPI write.\n");
    return 0;
  }
  CommandFile file;
  if (o.outputFile.given() && !file.openOrComplain(o.outputFile.value, "wb")) return 0;

  Page data;
  TRX_U32 status = sendAdmin(gCurrentAdapter, TRX_NVME_GET_LOG_PAGE, 0, {&kSpiLogPage, 1}, {}, data.bytes);
  if (status != 0) {
    tellFailed("Read SPI failed.\n");
    return static_cast<int32_t>(status);
  }
  listBytes(data.bytes);
  if (file.isOpen() && !(file.write_file(data.bytes, sizeof data.bytes) && file.close_file())) return 1;
  tell("Read SPI successful.\n");
  return 0;
}

}  // namespace trx
