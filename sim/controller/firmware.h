// SPDX-License-Identifier: GPL-3.0-or-later
// The firmware commands of the NVMe base standard, for the controller itself.
#pragma once

#include "controller/functions.h"
#include "model/firmware.h"

namespace sim {

void runImageDownload(Context &context, const Command &command, Completion &completion);
void runFirmwareCommit(Context &context, const Command &command, Completion &completion);

/// The vendor's activation of a raw image, which comes before its commit (group 0xE0).
Answer directActivateImage(Context &context, const DirectCall &call);

/// Completes a command with an NVMe status.
void finish(Completion &completion, NvmeStatus status);

}  // namespace sim
