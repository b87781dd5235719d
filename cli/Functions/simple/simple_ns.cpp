// SPDX-License-Identifier: GPL-3.0-or-later
// Manage the namespaces that the controller exposes.
#include <cstring>

#include "Functions/handlers.h"
#include "Functions/info/info.h"
#include "Functions/info/listings.h"
#include "Functions/info/machines.h"
#include "Functions/simple/namespace_table.h"
#include "Public/exchange.h"
#include "Public/numbers.h"
#include "Public/objects.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"
#include "Public/utility.h"

namespace trx {

const char ns_help[] = R"(
ns -p | -a <init -i <pdid> -n <number of namespace> | share -s [yes|no] [-i <ns id> | -e <eui64>] | create -i <pdid|vdid> -c <ctrlid> -l<LBA size> | [attach|detach] [-i <ns id> | -e <eui64>] -d <ctrl id list> > [-h]

Options:
    -a, --action <init|share|create|attach|detach>
        init   - Initialize the namespaces of a physical disk
        share  - Set a namespace shared or private
        create - Create a namespace for one controller
        attach - Attach a namespace to controllers
        detach - Detach a namespace from controllers
    -i, --id <id>
        PD or VD id for actions init and create, which must stand before it,
        else NS id.
    -e, --EUI64 <eui64>
        EUI64 of the namespace, 16 lower-case hexadecimal digits.
    -n, --nn <number of namespace>
        Number of namespaces to make, only for action init.
    -s, --sharing <yes|no>
        Whether the namespace is shared, only for action share.
    -c, --cid <ctrlid>
        Controller that the namespace is created for, or becomes private to.
    -l, --lba <LBA size>
        Size of the namespace to create in LBAs, decimal or 0x hexadecimal.
    -d, --ctrllist <ctrl id list>
        Comma-separated controller ids, only for actions attach and detach.
    -p, --primary ctrl
        Display the primary controller id.
    --list
        Display all namespaces.
    -h, --help

Examples:
    ns -a init -i 0 -n 2
    Initialize PD 0 with two namespaces.

    ns -a share -s yes -i 1
    Set NS 1 shared.

    ns -a create -i 0 -c 0 -l 0x2800000
    Create a namespace of 0x2800000 LBAs for controller 0.

    ns -a attach -i 1 -d 0,1
    Attach NS 1 to controllers 0 and 1.

    ns -p ctrl
    Display the primary controller id.

)";

namespace {

// ---- options ----

enum class Action { None, Init, Share, Create, Attach, Detach };
constexpr Word<Action> kActions[] = {{"init", Action::Init},
                                     {"share", Action::Share},
                                     {"create", Action::Create},
                                     {"attach", Action::Attach},
                                     {"detach", Action::Detach}};
constexpr Word<bool> kYesNo[] = {{"yes", true}, {"no", false}};
constexpr Word<bool> kPrimary[] = {{"ctrl", true}};

/// Controller List (NVMe base standard): a count, then so many identifiers.
struct ControllerList {
  static constexpr size_t kRoom = 2047;
  TRX_U16 count;
  TRX_U16 ids[kRoom];
};
static_assert(sizeof(ControllerList) == TRX_PAGE_SIZE);

struct Options {
  Counted<Action> action;
  Counted<TRX_U32> id;
  const char *idText = "";  ///< as typed
  Counted<const char *> eui64;
  Counted<TRX_U8> number;
  Counted<bool> shared;
  Counted<int64_t> controller;
  Counted<uint64_t> lba;
  Counted<ControllerList> controllers;
  Counted<bool> primary;
  Counted<bool> list;
};

bool readId(Options &o, const char *text) {
  std::optional<int64_t> id = decimal(text);
  if (!id) return complain("-i: id should be a number\n");
  // Only an action that stands before -i tells that the id is counted from 1. This is meant.
  bool userCounted = o.action.value == Action::Create || o.action.value == Action::Init;
  if (userCounted) id = zeroBased(*id);
  if (*id < 0 || *id > UINT32_MAX) return complain("invalid id '%s'\n", text);
  o.idText = text;
  return o.id.set(static_cast<TRX_U32>(*id));
}

bool appendController(ControllerList &list, const std::string &text) {
  if (text.empty() || !isNumber(text.c_str())) return complain("-d : controller ids should be a number\n");
  std::optional<uint16_t> id = zeroBasedId16(text.c_str());
  if (!id) return complain("invalid controller id '%s'\n", text.c_str());
  if (list.count == ControllerList::kRoom)
    return complain("-d : at most %zu controller ids\n", ControllerList::kRoom);
  list.ids[list.count++] = *id;
  return true;
}

bool readControllers(Options &o, const char *text) {
  ++o.controllers.count;
  for (;;) {
    size_t length = std::strcspn(text, ",");
    if (!appendController(o.controllers.value, std::string(text, length))) return false;
    if (text[length] == '\0') return true;
    text += length + 1;
  }
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"action", 'a', oneOf<kActions>(), [](Options &o, const char *text) {
       return choose(o.action, text, kActions) || complain("-a : invalid action '%s'.\n", text); }},
    {"id", 'i', idOf(Objects::Namespaces, 'a'), readId},
    {"EUI64", 'e', Argument::Required, [](Options &o, const char *text) {
       if (std::strlen(text) != 16) return complain("-e : invalid EUI64 '%s'.\n", text);
       return o.eui64.set(text); }},
    {"nn", 'n', Argument::Required, [](Options &o, const char *text) {
       std::optional<int64_t> number = decimal(text);
       if (!number) return complain("-n: number of namespace should be a number\n");
       return o.number.set(static_cast<TRX_U8>(*number)); }},
    {"sharing", 's', oneOf<kYesNo>(), [](Options &o, const char *text) {
       return choose(o.shared, text, kYesNo) || complain("-s : invalid option '%s'.\n", text); }},
    {"cid", 'c', Argument::Required, [](Options &o, const char *text) {
       return o.controller.take(decimal(text)) || complain("-c: controller id should be a number\n"); }},
    {"lba", 'l', Argument::Required, [](Options &o, const char *text) {
       return o.lba.take(hexOrDecimal(text)) || complain("-l: Invalid LBA\n"); }},
    {"ctrllist", 'd', Argument::Required, readControllers},
    {"primary", 'p', oneOf<kPrimary>(), [](Options &o, const char *text) {
       return choose(o.primary, text, kPrimary) || complain("-p : invalid value '%s'\n", text); }},
    {"list", 'L', Argument::None, [](Options &o, const char *) { return o.list.set(true); }, Form::LongOnly},
};
// clang-format on

// ---- requests ----

ControllerRequest initNamespaces(TRX_U32 pd, TRX_U8 number) {
  return ControllerRequest::function(0xE5, 2, static_cast<TRX_U16>(pd)).set(14, number);
}

ControllerRequest shareNamespace(TRX_U32 nsid, bool shared, int64_t controller) {
  return ControllerRequest::function(0xE5, 3, static_cast<TRX_U16>(nsid))
      .set(14, shared ? 1 : static_cast<TRX_U32>(controller) << 8);
}

/// What backs the namespace is told counting from 1. Of it and of the controller eight bits are kept.
ControllerRequest createNamespace(TRX_U32 backing, int64_t controller, uint64_t lba) {
  auto where = static_cast<TRX_U16>((controller & 0xFF) << 8 | ((backing + 1) & 0xFF));
  return ControllerRequest::function(0xE5, 4, where)
      .set(13, static_cast<TRX_U32>(lba))
      .set(14, static_cast<TRX_U32>(lba >> 32));
}

/// Namespace Attachment (NVMe base standard).
TRX_U32 selectControllers(TRX_U32 nsid, bool detach, const ControllerList &controllers) {
  TRX_U32 select = detach ? TRX_NVME_DETACH : TRX_NVME_ATTACH;
  Page page;
  std::memcpy(page.bytes, &controllers, sizeof controllers);
  return sendAdmin(gCurrentAdapter, TRX_NVME_NAMESPACE_ATTACHMENT, nsid, {&select, 1}, page.bytes, {});
}

// ---- actions ----

/// Find the namespace that -e or -i names; -e goes before -i.
/// @return whether there is one; says so when there is none, and tells machines which it is
bool findNamespace(Options &o, const char *command, const NamespaceTable &table) {
  if (!o.id.given() && !o.eui64.given()) {
    return complain("%s: option -%c or -%c is required\n", command, 'i', 'e');
  }
  if (o.eui64.given()) {
    int32_t id = getNSIDfromEUI64(table, o.eui64.value);
    if (id == -1) {
      tellWrong(Outcome::NotFound, "invalid EUI64 id: %s\n", o.eui64.value);
      return false;
    }
    o.id.set(static_cast<TRX_U32>(id));
  }
  data().put("namespace_id", int64_t{o.id.value});
  return true;
}

/// Whether the id fits the 16 bits that the controller's own functions have for it: cut, it would name
/// another object.
bool fitsFunction(const Options &o) {
  return o.id.value <= UINT16_MAX || complain("invalid id '%s'\n", o.idText);
}

/// Likewise for the 24 bits of a private namespace's controller.
bool controllerFits(const Options &o) {
  return o.controller.value <= 0xFFFFFF || complain("-c: controller id should be a number\n");
}

int32_t init(const Options &o, const char *command) {
  if (!o.id.given()) return complainRequired(command, 'i', 0);
  if (!o.number.given()) return complainRequired(command, 'n', 0);
  if (!fitsFunction(o)) return 0;
  int32_t status = sendAndTell(initNamespaces(o.id.value, o.number.value),
                               {"\nInitial NS successfully\n", "\nUnable to initial NS\n"});
  if (status == 0) tellNewNamespaces([&](const NVME_NS_Info &ns) { return ns.ID == o.id.value; });
  return status;
}

int32_t share(Options &o, const char *command, const NamespaceTable &table) {
  if (!findNamespace(o, command, table)) return 0;
  if (!o.shared.given()) return complainRequired(command, 's', 0);
  if (!fitsFunction(o) || !controllerFits(o)) return 0;
  return sendAndTell(shareNamespace(o.id.value, o.shared.value, o.controller.value),
                     {"\nSet sharing NS successfully\n", "\nUnable to set sharing NS\n"});
}

int32_t create(const Options &o, const char *command, const NamespaceTable &table) {
  if (!o.id.given()) return complainRequired(command, 'i', 0);
  if (!o.controller.given()) return complainRequired(command, 'c', 0);
  if (!o.lba.given()) return complainRequired(command, 'l', 0);
  int32_t status = sendAndTell(createNamespace(o.id.value, o.controller.value, o.lba.value),
                               {"\nCreate NS successfully\n", "\nUnable to create NS\n"});
  if (status == 0) tellNewNamespaces([&](const NVME_NS_Info &ns) { return !table.has(ns.NSID); });
  return status;
}

int32_t attachOrDetach(Options &o, const char *command, const NamespaceTable &table) {
  if (!(summaryOf(gCurrentAdapter).Features & TRX_FEATURE_NAMESPACE)) {
    tellWrong(Outcome::Refused, "Namespace management and attachment is not support.\n");
    return 0;
  }
  if (!findNamespace(o, command, table)) return 0;
  bool detach = o.action.value == Action::Detach;
  const char *word = detach ? "Detach" : "Attach";
  TRX_U32 status = selectControllers(o.id.value, detach, o.controllers.value);
  if (status == 0) {
    tell("%s namespace success\n", word);
  } else {
    tellFailed("%s namespace failed\n", word);
  }
  return static_cast<int32_t>(status);
}

int32_t showPrimary() {
  TRX_U16 id = 0;
  TRX_U32 status = readPrimaryControllerId(gCurrentAdapter, id);
  if (status != 0) {
    complainIdentify();
  } else {
    listed("primary_controller_id", int64_t{id}, "Primary Controller Id is %d\n", id);
  }
  return static_cast<int32_t>(status);
}

int32_t show(const Options &o) {
  if (o.primary.given()) return showPrimary();
  if (o.list.given()) {
    getNSInfoSA(kAllIds);
    return 0;
  }
  complain("Error action!\n");
  return 1;
}

}  // namespace

constexpr OptionList ns_options = optionList<kOptions>();

int32_t doSNS(int argc, char **argv, const Command_Info *row) {
  // Read on every call, with the help too: its trace and its complaints come first.
  const NamespaceTable table = readNamespaceTable();
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 0, ParserErrorHelp::Yes)) return *end;
  if (anyRepeated(o.action, o.id, o.number, o.shared, o.controller, o.lba, o.controllers, o.primary, o.list,
                  o.eui64)) {
    complainDuplicate();
    return 0;
  }
  switch (o.action.value) {
    case Action::Init:
      return init(o, argv[0]);
    case Action::Share:
      return share(o, argv[0], table);
    case Action::Create:
      return create(o, argv[0], table);
    case Action::Attach:
    case Action::Detach:
      return attachOrDetach(o, argv[0], table);
    case Action::None:
      break;
  }
  return show(o);
}

}  // namespace trx
