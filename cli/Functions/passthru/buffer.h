// SPDX-License-Identifier: GPL-3.0-or-later
// A data buffer of a length that a user asked for.
#ifndef TRX_CLI_PASSTHRU_BUFFER_H
#define TRX_CLI_PASSTHRU_BUFFER_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace trx {

/// Whole pages of zeros. They take memory only where they are written, so that an absurd length is
/// refused or costs nothing.
class PageBuffer {
 public:
  PageBuffer() = default;
  ~PageBuffer() { release(); }
  PageBuffer(const PageBuffer &) = delete;
  PageBuffer &operator=(const PageBuffer &) = delete;

  /// Have room for `bytes`, at most 4 GiB less a page; 0 gives no buffer. What was there is let go.
  /// @return whether it could be had
  bool allocate(uint64_t bytes);

  /// Null when no room was asked for.
  void *data() const { return data_; }

  /// Bytes asked for.
  size_t length() const { return length_; }

  /// The bytes asked for.
  std::span<const uint8_t> bytes() const { return {static_cast<const uint8_t *>(data_), length_}; }

 private:
  void release();

  void *data_ = nullptr;
  size_t length_ = 0;
};

}  // namespace trx

#endif  // TRX_CLI_PASSTHRU_BUFFER_H
