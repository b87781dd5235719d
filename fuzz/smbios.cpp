// SPDX-License-Identifier: GPL-3.0-or-later
// An SMBIOS file, and lines of lspci behind two line feeds of a short text.
#include "device/vmware/smbios.h"

#include "device/vmware/discovery.h"
#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fuzz::Input input(data, size);
  std::vector<std::string> lines = {input.textUpTo('\n'), input.textUpTo('\n')};
  const std::vector<uint8_t> file = input.rest();
  const std::span<const uint8_t> bytes(file);

  SmbiosTable table{};
  const std::vector<uint8_t> head(file.begin(),
                                  file.begin() + std::min<std::ptrdiff_t>(32, std::ssize(file)));
  if (!smbios_entry_point(head, &table)) table = {};
  const std::vector<SystemSlot> slots = dmi_system_slots(bytes, table.count, table.stopAtEnd);

  dmi_table_walk(bytes, 0, false, [&](const DmiStructure &structure) {
    fuzz::require(structure.formatted.size() >= 4);
    for (unsigned i = 0; i < 256; i += i < 4 ? 1 : 251) dmi_string(structure, static_cast<uint8_t>(i));
  });

  char place[32] = {};
  getBusDeviceFun(lines, place, "vmhba2");
  int slot = 0;
  get_SMBIOS_slot_ID(slots, place, &slot);
  fuzz::require(slot >= -1 && slot <= 255);
  return 0;
}
