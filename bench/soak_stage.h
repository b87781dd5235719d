// SPDX-License-Identifier: GPL-3.0-or-later
// What the actors of `soak` share: the simulated host, its exchanges, the choices, and the account of it all.
#ifndef TRX_BENCH_SOAK_STAGE_H
#define TRX_BENCH_SOAK_STAGE_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <iterator>
#include <map>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "SimHost.h"
#include "files/files.h"

namespace trx::test {

inline constexpr const char *kAdapters[] = {"vmhba2", "vmhba3"};
inline constexpr size_t kImageBytes = 1 << 19;
inline constexpr const char *kImages[] = {"1.3.0.1040", "1.4.0.1041"};

inline Words linesOf(const std::string &text) {
  std::istringstream stream(text);
  Words lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// What the group of a pattern is in each of its places.
inline Words allOf(const std::string &text, const char *pattern) {
  const std::regex wanted(pattern);
  Words found;
  for (std::sregex_iterator i(text.begin(), text.end(), wanted), end; i != end; ++i) found.push_back((*i)[1]);
  return found;
}

/// What was looked at and how much of it was wrong, and how often things happened.
class Ledger {
 public:
  bool look(const std::string &at, bool good, const std::string &what) {
    Check &check = checks_[at];
    ++check.looks;
    if (!good && check.wrong++ < 5) std::printf("%s: %s\n", at.c_str(), what.c_str());
    return good;
  }
  void count(const std::string &what, long by = 1) { counts_[what] += by; }
  long counted(const std::string &what) const { return counts_.contains(what) ? counts_.at(what) : 0; }

  /// @return whether all was well
  bool print() const {
    for (const auto &[what, count] : counts_) std::printf("  %-40s %9ld\n", what.c_str(), count);
    bool well = true;
    for (const auto &[at, check] : checks_) {
      std::printf("%-5s %s: %ld looked at, %ld wrong\n", check.wrong ? "WRONG" : "ok", at.c_str(),
                  check.looks, check.wrong);
      well = well && check.wrong == 0;
    }
    return well;
  }

 private:
  struct Check {
    long looks = 0, wrong = 0;
  };
  std::map<std::string, Check> checks_;
  std::map<std::string, long> counts_;
};

/// The exchanges of all processes, read from a pipe as they come: a file of them would grow without end. A
/// commit that went well must have had a whole image before it.
class Traffic {
 public:
  Traffic(const std::string &path, Ledger &ledger) : ledger_(ledger) {
    mkfifo(path.c_str(), 0600);
    pipe_ = sim::Descriptor(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
  }
  void drain() {
    char piece[65536];
    for (ssize_t n; (n = read(pipe_.get(), piece, sizeof piece)) > 0;)
      text_.append(piece, static_cast<size_t>(n));
    const size_t end = text_.rfind('\n') + 1;
    for (const std::string &line : linesOf(text_.substr(0, end))) take(line);
    text_.erase(0, end);
  }

 private:
  void take(const std::string &line) {
    char adapter[16];
    unsigned opcode = 0, disk = 0, cdw10 = 0, cdw11 = 0, cdw14 = 0, length = 0;
    constexpr char kFormat[] =
        "%15s admin op=%x nsid=%x cdw2=%*x cdw10=%x cdw11=%x cdw12=%*x cdw13=%*x cdw14=%x cdw15=%*x dir=%*u "
        "len=%u";
    ledger_.count("exchanges");
    if (std::sscanf(line.c_str(), kFormat, adapter, &opcode, &disk, &cdw10, &cdw11, &cdw14, &length) != 7)
      return;
    constexpr unsigned kPairReceive = 0xCE, kToDisk = 0xC3, kDownload = 0x11, kCommit = 0x10;
    if (opcode == kPairReceive) ledger_.count("exchanges of pairs");
    if (opcode == kToDisk) opcode = cdw14;
    if (!line.ends_with("-> status=0 sct=0 sc=0")) return;
    size_t &received = received_[adapter + std::to_string(disk)];
    const size_t offset = size_t{cdw11} * 4;
    if (opcode == kDownload) received = offset == 0 || offset == received ? offset + length : 0;
    const bool takesImage = (cdw10 >> 3 & 7) < 2;  // Commit Action (NVMe base standard, Firmware Commit)
    if (opcode == kCommit && takesImage && ledger_.look("firmware", received == kImageBytes, line))
      ledger_.count("firmware images committed");
  }

  Ledger &ledger_;
  sim::Descriptor pipe_;
  std::string text_;
  std::map<std::string, size_t> received_;  ///< of the image that a controller or a disk is being sent
};

struct Stage {
  explicit Stage(unsigned seed) : random(seed) {}

  SimHost host{TRX_SOAK_TOPOLOGY};
  Ledger ledger;
  Traffic traffic{host.traceFile(), ledger};
  std::mt19937 random;  ///< makes all choices
  bool ends = false;    ///< nothing begins any more but what has to catch up
  std::map<int64_t, std::string> journal[std::size(kAdapters)] = {};  ///< what was told of each event

  size_t pick(size_t choices) { return random() % choices; }
  template <size_t N>
  const char *pick(const char *const (&table)[N]) {
    return table[pick(N)];
  }
  bool oneIn(size_t choices) { return pick(choices) == 0; }

  /// % stands for the number of an adapter, @ for its name, # for a digit up to 7, & for an image.
  std::string filled(std::string text, size_t adapter) {
    const auto put = [&text](char mark, auto word) {
      for (size_t at; (at = text.find(mark)) != std::string::npos;) text.replace(at, 1, word());
    };
    put('%', [&] { return std::to_string(adapter); });
    put('@', [&] { return kAdapters[adapter]; });
    put('#', [&] { return std::to_string(pick(8)); });
    put('&', [&] { return (host.directory() / pick(kImages)).string(); });
    return text;
  }
  /// The number of the newest event.
  int64_t newest(size_t adapter) {
    return std::stol(allOf(host.sim("show").out, "journal: (\\d+) lines").at(adapter));
  }
  void arm(const std::string &fault, size_t adapter) {
    host.sim(filled("fault add adapter=@ ", adapter) + fault);
    const size_t at = fault.find("count=");
    ledger.count("faults armed", at == std::string::npos ? 1 : std::stol(fault.substr(at + 6)));
  }
};

}  // namespace trx::test

#endif  // TRX_BENCH_SOAK_STAGE_H
