// SPDX-License-Identifier: GPL-3.0-or-later
// Reads of the configuration space of a PCIe device behind the controller, made through the
// controller's programmed I/O registers.
#ifndef TRX_CLI_PCIE_CONFIG_H
#define TRX_CLI_PCIE_CONFIG_H

#include <optional>

#include "trx/trx_records.h"

namespace trx {

/// Access to the 32-bit registers that serve one device.
class RegisterAccess {
 public:
  virtual ~RegisterAccess() = default;
  /// @return the register's value; 0 when it cannot be read
  virtual TRX_U32 read(TRX_U32 address) = 0;
  virtual void write(TRX_U32 address, TRX_U32 data) = 0;
};

/// Capability identifiers (PCI Express base standard).
enum : TRX_U32 {
  kCapabilityPciExpress = 0x10,
  kExtendedCapabilityErrorReporting = 0x01,
};

/// The configuration space of one device. Failed reads say why on `stream`.
class PcieConfig {
 public:
  /// @param device zero-based number of the device behind the controller
  PcieConfig(RegisterAccess &registers, TRX_U8 device) : registers_(registers), device_(device) {}

  /// Read the dword at a byte offset; the low two bits of the offset do not count.
  /// @param[out] data untouched on failure
  /// @return whether the device answered
  bool pio_CfgRd(TRX_U32 offset, TRX_U32 *data);

  /// Byte offset of a standard capability; 0 when the device has none, nothing when a read fails.
  std::optional<TRX_U32> findCapability(TRX_U32 id);

  /// The same for an extended capability.
  std::optional<TRX_U32> findExtendedCapability(TRX_U32 id);

 private:
  struct List;
  std::optional<TRX_U32> find(const List &list, TRX_U32 id);
  bool completed();

  RegisterAccess &registers_;
  TRX_U8 device_;
};

}  // namespace trx

#endif  // TRX_CLI_PCIE_CONFIG_H
