// SPDX-License-Identifier: GPL-3.0-or-later
// Printer of a controller's configuration, and the words for its rate.
#ifndef TRX_CLI_GET_H
#define TRX_CLI_GET_H

#include "Public/request.h"
#include "trx/trx_records.h"

namespace trx {

/// Request for the configuration: an `NVME_Adapter_Config` comes back as payload.
ControllerRequest configRequest();

/// The configuration block, 24 wide, with an empty line at its end.
/// @param index zero-based; shown in the user's counting
void hbaGet_printf(TRX_U8 index, const NVME_Adapter_Config &config);

}  // namespace trx

#endif  // TRX_CLI_GET_H
