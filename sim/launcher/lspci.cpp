// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "host/directory.h"
#include "launcher/verbs.h"
#include "model/state_file.h"

namespace sim {

int printLspci(const Arguments &arguments) {
  // The host of a replay has the listing that was recorded.
  bool recorded = std::getenv("TRX_SIM_REPLAY") != nullptr;
  std::string listing = recorded ? readText(arguments.state + "/lspci", recorded) : "";
  if (recorded) return std::fwrite(listing.data(), 1, listing.size(), stdout) == listing.size() ? 0 : 2;
  ensureHost(arguments);
  std::vector<std::string> names = adapterNames(arguments.state);
  // Readers look for a name anywhere in a line and believe the last line that has it. "vmhba1" is
  // part of "vmhba10", so the longer names come first.
  std::stable_sort(names.begin(), names.end(),
                   [](const std::string &a, const std::string &b) { return a.size() > b.size(); });
  for (const std::string &name : names) {
    AdapterFiles files(arguments.state, name);
    Session session(files);
    const AdapterCore &core = session.state().core;
    std::printf("0000:%02x:%02x.%02x %04x:%04x %04x:%04x V %s\n", unsigned{core.bus}, unsigned{core.device},
                unsigned{core.function}, unsigned{core.info.VID}, unsigned{core.info.DID},
                unsigned{core.info.SVID}, unsigned{core.info.SDID}, name.c_str());
  }
  return 0;
}

}  // namespace sim
