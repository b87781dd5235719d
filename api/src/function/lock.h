// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_FUNCTION_LOCK_H
#define TRX_FUNCTION_LOCK_H

#include <semaphore.h>

/// A named semaphore that keeps processes apart while one of them exchanges a pair of commands with
/// a controller. It outlives the process and is found again by the next one.
struct TRXLock {
  sem_t *m_handle;  ///< null until opened; `lock` and `unlock` do nothing then
  char lockName[128];
  void (*init)(TRXLock *lock, const char *name);
  void (*lock)(TRXLock *lock);
  void (*unlock)(TRXLock *lock);
  void (*close)(TRXLock *lock);
};

/// @return a lock without a semaphore yet, or null when memory is short; ended by its `close`
TRXLock *CreateTRXLockInstance();

/// Open the semaphore of this name, or create it with the value 1, for every user. Where there is none
/// to be had, that is said on standard error, once per process.
void TRXLock_init(TRXLock *lock, const char *name);

/// Wait for the semaphore, at most five seconds, and go on in any case. So several may be in, until it is
/// idle again, when a holder or a queue takes longer than that, or when two waited as long behind one that
/// died.
void TRXLock_lock(TRXLock *lock);

/// Let the next one in: post while the value is 0. Of several that are in, those that look before one of them
/// posts make it more than 1; each later use by one alone takes 1 off, down to 1.
void TRXLock_unlock(TRXLock *lock);

/// Free the object. The named semaphore stays.
void TRXLock_close(TRXLock *lock);

/// Holds a lock, which may be null, for as long as it lives.
class TRXLockGuard {
 public:
  explicit TRXLockGuard(TRXLock *lock) : lock_(lock) {
    if (lock_) lock_->lock(lock_);
  }
  ~TRXLockGuard() {
    if (lock_) lock_->unlock(lock_);
  }
  TRXLockGuard(const TRXLockGuard &) = delete;
  TRXLockGuard &operator=(const TRXLockGuard &) = delete;

 private:
  TRXLock *lock_;
};

#endif  // TRX_FUNCTION_LOCK_H
