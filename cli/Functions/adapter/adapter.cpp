// SPDX-License-Identifier: GPL-3.0-or-later
// Which adapter the commands of an interactive shell act on.
#include <array>
#include <cstring>

#include "Functions/handlers.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "trx/trx_api.h"

namespace trx {

const char adapter_help[] = R"(
adapter [-i <NVMe Controller ID> | -s <bus slot> | --list]

Options:
    -i, --id <NVMe Controller ID>
        NVMe Controller that the following commands refer to.
    -s, --slot <bus slot>
        The same, chosen by its PCI location bus:slot.func, at most 12
        characters.
    --list
        Display the number of NVMe Controllers and the current one.
    -h, --help

Examples:
    adapter -i 1
    The following commands refer to NVMe Controller 1.

    adapter -s 03:00.00
    The following commands refer to the NVMe Controller at 03:00.00.

    adapter --list
    Display the number of NVMe Controllers and the current one.

)";

namespace {

constexpr size_t kSlotLength = 12;

struct Options {
  Counted<int32_t> id;  ///< zero-based
  Counted<std::array<char, 32>> slot;
  Counted<bool> list;
};

bool readId(Options &o, const char *text) {
  constexpr char kInvalid[] = "-i : invalid NVMe Controller id '%s'\n";
  std::optional<int32_t> id = zeroBasedId(text);
  if (!id) return complain(kInvalid, text);
  int typed = userCounting(*id);
  if (*id >= gNumAdaptersFound) {
    tellWrong(Outcome::NotFound, "NVMe Controller %d does not exist.\n", typed);
    return false;
  }
  o.id.set(*id);
  // Said before the rest of the line is read, and also when nothing comes of it. This is meant.
  tell("NVMe Controller %d set as default CLI commands refers to.\n", typed);
  return true;
}

bool readSlot(Options &o, const char *text) {
  size_t length = std::strlen(text);
  if (length > kSlotLength) {
    return complain("-s : length of slot should be no more than %d characters\n",
                    static_cast<int>(kSlotLength));
  }
  o.slot.set({});
  noQuoteStrncpy(o.slot.value.data(), text, length);
  return true;
}

constexpr OptionRow<Options> kOptions[] = {
    {"id", 'i', idOf(Objects::Adapters), readId},
    {"slot", 's', Argument::Required, readSlot},
    // -l asks for an argument that nobody looks at, --list takes none; scripts write both so.
    {"list", 'l', Argument::NoneWhenLong, [](Options &o, const char *) { return o.list.set(true); }},
};

void tellAdapters() {
  data().array("adapters");
  for (TRX_U8 i = 0; i < gNumAdaptersFound; ++i) {
    Object entry = data().append("adapters");
    entry.put("id", int64_t{userCounting(i)});
    entry.put("device", std::string(TRX_Adapter_GetDevicePath(i)));
  }
}

int32_t listAdapters() {
  gNumAdaptersFound = TRX_Adapter_GetCount();
  const int current = userCounting(gCurrentAdapter);
  listed("adapter_count", int64_t{gNumAdaptersFound}, "Total number of NVMe Controllers: %d\n",
         gNumAdaptersFound);
  listed("current_adapter", int64_t{current}, "Current default NVMe Controller ID for CLI commands: %d\n",
         current);
  if (gathersFacts()) tellAdapters();
  return 0;
}

void makeCurrent(TRX_U8 adapter) {
  gCurrentAdapter = adapter;
  data().put("current_adapter", int64_t{userCounting(adapter)});
}

void chooseBySlot(const char *slot) {
  TRX_U8 found = 0;
  if (!findAdapterId(slot, &found)) {
    tellWrong(Outcome::NotFound, "%s is not NVMe Controller\n", slot);
    return;
  }
  tell("new NVMe Controller id : %d\n", userCounting(found));
  makeCurrent(found);
}

}  // namespace

constexpr OptionList adapter_options = optionList<kOptions>();

int32_t doAdapter(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 1)) return *end;
  if (anyRepeated(o.id, o.slot, o.list)) return complainDuplicate();
  // The listing wins: -i is confirmed and then dropped. This is meant.
  if (o.list.given()) return listAdapters();
  if (o.slot.given()) {
    if (o.id.given()) {
      complain("argument '-i' and '-s' not allow use in the same time.\n");
      return 1;
    }
    chooseBySlot(o.slot.value.data());
  } else if (o.id.given()) {
    makeCurrent(static_cast<uint8_t>(o.id.value));
  }
  return 0;
}

}  // namespace trx
