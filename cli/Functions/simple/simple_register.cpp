// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/simple_register.h"

#include "Functions/handlers.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"

namespace trx {

const char reg_help[] = R"(
reg -t <read|write> -i <PCIe id> -a <address> [-d <data>] [-h]

Options:
    -t, --type <read|write>
        Read or write the register.
    -i, --id <PCIe id>
        PCIe id of the device whose register it is, decimal or hexadecimal (0x).
    -a, --address <address>
        Address of the register, decimal or hexadecimal (0x).
    -d, --data <data>
        32-bit data to write, decimal or hexadecimal (0x), only for type write.
    -h, --help

Examples:
    reg -t read -i 1 -a 0xe2c00000
    Read the register at address 0xe2c00000 of PCIe id 1.

    reg -t write -i 1 -a 0xe2c00000 -d 0x1
    Write 0x1 into the register at address 0xe2c00000 of PCIe id 1.

)";

namespace {

enum class Access { Read, Write };

constexpr Word<Access> kAccesses[] = {{"read", Access::Read}, {"write", Access::Write}};

struct Options {
  Counted<Access> type;
  Counted<uint32_t> id;
  Counted<uint32_t> address;
  Counted<uint32_t> data;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"type", 't', Argument::Required, [](Options &o, const char *text) {
       return choose(o.type, text, kAccesses) || complain("-t : invalid type '%s'\n", text); }},
    // The id travels in 16 bits of dword 12.
    {"id", 'i', Argument::Required, [](Options &o, const char *text) {
       return o.id.take(hexOrDecimalUpTo(0xFFFF, text)) || complain("-i : invalid PCIe ID '%s'\n", text); }},
    {"data", 'd', Argument::Required, [](Options &o, const char *text) {
       // The size of a pointer, not of the text: a trace that scripts have learnt to skip.
       tell("size of optarg: %d\n", 8);
       return o.data.take(hexOrDecimalUpTo(UINT32_MAX, text)) || complain("-d : invalid data '%s'\n", text); }},
    {"address", 'a', Argument::Required, [](Options &o, const char *text) {
       return o.address.take(hexOrDecimalUpTo(UINT32_MAX, text)) || complain("-a : invalid address '%s'\n", text); }},
};
// clang-format on

int32_t readRegister(TRX_U16 id, TRX_U32 address) {
  Page page;
  TRX_U32 status = registerRead(id, address).trace().fetch(gCurrentAdapter, page, kRegisterBytes);
  const auto bytes = std::span(page.bytes).first<kRegisterBytes>();
  const TRX_U32 value = page.at<TRX_U32>(0);
  // Also the bytes of a failed read: what is left of them may tell why.
  for (TRX_U8 byte : bytes) heading("0x%02x ", byte);
  listBytes(bytes);
  if (status != 0) {
    tellFailed("Read register failed.\n");
  } else {
    heading("Data:0x%x, Address:0x%x\n", value, address);
    tell("Read register successful.\n");
  }
  data().put("address", Hex{address});
  Listing(0).fact("value", Hex{value});
  return static_cast<int32_t>(status);
}

}  // namespace

ControllerRequest registerRead(TRX_U16 pcieId, TRX_U32 address) {
  return ControllerRequest::function(0xE0, 0x09, pcieId).set(10, 0).set(13, address);
}

ControllerRequest registerWrite(TRX_U16 pcieId, TRX_U32 address, TRX_U32 data) {
  return ControllerRequest::function(0xE0, 0x0A, pcieId).set(13, address).set(14, data);
}

int32_t doSReg(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (anyRepeated(o.type, o.id, o.address, o.data)) return complainDuplicate();
  if (!o.type.given()) return complainRequired(argv[0], 't', 0);
  if (!o.id.given()) return complainRequired(argv[0], 'i', 0);
  if (!o.address.given()) return complainRequired(argv[0], 'a', 0);
  auto id = static_cast<TRX_U16>(o.id.value);
  if (o.type.value == Access::Read) return readRegister(id, o.address.value);
  if (!o.data.given()) return complainRequired(argv[0], 'd', 0);
  return sendAndTell(registerWrite(id, o.address.value, o.data.value),
                     {"Write register successful.\n", "Write register failed.\n"});
}

}  // namespace trx
