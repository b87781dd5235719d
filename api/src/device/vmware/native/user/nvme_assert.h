// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef TRX_DEVICE_VMWARE_NVME_ASSERT_H
#define TRX_DEVICE_VMWARE_NVME_ASSERT_H

#include <cstdlib>

#include "function/message.h"

/// Abort on a programming error, in every build type, with `text` as the failed expression.
#define NVME_ASSERT(condition, text)                                              \
  do {                                                                            \
    if (!(condition)) {                                                           \
      printError(TRX_MESSAGE_ERROR, "%s:%d: %s: Assertion `%s' failed.\n",        \
                 "device/vmware/native/user/nvme_lib", __LINE__, __func__, text); \
      std::abort();                                                               \
    }                                                                             \
  } while (false)

#endif  // TRX_DEVICE_VMWARE_NVME_ASSERT_H
