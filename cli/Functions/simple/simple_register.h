// SPDX-License-Identifier: GPL-3.0-or-later
// Requests that read and write one 32-bit register of the controller or of a device behind it.
#ifndef TRX_CLI_SIMPLE_REGISTER_H
#define TRX_CLI_SIMPLE_REGISTER_H

#include "Public/request.h"

namespace trx {

/// Bytes that a register read brings back.
inline constexpr TRX_U16 kRegisterBytes = 4;

/// Controller function 09h of group E0h; fetch `kRegisterBytes` with it.
ControllerRequest registerRead(TRX_U16 pcieId, TRX_U32 address);

/// Controller function 0Ah of group E0h; no data moves.
ControllerRequest registerWrite(TRX_U16 pcieId, TRX_U32 address, TRX_U32 data);

}  // namespace trx

#endif  // TRX_CLI_SIMPLE_REGISTER_H
