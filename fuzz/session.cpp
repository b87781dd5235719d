// SPDX-License-Identifier: GPL-3.0-or-later
#include "session.h"

#include <fcntl.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Functions/commandTables.h"
#include "trx/trx_api.h"

namespace fuzz {
namespace {

bool inside = false;
bool terminal = false;
size_t locks = 0;

/// A file whose content comes from the input; some are whole pages with a word sum of 0, as firmware
/// images are.
int inputFile() {
  Input &input = platform().input;
  const uint8_t how = input.byte();
  auto taken = input.take(how * size_t{16});
  std::vector<uint8_t> content(taken.begin(), taken.end());
  if ((how & 1) && !content.empty()) {
    content.resize((content.size() + 4 + TRX_PAGE_SIZE - 1) / TRX_PAGE_SIZE * TRX_PAGE_SIZE);
    uint32_t sum = 0, each = 0;
    for (size_t at = 0; at < content.size(); at += sizeof each) {
      std::memcpy(&each, &content[at], sizeof each);
      sum -= each;
    }
    std::memcpy(&content[content.size() - sizeof sum], &sum, sizeof sum);
  }
  const int file = memfd_create("input", MFD_CLOEXEC);
  if (file < 0) return file;
  require(write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
  lseek(file, 0, SEEK_SET);
  return file;
}

NVME_Adapter_Info summary(bool raid, bool fromInput) {
  NVME_Adapter_Info info{};
  if (fromInput) {
    auto bytes = platform().input.take(sizeof info);
    std::memcpy(&info, bytes.data(), bytes.size());
  } else {
    info.MaxPD = info.MaxVD = info.MaxNSPerVD = 4;
    info.MaxNS = 32;
  }
  // Every disk of every port is a command of its own.
  info.PortCount = fromInput ? info.PortCount & 3 : 1;
  if (!fromInput) info.Features = raid ? TRX_FEATURE_RAID : 0;
  return info;
}

}  // namespace

Session::Session(Input input) {
  platform() = {.input = input, .discovery = true};
  locks = 0;
  inside = true;
  TRX_Init();
  platform().discovery = false;
  const unsigned modes = platform().input.byte();
  trx::stream = stdout;
  trx::gCurrentAdapter = modes & 1;
  trx::g_oneBaseMode = modes >> 1 & 1;
  trx::dbg_enable = modes >> 2 & 1;
  terminal = modes >> 4 & 1;
  trx::gSpecificAdapterFlag = modes >> 5 & 1;
  trx::gNumAdaptersFound = TRX_Adapter_GetCount();
  require(trx::gNumAdaptersFound == 2);
  const bool fromInput = modes >> 3 & 1;
  trx::g_pAdInfos = {summary(true, fromInput), summary(false, fromInput)};
  trx::useCommandTables();
}

Session::~Session() {
  TRX_Final();
  inside = false;
}

bool Session::run(const std::string &line) {
  std::vector<char> text = exactText(line);
  std::array<char *, trx::kMaxTokens> tokens;
  int32_t count = 0;
  if (line.size() >= trx::kMaxLine || !trx::parse(&count, tokens.data(), text.data())) return true;
  if (count == 0 || count > trx::kMaxTokens) return true;
  return trx::cmdDispatcher(count, tokens.data()) != -1;
}

}  // namespace fuzz

// The linker puts these in the place of the C library's functions. Outside a session they are the
// real ones: the fuzzer itself uses them.
extern "C" {

std::FILE *__real_fopen(const char *, const char *);
int __real_open(const char *, int, ...);
std::FILE *__real_popen(const char *, const char *);
int __real_pclose(std::FILE *);
int __real_nanosleep(const timespec *, timespec *);
int __real_isatty(int);
sem_t *__real_sem_open(const char *, int, ...);

std::FILE *__wrap_fopen(const char *path, const char *mode) {
  // A plain "w" is the fuzzer's, which keeps the input of a find when it ends within a session.
  if (!fuzz::inside || std::strcmp(mode, "w") == 0) return __real_fopen(path, mode);
  if (*mode != 'r') return __real_fopen("/dev/null", mode);
  return fdopen(fuzz::inputFile(), mode);
}

int __wrap_open(const char *path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = va_arg(arguments, unsigned);
  va_end(arguments);
  return fuzz::inside ? fuzz::inputFile() : __real_open(path, flags, mode);
}

std::FILE *__wrap_popen(const char *command, const char *mode) {
  return fuzz::inside ? fdopen(fuzz::inputFile(), mode) : __real_popen(command, mode);
}

int __wrap_pclose(std::FILE *pipe) { return fuzz::inside ? std::fclose(pipe) : __real_pclose(pipe); }

int __wrap_nanosleep(const timespec *time, timespec *left) {
  return fuzz::inside ? sched_yield() : __real_nanosleep(time, left);
}

int __wrap_isatty(int file) { return fuzz::inside ? fuzz::terminal : __real_isatty(file); }

sem_t *__wrap_sem_open(const char *name, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = va_arg(arguments, unsigned);
  const auto value = va_arg(arguments, unsigned);
  va_end(arguments);
  if (!fuzz::inside) return __real_sem_open(name, flags, mode, value);
  static std::array<sem_t, 8> semaphores;
  sem_t *semaphore = &semaphores.at(fuzz::locks++);
  sem_init(semaphore, 0, 1);
  return semaphore;
}

}  // extern "C"
