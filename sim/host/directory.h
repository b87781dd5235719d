// SPDX-License-Identifier: GPL-3.0-or-later
// The state directory of a simulated host: which files it has, how it is made afresh, what it lists.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/state.h"

namespace sim {

/// Prefix of the management signature of each adapter; its name follows.
inline constexpr std::string_view kSignaturePrefix = "nvmeMgmt-";

/// A host as a topology describes it.
struct HostPlan {
  std::vector<Adapter> adapters;
  Millis clock = -1;         ///< standing time, or below 0 for the real one
  int smbiosVersion = 3;     ///< kind of entry point: 2 or 3
  std::string topologyText;  ///< the file it came from
};

/// A file that says that the directory is a simulated host's: nothing is touched in one that has other
/// files and not this one. It is made first and stays, and faults are armed and struck under a lock on it.
std::string markPath(const std::string &directory);
/// Whether the directory holds a host.
bool hostExists(const std::string &directory);
enum class Replace : bool { No, Yes };
/// Makes the directory's host: removes the files of the host before, its faults and its logs, or leaves
/// that host as it is. Throws HostError when the directory is somebody else's.
void createHost(const std::string &directory, const HostPlan &plan, Replace replace = Replace::Yes);
/// Adapter names in the driver's order. Throws HostError when there is no host.
std::vector<std::string> adapterNames(const std::string &directory);
/// The topology text that the host was made from.
std::string topologyText(const std::string &directory);
/// The host's standing time, if its clock stands.
std::optional<Millis> standingClock(const std::string &directory);
/// Moves a standing clock on. Throws HostError when the clock is the real one.
void advanceClock(const std::string &directory, Millis by);

/// Adds a line to the directory's record of what the program did wrong.
void recordViolation(const std::string &directory, const std::string &text);
/// Removes the semaphores that programs of the host left.
void removeSemaphores(const std::string &directory);
/// Prefix that keeps the semaphores of two hosts apart.
std::string semaphorePrefix(const std::string &directory);

}  // namespace sim
