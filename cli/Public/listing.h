// SPDX-License-Identifier: GPL-3.0-or-later
// Listings are rows of a label, a key and a typed value; a printer renders a row when it is added.
// Text is the only printer: scripts have been reading these labels and widths for years.
#ifndef TRX_CLI_LISTING_H
#define TRX_CLI_LISTING_H

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace trx {

struct Hex {
  uint32_t value;
};
struct Gibibytes {
  uint64_t bytes;  ///< shown in whole GiB, rounded down
};
struct YesNo {
  bool value;
};
struct Words {
  std::vector<std::string> values;  ///< shown with a blank after each
};

using Value = std::variant<int64_t, Hex, Gibibytes, YesNo, Words, std::string>;

struct Row {
  const char *label;  ///< for people, as printed
  const char *key;    ///< for machines
  Value value;
};

/// Print a row as "%-*s %ld\n", "%-*s %s\n" and their like.
void printText(std::FILE *out, int labelWidth, const Row &row);

/// A block of rows with one label width.
class Listing {
 public:
  Listing(std::FILE *out, int labelWidth) : out_(out), labelWidth_(labelWidth) {}

  void row(const char *label, const char *key, Value value) {
    printText(out_, labelWidth_, {label, key, std::move(value)});
  }
  void blankLine() { std::fputc('\n', out_); }

 private:
  std::FILE *out_;
  int labelWidth_;
};

/// A text field of a device record: up to its end or the first NUL. On a terminal, control bytes
/// other than line feed and tab become "?", so that a device cannot steer it.
std::string deviceText(std::span<const uint8_t> field);

/// The same for text that is already at hand.
std::string deviceText(const std::string &text);

/// Write device text of any bytes, NULs included, to `stream` under the same rule.
void writeDeviceText(std::span<const uint8_t> bytes);

/// Drop leading blanks, at most `most` of them.
std::string skipBlanks(std::string text, size_t most = std::string::npos);

}  // namespace trx

#endif  // TRX_CLI_LISTING_H
