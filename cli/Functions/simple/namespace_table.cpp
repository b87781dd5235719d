// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/namespace_table.h"

#include <algorithm>

#include "Functions/info/info.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/report.h"

namespace trx {

bool NamespaceTable::has(TRX_U8 nsid) const {
  return std::ranges::find(rows, nsid, &NamespaceRow::NSID) != rows.end();
}

NamespaceTable readNamespaceTable() {
  const Forgiving forgiving;
  std::vector<NVME_NS_Info> entries;
  NamespaceTable table;
  if (summaryOf(gCurrentAdapter).MaxNS != 0 && readHostNamespaces(gCurrentAdapter, entries) != 0) {
    table.failure = lastFailure();
    // People are not told of it.
    if (gathersFacts()) tellWarning("Namespaces would not be read: %s.\n", textOf(table.failure));
  }
  for (const NVME_NS_Info &entry : entries) {
    if (entry.Status == 0) continue;
    NamespaceRow row{entry.NSID, {}};
    if (readEui64(gCurrentAdapter, entry.NSID, row.eui64) != 0) complainIdentify();
    if (lastFailure()) table.failure = lastFailure();
    table.rows.push_back(row);
  }
  return table;
}

int32_t getNSIDfromEUI64(const NamespaceTable &table, const char *text) {
  if (summaryOf(gCurrentAdapter).MaxNS == 0) {
    tellFailed("Get MaxNS from adapter info fail.\n");
    return -1;
  }
  for (const NamespaceRow &row : table.rows) {
    // All zeros is what a namespace without an EUI-64 shows; it names none.
    if (row.eui64 != Eui64{} && toText(row.eui64) == text) return row.NSID;
  }
  note(table.failure);
  return -1;
}

}  // namespace trx
