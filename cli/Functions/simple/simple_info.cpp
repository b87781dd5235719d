// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/simple_info.h"

#include "Functions/handlers.h"
#include "Functions/info/listings.h"
#include "Public/numbers.h"
#include "Public/objects.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

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

enum class Object { None, Hba, Pd, Vd, Ns };
enum class NamespaceView { Host, Vd };

constexpr Word<Object> kObjects[] = {{"hba", Object::Hba}, {"pd", Object::Pd}, {"hd", Object::Pd},
                                     {"vd", Object::Vd},   {"ld", Object::Vd}, {"ns", Object::Ns}};
constexpr Word<NamespaceView> kViews[] = {
    {"host", NamespaceView::Host}, {"vd", NamespaceView::Vd}, {"ld", NamespaceView::Vd}};

struct Options {
  Counted<Object> object;
  Counted<int64_t> id;
  Counted<NamespaceView> view;
  Counted<int64_t> vd;
};

bool readNumber(Counted<int64_t> &into, const char *text, const char *complaint) {
  return into.takeCounted(decimal(text)) || complain("%s", complaint);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       ++o.object.count;
       return choose(o.object.value, text, kObjects) || complain("-o : invalid object '%s'\n", text); }},
    {"id", 'i', idOf(Objects::None, 'o'), [](Options &o, const char *text) {
       return readNumber(o.id, text, "-i : id should be a number\n"); }},
    {"type", 't', oneOf<kViews>(), [](Options &o, const char *text) {
       ++o.view.count;
       return choose(o.view.value, text, kViews) || complain("-t : invalid type '%s'\n", text); }},
    // The help text calls it --vd_id. Scripts have the name of this table.
    {"vdid", 'v', idOf(Objects::Volumes), [](Options &o, const char *text) {
       return readNumber(o.vd, text, "-v : VD id should be a number\n"); }},
};
// clang-format on

/// The zero-based id of the object asked for, of which a listing takes the low bits; kAllIds for every one.
int64_t objectId(const Options &o) {
  if (!o.id.given()) return o.object.value == Object::Hba && gSpecificAdapterFlag ? gCurrentAdapter : kAllIds;
  if (o.object.value == Object::Ns) return o.id.value;
  int64_t id = zeroBased(o.id.value);
  // It complains and goes on with the id cut to its width: the listing then says that there is no such
  // object.
  if (id < 0) complain("-i : id should be a number\n");
  return id;
}

int32_t list(const Options &o) {
  int64_t id = objectId(o);
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
        getNSInfoOfVDSA(static_cast<TRX_U16>(id), static_cast<TRX_U8>(o.vd.given() ? o.vd.value : kAllIds));
      } else {
        getNSInfoSA(static_cast<TRX_U16>(id));
      }
      break;
    case Object::None:
      complain("\nInvalid object.\n");
      break;
  }
  return 0;
}

}  // namespace

constexpr OptionList info_options = optionList<kOptions>();

TRX_U32 TRX_Adapter_GetSimpleInfo(TRX_U8 adapter, NVME_Adapter_Info *out) {
  ControllerReply reply;
  TRX_U32 status = ControllerRequest::function(0xE0, 0).fetch(adapter, reply);
  if (status != 0) {
    tellFailed("\nUnable to get info of NVMe Controller\n");
    return status;
  }
  *out = reply.record<NVME_Adapter_Info>();
  return 0;
}

TRX_U32 TRX_Adapter_GetSimpleVDInfo(TRX_U8, TRX_U16 vd, NVME_VD_Info *out) {
  return readVolume(gCurrentAdapter, vd, *out);
}

int32_t doSInfo(int argc, char **argv, const Command_Info *row) {
  Options o;
  Parsed end = parseOptions(argc, argv, row, kOptions, o);
  if (end == Parsed::Help) return 0;
  if (argc == 1) return helpForNoWords(row);
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
