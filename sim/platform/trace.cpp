// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/trace.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "files/files.h"

namespace sim {
namespace {

constexpr uint8_t kPairSend = 0xCB;
constexpr size_t kDumpLimit = 64;

__attribute__((format(printf, 2, 3))) void add(std::string &line, const char *format, ...) {
  char text[256];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  line += text;
}

/// CRC-32 of IEEE 802.3, to tell long data apart.
uint32_t crc32(std::span<const uint8_t> data) {
  uint32_t crc = 0xFFFFFFFF;
  for (uint8_t byte : data) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320U : 0U);
  }
  return ~crc;
}

void addEnvelope(std::string &line, std::span<const uint8_t> data) {
  auto envelope = recordFrom<NVMESendData>(data);
  for (size_t i = 0; i < 4; ++i)
    add(line, "%s%x", i == 0 ? " words=" : ",", unsigned{envelope.vendor_cmd[i]});
  add(line, " data=%u", unsigned{envelope.data_length});
}

void addData(std::string &line, std::span<const uint8_t> data) {
  size_t end = data.size();
  while (end > 0 && data[end - 1] == 0) --end;
  auto filled = data.size() - static_cast<size_t>(std::count(data.begin(), data.end(), uint8_t{0}));
  if (filled > kDumpLimit || end > 4 * kDumpLimit) {
    add(line, " crc=%08x", crc32(data));
    return;
  }
  line += " out=";
  for (uint8_t byte : data.first(end)) add(line, "%02x", unsigned{byte});
}

}  // namespace

const char *tracePath() {
  const char *path = std::getenv("TRX_SIM_TRACE");
  return path && *path ? path : nullptr;
}

void traceText(std::string_view text) {
  if (const char *path = tracePath()) appendLine(path, std::string(text) + "\n");
}

void traceExchange(std::string_view adapter, const usr_io &uio, int result) {
  const char *path = tracePath();
  if (!path) return;
  const nvme_cmd &cmd = uio.cmd;
  std::string line(adapter);
  add(line, " admin op=%x nsid=%x cdw2=%x cdw10=%x cdw11=%x cdw12=%x cdw13=%x cdw14=%x cdw15=%x",
      unsigned{cmd.opcode}, cmd.nsid, cmd.cdw2, cmd.cdw10, cmd.cdw11, cmd.cdw12, cmd.cdw13, cmd.cdw14,
      cmd.cdw15);
  add(line, " dir=%u len=%u", unsigned{uio.direction}, uio.length);
  if (uio.direction == TRX_TO_CONTROLLER && uio.length != 0 && uio.addr != 0) {
    std::span<const uint8_t> data(reinterpret_cast<const uint8_t *>(uio.addr), uio.length);
    if (cmd.opcode == kPairSend && data.size() >= sizeof(NVMESendData)) {
      addEnvelope(line, data);
      auto length = std::min<size_t>(recordFrom<NVMESendData>(data).data_length, sizeof(NVMESendData::data));
      data = data.subspan(16, length);
    }
    if (!data.empty()) addData(line, data);
  }
  unsigned status = result != 0 ? static_cast<unsigned>(result) : uio.status;
  add(line, " -> status=%u sct=%x sc=%x\n", status, unsigned{uio.comp.SCT}, unsigned{uio.comp.SC});
  appendLine(path, line);
}

}  // namespace sim
