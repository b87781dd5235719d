// SPDX-License-Identifier: GPL-3.0-or-later
// The three functions of the VMkernel management library, over the simulated host of the directory
// that TRX_SIM_STATE names. The variable is read at each initialisation.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "entry/entry.h"
#include "host/directory.h"
#include "host/faults.h"
#include "platform/exchange.h"
#include "platform/signature.h"
#include "platform/trace.h"

namespace {

using namespace sim;

/// What a program holds between initialisation and destruction. `files` is null for the driver itself.
struct Handle {
  std::string directory;
  std::unique_ptr<AdapterFiles> files;
};

std::string stateDirectory() {
  const char *directory = std::getenv("TRX_SIM_STATE");
  return directory ? directory : "";
}

int listAdapters(const Handle &handle, uint32_t *count, nvmeAdapterInfo *entries) {
  traceText("global list");
  if (!count || !entries) return EFAULT;
  std::vector<std::string> names = adapterNames(handle.directory);
  for (size_t i = 0; i < names.size() && i < 64; ++i) {
    nvmeAdapterInfo entry{};
    putText(entry.name, names[i], '\0');
    putText(entry.signature, std::string(kSignaturePrefix) + names[i], '\0');
    entries[i] = entry;
  }
  *count = static_cast<uint32_t>(std::min<size_t>(names.size(), 64));
  return 0;
}

int setLogLevel(const uint32_t *log, const uint32_t *debug) {
  if (!log || !debug) return EFAULT;
  traceText("global loglevel " + std::to_string(*log) + " " + std::to_string(*debug));
  return 0;
}

int answer(Handle &handle, uint64_t instance, uint64_t callback, void *first, void *second) {
  if (instance != 0) recordViolation(handle.directory, "management call: the instance id is not 0");
  if (!handle.files) {
    if (callback == NVME_MGMT_GLOBAL_LIST_ADAPTERS)
      return listAdapters(handle, static_cast<uint32_t *>(first), static_cast<nvmeAdapterInfo *>(second));
    if (callback == NVME_MGMT_GLOBAL_SET_LOG_LEVEL)
      return setLogLevel(static_cast<uint32_t *>(first), static_cast<uint32_t *>(second));
  } else if (callback == NVME_MGMT_ADAPTER_IOCTL) {
    return adapterIoctl(*handle.files, static_cast<const uint32_t *>(first), static_cast<usr_io *>(second));
  }
  recordViolation(handle.directory,
                  "management call: callback " + std::to_string(callback) + " is not known");
  return ENOSYS;
}

}  // namespace

namespace sim::entry {

int init(vmk_MgmtApiSignature *signature, uint64_t, void **handle) {
  if (!signature || !handle) return EINVAL;
  std::string directory = stateDirectory();
  if (directory.empty() || !hostExists(directory)) return ENOENT;
  auto opened = std::make_unique<Handle>();
  opened->directory = directory;
  std::string adapter;
  if (std::string wrong = checkSignature(*signature, adapter); !wrong.empty()) {
    recordViolation(directory, "management signature: " + wrong);
    return EINVAL;
  }
  if (!adapter.empty()) opened->files = std::make_unique<AdapterFiles>(directory, adapter);
  *handle = opened.release();
  return 0;
}

int invoke(void *handle, uint64_t instance, uint64_t callback, void *first, void *second) {
  return handle ? answer(*static_cast<Handle *>(handle), instance, callback, first, second) : EINVAL;
}

void destroy(void *handle) { std::unique_ptr<Handle> gone(static_cast<Handle *>(handle)); }

}  // namespace sim::entry
