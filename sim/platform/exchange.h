// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/state_file.h"
#include "nvme_driver.h"

namespace sim {

/// The adapter's ioctl callback: `code` 1 is an admin command, 2 an I/O command. Fills in the
/// completion and the driver's status. Returns the platform status, 0 when the call itself went well.
int adapterIoctl(AdapterFiles &files, const uint32_t *code, usr_io *uio);

}  // namespace sim
