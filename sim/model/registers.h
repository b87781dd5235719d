// SPDX-License-Identifier: GPL-3.0-or-later
// The controller's registers, and the engine behind some of them that reads the configuration space
// of a device.
#pragma once

#include "model/state.h"

namespace sim {

/// Value of a register; 0 for one that was never written.
uint32_t readRegister(const Adapter &adapter, uint32_t pcieId, uint32_t address);

/// Writes a register, and carries out what the write starts.
/// @return false when there is no room for another register
bool writeRegister(Adapter &adapter, uint32_t pcieId, uint32_t address, uint32_t value);

}  // namespace sim
