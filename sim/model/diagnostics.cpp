// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/diagnostics.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "model/devices.h"

namespace sim {
namespace {

void putWord(std::vector<uint8_t> &bytes, size_t offset, uint32_t word) {
  std::memcpy(&bytes[offset], &word, sizeof word);
}

/// The byte that makes the sum of an area 0.
uint8_t checksum(std::span<const uint8_t> area) {
  return static_cast<uint8_t>(-std::accumulate(area.begin(), area.end(), 0));
}

/// A text field: type 11b (8-bit ASCII) and its length, then the text.
void putField(std::vector<uint8_t> &area, const std::string &text) {
  area.push_back(static_cast<uint8_t>(0xC0 | text.size()));
  area.insert(area.end(), text.begin(), text.end());
}

/// A product area behind a common header (IPMI, Platform Management FRU Information Storage).
std::vector<uint8_t> factoryVpd(const AdapterCore &core) {
  constexpr uint8_t kNoMoreFields = 0xC1;
  std::vector<uint8_t> product = {1, 0, 0};  // format version, length in units of 8, English
  for (const std::string &text : {std::string("TRX"), fieldText(core.model), std::string("RA-4P"),
                                  std::string("A1"), fieldText(core.serial)})
    putField(product, text);
  product.push_back(kNoMoreFields);
  product.resize((product.size() + 8) / 8 * 8, 0);
  product[1] = static_cast<uint8_t>(product.size() / 8);
  product.back() = checksum(product);

  std::vector<uint8_t> header = {1, 0, 0, 0, 1, 0, 0, 0};  // the product area begins at 1 * 8
  header.back() = checksum(header);
  std::vector<uint8_t> vpd(header.size() + product.size());
  std::copy(product.begin(), product.end(), std::copy(header.begin(), header.end(), vpd.begin()));
  return vpd;
}

}  // namespace

std::vector<uint8_t> hbaInfo(const AdapterCore &core) {
  std::vector<uint8_t> info(TRX_PAGE_SIZE, 0);
  constexpr size_t kGpioWords[] = {kInfoGpioFunctionSwitch, kInfoGpioLevel, kInfoGpioValue,
                                   kInfoGpioSetDefault};
  for (size_t i = 0; i < std::size(kGpioWords); ++i) putWord(info, kGpioWords[i], core.gpio[i]);
  info[kInfoSpiLog] = core.dumpOn;
  info[kInfoKxf] = (core.switches & kSwitchFlashTool) != 0;
  info[kInfoSriov] = (core.switches & kSwitchSriov) != 0;
  info[kInfoVpdTarget] = core.vpdTarget;
  putWord(info, kInfoDebugLevel, core.debugLevel);
  return info;
}

void setDiagnosticDefaults(AdapterCore &core) {
  constexpr uint32_t kFactoryPins = 0x30;  // GPIO 4 and 5, which switch the power
  std::fill_n(core.gpio, std::size(core.gpioDefault), kFactoryPins);
  std::fill_n(core.gpioDefault, std::size(core.gpioDefault), kFactoryPins);
  for (int device : {0x50, 0x51, 0x68}) setI2c(core, static_cast<uint8_t>(device));
  std::vector<uint8_t> vpd = factoryVpd(core);
  std::copy_n(vpd.begin(), std::min(vpd.size(), sizeof core.vpd[0]), core.vpd[0]);
  std::fill(std::begin(core.vpd[1]), std::end(core.vpd[1]), uint8_t{0xFF});  // erased flash
}

void restartDiagnostics(AdapterCore &core) {
  std::copy(std::begin(core.gpioDefault), std::end(core.gpioDefault), core.gpio);
  core.miRequestLength = 0;
}

std::vector<uint8_t> spiFlash(const AdapterCore &core) {
  std::vector<uint8_t> flash(TRX_PAGE_SIZE);
  uint32_t value = 0x7472;
  for (uint8_t &byte : flash) {
    value = value * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(value >> 24);
  }
  std::string head = "TRX SPI " + fieldText(core.serial);
  std::copy(head.begin(), head.end(), flash.begin());
  return flash;
}

void setI2c(AdapterCore &core, uint8_t device) {
  core.i2c[device / 8] = static_cast<uint8_t>(core.i2c[device / 8] | 1 << device % 8);
}

bool answersI2c(const AdapterCore &core, uint32_t device) {
  return device < 256 && (core.i2c[device / 8] >> device % 8 & 1) != 0;
}

}  // namespace sim
