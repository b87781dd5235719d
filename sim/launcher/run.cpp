// SPDX-License-Identifier: GPL-3.0-or-later
// `trx_sim run`: puts the simulated host around a program by its environment, and becomes it.
#include <cstdlib>
#include <filesystem>

#include "launcher/start.h"
#include "launcher/verbs.h"

namespace sim {

namespace fs = std::filesystem;

int runProgram(const Arguments &arguments) {
  if (arguments.words.empty()) throw UsageError("run: say which program");
  ensureHost(arguments);
  setenv("TRX_SIM_STATE", fs::canonical(arguments.state).c_str(), 1);
  if (!arguments.trace.empty()) setenv("TRX_SIM_TRACE", fs::absolute(arguments.trace).c_str(), 1);
  surroundWith(Library::Simulated);
  return becomeProgram(arguments.words);
}

}  // namespace sim
