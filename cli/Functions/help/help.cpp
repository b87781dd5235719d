// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/help/help.h"

#include <cstring>

#include "Functions/commandTables.h"
#include "Functions/handlers.h"
#include "Public/getopt.h"
#include "Public/options.h"

namespace trx {

const char help_help[] = R"(
help [<command list>]

Options:
    <command list>display specified commands' help page 
    If no option specified, brief description on each command is displayed.

)";

namespace {

constexpr char short_help[] = R"(
Legend: 
    [ ]      - The item is optional.
    < >      - The item is a value that you give.
    |        - Choose one of the items.
    ?        - Same as help.

Abbreviation: 
    VD       - Virtual Disk
    PD       - Physical Disk
    NS       - Namespace
    BGA      - Background Activity

Type '-output [filename]' to output to a file. 
A command can be abbreviated as long as no other command begins the same way.
A long option begins with '--' and can be abbreviated in the same way.
Type 'help <command>' to get detailed help for a command.

COMMAND   BRIEF DESCRIPTION 
-----------------------------------------------------------------
)";

constexpr char non_shell_help[] = R"(
Non-shell mode: 
    trx_cli [<Adapter ID>] <COMMAND> <OPTIONS>
    Default Adapter ID is 0.

Examples: 
    trx_cli info -o pd
    trx_cli 1 info -o pd
)";

void printTopic(const char *word) {
  // Whole words in their own case only: neither abbreviations nor hidden commands have a page.
  for (uint16_t i = 0; i < cmdTableSize; ++i) {
    if (std::strcmp(pCmdTable[i].cmd, word) == 0) return printHelp(&pCmdTable[i]);
  }
  std::fprintf(stream, "No help available for '%s'\n", word);
}

}  // namespace

void printOverview() {
  std::fputs(short_help, stream);
  for (uint16_t i = 0; i < cmdTableSize; ++i) {
    std::fprintf(stream, "%-*s %s\n", 18, pCmdTable[i].cmd, pCmdTable[i].cmdShortHelp);
  }
  std::fputs(non_shell_help, stream);
  std::fputc('\n', stream);
}

constexpr OptionList help_options = {0, nullptr, generalCommandWord};

int32_t doHelp(int argc, char **argv, const Command_Info *row) {
  Parsed end = parseNoOptions(argc, argv, row, HelpOption::Undeclared);
  if (end != Parsed::Complete) {
    if (end == Parsed::ParserError) printHelp(row);
    return 0;
  }
  if (optind >= argc) printOverview();
  for (int i = optind; i < argc; ++i) printTopic(argv[i]);
  return 0;
}

}  // namespace trx
