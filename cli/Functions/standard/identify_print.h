// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_CLI_IDENTIFY_PRINT_H
#define TRX_CLI_IDENTIFY_PRINT_H

#include <span>

#include "trx/trx_records.h"

namespace trx {

/// Print what an administrator reads of Identify Controller data (NVMe base standard, CNS 01h), a line
/// per field in the standard's names, on `stream` or, under `identify_controller`, into the document. Bytes
/// beyond the end of `data` read as zero.
void printIdentifyController(std::span<const TRX_U8> data);

}  // namespace trx

#endif  // TRX_CLI_IDENTIFY_PRINT_H
