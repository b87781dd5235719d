// SPDX-License-Identifier: GPL-3.0-or-later
// File helpers: descriptors that close themselves, whole reads, and writes that are whole or not at all.
#pragma once

#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sim {

/// What went wrong with the simulated host's files, in words for a person.
struct HostError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor();
  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }

 private:
  int fd_ = -1;
};

/// An exclusive flock for the life of the object.
class FileLock {
 public:
  explicit FileLock(int fd);
  ~FileLock();
  FileLock(const FileLock &) = delete;
  FileLock &operator=(const FileLock &) = delete;

 private:
  int fd_;
};

/// Takes a file that was begun away again, unless it is kept.
class Provisional {
 public:
  explicit Provisional(std::string path) : path_(std::move(path)) {}
  ~Provisional();
  Provisional(const Provisional &) = delete;
  Provisional &operator=(const Provisional &) = delete;
  void keep() { path_.clear(); }

 private:
  std::string path_;
};

/// The whole file; an empty optional-like flag in `exists` when there is none.
std::vector<char> readWhole(const std::string &path, bool &exists);
std::string readText(const std::string &path, bool &exists);
/// Writes a temporary file beside `path` and renames it: a reader sees the old or the new content. What
/// could not be written whole leaves nothing behind. The caller holds a lock: one writes at a time.
void replaceFile(const std::string &path, std::span<const std::span<const char>> parts, unsigned mode = 0644);
void replaceFile(const std::string &path, std::string_view text, unsigned mode = 0644);
/// Writes into the file that stands at `path`, or at the end of its links, or into a new one. Throws
/// HostError when something else than a file stands there.
void writeInto(const std::string &path, std::string_view content);
/// Appends with a single write, so that lines of several processes never mix. Failures are ignored.
void appendLine(const std::string &path, std::string_view line);

}  // namespace sim
