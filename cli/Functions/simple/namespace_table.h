// SPDX-License-Identifier: GPL-3.0-or-later
// The namespaces of the current adapter with their EUI-64s, by which a user may name them.
#ifndef TRX_CLI_NAMESPACE_TABLE_H
#define TRX_CLI_NAMESPACE_TABLE_H

#include <vector>

#include "Public/objects.h"
#include "Public/outcome.h"

namespace trx {

struct NamespaceRow {
  TRX_U8 NSID;
  Eui64 eui64;  ///< zeros where it could not be read
};

/// A row per namespace in use.
struct NamespaceTable {
  std::vector<NamespaceRow> rows;
  Failure failure;  ///< of what is missing in it; nobody has noted it yet

  bool has(TRX_U8 nsid) const;
};

/// Read the list of namespaces, and identify each one. Empty when the list cannot be had; prints
/// "\nFailed to get primary controller.\n" for a namespace that cannot be identified. Most commands do not
/// need it: what goes wrong is a warning.
NamespaceTable readNamespaceTable();

/// Id of the namespace with this EUI-64, 16 lower-case digits; -1 when there is none or, which is noted, when
/// the table lacks something. Prints "Get MaxNS from adapter info fail.\n" for an adapter that can have none.
int32_t getNSIDfromEUI64(const NamespaceTable &table, const char *text);

}  // namespace trx

#endif  // TRX_CLI_NAMESPACE_TABLE_H
