// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Functions/standard/mi_message.h"
#include "Public/listing.h"
#include "Public/report.h"

namespace trx {

const char vpdread_help[] = R"(
vpdread -o <offset> -l <data length> [-f <outputfile>] [-h]

Options:
    -o, --offset.
        Offset of VPD data
    -l, --datalen.
        Data length of VPD data from offset to get
    -f, --outputfile <outputfile>
         Output data into output file.
    -h, --help
Examples:
    vpdread -o 0 -l 32
    Read VPD data from offset 0 and data length is 32 bytes.

    vpdread -o 0 -l 32 -f raw_data
    Read VPD data from offset 0 and data length is 32 bytes and write into file which named raw_data.

)";

namespace {

constexpr TRX_U32 kVpdBytes = 512;

constexpr OptionRow<MiOptions> kOptions[] = {kMiOffset, kMiLength, kMiOutputFile};

/// Always the same count of bytes, whatever length was asked for. This is meant.
constexpr size_t kShown = 256;

void printData(std::span<const TRX_U8> data) {
  if (gathersFacts()) return;
  std::fputs("content.....\n", stream);
  for (size_t i = 0; i < data.size(); ++i) std::printf(i % 8 == 0 ? "\n0x%x " : "0x%x ", data[i]);
  std::printf("\n");
}

}  // namespace

constexpr OptionList vpdread_options = optionList<kOptions>();

int32_t doVPDRead(int argc, char **argv, const Command_Info *row) {
  MiOptions o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (anyRepeated(o.offset, o.length, o.file)) return complainDuplicate();
  if (!o.offset.given()) return complainRequired(argv[0], 'o', 0);
  if (!o.length.given()) return complainRequired(argv[0], 'l', 0);
  if (exceeds(o, kVpdBytes)) {
    complain("Invalid range via offset: 0x%x, data length: 0x%x\n", o.offset.value, o.length.value);
    return 0;
  }

  MiMessage message(MiKind::Command, kMiVpdRead, kMiVpdMessageBytes);
  message.set(kMiRequestDw0, o.offset.value).set(kMiRequestDw1, o.length.value);
  traceRequest(o);
  MiResponse response;
  TRX_U32 status = miExchange(message, response);
  if (status != 0) return static_cast<int32_t>(status);
  listBytes(response.data().first(kShown));
  if (o.file.given()) return writeData(o, response) ? 0 : 1;
  printData(response.data().first(kShown));
  return 0;
}

}  // namespace trx
