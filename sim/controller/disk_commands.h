// SPDX-License-Identifier: GPL-3.0-or-later
// NVMe admin commands that the controller forwards to a disk: opcode 0xC2 when data comes back, 0xC3
// otherwise. The outer NSID is the disk's id, dword 14 the dword 0 and dword 15 the NSID of the
// forwarded command.
#pragma once

#include "controller/command.h"

namespace sim {

void runDiskRead(Context &context, const Command &command, Completion &completion);
void runDiskWrite(Context &context, const Command &command, Completion &completion);

}  // namespace sim
