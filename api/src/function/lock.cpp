// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/lock.h"

#include <fcntl.h>
#include <sys/time.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "function/log.h"

namespace {

constexpr mode_t kMode = 0777;
constexpr unsigned kInitialValue = 1;
constexpr time_t kPatienceSeconds = 5;

int valueOf(TRXLock *lock) {
  int value = 0;
  sem_getvalue(lock->m_handle, &value);
  return value;
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
  sem_t *handle = sem_open(lock->lockName, O_RDWR, kMode, kInitialValue);
  // O_CREAT makes the semaphore visible to other processes in one step, shared and with its value
  // set, and finds the one that another process made in between. Initialising it once more after
  // that would open a lock that somebody may hold already.
  if (handle == SEM_FAILED) handle = sem_open(lock->lockName, O_RDWR | O_CREAT, kMode, kInitialValue);
  if (handle == SEM_FAILED) {
    add_log("create sem error: %s\n", strerror(errno));
    return;
  }
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
