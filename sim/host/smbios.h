// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "host/directory.h"

namespace sim {

/// The bytes of "/dev/char/mem/smbios" on this host: an entry point at offset 0, and the structure
/// table read from offset 0 of the same file.
std::vector<char> smbiosImage(const HostPlan &plan);

}  // namespace sim
