// SPDX-License-Identifier: GPL-3.0-or-later
// The values of listings and documents. A row has one value, and every view of it (text, JSON) makes of it
// what it shows.
#ifndef TRX_CLI_VALUE_H
#define TRX_CLI_VALUE_H

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace trx {

/// Nothing to tell: it does not apply, or it could not be read.
using Nothing = std::monostate;

struct Hex {
  uint32_t value;  ///< shown as 0x..; a plain number in a document
};
struct Capacity {
  uint64_t sectors;  ///< shown in whole GiB, rounded down, of 64 bits; exact, in bytes, in a document
  uint32_t sectorBytes;
};
/// A word out of a list. In a document it is in lower case, with the code beside it; words that say that
/// there is none ("Unknown", "N/A", "Not found", "?") are null there.
struct Enumerated {
  const char *word;
  uint32_t code;
};
/// The words of the bits that are set.
struct Flags {
  std::vector<std::string> words;  ///< shown with a blank after each
  uint64_t bits;
};
/// A text field of a device. In a document its padding is trimmed, and bytes outside printable ASCII are
/// told beside it.
struct DeviceField {
  std::span<const uint8_t> bytes;
  size_t leadingBlanks = 0;  ///< at most so many are left out of the text
};
/// A little-endian number of 16 bytes (NVMe base standard).
struct Counter {
  std::array<uint8_t, 16> bytes;
};
/// The same, where it counts more than one.
struct Multiple {
  Counter count;
  uint32_t unit = 1;
};
/// Raw data; hexadecimal digits in a document.
struct Bytes {
  std::span<const uint8_t> data;
};
struct Numbers {
  std::vector<int64_t> values;
};
/// From 0 to 1, or beyond: the one kind of number of a document that is no integer.
struct Ratio {
  unsigned hundredths;
};
using Scalar = std::variant<Nothing, bool, int64_t, uint64_t, std::string>;
/// A value that people and machines are shown differently.
struct Shown {
  std::string text;
  Scalar fact;
};

using Value = std::variant<Nothing, bool, int64_t, uint64_t, std::string, Hex, Capacity, Enumerated, Flags,
                           DeviceField, Counter, Multiple, Bytes, Numbers, Ratio, Shown>;

/// All decimal digits: no built-in printing goes beyond 64 bits.
std::string digitsOf(const Multiple &multiple);

Counter counterOf(uint64_t number);

}  // namespace trx

#endif  // TRX_CLI_VALUE_H
