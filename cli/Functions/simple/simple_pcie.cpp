// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"
#include "Functions/simple/pcie_config.h"
#include "Functions/simple/simple_register.h"
#include "Public/exchange.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"

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
    const TRX_U32 status =
        registerRead(pcieId_, address).trace().fetch(gCurrentAdapter, page, kRegisterBytes);
    noteAnswer();
    if (status != 0) {
      tellFailed("Read register failed.\n");
      return 0;
    }
    TRX_U32 data = page.at<TRX_U32>(0);
    if (dbg_enable) std::fprintf(stream, "Data:0x%x, Address:0x%x\n", data, address);
    return data;
  }

  // A failed write shows in the reads that follow, and the library tells its status.
  void write(TRX_U32 address, TRX_U32 data) override {
    registerWrite(pcieId_, address, data).trace().send(gCurrentAdapter);
    noteAnswer();
  }

  /// Whether every access so far was answered: else the values are none that a machine should take for true.
  bool answered() const { return answered_; }

 private:
  void noteAnswer() { answered_ = answered_ && !lastFailure(); }

  TRX_U16 pcieId_;
  bool answered_ = true;
};

// The lines end with a carriage return behind the line feed; scripts know them so.

const char *speedWord(TRX_U32 generation) {
  switch (generation) {
    case 3:
      return "Gen3 8.0 GT/s";
    case 2:
      return "Gen2 5.0 GT/s";
    default:
      return "Gen1 2.5GT/s";
  }
}

const char *widthWord(TRX_U32 lanes) {
  switch (lanes) {
    case 8:
      return "x8";
    case 4:
      return "x4";
    case 2:
      return "x2";
    default:
      return "x1";
  }
}

void printLink(TRX_U32 linkStatus, bool known) {
  const TRX_U32 speed = linkStatus >> 16 & 0xF, lanes = linkStatus >> 20 & 0xF;
  heading("Link Speed: %s\n\r", speedWord(speed));
  heading("Link Width: %s\n\r", widthWord(lanes));
  data().put("link_speed", Enumerated{speedWord(speed), speed}, known);
  data().put("link_width", Enumerated{widthWord(lanes), lanes}, known);
}

bool printErrors(PcieConfig &config, const DeviceRegisters &registers) {
  data().put("correctable_errors", Nothing{});
  data().put("uncorrectable_errors", Nothing{});
  std::optional<TRX_U32> position = config.findExtendedCapability(kExtendedCapabilityErrorReporting);
  if (!position) return false;
  if (*position == 0) return true;  // Error reporting is an optional capability.
  TRX_U32 uncorrectable, correctable;
  if (!config.pio_CfgRd(*position + 4, &uncorrectable) || !config.pio_CfgRd(*position + 0x10, &correctable))
    return false;
  heading("Correctable errors: 0x%x\n\r", correctable);
  heading("Uncorrectable errors: 0x%x\n\r", uncorrectable);
  data().put("correctable_errors", Hex{correctable}, registers.answered());
  data().put("uncorrectable_errors", Hex{uncorrectable}, registers.answered());
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
    // There is no device, or none that tells of its link.
    tellWrong(Outcome::NotFound, "PCI Express capability is not found.\n");
    return 1;
  }
  TRX_U32 linkStatus;
  if (!config.pio_CfgRd(*position + 0x10, &linkStatus)) return 1;
  printLink(linkStatus, registers.answered());
  return printErrors(config, registers) ? 0 : 1;
}

}  // namespace trx
