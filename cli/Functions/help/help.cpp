// SPDX-License-Identifier: GPL-3.0-or-later
#include "Functions/help/help.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "Functions/commandTables.h"
#include "Functions/handlers.h"
#include "Public/getopt.h"
#include "Public/options.h"
#include "Public/report.h"
#include "trx/trx_api.h"

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

constexpr char machine_help[] = R"(
For scripts and monitors:
    trx_cli [<Adapter ID>] [--json] [--strict] [--dry-run] [--expect <KEY=VALUE>[,<KEY=VALUE>...]] [<COMMAND> <OPTIONS>]

    --json      One line of JSON, whatever happens. Without a command: a line for each
                line of standard input.
    --strict    The exit status is the outcome, see below.
    --dry-run   What changes something is shown and not sent.
    --expect    Change an object only if it is what is expected, such as name=logs.

Own commands:
    health      State of all NVMe Controllers, as monitors want it
    metrics     The same as metrics for a textfile collector
    wait        Wait until background activities end
    watch       Follow the event journal

Outcomes, the exit statuses of --strict, --json and the own commands:
    0 ok            Everything that was asked for was done or answered
    1 refused       The controller or a disk refused or failed it
    2 usage         The line, or the content of a file, will not do
    3 not_found     No such adapter, object or input file, or no controller at all
    4 denied        The user may not use the controller, a semaphore or a file
    5 failed        Platform, driver or transport, an answer that makes no sense, a file
                    that cannot be written, interrupted
    6 guarded       --expect did not hold, and nothing was sent
    7 partial       A listing without some of its objects
    8 timed_out     wait gave up
)";

/// The page of a command, printed.
std::string printTopic(const char *word) {
  // Whole words in their own case only: neither abbreviations nor hidden commands have a page.
  for (uint16_t i = 0; i < cmdTableSize; ++i) {
    if (std::strcmp(pCmdTable[i].cmd, word) != 0) continue;
    printHelp(&pCmdTable[i]);
    return helpText(&pCmdTable[i]);
  }
  complain("No help available for '%s'\n", word);
  return {};
}

std::string overview() {
  std::string text = short_help;
  for (uint16_t i = 0; i < cmdTableSize; ++i) {
    std::string word = pCmdTable[i].cmd;
    word.resize(std::max(word.size(), size_t{18}), ' ');
    text += word + " " + pCmdTable[i].cmdShortHelp + "\n";
  }
  return text + non_shell_help + "\n";
}

void answer(const std::string &text) {
  std::fputs(text.c_str(), stream);
  tellText(text);
}

}  // namespace

void answerOverview() { answer(overview() + machine_help); }

void answerVersions() {
  answer(std::string("CLI Version: ") + CLI_VERSION + "\nAPI Version: " + TRX_Get_Version() + "\n");
}

constexpr OptionList help_options = {0, nullptr, generalCommandWord};

int32_t doHelp(int argc, char **argv, const Command_Info *row) {
  Parsed end = parseNoOptions(argc, argv, row, HelpOption::Undeclared);
  if (end != Parsed::Complete) {
    if (end != Parsed::ParserError) return 0;
    // -h is not declared here: it is told as illegal, and answered all the same.
    if (optopt == 'h') {
      answerHelp(row);
    } else {
      printHelp(row);
    }
    return 0;
  }
  if (optind >= argc) answer(overview());
  std::string pages;
  for (int i = optind; i < argc; ++i) pages += printTopic(argv[i]);
  if (!pages.empty()) tellText(pages);
  return 0;
}

}  // namespace trx
