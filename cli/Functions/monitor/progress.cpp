// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/monitor/progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

#include "Public/common.h"

namespace trx {
namespace {

/// "[=====>    ]"
std::string scale(int percent) {
  constexpr int kWidth = 20;
  const auto done = static_cast<size_t>(std::min(percent, 100) * kWidth / 100);
  std::string bar(kWidth, ' ');
  bar.replace(0, done, done, '=');
  if (done < kWidth) bar[done] = '>';
  return "[" + bar + "]";
}

std::string timeLeft(int percent, double percentPerSecond) {
  char text[64];
  const double exactly = (100 - percent) / percentPerSecond;
  auto seconds = static_cast<long>(exactly);
  if (static_cast<double>(seconds) < exactly)
    ++seconds;  // without <cmath>: its library would be loaded at every start
  std::snprintf(text, sizeof text, " %.2g%%/s, %ld:%02ld:%02ld left", percentPerSecond, seconds / 3600,
                seconds / 60 % 60, seconds % 60);
  return text;
}

size_t columns() {
  winsize size{};
  constexpr size_t kUsual = 80;
  return ioctl(streamDescriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace

std::string progressLine(const Subject &subject, const Sight &sight) {
  std::string line = subject.name() + ": " + wordOfActivity(sight);
  if (sight.percent) line += " " + std::to_string(*sight.percent) + "%";
  return line + (sight.isPaused() ? ", paused" : "");
}

std::string progressBar(const Subject &subject, const Sight &sight, double percentPerSecond, size_t others) {
  std::string bar = progressLine(subject, sight);
  if (sight.percent) bar += " " + scale(*sight.percent);
  if (sight.percent && percentPerSecond > 0 && !sight.isPaused())
    bar += timeLeft(*sight.percent, percentPerSecond);
  return others == 0 ? bar : bar + ", and " + std::to_string(others) + " more";
}

bool drawsBar() { return isatty(streamDescriptor) == 1; }

void drawBar(const std::string &bar) {
  // Not in the last column, where a terminal would begin a new line.
  const std::string line = bar.substr(0, columns() - 1);
  static size_t before = 0;
  const size_t blanks = before > line.size() ? before - line.size() : 0;
  std::fprintf(stream, "\r%s%*s%s", line.c_str(), static_cast<int>(blanks), "", bar.empty() ? "\r" : "");
  before = line.size();
  std::fflush(nullptr);
}

}  // namespace trx
