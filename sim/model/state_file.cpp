// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/state_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>

#include "model/activities.h"
#include "model/sound.h"

namespace sim {
namespace {

constexpr uint32_t kStateMagic = 0x53585254;  // "TRXS"
constexpr uint32_t kLockMagic = 0x4C585254;   // "TRXL"

struct StateHead {
  uint32_t magic;
  uint32_t version;
  uint64_t length;
  uint64_t checksum;
};

static_assert(sizeof(StateHead) == kStateHeadBytes);

uint64_t checksumOf(std::span<const char> bytes) {
  uint64_t sum = 0xcbf29ce484222325ULL;
  size_t at = 0;
  for (; at + 8 <= bytes.size(); at += 8) {
    uint64_t word;
    std::memcpy(&word, bytes.data() + at, 8);
    sum = (sum ^ word) * 0x100000001b3ULL;
    sum ^= sum >> 29;
  }
  for (; at < bytes.size(); ++at) sum = (sum ^ static_cast<unsigned char>(bytes[at])) * 0x100000001b3ULL;
  return sum;
}

class Writer {
 public:
  explicit Writer(std::vector<char> &bytes) : bytes_(bytes) {}
  template <typename T>
  void one(const T &value) {
    raw(&value, sizeof value);
  }
  template <typename T>
  void many(const std::vector<T> &values) {
    one(static_cast<uint64_t>(values.size()));
    raw(values.data(), values.size() * sizeof(T));
  }

 private:
  void raw(const void *data, size_t length) {
    auto first = static_cast<const char *>(data);
    bytes_.insert(bytes_.end(), first, first + length);
  }
  std::vector<char> &bytes_;
};

class Reader {
 public:
  Reader(std::span<const char> bytes, const std::string &path) : bytes_(bytes), path_(path) {}
  template <typename T>
  void one(T &value) {
    raw(&value, sizeof value);
  }
  template <typename T>
  void many(std::vector<T> &values) {
    uint64_t count = 0;
    one(count);
    if (count > bytes_.size() / sizeof(T)) broken();
    values.resize(count);
    raw(values.data(), count * sizeof(T));
  }
  bool done() const { return bytes_.empty(); }
  [[noreturn]] void broken() const { throw HostError(path_ + ": the state is broken; run 'trx_sim reset'"); }

 private:
  void raw(void *data, size_t length) {
    if (length > bytes_.size()) broken();
    if (length != 0) std::memcpy(data, bytes_.data(), length);
    bytes_ = bytes_.subspan(length);
  }
  std::span<const char> bytes_;
  const std::string &path_;
};

template <typename Stream, typename AdapterLike>
void eachPart(Stream &stream, AdapterLike &adapter) {
  stream.one(adapter.core);
  stream.many(adapter.disks);
  stream.many(adapter.volumes);
  stream.many(adapter.namespaces);
  stream.many(adapter.activities);
  stream.many(adapter.registers);
  stream.many(adapter.events);
  stream.many(adapter.spiLog);
  stream.many(adapter.journal);
}

std::string lockPath(const std::string &directory, const std::string &name) {
  return directory + "/" + name + ".lock";
}

Millis realTime() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return Millis{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
}

uint64_t freshGeneration() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return static_cast<uint64_t>(time.tv_sec) * 1'000'000'000ULL + static_cast<uint64_t>(time.tv_nsec);
}

std::shared_ptr<CachedAdapter> cachedAdapter(const std::string &path) {
  static std::mutex mutex;
  static std::map<std::string, std::shared_ptr<CachedAdapter>, std::less<>> cache;
  std::lock_guard<std::mutex> guard(mutex);
  auto &entry = cache[path];
  if (!entry) entry = std::make_shared<CachedAdapter>();
  return entry;
}

LockHead readHead(int fd) {
  LockHead head{};
  if (pread(fd, &head, sizeof head, 0) != sizeof head || head.magic != kLockMagic) head = LockHead{};
  return head;
}

void putHead(int fd, const LockHead &head) {
  if (pwrite(fd, &head, sizeof head, 0) != sizeof head)
    throw HostError(std::string("lock file: ") + std::strerror(errno));
}

void putState(const std::string &path, const Adapter &adapter) {
  std::vector<char> bytes = encodeAdapter(adapter);
  replaceFile(path, std::string_view(bytes.data(), bytes.size()));
}

}  // namespace

std::string statePath(const std::string &directory, const std::string &name) {
  return directory + "/" + name + ".state";
}

std::vector<char> encodeAdapter(const Adapter &adapter) {
  std::vector<char> bytes;
  bytes.reserve(sizeof(StateHead) + sizeof(AdapterCore) + sizeof(Journal) + 65536);
  bytes.resize(sizeof(StateHead));
  Writer writer(bytes);
  eachPart(writer, adapter);
  sealState(bytes);
  return bytes;
}

void sealState(std::span<char> file) {
  std::span<const char> body = file.subspan(sizeof(StateHead));
  StateHead head{kStateMagic, kStateVersion, body.size(), checksumOf(body)};
  std::memcpy(file.data(), &head, sizeof head);
}

Adapter decodeAdapter(std::span<const char> bytes, const std::string &path) {
  StateHead head{};
  if (bytes.size() >= sizeof head) std::memcpy(&head, bytes.data(), sizeof head);
  if (head.magic != kStateMagic) throw HostError(path + ": not a state file; run 'trx_sim reset'");
  if (head.version != kStateVersion)
    throw HostError(path + ": written by another version (" + std::to_string(head.version) + ", not " +
                    std::to_string(kStateVersion) + "); run 'trx_sim reset'");
  std::span<const char> body = bytes.subspan(sizeof head);
  if (body.size() != head.length || checksumOf(body) != head.checksum)
    throw HostError(path + ": length or checksum does not match; run 'trx_sim reset'");
  Adapter adapter;
  Reader reader(body, path);
  eachPart(reader, adapter);
  if (!reader.done() || !sound(adapter)) reader.broken();
  return adapter;
}

AdapterFiles::AdapterFiles(const std::string &directory, const std::string &name)
    : directory_(directory),
      name_(name),
      lockFile_(open(lockPath(directory, name).c_str(), O_RDWR | O_CLOEXEC)),
      cache_(cachedAdapter(statePath(directory, name))) {
  if (lockFile_) return;
  // A controller can be read where nothing can be written.
  readOnly_ = errno;
  lockFile_ = Descriptor(open(lockPath(directory, name).c_str(), O_RDONLY | O_CLOEXEC));
  if (!lockFile_) throw HostError(lockPath(directory, name) + ": " + std::strerror(errno));
}

void AdapterFiles::create(const std::string &directory, const Adapter &adapter, Millis clock) {
  std::string name(adapter.name());
  std::string path = lockPath(directory, name);
  Descriptor file(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
  if (!file) throw HostError(path + ": " + std::strerror(errno));
  FileLock lock(file.get());
  LockHead head{};
  head.magic = kLockMagic;
  head.version = kStateVersion;
  head.generation = freshGeneration();
  head.clock = clock;
  putHead(file.get(), head);
  putState(statePath(directory, name), adapter);
}

void AdapterFiles::setClock(const std::string &directory, const std::string &name, Millis clock) {
  AdapterFiles files(directory, name);
  FileLock lock(files.lockFile_.get());
  LockHead head = readHead(files.lockFile_.get());
  head.clock = clock;
  putHead(files.lockFile_.get(), head);
}

Session::Session(AdapterFiles &files)
    : files_(files), cache_(*files.cache_), thread_(cache_.mutex), process_(files.lockFile_.get()) {
  head_ = readHead(files_.lockFile_.get());
  if (head_.magic != kLockMagic || head_.version != kStateVersion || head_.clock > kLatest)
    throw HostError(lockPath(files_.directory_, files_.name_) +
                    ": broken or of another version; run 'trx_sim reset'");
  now_ = head_.clock >= 0 ? head_.clock : realTime();
  if (cache_.generation != head_.generation) {
    std::string path = statePath(files_.directory_, files_.name_);
    bool exists = false;
    std::vector<char> bytes = readWhole(path, exists);
    if (!exists) throw HostError(path + ": no such file; run 'trx_sim reset'");
    cache_.generation = 0;
    cache_.adapter = decodeAdapter(bytes, path);
    cache_.generation = head_.generation;
  }
  if (advanceDue(cache_.adapter, now_)) advance(changeByItself(), now_);
}

std::string Session::sideFile(const std::string &suffix) const {
  return files_.directory_ + "/" + files_.name_ + "." + suffix;
}

void Session::writeLock(const void *data, size_t length, int64_t at) {
  int why = files_.readOnly_;
  if (why == 0) {
    ssize_t written = pwrite(files_.lockFile_.get(), data, length, at);
    if (written == static_cast<ssize_t>(length)) return;
    why = written < 0 ? errno : ENOSPC;
  }
  throw HostError(lockPath(files_.directory_, files_.name_) + ": " + std::strerror(why));
}

void Session::writeHead() { writeLock(&head_, sizeof head_, 0); }

void Session::keepAnswer(const LockHead &pair, std::span<const uint8_t, 4096> answer) {
  writeLock(answer.data(), answer.size(), kPairAnswerAt);
  answered_ = true;
  head_.pairOwner = pair.pairOwner;
  std::memcpy(head_.pairWords, pair.pairWords, sizeof head_.pairWords);
  head_.pairWordCount = pair.pairWordCount;
  writeHead();
}

void Session::takeAnswer(std::span<uint8_t, 4096> answer) {
  int fd = files_.lockFile_.get();
  if (pread(fd, answer.data(), answer.size(), kPairAnswerAt) != static_cast<ssize_t>(answer.size()))
    throw HostError(std::string("lock file: ") + std::strerror(errno));
  dropAnswer();
}

void Session::dropAnswer() {
  if (head_.pairOwner == 0) return;
  head_.pairOwner = 0;
  head_.pairWordCount = 0;
  writeHead();
}

void Session::writeState() {
  // The generation goes first: a process killed between the two costs the others one needless reload.
  ++head_.generation;
  writeHead();
  putState(statePath(files_.directory_, files_.name_), cache_.adapter);
  cache_.generation = head_.generation;
  dirty_ = byItself_ = false;
}

void Session::commit() {
  if (!dirty_ && !byItself_) return;
  try {
    writeState();
  } catch (const std::exception &) {
    if (!dirty_) return;
    if (answered_) dropAnswer();
    throw;
  }
}

Session::~Session() {
  // What was changed but not written must not be seen by the next exchange of this process.
  if (dirty_ || byItself_) cache_.generation = 0;
}

}  // namespace sim
