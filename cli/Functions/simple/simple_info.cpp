// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/simple_info.h"

#include <algorithm>

#include "Functions/handlers.h"
#include "Functions/info/info.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/request.h"
#include "trx/trx_api.h"

namespace trx {

const char info_help[] = R"(
info -o <hba|vd|pd|ns> [-i <id>] [-t <host|vd> [-v <vd_id>]] [-h]

Options:
    -o, --object <hba|vd|pd|ns>
        Object to display.
        hba - NVMe Controller
        vd  - Virtual Disk
        pd  - Physical Disk
        ns  - Namespace
    -i, --id <id>
        ID of the object. If not specified, all objects are displayed.
    -t, --type <host|vd>
        Only for object ns.
        host - Namespaces as reported to the host, default
        vd   - Namespaces of one virtual disk
    -v, --vd_id <vd_id>
        VD whose namespaces are displayed, only for object ns with type vd.
    -h, --help

Examples:
    info -o hba
    Display all NVMe Controllers.

    info -o pd
    Display all physical disks of current NVMe Controller.

    info -o vd -i 0
    Display VD 0 of current NVMe Controller.

    info -o ns -t vd -v 0
    Display namespaces of VD 0 of current NVMe Controller.

)";

namespace {

constexpr int32_t kAll = kAllIds;

enum class Object { None, Hba, Pd, Vd, Ns };
enum class NamespaceView { Host, Vd };

constexpr Word<Object> kObjects[] = {{"hba", Object::Hba}, {"pd", Object::Pd}, {"hd", Object::Pd},
                                     {"vd", Object::Vd},   {"ld", Object::Vd}, {"ns", Object::Ns}};
constexpr Word<NamespaceView> kViews[] = {
    {"host", NamespaceView::Host}, {"vd", NamespaceView::Vd}, {"ld", NamespaceView::Vd}};

struct Options {
  Counted<Object> object;
  Counted<int32_t> id;
  Counted<NamespaceView> view;
  Counted<int32_t> vd;
};

bool readNumber(Counted<int32_t> &into, const char *text, const char *complaint) {
  std::optional<int32_t> number = decimal(text);
  into.set(number.value_or(0));
  return number || complain("%s", complaint);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       ++o.object.count;
       return choose(o.object.value, text, kObjects) || complain("-o : invalid object '%s'\n", text); }},
    {"id", 'i', Argument::Required, [](Options &o, const char *text) {
       return readNumber(o.id, text, "-i : id should be a number\n"); }},
    {"type", 't', oneOf<kViews>(), [](Options &o, const char *text) {
       ++o.view.count;
       return choose(o.view.value, text, kViews) || complain("-t : invalid type '%s'\n", text); }},
    // The help text calls it --vd_id. This is meant.
    {"vdid", 'v', Argument::Required, [](Options &o, const char *text) {
       return readNumber(o.vd, text, "-v : VD id should be a number\n"); }},
};
// clang-format on

// Controller functions of the listings: group and sub-function.
ControllerRequest adapterInfo() { return ControllerRequest::function(0xE0, 0); }
ControllerRequest diskInfo(TRX_U16 id) { return ControllerRequest::function(0xE1, 0).set(14, id); }
ControllerRequest volumeInfo(TRX_U16 id) { return ControllerRequest::function(0xE2, 0).set(14, id); }
ControllerRequest volumeActivity(TRX_U16 id) { return ControllerRequest::function(0xE3, 2).set(14, id); }
ControllerRequest hostNamespaces() { return ControllerRequest::function(0xE5, 0); }
ControllerRequest volumeNamespaces(TRX_U8 vd) { return ControllerRequest::function(0xE5, 1, vd).set(14, 0); }

// ---- controllers ----

bool printAdapter(TRX_U8 adapter) {
  ControllerReply reply;
  if (adapterInfo().ask(adapter, reply) != 0) return false;
  Adapter_PrintInfo(adapter, reply.record<NVME_Adapter_Info>());
  return true;
}

void getAdapterInfoSA(TRX_U8 id) {
  TRX_U8 count = TRX_Adapter_GetCount();
  bool all = id == kAll && !gSpecificAdapterFlag;
  if (!all) {
    bool exists = id == kAll || id < count;
    if (!exists || !printAdapter(id)) std::fputs("\nUnable to get info of NVMe Controller\n", stream);
    return;
  }
  if (count == 0) return;
  for (TRX_U8 i = 0; i < count; ++i) {
    if (printAdapter(i)) {
      std::fputc('\n', stream);
    } else {
      // Zero-based also for those who count from 1. This is meant.
      std::fprintf(stream, "\nUnable to get info of NVMe Controller %d\n", i);
    }
  }
  Listing total(stream, 20);
  total.row("Total # of HBA:", "total", count);
  total.blankLine();
}

// ---- physical disks ----

TRX_U32 getOneHDInfoSA(TRX_U16 id) {
  ControllerReply reply;
  TRX_U32 status = diskInfo(id).ask(gCurrentAdapter, reply);
  if (status == 0) HD_PrintInfo(reply.record<NVME_PD_Info>(), isRaidMode(summaryOf(gCurrentAdapter)));
  return status;
}

void getHDInfoSA(TRX_U16 id) {
  if (id != kAll) {
    if (getOneHDInfoSA(id) != 0) std::fputs("\nUnable to get info of PD\n", stream);
    return;
  }
  const NVME_Adapter_Info &summary = summaryOf(gCurrentAdapter);
  int tries = summary.PortCount * (isRaidMode(summary) ? summary.MaxPD : summary.MaxNSPerVD);
  // The id and the tally are counted in 8 bits: with more than 256 tries the ids come round again.
  TRX_U8 next = 0;
  TRX_U8 printed = 0;
  std::fputc('\n', stream);
  for (int i = 0; i < tries; ++i) {
    if (getOneHDInfoSA(next++) != 0) continue;
    std::fputc('\n', stream);
    ++printed;
  }
  if (printed == 0) {
    std::fputs("No physical disk is found.\n", stream);
    return;
  }
  Listing total(stream, 23);
  total.row("Total # of PD:", "total", printed);
  total.blankLine();
}

// ---- virtual disks ----

TRX_U32 getOneLDInfoSA(TRX_U16 id) {
  ControllerReply reply;
  TRX_U32 status = volumeInfo(id).ask(gCurrentAdapter, reply);
  if (status != 0) return status;
  LD_PrintInfo(reply.record<NVME_VD_Info>());

  status = volumeActivity(id).ask(gCurrentAdapter, reply);
  if (status == 0) VD_PrintBGAStatus(reply.record<NVME_BGA_Status>());
  return status;
}

void getLDInfoSA(TRX_U16 id) {
  if (id != kAll) {
    if (getOneLDInfoSA(id) != 0) std::fputs("\nUnable to get info of VD\n", stream);
    return;
  }
  TRX_U8 printed = 0;
  std::fputc('\n', stream);
  for (TRX_U16 i = 0; i < summaryOf(gCurrentAdapter).MaxVD; ++i) {
    if (getOneLDInfoSA(i) != 0) continue;
    std::fputc('\n', stream);
    ++printed;
  }
  if (printed == 0) {
    std::fputs("No virtual disk is found.\n", stream);
    return;
  }
  Listing total(stream, 20);
  total.row("Total # of VD:", "total", printed);
  total.blankLine();
}

// ---- namespaces ----

enum class Shown { InUse, Valid };

bool isShown(const NVME_NS_Info &ns, Shown which) {
  return which == Shown::Valid ? (ns.Status & TRX_NS_STATUS_VALID) != 0 : ns.Status != 0;
}

TRX_U32 readNamespaces(const ControllerRequest &request, std::vector<NVME_NS_Info> &namespaces) {
  constexpr size_t kRoom = (TRX_PAGE_SIZE - ControllerReply::kPayloadOffset) / sizeof(NVME_NS_Info);
  ControllerReply reply;
  TRX_U32 status = request.ask(gCurrentAdapter, reply);
  if (status != 0) return status;
  namespaces.resize(std::min<size_t>(summaryOf(gCurrentAdapter).MaxNS, kRoom));
  for (size_t i = 0; i < namespaces.size(); ++i) {
    namespaces[i] = reply.record<NVME_NS_Info>(i * sizeof(NVME_NS_Info));
  }
  return 0;
}

void printNamespaces(const ControllerRequest &request, TRX_U16 id, Shown shownOfAll) {
  std::vector<NVME_NS_Info> namespaces;
  if (readNamespaces(request, namespaces) != 0) {
    // VD, although namespaces were asked for. This is meant.
    std::fputs("\nUnable to get info of VD\n", stream);
    return;
  }
  TRX_U8 printed = 0;
  for (const NVME_NS_Info &ns : namespaces) {
    if (id == kAll ? !isShown(ns, shownOfAll) : !(ns.NSID == id && isShown(ns, Shown::InUse))) continue;
    NS_PrintInfo(ns, isRaidMode(summaryOf(gCurrentAdapter)));
    ++printed;
  }
  if (id != kAll) {
    if (printed == 0) std::fputs("\nUnable to get info of NS\n", stream);
  } else if (printed == 0) {
    std::fputs("No Namespace Info Exist.\n", stream);
  } else {
    Listing total(stream, 20);
    total.row("Total # of NS:", "total", printed);
    total.blankLine();
  }
}

// Unlike the host listing it does not look at MaxNS first, and shows all valid entries rather than
// all entries in use. Both are meant.
void getNSInfoOfVDSA(TRX_U16 id, TRX_U8 vd) { printNamespaces(volumeNamespaces(vd), id, Shown::Valid); }

}  // namespace

constexpr OptionList info_options = optionList<kOptions>();

TRX_U32 readHostNamespaces(std::vector<NVME_NS_Info> &namespaces) {
  return readNamespaces(hostNamespaces(), namespaces);
}

void getNSInfoSA(TRX_U16 id) {
  if (summaryOf(gCurrentAdapter).MaxNS == 0) {
    std::fputs("Get MaxNS from adapter info fail.\n", stream);
    return;
  }
  printNamespaces(hostNamespaces(), id, Shown::InUse);
}

namespace {

/// The zero-based id of the object asked for; kAll for every one.
int32_t objectId(const Options &o) {
  if (!o.id.given()) return o.object.value == Object::Hba && gSpecificAdapterFlag ? gCurrentAdapter : kAll;
  if (o.object.value == Object::Ns) return o.id.value;
  int32_t id = o.id.value - g_oneBaseMode;
  // It complains and goes on with the id cut to its width. This is meant.
  if (id < 0) std::fputs("-i : id should be a number\n", stream);
  return id;
}

int32_t list(const Options &o) {
  int32_t id = objectId(o);
  switch (o.object.value) {
    case Object::Hba:
      getAdapterInfoSA(static_cast<TRX_U8>(id));
      break;
    case Object::Pd:
      getHDInfoSA(static_cast<TRX_U16>(id));
      break;
    case Object::Vd:
      getLDInfoSA(static_cast<TRX_U16>(id));
      break;
    case Object::Ns:
      if (o.view.given() && o.view.value == NamespaceView::Vd) {
        getNSInfoOfVDSA(static_cast<TRX_U16>(id), static_cast<TRX_U8>(o.vd.given() ? o.vd.value : kAll));
      } else {
        getNSInfoSA(static_cast<TRX_U16>(id));
      }
      break;
    case Object::None:
      std::fputs("\nInvalid object.\n", stream);
      break;
  }
  return 0;
}

}  // namespace

TRX_U32 TRX_Adapter_GetSimpleInfo(TRX_U8 adapter, NVME_Adapter_Info *out) {
  ControllerReply reply;
  TRX_U32 status = adapterInfo().fetch(adapter, reply);
  if (status != 0) {
    std::fputs("\nUnable to get info of NVMe Controller\n", stream);
    return status;
  }
  *out = reply.record<NVME_Adapter_Info>();
  return 0;
}

TRX_U32 TRX_Adapter_GetSimpleVDInfo(TRX_U8, TRX_U16 vd, NVME_VD_Info *out) {
  ControllerReply reply;
  TRX_U32 status = volumeInfo(vd).ask(gCurrentAdapter, reply);
  if (status == 0) *out = reply.record<NVME_VD_Info>();
  return status;
}

int32_t doSInfo(int argc, char **argv, const Command_Info *row) {
  Options o;
  Parsed end = parseOptions(argc, argv, row, kOptions, o);
  if (end == Parsed::Help) return 0;
  if (argc == 1) {
    printHelp(row);
    return 1;
  }
  if (anyRepeated(o.object, o.id, o.view, o.vd)) {
    complainDuplicate();
    return 1;
  }
  if (!o.object.given()) {
    complainRequired(argv[0], 'o');
    return 1;
  }
  if (end != Parsed::Complete) return 1;
  return list(o);
}

}  // namespace trx
