// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "Public/common.h"
#include "Public/report.h"

namespace trx {
namespace {

constexpr size_t kLongestPath = 1023;

std::string withoutQuotes(const std::string &path) {
  std::vector<char> bare(path.size() + 2, '\0');
  noQuoteStrncpy(bare.data(), path.c_str(), path.size());
  return bare.data();
}

/// Open a regular file for reading. A pipe is not waited for, as open(2) would until somebody writes.
/// @param[out] reason, error why there is none
std::FILE *openForReading(const char *path, std::string &reason, int &error) {
  int descriptor = open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  struct stat facts;
  if (descriptor < 0 || fstat(descriptor, &facts) != 0) {
    error = errno;
    reason = std::strerror(error);
  } else if (!S_ISREG(facts.st_mode)) {
    reason = S_ISDIR(facts.st_mode) ? std::strerror(EISDIR) : "Not a regular file";
  } else {
    return fdopen(descriptor, "rb");
  }
  if (descriptor >= 0) close(descriptor);
  return nullptr;
}

}  // namespace

std::string pathArgument(const char *text) {
  if (*text == '"') return std::string(text + 1, std::find(text + 1, text + std::strlen(text), '"'));
  return std::string(text, strnlen(text, kLongestPath));
}

int CommandFile::open_file(const std::string &path, const char *mode) {
  path_ = withoutQuotes(path);
  error_ = 0;
  input_ = *mode == 'r';
  if (input_) {
    file_.reset(openForReading(path_.c_str(), reason_, error_));
  } else if (isTried()) {
    return 0;
  } else {
    file_.reset(std::fopen(path_.c_str(), mode));
    error_ = errno;
    if (!file_) reason_ = std::strerror(error_);
  }
  return file_ ? 0 : 1;
}

bool CommandFile::openOrComplain(const std::string &path, const char *mode) {
  if (open_file(path, mode) == 0) return true;
  tellWrong(howItFailed(), "Unable to open file '%s': %s\n", path_.c_str(), reason_.c_str());
  return false;
}

Outcome CommandFile::howItFailed() const {
  if (input_ && (error_ == 0 || error_ == EISDIR)) return Outcome::Usage;
  if (input_ && (error_ == ENOENT || error_ == ENOTDIR)) return Outcome::NotFound;
  return failureOfPlatform(error_).outcome;
}

size_t CommandFile::get_file_length() {
  struct stat facts;
  return file_ && fstat(fileno(file_.get()), &facts) == 0 ? static_cast<size_t>(facts.st_size) : 0;
}

size_t CommandFile::read_file(void *buffer, size_t bytes) {
  return file_ ? std::fread(buffer, 1, bytes, file_.get()) : 0;
}

void CommandFile::rewind() {
  if (file_) std::rewind(file_.get());
}

bool CommandFile::write_file(const void *buffer, size_t bytes) {
  if (bytes == 0) return isOpen();  // there may be no buffer then
  return file_ && (std::fwrite(buffer, 1, bytes, file_.get()) == bytes || tellUnwritten());
}

bool CommandFile::close_file() { return !file_ || std::fclose(file_.release()) == 0 || tellUnwritten(); }

bool CommandFile::tellUnwritten() const {
  tellWrong(Outcome::Failed, "Unable to write file '%s': %s\n", path_.c_str(), std::strerror(errno));
  return false;
}

}  // namespace trx
