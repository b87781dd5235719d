// SPDX-License-Identifier: GPL-3.0-or-later
// How the semaphores of a simulated host are named; shared by the preloaded library, which must not
// need anything but the C library, and the launcher.
#pragma once

#include <cstdint>
#include <cstdio>

namespace sim {

constexpr char kSemaphorePrefix[] = "trxsim-";

struct SemaphorePrefix {
  char text[32];
};

/// `directory` is the absolute path of the state directory.
inline SemaphorePrefix semaphorePrefixOf(const char *directory) {
  uint64_t hash = 0xcbf29ce484222325ULL;
  for (; *directory; ++directory) hash = (hash ^ static_cast<unsigned char>(*directory)) * 0x100000001b3ULL;
  SemaphorePrefix prefix{};
  std::snprintf(prefix.text, sizeof prefix.text, "%s%016llx-", kSemaphorePrefix,
                static_cast<unsigned long long>(hash));
  return prefix;
}

}  // namespace sim
