// SPDX-License-Identifier: GPL-3.0-or-later
// The handlers, option lists and help texts that the command tables name. Each stands in the source
// file of its command.
#ifndef TRX_CLI_HANDLERS_H
#define TRX_CLI_HANDLERS_H

#include "Public/common.h"

namespace trx {

int32_t doHelp(int argc, char **argv, const Command_Info *row);
int32_t doAdapter(int argc, char **argv, const Command_Info *row);
int32_t doVersion(int argc, char **argv, const Command_Info *row);
int32_t doSmart(int argc, char **argv, const Command_Info *row);
int32_t doFlash(int argc, char **argv, const Command_Info *row);
int32_t doSLog(int argc, char **argv, const Command_Info *row);
int32_t doSInfo(int argc, char **argv, const Command_Info *row);
int32_t doSEvent(int argc, char **argv, const Command_Info *row);
int32_t doSImport(int argc, char **argv, const Command_Info *row);
int32_t doSINIT(int argc, char **argv, const Command_Info *row);
int32_t doSMP(int argc, char **argv, const Command_Info *row);
int32_t doSRebuild(int argc, char **argv, const Command_Info *row);
int32_t doSDEBUGLV(int argc, char **argv, const Command_Info *row);
int32_t doSGet(int argc, char **argv, const Command_Info *row);
int32_t doSSet(int argc, char **argv, const Command_Info *row);
int32_t doPassthru(int argc, char **argv, const Command_Info *row);
int32_t doSPI(int argc, char **argv, const Command_Info *row);
int32_t doSVD(int argc, char **argv, const Command_Info *row);
int32_t doSReset(int argc, char **argv, const Command_Info *row);
int32_t doSLed(int argc, char **argv, const Command_Info *row);
int32_t doSVPD(int argc, char **argv, const Command_Info *row);
int32_t doSDUMPHBA(int argc, char **argv, const Command_Info *row);
int32_t doSGPIO(int argc, char **argv, const Command_Info *row);
int32_t doSNS(int argc, char **argv, const Command_Info *row);
int32_t doVPDRead(int argc, char **argv, const Command_Info *row);

int32_t doDebug(int argc, char **argv, const Command_Info *row);
int32_t doGen(int argc, char **argv, const Command_Info *row);
int32_t doSReg(int argc, char **argv, const Command_Info *row);
int32_t doSKXF(int argc, char **argv, const Command_Info *row);
int32_t doSProtect(int argc, char **argv, const Command_Info *row);
int32_t doSi2c(int argc, char **argv, const Command_Info *row);
int32_t doSpcie(int argc, char **argv, const Command_Info *row);
int32_t doSSRIOV(int argc, char **argv, const Command_Info *row);
int32_t doHotkey(int argc, char **argv, const Command_Info *row);
int32_t doMIPassthruRead(int argc, char **argv, const Command_Info *row);
int32_t doMIPassthruWrite(int argc, char **argv, const Command_Info *row);

// Our own commands.
int32_t doHealth(int argc, char **argv, const Command_Info *row);
int32_t doMetrics(int argc, char **argv, const Command_Info *row);
int32_t doWait(int argc, char **argv, const Command_Info *row);
int32_t doWatch(int argc, char **argv, const Command_Info *row);

// What completion knows of the listed commands.
extern const OptionList help_options;
extern const OptionList adapter_options;
extern const OptionList version_options;
extern const OptionList smart_options;
extern const OptionList flash_options;
extern const OptionList log_options;
extern const OptionList info_options;
extern const OptionList event_options;
extern const OptionList import_options;
extern const OptionList init_options;
extern const OptionList mp_options;
extern const OptionList rebuild_options;
extern const OptionList debuglv_options;
extern const OptionList get_options;
extern const OptionList set_options;
extern const OptionList passthru_options;
extern const OptionList spi_options;
extern const OptionList vd_options;
extern const OptionList reset_options;
extern const OptionList led_options;
extern const OptionList vpd_options;
extern const OptionList dumphba_options;
extern const OptionList gpio_options;
extern const OptionList ns_options;
extern const OptionList vpdread_options;
extern const OptionList health_options;
extern const OptionList metrics_options;
extern const OptionList wait_options;
extern const OptionList watch_options;

extern const char help_help[];
extern const char adapter_help[];
extern const char version_help[];
extern const char smart_help[];
extern const char flash_help[];
extern const char log_help[];
extern const char info_help[];
extern const char event_help[];
extern const char import_help[];
extern const char init_help[];
extern const char mp_help[];
extern const char rebuild_help[];
extern const char debuglv_help[];
extern const char get_help[];
extern const char set_help[];
extern const char passthru_help[];
extern const char spi_help[];
extern const char vd_help[];
extern const char reset_help[];
extern const char led_help[];
extern const char vpd_help[];
extern const char dumphba_help[];
extern const char gpio_help[];
extern const char ns_help[];
extern const char vpdread_help[];
extern const char gen_help[];
extern const char reg_help[];
extern const char kxf_help[];
extern const char protect_help[];
extern const char i2c_help[];
extern const char pcie_help[];
extern const char sriov_help[];
extern const char hotkey_help[];
extern const char mi_passthruread_help[];
extern const char mi_passthruwrite_help[];
extern const char health_help[];
extern const char metrics_help[];
extern const char wait_help[];
extern const char watch_help[];

}  // namespace trx

#endif  // TRX_CLI_HANDLERS_H
