// SPDX-License-Identifier: GPL-3.0-or-later
// Groups 0xE4 and 0xFE: the event journal and the SPI log ("debug dump").
#include "controller/functions.h"
#include "controller/records.h"
#include "controller/spi_log.h"
#include "model/journal.h"

namespace sim {

NVME_Debug_Dump_Request nextSpiPiece(Context &context) {
  constexpr size_t room = kPairPayload - offsetof(NVME_Debug_Dump_Request, data);
  const Adapter &adapter = context.state();
  NVME_Debug_Dump_Request piece{};
  size_t at = std::min<size_t>(adapter.core.spiRead, adapter.spiLog.size());
  size_t length = std::min(adapter.spiLog.size() - at, room);
  if (length != 0) std::memcpy(piece.data, adapter.spiLog.data() + at, length);
  piece.length = static_cast<TRX_U32>(length);
  auto next = static_cast<uint32_t>(length == 0 ? 0 : at + length);
  if (adapter.core.spiRead != next) context.change().core.spiRead = next;
  return piece;
}

namespace {

constexpr size_t kJournalTextAt = 40;

/// One page of the journal's text. The head in front of it is counted from the start of the reply.
Answer directJournal(Context &context, const DirectCall &call) {
  uint32_t offset = call.command.dword(13);
  uint32_t length = call.command.dword(14);
  if (length != TRX_PAGE_SIZE) {
    context.breach("journal: dword 14 is not 4096");
    return {};
  }
  if (offset % TRX_PAGE_SIZE != 0 || offset / TRX_PAGE_SIZE >= kJournalPages) return Fw::InvalidParameter;
  std::vector<uint8_t> payload(kPairPayload, 0);
  std::memcpy(payload.data() + kJournalTextAt - 8,
              context.state().journal.front().text[offset / TRX_PAGE_SIZE], kJournalText);
  return payload;
}

Answer pairEventStatus(Context &context, const PairCall &) {
  NVME_Event_Status status{};
  size_t events = context.state().events.size();
  status.maxPage = kJournalPages;
  status.slotPerPage = kEventsPerPage;
  status.posEmptyPage = static_cast<TRX_U8>(events / kEventsPerPage % kJournalPages);
  status.posEmptySlotInPage = static_cast<TRX_U8>(events % kEventsPerPage);
  status.sizeOfEventItem = sizeof(NVME_Event_Item);
  return bytesOf(status);
}

Answer pairEventPage(Context &context, const PairCall &call) {
  uint8_t page = call.data[0];
  if (page >= kJournalPages) return Fw::InvalidParameter;
  const auto &events = context.state().events;
  std::vector<uint8_t> payload{page, 0, 0, 0};
  size_t end = std::min(events.size(), (page + size_t{1}) * kEventsPerPage);
  for (size_t i = page * kEventsPerPage; i < end; ++i) appendRecord(payload, eventRecord(events[i]));
  return payload;
}

Answer pairDump(Context &context, const PairCall &) { return bytesOf(nextSpiPiece(context)); }

Answer pairDumpStatus(Context &context, const PairCall &) {
  NVME_Debug_Dump_Status status{};
  status.debugDumpBuffSize = static_cast<TRX_U32>(context.state().spiLog.size());
  return bytesOf(status);
}

Answer pairDumpConfig(Context &context, const PairCall &) {
  NVME_Debug_Dump_Config config{};
  config.dumpOn = context.state().core.dumpOn;
  return bytesOf(config);
}

Answer directSpiPiece(Context &context, const DirectCall &) { return bytesOf(nextSpiPiece(context)); }

/// Whoever asks for the state is about to read: a read-out that another one left half-way begins anew.
Answer directSpiState(Context &context, const DirectCall &) {
  if (context.state().core.spiRead != 0) context.change().core.spiRead = 0;
  return std::vector<uint8_t>{context.state().core.dumpOn};
}

Answer directSwitchSpi(Context &context, const DirectCall &call) {
  uint32_t on = call.command.dword(14);
  if (on > 1) return Fw::InvalidParameter;
  context.change().core.dumpOn = static_cast<uint8_t>(on);
  return Fw::Ok;
}

Answer pairSetDumpConfig(Context &context, const PairCall &call) {
  auto config = recordFrom<NVME_Debug_Dump_Config>(call.data);
  if (config.dumpOn > 1) return Fw::InvalidParameter;
  context.change().core.dumpOn = config.dumpOn;
  return Fw::Ok;
}

// clang-format off
constexpr Function kFunctions[] = {
    {0xE4, 0x01, "event status",       {}, {pairEventStatus}},
    {0xFE, 0x00, "SPI log",            {directSpiPiece, dwords(10), 0, Transfer::Reply}, {pairDump}},
    {0xFE, 0x01, "SPI log size",       {}, {pairDumpStatus}},
    {0xFE, 0x02, "SPI log state",      {directSpiState, dwords(10), 0, Transfer::Reply}, {pairDumpConfig}},
    {0xFE, 0x03, "switch SPI log",     {directSwitchSpi, dwords(14)}, {pairSetDumpConfig, 2, sizeof(NVME_Debug_Dump_Config)}},
    // Some callers send the whole page of which the envelope holds 4080 bytes.
    {0xFE, 0x04, "event journal",
     {directJournal, dwords(10, 13, 14), 0, Transfer::Reply}, {pairEventPage, 2, sizeof(NVMESendData::data), true}},
};
// clang-format on

}  // namespace

std::span<const Function> eventFunctions() { return kFunctions; }

}  // namespace sim
