// SPDX-License-Identifier: GPL-3.0-or-later
// The management library's functions, forwarded unchanged to the library that TRX_SIM_RECORD_NEXT
// names. What passes is appended to the recording that TRX_SIM_RECORD names.
#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <type_traits>

#include "entry/entry.h"
#include "recording/mask.h"
#include "recording/recording.h"

namespace {

using namespace sim;

struct Platform {
  vmk_MgmtUserInit_t init;
  vmk_MgmtUserCallbackInvokeInt_t invoke;
  vmk_MgmtUserDestroy_t destroy;
};

struct Handle {
  void *next = nullptr;
  std::string adapter{};  ///< empty for the driver itself
};

PairSends sends;

Platform load() {
  const char *path = std::getenv("TRX_SIM_RECORD_NEXT");
  void *library = path ? dlopen(path, RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (!library) {
    std::fprintf(stderr, "trx_sim: the platform library cannot be loaded: %s\n",
                 path ? dlerror() : "no name");
    return {};
  }
  return {reinterpret_cast<vmk_MgmtUserInit_t>(dlsym(library, "vmk_MgmtUserInit")),
          reinterpret_cast<vmk_MgmtUserCallbackInvokeInt_t>(dlsym(library, "vmk_MgmtUserCallbackInvokeInt")),
          reinterpret_cast<vmk_MgmtUserDestroy_t>(dlsym(library, "vmk_MgmtUserDestroy"))};
}

const Platform *platform() {
  static const Platform loaded = load();
  return loaded.init && loaded.invoke && loaded.destroy ? &loaded : nullptr;
}

/// Runs what records. The program goes on without a record when that fails, and the reader is told once.
template <typename Body>
void recording(Body body) {
  try {
    const char *path = std::getenv("TRX_SIM_RECORD");
    if (path) body(path);
  } catch (const std::exception &error) {
    static std::atomic_flag told;
    if (!told.test_and_set()) std::fprintf(stderr, "trx_sim: the recording is not whole: %s\n", error.what());
  }
}

/// The data of a command as they are now, or none when they go the other way.
std::vector<uint8_t> dataOf(const usr_io &uio, unsigned direction) {
  if (uio.direction != direction || uio.length == 0 || uio.addr == 0) return {};
  if (uio.length > kRecordedBlock) throw HostError("an exchange of " + std::to_string(uio.length) + " bytes");
  const auto *first = reinterpret_cast<const uint8_t *>(uio.addr);
  return {first, first + uio.length};
}

int forwardExchange(Handle &handle, uint64_t instance, uint32_t *code, usr_io *uio) {
  Recorded record;
  bool before = false;
  recording([&](const char *) {
    record.head = exchangeHead(handle.adapter, *code, *uio);
    record.note = "timeout " + std::to_string(uio->timeoutUs) + " us";
    record.to = dataOf(*uio, TRX_TO_CONTROLLER);
    before = true;
  });
  int status = platform()->invoke(handle.next, instance, NVME_MGMT_ADAPTER_IOCTL, code, uio);
  if (!before) return status;
  recording([&](const char *path) {
    record.from = dataOf(*uio, TRX_FROM_CONTROLLER);
    record.platform = status;
    record.driver = uio->status;
    record.completion = uio->comp;
    const std::vector<uint8_t> about = sends.about(handle.adapter, *uio, record.to);
    if (std::getenv("TRX_SIM_RECORD_MASK")) maskSerials(*uio, about, record.from);
    appendRecorded(path, record);
  });
  return status;
}

int forwardList(Handle &handle, uint64_t instance, uint32_t *count, nvmeAdapterInfo *entries) {
  constexpr uint32_t kMost = std::extent_v<decltype(nvme_adapter_list::adapters)>;
  int status = platform()->invoke(handle.next, instance, NVME_MGMT_GLOBAL_LIST_ADAPTERS, count, entries);
  recording([&](const char *path) {
    Recorded record{.head = std::string(kListHead), .platform = status};
    const auto *first = reinterpret_cast<const uint8_t *>(entries);
    if (status == 0) record.from.assign(first, first + std::min(*count, kMost) * sizeof *entries);
    appendRecorded(path, record);
  });
  return status;
}

int forward(Handle &handle, uint64_t instance, uint64_t callback, void *first, void *second) {
  bool driver = handle.adapter.empty();
  if (first && second && !driver && callback == NVME_MGMT_ADAPTER_IOCTL)
    return forwardExchange(handle, instance, static_cast<uint32_t *>(first), static_cast<usr_io *>(second));
  if (first && second && driver && callback == NVME_MGMT_GLOBAL_LIST_ADAPTERS)
    return forwardList(handle, instance, static_cast<uint32_t *>(first),
                       static_cast<nvmeAdapterInfo *>(second));
  int status = platform()->invoke(handle.next, instance, callback, first, second);
  if (first && second && driver && callback == NVME_MGMT_GLOBAL_SET_LOG_LEVEL)
    recording([&](const char *path) {
      std::string head = logLevelHead(*static_cast<uint32_t *>(first), *static_cast<uint32_t *>(second));
      appendRecorded(path, {.head = head, .platform = status});
    });
  return status;
}

}  // namespace

namespace sim::entry {

int init(vmk_MgmtApiSignature *signature, uint64_t cookie, void **handle) {
  const Platform *next = platform();
  if (!next) return ENOSYS;
  if (!signature || !handle) return next->init(signature, cookie, handle);
  auto opened = std::make_unique<Handle>();
  opened->adapter = recordedAdapter({signature->name, strnlen(signature->name, sizeof signature->name)});
  int status = next->init(signature, cookie, &opened->next);
  recording([&](const char *path) {
    appendRecorded(path, {.head = openHead(opened->adapter), .platform = status});
  });
  *handle = status == 0 ? opened.release() : opened->next;
  return status;
}

int invoke(void *handle, uint64_t instance, uint64_t callback, void *first, void *second) {
  if (!platform()) return ENOSYS;
  if (!handle) return platform()->invoke(handle, instance, callback, first, second);
  return forward(*static_cast<Handle *>(handle), instance, callback, first, second);
}

void destroy(void *handle) {
  if (!platform()) return;
  std::unique_ptr<Handle> gone(static_cast<Handle *>(handle));
  platform()->destroy(gone ? gone->next : nullptr);
}

}  // namespace sim::entry
