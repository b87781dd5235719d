// SPDX-License-Identifier: GPL-3.0-or-later
// Serial numbers, taken out of what is written down.
#pragma once

#include <cstdint>
#include <span>

#include "nvme_driver.h"

namespace sim {

/// Puts an X over each character of the serial numbers in data from the controller. Blanks and zeros
/// behind a serial number stay, so that an empty field stays empty.
/// `lastSend` is the envelope that a pair receive answers, or its first bytes.
void maskSerials(const usr_io &uio, std::span<const uint8_t> lastSend, std::span<uint8_t> data);

/// Leaves of an SMBIOS file the entry point and the System Slots; every other structure keeps its
/// header and lengths only.
void maskSmbios(std::span<uint8_t> file);

}  // namespace sim
