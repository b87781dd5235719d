// SPDX-License-Identifier: GPL-3.0-or-later
// The objects that requests are about, as their listings show them.
#ifndef TRX_CLI_CHANGES_OBJECTS_H
#define TRX_CLI_CHANGES_OBJECTS_H

#include <string>

#include "Functions/changes/requests.h"
#include "Public/document.h"

namespace trx {

/// Read an object of the current adapter, and gather the facts of its listing.
/// @return what hindered it
Failure gatherObject(const Target &target, Document &facts);

/// "VD 1" and its like, in the user's counting.
std::string nameOf(const Target &target);

/// The same with what a user knows it by: its name or serial number, its size, its namespaces.
std::string describe(const Target &target);

}  // namespace trx

#endif  // TRX_CLI_CHANGES_OBJECTS_H
