// SPDX-License-Identifier: GPL-3.0-or-later
// Commands whose tables rows stand and whose handlers are not in this build.
#include "Functions/handlers.h"

namespace trx {
namespace {

int32_t notAvailable(const Command_Info *row) {
  std::fprintf(stream, "%s: this command is not available.\n", row->cmd);
  return 1;
}

}  // namespace

// clang-format off
int32_t doSPI(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSVPD(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSDUMPHBA(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSGPIO(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doVPDRead(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doGen(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSReg(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSi2c(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSpcie(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doMIPassthruRead(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doMIPassthruWrite(int, char **, const Command_Info *row) { return notAvailable(row); }

const char spi_help[] = "\nspi [-h]\n\n";
const char vpd_help[] = "\nvpd [-h]\n\n";
const char dumphba_help[] = "\ndumphba [-h]\n\n";
const char gpio_help[] = "\ngpio [-h]\n\n";
const char vpdread_help[] = "\nvpdread [-h]\n\n";
const char gen_help[] = "\ngen [-h]\n\n";
const char reg_help[] = "\nreg [-h]\n\n";
const char i2c_help[] = "\ni2c [-h]\n\n";
const char pcie_help[] = "\npcie [-h]\n\n";
const char mi_passthruread_help[] = "\nmi_passthruread [-h]\n\n";
const char mi_passthruwrite_help[] = "\nmi_passthruwrite [-h]\n\n";
// clang-format on

}  // namespace trx
