// SPDX-License-Identifier: GPL-3.0-or-later
// Checks over a whole firmware image.
#ifndef TRX_FUNCTION_IMAGECHECK_H
#define TRX_FUNCTION_IMAGECHECK_H

#include <cstddef>

#include "trx/trx_records.h"

/// CRC-32 of IEEE 802.3 (reflected, polynomial EDB88320h), continued from `crc`, without the final
/// inversion.
TRX_U32 crc32(TRX_U32 crc, const void *data, std::size_t length);

/// CRC of an image, filled up with zeros to whole pages, as the controller wants it: started from
/// FFFFFFFFh, with the bytes of the result in reverse order.
TRX_U32 crcMake(const void *data, std::size_t length);

/// Sum of the 32-bit words of an image, modulo 2^32; an image is good when it is 0. A length that is
/// not a multiple of 4096 bytes gives 1.
TRX_U32 checksumResult(const void *words, std::size_t length);

#endif  // TRX_FUNCTION_IMAGECHECK_H
