// SPDX-License-Identifier: GPL-3.0-or-later
// Checked reading of JSON: each value knows its place, and each object refuses words that it does
// not know, so that a slip of the pen is not silently ignored.
#pragma once

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "files/files.h"
#include "topology/json_parse.h"

namespace sim {

class JsonObject {
 public:
  JsonObject(const nlohmann::json &value, std::string place) : value_(value), place_(std::move(place)) {
    if (!value_.is_object()) refuse("", "must be an object");
  }

  [[noreturn]] void refuse(const std::string &word, const std::string &why) const {
    std::string place = place_.empty() || word.empty() ? place_ + word : place_ + "." + word;
    throw HostError(printable((place.empty() ? "topology" : place) + ": " + why));
  }

  bool has(const char *word) {
    known_.insert(word);
    return value_.contains(word);
  }

  int64_t number(const char *word, int64_t absent, int64_t least, int64_t most) {
    if (!has(word)) return absent;
    const auto &value = value_[word];
    bool fits =
        value.is_number_integer() && !(value.is_number_unsigned() && value.get<uint64_t>() > INT64_MAX);
    if (!fits || value.get<int64_t>() < least || value.get<int64_t>() > most)
      refuse(word, "must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
    return value.get<int64_t>();
  }

  double real(const char *word, double absent, double most) {
    if (!has(word)) return absent;
    const auto &value = value_[word];
    if (!value.is_number() || value.get<double>() < 0 || value.get<double>() > most)
      refuse(word, "must be a number from 0 to " + std::to_string(static_cast<long>(most)));
    return value.get<double>();
  }

  bool flag(const char *word, bool absent) {
    if (!has(word)) return absent;
    if (!value_[word].is_boolean()) refuse(word, "must be true or false");
    return value_[word].get<bool>();
  }

  std::string text(const char *word, const std::string &absent, size_t most) {
    if (!has(word)) return absent;
    if (!value_[word].is_string()) refuse(word, "must be a text");
    auto text = value_[word].get<std::string>();
    if (text.size() > most) refuse(word, "must be at most " + std::to_string(most) + " bytes long");
    return text;
  }

  /// The value that belongs to one of the words of a table of {word, value}.
  template <typename Choices>
  auto choice(const char *word, const char *absent, const Choices &choices) {
    return chosen(word, text(word, absent, 64), choices);
  }

  template <typename Choices>
  auto chosen(const std::string &place, const std::string &text, const Choices &choices) const {
    std::string all;
    for (const auto &[name, value] : choices) {
      if (text == name) return value;
      all += (all.empty() ? "\"" : ", \"") + std::string(name) + "\"";
    }
    refuse(place, "must be one of " + all);
  }

  /// The members of an array, or none when it is absent.
  const nlohmann::json &array(const char *word, size_t least, size_t most) {
    static const nlohmann::json none = nlohmann::json::array();
    const nlohmann::json &values = has(word) ? value_[word] : none;
    if (!values.is_array()) refuse(word, "must be an array");
    if (values.size() < least || values.size() > most)
      refuse(word, "must have " + std::to_string(least) + " to " + std::to_string(most) + " entries, has " +
                       std::to_string(values.size()));
    return values;
  }

  JsonObject member(const char *word, size_t index) const {
    return JsonObject(value_[word][index], inner(std::string(word) + "[" + std::to_string(index) + "]"));
  }
  JsonObject object(const char *word) {
    has(word);
    return JsonObject(value_[word], inner(word));
  }

  /// Call it when everything was read.
  void finish() const {
    for (const auto &[word, value] : value_.items())
      if (!known_.contains(word)) refuse(word, "is not known here");
  }

 private:
  std::string inner(const std::string &word) const { return place_.empty() ? word : place_ + "." + word; }

  const nlohmann::json &value_;
  std::string place_;
  std::set<std::string, std::less<>> known_;
};

}  // namespace sim
