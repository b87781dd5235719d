// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/spi_log.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<TRX_U8> payload(data, data + size);
  const trx::SpiLogPiece piece(payload);
  fuzz::require(piece.text().size() <= size);
  fuzz::require(!piece.isWhole() || piece.text().size() == piece.length());
  fuzz::require(!piece.isLast() || piece.text().empty());
  return 0;
}
