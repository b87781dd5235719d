// SPDX-License-Identifier: GPL-3.0-or-later
#include "launcher/start.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "files/files.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

struct Place {
  const char *built;      ///< beside the launcher in a build tree
  const char *installed;  ///< from the directory of programs
};

// clang-format off
constexpr Place kPlaces[] = {  // in the order of Library
    {"trx_sim_lib",    "../" TRX_SIM_LIBDIR "/trx_sim"},
    {"trx_sim_record", "../" TRX_SIM_LIBDIR "/trx_sim/record"},
    {"trx_sim_replay", "../" TRX_SIM_LIBDIR "/trx_sim/replay"},
};
// clang-format on

fs::path ownDirectory() { return fs::read_symlink("/proc/self/exe").parent_path(); }

/// A program that stands beside the launcher; empty when there is none.
fs::path besideLauncher(const std::string &name) {
  for (const char *place : {".", "../cli"}) {  // installed together; in a build tree
    fs::path beside = ownDirectory() / place / name;
    if (access(beside.c_str(), X_OK) == 0 && fs::is_regular_file(beside)) return fs::canonical(beside);
  }
  return {};
}

/// A name without a slash that stands beside the launcher is meant before one of PATH.
std::string findProgram(const std::string &name) {
  if (name.find('/') != std::string::npos) return name;
  fs::path beside = besideLauncher(name);
  return beside.empty() ? name : beside.string();
}

/// A script finds trx_cli, too. Its directory is the last one: much else may be installed there, and the
/// user's PATH goes before.
void addProgramToPath() {
  const fs::path program = besideLauncher("trx_cli");
  const char *path = std::getenv("PATH");
  if (program.empty() || !path) return;
  setenv("PATH", (std::string(path) + ":" + program.parent_path().string()).c_str(), 1);
}

}  // namespace

fs::path libraryDirectory(Library library) {
  const Place &places = kPlaces[static_cast<size_t>(library)];
  for (const char *place : {places.built, places.installed}) {
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

void surroundWith(Library library) {
  const fs::path support = libraryDirectory(Library::Simulated);
  prepend("LD_LIBRARY_PATH", libraryDirectory(library).string(), ':');
  prepend("PATH", (support / "bin").string(), ':');
  addProgramToPath();
  prepend("LD_PRELOAD", (support / "libtrx_simhost.so").string(), ':');
#ifdef TRX_SIM_SANITIZED
  // The preloaded library stands before the sanitizer's, which is harmless: it only renames files.
  prepend("ASAN_OPTIONS", "verify_asan_link_order=0", ':');
#endif
}

int becomeProgram(const std::vector<std::string> &words) {
  std::string program = findProgram(words[0]);
  std::vector<char *> vector;
  vector.reserve(words.size() + 1);
  for (const std::string &word : words) vector.push_back(const_cast<char *>(word.c_str()));
  vector.push_back(nullptr);
  execvp(program.c_str(), vector.data());
  std::fprintf(stderr, "trx_sim: %s: %s\n", program.c_str(), std::strerror(errno));
  return 2;
}

}  // namespace sim
