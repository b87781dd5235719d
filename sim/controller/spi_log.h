// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "controller/command.h"

namespace sim {

/// The next piece of the SPI log: its length, and up to 4080 bytes of text. Reading goes on from
/// call to call; a piece of length 0 ends it, and the next reading starts over.
NVME_Debug_Dump_Request nextSpiPiece(Context &context);

}  // namespace sim
