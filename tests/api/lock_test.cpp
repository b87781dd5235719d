// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/lock.h"

#include <sys/stat.h>
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

// Each in a process of its own, because it is told once in a process.
TEST_F(Lock, IsForEveryUserAndNeedsASemaphore) {
  const std::string place = "/dev/shm/sem." + name;
  const auto mode = [&] { return std::filesystem::status(place).permissions(); };
  umask(077);
  TRXLock *other = CreateTRXLockInstance();
  std::filesystem::remove(place);
  other->init(other, name.c_str());
  EXPECT_EQ(mode(), std::filesystem::perms{0777}) << "whatever the umask";
  EXPECT_EQ(umask(022), 077u) << "which is as it was";
  std::filesystem::permissions(place, std::filesystem::perms{0755});
  other->init(other, name.c_str());
  EXPECT_EQ(mode(), std::filesystem::perms{0777}) << "its owner heals it";
  other->close(other);

  const std::pair<const char *, const char *> rows[] = {
      {": >", "another file is in its place"},
      {"head -c 31 /dev/zero >", "another file is in its place"},
      {"mkfifo", "another file is in its place"},
      {"mkdir", "another file is in its place"},
      {"ln -s /nowhere", "Too many levels of symbolic links"},
  };
  for (const auto &[make, reason] : rows) {
    std::filesystem::remove(place);
    ASSERT_EQ(std::system((std::string(make) + " " + place).c_str()), 0);
    EXPECT_EXIT(
        {
          for (int i = 0; i < 2; ++i) {
            TRXLock *own = CreateTRXLockInstance();
            own->init(own, name.c_str());
            own->lock(own);
            own->unlock(own);
            own->close(own);
          }
          exit(0);
        },
        testing::ExitedWithCode(0),
        "^Exchanges are not protected from other processes: no semaphore " + name + " \\(" + reason +
            "\\)\\.\n$");
  }
  std::filesystem::remove(place);
}

}  // namespace
