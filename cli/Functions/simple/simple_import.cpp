// SPDX-License-Identifier: GPL-3.0-or-later
// Adopt a virtual disk that the controller found on disks from elsewhere.
#include "Functions/handlers.h"
#include "Functions/info/machines.h"
#include "Functions/simple/simple_info.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char import_help[] = R"(
import -l <vd id> [-i <controller id>] [-h]

Options:
    -i, --id <controller id>
        NVMe Controller that imports. If not specified, it is the current one.
    -l, --vd_id <vd id>
        VD to import.
    -h, --help

Examples:
    import -l 2
    Import VD 2 of current NVMe Controller.

)";

namespace {

struct Options {
  Counted<TRX_U8> adapter;
  Counted<TRX_U16> vd;
};

bool readAdapter(Options &o, const char *text) {
  std::optional<int32_t> id = zeroBasedId(text);
  if (!id) return complain("-i : invalid NVMe Controller id '%s'\n", text);
  // Zero-based also for those who count from 1; scripts know the line.
  if (*id >= gNumAdaptersFound) {
    tellWrong(Outcome::NotFound, "NVMe Controller %d does not exist.\n", *id);
    return false;
  }
  return o.adapter.set(static_cast<TRX_U8>(*id));
}

bool readVolume(Options &o, const char *text) {
  return o.vd.take(zeroBasedId16(text)) || complain("-l : invalid vd id '%s'\n", text);
}

constexpr OptionRow<Options> kOptions[] = {{"id", 'i', idOf(Objects::Adapters), readAdapter},
                                           {"vd_id", 'l', idOf(Objects::Volumes), readVolume}};

ControllerRequest importVolume(TRX_U16 vd) { return ControllerRequest::function(0xE2, 6).set(14, vd); }

void importVDSA(TRX_U8 adapter, TRX_U16 vd) {
  constexpr TRX_U32 kNeeded = TRX_FEATURE_RAID | TRX_FEATURE_IMPORT;
  if ((summaryOf(adapter).Features & kNeeded) != kNeeded) {
    tellWrong(Outcome::Refused, "Importable not support or parameters error.\n");
    return;
  }
  NVME_VD_Info volume{};
  // The current adapter is asked even when -i names another one: volumes are chosen from its listing.
  if (TRX_Adapter_GetSimpleVDInfo(adapter, vd, &volume) != 0) {
    tellFailed("\nUnable to get info of VD\n");
    return;
  }
  const int32_t shown = userCounting(vd);
  if (volume.Importable != 1) {
    tellWrong(Outcome::Refused, "\nVD %d is not importable.\n", shown);
  } else if (importVolume(vd).trace().send(adapter) == 0) {
    tell("VD %d import successfully.\n", shown);
    tellVolume(adapter, vd);
  } else {
    tellFailed("\nFail to import VD %d.\n", shown);
  }
}

}  // namespace

constexpr OptionList import_options = optionList<kOptions>();

int32_t doSImport(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 1)) return *end;
  if (anyRepeated(o.adapter, o.vd)) return complainDuplicate();
  if (!o.vd.given()) return complainRequired(argv[0], 'l');
  importVDSA(o.adapter.given() ? o.adapter.value : gCurrentAdapter, o.vd.value);
  return 0;
}

}  // namespace trx
