// SPDX-License-Identifier: GPL-3.0-or-later
// How far activities are, for somebody who watches: a bar on a terminal, lines elsewhere.
#ifndef TRX_CLI_PROGRESS_H
#define TRX_CLI_PROGRESS_H

#include <chrono>
#include <string>

#include "Functions/monitor/sight.h"

namespace trx {

/// "VD 0: Rebuilding 45%, paused"
std::string progressLine(const Subject &subject, const Sight &sight);

/// The bar of one activity, and how many others there are. @param percentPerSecond 0 when it is not known
std::string progressBar(const Subject &subject, const Sight &sight, double percentPerSecond, size_t others);

/// Whether there is somebody in front of a terminal.
bool drawsBar();

/// Draw over the bar before. @param bar empty to take it away
void drawBar(const std::string &bar);

}  // namespace trx

#endif  // TRX_CLI_PROGRESS_H
