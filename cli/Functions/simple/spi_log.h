// SPDX-License-Identifier: GPL-3.0-or-later
// The controller's SPI log arrives in pieces: a length word, four bytes, text. Works on bytes alone.
#ifndef TRX_CLI_SPI_LOG_H
#define TRX_CLI_SPI_LOG_H

#include <span>
#include <string>

#include "trx/trx_records.h"

namespace trx {

/// A piece of the SPI log.
class SpiLogPiece {
 public:
  /// @param payload of the reply, from its length word on
  /// @param before  the last character of the piece before this one
  explicit SpiLogPiece(std::span<const TRX_U8> payload, char before = '\0');

  /// Bytes of text that the piece says it has; only the low half of the length word counts.
  TRX_U32 length() const { return word_ & 0xFFFF; }

  /// Whether that many bytes fit into a reply.
  bool isWhole() const { return length() <= room_; }

  /// Whether the controller has no more: the whole length word is 0.
  bool isLast() const { return word_ == 0; }

  /// The text, as much of it as arrived. A NUL behind a line feed, also that of the piece before, is a blank.
  const std::string &text() const { return text_; }

 private:
  TRX_U32 word_ = 0;
  size_t room_ = 0;
  std::string text_;
};

}  // namespace trx

#endif  // TRX_CLI_SPI_LOG_H
