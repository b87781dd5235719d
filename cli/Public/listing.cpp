// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/listing.h"

#include <unistd.h>

#include <algorithm>

#include "Public/common.h"

namespace trx {
namespace {

struct TextPrinter {
  std::FILE *out;
  int width;
  const char *label;

  void operator()(int64_t number) const { std::fprintf(out, "%-*s %ld\n", width, label, number); }
  void operator()(Hex hex) const { std::fprintf(out, "%-*s 0x%x\n", width, label, hex.value); }
  void operator()(Gibibytes size) const {
    std::fprintf(out, "%-*s %lld G\n", width, label, static_cast<long long>(size.bytes >> 30));
  }
  void operator()(YesNo flag) const { text(flag.value ? "Yes" : "No"); }
  void operator()(const Words &words) const {
    std::string line;
    for (const std::string &word : words.values) line += word + " ";
    text(line.c_str());
  }
  void operator()(const std::string &value) const { text(value.c_str()); }

  void text(const char *value) const { std::fprintf(out, "%-*s %s\n", width, label, value); }
};

// C0 and C1 control codes, but for line feed and tab. Device text is ASCII by the NVMe base standard.
bool steersTerminal(uint8_t byte) {
  return (byte < 0x20 && byte != '\n' && byte != '\t') || (byte >= 0x7F && byte < 0xA0);
}

bool writesToTerminal() { return isatty(streamDescriptor) == 1; }

}  // namespace

void printText(std::FILE *out, int labelWidth, const Row &row) {
  std::visit(TextPrinter{out, labelWidth, row.label}, row.value);
}

std::string deviceText(std::span<const uint8_t> field) {
  return deviceText(std::string(field.begin(), std::find(field.begin(), field.end(), 0)));
}

std::string deviceText(const std::string &text) {
  std::string shown = text;
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
