// SPDX-License-Identifier: GPL-3.0-or-later
// What a line tells to machines, as a tree of JSON. The library that writes it stays behind this header.
#ifndef TRX_CLI_DOCUMENT_H
#define TRX_CLI_DOCUMENT_H

#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "Public/outcome.h"
#include "Public/value.h"

namespace trx {

using Json = nlohmann::ordered_json;

/// An object in a document. It is a place in the tree: copies are the same object.
class Object {
 public:
  explicit Object(Json &node) : node_(&node) {}

  /// Put a value under a key, in snake_case and with its unit. What a value tells beyond itself stands
  /// beside it: KEY_code of a word, KEY_bits of flags, KEY_hex of a text with bytes that are none, KEY_s of
  /// a number that a reader with 53 bits would round.
  /// @param known where it is not, all of that is null
  void put(const std::string &key, const Value &value, bool known = true);

  /// The error of an object that would not be read, or the status of a line; null for none.
  void put(const std::string &key, const Failure &failure);

  /// The object under a key, made when it is not there.
  Object object(const std::string &key);

  /// A new object at the end of the array under a key.
  Object append(const std::string &key);

  /// The array under a key, empty when it is not there.
  void array(const std::string &key);

  /// A text of our own of several lines.
  void putText(const std::string &key, const std::string &text);

  /// A text at the end of the array under a key.
  void appendText(const std::string &key, const std::string &text);

  /// Whether a value equals what somebody typed: numbers by their digits, texts by the device's own bytes.
  enum class Match { Equal, Different, UnknownKey };
  Match match(const std::string &key, const std::string &typed) const;

  /// The value under a key, as a person would type it.
  std::string typed(const std::string &key) const;

 private:
  Json *node_;
};

/// A tree with an object at its root.
class Document {
 public:
  Document();
  Object root() { return Object(*json_); }
  /// Put another tree under a key of this one.
  void adopt(const std::string &key, Document &&part);
  /// Become the first object of an array of another document.
  void takeFirst(Document &other, const std::string &array);
  /// One line of UTF-8 with its line feed.
  std::string line() const;

 private:
  struct Delete {
    void operator()(Json *json) const;
  };
  std::unique_ptr<Json, Delete> json_;
};

}  // namespace trx

#endif  // TRX_CLI_DOCUMENT_H
