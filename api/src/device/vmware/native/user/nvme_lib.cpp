// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/vmware/native/user/nvme_lib.h"

#include <dlfcn.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <string_view>

#include "device/vmware/native/user/nvme_assert.h"
#include "device/vmware/native/user/vmkmgmt.h"
#include "function/message.h"

namespace {

// The platform's records as its library has them.
static_assert(sizeof(vmk_MgmtCallbackInfo) == 80 && offsetof(vmk_MgmtCallbackInfo, callback) == 8 &&
              offsetof(vmk_MgmtCallbackInfo, synchronous) == 16 &&
              offsetof(vmk_MgmtCallbackInfo, numParms) == 17 &&
              offsetof(vmk_MgmtCallbackInfo, parmSizes) == 24 &&
              offsetof(vmk_MgmtCallbackInfo, parmTypes) == 56 &&
              offsetof(vmk_MgmtCallbackInfo, callbackId) == 72);
static_assert(sizeof(vmk_MgmtApiSignature) == 80 && offsetof(vmk_MgmtApiSignature, name) == 4 &&
              offsetof(vmk_MgmtApiSignature, vendor) == 36 &&
              offsetof(vmk_MgmtApiSignature, numCallbacks) == 68 &&
              offsetof(vmk_MgmtApiSignature, callbacks) == 72);

constexpr uint64_t kInstance = 0;
constexpr char kLibrary[] = "libvmkmgmt.so";
constexpr char kGlobalName[] = "nvmeMgmt";
constexpr char kVendor[] = "VMware";

constexpr vmk_MgmtCallbackInfo callback(uint64_t id, size_t size1, uint32_t type1, size_t size2,
                                        uint32_t type2) {
  return {.location = VMK_MGMT_CALLBACK_KERNEL,
          .callback = nullptr,
          .synchronous = 1,
          .numParms = 2,
          .parmSizes = {size1, size2},
          .parmTypes = {type1, type2},
          .callbackId = id};
}

// clang-format off
vmk_MgmtCallbackInfo globalCallbacks[] = {
    callback(NVME_MGMT_GLOBAL_LIST_ADAPTERS, 4, VMK_MGMT_PARMTYPE_OUT, sizeof(nvme_adapter_list::adapters), VMK_MGMT_PARMTYPE_OUT),
    callback(NVME_MGMT_GLOBAL_SET_LOG_LEVEL, 4, VMK_MGMT_PARMTYPE_IN,  4,                                   VMK_MGMT_PARMTYPE_IN),
};
vmk_MgmtCallbackInfo nvmeCallbacks[] = {
    callback(NVME_MGMT_ADAPTER_QUERY,        4, VMK_MGMT_PARMTYPE_IN,  208,                                 VMK_MGMT_PARMTYPE_OUT),
    callback(NVME_MGMT_ADAPTER_IOCTL,        4, VMK_MGMT_PARMTYPE_IN,  sizeof(usr_io),                      VMK_MGMT_PARMTYPE_INOUT),
};
// clang-format on

template <size_t Size>
std::string_view bounded(const char (&text)[Size]) {
  return {text, strnlen(text, Size)};
}

template <size_t Count>
vmk_MgmtApiSignature signatureOf(std::string_view name, vmk_MgmtCallbackInfo (&callbacks)[Count]) {
  vmk_MgmtApiSignature signature{};
  signature.version = VMK_MGMT_VERSION;
  name.copy(signature.name, sizeof signature.name - 1);
  std::memcpy(signature.vendor, kVendor, sizeof kVendor);
  signature.numCallbacks = Count;
  signature.callbacks = callbacks;
  return signature;
}

struct Platform {
  vmk_MgmtUserInit_t init;
  vmk_MgmtUserCallbackInvokeInt_t invoke;
  vmk_MgmtUserDestroy_t destroy;
};

template <typename Function>
void find(void *library, const char *name, Function *function) {
  *function = reinterpret_cast<Function>(dlsym(library, name));
  if (!*function) printError(TRX_MESSAGE_ERROR, "%s has no %s.\n", kLibrary, name);
}

Platform load() {
  Platform loaded{};
  void *library = dlopen(kLibrary, RTLD_NOW);
  if (!library) {
    const char *reason = dlerror();
    printError(TRX_MESSAGE_ERROR, "%s\n", reason ? reason : kLibrary);
    return loaded;
  }
  find(library, "vmk_MgmtUserInit", &loaded.init);
  find(library, "vmk_MgmtUserCallbackInvokeInt", &loaded.invoke);
  find(library, "vmk_MgmtUserDestroy", &loaded.destroy);
  return loaded;
}

// Loaded on first use and for good; null on a host without it, where help and version still work.
const Platform *platform() {
  static const Platform loaded = load();
  return loaded.init && loaded.invoke && loaded.destroy ? &loaded : nullptr;
}

// One invocation of a callback of the whole driver, between opening and closing its interface.
int invokeGlobal(uint64_t callbackId, void *parameter1, void *parameter2) {
  const Platform *vmk = platform();
  if (!vmk) return -ENOSYS;
  vmk_MgmtApiSignature globalSignature = signatureOf(kGlobalName, globalCallbacks);
  void *management = nullptr;
  if (const int status = vmk->init(&globalSignature, 0, &management)) return status;
  const int status = vmk->invoke(management, kInstance, callbackId, parameter1, parameter2);
  vmk->destroy(management);
  return status;
}

int passthru(nvme_handle *handle, int cmd, usr_io *uio) {
  const int status = Nvme_Ioctl(handle, cmd, uio);
  return status ? status : static_cast<int>(uio->status);
}

}  // namespace

int Nvme_GetAdapterList(nvme_adapter_list *list) {
  NVME_ASSERT(list != nullptr, "list != ((void *)0)");
  *list = {};
  // Copies, because the fields of a packed record may not be pointed into.
  TRX_U32 count = 0;
  const int status = invokeGlobal(NVME_MGMT_GLOBAL_LIST_ADAPTERS, &count, list->adapters);
  if (status && platform()) {
    printError(TRX_MESSAGE_ERROR, "The platform does not list its NVMe adapters: status %d (%s).\n", status,
               TRX_StatusText(static_cast<TRX_U32>(status), TRX_STATUS_PLATFORM));
  }
  list->count = status ? 0 : std::min(count, static_cast<TRX_U32>(std::size(list->adapters)));
  return status;
}

int Nvme_SetLogLevel(int loglevel, int debuglevel) {
  return invokeGlobal(NVME_MGMT_GLOBAL_SET_LOG_LEVEL, &loglevel, &debuglevel);
}

nvme_handle *Nvme_Open(const nvme_adapter_list *adapters, const char *name) {
  NVME_ASSERT(adapters != nullptr, "adapters != ((void *)0)");
  NVME_ASSERT(name != nullptr, "name != ((void *)0)");
  const auto *end = adapters->adapters + std::min<size_t>(adapters->count, std::size(adapters->adapters));
  const auto *entry =
      std::find_if(adapters->adapters, end, [&](const auto &each) { return bounded(each.name) == name; });
  const Platform *vmk = platform();
  if (entry == end || !vmk) return nullptr;

  auto handle = std::unique_ptr<nvme_handle>(new (std::nothrow) nvme_handle{});
  if (!handle) return nullptr;
  std::memcpy(handle->name, entry->name, sizeof handle->name);
  vmk_MgmtApiSignature signature = signatureOf(bounded(entry->signature), nvmeCallbacks);
  if (vmk->init(&signature, 0, &handle->handle) != 0) return nullptr;
  return handle.release();
}

void Nvme_Close(nvme_handle *handle) {
  NVME_ASSERT(handle, "handle");
  // The object stays when the platform gave no handle of its own; meant.
  if (!handle->handle) return;
  platform()->destroy(handle->handle);
  delete handle;
}

int Nvme_Ioctl(nvme_handle *handle, int cmd, usr_io *uio) {
  NVME_ASSERT(handle, "handle");
  NVME_ASSERT(uio, "uio");
  return platform()->invoke(handle->handle, kInstance, NVME_MGMT_ADAPTER_IOCTL, &cmd, uio);
}

int Nvme_AdminPassthru(nvme_handle *handle, usr_io *uio) {
  return passthru(handle, NVME_IOCTL_ADMIN_CMD, uio);
}

int Nvme_IOPassthru(nvme_handle *handle, usr_io *uio) { return passthru(handle, NVME_IOCTL_IO_CMD, uio); }

int Nvme_AdminPassthru_error(nvme_handle *handle, int cmd, usr_io *uio) {
  return Nvme_Ioctl(handle, cmd, uio);
}
