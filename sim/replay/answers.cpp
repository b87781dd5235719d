// SPDX-License-Identifier: GPL-3.0-or-later
#include "replay/answers.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace sim {
namespace {

std::string requestKey(const std::string &head, std::span<const uint8_t> to, std::span<const uint8_t> about) {
  std::string key = head + "\n";
  key.append(to.begin(), to.end());
  key.append(about.begin(), about.end());
  return key;
}

/// What starting and Identify ask for does nothing to a controller, and a program may ask more often
/// than it did. Any other answer given twice would make up a history.
bool repeats(const std::string &head) {
  return head == kListHead || head.starts_with("open ") || head.starts_with("loglevel ") ||
         head.find(" admin op=6 ") != std::string::npos;
}

std::string adapterOf(const std::string &head) {
  size_t begin = head.find(' ');
  return head.substr(begin, head.find(' ', begin + 1) - begin);
}

}  // namespace

Answers::Answers(const std::string &recordingPath, const std::string &usedPath)
    : path_(recordingPath), usedPath_(usedPath), records_(readRecording(recordingPath)) {
  std::map<std::string, size_t> lastSend;
  for (size_t i = 0; i < records_.size(); ++i) {
    const Recorded &record = records_[i];
    ++heads_[record.head];
    std::span<const uint8_t> about;
    if (record.head.find(" admin op=cb ") != std::string::npos) lastSend[adapterOf(record.head)] = i;
    if (record.head.find(" admin op=ce ") != std::string::npos)
      if (auto send = lastSend.find(adapterOf(record.head)); send != lastSend.end())
        about = records_[send->second].to;
    places_[requestKey(record.head, record.to, about)].push_back(i);
  }
}

const Recorded *Answers::next(const std::string &head, std::span<const uint8_t> to,
                              std::span<const uint8_t> about) {
  auto place = places_.find(requestKey(head, to, about));
  if (place == places_.end()) {
    const char *why = heads_.count(head) ? "recorded with other data only" : "not recorded";
    std::fprintf(stderr, "trx_sim: %s: %s: %s\n", path_.c_str(), why, head.c_str());
    return nullptr;
  }
  // Opened for each answer, so that the lock holds between threads, too.
  Descriptor used(open(usedPath_.c_str(), O_RDWR | O_CLOEXEC));
  if (!used) throw HostError(usedPath_ + ": " + std::strerror(errno));
  FileLock lock(used.get());
  for (size_t i : place->second) {
    char mark = 0;
    if (pread(used.get(), &mark, 1, static_cast<off_t>(i)) == 1 && mark != 0) continue;
    mark = 1;
    if (pwrite(used.get(), &mark, 1, static_cast<off_t>(i)) != 1)
      throw HostError(usedPath_ + ": " + std::strerror(errno));
    return &records_[i];
  }
  if (repeats(head)) return &records_[place->second.back()];
  std::fprintf(stderr, "trx_sim: %s: recorded %zu times, asked for once more: %s\n", path_.c_str(),
               place->second.size(), head.c_str());
  return nullptr;
}

}  // namespace sim
