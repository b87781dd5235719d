// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/flash/flash.h"

#include "Functions/handlers.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"

namespace trx {

// The slips in the text stay: manuals quote it.
const char flash_help[] = R"(
flash  -o <hba [-t type]|pd> [-i <ID>] -f <file> [-s <firmware slot>] [-c <commit action>] [-b <boot partition id>][-q firmware] [-h]

Options: 
    -o, --object <hba|pd>
        Object name of the object to update firmware.
        hba - NVMe Controller, default
        pd  - Physical Disk
    -t, --type <raw>
        Update raw image with specific items
        raw - Update all items of raw image
    -i  --id
           NVMe Controller id, if want to update NVMe Controller firmware
                               If not specified, update current NVMe Controller
           SSD adapter id of PD info command, if want to update disk firmware, this value is necessary
    -c, --ca <commit action>
        Downloaded image replaces the image specified by the Firmware Slot field. The image is activated at the next reset.
        Notice: Windows only accept 1 and 2.
        Tarv-Default value is 1
    -f, --file <file name and path>
    -s, --fs <firmware slot>
           If slot is zero, then the controller shall choose the firmware slot.(Max slot: 7)
    -b, --bp_id <boot partition id>
    -q, --query
        firmware, query slot information of NVMe controller or PD.
    -h, --help

Examples:
    flash -o hba -f c:\firmware.bin -c 1 -s 1
    Update firmware image c:\firmware.bin with commit action is 1 and firmware slot 1 from current NVMe Controller 

    flash -o pd -i 0 -f c:\firmware.bin -s 1 -c 1
    Update firmware image c:\firmware.bin to back-end device id 0 witch firmware slot 1 and commit action is 1

    flash -o hba -i 0 -t raw -f c:\raw.bin -c 1 
    Update whole raw image c:\raw.bin to NVMe Controller id 0

    flash -o hba -i 0 -q firmware 
    Show slot count, active slot and next active slot of NVMe Controller id 0

    flash -o pd -i 0 -q firmware 
    Show slot count, active slot and next active slot of PD id 0 in current NVMe Controller

)";

namespace {

struct Options {
  Counted<std::string> file;
  Counted<bool> raw;
  bool hba = false;
  bool pd = false;
  Counted<int32_t> id;
  Counted<int32_t> slot{.value = 1};
  Counted<int32_t> action{.value = 1};
  Counted<int32_t> bootPartition;
  Counted<bool> slotInfo;
};

constexpr Word<bool> kTypes[] = {{"raw", true}};
constexpr Word<bool> kQueries[] = {{"firmware", true}};
constexpr Word<bool Options::*> kObjects[] = {
    {"hba", &Options::hba}, {"pd", &Options::pd}, {"hd", &Options::pd}};

bool readObject(Options &o, const char *text) {
  bool Options::*flag = nullptr;
  if (!choose(flag, text, kObjects)) return false;
  o.*flag = true;
  return true;
}

bool readBounded(Counted<int32_t> &into, const char *text, int32_t largest) {
  // No text at all, as in "--ca 3", where the 3 is another word, would count as 0: a slot and an action
  // that nobody asked for.
  return into.takeCounted(*text ? decimalUpTo(largest, text) : std::nullopt);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"file", 'f', kPath, [](Options &o, const char *text) {
       return o.file.set(pathArgument(text)); }},
    {"type", 't', oneOf<kTypes>(), [](Options &o, const char *text) {
       ++o.raw.count;
       return choose(o.raw.value, text, kTypes) || complain("-t : invalid type '%s'\n", text); }},
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       return readObject(o, text) || complain("-o : invalid object '%s'\n", text); }},
    {"id", 'i', idOf(Objects::Adapters, 'o'), [](Options &o, const char *text) {
       return o.id.takeCounted(zeroBasedId(text)) || complain("-i : invalid id '%s'.\n", text); }},
    {"fs", 's', Argument::OptionalWhenLong, [](Options &o, const char *text) {
       return readBounded(o.slot, text, 7) || complain("-s : invalid firmware slot '%s'.\n", text); }},
    {"ca", 'c', Argument::OptionalWhenLong, [](Options &o, const char *text) {
       return readBounded(o.action, text, 7) || complain("-c : invalid commit action '%s'.\n", text); }},
    {"bp_id", 'b', Argument::OptionalWhenLong, [](Options &o, const char *text) {
       return readBounded(o.bootPartition, text, 1) ||
              complain("-b : invalid boot partition id '%s'.\n", text); }},
    // The help text calls it --query. Scripts have the name of this table.
    {"slot_info", 'q', oneOf<kQueries>(Argument::OptionalWhenLong), [](Options &o, const char *text) {
       ++o.slotInfo.count;
       return choose(o.slotInfo.value, text, kQueries) || complain("-q : invalid query '%s'\n", text); }},
};
// clang-format on

/// The object's id. The current adapter's index is the default for both kinds: this is meant.
int32_t objectId(const Options &o) { return o.id.given() ? o.id.value : gCurrentAdapter; }

void showSlots(const Options &o) {
  if (o.hba) {
    showSlotInfo(gCurrentAdapter, SlotOwner::Controller, 0);
  } else if (o.pd) {
    showSlotInfo(gCurrentAdapter, SlotOwner::Disk, static_cast<TRX_U32>(objectId(o)));
  } else {
    // On standard output and without a line break. Both are meant.
    complainOnStandardOutput("Unknown slot information request.");
  }
}

/// Whether what an update needs is there; complains about all that is missing.
bool isComplete(const char *command, const Options &o) {
  bool complete = o.hba || o.pd;
  auto demand = [&](bool given, char letter) {
    if (!given) complainRequired(command, letter);
    complete = complete && given;
  };
  // Both have a default, and are demanded all the same: nobody writes firmware by leaving something out.
  demand(o.action.given(), 'c');
  if (!o.raw.given()) demand(o.slot.given(), 's');
  if (!activatesOnly(static_cast<TRX_U8>(o.action.value))) demand(o.file.given(), 'f');
  if (o.pd) demand(o.id.given(), 'i');
  return complete;
}

int32_t update(const Options &o) {
  auto fs = static_cast<TRX_U8>(o.slot.value);
  auto ca = static_cast<TRX_U8>(o.action.value);
  // A line with both objects updates the disk. This is meant.
  if (o.pd) {
    TRX_U32 commit = static_cast<TRX_U32>(o.bootPartition.value) << 31 | TRX_U32{ca} << 3 | fs;
    return updateHdFlash(gCurrentAdapter, o.file.value, static_cast<TRX_U32>(o.id.value), commit, ca);
  }
  constexpr TRX_U8 kRawSlot = 1;
  if (o.raw.given()) return updateAdapterFlash(objectId(o), o.file.value, kRawSlot, ca, 1);
  return updateAdapterFlash(objectId(o), o.file.value, fs, ca, 0);
}

}  // namespace

constexpr OptionList flash_options = optionList<kOptions>();

int32_t doFlash(int argc, char **argv, const Command_Info *row) {
  Options o;
  Parsed end = parseOptions(argc, argv, row, kOptions, o);
  if (end == Parsed::Help) return 0;
  if (end == Parsed::ParserError) {
    printHelp(row);
    return 0;
  }
  if (argc == 1) return helpForNoWords(row);
  // Not -o: of one object given twice nothing is lost, and two objects are decided below.
  if (anyRepeated(o.file, o.id, o.slot, o.action, o.bootPartition, o.raw, o.slotInfo)) {
    complainDuplicate();
    return 1;
  }
  if (end != Parsed::Complete) return 1;
  if (!o.hba && !o.pd) complainRequired(argv[0], 'o');
  if (o.slotInfo.given()) {
    showSlots(o);
    return 0;
  }
  return isComplete(argv[0], o) ? update(o) : 1;
}

}  // namespace trx
