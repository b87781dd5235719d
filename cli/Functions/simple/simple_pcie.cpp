// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Functions/simple/pcie_config.h"
#include "Functions/simple/simple_register.h"
#include "Public/numbers.h"
#include "Public/options.h"

namespace trx {

const char pcie_help[] = R"(
pcie -i <device id> [-h]

Options:
    -i, --id <device id>
        Back-end device whose PCIe link is displayed, decimal.
    -h, --help

Examples:
    pcie -i 0
    Display link speed, link width and error status of device 0.

)";

namespace {

// Registers of device d belong to PCIe id d + 2, which has 8 bits.
constexpr int32_t kPcieIdOfFirstDevice = 2;
constexpr int32_t kLastDevice = 0xFF - kPcieIdOfFirstDevice;

struct Options {
  Counted<int32_t> id;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"id", 'i', Argument::Required, [](Options &o, const char *text) {
       return o.id.take(decimalUpTo(kLastDevice, text)) || complain("-i : invalid device id '%s'\n", text); }},
};
// clang-format on

class DeviceRegisters : public RegisterAccess {
 public:
  explicit DeviceRegisters(TRX_U8 device) : pcieId_(static_cast<TRX_U16>(device + kPcieIdOfFirstDevice)) {}

  TRX_U32 read(TRX_U32 address) override {
    Page page;
    if (registerRead(pcieId_, address).trace().fetch(gCurrentAdapter, page, kRegisterBytes) != 0) {
      std::fputs("Read register failed.\n", stream);
      return 0;
    }
    TRX_U32 data = page.at<TRX_U32>(0);
    if (dbg_enable) std::fprintf(stream, "Data:0x%x, Address:0x%x\n", data, address);
    return data;
  }

  // A failed write shows in the reads that follow, and the library tells its status.
  void write(TRX_U32 address, TRX_U32 data) override {
    registerWrite(pcieId_, address, data).trace().send(gCurrentAdapter);
  }

 private:
  TRX_U16 pcieId_;
};

// The lines end with a carriage return behind the line feed; scripts know them so.

void printLink(TRX_U32 linkStatus) {
  switch (linkStatus >> 16 & 0xF) {
    case 3:
      std::fputs("Link Speed: Gen3 8.0 GT/s\n\r", stream);
      break;
    case 2:
      std::fputs("Link Speed: Gen2 5.0 GT/s\n\r", stream);
      break;
    default:
      std::fputs("Link Speed: Gen1 2.5GT/s\n\r", stream);
      break;
  }
  TRX_U32 lanes = linkStatus >> 20 & 0xF;
  std::fprintf(stream, "Link Width: x%u\n\r", lanes == 8 || lanes == 4 || lanes == 2 ? lanes : 1);
}

bool printErrors(PcieConfig &config) {
  std::optional<TRX_U32> position = config.findExtendedCapability(kExtendedCapabilityErrorReporting);
  if (!position) return false;
  if (*position == 0) return true;  // Error reporting is an optional capability.
  TRX_U32 uncorrectable, correctable;
  if (!config.pio_CfgRd(*position + 4, &uncorrectable) || !config.pio_CfgRd(*position + 0x10, &correctable))
    return false;
  std::fprintf(stream, "Correctable errors: 0x%x\n\r", correctable);
  std::fprintf(stream, "Uncorrectable errors: 0x%x\n\r", uncorrectable);
  return true;
}

}  // namespace

int32_t doSpcie(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto result = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *result;
  if (o.id.repeated()) return complainDuplicate();
  if (!o.id.given()) return complainRequired(argv[0], 'i', 0);

  auto device = static_cast<TRX_U8>(o.id.value);
  DeviceRegisters registers(device);
  PcieConfig config(registers, device);
  std::optional<TRX_U32> position = config.findCapability(kCapabilityPciExpress);
  if (!position) return 1;
  if (*position == 0) {
    std::fputs("PCI Express capability is not found.\n", stream);
    return 1;
  }
  TRX_U32 linkStatus;
  if (!config.pio_CfgRd(*position + 0x10, &linkStatus)) return 1;
  printLink(linkStatus);
  return printErrors(config) ? 0 : 1;
}

}  // namespace trx
