// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "vmkmgmt.h"

namespace sim {

/// Checks a management signature. Returns what is wrong with it, or nothing; `adapter` is the name
/// in an adapter's signature and empty for the driver-wide one.
std::string checkSignature(const vmk_MgmtApiSignature &signature, std::string &adapter);

}  // namespace sim
