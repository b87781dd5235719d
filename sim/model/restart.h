// SPDX-License-Identifier: GPL-3.0-or-later
// What a loss of power and the start after it do to an adapter and its disks.
#pragma once

#include "model/state.h"

namespace sim {

void restart(Adapter &adapter, Millis now);

}  // namespace sim
