// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/numbers.h"

#include <charconv>
#include <cstdlib>
#include <string_view>

#include "Public/utility.h"

namespace trx {
namespace {

std::optional<uint64_t> wholeNumber(std::string_view digits, int base) {
  uint64_t value = 0;
  const char *end = digits.data() + digits.size();
  auto [stop, error] = std::from_chars(digits.data(), end, value, base);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

}  // namespace

std::optional<int64_t> decimal(const char *text) {
  if (!isNumber(text)) return std::nullopt;
  return std::strtoll(text, nullptr, 10);
}

std::optional<int32_t> decimalUpTo(int32_t most, const char *text) {
  std::optional<int64_t> value = decimal(text);
  if (!value || *value > most) return std::nullopt;
  return static_cast<int32_t>(*value);
}

std::optional<int32_t> zeroBasedId(const char *text, int32_t most) {
  std::optional<int64_t> typed = decimal(text);
  if (!typed || zeroBased(*typed) < 0 || zeroBased(*typed) > most) return std::nullopt;
  return static_cast<int32_t>(zeroBased(*typed));
}

std::optional<uint16_t> zeroBasedId16(const char *text) {
  std::optional<int32_t> id = zeroBasedId(text, std::numeric_limits<uint16_t>::max());
  if (!id) return std::nullopt;
  return static_cast<uint16_t>(*id);
}

std::optional<uint64_t> hexOrDecimal(const char *text) {
  constexpr std::string_view kPrefix = "0x";
  std::string_view typed = text;
  if (typed.find(kPrefix) == std::string_view::npos) {
    // The digit test alone decides: an empty text is 0, as with plain decimals.
    if (typed.empty()) return 0;
    return wholeNumber(typed, 10);
  }
  if (!typed.starts_with(kPrefix)) return std::nullopt;
  return wholeNumber(typed.substr(kPrefix.size()), 16);
}

std::optional<uint32_t> hexOrDecimalUpTo(uint32_t most, const char *text) {
  std::optional<uint64_t> value = hexOrDecimal(text);
  if (!value || *value > most) return std::nullopt;
  return static_cast<uint32_t>(*value);
}

}  // namespace trx
