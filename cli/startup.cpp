// SPDX-License-Identifier: GPL-3.0-or-later
#include "startup.h"

#include <cstdio>
#include <cstdlib>

#include "Functions/simple/simple_info.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/numbers.h"
#include "Public/report.h"
#include "trx/trx_api.h"

namespace trx {
namespace {

/// On standard output, wherever `stream` goes: it is for who started the program.
void complainNoSuchAdapter(int32_t id, const char *before) {
  std::FILE *usual = stream;
  stream = stdout;
  tellWrong(Outcome::NotFound, "%sAdapter ID %d is not exist\n", before, id);
  stream = usual;
}

/// Fill the summary of every adapter. What goes wrong with one counts for those who want it.
/// @return the status of the last
TRX_U32 loadSummaries() {
  const Aside aside;
  g_pAdInfos.assign(gNumAdaptersFound, NVME_Adapter_Info{});
  gSummaryFailures.assign(gNumAdaptersFound, Failure{});
  TRX_U32 status = 0;
  for (uint8_t i = 0; i < gNumAdaptersFound; ++i) {
    status = TRX_Adapter_GetSimpleInfo(i, &g_pAdInfos[i]);
    gSummaryFailures[i] = lastFailure();
    if (status != 0) tellFailed("\nUnable to get info of NVMe Controller %d\n", userCounting(i));
  }
  return status;
}

void reportNoAdapter() {
  gSysDenied = TRX_IsSysDenied();
  tellWarning(gSysDenied ? "NVMe Controller is found, but need administrator permission.\n"
                         : "No NVMe Controller is found.\n");
}

}  // namespace

bool chooseAdapter(const char *text, const char *before) {
  long typed = std::strtol(text, nullptr, 10);
  // The ID is kept to 32 signed bits: one that does not fit counts as negative.
  auto value = static_cast<int32_t>(typed);
  if (value != typed || zeroBased(value) < 0) {
    complainNoSuchAdapter(value, before);
    return false;
  }
  // Cut to 8 bits before it is compared with the adapters found: an adapter index has 8 bits, and 256 is
  // adapter 0.
  gCurrentAdapter = static_cast<uint8_t>(zeroBased(value));
  gSpecificAdapterFlag = 1;
  return true;
}

std::optional<int> startUp(const char *before) {
  findControllers();
  gNumAdaptersFound = TRX_Adapter_GetCount();
  if (gNumAdaptersFound == 0) {
    reportNoAdapter();
    return std::nullopt;
  }
  TRX_U32 status = loadSummaries();
  forgetExchange();
  if (!gSpecificAdapterFlag || gCurrentAdapter < gNumAdaptersFound) return std::nullopt;
  complainNoSuchAdapter(userCounting(gCurrentAdapter), before);
  return static_cast<int>(status);
}

int shutDown(int status) {
  TRX_Final();
  g_pAdInfos.clear();
  return status;
}

}  // namespace trx
