// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/state.h"

namespace sim {

/// Whether all that is used as a place, a count or a time lies in bounds. A state file may come from
/// anywhere, and its checksum can be made by anybody.
bool sound(const Adapter &adapter);

}  // namespace sim
