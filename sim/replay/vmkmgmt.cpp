// SPDX-License-Identifier: GPL-3.0-or-later
// The management library's functions, answered from the recording that TRX_SIM_REPLAY names.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

#include "entry/entry.h"
#include "replay/answers.h"

namespace {

using namespace sim;

/// The platform's status for what the recording does not have.
constexpr int kNotRecorded = ENODATA;

struct Handle {
  std::string adapter{};  ///< empty for the driver itself
};

Answers &answers() {
  static Answers all = [] {
    const char *path = std::getenv("TRX_SIM_REPLAY"), *state = std::getenv("TRX_SIM_STATE");
    if (!path || !state) throw HostError("a replay is started with 'trx_sim replay'");
    return Answers(path, std::string(state) + "/used");
  }();
  return all;
}

/// The replay failed: the launcher finds a file gone. To take one away needs no room on a disk.
void failReplay() {
  if (const char *state = std::getenv("TRX_SIM_STATE"))
    unlink((std::string(state) + "/" + std::string(kWholeReplay)).c_str());
}

/// The next answer, or null when the recording has none.
const Recorded *nextAnswer(const std::string &head, std::span<const uint8_t> to = {},
                           std::span<const uint8_t> about = {}) {
  try {
    const Recorded *record = answers().next(head, to, about);
    if (!record) failReplay();
    return record;
  } catch (const std::exception &) {
    failReplay();
    throw;
  }
}

int notRecorded(uint64_t callback) {
  std::fprintf(stderr, "trx_sim: calls of callback %lu are not recorded\n",
               static_cast<unsigned long>(callback));
  failReplay();
  return ENOSYS;
}

int answerList(uint32_t *count, nvmeAdapterInfo *entries) {
  constexpr size_t kMost = std::extent_v<decltype(nvme_adapter_list::adapters)>;
  const Recorded *record = nextAnswer(std::string(kListHead));
  if (!record) return kNotRecorded;
  size_t number = std::min(record->from.size() / sizeof *entries, kMost);
  if (number != 0) std::memcpy(entries, record->from.data(), number * sizeof *entries);
  *count = static_cast<uint32_t>(number);
  return record->platform;
}

int answerHead(const std::string &head) {
  const Recorded *record = nextAnswer(head);
  return record ? record->platform : kNotRecorded;
}

const Recorded *answerOf(const Handle &handle, const std::string &head, const usr_io &uio) {
  static PairSends sends;
  std::span<const uint8_t> to;
  if (uio.direction == TRX_TO_CONTROLLER && uio.addr != 0)
    to = {reinterpret_cast<const uint8_t *>(uio.addr), uio.length};
  return nextAnswer(head, to, sends.about(handle.adapter, uio, to));
}

int answerExchange(Handle &handle, uint32_t code, usr_io &uio) {
  const Recorded *record = answerOf(handle, exchangeHead(handle.adapter, code, uio), uio);
  if (!record) return kNotRecorded;
  if (uio.direction == TRX_FROM_CONTROLLER && uio.addr != 0)
    std::copy_n(record->from.begin(), std::min<size_t>(record->from.size(), uio.length),
                reinterpret_cast<uint8_t *>(uio.addr));
  uio.status = record->driver;
  uio.comp = record->completion;
  return record->platform;
}

int answer(Handle &handle, uint64_t callback, void *first, void *second) {
  if (!first || !second) return EFAULT;
  auto *number = static_cast<uint32_t *>(first);
  if (!handle.adapter.empty())
    return callback == NVME_MGMT_ADAPTER_IOCTL
               ? answerExchange(handle, *number, *static_cast<usr_io *>(second))
               : notRecorded(callback);
  if (callback == NVME_MGMT_GLOBAL_LIST_ADAPTERS)
    return answerList(number, static_cast<nvmeAdapterInfo *>(second));
  if (callback == NVME_MGMT_GLOBAL_SET_LOG_LEVEL)
    return answerHead(logLevelHead(*number, *static_cast<uint32_t *>(second)));
  return notRecorded(callback);
}

}  // namespace

namespace sim::entry {

int init(vmk_MgmtApiSignature *signature, uint64_t, void **handle) {
  if (!signature || !handle) return EINVAL;
  auto opened = std::make_unique<Handle>();
  opened->adapter = recordedAdapter({signature->name, strnlen(signature->name, sizeof signature->name)});
  int status = answerHead(openHead(opened->adapter));
  if (status == 0) *handle = opened.release();
  return status;
}

int invoke(void *handle, uint64_t, uint64_t callback, void *first, void *second) {
  return handle ? answer(*static_cast<Handle *>(handle), callback, first, second) : EINVAL;
}

void destroy(void *handle) { std::unique_ptr<Handle> gone(static_cast<Handle *>(handle)); }

}  // namespace sim::entry
