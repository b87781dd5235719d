// SPDX-License-Identifier: GPL-3.0-or-later
// System slots from SMBIOS (System Slots, type 9). The decoder takes bytes and never reads past
// their end; only the last two functions know that there is a file.
#ifndef TRX_DEVICE_VMWARE_SMBIOS_H
#define TRX_DEVICE_VMWARE_SMBIOS_H

#include <cstdint>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

/// One structure of the table.
struct DmiStructure {
  uint8_t type;
  std::span<const uint8_t> formatted;  ///< header included
  std::span<const uint8_t> strings;    ///< NUL-terminated strings up to the end of their set
};

/// Visit the structures of a table in order.
/// @param count  structures to visit; 0: as many as there are
/// @param stopAtEnd whether an end-of-table structure (type 127) ends the walk
void dmi_table_walk(std::span<const uint8_t> table, unsigned count, bool stopAtEnd,
                    const std::function<void(const DmiStructure &)> &visit);

/// String number `index` of a structure, from 1; "Not Specified" for 0, "<BAD INDEX>" past the last.
std::string_view dmi_string(const DmiStructure &structure, uint8_t index);

/// A slot that is in use.
struct SystemSlot {
  uint8_t bus;
  uint8_t id;
};

/// The slots in use that have a bus number, in the table's order.
std::vector<SystemSlot> dmi_system_slots(std::span<const uint8_t> table, unsigned count, bool stopAtEnd);

/// Where the table lies, by an entry point.
struct SmbiosTable {
  uint32_t length;  ///< bytes at most
  unsigned count;   ///< structures; 0 not told
  bool stopAtEnd;
};

/// Read an entry point of either kind.
/// @param entry the first bytes of the file, at most 32
/// @return whether it is one and is whole
bool smbios_entry_point(std::span<const uint8_t> entry, SmbiosTable *table);

/// The slots in use that an SMBIOS file tells of; none when there is no such file.
std::vector<SystemSlot> smbios_read_slots(const char *path);

/// The platform's SMBIOS file.
constexpr char kSmbiosPath[] = "/dev/char/mem/smbios";

/// Find the slot of a PCI location such as "03:00.00"; -1 when there is none.
void get_SMBIOS_slot_ID(std::span<const SystemSlot> slots, const char *bus_dev_fun, int *slot_id);

#endif  // TRX_DEVICE_VMWARE_SMBIOS_H
