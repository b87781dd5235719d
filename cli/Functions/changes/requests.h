// SPDX-License-Identifier: GPL-3.0-or-later
// Which requests change something. Every request that the program can send has a row.
#ifndef TRX_CLI_REQUESTS_H
#define TRX_CLI_REQUESTS_H

#include <vector>

#include "Public/exchange.h"

namespace trx {

/// What a request is about.
enum class Kind { Adapter, Disk, Volume, Namespace };

struct Target {
  Kind kind;
  TRX_U32 id;  ///< zero-based; of a namespace its NSID
};

struct RequestRow {
  const char *name;
  bool changes;
  /// What becomes of each of `losers`, after its name; null where nothing is lost.
  const char *loss;
  std::vector<Target> (*targets)(const Wire &wire);
  std::vector<Target> (*losers)(const Wire &wire) = targets;
};

/// The row of a request; null for one that is not known, which is taken for one that changes something.
const RequestRow *rowOf(const Wire &wire);

inline bool changesSomething(const Wire &wire) {
  const RequestRow *row = rowOf(wire);
  return !row || row->changes;
}

}  // namespace trx

#endif  // TRX_CLI_REQUESTS_H
