// SPDX-License-Identifier: GPL-3.0-or-later
// What a loss of power and the start after it do to an adapter and its disks.
#pragma once

#include "model/state_file.h"

namespace sim {

void restart(Session &session);

}  // namespace sim
