// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Functions/standard/identify_print.h"
#include "Functions/standard/mi_message.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/report.h"

namespace trx {

const char mi_passthruread_help[] = R"(
mi_passthruread -o <offset> -l <data length> [-f <outputfile>] [-h]

Options:
    -o, --offset.
        Offset of VPD data
    -l, --datalen.
        Data length of VPD data from offset to get
    -f, --outputfile <outputfile>
         Output data into output file.
    -h, --help
Examples:
    mi_passthruread -i <pd id>
    Just use this for send identify passthru command.

    mi_passthruread -o 0 -l 32
    Read VPD data from offset 0 and data length is 32 bytes.

    mi_passthruread -o 0 -l 32 -f raw_data
    Read VPD data from offset 0 and data length is 32 bytes and write into file which named raw_data.

)";

namespace {

constexpr OptionRow<MiOptions> kOptions[] = {
    {"pdid", 'i', Argument::Required,
     [](MiOptions &o, const char *text) {
       // "-o" although it is -i; scripts know the line.
       return o.disk.take(hexOrDecimalUpTo(UINT32_MAX, text)) || complain("-o: Invalid pd id value\n");
     }},
    kMiOffset,
    kMiLength,
    kMiOutputFile,
};

/// A vendor pass-through of Identify Controller to a disk, its dwords from byte 4.
MiMessage identifyMessage(TRX_U32 disk) {
  auto dword = [](size_t number) { return 4 + 4 * number; };
  MiMessage message(MiKind::AdminCommand, TRX_OPCODE_DISK_READ, TRX_PAGE_SIZE);
  message.set(dword(1), disk).set(dword(10), TRX_NVME_CNS_CONTROLLER).set(dword(14), TRX_NVME_IDENTIFY);
  return message;
}

/// Bytes of the response that are shown.
constexpr size_t kShown = 512;

void printDwords(std::span<const TRX_U8> bytes) {
  for (size_t i = 0; i < bytes.size(); ++i) {
    if (i % 4 == 0) std::fprintf(stream, "\nCDW%d ", static_cast<int>(i / 4));
    std::fprintf(stream, "0x%02x ", bytes[i]);
  }
}

}  // namespace

int32_t doMIPassthruRead(int argc, char **argv, const Command_Info *row) {
  if (argc == 1) return printBareHelp(row);
  MiOptions o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;

  // Nothing is required, the last of equal options counts, and offset and length take no part in the
  // message: this is meant.
  MiMessage message = identifyMessage(o.disk.value);
  traceRequest(o);
  std::fputs("after mi_prp_data as below:", stream);
  printDwords(message.bytes().first(64));
  std::fputs("\n\n", stream);
  MiResponse response;
  TRX_U32 status = miExchange(message, response);
  if (status != 0) return static_cast<int32_t>(status);

  bool written = true;
  listBytes(response.data().first(kShown));
  if (o.file.given()) {
    written = writeData(o, response);
  } else {
    heading("content.....\n");
    if (!gathersFacts()) printDwords(response.data().first(kShown));
  }
  printIdentifyController(response.data());
  return written ? 0 : 1;
}

}  // namespace trx
