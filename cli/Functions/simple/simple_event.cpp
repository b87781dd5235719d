// SPDX-License-Identifier: GPL-3.0-or-later
// Show the controller's event journal, newest first.
#include "Functions/handlers.h"
#include "Functions/simple/journal_page.h"
#include "Public/exchange.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {

const char event_help[] = R"(
event [-c <count>] [-h]

Options:
    -c, --count=<count>
        Number of events to display, newest first. If not specified or 0, all
        events are displayed.
    -h, --help

Examples:
    event -c 0
    Display all events of current NVMe Controller.

    event -c 10
    Display the newest 10 events of current NVMe Controller.

)";

namespace {

struct Options {
  size_t count = 0;  ///< 0: all
};

// A repeated -c is not refused: the last one wins, so that a script can append its own.
constexpr OptionRow<Options> kOptions[] = {
    {"count", 'c', Argument::OptionalWhenLong,
     [](Options &o, const char *text) {
       std::optional<int64_t> count = decimal(text);
       if (!count) return complain("-c : invalid count '%s'.\n", text);
       o.count = static_cast<size_t>(*count);
       return true;
     }},
};

void _showEvt(const NVME_SA_Evt_Item &event) {
  if (gathersFacts()) return tellEvent(event);
  std::fprintf(stream, "Seq:%s\nTime:%s\nMessage:%s\n\n", deviceText(event.seq).c_str(),
               _showTime(event.time).c_str(), deviceText(event.msg).c_str());
}

/// Read all pages; one that fails does not stop it. @return the library's status for the last page
TRX_U32 readEvents(std::vector<NVME_SA_Evt_Item> &events) {
  Failure worst;
  ControllerReply reply;
  TRX_U32 status = 0;
  for (TRX_U32 page = 0; page < kJournalPages; ++page) {
    const Aside aside;
    status = journalPage(page).trace().fetch(gCurrentAdapter, reply);
    worst = worseOf(worst, lastFailure());
    if (status != 0) {
      tellFailed("\n event request fail\n");
      continue;
    }
    readJournal(std::span(reply.page().bytes).subspan(kJournalTextOffset), events);
  }
  noteListing(events.size(), worst);
  return status;
}

int32_t getPageEventSA(size_t count) {
  std::vector<NVME_SA_Evt_Item> events;
  const TRX_U32 status = readEvents(events);
  // The two closing lines go to standard output even when the events go to a file: they are for who started
  // it.
  if (events.empty()) std::printf("No events\n");
  keepNewest(events, count);
  if (gathersFacts()) {
    data().array("events");
    data().put("total", static_cast<int64_t>(events.size()));
  }
  for (const NVME_SA_Evt_Item &event : events) _showEvt(event);
  if (events.empty()) return static_cast<int32_t>(status);
  if (!gathersFacts()) std::printf("Total events: %d\n", static_cast<int>(events.size()));
  return 0;
}

}  // namespace

constexpr OptionList event_options = optionList<kOptions>();

int32_t doSEvent(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOptions(argc, argv, row, kOptions, o, 1)) return *end;
  return getPageEventSA(o.count);
}

}  // namespace trx
