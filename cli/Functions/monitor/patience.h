// SPDX-License-Identifier: GPL-3.0-or-later
// Asking a controller again and again.
#ifndef TRX_CLI_PATIENCE_H
#define TRX_CLI_PATIENCE_H

#include <optional>

#include "Public/exchange.h"
#include "Public/interrupt.h"
#include "Public/report.h"

namespace trx {

/// How often something is asked, a second apart. A controller that is busy or resets itself comes back; one
/// that has never answered is not waited for.
inline constexpr int kOnce = 1, kPatient = 4;

/// Ask until there is an answer. What went wrong counts only when the last try did, too.
/// @return nothing then, or when somebody interrupted
template <typename Ask>
auto askPatiently(int tries, Ask ask) -> decltype(ask()) {
  for (;;) {
    {
      const Aside aside;
      if (auto answer = ask()) return answer;
    }
    if (interruptedBy() != 0) return std::nullopt;
    if (--tries == 0) break;
    if (sleepMilliseconds(1000)) return std::nullopt;
  }
  note(lastFailure());
  tellFailed("It could not be asked: %s.\n", textOf(lastFailure()));
  return std::nullopt;
}

}  // namespace trx

#endif  // TRX_CLI_PATIENCE_H
