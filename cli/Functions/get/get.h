// SPDX-License-Identifier: GPL-3.0-or-later
// Printer of a controller's configuration, and the words for its rate.
#ifndef TRX_CLI_GET_H
#define TRX_CLI_GET_H

#include "Public/options.h"
#include "Public/request.h"
#include "trx/trx_records.h"

namespace trx {

/// Request for the configuration: an `NVME_Adapter_Config` comes back as payload.
ControllerRequest configRequest();

/// Read the id of an adapter, made zero-based. One that is a number and no adapter's is no wrong use: there
/// is none of that id.
bool readAdapterId(Counted<int32_t> &id, const char *text);

/// The configuration block, 24 wide, with an empty line at its end. What the reply before it lacked is told
/// to machines.
/// @param index zero-based; shown in the user's counting
void hbaGet_printf(TRX_U8 index, const NVME_Adapter_Config &config);

}  // namespace trx

#endif  // TRX_CLI_GET_H
