// SPDX-License-Identifier: GPL-3.0-or-later
// What verbs share that lay a hand on a running adapter or a disk of it. Both are told by numbers from 0.
#pragma once

#include <functional>

#include "launcher/verbs.h"
#include "model/state_file.h"

namespace sim {

using Words = std::vector<std::string>;

/// Throws UsageError for anything else than a number from 0 to `largest`.
uint64_t numberFrom(const std::string &verb, const std::string &text, uint64_t largest = UINT64_MAX);

/// Works on the adapter that `words` name, or on the first one when there are none. What the work did is
/// kept, and what follows from it begins at once, unless the work throws.
int handleAdapter(const Arguments &arguments, const std::string &verb, const Words &words,
                  const std::function<void(Session &)> &work);

/// Why a disk will not do, as the end of a sentence that begins with it; null when it will.
using Misfit = const char *(*)(const Disk &);
inline const char *absent(const Disk &disk) { return disk.present ? nullptr : "is not there"; }
/// The disk of an id, also one that is not there. Throws HostError when there is none or it will not do.
Disk &diskOf(Adapter &adapter, uint64_t id, Misfit misfit);

/// Works on the disk, and perhaps the adapter, that `words` name.
int handleDisk(const Arguments &arguments, const std::string &verb, const Words &words, Misfit misfit,
               const std::function<void(Session &, Disk &)> &work);

}  // namespace sim
