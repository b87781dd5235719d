// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/smbios.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <numeric>

#include "function/log.h"
#include "function/message.h"

namespace {

using Bytes = std::span<const uint8_t>;

constexpr size_t kEntryBytes = 32;
constexpr size_t kHeaderBytes = 4;
constexpr uint8_t kSystemSlot = 9;
constexpr uint8_t kEndOfTable = 127;
constexpr uint8_t kInUse = 4;

uint32_t littleEndian(Bytes bytes, size_t at, size_t width) {
  uint32_t value = 0;
  for (size_t i = 0; i < width; ++i) value |= uint32_t{bytes[at + i]} << (8 * i);
  return value;
}

bool sumsToZero(Bytes bytes) { return std::accumulate(bytes.begin(), bytes.end(), 0u) % 256 == 0; }

bool startsWith(Bytes bytes, std::string_view text) {
  return bytes.size() >= text.size() && std::memcmp(bytes.data(), text.data(), text.size()) == 0;
}

// Whether an entry point of this length lies in what was read and its bytes sum to zero.
bool entryIsWhole(Bytes entry, uint8_t length, unsigned expected) {
  if (length > kEntryBytes) {
    printError(TRX_MESSAGE_WARNING, "Entry point length too large (%u bytes, expected %u).\n",
               unsigned{length}, expected);
    return false;
  }
  return length <= entry.size() && sumsToZero(entry.first(length));
}

bool entryPoint3(Bytes entry, SmbiosTable *table) {
  if (!entryIsWhole(entry, entry[6], 24)) return false;
  *table = {.length = littleEndian(entry, 12, 4), .count = 0, .stopAtEnd = true};
  return true;
}

bool entryPoint2(Bytes entry, SmbiosTable *table) {
  if (!entryIsWhole(entry, entry[5], 31)) return false;
  if (!startsWith(entry.subspan(16), "_DMI_") || !sumsToZero(entry.subspan(16, 15))) return false;
  switch (entry[6] * 256 + entry[7]) {
    case 0x021F:
    case 0x0221:
      printError(TRX_MESSAGE_INFO, "SMBIOS version fixup (2.%d -> 2.%d).\n", entry[7], 3);
      break;
    case 0x0233:
      printError(TRX_MESSAGE_INFO, "SMBIOS version fixup (2.%d -> 2.%d).\n", 51, 6);
      break;
  }
  *table = {.length = littleEndian(entry, 22, 2), .count = littleEndian(entry, 28, 2), .stopAtEnd = false};
  return true;
}

void complain(const char *path) { printError(TRX_MESSAGE_WARNING, "%s: %s\n", path, std::strerror(errno)); }

class File {
 public:
  explicit File(const char *path) : path_(path), fd_(open(path, O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0 && errno != ENOENT) complain(path);
  }
  ~File() {
    if (fd_ >= 0 && close(fd_) != 0) complain(path_);
  }
  File(const File &) = delete;
  File &operator=(const File &) = delete;

  // The first bytes of the file, as many as it has up to `length`; none after a message.
  std::vector<uint8_t> head(size_t length) const {
    if (fd_ < 0) return {};
    struct stat about {};
    if (fstat(fd_, &about) == 0) {
      if (about.st_size <= 0) {
        printError(TRX_MESSAGE_WARNING, "%s: Can't read data beyond EOF\n", path_);
        return {};
      }
      length = std::min(length, static_cast<size_t>(about.st_size));
    }
    return readExactly(length);
  }

 private:
  std::vector<uint8_t> readExactly(size_t length) const {
    // By pieces, so that a length that the file only claims to have is never allocated at once.
    constexpr size_t kPiece = 1 << 20;
    std::vector<uint8_t> bytes;
    for (size_t done = 0; done < length;) {
      bytes.resize(std::min(length, done + kPiece));
      const ssize_t count = pread(fd_, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) complain(path_);
      if (count == 0) printError(TRX_MESSAGE_WARNING, "%s: Unexpected end of file\n", path_);
      if (count <= 0) return {};
      done += static_cast<size_t>(count);
      bytes.resize(done);
    }
    return bytes;
  }

  const char *path_;
  int fd_;
};

// How far the strings of a structure reach: up to and with the two zero bytes, or the table's end.
size_t stringSetBytes(Bytes rest) {
  for (size_t i = 0; i + 1 < rest.size(); ++i) {
    if (rest[i] == 0 && rest[i + 1] == 0) return i + 2;
  }
  return rest.size();
}

}  // namespace

void dmi_table_walk(std::span<const uint8_t> table, unsigned count, bool stopAtEnd,
                    const std::function<void(const DmiStructure &)> &visit) {
  for (unsigned i = 0; (count == 0 || i < count) && table.size() >= kHeaderBytes; ++i) {
    const uint8_t length = table[1];
    if (length < kHeaderBytes) {
      printError(TRX_MESSAGE_WARNING, "Invalid entry length (%u). DMI table is broken! Stop.\n\n",
                 unsigned{length});
      return;
    }
    if (length > table.size()) return;
    const Bytes rest = table.subspan(length);
    const size_t stringBytes = stringSetBytes(rest);
    visit({table[0], table.first(length), rest.first(stringBytes)});
    if (stopAtEnd && table[0] == kEndOfTable) return;
    table = rest.subspan(stringBytes);
  }
}

std::string_view dmi_string(const DmiStructure &structure, uint8_t index) {
  if (index == 0) return "Not Specified";
  std::string_view rest(reinterpret_cast<const char *>(structure.strings.data()), structure.strings.size());
  for (uint8_t i = 1; !rest.empty() && rest.front() != '\0'; ++i) {
    const std::string_view text = rest.substr(0, rest.find('\0'));
    if (i == index) return text;
    rest.remove_prefix(std::min(rest.size(), text.size() + 1));
  }
  return "<BAD INDEX>";
}

std::vector<SystemSlot> dmi_system_slots(std::span<const uint8_t> table, unsigned count, bool stopAtEnd) {
  constexpr size_t kUsageAt = 7, kIdAt = 9, kBusAt = 15;
  std::vector<SystemSlot> slots;
  dmi_table_walk(table, count, stopAtEnd, [&](const DmiStructure &structure) {
    const Bytes bytes = structure.formatted;
    // Before SMBIOS 2.6 a slot had no bus number.
    if (structure.type != kSystemSlot || bytes.size() <= kBusAt || bytes[kUsageAt] != kInUse) return;
    slots.push_back({bytes[kBusAt], bytes[kIdAt]});
  });
  return slots;
}

bool smbios_entry_point(std::span<const uint8_t> entry, SmbiosTable *table) {
  if (entry.size() >= 24 && startsWith(entry, "_SM3_")) return entryPoint3(entry, table);
  if (entry.size() >= 31 && startsWith(entry, "_SM_")) return entryPoint2(entry, table);
  add_log("format error\n");
  return false;
}

std::vector<SystemSlot> smbios_read_slots(const char *path) {
  const File file(path);
  SmbiosTable table{};
  const std::vector<uint8_t> entry = file.head(kEntryBytes);
  if (!smbios_entry_point(entry, &table)) return {};
  // From offset 0 of the same file: the walk steps over the entry point as over a structure, meant.
  const std::vector<uint8_t> bytes = file.head(table.length);
  if (bytes.empty()) {
    printError(TRX_MESSAGE_WARNING, "Failed to read table, sorry.\n");
    return {};
  }
  return dmi_system_slots(bytes, table.count, table.stopAtEnd);
}

void get_SMBIOS_slot_ID(std::span<const SystemSlot> slots, const char *bus_dev_fun, int *slot_id) {
  *slot_id = -1;
  int bus = -1;
  // As a decimal number, meant: "0a" is bus 0.
  if (std::sscanf(bus_dev_fun, "%d:", &bus) != 1) bus = -1;
  for (const SystemSlot &slot : slots) {
    if (slot.bus == bus) *slot_id = slot.id;
  }
  if (*slot_id >= 0) {
    add_log("Get SMBIOS Bus Num:%d, Slot ID:%d\n", bus, *slot_id);
  } else {
    add_log(" SMBIOS Bus Num is not found...\n");
  }
}
