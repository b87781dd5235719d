// SPDX-License-Identifier: GPL-3.0-or-later
// Writing a recording.
#include "recording/recording.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace sim {
namespace {

constexpr std::string_view kSignaturePrefix = "nvmeMgmt-";
constexpr size_t kRow = 16;

struct Field {
  const char *name;
  size_t at, bytes;
  bool always;  ///< shown when it is 0, too
};

// clang-format off
constexpr Field kFields[] = {
    {"op",       offsetof(usr_io, cmd.opcode),   1, true},
    {"flags",    offsetof(usr_io, cmd.flags),    1, false},
    {"nsid",     offsetof(usr_io, cmd.nsid),     4, true},
    {"cdw2",     offsetof(usr_io, cmd.cdw2),     4, true},
    {"cdw3",     offsetof(usr_io, cmd.cdw3),     4, false},
    {"cdw10",    offsetof(usr_io, cmd.cdw10),    4, true},
    {"cdw11",    offsetof(usr_io, cmd.cdw11),    4, true},
    {"cdw12",    offsetof(usr_io, cmd.cdw12),    4, true},
    {"cdw13",    offsetof(usr_io, cmd.cdw13),    4, true},
    {"cdw14",    offsetof(usr_io, cmd.cdw14),    4, true},
    {"cdw15",    offsetof(usr_io, cmd.cdw15),    4, true},
    {"ns",       offsetof(usr_io, namespaceID),  1, false},
    {"reserved", offsetof(usr_io, reserved),     2, false},
    {"metalen",  offsetof(usr_io, meta_length),  4, false},
};
// clang-format on

std::string hex(const char *format, unsigned value) {
  char text[24];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

std::string rowText(std::span<const uint8_t> data, size_t at) {
  std::string text = hex("  %08x ", static_cast<unsigned>(at)), letters;
  for (uint8_t byte : data.subspan(at, std::min(kRow, data.size() - at))) {
    text += hex(" %02x", byte);
    letters += byte >= 0x20 && byte < 0x7F ? static_cast<char>(byte) : '.';
  }
  return text + "  |" + letters + "|\n";
}

/// Equal rows in a row are one "*"; the length in the block's first line says how far the last ones go.
std::string blockText(const char *word, std::span<const uint8_t> data) {
  if (data.empty()) return {};
  std::string text = std::string(word) + " " + std::to_string(data.size()) + "\n";
  bool folded = false;
  for (size_t at = 0; at < data.size(); at += kRow) {
    bool same = at != 0 && at + kRow <= data.size() && std::memcmp(&data[at], &data[at - kRow], kRow) == 0;
    if (!same)
      text += rowText(data, at);
    else if (!folded)
      text += "  *\n";
    folded = same;
  }
  return text;
}

}  // namespace

std::string recordedAdapter(std::string_view signatureName) {
  if (signatureName == "nvmeMgmt") return {};
  if (signatureName.starts_with(kSignaturePrefix)) signatureName.remove_prefix(kSignaturePrefix.size());
  std::string word;
  for (char c : signatureName) {
    bool plain = c > ' ' && c < 0x7F && c != '%';
    word += plain ? std::string(1, c) : hex("%%%02x", static_cast<unsigned char>(c));
  }
  return word;
}

std::string openHead(std::string_view adapter) {
  return "open " + (adapter.empty() ? "driver" : "adapter " + std::string(adapter));
}

std::string logLevelHead(uint32_t log, uint32_t debug) {
  return "loglevel " + std::to_string(log) + " " + std::to_string(debug);
}

std::string exchangeHead(std::string_view adapter, uint32_t code, const usr_io &uio) {
  std::string head = "exchange " + std::string(adapter) + (code == 1 ? " admin" : hex(" ioctl=%x", code));
  for (const Field &field : kFields) {
    uint32_t value = 0;
    std::memcpy(&value, reinterpret_cast<const uint8_t *>(&uio) + field.at, field.bytes);
    if (value != 0 || field.always) head += std::string(" ") + field.name + hex("=%x", value);
  }
  return head + " dir=" + std::to_string(uio.direction) + " len=" + std::to_string(uio.length);
}

std::vector<uint8_t> PairSends::about(const std::string &adapter, const usr_io &uio,
                                      std::span<const uint8_t> to) {
  constexpr uint8_t kSend = 0xCB, kReceive = 0xCE;
  const std::lock_guard guard(mutex_);
  if (uio.cmd.opcode == kSend) last_[adapter].assign(to.begin(), to.end());
  return uio.cmd.opcode == kReceive ? last_[adapter] : std::vector<uint8_t>{};
}

std::string recordedText(const Recorded &record) {
  std::string text = record.head + "\n";
  if (!record.note.empty()) text += "# " + record.note + "\n";
  text += blockText("to", record.to) + blockText("from", record.from);
  uint32_t entry[4];
  std::memcpy(entry, &record.completion, sizeof entry);
  text += "result platform=" + std::to_string(record.platform) + " driver=" + std::to_string(record.driver);
  const char *format = " completion=%08x";
  for (uint32_t dword : entry) {
    text += hex(format, dword);
    format = ",%08x";
  }
  return text + "\n";
}

void appendRecorded(const std::string &path, const Recorded &record) {
  std::string text = recordedText(record);
  Descriptor file(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
  if (!file) throw HostError(path + ": " + std::strerror(errno));
  FileLock lock(file.get());
  struct stat before {};
  if (fstat(file.get(), &before) != 0) throw HostError(path + ": " + std::strerror(errno));
  ssize_t written = write(file.get(), text.data(), text.size());
  if (written == static_cast<ssize_t>(text.size())) return;
  std::string reason = written < 0 ? std::strerror(errno) : "no space";
  // A part of a record would spoil the whole file.
  if (written > 0 && ftruncate(file.get(), before.st_size) != 0) reason += ", and the last record is cut";
  throw HostError(path + ": " + reason);
}

}  // namespace sim
