// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "Public/common.h"

namespace trx {
namespace {

constexpr size_t kLongestPath = 1023;

std::string withoutQuotes(const std::string &path) {
  std::vector<char> bare(path.size() + 2, '\0');
  noQuoteStrncpy(bare.data(), path.c_str(), path.size());
  return bare.data();
}

bool isRegular(std::FILE *file) {
  struct stat facts;
  if (fstat(fileno(file), &facts) != 0) return false;
  if (S_ISREG(facts.st_mode)) return true;
  errno = S_ISDIR(facts.st_mode) ? EISDIR : EINVAL;
  return false;
}

}  // namespace

std::string pathArgument(const char *text) {
  if (*text == '"') return std::string(text + 1, std::find(text + 1, text + std::strlen(text), '"'));
  return std::string(text, strnlen(text, kLongestPath));
}

int CommandFile::open_file(const std::string &path, const char *mode) {
  path_ = withoutQuotes(path);
  file_.reset(std::fopen(path_.c_str(), mode));
  if (!file_) return 1;
  if (*mode == 'r' && !isRegular(file_.get())) {
    int reason = errno;
    file_.reset();
    errno = reason;
    return 1;
  }
  return 0;
}

bool CommandFile::openOrComplain(const std::string &path, const char *mode) {
  if (open_file(path, mode) == 0) return true;
  return complain("Unable to open file '%s': %s\n", path_.c_str(), std::strerror(errno));
}

size_t CommandFile::get_file_length() {
  struct stat facts;
  return file_ && fstat(fileno(file_.get()), &facts) == 0 ? static_cast<size_t>(facts.st_size) : 0;
}

size_t CommandFile::read_file(void *buffer, size_t bytes) {
  return file_ ? std::fread(buffer, 1, bytes, file_.get()) : 0;
}

bool CommandFile::write_file(const void *buffer, size_t bytes) {
  return file_ && (std::fwrite(buffer, 1, bytes, file_.get()) == bytes || complainWrite());
}

bool CommandFile::close_file() { return !file_ || std::fclose(file_.release()) == 0 || complainWrite(); }

bool CommandFile::complainWrite() const {
  return complain("Unable to write file '%s': %s\n", path_.c_str(), std::strerror(errno));
}

}  // namespace trx
