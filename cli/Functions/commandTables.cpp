// SPDX-License-Identifier: GPL-3.0-or-later
// The order of the tables is the order of `help` and decides between equal abbreviations.
#include "Functions/commandTables.h"

#include <array>
#include <iterator>
#include <string_view>

#include "Functions/handlers.h"

namespace trx {
namespace {

constexpr Command_Info row(std::string_view word, CommandHandler handler, const char *help,
                           const char *shortHelp) {
  return {word.data(), static_cast<int32_t>(word.size()) + 1, handler, help, shortHelp};
}

constexpr char kResetShortHelp[] =
    ":For reset back-end device\n"
    "[Notice]\n"
    "  <Default GPIO setting>\n"
    "    Set power: \n"
    "        Power pin id 0 means control GPIO4\n"
    "        Power pin id 1 means control GPIO5\n"
    "    Set perstn\n"
    "        PD id 0 means control GPIO8\n"
    "        PD id 1 means control GPIO9\n"
    "        PD id 2 means control GPIO10\n"
    "        PD id 3 means control GPIO11";

/// A row of the general table, and what completion knows of the command.
struct GeneralRow {
  Command_Info info;
  const OptionList *options;
};

constexpr GeneralRow general(std::string_view word, CommandHandler handler, const char *help,
                             const OptionList &options, const char *shortHelp) {
  return {row(word, handler, help, shortHelp), &options};
}

// clang-format off
constexpr GeneralRow kGeneralRows[] = {
    general("?",        doHelp,     help_help,     help_options,     ":Get brief help for all commands."),
    general("help",     doHelp,     help_help,     help_options,     ":Get brief help for all commands or detail help for one command."),
    general("adapter",  doAdapter,  adapter_help,  adapter_options,  ":Default NVMe Controller the following CLI commands refers to."),
    general("version",  doVersion,  version_help,  version_options,  ":Show API, CLI and support firmware version"),
    general("smart",    doSmart,    smart_help,    smart_options,    ":Get SSD adapter smart info."),
    general("flash",    doFlash,    flash_help,    flash_options,    ":Update flash image."),
    general("log",      doSLog,     log_help,      log_options,      ":For show/on/off SPI log"),
    general("info",     doSInfo,    info_help,     info_options,     ":For display NVMe Controller(hba), virtual disk(vd), physical disk(pd) or Namespace(ns) information."),
    general("event",    doSEvent,   event_help,    event_options,    ":For getting event from NVMe Controller."),
    general("import",   doSImport,  import_help,   import_options,   ":For import VD"),
    general("init",     doSINIT,    init_help,     init_options,     ":For start or stop VD initialization."),
    general("mp",       doSMP,      mp_help,       mp_options,       ":For start or stop media patrol for a virtual disk."),
    general("rebuild",  doSRebuild, rebuild_help,  rebuild_options,  ":For start or stop VD rebuild."),
    general("debuglv",  doSDEBUGLV, debuglv_help,  debuglv_options,  ":For switch debug level target"),
    general("get",      doSGet,     get_help,      get_options,      ":For getting configuration information of NVMe Controller."),
    general("set",      doSSet,     set_help,      set_options,      ":For setting configuration parameters of NVMe Controller."),
    general("passthru", doPassthru, passthru_help, passthru_options, ":Passthrough NVMe admin command to backend device"),
    general("spi",      doSPI,      spi_help,      spi_options,      ":Read and write SPI data. Maximal size of SPI data is 4096 bytes."),
    general("vd",       doSVD,      vd_help,       vd_options,       ":For VD create and delete"),
    general("reset",    doSReset,   reset_help,    reset_options,    kResetShortHelp),
    general("led",      doSLed,     led_help,      led_options,      ":For control LED of device"),
    general("vpd",      doSVPD,     vpd_help,      vpd_options,      ":For switch VPD access target"),
    general("dumphba",  doSDUMPHBA, dumphba_help,  dumphba_options,  ":For dump hba info data structure"),
    general("gpio",     doSGPIO,    gpio_help,     gpio_options,     ":For GPIO setting in HBA info (Only for GPIO 4 to 7)"),
    general("ns",       doSNS,      ns_help,       ns_options,       ":For namespace management"),
    general("vpdread",  doVPDRead,  vpdread_help,  vpdread_options,  ":Read VPD via standard MI-Send and MI-Receive"),
};
// clang-format on

/// One member of every row.
template <typename T>
constexpr std::array<T, std::size(kGeneralRows)> column(T GeneralRow::*member) {
  std::array<T, std::size(kGeneralRows)> values{};
  for (size_t i = 0; i < values.size(); ++i) values[i] = kGeneralRows[i].*member;
  return values;
}

constexpr auto kGeneral = column(&GeneralRow::info);
constexpr auto kGeneralOptions = column(&GeneralRow::options);

}  // namespace

const Command_Info *const generalCmdTableV1 = kGeneral.data();

// clang-format off
const Command_Info hiddenCmdTableV1[] = {
    row("--debug",          doDebug,           "",                    ""),
    row("gen",              doGen,             gen_help,              ":Using for generate PRP data which file name is prp_data and size is 4K for nvme standard admin command"),
    row("reg",              doSReg,            reg_help,              ":For read and write PCIe register. Maximal size of data is 4 bytes."),
    row("kxf",              doSKXF,            kxf_help,              ":For control manufacture flash tool"),
    row("protect",          doSProtect,        protect_help,          ":For control protection area"),
    row("i2c",              doSi2c,            i2c_help,              ":For test i2c device"),
    row("pcie",             doSpcie,           pcie_help,             ":For get PCIe information from backend device"),
    row("sriov",            doSSRIOV,          sriov_help,            ":For control SRIOV feature"),
    row("hotkey",           doHotkey,          hotkey_help,           ":For hotkey."),
    row("mi_passthruread",  doMIPassthruRead,  mi_passthruread_help,  ":Read pass-through command via standard MI-Send and MI-Receive"),
    row("mi_passthruwrite", doMIPassthruWrite, mi_passthruwrite_help, ":Write pass-through command via standard MI-Send"),
};
// clang-format on

namespace {

// Whole words only, looked up when no other table has a match: `help` and abbreviations stay as they are.
// clang-format off
constexpr Command_Info kOwn[] = {
    row("health",  doHealth,  health_help,  ":State of all NVMe Controllers, as monitors want it"),
    row("metrics", doMetrics, metrics_help, ":The same as metrics for a textfile collector"),
    row("wait",    doWait,    wait_help,    ":Wait until background activities have ended."),
    row("watch",   doWatch,   watch_help,   ":Follow the events of NVMe Controller."),
};
// clang-format on

constexpr const OptionList *kOwnOptions[] = {&health_options, &metrics_options, &wait_options,
                                             &watch_options};
static_assert(std::size(kOwnOptions) == std::size(kOwn));

}  // namespace

uint16_t generalCmdTableV1Size() { return kGeneral.size(); }
uint16_t hiddenCmdTableV1Size() { return std::size(hiddenCmdTableV1); }

void useCommandTables() {
  pCmdTable = generalCmdTableV1;
  cmdTableSize = generalCmdTableV1Size();
  pHiddenCmdTable = hiddenCmdTableV1;
  hiddenCmdTableSize = hiddenCmdTableV1Size();
  pOwnCmdTable = kOwn;
  ownCmdTableSize = std::size(kOwn);
}

const char *generalCommandWord(size_t index) {
  return index < kGeneral.size() ? kGeneral[index].cmd : nullptr;
}

const char *ownCommandWord(size_t index) { return index < std::size(kOwn) ? kOwn[index].cmd : nullptr; }

const OptionList *optionsOf(const Command_Info *row) {
  for (size_t i = 0; i < kGeneral.size(); ++i) {
    if (row == &kGeneral[i]) return kGeneralOptions[i];
  }
  for (size_t i = 0; i < std::size(kOwn); ++i) {
    if (row == &kOwn[i]) return kOwnOptions[i];
  }
  return nullptr;
}

}  // namespace trx
