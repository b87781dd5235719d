// SPDX-License-Identifier: GPL-3.0-or-later
// The objects that are there, for somebody who is typing an id.
#ifndef TRX_CLI_PRESENT_H
#define TRX_CLI_PRESENT_H

#include <string>
#include <vector>

#include "Public/options.h"

namespace trx {

/// The ids of the objects of the current adapter, in the user's counting and in their order. They are read
/// once until they are forgotten; the first one that would not be read ends the list, for somebody is
/// waiting.
const std::vector<std::string> &presentIds(Objects objects);

/// What was read holds no longer: a command may have changed it.
void forgetPresentIds();

}  // namespace trx

#endif  // TRX_CLI_PRESENT_H
