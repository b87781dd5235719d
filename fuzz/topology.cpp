// SPDX-License-Identifier: GPL-3.0-or-later
// Topology files. A file is read or refused with a reason; nothing else comes out.
#include "topology/topology.h"

#include "files/files.h"

#include "input.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  try {
    const sim::HostPlan plan = sim::parseTopology(std::string(data, data + size));
    fuzz::require(!plan.adapters.empty() && plan.adapters.size() <= 64);
  } catch (const sim::HostError &error) {
    const std::string why = error.what();
    fuzz::require(!why.empty() && why.find('\n') == std::string::npos);
  }
  return 0;
}
