// SPDX-License-Identifier: GPL-3.0-or-later
// The management library's three functions as C sees them; behind them stand three operations that each
// library of the simulated host writes for itself. Arguments come as the program gave them, null ones
// included.
#pragma once

#include "vmkmgmt.h"

namespace sim::entry {

/// @return the platform's status; `*handle` is set when it is 0
int init(vmk_MgmtApiSignature *signature, uint64_t cookie, void **handle);

/// @return the platform's status
int invoke(void *handle, uint64_t instance, uint64_t callback, void *first, void *second);

void destroy(void *handle);

}  // namespace sim::entry
