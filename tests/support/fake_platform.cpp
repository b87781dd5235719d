// SPDX-License-Identifier: GPL-3.0-or-later
#include "fake_platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "device/vmware/native/user/vmkmgmt.h"

FakePlatform platform;

void FakePlatform::addAdapter(const std::string &name) {
  nvmeAdapterInfo &info = adapters.emplace_back();
  name.copy(info.name, sizeof info.name);
  ("mgmt-" + name).copy(info.signature, sizeof info.signature);
}

namespace {

int runCommand(const std::string &signature, int code, usr_io *io) {
  Command command{.signature = signature, .code = code, .io = *io};
  auto *data = reinterpret_cast<uint8_t *>(io->addr);
  const bool toController = io->direction == TRX_TO_CONTROLLER;
  if (toController && data) command.sent.assign(data, data + io->length);
  const long used = toController ? std::min(io->length, 4096u) : 0;
  command.aligned = io->addr % 4096 == 0 && (!data || std::count(data + used, data + 4096, 0) == 4096 - used);
  const Reply reply = platform.replies.empty() ? platform.answer(command) : platform.replies.front();
  if (!platform.replies.empty()) platform.replies.pop_front();
  platform.commands.push_back(command);
  if (!toController) std::copy(reply.data.begin(), reply.data.end(), data);
  io->status = reply.driverStatus;
  io->comp.SCT = reply.sct & 7;
  io->comp.SC = reply.sc;
  return reply.platformStatus;
}

std::string inNumbers(const vmk_MgmtApiSignature &signature) {
  char text[120];
  snprintf(text, sizeof text, "%x %.32s %.32s\n", signature.version, signature.name, signature.vendor);
  std::string all = text;
  for (uint32_t i = 0; i < signature.numCallbacks; ++i) {
    const vmk_MgmtCallbackInfo &each = signature.callbacks[i];
    snprintf(text, sizeof text, "%lu: at %u%s, %d, %zu/%u and %zu/%u of %d\n", each.callbackId, each.location,
             each.callback ? " with a callback" : "", each.synchronous, each.parmSizes[0], each.parmTypes[0],
             each.parmSizes[1], each.parmTypes[1], each.numParms);
    all += text;
  }
  return all;
}

}  // namespace

extern "C" {

int vmk_MgmtUserInit(vmk_MgmtApiSignature *signature, uint64_t, void **handle) {
  ++platform.opens;
  platform.signature = inNumbers(*signature);
  if (platform.openStatus && std::strcmp(signature->name, "nvmeMgmt") != 0) return platform.openStatus;
  ++platform.openHandles;
  *handle = new std::string(signature->name);
  return 0;
}

int vmk_MgmtUserCallbackInvokeInt(void *handle, uint64_t, uint64_t callbackId, ...) {
  va_list arguments;
  va_start(arguments, callbackId);
  void *first = va_arg(arguments, void *);
  void *second = va_arg(arguments, void *);
  va_end(arguments);
  const std::string &name = *static_cast<std::string *>(handle);
  if (name != "nvmeMgmt") return runCommand(name, *static_cast<int *>(first), static_cast<usr_io *>(second));
  if (callbackId == NVME_MGMT_GLOBAL_SET_LOG_LEVEL) {
    platform.levels = {*static_cast<int *>(first), *static_cast<int *>(second)};
    return platform.listStatus;
  }
  const auto &all = platform.adapters;
  *static_cast<uint32_t *>(first) = static_cast<uint32_t>(all.size());
  std::copy_n(all.begin(), std::min<size_t>(all.size(), 64), static_cast<nvmeAdapterInfo *>(second));
  return platform.listStatus;
}

void vmk_MgmtUserDestroy(void *handle) {
  --platform.openHandles;
  delete static_cast<std::string *>(handle);
}

}  // extern "C"
