// SPDX-License-Identifier: GPL-3.0-or-later
// What the service commands see of an adapter: the info structure, VPD, SPI flash, I2C.
#pragma once

#include "model/state.h"

namespace sim {

/// The info structure that a dump of the adapter reads: byte offsets of what is known in it.
enum InfoOffset : size_t {
  kInfoGpioFunctionSwitch = 64,  ///< 32-bit words
  kInfoGpioLevel = 68,
  kInfoGpioValue = 72,
  kInfoGpioSetDefault = 76,
  kInfoSpiLog = 448,  ///< bytes: 1 on, 0 off
  kInfoKxf = 449,
  kInfoSriov = 450,
  kInfoVpdTarget = 451,   ///< byte: 1 SPI, 0 EEPROM
  kInfoDebugLevel = 488,  ///< 32-bit word: 1 errors only, 0 normal
};

/// The info structure as it stands, 4096 bytes.
std::vector<uint8_t> hbaInfo(const AdapterCore &core);

/// GPIO words, I2C devices and VPD of an adapter as it leaves the factory.
void setDiagnosticDefaults(AdapterCore &core);

/// What a loss of power does: GPIO pins go to their default, an NVMe-MI answer is lost.
void restartDiagnostics(AdapterCore &core);

/// Content of the SPI flash area, 4096 bytes, the same at any time.
std::vector<uint8_t> spiFlash(const AdapterCore &core);

void setI2c(AdapterCore &core, uint8_t device);
bool answersI2c(const AdapterCore &core, uint32_t device);

}  // namespace sim
