// SPDX-License-Identifier: GPL-3.0-or-later
// Listings are rows of a label, a key and a typed value. People see the labels and widths that scripts have
// been reading for years, machines the keys.
#ifndef TRX_CLI_LISTING_H
#define TRX_CLI_LISTING_H

#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>
#include <string>

#include "Public/document.h"
#include "Public/value.h"

namespace trx {

/// Print a row as "%-*s %ld\n", "%-*s %s\n" and their like.
void printText(std::FILE *out, int labelWidth, const char *label, const Value &value);

/// A block of rows with one label width: printed on `stream` or, where facts are gathered, put into an object
/// of the document. When the request before it was not answered, all its facts are null.
class Listing {
 public:
  /// Of facts of the line itself.
  explicit Listing(int labelWidth);
  /// Of an object that stands elsewhere: facts alone.
  explicit Listing(const Object &object);
  /// Of one object of a kind; `array` is the key of that kind.
  Listing(int labelWidth, const char *array);
  /// Of an object in the document.
  Listing(int labelWidth, const Object &into);

  /// A row for people and for machines.
  void row(const char *label, const char *key, const Value &value);
  /// A row for people alone, whose facts are told apart.
  void text(const char *label, const Value &value);
  /// A fact for machines alone.
  void fact(const char *key, const Value &value);
  /// What hindered the reading of a part of the object.
  void error(const Failure &failure);
  /// The object of the facts; null where none are gathered. Another one of its kind ends it.
  Object *object() { return object_ ? &*object_ : nullptr; }
  void blankLine();

 private:
  int labelWidth_;
  std::optional<Object> object_;
  bool answered_;
};

/// A line of a listing with a form of its own: printed as it is, or put into `data`.
[[gnu::format(printf, 3, 4)]] void listed(const char *key, const Value &value, const char *format, ...);

/// Raw bytes that were read, under `data`: for machines alone, because every command prints them its own way.
void listBytes(std::span<const uint8_t> bytes);

/// Text of a listing that holds no fact, such as its heading: printed for people only.
[[gnu::format(printf, 1, 2)]] void heading(const char *format, ...);

/// An object that would not be read, with its id and the reason.
void listUnread(const char *array, int id, const Failure &failure);

/// A text field of a device record: up to its end or the first NUL. On a terminal, control bytes
/// other than line feed and tab become "?", so that a device cannot steer it.
std::string deviceText(std::span<const uint8_t> field);

/// The same for text that is already at hand.
std::string deviceText(std::string text);

/// Write device text of any bytes, NULs included, to `stream` under the same rule.
void writeDeviceText(std::span<const uint8_t> bytes);

/// Drop leading blanks, at most `most` of them.
std::string skipBlanks(std::string text, size_t most = std::string::npos);

}  // namespace trx

#endif  // TRX_CLI_LISTING_H
