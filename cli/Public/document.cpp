// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/document.h"

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>
#include <string_view>

namespace trx {
namespace {

constexpr char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD
constexpr uint64_t kLargestExact = (uint64_t{1} << 53) - 1;

bool isPrintable(uint8_t byte) { return byte >= 0x20 && byte < 0x7F; }

std::string printable(std::string_view text) {
  if (std::ranges::all_of(text, [](char c) { return isPrintable(static_cast<uint8_t>(c)); }))
    return std::string(text);
  std::string shown;
  for (char c : text) {
    if (isPrintable(static_cast<uint8_t>(c))) {
      shown += c;
    } else {
      shown += kReplacement;
    }
  }
  return shown;
}

std::string hexDigits(std::span<const uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(2 * bytes.size());
  for (uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

/// Blanks and NULs at both ends are padding.
std::span<const uint8_t> trimmed(std::span<const uint8_t> field) {
  auto isPadding = [](uint8_t byte) { return byte == ' ' || byte == 0; };
  while (!field.empty() && isPadding(field.back())) field = field.first(field.size() - 1);
  while (!field.empty() && isPadding(field.front())) field = field.subspan(1);
  return field;
}

std::string lowered(std::string_view word) {
  std::string text(word.substr(0, word.find_last_not_of(' ') + 1));
  std::ranges::transform(text, text.begin(),
                         [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

bool saysNothing(std::string_view word) {
  constexpr std::string_view kNone[] = {"", "unknown", "n/a", "not found", "?"};
  return std::ranges::find(kNone, word) != std::end(kNone);
}

bool isNotZero(uint8_t byte) { return byte != 0; }

/// A counter times its unit, little-endian: 128 and 32 bits.
using WideNumber = std::array<uint8_t, 20>;
WideNumber product(const Multiple &multiple) {
  const auto &bytes = multiple.count.bytes;
  WideNumber number{};
  uint64_t carry = 0;
  for (size_t i = 0; i < number.size(); ++i) {
    if (i < bytes.size()) carry += uint64_t{bytes[i]} * multiple.unit;
    number[i] = static_cast<uint8_t>(carry);
    carry >>= 8;
  }
  return number;
}

/// Puts a value and what stands beside it into an object.
class Writer {
 public:
  Writer(Json &object, const std::string &key, bool known) : object_(object), key_(key), known_(known) {}

  void operator()(Nothing) { set(nullptr); }
  void operator()(bool value) { set(value); }
  void operator()(int64_t value) {
    set(value);
    if (value > static_cast<int64_t>(kLargestExact)) beside("_s", std::to_string(value));
  }
  void operator()(uint64_t value) {
    set(value);
    if (value > kLargestExact) beside("_s", std::to_string(value));
  }
  void operator()(const std::string &value) { set(printable(value)); }
  void operator()(Hex hex) { set(hex.value); }
  void operator()(Capacity size) { (*this)(Multiple{counterOf(size.sectors), size.sectorBytes}); }
  void operator()(Enumerated value) {
    std::string word = lowered(value.word);
    if (saysNothing(word)) {
      set(nullptr);
    } else {
      set(printable(word));
    }
    beside("_code", value.code);
  }
  void operator()(const Flags &flags) {
    Json words = Json::array();
    for (const std::string &word : flags.words) words.push_back(lowered(word));
    set(std::move(words));
    beside("_bits", flags.bits);
  }
  void operator()(DeviceField field) {
    std::span<const uint8_t> text = trimmed(field.bytes);
    set(printable({reinterpret_cast<const char *>(text.data()), text.size()}));
    if (!std::ranges::all_of(text, isPrintable)) beside("_hex", hexDigits(text));
  }
  void operator()(const Counter &counter) { (*this)(Multiple{counter}); }
  void operator()(const Multiple &multiple) {
    const WideNumber number = product(multiple);
    if (std::any_of(number.begin() + sizeof(uint64_t), number.end(), isNotZero)) {
      set(nullptr);
      return beside("_s", digitsOf(multiple));
    }
    uint64_t value = 0;
    for (size_t i = sizeof value; i-- > 0;) value = value << 8 | number[i];
    (*this)(value);
  }
  void operator()(Bytes bytes) { set(hexDigits(bytes.data)); }
  void operator()(const Numbers &numbers) { set(numbers.values); }
  void operator()(Ratio ratio) { set(ratio.hundredths / 100.0); }
  void operator()(const Shown &shown) { std::visit(*this, shown.fact); }

 private:
  template <typename T>
  void set(T &&value) {
    place(key_, std::forward<T>(value));
  }
  template <typename T>
  void beside(const char *suffix, T &&value) {
    place(key_ + suffix, std::forward<T>(value));
  }
  template <typename T>
  void place(const std::string &key, T &&value) {
    Json &node = object_[key];
    if (known_) {
      node = std::forward<T>(value);
    } else {
      node = nullptr;
    }
  }

  Json &object_;
  const std::string &key_;
  bool known_;
};

/// With room for its keys: growing copies them and, as they are constant, all that stands under them.
Json emptyObject() {
  constexpr size_t kUsual = 24;
  Json object = Json::object();
  object.get_ref<Json::object_t &>().reserve(kUsual);
  return object;
}

std::string bytesOfHex(std::string_view digits) {
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
  return bytes;
}

}  // namespace

std::string digitsOf(const Multiple &multiple) {
  WideNumber number = product(multiple);
  std::string digits;
  do {
    unsigned remainder = 0;
    for (size_t i = number.size(); i-- > 0;) {
      unsigned part = remainder << 8 | number[i];
      number[i] = static_cast<uint8_t>(part / 10);
      remainder = part % 10;
    }
    digits += static_cast<char>('0' + remainder);
  } while (std::ranges::any_of(number, isNotZero));
  std::ranges::reverse(digits);
  return digits;
}

void Object::put(const std::string &key, const Value &value, bool known) {
  std::visit(Writer(*node_, key, known), value);
}

void Object::put(const std::string &key, const Failure &failure) {
  constexpr const char *kSources[] = {nullptr, "nvme", "firmware", "platform"};
  Json &status = (*node_)[key] = nullptr;
  if (failure.source == Source::None) return;
  const bool nvme = failure.source == Source::Nvme;
  status["source"] = kSources[static_cast<size_t>(failure.source)];
  status["code"] = failure.code;
  status["sct"] = nvme ? Json(failure.code >> 8) : Json();
  status["sc"] = nvme ? Json(failure.code & 0xFF) : Json();
  status["text"] = printable(textOf(failure));
}

void Object::putText(const std::string &key, const std::string &text) { (*node_)[key] = text; }

Object Object::object(const std::string &key) {
  Json &node = (*node_)[key];
  if (!node.is_object()) node = Json::object();
  return Object(node);
}

void Object::array(const std::string &key) {
  Json &node = (*node_)[key];
  if (!node.is_array()) node = Json::array();
}

Object Object::append(const std::string &key) {
  array(key);
  return Object((*node_)[key].emplace_back(emptyObject()));
}

void Object::appendText(const std::string &key, const std::string &text) {
  array(key);
  (*node_)[key].push_back(printable(text));
}

Object::Match Object::match(const std::string &key, const std::string &wanted) const {
  auto found = node_->find(key);
  if (found == node_->end() || found->is_structured()) return Match::UnknownKey;
  return typed(key) == wanted ? Match::Equal : Match::Different;
}

std::string Object::typed(const std::string &key) const {
  auto hex = node_->find(key + "_hex");
  if (hex != node_->end()) return bytesOfHex(hex->get_ref<const std::string &>());
  auto digits = node_->find(key + "_s");
  if (digits != node_->end()) return digits->get<std::string>();
  auto found = node_->find(key);
  if (found == node_->end()) return {};
  return found->is_string() ? found->get<std::string>() : found->dump();
}

Counter counterOf(uint64_t number) {
  Counter counter{};
  for (size_t i = 0; i < sizeof number; ++i) counter.bytes[i] = static_cast<uint8_t>(number >> 8 * i);
  return counter;
}

Document::Document() : json_(new Json(emptyObject())) {}
void Document::Delete::operator()(Json *json) const { delete json; }
void Document::adopt(const std::string &key, Document &&part) { (*json_)[key] = std::move(*part.json_); }
void Document::takeFirst(Document &other, const std::string &array) {
  *json_ = std::move((*other.json_)[array].at(0));
}
std::string Document::line() const { return json_->dump() + "\n"; }

}  // namespace trx
