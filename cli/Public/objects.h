// SPDX-License-Identifier: GPL-3.0-or-later
// Facts that the host-facing controller tells by Identify (NVMe base standard, opcode 06h). Both go
// to the current adapter and print "\nFailed to get primary controller.\n" when the command fails.
#ifndef TRX_CLI_IDENTIFY_H
#define TRX_CLI_IDENTIFY_H

#include <array>
#include <optional>
#include <string>

#include "trx/trx_api.h"

namespace trx {

/// Controller identifier of the primary controller (CNS 14h, first word).
/// @param[out] id untouched on failure
/// @return the library's status
TRX_U32 primaryControllerId(TRX_U16 &id);

using Eui64 = std::array<TRX_U8, 8>;

/// EUI-64 of a namespace (CNS 00h, bytes 120-127), in stored order; zeros on failure.
Eui64 namespaceEui64(TRX_U32 nsid);

/// 16 lower-case hexadecimal digits.
std::string toText(const Eui64 &eui64);

}  // namespace trx

#endif  // TRX_CLI_IDENTIFY_H
