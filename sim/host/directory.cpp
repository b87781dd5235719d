// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/directory.h"

#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "host/semaphore_prefix.h"
#include "host/smbios.h"
#include "model/state_file.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

std::string hostPath(const std::string &directory) { return directory + "/host"; }

bool marked(const std::string &directory) {
  std::error_code error;
  return fs::is_regular_file(markPath(directory), error);
}

[[noreturn]] void fail(const std::string &path) { throw HostError(path + ": " + std::strerror(errno)); }

/// Somebody else may make it in the same moment.
void makeMark(const std::string &path) {
  constexpr std::string_view kText = "trx_sim keeps a simulated host in this directory.\n";
  Descriptor mark(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
  if (!mark && errno == EEXIST) return;
  if (!mark || write(mark.get(), kText.data(), kText.size()) < 0) fail(path);
}

/// Makes a directory ours, if it is new or empty. @return the mark, opened
Descriptor claim(const std::string &directory) {
  std::error_code error;
  fs::create_directories(directory, error);
  const bool empty = !error && fs::is_empty(directory, error);
  if (error) throw HostError(directory + ": " + error.message());
  if (empty) makeMark(markPath(directory));
  if (!marked(directory))
    throw HostError(directory +
                    ": has files in it and is no simulated host's; name a new or an empty directory, or "
                    "empty this one if its host is of an earlier version");
  Descriptor mark(open(markPath(directory).c_str(), O_RDONLY | O_CLOEXEC));
  if (!mark) fail(markPath(directory));
  return mark;
}

/// Files that a host makes; nothing else in the directory is ever removed.
bool ours(const std::string &name) {
  for (const char *whole : {"host", "topology.json", "smbios", "faults", "violations.log"})
    if (name == whole) return true;
  for (const char *ending : {".state", ".image", ".tmp"})
    if (name.ends_with(ending)) return true;
  return false;
}

void removeFile(const std::string &path) {
  if (unlink(path.c_str()) != 0) fail(path);
}

void removeOldFiles(const std::string &directory) {
  for (const fs::directory_entry &entry : fs::directory_iterator(directory))
    if (ours(entry.path().filename().string())) removeFile(entry.path());
}

/// Locks of adapters that the new host does not have. The others stay: somebody may hold them.
void removeOldLocks(const std::string &directory, const HostPlan &plan) {
  for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
    if (entry.path().extension() != ".lock") continue;
    std::string name = entry.path().stem().string();
    bool kept = false;
    for (const Adapter &adapter : plan.adapters) kept |= adapter.name() == name;
    if (!kept) removeFile(entry.path());
  }
}

}  // namespace

void removeSemaphores(const std::string &directory) {
  // "trxd" and one character, '0' plus the place of the controller among at most 64.
  for (char place = '0'; place < '0' + 64; ++place)
    sem_unlink((semaphorePrefix(directory) + "trxd" + place).c_str());
}

std::string markPath(const std::string &directory) { return directory + "/.trx_sim_state"; }

bool hostExists(const std::string &directory) {
  std::error_code error;
  return marked(directory) && fs::exists(hostPath(directory), error);
}

void createHost(const std::string &directory, const HostPlan &plan, Replace replace) {
  Descriptor mark = claim(directory);
  FileLock lock(mark.get());
  if (replace == Replace::No && hostExists(directory)) return;
  removeOldFiles(directory);
  removeOldLocks(directory, plan);
  removeSemaphores(directory);
  std::ostringstream host;
  host << "clock " << plan.clock << "\n";
  for (const Adapter &adapter : plan.adapters) {
    AdapterFiles::create(directory, adapter, plan.clock);
    host << "adapter " << adapter.name() << "\n";
  }
  std::vector<char> smbios = smbiosImage(plan);
  replaceFile(directory + "/smbios", std::string_view(smbios.data(), smbios.size()));
  replaceFile(directory + "/topology.json", plan.topologyText);
  // Last: a directory without it holds no host, however far an interrupted reset came.
  replaceFile(hostPath(directory), host.str());
}

namespace {

std::istringstream hostFile(const std::string &directory) {
  bool exists = false;
  std::string text = marked(directory) ? readText(hostPath(directory), exists) : "";
  if (!exists) throw HostError(directory + ": holds no simulated host; run 'trx_sim reset'");
  return std::istringstream(text);
}

}  // namespace

std::vector<std::string> adapterNames(const std::string &directory) {
  std::vector<std::string> names;
  std::istringstream lines = hostFile(directory);
  for (std::string word, value; lines >> word >> value;)
    if (word == "adapter") names.push_back(value);
  return names;
}

std::optional<Millis> standingClock(const std::string &directory) {
  std::istringstream lines = hostFile(directory);
  std::string word;
  Millis clock = -1;
  lines >> word >> clock;
  return word == "clock" && clock >= 0 ? std::optional(clock) : std::nullopt;
}

void advanceClock(const std::string &directory, Millis by) {
  Descriptor mark = claim(directory);
  FileLock lock(mark.get());
  std::optional<Millis> clock = standingClock(directory);
  if (!clock)
    throw HostError(directory + ": the clock of this host is the real one; give its topology a \"clock\"");
  if (by > kLatest - *clock)
    throw HostError(directory + ": the clock ends at " + std::to_string(kLatest / 1000) + " seconds");
  std::ostringstream host;
  host << "clock " << *clock + by << "\n";
  for (const std::string &name : adapterNames(directory)) {
    host << "adapter " << name << "\n";
    AdapterFiles::setClock(directory, name, *clock + by);
  }
  replaceFile(hostPath(directory), host.str());
}

std::string topologyText(const std::string &directory) {
  bool exists = false;
  return readText(directory + "/topology.json", exists);
}

void recordViolation(const std::string &directory, const std::string &text) {
  appendLine(directory + "/violations.log", text + "\n");
}

std::string semaphorePrefix(const std::string &directory) {
  std::error_code error;
  fs::path whole = fs::weakly_canonical(directory, error);
  return semaphorePrefixOf((error ? directory : whole.string()).c_str()).text;
}

}  // namespace sim
