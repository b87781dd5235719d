// SPDX-License-Identifier: GPL-3.0-or-later
// What `info` lists: one object of a kind by its id, or all of them with a total. Everything goes to
// `stream`, the line about an object that could not be had included.
#ifndef TRX_CLI_LISTINGS_H
#define TRX_CLI_LISTINGS_H

#include "trx/trx_records.h"

namespace trx {

/// The id that stands for every object of a kind.
inline constexpr int kAllIds = 255;

/// Controllers. `kAllIds` is every one only when no adapter was named on the command line.
void getAdapterInfoSA(TRX_U8 id);

// Of the current adapter: physical disks, virtual disks.
void getHDInfoSA(TRX_U16 id);
void getLDInfoSA(TRX_U16 id);

/// Namespaces of the current adapter as the host sees them.
void getNSInfoSA(TRX_U16 id);

/// Namespaces of one virtual disk of the current adapter.
void getNSInfoOfVDSA(TRX_U16 id, TRX_U8 vd);

}  // namespace trx

#endif  // TRX_CLI_LISTINGS_H
