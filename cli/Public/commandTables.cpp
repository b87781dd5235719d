// SPDX-License-Identifier: GPL-3.0-or-later
// The two command tables. Their order is the order of `help` and decides between equal
// abbreviations.
#include <iterator>
#include <string_view>

#include "Functions/handlers.h"
#include "Public/common.h"

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

}  // namespace

// clang-format off
const Command_Info generalCmdTableV1[] = {
    row("?",        doHelp,     help_help,     ":Get brief help for all commands."),
    row("help",     doHelp,     help_help,     ":Get brief help for all commands or detail help for one command."),
    row("adapter",  doAdapter,  adapter_help,  ":Default NVMe Controller the following CLI commands refers to."),
    row("version",  doVersion,  version_help,  ":Show API, CLI and support firmware version"),
    row("smart",    doSmart,    smart_help,    ":Get SSD adapter smart info."),
    row("flash",    doFlash,    flash_help,    ":Update flash image."),
    row("log",      doSLog,     log_help,      ":For show/on/off SPI log"),
    row("info",     doSInfo,    info_help,     ":For display NVMe Controller(hba), virtual disk(vd), physical disk(pd) or Namespace(ns) information."),
    row("event",    doSEvent,   event_help,    ":For getting event from NVMe Controller."),
    row("import",   doSImport,  import_help,   ":For import VD"),
    row("init",     doSINIT,    init_help,     ":For start or stop VD initialization."),
    row("mp",       doSMP,      mp_help,       ":For start or stop media patrol for a virtual disk."),
    row("rebuild",  doSRebuild, rebuild_help,  ":For start or stop VD rebuild."),
    row("debuglv",  doSDEBUGLV, debuglv_help,  ":For switch debug level target"),
    row("get",      doSGet,     get_help,      ":For getting configuration information of NVMe Controller."),
    row("set",      doSSet,     set_help,      ":For setting configuration parameters of NVMe Controller."),
    row("passthru", doPassthru, passthru_help, ":Passthrough NVMe admin command to backend device"),
    row("spi",      doSPI,      spi_help,      ":Read and write SPI data. Maximal size of SPI data is 4096 bytes."),
    row("vd",       doSVD,      vd_help,       ":For VD create and delete"),
    row("reset",    doSReset,   reset_help,    kResetShortHelp),
    row("led",      doSLed,     led_help,      ":For control LED of device"),
    row("vpd",      doSVPD,     vpd_help,      ":For switch VPD access target"),
    row("dumphba",  doSDUMPHBA, dumphba_help,  ":For dump hba info data structure"),
    row("gpio",     doSGPIO,    gpio_help,     ":For GPIO setting in HBA info (Only for GPIO 4 to 7)"),
    row("ns",       doSNS,      ns_help,       ":For namespace management"),
    row("vpdread",  doVPDRead,  vpdread_help,  ":Read VPD via standard MI-Send and MI-Receive"),
};

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

uint16_t generalCmdTableV1Size() { return std::size(generalCmdTableV1); }
uint16_t hiddenCmdTableV1Size() { return std::size(hiddenCmdTableV1); }

}  // namespace trx
