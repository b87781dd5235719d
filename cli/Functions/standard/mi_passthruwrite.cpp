// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Functions/standard/mi_message.h"
#include "Public/listing.h"
#include "Public/report.h"

namespace trx {

const char mi_passthruwrite_help[] = R"(
mi_passthruwrite -o <offset> -l <data length> -f <input file> [-h]

Options:
    -o, --offset.
        Offset of VPD data
    -l, --datalen.
        Data length of input data from offset to set
    -f, --inputfile <inputfile>
         Input data which want to write into VPD.
    -h, --help
Examples:
    mi_passthruwrite -o 0 -l 32 -f raw_data
    Write VPD data from offset 0 and data length is 32 bytes from file 'raw_data'.


)";

namespace {

constexpr TRX_U32 kWritableBytes = 256;

constexpr OptionRow<MiOptions> kOptions[] = {
    kMiOffset,
    kMiLength,
    // An input file, although the long name says output: the MI commands share the name.
    {"outputfile", 'f', Argument::Required,
     [](MiOptions &o, const char *text) {
       return o.file.set(true) && o.data.openOrComplain(pathArgument(text), "r");
     }},
};

/// Whether the file has the data, and fits a message: the whole file makes the message longer,
/// although only `length` bytes of it travel. This is meant.
bool checkFile(size_t fileBytes, TRX_U32 length) {
  constexpr size_t kLongestFile = MiMessage::kLongest - kMiVpdMessageBytes;
  if (fileBytes < length)
    return complain("Input file is shorter than data length: 0x%zx, data length: 0x%x\n", fileBytes, length);
  if (fileBytes > kLongestFile)
    return complain("Input file is too long: 0x%zx, at most 0x%zx\n", fileBytes, kLongestFile);
  return true;
}

/// The line breaks follow the place in the VPD, not in the data.
void echo(std::span<const TRX_U8> data, TRX_U32 offset) {
  trx::data().put("data", Bytes{data});
  for (size_t i = 0; i < data.size(); ++i) heading((offset + i) % 8 == 0 ? "\n0x%x " : "0x%x ", data[i]);
  // What follows usually stands on the same line; what would be sent is a page of its own.
  if (gLine.dryRun) heading("\n");
}

}  // namespace

int32_t doMIPassthruWrite(int argc, char **argv, const Command_Info *row) {
  if (argc == 1) return printBareHelp(row);
  MiOptions o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (anyRepeated(o.offset, o.length, o.file)) return complainDuplicate();
  if (!o.offset.given()) return complainRequired(argv[0], 'o', 0);
  if (!o.length.given()) return complainRequired(argv[0], 'l', 0);
  if (!o.file.given()) return complainRequired(argv[0], 'f', 0);
  if (exceeds(o, kWritableBytes)) {
    complain("Invalid range via offset:0x%x, data length:0x%x\n", o.offset.value, o.length.value);
    return 0;
  }
  size_t fileBytes = o.data.get_file_length();
  if (!checkFile(fileBytes, o.length.value)) return 0;

  MiMessage message(MiKind::Command, kMiVpdWrite, kMiVpdMessageBytes + fileBytes);
  message.set(kMiRequestDw0, o.offset.value).set(kMiRequestDw1, o.length.value);
  std::span<TRX_U8> data = message.bytes().subspan(kMiRequestData, o.length.value);
  // The file may have shrunk since its length was taken.
  if (!checkFile(o.data.read_file(data.data(), data.size()), o.length.value)) return 0;
  traceRequest(o);
  echo(data, o.offset.value);
  TRX_U32 status = message.send();
  if (status == 0) {
    tell("MI send for VPD write success.\n");
  } else {
    tellFailed("MI send for VPD write failed.\n");
  }
  return static_cast<int32_t>(status);
}

}  // namespace trx
