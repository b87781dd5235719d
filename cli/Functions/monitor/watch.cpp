// SPDX-License-Identifier: GPL-3.0-or-later
// Follow the journal of the current adapter.
#include <poll.h>

#include <algorithm>
#include <cinttypes>
#include <csignal>

#include "Functions/handlers.h"
#include "Functions/monitor/own.h"
#include "Functions/monitor/patience.h"
#include "Functions/monitor/ring.h"
#include "Functions/simple/journal_page.h"
#include "Public/listing.h"
#include "Public/numbers.h"
#include "Public/options.h"
#include "Public/utility.h"

namespace trx {

const char watch_help[] = R"(
watch [-s <sequence>] [-h]

Shows the events of the NVMe Controller as they come, oldest first, a line for
each, until it is interrupted. With --json, a document for each.

Options:
    -s, --sequence=<sequence>
        Sequence number of the first event to show. 0 stands for the oldest in
        the journal. If not specified, events are shown that come from now on.
    -h, --help

Examples:
    watch
    Show events as they come.

    watch -s 0
    Show all events of the journal, and those that come.

)";

namespace {

struct Options {
  Counted<TRX_U32> from;
};

// clang-format off
constexpr OptionRow<Options> kOptions[] = {
    {"sequence", 's', Argument::Required, [](Options &o, const char *text) {
       const std::optional<int64_t> number = decimal(text);
       const bool fits = *text && number && *number <= UINT32_MAX;
       return o.from.take(fits ? std::optional(static_cast<TRX_U32>(*number)) : std::nullopt) ||
              complain("-s : invalid sequence number '%s'.\n", text); }},
};
// clang-format on

/// While it lives, an output that nobody reads any more is an error like others.
class HeedClosedPipe {
 public:
  HeedClosedPipe() : before_(std::signal(SIGPIPE, SIG_IGN)) {}
  ~HeedClosedPipe() { std::signal(SIGPIPE, before_); }
  HeedClosedPipe(const HeedClosedPipe &) = delete;
  HeedClosedPipe &operator=(const HeedClosedPipe &) = delete;

 private:
  void (*before_)(int);
};

/// Whether who read the output is gone. Without that a quiet journal would be followed for nobody.
bool isUnread() {
  pollfd output{streamDescriptor, 0, 0};
  return poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLNVAL)) != 0;
}

bool showLoss(TRX_U32 lost) {
  if (lost == 0) return true;
  tellWarning("%u event%s lost: the journal was written over before it was read.\n", lost,
              lost == 1 ? " was" : "s were");
  if (gathersFacts()) data().put("lost", int64_t{lost});
  return tellNow();
}

bool showEvent(const NVME_SA_Evt_Item &event) {
  if (gathersFacts()) {
    tellEvent(event);
  } else {
    tell("%u  %s  %s\n", event.ordinal, _showTime(event.time).c_str(), deviceText(event.msg).c_str());
  }
  return tellNow();
}

bool show(const std::vector<Follower::Told> &all) {
  return std::ranges::all_of(all, [](const Follower::Told &told) {
    return interruptedBy() != 0 || (showLoss(told.lost) && showEvent(told.event));
  });
}

void follow(Follower follower) {
  constexpr long kShortestMs = 100, kLongestMs = 1000;
  long pause = kShortestMs;
  int tries = kOnce;
  while (std::optional<Events> events = askPatiently(tries, readRing)) {
    const std::vector<Follower::Told> told = follower.take(*events);
    if (!show(told) || isUnread()) return note(Outcome::Failed);
    tries = kPatient;
    pause = told.empty() ? std::min(2 * pause, kLongestMs) : kShortestMs;
    if (!follower.isWaiting() && sleepMilliseconds(pause)) return;
  }
}

}  // namespace

constexpr OptionList watch_options = optionList<kOptions>();

int32_t doWatch(int argc, char **argv, const Command_Info *row) {
  Options o;
  if (auto end = readOwnOptions(argc, argv, row, kOptions, o)) return *end;
  if (anyRepeated(o.from)) complainDuplicate();
  if (gLine.json && !gGiveDocument) complain("watch: a session has one answer to every line.\n");
  if (outcomeNow() != Outcome::Ok) return statusNow();
  if (gNumAdaptersFound == 0) return noController();
  const HeedInterrupts interrupts(nullptr);
  const HeedClosedPipe pipe;
  tellOneByOne();
  follow(Follower(o.from.given() ? std::optional(o.from.value) : std::nullopt));
  return statusNow();
}

}  // namespace trx
