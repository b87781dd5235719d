// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/handlers.h"

namespace trx {

const char hotkey_help[] = R"(
hotkey [-h]

Options:
    -h, --help

Examples:
    hotkey
    Display this page.

)";

int32_t doHotkey(int, char **, const Command_Info *row) {
  answerHelp(row);
  return 0;
}

}  // namespace trx
