// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/restart.h"

#include "model/devices.h"

namespace sim {

// One line per thing that does not outlive the power, or wakes up with it.
void restart(Adapter &adapter, Millis) { applyPendingSwitches(adapter); }

}  // namespace sim
