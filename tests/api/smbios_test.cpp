// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/smbios.h"

#include <cstdlib>
#include <numeric>
#include <sstream>

#include "api_test.h"

namespace {

constexpr uint8_t kInUse = 4, kAvailable = 3;

Bytes slot(uint8_t usage, uint8_t bus, uint8_t id, uint8_t length = 17) {
  Bytes bytes = {9, length, 0, 0, 1, 0xA6, 8, usage, 3, id, 0, 0, 0, 0, 0, bus, 0};
  bytes.resize(length);
  for (const char c : std::string_view("PCIE1\0\0", 7)) bytes.push_back(static_cast<uint8_t>(c));
  return bytes;
}

Bytes operator+(Bytes left, const Bytes &right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

const Bytes kEnd = {127, 4, 0, 0, 0, 0};

int slotOf(const std::vector<SystemSlot> &slots, const char *location) {
  int id = 0;
  get_SMBIOS_slot_ID(slots, location, &id);
  return id;
}

int decode(const Bytes &table, unsigned count = 0, bool stopAtEnd = true) {
  return slotOf(dmi_system_slots(table, count, stopAtEnd), "03:00.00");
}

TEST(Smbios, FindsTheSlotOfABus) {
  const Bytes good = slot(kInUse, 3, 7);
  const std::tuple<const char *, int, int> rows[] = {
      {"one slot", decode(good + kEnd), 7},
      {"the later of two", decode(slot(kInUse, 3, 1) + good + kEnd), 7},
      {"not in use", decode(slot(kAvailable, 3, 7) + kEnd), -1},
      {"without a bus number", decode(slot(kInUse, 3, 7, 13) + kEnd), -1},
      {"without one, before a string like one", decode(head(slot(kInUse, 3, 7, 15), 15) + Bytes{3, 0, 0}),
       -1},
      {"its last byte is the bus number", decode(slot(kInUse, 3, 7, 16) + kEnd), 7},
      {"after the end of the table", decode(kEnd + good), -1},
      {"after the last that counts", decode(slot(kInUse, 9, 1) + good, 1, false), -1},
      {"cut in its formatted area", decode(head(good, 16)), -1},
      {"cut in its strings", decode(head(good, 18)), 7},
  };
  for (const auto &[what, found, expected] : rows) EXPECT_EQ(found, expected) << what;
  // A reader past the end is caught by the sanitizer.
  for (size_t length = 0; length < good.size(); ++length) decode(head(good, length));
  testing::internal::CaptureStderr();
  EXPECT_EQ(decode(Bytes{1, 3, 0, 0, 0, 0} + good), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Invalid entry length (3). DMI table is broken! Stop.\n\n");
}

TEST(Smbios, ReadsTheBusAsADecimalNumber) {
  const std::vector<SystemSlot> slots = {{0, 1}, {10, 2}, {16, 3}};
  EXPECT_EQ(slotOf(slots, "0a:00.00"), 1);
  EXPECT_EQ(slotOf(slots, "10:00.00"), 2);
  EXPECT_EQ(slotOf(slots, ""), -1);
  EXPECT_EQ(slotOf(slots, "256:00.00"), -1);
}

TEST(Smbios, LooksUpStrings) {
  dmi_table_walk(slot(kInUse, 3, 7), 0, true, [](const DmiStructure &structure) {
    EXPECT_EQ(dmi_string(structure, 0), "Not Specified");
    EXPECT_EQ(dmi_string(structure, 1), "PCIE1");
    EXPECT_EQ(dmi_string(structure, 2), "<BAD INDEX>");
  });
}

void seal(Bytes &entry, size_t begin, size_t length, size_t at) {
  entry[at] = 0;
  entry[at] = static_cast<uint8_t>(-std::accumulate(&entry[begin], &entry[begin] + length, 0));
}

// An entry point that the walk steps over as over a structure, as the platform's file has it.
Bytes entry3(uint8_t length = 24, TRX_U32 tableLength = 4096) {
  Bytes entry(0x53 + 2);
  std::memcpy(entry.data(), "_SM3_", 5);
  entry[6] = length;
  std::memcpy(&entry[12], &tableLength, 4);
  if (length <= 32) seal(entry, 0, length, 5);
  return entry;
}

Bytes entry2(uint8_t minor, TRX_U16 count) {
  Bytes entry(0x53 + 2);
  std::memcpy(entry.data(), "_SM_", 4);
  std::memcpy(&entry[16], "_DMI_", 5);
  entry[5] = 31;
  entry[6] = 2;
  entry[7] = minor;
  entry[22] = 200;
  std::memcpy(&entry[28], &count, 2);
  seal(entry, 16, 15, 21);
  seal(entry, 0, 31, 4);
  return entry;
}

TEST(Smbios, ReadsFilesOfBothKinds) {
  const Bytes good = slot(kInUse, 3, 7);
  Bytes badSum = entry3();
  ++badSum[20];
  Bytes badInner = entry2(8, 2);
  badInner[21] += 1, badInner[4] -= 1;
  Bytes otherAnchor = entry2(8, 2);
  otherAnchor[3] += 1, otherAnchor[4] -= 1;
  // clang-format off
  struct { const char *what; Bytes content; int expected; const char *error; } const rows[] = {
      {"SMBIOS 3",          entry3() + good + kEnd,        7,  ""},
      {"SMBIOS 3 of 32 bytes", entry3(32) + good + kEnd,   7,  ""},
      {"SMBIOS 3 cut",      entry3(24, 90) + good,         -1, ""},
      {"entry too long",    entry3(33) + good,             -1, "Entry point length too large (33 bytes, expected 24).\n"},
      {"checksum",          badSum + good,                 -1, ""},
      {"SMBIOS 2",          entry2(8, 2) + good + kEnd,    7,  ""},
      {"SMBIOS 2 count",    entry2(8, 1) + good + kEnd,    -1, ""},
      {"inner checksum",    badInner + good,               -1, ""},
      {"another anchor",    otherAnchor + good,            -1, ""},
      {"version 2.31",      entry2(31, 2) + good,          7,  "SMBIOS version fixup (2.31 -> 2.3).\n"},
      {"version 2.33",      entry2(33, 2) + good,          7,  "SMBIOS version fixup (2.33 -> 2.3).\n"},
      {"version 2.51",      entry2(51, 2) + good,          7,  "SMBIOS version fixup (2.51 -> 2.6).\n"},
      {"short",             head(entry3(), 23),            -1, ""},
      {"entry past the end", head(entry3(30), 25),         -1, ""},
      {"no table",          entry3(24, 0),                 -1, "Failed to read table, sorry.\n"},
  };
  // clang-format on
  for (const auto &row : rows) {
    const TemporaryFile file("smbios", row.content);
    testing::internal::CaptureStderr();
    EXPECT_EQ(slotOf(smbios_read_slots(file.path().c_str()), "03:00.00"), row.expected) << row.what;
    EXPECT_EQ(testing::internal::GetCapturedStderr(), row.error) << row.what;
  }
  EXPECT_TRUE(smbios_read_slots("/nowhere").empty());
}

// What dmidecode says about one slot: designation, whether in use, and the bus where it has one.
std::string described(std::string_view designation, bool inUse, int bus) {
  return std::string(designation) + (inUse ? " in use " : " ") + (bus < 0 ? "" : std::to_string(bus)) + "\n";
}

std::string dmidecodeSays(const std::string &path) {
  std::ifstream file(path);
  std::string text, line, designation;
  bool inUse = false;
  int bus = -1;
  const auto finish = [&] {
    if (!designation.empty()) text += described(designation, inUse, bus);
    designation.clear();
    bus = -1;
  };
  while (std::getline(file, line)) {
    if (line.starts_with("Handle")) finish();
    if (line.starts_with("\tDesignation: ")) designation = line.substr(14);
    if (line.starts_with("\tCurrent Usage: ")) inUse = line.ends_with("In Use");
    if (line.starts_with("\tBus Address: "))
      sscanf(line.c_str(), "\tBus Address: %*x:%x:", reinterpret_cast<unsigned *>(&bus));
  }
  finish();
  return text;
}

TEST(Smbios, AgreesWithDmidecodeOnRealDumps) {
  const char *directory = getenv("TRX_REAL_DATA");
  if (!directory) GTEST_SKIP() << "TRX_REAL_DATA is not set";
  for (const auto &entry : std::filesystem::directory_iterator(std::string(directory) + "/smbios")) {
    if (entry.path().extension() != ".bin") continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(file)), {});
    const Bytes bytes(content.begin(), content.end());
    SmbiosTable table{};
    ASSERT_TRUE(smbios_entry_point(std::span(bytes).first(32), &table)) << entry.path();
    std::string text;
    dmi_table_walk(std::span(bytes).subspan(32), table.count, table.stopAtEnd,
                   [&](const DmiStructure &structure) {
                     if (structure.type != 9) return;
                     const auto &f = structure.formatted;
                     const bool hasBus =
                         f.size() > 16 && !(f[13] == 0xFF && f[14] == 0xFF && f[15] == 0xFF && f[16] == 0xFF);
                     text += described(dmi_string(structure, f[4]), f[7] == kInUse, hasBus ? f[15] : -1);
                   });
    const std::string said =
        dmidecodeSays(entry.path().string().replace(entry.path().string().size() - 4, 4, ".type9.txt"));
    EXPECT_EQ(text, said) << entry.path();
  }
}

}  // namespace
