// SPDX-License-Identifier: GPL-3.0-or-later
// The option parser: a byte of modes, the short options, the long options separated by blanks (their
// colons behind them), and the words, each on a line.
#include <algorithm>
#include <cstring>

#include "Public/getopt.h"
#include "input.h"

namespace {

struct Table {
  std::vector<std::vector<char>> names;
  std::vector<trx::option> rows;
  int32_t flag = 0;

  explicit Table(fuzz::Input input) {
    while (!input.empty() && names.size() < 16) {
      std::string name = input.textUpTo(' ');
      int32_t colons = 0;
      for (; colons < 2 && name.ends_with(':'); ++colons) name.pop_back();
      names.push_back(fuzz::exactText(name));
      auto number = static_cast<int32_t>(names.size());
      rows.push_back({nullptr, colons, number % 5 == 4 ? &flag : nullptr, 256 + number});
    }
    for (size_t i = 0; i < rows.size(); ++i) rows[i].name = names[i].data();
    rows.push_back({});
  }
};

bool within(const std::vector<std::vector<char>> &words, const char *text) {
  return std::any_of(words.begin(), words.end(), [&](const auto &word) {
    return text >= word.data() && text < word.data() + word.size();
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  const unsigned modes = input.byte();
  const std::vector<char> letters = fuzz::exactText(input.textUpTo('\n').c_str());
  const std::string names = input.textUpTo('\n');
  Table table(fuzz::Input(reinterpret_cast<const uint8_t *>(names.data()), names.size()));

  std::vector<std::vector<char>> words;
  size_t characters = 0;
  while (!input.empty() && words.size() < 64) {
    words.push_back(fuzz::exactText(input.textUpTo('\n').c_str()));
    characters += words.back().size();
  }
  std::vector<char *> argv;
  for (auto &word : words) argv.push_back(word.data());
  auto argc = static_cast<int32_t>(argv.size());

  trx::opterr = modes >> 2 & 1;
  trx::setoptind(1);
  const int32_t stopAfter = static_cast<int32_t>(modes >> 3);
  int32_t row = 0, code = 0;
  for (int32_t calls = 0; code != -1; ++calls) {
    // Commands leave a scan at its first error, and the next scan must not mind.
    if (stopAfter != 0 && calls == stopAfter) trx::setoptind(1);
    fuzz::require(static_cast<size_t>(calls) <= 2 * characters + 2 * words.size() + 64);
    auto read = (modes & 3) == 0 ? trx::getopt_long_only : trx::getopt_long;
    code = (modes & 3) == 1 ? trx::getopt(argc, argv.data(), letters.data())
                            : read(argc, argv.data(), letters.data(), table.rows.data(), &row);
    fuzz::require(trx::optind >= 1 && trx::optind <= std::max(argc, 1));
    if (trx::optarg) fuzz::require(within(words, trx::optarg));
  }
  for (auto &word : words) fuzz::require(std::count(argv.begin(), argv.end(), word.data()) == 1);
  return 0;
}
