// SPDX-License-Identifier: GPL-3.0-or-later
// What controllers and disks count of their life.
#pragma once

#include "model/state.h"

namespace sim {

/// Of a device that is new.
SmartBase unworn(Millis now);
/// With all that was counted up to now.
SmartBase grown(SmartBase smart, Millis now);

}  // namespace sim
