// SPDX-License-Identifier: GPL-3.0-or-later
// A program that goes to hosts, made of what an old C library does not do for it. Ends with 0 if all of
// it works, and names what does not.
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <thread>

extern "C" char **__environ;
extern "C" long __timezone;

namespace {

struct Constructed {
  std::string text = "a constructor ran, and only once";
  int times = ++count;
  static inline int count = 0;
} constructed;

bool constructorsRun() { return constructed.times == 1 && constructed.text.size() == 32; }

bool namesOfOneVariable() {
  setenv("TZ", "UTC+5", 1);
  tzset();
  return environ && environ == __environ && timezone == 18000 && __timezone == timezone;
}

void throwThrough(int frames) {  // NOLINT(misc-no-recursion)
  std::string owned(64, 'x');    // its destructor is work for every frame
  if (frames == 0) throw std::runtime_error("thrown");
  throwThrough(frames - 1);
}

void throwOutOfThread() {
  std::exception_ptr carried;
  std::thread([&] {
    try {
      throwThrough(20);
    } catch (...) {
      carried = std::current_exception();
    }
  }).join();
  if (carried) std::rethrow_exception(carried);
}

bool throws(void (*call)()) {
  try {
    call();
  } catch (const std::runtime_error &) {
    return true;
  }
  return false;
}

bool statsFiles() {
  static struct stat byName, byLink, open;
  return stat("/proc/self", &byName) == 0 && S_ISDIR(byName.st_mode) && lstat("/proc/self", &byLink) == 0 &&
         S_ISLNK(byLink.st_mode) && fstat(STDOUT_FILENO, &open) == 0 && open.st_mode != 0;
}

}  // namespace

int main() {
  const std::pair<bool, const char *> traps[] = {
      {constructorsRun(), "constructors"},
      {namesOfOneVariable(), "two names of one variable"},
      {throws([] { throwThrough(200); }), "a throw through many frames"},
      {throws(throwOutOfThread), "a throw out of a thread"},
      {statsFiles(), "stat and its kin"}};
  int failed = 0;
  for (const auto &[works, name] : traps)
    if (!works) failed += std::printf("does not work: %s\n", name) > 0;
  return failed;
}
