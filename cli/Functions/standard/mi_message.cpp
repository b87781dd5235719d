// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/standard/mi_message.h"

#include <algorithm>
#include <cassert>

#include "Public/exchange.h"
#include "Public/numbers.h"
#include "Public/report.h"

namespace trx {
namespace {

// NVMe-MI message with the integrity check bit (NVMe-MI standard, Message Type).
constexpr TRX_U8 kMessageType = 0x84;

bool readBytes(Counted<TRX_U32> &into, const char *text, const char *complaint) {
  return into.take(hexOrDecimalUpTo(UINT32_MAX, text)) || complain("%s", complaint);
}

}  // namespace

MiMessage::MiMessage(MiKind kind, TRX_U8 opcode, size_t bytes)
    : length_(bytes), pages_((bytes + TRX_PAGE_SIZE - 1) / TRX_PAGE_SIZE) {
  assert(bytes >= kMiRequestData && bytes <= kLongest);
  TRX_U8 *head = pages_[0].bytes;
  head[0] = kMessageType;
  head[1] = static_cast<TRX_U8>(kind);
  head[kMiOpcode] = opcode;
}

MiMessage &MiMessage::set(size_t offset, TRX_U32 value) {
  assert(offset + sizeof value <= length_);
  std::memcpy(&bytes()[offset], &value, sizeof value);
  return *this;
}

std::span<TRX_U8> MiMessage::bytes() { return {pages_[0].bytes, length_}; }

TRX_U32 MiMessage::send() {
  const TRX_U32 cdw[] = {0, static_cast<TRX_U32>(length_ / 4 - 1)};
  return sendAdmin(gCurrentAdapter, TRX_NVME_MI_SEND, 0, cdw, bytes(), {});
}

TRX_U32 miExchange(MiMessage &message, MiResponse &response) {
  TRX_U32 status = message.send();
  if (status != 0) {
    tellFailed("MI send for VPD read failed.\n");
    return status;
  }
  status = sendAdmin(gCurrentAdapter, TRX_NVME_MI_RECEIVE, 0, {}, {}, response.page.bytes);
  if (status == 0) {
    tell("MI send for VPD read success.\n");
  } else {
    tellFailed("MI receive for VPD read failed.\n");
  }
  return status;
}

bool readOffset(MiOptions &o, const char *text) {
  return readBytes(o.offset, text, "-o: Invalid offset value\n");
}

bool readLength(MiOptions &o, const char *text) {
  return readBytes(o.length, text, "-l: Invalid data length value\n");
}

bool openOutput(MiOptions &o, const char *text) {
  return o.file.set(true) && o.data.openOrComplain(pathArgument(text), "wb");
}

int32_t printBareHelp(const Command_Info *row) {
  noteUsage();
  std::fprintf(stream, "%s%s", row->cmdShortHelp, row->cmdHelp);
  return 1;
}

bool exceeds(const MiOptions &o, TRX_U32 end) { return uint64_t{o.offset.value} + o.length.value > end; }

void traceRequest(const MiOptions &o) {
  std::printf("offset mi_prp_data->Request_DW0: 0x%x\n", o.offset.value);
  std::printf("offset mi_prp_data->Request_DW1: 0x%x\n", o.length.value);
}

bool writeData(MiOptions &o, const MiResponse &response) {
  std::span<const TRX_U8> data = response.data();
  if (o.length.value > data.size()) {
    tellWarning("The response holds %zu bytes of data, less than the data length 0x%x.\n", data.size(),
                o.length.value);
  }
  return o.data.write_file(data.data(), std::min<size_t>(o.length.value, data.size())) && o.data.close_file();
}

}  // namespace trx
