// SPDX-License-Identifier: GPL-3.0-or-later
// Preloaded into programs of the simulated host and into what they start: the SMBIOS file is the
// state directory's, and semaphores have names of their own per host, also as files. Everything else passes.
// It needs the C library only, and never fails a call by itself.
#include <dlfcn.h>
#include <fcntl.h>
#include <semaphore.h>
#include <sys/stat.h>

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/semaphore_prefix.h"

namespace {

constexpr const char *kSmbios = "/dev/char/mem/smbios";
constexpr const char *kSemaphore = "/dev/shm/sem.";  // a named semaphore as a file

template <typename Function>
Function next(const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

/// A path as the simulated host has it. It is kept in the object while the call runs.
class HostPath {
 public:
  explicit HostPath(const char *path) : path_(path) {
    const char *state = std::getenv("TRX_SIM_STATE");
    if (!path || !state) return;
    int length = 0;
    if (std::strcmp(path, kSmbios) == 0)
      length = std::snprintf(text_, sizeof text_, "%s/smbios", state);
    else if (std::strncmp(path, kSemaphore, std::strlen(kSemaphore)) == 0)
      length = std::snprintf(text_, sizeof text_, "%s%s%s", kSemaphore, sim::semaphorePrefixOf(state).text,
                             path + std::strlen(kSemaphore));
    if (length > 0 && static_cast<size_t>(length) < sizeof text_) path_ = text_;
  }
  operator const char *() const { return path_; }

 private:
  const char *path_;
  char text_[PATH_MAX];
};

class HostSemaphore {
 public:
  explicit HostSemaphore(const char *name) : name_(name) {
    const char *state = std::getenv("TRX_SIM_STATE");
    if (!name || !state) return;
    const char *plain = name[0] == '/' ? name + 1 : name;
    // A launcher that runs in the host removes semaphores by their whole names.
    if (std::strncmp(plain, sim::kSemaphorePrefix, std::strlen(sim::kSemaphorePrefix)) == 0) return;
    int length = std::snprintf(text_, sizeof text_, "/%s%s", sim::semaphorePrefixOf(state).text, plain);
    if (length > 0 && static_cast<size_t>(length) < sizeof text_) name_ = text_;
  }
  operator const char *() const { return name_; }

 private:
  const char *name_;
  char text_[256];
};

}  // namespace

#define SIM_EXPORT extern "C" __attribute__((visibility("default")))

// The mode is passed on whether it was given or not: a variadic register too many does no harm.
#define SIM_OPEN(name)                                               \
  SIM_EXPORT int name(const char *path, int flags, ...) {            \
    va_list arguments;                                               \
    va_start(arguments, flags);                                      \
    bool made = (flags & (O_CREAT | O_TMPFILE)) != 0;                \
    mode_t mode = made ? va_arg(arguments, mode_t) : 0;              \
    va_end(arguments);                                               \
    static auto real = next<int (*)(const char *, int, ...)>(#name); \
    return real(HostPath(path), flags, mode);                        \
  }
SIM_OPEN(open)
SIM_OPEN(open64)

#define SIM_FOPEN(name)                                                    \
  SIM_EXPORT FILE *name(const char *path, const char *mode) {              \
    static auto real = next<FILE *(*)(const char *, const char *)>(#name); \
    return real(HostPath(path), mode);                                     \
  }
SIM_FOPEN(fopen)
SIM_FOPEN(fopen64)

#define SIM_STAT(name, record)                                              \
  SIM_EXPORT int name(const char *path, struct record *facts) {             \
    static auto real = next<int (*)(const char *, struct record *)>(#name); \
    return real(HostPath(path), facts);                                     \
  }
SIM_STAT(stat, stat)
SIM_STAT(stat64, stat64)
SIM_STAT(lstat, stat)
SIM_STAT(lstat64, stat64)

SIM_EXPORT int access(const char *path, int mode) {
  static auto real = next<int (*)(const char *, int)>("access");
  return real(HostPath(path), mode);
}

SIM_EXPORT sem_t *sem_open(const char *name, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  bool made = (flags & O_CREAT) != 0;
  mode_t mode = made ? va_arg(arguments, mode_t) : 0;
  unsigned value = made ? va_arg(arguments, unsigned) : 0;
  va_end(arguments);
  static auto real = next<sem_t *(*)(const char *, int, ...)>("sem_open");
  return real(HostSemaphore(name), flags, mode, value);
}

SIM_EXPORT int sem_unlink(const char *name) {
  static auto real = next<int (*)(const char *)>("sem_unlink");
  return real(HostSemaphore(name));
}
