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
int32_t doSLog(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSEvent(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSImport(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSINIT(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSMP(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSRebuild(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSVD(int, char **, const Command_Info *row) { return notAvailable(row); }
int32_t doSNS(int, char **, const Command_Info *row) { return notAvailable(row); }

const char log_help[] = "\nlog [-h]\n\n";
const char event_help[] = "\nevent [-h]\n\n";
const char import_help[] = "\nimport [-h]\n\n";
const char init_help[] = "\ninit [-h]\n\n";
const char mp_help[] = "\nmp [-h]\n\n";
const char rebuild_help[] = "\nrebuild [-h]\n\n";
const char vd_help[] = "\nvd [-h]\n\n";
const char ns_help[] = "\nns [-h]\n\n";
// clang-format on

}  // namespace trx
