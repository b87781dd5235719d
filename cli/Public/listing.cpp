// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/listing.h"

#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <utility>

#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/report.h"

namespace trx {
namespace {

struct TextPrinter {
  std::FILE *out;
  int width;
  const char *label;

  void operator()(Nothing) const { text(""); }
  void operator()(bool flag) const { text(flag ? "Yes" : "No"); }
  void operator()(int64_t number) const { std::fprintf(out, "%-*s %ld\n", width, label, number); }
  // Signed here, as it has always been shown.
  void operator()(uint64_t number) const { (*this)(static_cast<int64_t>(number)); }
  void operator()(const std::string &value) const { text(value.c_str()); }
  void operator()(Hex hex) const { std::fprintf(out, "%-*s 0x%x\n", width, label, hex.value); }
  void operator()(Capacity size) const {
    std::fprintf(out, "%-*s %lld G\n", width, label,
                 static_cast<long long>(size.sectors * size.sectorBytes >> 30));
  }
  void operator()(Enumerated value) const { text(value.word); }
  void operator()(const Flags &flags) const {
    std::string line;
    for (const std::string &word : flags.words) line += word + " ";
    text(line.c_str());
  }
  void operator()(DeviceField field) const {
    text(skipBlanks(deviceText(field.bytes), field.leadingBlanks).c_str());
  }
  void operator()(const Counter &counter) const { (*this)(Multiple{counter}); }
  void operator()(const Multiple &multiple) const { text(digitsOf(multiple).c_str()); }
  void operator()(Bytes) const { text(""); }
  void operator()(const Numbers &numbers) const {
    std::string line;
    for (int64_t number : numbers.values) line += std::to_string(number) + " ";
    text(line.c_str());
  }
  void operator()(Ratio ratio) const {
    std::fprintf(out, "%-*s %g\n", width, label, ratio.hundredths / 100.0);
  }
  void operator()(const Shown &shown) const { text(shown.text.c_str()); }

  void text(const char *value) const { std::fprintf(out, "%-*s %s\n", width, label, value); }
};

// C0 and C1 control codes, but for line feed and tab. Device text is ASCII by the NVMe base standard.
bool steersTerminal(uint8_t byte) {
  return (byte < 0x20 && byte != '\n' && byte != '\t') || (byte >= 0x7F && byte < 0xA0);
}

bool writesToTerminal() { return isatty(streamDescriptor) == 1; }

}  // namespace

void printText(std::FILE *out, int labelWidth, const char *label, const Value &value) {
  std::visit(TextPrinter{out, labelWidth, label}, value);
}

Listing::Listing(int labelWidth) : Listing(labelWidth, data()) {}

Listing::Listing(const Object &object) : labelWidth_(0), object_(object), answered_(!lastFailure()) {}

Listing::Listing(int labelWidth, const char *array) : labelWidth_(labelWidth), answered_(!lastFailure()) {
  if (gathersFacts()) object_ = data().append(array);
}

Listing::Listing(int labelWidth, const Object &into) : labelWidth_(labelWidth), answered_(!lastFailure()) {
  if (gathersFacts()) object_ = into;
}

void Listing::row(const char *label, const char *key, const Value &value) {
  text(label, value);
  fact(key, value);
}

void Listing::text(const char *label, const Value &value) {
  if (!object_) printText(stream, labelWidth_, label, value);
}

void Listing::fact(const char *key, const Value &value) {
  if (object_) object_->put(key, value, answered_);
}

void Listing::error(const Failure &failure) {
  if (object_ && failure) object_->put("error", failure);
}

void Listing::blankLine() {
  if (!object_) std::fputc('\n', stream);
}

void listed(const char *key, const Value &value, const char *format, ...) {
  if (gathersFacts()) return data().put(key, value, !lastFailure());
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stream, format, arguments);
  va_end(arguments);
}

void listBytes(std::span<const uint8_t> bytes) { Listing(0).fact("data", Bytes{bytes}); }

void heading(const char *format, ...) {
  if (gathersFacts()) return;
  va_list arguments;
  va_start(arguments, format);
  std::vfprintf(stream, format, arguments);
  va_end(arguments);
}

void listUnread(const char *array, int id, const Failure &failure) {
  if (!gathersFacts()) return;
  Object object = data().append(array);
  object.put("id", int64_t{id});
  object.put("error", failure);
}

std::string deviceText(std::span<const uint8_t> field) {
  const auto *text = reinterpret_cast<const char *>(field.data());
  return deviceText(std::string(text, strnlen(text, field.size())));
}

std::string deviceText(std::string shown) {
  if (std::any_of(shown.begin(), shown.end(), steersTerminal) && writesToTerminal()) {
    std::replace_if(shown.begin(), shown.end(), steersTerminal, '?');
  }
  return shown;
}

void writeDeviceText(std::span<const uint8_t> bytes) {
  std::string shown = deviceText(std::string(bytes.begin(), bytes.end()));
  std::fwrite(shown.data(), 1, shown.size(), stream);
}

std::string skipBlanks(std::string text, size_t most) {
  size_t blanks = std::min(text.find_first_not_of(' '), text.size());
  return text.erase(0, std::min(blanks, most));
}

}  // namespace trx
