// SPDX-License-Identifier: GPL-3.0-or-later
// The splitting of a line into words, and what reads single words.
#include <array>
#include <cstring>

#include "Public/common.h"
#include "Public/files.h"
#include "Public/numbers.h"
#include "Public/utility.h"
#include "input.h"

namespace {

void readWord(char *word) {
  const size_t length = std::strlen(word);
  for (size_t n : {length, length / 2, length + 1}) {
    std::vector<char> bare(n + 2, '\0');
    trx::noQuoteStrncpy(bare.data(), word, n);
    fuzz::require(std::find(bare.begin(), bare.end(), '\0') != bare.end());
  }
  fuzz::require(trx::pathArgument(word).size() <= length);
  trx::decimal(word);
  trx::zeroBasedId16(word);
  trx::zeroBasedId(word);
  trx::hexOrDecimal(word);
  if (auto number = trx::hexOrDecimalUpTo(255, word)) fuzz::require(*number <= 255);
  trx::chooseRaidMode(word);
  trx::chooseBGAAction(word);
  if (trx::isNumber(word)) fuzz::require(std::strspn(word, "0123456789") == length);
  fuzz::require(trx::strlwr(word) == word);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::vector<char> line = fuzz::exactText(std::string(data, data + size).c_str());
  std::array<char *, trx::kMaxTokens> tokens{};
  int32_t count = 0;
  const bool open = std::count(line.begin(), line.end(), '"') % 2 != 0;
  fuzz::require((trx::parse(&count, tokens.data(), line.data()) == 0) == open);
  if (open) return 0;
  fuzz::require(count >= 0);
  for (size_t i = 0; i < static_cast<size_t>(std::min(count, trx::kMaxTokens)); ++i) {
    fuzz::require(tokens[i] >= line.data() && tokens[i] < line.data() + line.size());
    readWord(tokens[i]);
  }
  return 0;
}
