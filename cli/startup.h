// SPDX-License-Identifier: GPL-3.0-or-later
// The library is started, and every adapter's summary read.
#ifndef TRX_CLI_STARTUP_H
#define TRX_CLI_STARTUP_H

#include <optional>
#include <string>

#include "Public/common.h"

namespace trx {

/// Take a typed adapter ID for `gCurrentAdapter`: zero-based, cut to 8 bits as adapter indexes are.
/// @return whether it can be one; says on standard output when it cannot
/// @param before stands in front of that line
bool chooseAdapter(const char *typed, const char *before = "");

/// The adapter that is chosen while it lives is chosen for that time only.
class OwnAdapter {
 public:
  /// @param named whether one is; else what is chosen stays
  explicit OwnAdapter(bool named)
      : named_(named), current_(gCurrentAdapter), specific_(gSpecificAdapterFlag) {}
  ~OwnAdapter() {
    if (!named_) return;
    gCurrentAdapter = current_;
    gSpecificAdapterFlag = specific_;
  }
  OwnAdapter(const OwnAdapter &) = delete;
  OwnAdapter &operator=(const OwnAdapter &) = delete;

 private:
  bool named_;
  uint8_t current_, specific_;
};

/// TRX_Init, then a summary per adapter, with the lines about what is wrong on `stream`.
/// @return the exit status when the chosen adapter is not there
/// @param before stands in front of the line that says so
std::optional<int> startUp(const char *before = "");

/// TRX_Final. @return `status`
int shutDown(int status);

}  // namespace trx

#endif  // TRX_CLI_STARTUP_H
