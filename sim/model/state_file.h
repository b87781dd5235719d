// SPDX-License-Identifier: GPL-3.0-or-later
// One state file per adapter, and the lock file beside it that also holds an unfinished pair exchange.
#pragma once

#include <memory>
#include <mutex>

#include "files/files.h"
#include "model/state.h"

namespace sim {

/// Version of the layout. Raise it with any change of the records in state.h.
constexpr uint32_t kStateVersion = 4;

/// Head of the lock file. It is read on every exchange, so all that is needed each time is here.
struct LockHead {
  uint32_t magic;
  uint32_t version;
  uint64_t generation;  ///< changes before the state file does
  Millis clock;         ///< time that stands still until it is advanced; below 0: the real time
  int32_t pairOwner;    ///< process whose answer waits; 0: none
  uint16_t pairWords[4];
  uint8_t pairWordCount;
  uint8_t reserved[3];
};

/// The answer of a pair send waits here, after the head, until its receive.
constexpr int64_t kPairAnswerAt = 4096;

std::vector<char> encodeAdapter(const Adapter &adapter);
/// Writes the head of a state file: version, and length and checksum of what stands behind it.
void sealState(std::span<char> file);
constexpr size_t kStateHeadBytes = 24;
/// Throws HostError with the reason when the bytes are not a whole and sound state of this version.
Adapter decodeAdapter(std::span<const char> bytes, const std::string &path);

/// An adapter's state as this process last saw it, shared by its handles.
struct CachedAdapter {
  std::mutex mutex;
  uint64_t generation = 0;
  Adapter adapter;
};

/// The files of one adapter, opened. The state is reached through a Session only.
class AdapterFiles {
 public:
  /// Throws HostError when the adapter has no state in this directory.
  AdapterFiles(const std::string &directory, const std::string &name);
  /// Writes a fresh state for a new or a reset adapter.
  static void create(const std::string &directory, const Adapter &adapter, Millis clock);
  /// Sets the standing clock of an adapter.
  static void setClock(const std::string &directory, const std::string &name, Millis clock);

  const std::string &directory() const { return directory_; }
  const std::string &name() const { return name_; }

 private:
  friend class Session;
  std::string directory_, name_;
  int readOnly_ = 0;  ///< why nothing can be written, as an errno; 0: it can
  Descriptor lockFile_;
  std::shared_ptr<CachedAdapter> cache_;
};

/// One exchange with an adapter: locked against other threads and processes from start to end.
/// Reading is free; `change` marks the state to be written by `commit`. What goes on by itself, such as
/// the progress of activities and the SPI log, is no change of the exchange: it may be lost on a full disk,
/// and the exchange goes on.
class Session {
 public:
  explicit Session(AdapterFiles &files);

  const Adapter &state() const { return cache_.adapter; }
  Adapter &change() {
    dirty_ = true;
    return cache_.adapter;
  }
  Adapter &changeByItself() {
    byItself_ = true;
    return cache_.adapter;
  }
  /// Whether a change is to be written; a function that refused has changed nothing and says so.
  bool changed() const { return dirty_; }
  void unchanged() { dirty_ = false; }
  Millis now() const { return now_; }
  const LockHead &head() const { return head_; }
  /// Path of a side file for large data that changes often, such as an image being received.
  std::string sideFile(const std::string &suffix) const;

  void keepAnswer(const LockHead &pair, std::span<const uint8_t, 4096> answer);
  void takeAnswer(std::span<uint8_t, 4096> answer);
  void dropAnswer();

  /// Writes the state if it was changed. Without it the change is forgotten. Throws HostError when the
  /// change cannot be written, and an answer that was kept is dropped.
  void commit();
  ~Session();

 private:
  void writeLock(const void *data, size_t length, int64_t at);
  void writeHead();
  void writeState();

  AdapterFiles &files_;
  CachedAdapter &cache_;
  std::lock_guard<std::mutex> thread_;
  FileLock process_;
  LockHead head_{};
  Millis now_ = 0;
  bool dirty_ = false;
  bool byItself_ = false;
  bool answered_ = false;
};

std::string statePath(const std::string &directory, const std::string &name);

}  // namespace sim
