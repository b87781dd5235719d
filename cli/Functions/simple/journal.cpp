// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/journal.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

namespace trx {
namespace {

constexpr std::string_view kSeqTag = "[SEQ]";
constexpr std::string_view kTimeTag = "[TIME]";
constexpr std::string_view kMsgTag = "[MSG]";

template <size_t N>
void copyCut(TRX_U8 (&field)[N], std::string_view text) {
  std::memcpy(field, text.data(), std::min(N, text.size()));
}

/// Position (from 1) of the newest event when the ring has wrapped; 0 when storage order is time order.
size_t newestBeforeOldest(const std::vector<NVME_SA_Evt_Item> &events) {
  const TRX_U32 last = events.back().ordinal;
  TRX_U32 largest = last;
  size_t newest = 0;
  bool wrapSeen = false;
  for (size_t position = events.size(); position > 0; --position) {
    TRX_U32 ordinal = events[position - 1].ordinal;
    if (ordinal > largest) {
      largest = ordinal;
      if (!wrapSeen) newest = position;
    } else if (largest != last) {
      wrapSeen = true;
    }
  }
  return newest;
}

}  // namespace

bool _eventParser(std::string_view line, NVME_SA_Evt_Item &event) {
  constexpr auto kNowhere = std::string_view::npos;
  size_t seqAt = line.find(kSeqTag);
  size_t timeAt = seqAt == kNowhere ? kNowhere : line.find(kTimeTag, seqAt);
  size_t msgAt = timeAt == kNowhere ? kNowhere : line.find(kMsgTag, timeAt);
  if (msgAt == kNowhere) return false;
  seqAt += kSeqTag.size();
  std::string seq(line.substr(seqAt, timeAt - seqAt));
  timeAt += kTimeTag.size();
  std::string time(line.substr(timeAt, msgAt - timeAt));

  constexpr long kLargest = std::numeric_limits<TRX_U32>::max();
  event = {};
  copyCut(event.seq, seq);
  event.ordinal = static_cast<TRX_U32>(std::clamp(std::strtol(seq.c_str(), nullptr, 10), 0L, kLargest));
  event.time = static_cast<TRX_U32>(std::strtoul(time.c_str(), nullptr, 10));
  copyCut(event.msg, line.substr(msgAt + kMsgTag.size()));
  return true;
}

void readJournal(std::span<const TRX_U8> text, std::vector<NVME_SA_Evt_Item> &events) {
  std::string copy(reinterpret_cast<const char *>(text.data()), text.size());
  // A page that was begun anew has a NUL where its next line will start.
  constexpr std::string_view kBegunAnew("\n\0", 2);
  for (size_t at = 0; (at = copy.find(kBegunAnew, at)) != copy.npos; ++at) copy[at + 1] = ' ';
  for (std::string_view rest = copy; !rest.empty();) {
    size_t end = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, end);
    line = line.substr(0, line.find('\0'));
    if (line.size() < 2) return;
    NVME_SA_Evt_Item event;
    if (_eventParser(line, event)) events.push_back(event);
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
}

void keepNewest(std::vector<NVME_SA_Evt_Item> &events, size_t count) {
  if (events.empty()) return;
  auto oldest = events.begin() + static_cast<std::ptrdiff_t>(newestBeforeOldest(events));
  std::rotate(events.begin(), oldest, events.end());
  std::reverse(events.begin(), events.end());
  if (count != 0 && count < events.size()) events.resize(count);
}

std::string _showTime(TRX_U32 time) {
  constexpr TRX_U32 kStartOf2010 = 1262304000;
  char text[64];
  if (time > kStartOf2010) {
    std::time_t seconds = time;
    std::tm local{};
    localtime_r(&seconds, &local);
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
  } else {
    std::snprintf(text, sizeof text, "%lu seconds from the boot time.", static_cast<unsigned long>(time));
  }
  return text;
}

}  // namespace trx
