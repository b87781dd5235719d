// SPDX-License-Identifier: GPL-3.0-or-later
// The journal: two bytes for the size of its pieces, one for how many events to keep, the text.
#include "Functions/simple/journal.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  const size_t pieceBytes = input.word() % 4057 + 1u;
  const size_t wanted = input.byte();
  std::vector<trx::NVME_SA_Evt_Item> events;
  while (!input.empty()) {
    auto piece = input.take(pieceBytes);
    trx::readJournal(std::vector<TRX_U8>(piece.begin(), piece.end()), events);
  }
  const size_t all = events.size();
  trx::keepNewest(events, wanted);
  fuzz::require(events.size() == (wanted == 0 ? all : std::min(all, wanted)));
  for (const auto &event : events) fuzz::require(!trx::_showTime(event.time).empty());
  return 0;
}
