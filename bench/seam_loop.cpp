// SPDX-License-Identifier: GPL-3.0-or-later
// The bare loop that the program is compared with: opens the semaphores of the controllers and looks at them,
// makes the calls of a recorded trace again, through the same three functions of the platform library, with
// an adapter opened and closed around each command, and does nothing else.
//
//   seam_loop TRACE [IMAGE]     IMAGE holds the data of Firmware Image Download (opcode 11h)
#include <dlfcn.h>
#include <fcntl.h>
#include <semaphore.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "device/vmware/native/user/nvme_driver.h"
#include "device/vmware/native/user/vmkmgmt.h"

namespace {

struct Platform {
  vmk_MgmtUserInit_t init;
  vmk_MgmtUserCallbackInvokeInt_t invoke;
  vmk_MgmtUserDestroy_t destroy;
};

Platform load() {
  void *library = dlopen("libvmkmgmt.so", RTLD_NOW);
  if (!library) {
    std::fprintf(stderr, "seam_loop: %s\n", dlerror());
    std::exit(1);
  }
  return {reinterpret_cast<vmk_MgmtUserInit_t>(dlsym(library, "vmk_MgmtUserInit")),
          reinterpret_cast<vmk_MgmtUserCallbackInvokeInt_t>(dlsym(library, "vmk_MgmtUserCallbackInvokeInt")),
          reinterpret_cast<vmk_MgmtUserDestroy_t>(dlsym(library, "vmk_MgmtUserDestroy"))};
}

vmk_MgmtCallbackInfo callback(uint64_t id, size_t size1, uint32_t type1, size_t size2, uint32_t type2) {
  vmk_MgmtCallbackInfo info{};
  info.location = VMK_MGMT_CALLBACK_KERNEL;
  info.synchronous = 1;
  info.numParms = 2;
  info.parmSizes[0] = size1;
  info.parmSizes[1] = size2;
  info.parmTypes[0] = type1;
  info.parmTypes[1] = type2;
  info.callbackId = id;
  return info;
}

vmk_MgmtApiSignature signature(const char *name, vmk_MgmtCallbackInfo *callbacks) {
  vmk_MgmtApiSignature made{};
  made.version = VMK_MGMT_VERSION;
  std::snprintf(made.name, sizeof made.name, "%s", name);
  std::snprintf(made.vendor, sizeof made.vendor, "VMware");
  made.numCallbacks = 2;
  made.callbacks = callbacks;
  return made;
}

nvme_adapter_list listAdapters(const Platform &platform) {
  vmk_MgmtCallbackInfo callbacks[] = {
      callback(NVME_MGMT_GLOBAL_LIST_ADAPTERS, 4, VMK_MGMT_PARMTYPE_OUT, 5120, VMK_MGMT_PARMTYPE_OUT),
      callback(NVME_MGMT_GLOBAL_SET_LOG_LEVEL, 4, VMK_MGMT_PARMTYPE_IN, 4, VMK_MGMT_PARMTYPE_IN)};
  vmk_MgmtApiSignature global = signature("nvmeMgmt", callbacks);
  nvme_adapter_list list{};
  void *handle = nullptr;
  if (platform.init(&global, 0, &handle) == 0) {
    platform.invoke(handle, 0, NVME_MGMT_GLOBAL_LIST_ADAPTERS, &list.count, list.adapters);
    platform.destroy(handle);
  }
  return list;
}

struct Exchange {
  char adapter[32];
  usr_io io;
};

bool parse(const char *line, Exchange &exchange) {
  unsigned op, direction, length;
  nvme_cmd &cmd = exchange.io.cmd;
  exchange.io = {};
  int fields = std::sscanf(line,
                           "%31s admin op=%x nsid=%x cdw2=%x cdw10=%x cdw11=%x cdw12=%x cdw13=%x cdw14=%x "
                           "cdw15=%x dir=%u len=%u",
                           exchange.adapter, &op, &cmd.nsid, &cmd.cdw2, &cmd.cdw10, &cmd.cdw11, &cmd.cdw12,
                           &cmd.cdw13, &cmd.cdw14, &cmd.cdw15, &direction, &length);
  if (fields != 12) return false;
  cmd.opcode = static_cast<uint8_t>(op);
  exchange.io.direction = static_cast<uint8_t>(direction);
  exchange.io.length = length;
  exchange.io.timeoutUs = op == 0x10 ? 200000000 : 100000000;
  return true;
}

std::vector<Exchange> readTrace(const char *path) {
  std::vector<Exchange> exchanges;
  std::FILE *file = std::fopen(path, "r");
  char line[8192];
  Exchange exchange;
  while (file && std::fgets(line, sizeof line, file)) {
    if (parse(line, exchange)) exchanges.push_back(exchange);
  }
  if (file) std::fclose(file);
  return exchanges;
}

std::vector<unsigned char> readImage(const char *path) {
  std::vector<unsigned char> image;
  std::FILE *file = std::fopen(path, "rb");
  unsigned char piece[65536];
  for (size_t got; file && (got = std::fread(piece, 1, sizeof piece, file)) > 0;) {
    image.insert(image.end(), piece, piece + got);
  }
  if (file) std::fclose(file);
  return image;
}

}  // namespace

int main(int argc, char **argv) {
  if (argc < 2) return 2;
  Platform platform = load();
  nvme_adapter_list list = listAdapters(platform);
  for (uint32_t i = 0; i < list.count; ++i) {
    const char name[] = {'t', 'r', 'x', 'd', static_cast<char>('0' + i), '\0'};
    sem_t *semaphore = sem_open(name, O_RDWR);
    int value;
    if (semaphore != SEM_FAILED) sem_getvalue(semaphore, &value);
  }
  std::vector<Exchange> exchanges = readTrace(argv[1]);
  std::vector<unsigned char> image = argc > 2 ? readImage(argv[2]) : std::vector<unsigned char>{};
  std::unique_ptr<void, decltype(&std::free)> page(std::aligned_alloc(4096, 4096), &std::free);

  vmk_MgmtCallbackInfo callbacks[] = {
      callback(NVME_MGMT_ADAPTER_QUERY, 4, VMK_MGMT_PARMTYPE_IN, 208, VMK_MGMT_PARMTYPE_OUT),
      callback(NVME_MGMT_ADAPTER_IOCTL, 4, VMK_MGMT_PARMTYPE_IN, sizeof(usr_io), VMK_MGMT_PARMTYPE_INOUT)};
  unsigned long failed = 0;
  for (Exchange &exchange : exchanges) {
    std::memset(page.get(), 0, 4096);
    size_t at = size_t{exchange.io.cmd.cdw11} * 4;
    if (exchange.io.cmd.opcode == 0x11 && at + 4096 <= image.size())
      std::memcpy(page.get(), &image[at], 4096);
    exchange.io.addr = exchange.io.length ? reinterpret_cast<uint64_t>(page.get()) : 0;
    for (uint32_t i = 0; i < list.count; ++i) {
      if (std::strcmp(list.adapters[i].name, exchange.adapter) != 0) continue;
      vmk_MgmtApiSignature adapter = signature(list.adapters[i].signature, callbacks);
      void *handle = nullptr;
      uint32_t code = NVME_IOCTL_ADMIN_CMD;
      if (platform.init(&adapter, 0, &handle) != 0) return 1;
      failed += platform.invoke(handle, 0, NVME_MGMT_ADAPTER_IOCTL, &code, &exchange.io) != 0;
      platform.destroy(handle);
      break;
    }
  }
  std::printf("%zu exchanges, %lu failed\n", exchanges.size(), failed);
}
