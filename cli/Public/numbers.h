// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers as users type them.
#ifndef TRX_CLI_NUMBERS_H
#define TRX_CLI_NUMBERS_H

#include <cstdint>
#include <optional>

namespace trx {

/// A decimal number kept to 32 signed bits. Nothing for text that is not all digits; a number that
/// does not fit is negative, so that a check for a negative id refuses it.
std::optional<int32_t> decimal(const char *text);

/// A decimal id in the user's counting, made zero-based: 1 is subtracted in one-base mode.
/// Nothing for text that is not all digits; negative for an id below the first one.
std::optional<int32_t> userId(const char *text);

/// `userId`, and nothing for an id below the first one either.
std::optional<int32_t> zeroBasedId(const char *text);

/// The same for a field of 16 bits. Nothing for a larger id either: cut, it would name another object.
std::optional<uint16_t> zeroBasedId16(const char *text);

/// A number of up to 64 bits: hexadecimal when the text contains "0x" anywhere, else decimal.
/// Nothing for other text.
std::optional<uint64_t> hexOrDecimal(const char *text);

/// The same for a field of 32 bits or fewer. Nothing for a number above `most` either.
std::optional<uint32_t> hexOrDecimalUpTo(uint32_t most, const char *text);

}  // namespace trx

#endif  // TRX_CLI_NUMBERS_H
