// SPDX-License-Identifier: GPL-3.0-or-later
// Topology files: JSON descriptions of a host, checked, and refused with the place and the reason.
#pragma once

#include <string>

#include "host/directory.h"

namespace sim {

/// Reads a topology. Throws HostError such as
/// "adapters[1].disks[3].sectorSize: must be 512 or 4096".
HostPlan parseTopology(const std::string &text);
/// The topology that is built in.
const std::string &defaultTopology();

}  // namespace sim
