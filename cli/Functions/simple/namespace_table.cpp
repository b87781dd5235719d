// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/simple/namespace_table.h"

#include <cstdio>

#include "Functions/info/info.h"
#include "Public/common.h"

namespace trx {

NamespaceTable readNamespaceTable() {
  std::vector<NVME_NS_Info> entries;
  if (summaryOf(gCurrentAdapter).MaxNS != 0) readHostNamespaces(gCurrentAdapter, entries);
  NamespaceTable table;
  for (const NVME_NS_Info &entry : entries) {
    if (entry.Status == 0) continue;
    NamespaceRow row{entry.NSID, {}};
    if (readEui64(gCurrentAdapter, entry.NSID, row.eui64) != 0) complainIdentify();
    table.push_back(row);
  }
  return table;
}

int32_t getNSIDfromEUI64(const NamespaceTable &table, const char *text) {
  if (summaryOf(gCurrentAdapter).MaxNS == 0) {
    std::fputs("Get MaxNS from adapter info fail.\n", stream);
    return -1;
  }
  for (const NamespaceRow &row : table) {
    // All zeros is what a namespace without an EUI-64 shows; it names none.
    if (row.eui64 != Eui64{} && toText(row.eui64) == text) return row.NSID;
  }
  return -1;
}

}  // namespace trx
