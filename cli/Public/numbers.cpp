// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/numbers.h"

#include <cstdlib>
#include <cstring>
#include <limits>

#include "Public/common.h"
#include "Public/utility.h"

namespace trx {

std::optional<int32_t> decimal(const char *text) {
  if (!isNumber(text)) return std::nullopt;
  long value = std::strtol(text, nullptr, 10);
  if (value > std::numeric_limits<int32_t>::max()) return -1;
  return static_cast<int32_t>(value);
}

std::optional<int32_t> userId(const char *text) {
  std::optional<int32_t> value = decimal(text);
  if (value && *value >= 0) *value -= g_oneBaseMode;
  return value;
}

std::optional<int32_t> zeroBasedId(const char *text) {
  std::optional<int32_t> id = userId(text);
  return id && *id >= 0 ? id : std::nullopt;
}

std::optional<uint16_t> zeroBasedId16(const char *text) {
  std::optional<int32_t> id = zeroBasedId(text);
  if (!id || *id > std::numeric_limits<uint16_t>::max()) return std::nullopt;
  return static_cast<uint16_t>(*id);
}

std::optional<uint64_t> hexOrDecimal(const char *text) {
  if (std::strstr(text, "0x")) return std::strtoull(text, nullptr, 16);
  if (!isNumber(text)) return std::nullopt;
  return std::strtoull(text, nullptr, 10);
}

std::optional<uint32_t> hexOrDecimalUpTo(uint32_t most, const char *text) {
  std::optional<uint64_t> value = hexOrDecimal(text);
  if (!value || *value > most) return std::nullopt;
  return static_cast<uint32_t>(*value);
}

}  // namespace trx
