// SPDX-License-Identifier: GPL-3.0-or-later
#include "entry/entry.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <exception>

namespace {

/// Runs `body`; what goes wrong with the host's own files is told on standard error, once per call.
template <typename Body>
int guarded(Body body) {
  try {
    return body();
  } catch (const std::exception &error) {
    std::fprintf(stderr, "trx_sim: %s\n", error.what());
    return EIO;
  }
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int vmk_MgmtUserInit(vmk_MgmtApiSignature *signature, uint64_t cookie,
                                                            void **handle) {
  return guarded([&] { return sim::entry::init(signature, cookie, handle); });
}

__attribute__((visibility("default"))) int vmk_MgmtUserCallbackInvokeInt(void *handle, uint64_t instance,
                                                                         uint64_t callback, ...) {
  va_list arguments;
  va_start(arguments, callback);
  void *first = va_arg(arguments, void *);
  void *second = va_arg(arguments, void *);
  va_end(arguments);
  return guarded([&] { return sim::entry::invoke(handle, instance, callback, first, second); });
}

__attribute__((visibility("default"))) void vmk_MgmtUserDestroy(void *handle) { sim::entry::destroy(handle); }

}  // extern "C"
