// SPDX-License-Identifier: GPL-3.0-or-later
#include <new>
#include <span>
#include <vector>

#include "Functions/handlers.h"
#include "Functions/smart/smart.h"
#include "Public/exchange.h"
#include "Public/files.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"
#include "Public/utility.h"

namespace trx {

// The slips in the text, "--req" among them, stay: manuals quote it.
const char passthru_help[] = R"(
passthru -r <read | write> -i <SSD adapter id>
         [-o <opcode>]
         [-n <ns id>][--cdw2=<cdw2>][--cdw3=<cdw3>] 
         [--cdw10=<cdw10>][--cdw11=<cdw11>][--cdw12=<cdw12>]
         [--cdw13=<cdw13>]
         [-d <data-len>]
         [--outputfile <outputfile>][--inputfile <inputfile>]
         [--showcmd][-h]

Notice: CDW14 and CDW15 are used by passthru command.

Options:
    -r,  --req <read | write | none>
         send read and write command
         Non direct command can use read or write command to send
    -i,  --id <SSD adapter id>
         This will mapping to SSD adapter ID of PD info command.
    -o,  --opcode <opcode>
         This is opcode of standard NVMe admin command set
         Accept value by decimal or hexadecimal.
    -n,  --nsid <ns id>
    --cdw10 <cdw10>
         Bytes 43:40 in admin command format.
    --cdw11 <cdw11>
         Bytes 47:44 in admin command format.
    --cdw12 <cdw12>
         Bytes 51:48 in admin command format.
    --cdw13 <cdw13>
         Bytes 55:52 in admin command format.
    -d,  --data-len <data-len>
         Set data length buffer for admin command.
    --outputfile <outputfile>
         Output data into output file.
    --inputfile <inputfile>
         Input data from input file.
    -h,  --get help of passthru command.
Examples:
    passthru -i 0 -o 0xa -n 1 --cdw10=0x103 --data-len=4096 -r read 
    Send a read command for default LBA Range Type of get feature to SSD adapter id 0 nsid 1 of Tarvo.

    passthru -i 0 -o 0x2 -n 0xffffffff --cdw10=0x7f0002 --data-len=512 -r read 
    Send a read command for getting SMART information of SSD adapter id 0 of Tarvo.

    passthru -i 0 -o 6 --cdw10=1 --data-len=4096 -r read 
    Send a read command for getting primary controller information of identify to SSD adapter id 0 of Tarvo.

    passthru -i 0 -o 0x6 --cdw10=1 --data-len=4096 -r read --outputfile id_data 
    Send a read command for getting primary controller information of identify to SSD adapter id 0 of Tarvo into output file "id_data".

    passthru -i 0 -o 0x15 --cdw10=0 --data-len=4096 -n 1 --inputfile prp_data -r write 
    Send a write command for SSD adapter id 0 to attach namespace 1 with controller id list of input file "prp_data"
)";

namespace {

enum class Request { Read, Write, None };
enum class CommandSet { Admin, Nvm };

struct Options {
  Counted<CommandSet> commandSet;
  Counted<TRX_U16> id;
  Counted<Request> request;
  Counted<TRX_U32> psdt, fuse, opcode, nsid;
  Counted<TRX_U32> cdw2, cdw3, cdw10, cdw11, cdw12, cdw13;
  Counted<uint64_t> metadataLength, dataLength;
  Counted<bool> outputFile, inputFile;
  bool showCommand = false;

  std::vector<Page> pages;  ///< for the data
  CommandFile file;         ///< one for both file options: the later replaces the earlier
};

constexpr Word<CommandSet> kCommandSets[] = {{"admin", CommandSet::Admin}, {"nvm", CommandSet::Nvm}};
constexpr Word<Request> kRequests[] = {
    {"read", Request::Read}, {"write", Request::Write}, {"none", Request::None}};

bool readId(Options &o, const char *text) {
  if (!isNumber(text)) return complain("-i: SSD adapter id should be a number\n");
  // 16 bits: the record tells it a second time, in a field of that width.
  return o.id.take(zeroBasedId16(text)) || complain("-i : invalid SSD adapter id '%s'.\n", text);
}

/// Take a number for a field of the command: cut, it would send another one.
bool readField(Counted<TRX_U32> &into, const char *text, TRX_U32 most, const char *complaint) {
  return into.take(hexOrDecimalUpTo(most, text)) || complain("%s", complaint);
}

bool readDword(Counted<TRX_U32> &into, const char *text, const char *complaint) {
  return readField(into, text, UINT32_MAX, complaint);
}

bool readLength(Counted<uint64_t> &into, const char *text, const char *complaint) {
  // Far more than any device moves at once. What is asked for is shown whole, and should come to an end.
  constexpr uint64_t kMostBytes = 1 << 20;
  std::optional<uint64_t> bytes = hexOrDecimal(text);
  if (!bytes) return complain("%s", complaint);
  if (*bytes > kMostBytes) return complain("A length of %s bytes is too large, at most 1048576.\n", text);
  return into.set(*bytes);
}

bool readDataLength(Options &o, const char *text) {
  if (!readLength(o.dataLength, text, "-d: data length id should be a decimal or hexadecimal\n"))
    return false;
  try {
    o.pages.resize((o.dataLength.value + TRX_PAGE_SIZE - 1) / TRX_PAGE_SIZE);
  } catch (const std::bad_alloc &) {
    return complain("Unable to allocate a buffer of %s bytes.\n", text);
  }
  return true;
}

bool openFile(Options &o, Counted<bool> &option, const char *text, const char *mode) {
  option.set(true);
  return o.file.openOrComplain(pathArgument(text), mode);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    // Accepted and without effect: disks take admin commands only.
    {nullptr, 't', oneOf<kCommandSets>(), [](Options &o, const char *text) {
       ++o.commandSet.count;
       return choose(o.commandSet.value, text, kCommandSets) || complain("-t : invalid action '%s'\n", text); }},
    {"id", 'i', idOf(Objects::Disks), readId},
    {"request", 'r', oneOf<kRequests>(), [](Options &o, const char *text) {
       ++o.request.count;
       return choose(o.request.value, text, kRequests) || complain("-r : invalid request '%s'\n", text); }},
    {"psdt", 'p', Argument::Required, [](Options &o, const char *text) {
       return readField(o.psdt, text, 3, "-p: PSDT should be a decimal or hexadecimal\n"); }},
    {"fuse", 'f', Argument::Required, [](Options &o, const char *text) {
       return readField(o.fuse, text, 3, "-f: FUSE should be a decimal or hexadecimal\n"); }},
    {"opcode", 'o', Argument::Required, [](Options &o, const char *text) {
       return readField(o.opcode, text, 0xFF, "-o: OPCode should be a decimal or hexadecimal\n"); }},
    {"nsid", 'n', Argument::Required, [](Options &o, const char *text) {
       return readDword(o.nsid, text, "-n: Namespace id should be a decimal or hexadecimal\n"); }},
    {"cdw2", '2', Argument::Required, [](Options &o, const char *text) {
       return readDword(o.cdw2, text, "--cdw2: CDW2 should be a decimal or hexadecimal\n"); }, Form::LongOnly},
    {"cdw3", '3', Argument::Required, [](Options &o, const char *text) {
       return readDword(o.cdw3, text, "--cdw3: CDW3 should be a decimal or hexadecimal\n"); }, Form::LongOnly},
    // Metadata is never sent: this platform takes none.
    {"metadata-len", 'm', Argument::Required, [](Options &o, const char *text) {
       return readLength(o.metadataLength, text, "-m: Metadata length id should be a decimal or hexadecimal\n"); }},
    {"data-len", 'd', Argument::Required, readDataLength},
    {"cdw10", '4', Argument::Required, [](Options &o, const char *text) {
       return readDword(o.cdw10, text, "--cdw10: CDW10 should be a decimal or hexadecimal\n"); }, Form::LongOnly},
    {"cdw11", '5', Argument::Required, [](Options &o, const char *text) {
       return readDword(o.cdw11, text, "--cdw11: CDW11 should be a decimal or hexadecimal\n"); }, Form::LongOnly},
    {"cdw12", '6', Argument::Required, [](Options &o, const char *text) {
       return readDword(o.cdw12, text, "--cdw12: CDW12 should be a decimal or hexadecimal\n"); }, Form::LongOnly},
    {"cdw13", '7', Argument::Required, [](Options &o, const char *text) {
       return readDword(o.cdw13, text, "--cdw13: CDW13 should be a decimal or hexadecimal\n"); }, Form::LongOnly},
    {"outputfile", '8', kPath, [](Options &o, const char *text) {
       return openFile(o, o.outputFile, text, "wb"); }, Form::LongOnly},
    // What it holds is never sent: this platform takes no data to a disk.
    {"inputfile", '9', kPath, [](Options &o, const char *text) {
       return openFile(o, o.inputFile, text, "r"); }, Form::LongOnly},
    {"showcmd", 's', Argument::None, [](Options &o, const char *) { return o.showCommand = true; }},
};
// clang-format on

/// Dword 0 of the disk command.
TRX_U32 diskDword0(const Options &o) { return o.opcode.value | o.fuse.value << 8 | o.psdt.value << 14; }

ControllerRequest passthruRequest(const Options &o) {
  TRX_U32 outerOpcode = o.request.value == Request::Read ? TRX_OPCODE_DISK_READ : TRX_OPCODE_DISK_WRITE;
  ControllerRequest request = ControllerRequest::disk(outerOpcode, o.id.value);
  auto setIfGiven = [&](unsigned dword, const Counted<TRX_U32> &option) {
    if (option.given()) request.set(dword, option.value);
  };
  setIfGiven(2, o.cdw2);
  setIfGiven(3, o.cdw3);
  setIfGiven(10, o.cdw10);
  setIfGiven(11, o.cdw11);
  setIfGiven(12, o.cdw12);
  setIfGiven(13, o.cdw13);
  request.set(14, diskDword0(o));
  setIfGiven(15, o.nsid);
  return request.setControlId(o.id.value);
}

/// The record's dwords; in place of the data pointer of an NVMe command, in 7 and 9, stand the address
/// and the length of the host's buffer: the record itself has no pointer, the driver sets its own.
void showCommandFormat(const ControllerRequest &request, std::span<const uint8_t> buffer) {
  const TRX_U32 *cdw = request.record().CDW;
  Numbers dwords{{cdw, cdw + 16}};
  dwords.values[7] = static_cast<TRX_U32>(reinterpret_cast<uintptr_t>(buffer.data()));
  dwords.values[9] = static_cast<TRX_U32>(buffer.size());
  heading("[Command Format]\n");
  for (size_t i = 0; i < dwords.values.size(); ++i)
    heading("CDW%02zu: 0x%x\n", i, static_cast<TRX_U32>(dwords.values[i]));
  data().put("command_dwords", dwords);
}

void _showRAWData(std::span<const uint8_t> data) {
  constexpr size_t kBytesPerLine = 16;
  for (size_t i = 0; i < data.size(); ++i) {
    if (i % kBytesPerLine == 0) heading("\n");
    heading("0x%02x ", data[i]);
  }
  heading("\n");
}

bool asksForSmartLog(const Options &o) {
  return o.cdw10.value == kSmartLogPage && o.opcode.value == TRX_NVME_GET_LOG_PAGE;
}

/// Show or save what came back. @return whether all of it was saved
bool deliver(Options &o, std::span<const uint8_t> data) {
  bool saved = true;
  listBytes(data);
  if (o.outputFile.given()) {
    saved = o.file.write_file(data.data(), data.size()) && o.file.close_file();
  } else {
    _showRAWData(data);
  }
  if (asksForSmartLog(o) && data.size() >= kSmartLogBytes) {
    showLogSmartInfo(data.first<kSmartLogBytes>());
  }
  return saved;
}

int32_t readFromDisk(Options &o, const ControllerRequest &request, std::span<uint8_t> data) {
  // The transfer has 16 bits of length. What was asked for beyond stays zero, and is shown and saved
  // with the rest, so that a file has the length that was given.
  TRX_U32 status = sendPassthru(gCurrentAdapter, request.record(), {}, data);
  if (status != 0) {
    tellFailed("Passthrough command is failed.\n");
    return static_cast<int32_t>(status);
  }
  if (!deliver(o, data)) return 1;
  tell("Passthrough command is success.\n");
  return 0;
}

}  // namespace

constexpr OptionList passthru_options = optionList<kOptions>();

int32_t doPassthru(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  if (anyRepeated(o.commandSet, o.id, o.request, o.psdt, o.fuse, o.opcode, o.nsid, o.cdw2, o.cdw3,
                  o.metadataLength, o.dataLength, o.cdw10, o.cdw11, o.cdw12, o.cdw13, o.outputFile,
                  o.inputFile)) {
    complainDuplicate();
    return 0;
  }
  if (!o.id.given()) return complainRequired(argv[0], 'i', 0);
  // Also when only -o is missing: scripts know the line.
  if (!o.request.given() || !o.opcode.given()) return complainRequired(argv[0], 'r', 0);

  std::span<uint8_t> data(reinterpret_cast<uint8_t *>(o.pages.data()), o.dataLength.value);
  ControllerRequest request = passthruRequest(o);
  tell("CDW[0]: 0x%x\n", diskDword0(o));
  if (o.showCommand) showCommandFormat(request, data);
  if (o.request.value != Request::Read) {
    tellWrong(Outcome::Refused, "VMware does not support passthrough write command .\n");
    return 0;
  }
  return readFromDisk(o, request, data);
}

}  // namespace trx
