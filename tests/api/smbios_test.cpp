// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/smbios.h"

#include <cstdlib>
#include <numeric>

#include "api_test.h"

namespace {

constexpr uint8_t kInUse = 4, kAvailable = 3;

Bytes slot(uint8_t usage, uint8_t bus, uint8_t id, uint8_t length = 17) {
  const Bytes longest = {9, length, 0, 0, 1, 0xA6, 8, usage, 3, id, 0, 0, 0, 0, 0, bus, 0};
  return head(longest, length) + std::string("PCIE1\0", 7);
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
  const Bytes good = slot(kInUse, 3, 7), broken = Bytes{1, 3, 0, 0, 0, 0} + good;
  const std::tuple<const char *, int, int> rows[] = {
      {"one slot", decode(good + kEnd), 7},
      {"the later of two", decode(slot(kInUse, 3, 1) + good + kEnd), 7},
      {"not in use", decode(slot(kAvailable, 3, 7) + kEnd), -1},
      {"without a bus number", decode(slot(kInUse, 3, 7, 13) + kEnd), -1},
      {"none, but a string like one", decode(head(slot(kInUse, 3, 7, 15), 15) + Bytes{3, 0, 0}), -1},
      {"its last byte is the bus number", decode(slot(kInUse, 3, 7, 16) + kEnd), 7},
      {"after the end of the table", decode(kEnd + good), -1},
      {"after the last that counts", decode(slot(kInUse, 9, 1) + good, 1, false), -1},
      {"cut in its formatted area", decode(head(good, 16)), -1},
      {"cut in its strings", decode(head(good, 18)), 7},
  };
  for (const auto &[what, found, expected] : rows) EXPECT_EQ(found, expected) << what;
  // A reader past the end is caught by the sanitizer.
  for (size_t length = 0; length < good.size(); ++length) decode(head(good, length));
  EXPECT_EQ(printed([&] { EXPECT_EQ(decode(broken), -1); }),
            "2>Invalid entry length (3). DMI table is broken! Stop.\n\n");
}

TEST(Smbios, ReadsTheBusAsADecimalNumberAndLooksUpStrings) {
  const std::vector<SystemSlot> slots = {{0, 1}, {10, 2}, {16, 3}};
  const std::pair<const char *, int> rows[] = {{"0a:00.00", 1}, {"10:00.00", 2}, {"", -1}, {"256:00.00", -1}};
  for (const auto &[location, id] : rows) EXPECT_EQ(slotOf(slots, location), id) << location;
  dmi_table_walk(slot(kInUse, 3, 7), 0, true, [](const DmiStructure &structure) {
    EXPECT_EQ(dmi_string(structure, 0), "Not Specified");
    EXPECT_EQ(dmi_string(structure, 1), "PCIE1");
    EXPECT_EQ(dmi_string(structure, 2), "<BAD INDEX>");
  });
}

void seal(Bytes &entry, size_t begin, size_t length, size_t at) {
  uint8_t &sum = entry.at(at);
  sum = 0;
  sum = static_cast<uint8_t>(-std::accumulate(&entry[begin], &entry[begin] + length, 0));
}

// An entry point that the walk steps over as over a structure, as the platform's file has it.
Bytes entry3(uint8_t length = 24, TRX_U32 tableLength = 4096) {
  Bytes entry = Bytes{} + "_SM3_" + Bytes{0, length, 0, 0, 0, 0, 0} + bytesOf(tableLength) + Bytes(0x55 - 16);
  if (length <= 32) seal(entry, 0, length, 5);
  return entry;
}

Bytes entry2(uint8_t minor, TRX_U16 count) {
  Bytes entry = Bytes{} + "_SM_" + Bytes{0, 31, 2, minor} + Bytes(8) + "_DMI_" + Bytes{0, 200, 0, 0, 0, 0, 0};
  entry = entry + bytesOf(count) + Bytes(0x55 - 30);
  seal(entry, 16, 15, 21);
  seal(entry, 0, 31, 4);
  return entry;
}

TEST(Smbios, ReadsFilesOfBothKinds) {
  const Bytes good = slot(kInUse, 3, 7);
  const auto changed = [](Bytes entry, size_t at, bool sumRepaired) {
    ++entry[at];
    if (sumRepaired) --entry[4];
    return entry;
  };
  // clang-format off
  struct { const char *what; Bytes content; int expected; const char *error; } const rows[] = {
      {"SMBIOS 3",          entry3() + good + kEnd,        7,  ""},
      {"SMBIOS 3 of 32 bytes", entry3(32) + good + kEnd,   7,  ""},
      {"SMBIOS 3 cut",      entry3(24, 90) + good,         -1, ""},
      {"entry too long",    entry3(33) + good,             -1, "2>Entry point length too large (33 bytes, expected 24).\n"},
      {"checksum",          changed(entry3(), 20, false) + good,                -1, ""},
      {"SMBIOS 2",          entry2(8, 2) + good + kEnd,    7,  ""},
      {"SMBIOS 2 count",    entry2(8, 1) + good + kEnd,    -1, ""},
      {"inner checksum",    changed(entry2(8, 2), 21, true) + good,              -1, ""},
      {"another anchor",    changed(entry2(8, 2), 3, true) + good,           -1, ""},
      {"version 2.31",      entry2(31, 2) + good,          7,  "2>SMBIOS version fixup (2.31 -> 2.3).\n"},
      {"version 2.33",      entry2(33, 2) + good,          7,  "2>SMBIOS version fixup (2.33 -> 2.3).\n"},
      {"version 2.51",      entry2(51, 2) + good,          7,  "2>SMBIOS version fixup (2.51 -> 2.6).\n"},
      {"short",             head(entry3(), 23),            -1, ""},
      {"entry past the end", head(entry3(30), 25),         -1, ""},
      {"no table",          entry3(24, 0),                 -1, "2>Failed to read table, sorry.\n"},
  };
  // clang-format on
  for (const auto &row : rows) {
    const TemporaryFile file("smbios", row.content);
    std::vector<SystemSlot> slots;
    EXPECT_EQ(printed([&] { slots = smbios_read_slots(file.path.c_str()); }), row.error) << row.what;
    EXPECT_EQ(slotOf(slots, "03:00.00"), row.expected) << row.what;
  }
  const auto read = [] { return smbios_read_slots("/nowhere"), smbios_read_slots("/sys/kernel/profiling"); };
  EXPECT_EQ(printed(read), "2>/sys/kernel/profiling: Unexpected end of file\n") << "shorter than it says";
}

// The text of dmidecode, of which only the lines about designations, usage and buses count.
TEST(Smbios, AgreesWithDmidecodeOnRealDumps) {
  const char *directory = getenv("TRX_REAL_DATA");
  if (!directory) GTEST_SKIP() << "TRX_REAL_DATA is not set";
  for (const auto &entry : std::filesystem::directory_iterator(std::string(directory) + "/smbios")) {
    if (entry.path().extension() != ".bin") continue;
    const std::string stem = entry.path().parent_path() / entry.path().stem();
    std::ifstream file(stem + ".bin", std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(file)), {});
    SmbiosTable table{};
    ASSERT_TRUE(smbios_entry_point(std::span(bytes).first(32), &table)) << stem;
    std::string read;
    const auto describe = [&](const DmiStructure &structure) {
      if (structure.type != 9) return;
      const auto &f = structure.formatted;
      const char *usages[] = {"", "Other", "Unknown", "Available", "In Use"};
      const std::string designation(dmi_string(structure, f[4]));
      read += "\tDesignation: " + designation + "\n\tCurrent Usage: " + usages[f[7]] + "\n";
      if (f.size() <= 16 || (f[13] & f[14] & f[15] & f[16]) == 0xFF) return;
      char bus[40];
      snprintf(bus, sizeof bus, "%02x%02x:%02x:%02x.%x\n", f[14], f[13], f[15], f[16] >> 3, f[16] & 7);
      read += std::string("\tBus Address: ") + bus;
    };
    dmi_table_walk(std::span(bytes).subspan(32), table.count, table.stopAtEnd, describe);
    const std::string filter =
        "grep -P '^\\t(Designation|Current Usage|Bus Address): ' " + stem + ".type9.txt";
    EXPECT_EQ(read, printed([&] { EXPECT_NE(std::system(filter.c_str()), -1); })) << stem;
  }
}

}  // namespace
