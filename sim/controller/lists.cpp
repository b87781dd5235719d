// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/lists.h"

namespace sim {

RequestHeader listHeader(Context &context, const PairCall &call) {
  auto header = recordFrom<RequestHeader>(call.data);
  bool clean = header.size == 0 && header.reserved1 == 0;
  for (TRX_U8 byte : header.reserved2) clean = clean && byte == 0;
  if (!clean) context.breach("list request: size or reserved bytes of the header are not 0");
  return header;
}

std::vector<uint16_t> diskIds(const Adapter &adapter) {
  std::vector<uint16_t> ids;
  for (const Disk &disk : adapter.disks)
    if (disk.present) ids.push_back(disk.id);
  return ids;
}

}  // namespace sim
