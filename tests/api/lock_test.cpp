// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/lock.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include "api_test.h"

namespace {

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
  // With a lock of its own, for so many microseconds.
  void use(unsigned held) const {
    TRXLock *own = CreateTRXLockInstance();
    own->init(own, name.c_str());
    own->lock(own);
    usleep(held);
    own->unlock(own);
    own->close(own);
  }
  // In milliseconds.
  int64_t timeToLock() const {
    const auto begin = std::chrono::steady_clock::now();
    lock->lock(lock);
    return (std::chrono::steady_clock::now() - begin) / std::chrono::milliseconds(1);
  }

  const std::string name;
  TRXLock *lock;
};

TEST_F(Lock, WaitsForAnotherProcess) {
  const pid_t child = fork();
  if (child == 0) {
    use(300'000);
    _exit(0);
  }
  for (int i = 0; i < 5000 && value() == 1; ++i) usleep(1000);
  EXPECT_GT(timeToLock(), 150);
  EXPECT_EQ(value(), 0);
  for (int i = 0; i < 2; ++i) lock->unlock(lock);
  EXPECT_EQ(value(), 1) << "one unlock too many lets two in";
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

TEST_F(Lock, GoesOnAfterFiveSecondsWithoutTheHolder) {
  lock->lock(lock);
  const int64_t waited = timeToLock();
  EXPECT_TRUE(waited > 4900 && waited < 8000) << waited;
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

  for (const std::string make : {": >", "head -c 31 /dev/zero >", "mkfifo", "mkdir", "ln -s /nowhere"}) {
    std::filesystem::remove(place);
    ASSERT_EQ(std::system((make + " " + place).c_str()), 0);
    const auto useTwice = [&] {
      const WithoutInput none;
      for (int i = 0; i < 2; ++i) use(0);
      exit(dup(1));  // 0, too: nothing was left open
    };
    EXPECT_EXIT(useTwice(), testing::ExitedWithCode(0),
                "^Exchanges are not protected from other processes: no semaphore " + name +
                    " \\(another file is in its place\\)\\.\n$");
  }
  std::filesystem::remove(place);
}

}  // namespace
