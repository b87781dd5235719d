// SPDX-License-Identifier: GPL-3.0-or-later
#include "fake_platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "device/vmware/native/user/vmkmgmt.h"

FakePlatform &fakePlatform() {
  static FakePlatform platform;
  return platform;
}

void FakePlatform::addAdapter(const std::string &name) {
  nvmeAdapterInfo info{};
  name.copy(info.name, sizeof info.name);
  ("mgmt-" + name).copy(info.signature, sizeof info.signature);
  adapters.push_back(info);
  count = static_cast<uint32_t>(adapters.size());
}

namespace {

bool zeroFrom(const uint8_t *data, size_t begin, size_t end) {
  return begin >= end || std::all_of(data + begin, data + end, [](uint8_t byte) { return byte == 0; });
}

Reply nextReply(FakePlatform &platform, const Command &command) {
  if (!platform.replies.empty()) {
    Reply reply = platform.replies.front();
    platform.replies.pop_front();
    return reply;
  }
  if (platform.answer) return platform.answer(command);
  ++platform.unexpected;
  return {.platformStatus = 71};
}

int runCommand(const std::string &signature, int code, usr_io *io) {
  FakePlatform &platform = fakePlatform();
  Command command{.signature = signature, .code = code, .io = *io, .sent = {}, .aligned = false};
  auto *data = reinterpret_cast<uint8_t *>(io->addr);
  const bool toController = io->direction == TRX_TO_CONTROLLER;
  if (toController && data) command.sent.assign(data, data + io->length);
  command.aligned = io->addr % 4096 == 0 && (!data || zeroFrom(data, toController ? io->length : 0, 4096));
  const Reply reply = nextReply(platform, command);
  platform.commands.push_back(command);
  if (!toController && !reply.data.empty()) std::memcpy(data, reply.data.data(), reply.data.size());
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
  FakePlatform &platform = fakePlatform();
  ++platform.opens;
  platform.signature = inNumbers(*signature);
  const std::string name = signature->name;
  if (name != "nvmeMgmt" && platform.openStatus) return platform.openStatus;
  ++platform.openHandles;
  *handle = new std::string(name);
  return 0;
}

int vmk_MgmtUserCallbackInvokeInt(void *handle, uint64_t, uint64_t callbackId, ...) {
  FakePlatform &platform = fakePlatform();
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
  std::memcpy(first, &platform.count, sizeof platform.count);
  std::copy(platform.adapters.begin(), platform.adapters.end(), static_cast<nvmeAdapterInfo *>(second));
  return platform.listStatus;
}

void vmk_MgmtUserDestroy(void *handle) {
  --fakePlatform().openHandles;
  delete static_cast<std::string *>(handle);
}

}  // extern "C"
