// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers as users type them, and ids as users count them. A number is taken only if all of its text was
// read and only if it fits: cut, it would name another object or send another command.
#ifndef TRX_CLI_NUMBERS_H
#define TRX_CLI_NUMBERS_H

#include <cstdint>
#include <limits>
#include <optional>

#include "Public/common.h"

namespace trx {

/// A decimal number; nothing for text that is not all digits. An empty text is 0, and a number beyond 64
/// signed bits is the largest one: for values of which a low part is kept.
std::optional<int64_t> decimal(const char *text);

/// A decimal number from 0 to `most`.
std::optional<int32_t> decimalUpTo(int32_t most, const char *text);

/// The zero-based id for one in the user's counting, negative for an id below the first one, and back.
inline int64_t zeroBased(int64_t typed) { return typed - g_oneBaseMode; }
inline int userCounting(int zeroBasedId) { return zeroBasedId + g_oneBaseMode; }

/// A decimal id in the user's counting, made zero-based; nothing for one below the first or above `most`.
std::optional<int32_t> zeroBasedId(const char *text, int32_t most = std::numeric_limits<int32_t>::max());

/// The same for a field of 16 bits.
std::optional<uint16_t> zeroBasedId16(const char *text);

/// A number of up to 64 bits: hexadecimal when the text contains "0x", which must then begin it, else
/// decimal.
std::optional<uint64_t> hexOrDecimal(const char *text);

/// The same for a field of 32 bits or fewer.
std::optional<uint32_t> hexOrDecimalUpTo(uint32_t most, const char *text);

}  // namespace trx

#endif  // TRX_CLI_NUMBERS_H
