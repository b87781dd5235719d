// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/get/get.h"
#include "Functions/handlers.h"
#include "Public/exchange.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/utility.h"
#include "trx/trx_api.h"

namespace trx {

const char get_help[] = R"(
get -o <hba> [-i <id>] [-h]

Options:
    -o, --object <hba>
        Object whose configuration is displayed.
        hba - NVMe Controller
    -i, --id <id>
        ID of the NVMe Controller. If not specified, all NVMe Controllers are
        displayed.
    -h, --help

Examples:
    get -o hba
    Display the configuration of all NVMe Controllers.

    get -o hba -i 0
    Display the configuration of NVMe Controller 0.

)";

namespace {

constexpr int32_t kAll = 255;

struct Options {
  Counted<bool> object;
  Counted<int32_t> id;
};

constexpr Word<bool> kObjects[] = {{"hba", true}};

bool readId(Options &o, const char *text) {
  if (!isNumber(text)) return complain("-i : id is not a number\n");
  return readAdapterId(o.id, text);
}

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"object", 'o', oneOf<kObjects>(), [](Options &o, const char *text) {
       return choose(o.object, text, kObjects) ||
              complain("-o : invalid object '%s', should be NVMe Controller\n", text); }},
    {"id", 'i', idOf(Objects::Adapters), readId},
};
// clang-format on

int32_t complainUnable(int32_t adapter, int32_t result) {
  // Zero-based also for those who count from 1, and 255 for all: scripts know the line.
  tellFailed("\nUnable to get configuration of NVMe Controller %d\n", adapter);
  return result;
}

/// Ask one adapter and print its answer under an index.
/// @return the low 8 bits of the library's status: no more of it counts here
TRX_U8 printConfig(const ControllerRequest &request, TRX_U8 adapter, TRX_U8 index) {
  ControllerReply reply;
  auto status = static_cast<TRX_U8>(request.fetch(adapter, reply));
  if (status == 0) {
    hbaGet_printf(index, reply.record<NVME_Adapter_Config>());
  } else {
    listUnread("settings", userCounting(index), lastFailure());
  }
  return status;
}

int32_t printAll(const ControllerRequest &request) {
  TRX_U8 count = TRX_Adapter_GetCount();
  TRX_U8 status = 0;
  size_t read = 0;
  Failure worst;
  {
    const Aside aside;
    for (TRX_U8 i = 0; i < count && status == 0; ++i) {
      // It is always the current adapter that is asked, whatever the index says. This is meant.
      status = printConfig(request, gCurrentAdapter, i);
      worst = worseOf(worst, lastFailure());
      if (!lastFailure()) ++read;
    }
  }
  noteListing(read, worst);
  return status == 0 ? 0 : complainUnable(kAll, status);
}

int32_t printOne(const ControllerRequest &request, int32_t adapter) {
  // The index is held against a count of one, so that only the first two adapters are asked. This is
  // meant.
  if (adapter > 1) return complainUnable(adapter, 1);
  auto index = static_cast<TRX_U8>(adapter);
  TRX_U8 status = printConfig(request, index, index);
  return status == 0 ? 0 : complainUnable(adapter, status);
}

}  // namespace

constexpr OptionList get_options = optionList<kOptions>();

int32_t doSGet(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 1)) return *end;
  if (anyRepeated(o.id, o.object)) return complainDuplicate();
  if (!o.object.given()) return complainRequired(argv[0], 'o');
  // The current adapter counts, also when -i names another one. This is meant.
  if (!isRaidMode(summaryOf(gCurrentAdapter))) return refuseJbof();

  if (gathersFacts()) data().array("settings");
  ControllerRequest request = configRequest();
  request.trace();
  if (o.id.given()) return printOne(request, o.id.value);
  return gSpecificAdapterFlag ? printOne(request, gCurrentAdapter) : printAll(request);
}

}  // namespace trx
