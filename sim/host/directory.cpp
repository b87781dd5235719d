// SPDX-License-Identifier: GPL-3.0-or-later
#include "host/directory.h"

#include <semaphore.h>

#include <cstdio>
#include <filesystem>
#include <sstream>

#include "host/semaphore_prefix.h"
#include "host/smbios.h"
#include "model/state_file.h"

namespace sim {
namespace {

namespace fs = std::filesystem;

std::string hostPath(const std::string &directory) { return directory + "/host"; }

/// Files that a host makes; nothing else in the directory is ever removed.
bool ours(const std::string &name) {
  for (const char *whole : {"host", "topology.json", "smbios", "faults", "violations.log"})
    if (name == whole) return true;
  for (const char *ending : {".state", ".image", ".tmp"})
    if (name.ends_with(ending)) return true;
  return false;
}

void removeOldFiles(const std::string &directory) {
  for (const fs::directory_entry &entry : fs::directory_iterator(directory))
    if (ours(entry.path().filename().string())) fs::remove(entry.path());
}

/// Locks of adapters that the new host does not have. The others stay: somebody may hold them.
void removeOldLocks(const std::string &directory, const HostPlan &plan) {
  for (const fs::directory_entry &entry : fs::directory_iterator(directory)) {
    if (entry.path().extension() != ".lock") continue;
    std::string name = entry.path().stem().string();
    bool kept = false;
    for (const Adapter &adapter : plan.adapters) kept |= adapter.name() == name;
    if (!kept) fs::remove(entry.path());
  }
}

}  // namespace

void removeSemaphores(const std::string &directory) {
  // "trxd" and one character, '0' plus the place of the controller among at most 64.
  for (char place = '0'; place < '0' + 64; ++place)
    sem_unlink((semaphorePrefix(directory) + "trxd" + place).c_str());
}

bool hostExists(const std::string &directory) { return fs::exists(hostPath(directory)); }

void createHost(const std::string &directory, const HostPlan &plan) {
  std::error_code error;
  fs::create_directories(directory, error);
  if (error) throw HostError(directory + ": " + error.message());
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
  std::string text = readText(hostPath(directory), exists);
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
  std::optional<Millis> clock = standingClock(directory);
  if (!clock)
    throw HostError(directory + ": the clock of this host is the real one; give its topology a \"clock\"");
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
