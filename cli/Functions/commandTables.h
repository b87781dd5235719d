// SPDX-License-Identifier: GPL-3.0-or-later
// The two command tables: which words there are, who answers them, and what completion knows of each.
#ifndef TRX_CLI_COMMAND_TABLES_H
#define TRX_CLI_COMMAND_TABLES_H

#include "Public/common.h"

namespace trx {

extern const Command_Info *const generalCmdTableV1;
extern const Command_Info hiddenCmdTableV1[];  ///< dispatched, never listed
uint16_t generalCmdTableV1Size();
uint16_t hiddenCmdTableV1Size();

/// Let dispatch and `help` walk these tables.
void useCommandTables();

/// The word of a row of the general table; null past the last.
const char *generalCommandWord(size_t index);
/// The word of one of our own commands; null past the last.
const char *ownCommandWord(size_t index);
/// The options of a row of the general table or of our own; null for any other row.
const OptionList *optionsOf(const Command_Info *row);

}  // namespace trx

#endif  // TRX_CLI_COMMAND_TABLES_H
