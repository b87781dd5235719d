// SPDX-License-Identifier: GPL-3.0-or-later
#include "files/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace sim {
namespace {

[[noreturn]] void fail(const std::string &path) { throw HostError(path + ": " + std::strerror(errno)); }

void writeAll(int fd, std::span<const char> data, const std::string &path) {
  while (!data.empty()) {
    ssize_t n = write(fd, data.data(), data.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) fail(path);
    data = data.subspan(static_cast<size_t>(n));
  }
}

}  // namespace

Provisional::~Provisional() {
  if (!path_.empty()) unlink(path_.c_str());
}

Descriptor::~Descriptor() {
  if (fd_ >= 0) close(fd_);
}

FileLock::FileLock(int fd) : fd_(fd) {
  while (flock(fd_, LOCK_EX) != 0)
    if (errno != EINTR) throw HostError(std::string("lock file: ") + std::strerror(errno));
}

FileLock::~FileLock() { flock(fd_, LOCK_UN); }

std::vector<char> readWhole(const std::string &path, bool &exists) {
  Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  exists = static_cast<bool>(file);
  if (!exists) {
    if (errno != ENOENT) fail(path);
    return {};
  }
  struct stat facts {};
  if (fstat(file.get(), &facts) != 0) fail(path);
  std::vector<char> data(static_cast<size_t>(facts.st_size));
  size_t at = 0;
  while (at < data.size()) {
    ssize_t n = read(file.get(), data.data() + at, data.size() - at);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) fail(path);
    if (n == 0) break;
    at += static_cast<size_t>(n);
  }
  data.resize(at);
  return data;
}

std::string readText(const std::string &path, bool &exists) {
  std::vector<char> data = readWhole(path, exists);
  return std::string(data.begin(), data.end());
}

void replaceFile(const std::string &path, std::span<const std::span<const char>> parts, unsigned mode) {
  // One name for all: what a process leaves that is killed here goes with the next one.
  std::string temporary = path + ".tmp";
  Provisional made(temporary);
  {
    Descriptor file(open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (!file) fail(temporary);
    for (std::span<const char> part : parts) writeAll(file.get(), part, temporary);
  }
  if (rename(temporary.c_str(), path.c_str()) != 0) fail(path);
  made.keep();
}

void replaceFile(const std::string &path, std::string_view text, unsigned mode) {
  const std::span<const char> parts[] = {{text.data(), text.size()}};
  replaceFile(path, parts, mode);
}

void writeInto(const std::string &path, std::string_view content) {
  struct stat facts {};
  const bool there = stat(path.c_str(), &facts) == 0;
  if (there && !S_ISREG(facts.st_mode)) throw HostError(path + ": is no regular file");
  Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (!file) fail(path);
  Provisional made(path);
  if (there) made.keep();
  writeAll(file.get(), {content.data(), content.size()}, path);
  made.keep();
}

void appendLine(const std::string &path, std::string_view line) {
  Descriptor file(open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644));
  if (file && write(file.get(), line.data(), line.size()) < 0) return;
}

}  // namespace sim
