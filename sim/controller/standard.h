// SPDX-License-Identifier: GPL-3.0-or-later
// Standard NVMe admin commands of the adapter itself.
#pragma once

#include "controller/command.h"

namespace sim {

void runIdentify(Context &context, const Command &command, Completion &completion);
void runGetLogPage(Context &context, const Command &command, Completion &completion);
void runNamespaceAttachment(Context &context, const Command &command, Completion &completion);

/// Cuts or fills data to what the caller has room for.
void fitData(Completion &completion, size_t wanted);

}  // namespace sim
