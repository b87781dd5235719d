// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/spi_log.h"

#include <algorithm>
#include <cstring>

namespace trx {

SpiLogPiece::SpiLogPiece(std::span<const TRX_U8> payload, char before) {
  constexpr size_t kTextOffset = offsetof(NVME_Debug_Dump_Request, data);
  if (payload.size() < kTextOffset) return;
  std::memcpy(&word_, payload.data(), sizeof word_);
  std::span<const TRX_U8> text = payload.subspan(kTextOffset);
  room_ = text.size();
  text = text.first(std::min<size_t>(length(), room_));
  text_.assign(text.begin(), text.end());
  for (char &c : text_) {
    if (c == '\0' && before == '\n') c = ' ';
    before = c;
  }
}

}  // namespace trx
