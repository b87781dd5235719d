// SPDX-License-Identifier: GPL-3.0-or-later
// Create and delete virtual disks. The controller does all the work; there is no prompt.
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "Functions/handlers.h"
#include "Functions/info/machines.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"
#include "Public/utility.h"

namespace trx {

const char vd_help[] = R"(
vd -a create -r <raid mode> -d <pd id list> [-b <128|256|512|1024>] [-n <count>]
vd -a delete -i <vd id> [-h]

Options:
    -a, --action <create|delete>
        create - Create a virtual disk
        delete - Delete a virtual disk and all its namespaces
    -i, --vd_id <vd id>
        VD to delete.
    -r, --raidmode <0|1|10|5|50|6|60|JBOD>
        RAID mode of the virtual disk to create.
    -d, --pdid <pd id list>
        Comma-separated PD ids of the members.
    -b, --sbs=<128|256|512|1024>
        Stripe block size in KB. If not specified, it is 128.
    -n, --namespace=<count>
        Number of namespaces to make. They share the virtual disk evenly.
        If not specified or 0, one namespace is made.
    -h, --help

Examples:
    vd -a create -r 1 -d 0,1
    Create a RAID 1 virtual disk of PD 0 and PD 1 with one namespace.

    vd -a create -r 10 -d 0,1,2,3 -b 512 -n 2
    Create a RAID 10 virtual disk with a stripe block size of 512 KB and two
    namespaces.

    vd -a delete -i 0
    Delete VD 0.

)";

namespace {

enum class Action { None, Create, Delete };
// Values travel in the create command.
enum class Stripe : TRX_U8 { Kb128 = 0, Kb256 = 1, Kb512 = 2, Kb1024 = 3 };

constexpr Word<Action> kActions[] = {{"create", Action::Create}, {"delete", Action::Delete}};
constexpr Word<Stripe> kStripes[] = {
    {"128", Stripe::Kb128}, {"256", Stripe::Kb256}, {"512", Stripe::Kb512}, {"1024", Stripe::Kb1024}};
constexpr TRX_U8 kNoRaidMode = 255;
constexpr int32_t kLastVolume = 255;  // the command has eight bits for it

struct Options {
  Counted<Action> action;
  Counted<int32_t> vd;
  Counted<TRX_U8> raidMode;
  Counted<TRX_U32> members;  ///< bit n: PD n
  Counted<Stripe> stripe;
  Counted<TRX_U8> namespaces;
};

/// Read a list of PD ids into a bitmap.
bool readMembers(TRX_U32 &members, const char *list) {
  constexpr int64_t kMembers = 32;
  constexpr int64_t kDiskZero = 255;  // also names PD 0, as scripts have it
  const char *at = list;
  for (;;) {
    if (!std::isdigit(static_cast<unsigned char>(*at))) return false;
    // What stands between the digits and the next comma is ignored. This is meant.
    int64_t id = zeroBased(std::strtol(at, nullptr, 10));
    if (id == kDiskZero) id = 0;
    if (id < 0 || id >= kMembers) return false;
    members |= 1u << id;
    at = std::strchr(at, ',');
    if (!at) return true;
    ++at;
  }
}

/// The levels that the current adapter has, for completion; all where it does not tell.
const char *supportedRaidMode(size_t index) {
  const TRX_U16 told = summaryOf(gCurrentAdapter).SupportRAIDMode;
  return raidModeWord(index, told != 0 ? told : UINT16_MAX);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"action", 'a', oneOf<kActions>(), [](Options &o, const char *text) {
       return choose(o.action, text, kActions) || complain("-a : invalid action '%s'.\n", text); }},
    {"vd_id", 'i', idOf(Objects::Volumes), [](Options &o, const char *text) {
       if (!isNumber(text)) return complain("-i : invalid vd id '%s'.\n", text);
       return o.vd.take(zeroBasedId(text, kLastVolume)) || complain("-i : invalid id '%s'\n", text); }},
    {"raidmode", 'r', Takes(Argument::Required, supportedRaidMode), [](Options &o, const char *text) {
       o.raidMode.set(chooseRaidMode(text));
       return o.raidMode.value != kNoRaidMode || complain("-r : invalid raid mode %s\n", text); }},
    {"pdid", 'd', idOf(Objects::DiskList), [](Options &o, const char *text) {
       ++o.members.count;
       return readMembers(o.members.value, text) || complain("-d : invalid PD ID '%s'\n", text); }},
    {"sbs", 'b', oneOf<kStripes>(Argument::OptionalWhenLong), [](Options &o, const char *text) {
       return choose(o.stripe, text, kStripes) || complain("-b : invalid stripe block size '%s'.\n", text); }},
    {"namespace", 'n', Argument::OptionalWhenLong, [](Options &o, const char *text) {
       std::optional<int64_t> count = decimal(text);
       if (!count) return complain("-n : invalid namespaces '%s'.\n", text);
       return o.namespaces.set(static_cast<TRX_U8>(*count)); }},
};
// clang-format on

ControllerRequest createVolume(TRX_U8 raidMode, Stripe stripe, TRX_U32 members, TRX_U8 namespaces) {
  auto layout = static_cast<TRX_U16>(raidMode << 8 | static_cast<TRX_U8>(stripe));
  return ControllerRequest::function(0xE2, 3, layout).set(13, members).set(14, namespaces);
}

ControllerRequest deleteVolume(TRX_U8 id) {
  return ControllerRequest::function(0xE2, 4, id).set(13, 0).set(14, 0);
}

constexpr OutcomeLines kLines = {"cmd success\n", "cmd failed.\n"};

int32_t create(const Options &o) {
  const VolumesBefore before;
  int32_t status = sendAndTell(
      createVolume(o.raidMode.value, o.stripe.value, o.members.value, o.namespaces.value), kLines);
  if (status == 0) before.tellNew(o.members.value);
  return status;
}

int32_t remove(const Options &o) {
  const auto id = static_cast<TRX_U8>(o.vd.value);
  tellVolume(gCurrentAdapter, id);
  return sendAndTell(deleteVolume(id), kLines);
}

}  // namespace

constexpr OptionList vd_options = optionList<kOptions>();

int32_t doSVD(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0)) return *end;
  // A repeated -r is not refused: the last one wins, so that a script can append its own.
  if (anyRepeated(o.vd, o.action, o.namespaces, o.members, o.stripe)) return complainDuplicate();
  switch (o.action.value) {
    case Action::Create:
      if (!o.raidMode.given()) return complainRequired(argv[0], 'r', 0);
      if (!o.members.given()) return complainRequired(argv[0], 'd', 0);
      return create(o);
    case Action::Delete:
      if (!o.vd.given()) return complainRequired(argv[0], 'i', 0);
      return remove(o);
    case Action::None:
      break;
  }
  // The result is the number of characters written, 14; scripts know the status.
  noteUsage();
  return tellWrong(Outcome::Usage, "Error action!\n");
}

}  // namespace trx
