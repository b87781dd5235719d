// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/lock.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "function/log.h"
#include "function/message.h"

namespace {

constexpr mode_t kMode = 0777;
constexpr unsigned kInitialValue = 1;
constexpr time_t kPatienceSeconds = 5;

// Where the C library keeps the semaphores of this system.
constexpr char kPlace[] = "/dev/shm/sem.";

int valueOf(TRXLock *lock) {
  int value = 0;
  sem_getvalue(lock->m_handle, &value);
  return value;
}

// By descriptor: the directory is everybody's, and what has this name can become a link at any moment.
void openToAll(const char *path) {
  const int file = open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
  if (file < 0) return;
  (void)!fchmod(file, kMode);
  close(file);
}

// Whether a file in the semaphore's place can be one. To touch a shorter one would end the process.
bool isFit(const char *name) {
  char path[sizeof kPlace + sizeof TRXLock::lockName];
  snprintf(path, sizeof path, "%s%s", kPlace, name);
  struct stat about {};
  if (lstat(path, &about) != 0) return true;  // there is none yet, or opening the semaphore fails likewise
  const bool fit = S_ISREG(about.st_mode) && static_cast<size_t>(about.st_size) >= sizeof(sem_t);
  // Its owner heals one that was made under a umask, and that shuts other users out.
  if (fit && (about.st_mode & kMode) != kMode) openToAll(path);
  return fit;
}

// The mode that is asked for is the mode that is made, from the moment when others can see it.
sem_t *create(const char *name) {
  const mode_t usual = umask(0);
  // O_CREAT makes the semaphore visible to other processes in one step, shared and with its value
  // set, and finds the one that another process made in between. Initialising it once more after
  // that would open a lock that somebody may hold already.
  sem_t *handle = sem_open(name, O_RDWR | O_CREAT, kMode, kInitialValue);
  umask(usual);
  return handle;
}

// Once per process, although every controller has a semaphore: the reason is the same.
void tellOfNoLock(const char *name, const char *reason) {
  static bool told = false;
  add_log("create sem error: %s\n", reason);
  if (told) return;
  told = true;
  printError(TRX_MESSAGE_WARNING, "Exchanges are not protected from other processes: no semaphore %s (%s).\n",
             name, reason);
}

}  // namespace

TRXLock *CreateTRXLockInstance() {
  auto *lock = new (std::nothrow) TRXLock{};
  if (!lock) return nullptr;
  lock->init = TRXLock_init;
  lock->lock = TRXLock_lock;
  lock->unlock = TRXLock_unlock;
  lock->close = TRXLock_close;
  return lock;
}

void TRXLock_init(TRXLock *lock, const char *name) {
  snprintf(lock->lockName, sizeof lock->lockName, "%s", name);
  if (!isFit(lock->lockName)) return tellOfNoLock(lock->lockName, "another file is in its place");
  sem_t *handle = sem_open(lock->lockName, O_RDWR, kMode, kInitialValue);
  if (handle == SEM_FAILED) handle = create(lock->lockName);
  if (handle == SEM_FAILED) return tellOfNoLock(lock->lockName, strerror(errno));
  lock->m_handle = handle;
  add_log("init sem %s value is %u\n", lock->lockName, static_cast<unsigned>(valueOf(lock)));
}

void TRXLock_lock(TRXLock *lock) {
  if (!lock || !lock->m_handle) return;
  timeval now{};
  if (gettimeofday(&now, nullptr) != 0) add_log("get time error: %s\n", strerror(errno));
  const timespec deadline{now.tv_sec + kPatienceSeconds, now.tv_usec * 1000};
  int failed = 0;
  do {
    failed = sem_timedwait(lock->m_handle, &deadline);
  } while (failed && errno == EINTR);
  // Going on without the semaphore is meant: a stuck peer delays a command, it never blocks it.
  if (failed) add_log("lock error: %s\n", strerror(errno));
  add_log("%s after lock sem value is %u\n", lock->lockName, static_cast<unsigned>(valueOf(lock)));
}

void TRXLock_unlock(TRXLock *lock) {
  if (!lock || !lock->m_handle) return;
  // Somebody who went on without the semaphore posts too. Above 1 it would let two in from then on.
  if (valueOf(lock) == 0 && sem_post(lock->m_handle) != 0) add_log("lock error: %s\n", strerror(errno));
  add_log("%s after unlock sem value is %u\n", lock->lockName, static_cast<unsigned>(valueOf(lock)));
}

void TRXLock_close(TRXLock *lock) {
  if (!lock) return;
  // Neither closed nor unlinked, on purpose: the next run finds it. Destroying ends our use only.
  if (lock->m_handle && sem_destroy(lock->m_handle) != 0) add_log("endlock error: %s\n", strerror(errno));
  delete lock;
}
