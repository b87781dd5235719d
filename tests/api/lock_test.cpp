// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/lock.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "api_test.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class Lock : public testing::Test {
 protected:
  Lock() : name("trx_test_" + std::to_string(getpid())), lock(CreateTRXLockInstance()) {
    lock->init(lock, name.c_str());
  }
  ~Lock() override {
    sem_unlink(name.c_str());
    lock->close(lock);
  }
  int value() const {
    int value = -1;
    sem_getvalue(lock->m_handle, &value);
    return value;
  }

  const std::string name;
  TRXLock *lock;
};

TEST_F(Lock, WaitsForAnotherProcess) {
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    TRXLock *own = CreateTRXLockInstance();
    own->init(own, name.c_str());
    own->lock(own);
    if (write(ready[1], "x", 1) != 1) _exit(1);
    usleep(300'000);
    own->unlock(own);
    own->close(own);
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  const auto begin = steady_clock::now();
  lock->lock(lock);
  EXPECT_GT(steady_clock::now() - begin, milliseconds(150));
  EXPECT_EQ(value(), 0);
  for (int i = 0; i < 2; ++i) lock->unlock(lock);
  EXPECT_EQ(value(), 1) << "one unlock too many lets two in";
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(Lock, GoesOnAfterFiveSecondsWithoutTheHolder) {
  lock->lock(lock);
  const auto begin = steady_clock::now();
  lock->lock(lock);
  const auto waited = steady_clock::now() - begin;
  EXPECT_GT(waited, milliseconds(4900));
  EXPECT_LT(waited, milliseconds(8000));
  lock->unlock(lock);
  EXPECT_EQ(value(), 1) << "whole again";
}

}  // namespace
