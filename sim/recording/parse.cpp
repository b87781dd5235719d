// SPDX-License-Identifier: GPL-3.0-or-later
// Reading a recording. It may come from anywhere and may have been edited: nothing in it is believed.
#include <algorithm>
#include <charconv>
#include <cstring>

#include "recording/recording.h"

namespace sim {
namespace {

constexpr size_t kRow = 16;

template <typename Number>
bool number(std::string_view text, Number &value, int base = 10) {
  const char *end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, value, base);
  return error == std::errc() && stop == end;
}

/// Takes what stands before the separator off the text.
std::string_view take(std::string_view &text, char separator) {
  size_t at = std::min(text.find(separator), text.size());
  std::string_view word = text.substr(0, at);
  text.remove_prefix(std::min(at + 1, text.size()));
  return word;
}

bool takePrefix(std::string_view &text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

class Parser {
 public:
  explicit Parser(std::string_view text) : rest_(text) {}

  std::vector<Recorded> parse() {
    if (!next() || line_ != kRecordingTitle)
      fail("this is no recording, or one of another version; its first line is not \"" +
           std::string(kRecordingTitle) + "\"");
    std::vector<Recorded> records;
    while (next()) {
      if (line_.empty() || line_.front() == '#') continue;
      records.push_back(record());
    }
    return records;
  }

 private:
  [[noreturn]] void fail(const std::string &what) const { failAt(number_, what); }
  [[noreturn]] static void failAt(size_t line, const std::string &what) {
    throw HostError("line " + std::to_string(line) + ": " + what);
  }

  bool next() {
    if (rest_.empty()) return false;
    ++number_;
    if (rest_.find('\n') == std::string_view::npos) fail("the file ends within this line");
    line_ = take(rest_, '\n');
    return true;
  }

  Recorded record() {
    bool known = line_ == kListHead || line_ == kLspciHead || line_ == kSmbiosHead;
    for (std::string_view word : {"open ", "loglevel ", "exchange "}) known |= line_.starts_with(word);
    if (!known) fail("a record does not begin so");
    Recorded record{.head = std::string(line_), .line = number_};
    while (next()) {
      std::string_view text = line_;
      if (text.empty() || text.front() == '#') continue;
      if (takePrefix(text, "to "))
        block(text, record.to);
      else if (takePrefix(text, "from "))
        block(text, record.from);
      else if (takePrefix(text, "result ")) {
        result(text, record);
        return record;
      } else
        fail("neither \"to\", \"from\" nor \"result\": the record of line " + std::to_string(record.line) +
             " is not whole");
    }
    failAt(record.line, "the record that begins here is not whole");
  }

  void block(std::string_view lengthText, std::vector<uint8_t> &data) {
    size_t length = 0, first = number_;
    if (!data.empty()) fail("a second block of the same direction");
    if (!number(lengthText, length) || length == 0 || length > kRecordedBlock)
      fail("the length is not a number from 1 to " + std::to_string(kRecordedBlock));
    if ((whole_ += length) > kRecordedWhole)
      fail("more than " + std::to_string(kRecordedWhole >> 20) + " MiB of data");
    bool folded = false;
    while (data.size() < length && rest_.starts_with("  ") && next()) {
      std::string_view text = line_.substr(2);
      if (text != "*") {
        row(text, folded, length, data);
        folded = false;
      } else if (data.size() < kRow || folded) {
        fail("\"*\" does not follow a line of 16 bytes");
      } else {
        folded = true;
      }
    }
    if (folded) unfold(length, data);
    if (data.size() != length)
      failAt(first, "the block has " + std::to_string(data.size()) + " bytes, not " + std::to_string(length));
  }

  static void unfold(size_t upTo, std::vector<uint8_t> &data) {
    size_t at = data.size();
    data.resize(upTo);
    for (; at < upTo; at += kRow) std::memcpy(&data[at], &data[at - kRow], std::min(kRow, upTo - at));
  }

  void row(std::string_view text, bool folded, size_t length, std::vector<uint8_t> &data) const {
    size_t offset = 0;
    if (!number(take(text, ' '), offset, 16)) fail("the line has no offset");
    if (folded && offset > data.size() && offset < length && offset % kRow == 0) unfold(offset, data);
    if (offset != data.size()) fail("the offset does not follow from the lines before");
    size_t bytes = std::min(kRow, length - offset);
    text = text.substr(0, text.find('|'));
    for (std::string_view word; !text.empty();) {
      if ((word = take(text, ' ')).empty()) continue;
      uint8_t byte = 0;
      if (word.size() != 2 || !number(word, byte, 16))
        fail("'" + std::string(word.substr(0, 16)) + "' is not a byte of two hexadecimal digits");
      data.push_back(byte);
      if (data.size() > offset + bytes) break;
    }
    if (data.size() != offset + bytes) fail("the line does not have " + std::to_string(bytes) + " bytes");
  }

  void result(std::string_view text, Recorded &record) const {
    std::string_view platform = take(text, ' '), driver = take(text, ' ');
    uint32_t entry[4] = {};
    bool good = takePrefix(platform, "platform=") && number(platform, record.platform) &&
                takePrefix(driver, "driver=") && number(driver, record.driver) &&
                takePrefix(text, "completion=");
    for (uint32_t &dword : entry) good = good && number(take(text, ','), dword, 16);
    if (!good || !text.empty()) fail("the result is not \"platform=N driver=N completion=\" and four dwords");
    std::memcpy(&record.completion, entry, sizeof entry);
  }

  std::string_view rest_, line_;
  size_t number_ = 0;
  size_t whole_ = 0;
};

}  // namespace

std::vector<Recorded> parseRecording(std::string_view text) { return Parser(text).parse(); }

std::vector<Recorded> readRecording(const std::string &path) {
  bool exists = false;
  std::string text = readText(path, exists);
  if (!exists) throw HostError(path + ": no such file");
  try {
    return parseRecording(text);
  } catch (const HostError &error) {
    throw HostError(path + ": " + error.what());
  }
}

}  // namespace sim
