// SPDX-License-Identifier: GPL-3.0-or-later
// Reads a fuzz input from its beginning. An input that is used up yields zeros, so that each input
// means something.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace fuzz {

class Input {
 public:
  Input() = default;
  Input(const uint8_t *data, size_t size) : rest_(data, size) {}

  uint8_t byte() {
    auto one = take(1);
    return one.empty() ? uint8_t{0} : one.front();
  }
  uint16_t word() {
    const unsigned low = byte();
    return static_cast<uint16_t>(low | unsigned{byte()} << 8);
  }

  /// Up to `size` bytes.
  std::span<const uint8_t> take(size_t size) {
    auto taken = rest_.first(std::min(size, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return taken;
  }

  /// The text up to the next `end`, which is left out.
  std::string textUpTo(char end) {
    auto at = std::find(rest_.begin(), rest_.end(), static_cast<uint8_t>(end));
    auto taken = take(static_cast<size_t>(at - rest_.begin()));
    std::string text(taken.begin(), taken.end());
    take(1);
    return text;
  }

  /// What is left, in memory of its own: a step past its end is seen.
  std::vector<uint8_t> rest() {
    auto all = take(rest_.size());
    return {all.begin(), all.end()};
  }

  bool empty() const { return rest_.empty(); }

 private:
  std::span<const uint8_t> rest_;
};

/// Text that ends with a NUL, in memory of just its size.
inline std::vector<char> exactText(const std::string &text) {
  return {text.c_str(), text.c_str() + text.size() + 1};
}

/// What must hold for any input.
inline void require(bool holds) {
  if (!holds) std::abort();
}

}  // namespace fuzz
