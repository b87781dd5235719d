// SPDX-License-Identifier: GPL-3.0-or-later
// `trx_sim run`: puts the simulated host around a program by its environment, and becomes it.
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "launcher/verbs.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

fs::path ownDirectory() { return fs::read_symlink("/proc/self/exe").parent_path(); }

/// Where the libraries and the lspci link are: beside the launcher in a build tree, under lib installed.
fs::path supportDirectory() {
  for (const char *place : {"trx_sim_lib", "../" TRX_SIM_LIBDIR "/trx_sim"}) {
    fs::path directory = ownDirectory() / place;
    if (fs::exists(directory / "libvmkmgmt.so")) return fs::canonical(directory);
  }
  throw HostError("libvmkmgmt.so is not where it was installed, see " + ownDirectory().string());
}

void prepend(const char *variable, const std::string &value, char separator) {
  const char *old = std::getenv(variable);
  std::string whole = old && *old ? value + separator + old : value;
  setenv(variable, whole.c_str(), 1);
}

/// A name without a slash that stands beside the launcher is meant before one of PATH.
std::string findProgram(const std::string &name) {
  if (name.find('/') != std::string::npos) return name;
  for (const char *place : {".", "../cli"}) {  // installed together; in a build tree
    fs::path beside = ownDirectory() / place / name;
    if (access(beside.c_str(), X_OK) == 0 && fs::is_regular_file(beside)) return fs::canonical(beside);
  }
  return name;
}

}  // namespace

int runProgram(const Arguments &arguments) {
  if (arguments.words.empty()) throw UsageError("run: say which program");
  ensureHost(arguments);
  fs::path support = supportDirectory();
  setenv("TRX_SIM_STATE", fs::canonical(arguments.state).c_str(), 1);
  if (!arguments.trace.empty()) setenv("TRX_SIM_TRACE", fs::absolute(arguments.trace).c_str(), 1);
  prepend("LD_LIBRARY_PATH", support.string(), ':');
  prepend("PATH", (support / "bin").string(), ':');
  prepend("LD_PRELOAD", (support / "libtrx_simhost.so").string(), ':');
#ifdef TRX_SIM_SANITIZED
  // The preloaded library stands before the sanitizer's, which is harmless: it only renames files.
  prepend("ASAN_OPTIONS", "verify_asan_link_order=0", ':');
#endif
  std::string program = findProgram(arguments.words[0]);
  std::vector<char *> vector;
  for (const std::string &word : arguments.words) vector.push_back(const_cast<char *>(word.c_str()));
  vector.push_back(nullptr);
  execvp(program.c_str(), vector.data());
  std::fprintf(stderr, "trx_sim: %s: %s\n", program.c_str(), std::strerror(errno));
  return 2;
}

}  // namespace sim
