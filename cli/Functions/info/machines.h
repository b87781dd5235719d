// SPDX-License-Identifier: GPL-3.0-or-later
// What the lines of a command can only hint at, told to machines. It is read for them alone: people see
// nothing of it, and what goes wrong is a warning.
#ifndef TRX_CLI_MACHINES_H
#define TRX_CLI_MACHINES_H

#include <functional>
#include <vector>

#include "trx/trx_records.h"

namespace trx {

/// `data.virtual_disk`: a volume with its activity. Only its id where there is none.
void tellVolume(TRX_U8 adapter, TRX_U16 id);

/// The volumes that were there before one is made.
class VolumesBefore {
 public:
  VolumesBefore();
  /// `data.virtual_disk`, null where it was not found, and its `data.namespaces`.
  /// @param members bit n: PD n
  void tellNew(TRX_U32 members) const;

 private:
  std::vector<bool> taken_;  ///< by id; also one that would not be read
};

/// `data.namespaces`: those of the current adapter that a command has made.
void tellNewNamespaces(const std::function<bool(const NVME_NS_Info &)> &isNew);

}  // namespace trx

#endif  // TRX_CLI_MACHINES_H
