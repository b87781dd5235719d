// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/monitor/own.h"

#include "Public/exchange.h"

namespace trx {

int32_t noController() {
  if (!noteStart()) note(Outcome::NotFound);
  return statusNow();
}

bool hasSurplus(int argc, char **argv) {
  if (gLine.expect) return !complain("trx_cli: --expect: the command changes nothing\n");
  return optind < argc && !complain("%s: unknown word '%s'\n", argv[0], argv[optind]);
}

}  // namespace trx
