// SPDX-License-Identifier: GPL-3.0-or-later
#include "recording/mask.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace sim {
namespace {

constexpr uint8_t kIdentify = 0x06, kPairReceive = 0xCE, kFunction = 0xE2;
constexpr unsigned kAdapterGroup = 0xE0, kDiskGroup = 0xE1;

void maskField(std::span<uint8_t> data, size_t at, size_t length) {
  if (at >= data.size()) return;
  auto field = data.subspan(at, std::min(length, data.size() - at));
  size_t end = field.size();
  while (end > 0 && (field[end - 1] == 0 || field[end - 1] == ' ')) --end;
  const std::vector<uint8_t> serial(field.begin(), field.begin() + static_cast<std::ptrdiff_t>(end));
  std::ranges::fill(field.first(end), uint8_t{'X'});
  // The same reply may tell it again, such as the NVM subsystem's qualified name does. What is shorter
  // than this is found by chance.
  constexpr size_t kTelling = 4;
  if (serial.size() < kTelling) return;
  for (auto found = data.begin();; found += static_cast<std::ptrdiff_t>(serial.size())) {
    found = std::search(found, data.end(), serial.begin(), serial.end());
    if (found == data.end()) return;
    std::fill_n(found, serial.size(), uint8_t{'X'});
  }
}

void maskDisks(std::span<uint8_t> data, size_t first) {
  for (size_t at = first; at < data.size(); at += sizeof(NVME_PD_Info))
    maskField(data, at + offsetof(NVME_PD_Info, SerialNo), sizeof(NVME_PD_Info::SerialNo));
}

/// Function 0 of a group tells about its objects, behind the reply's head.
void maskFunction(unsigned group, unsigned subCode, bool pair, std::span<uint8_t> data) {
  constexpr size_t head = offsetof(NVMEReceiveData, data);
  if (subCode != 0) return;
  if (group == kAdapterGroup)
    maskField(data, head + offsetof(NVME_Adapter_Info, Link), sizeof(NVME_Adapter_Info::Link));
  if (group == kDiskGroup) maskDisks(data, pair ? head + sizeof(RequestHeader) : head);
}

bool identifiesController(const nvme_cmd &cmd) {
  constexpr uint8_t kControllerStructure = 1;
  bool forwarded = cmd.opcode == TRX_OPCODE_DISK_READ && (cmd.cdw14 & 0xFF) == kIdentify;
  return (forwarded || cmd.opcode == kIdentify) && (cmd.cdw10 & 0xFF) == kControllerStructure;
}

}  // namespace

void maskSerials(const usr_io &uio, std::span<const uint8_t> lastSend, std::span<uint8_t> data) {
  const nvme_cmd &cmd = uio.cmd;
  if (identifiesController(cmd))
    maskField(data, offsetof(TRX_ID_CONTROLLER, SN), sizeof(TRX_ID_CONTROLLER::SN));
  if (cmd.opcode == kFunction) maskFunction(cmd.cdw12 & 0xFF, cmd.cdw12 >> 8 & 0xFF, false, data);
  if (cmd.opcode == kPairReceive && lastSend.size() >= offsetof(NVMESendData, data)) {
    TRX_U16 words[2];
    std::memcpy(words, lastSend.data() + offsetof(NVMESendData, vendor_cmd), sizeof words);
    maskFunction(words[0], words[1], true, data);
  }
}

void maskSmbios(std::span<uint8_t> file) {
  constexpr uint8_t kSystemSlots = 9, kEndOfTable = 127;
  constexpr size_t kEntryPoint = 32, kHeader = 4;
  // Readers walk from the first byte and step over the entry point as over a structure. The same walk
  // here keeps every boundary that they find.
  size_t at = 0;
  for (bool last = false; !last && at + kHeader <= file.size();) {
    const uint8_t type = file[at];
    const size_t length = file[at + 1];
    if (length < kHeader || at + length > file.size()) break;
    const size_t strings = at + length;
    size_t end = strings;
    while (end + 1 < file.size() && (file[end] != 0 || file[end + 1] != 0)) ++end;
    end = std::min(end + 2, file.size());
    if (type != kSystemSlots) {
      const size_t kept = std::min(at == 0 ? kEntryPoint : kHeader, length);
      std::ranges::fill(file.subspan(at + kept, length - kept), uint8_t{0});
      for (uint8_t &byte : file.subspan(strings, end - strings))
        if (byte != 0) byte = 'X';
    }
    last = at != 0 && type == kEndOfTable;
    at = end;
  }
  std::ranges::fill(file.subspan(std::min(at, file.size())), uint8_t{0});
}

}  // namespace sim
