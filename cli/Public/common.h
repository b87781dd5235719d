// SPDX-License-Identifier: GPL-3.0-or-later
// What every command sees of the program: where it writes, which adapter it acts on, its own table
// row, and how a line becomes a call.
#ifndef TRX_CLI_COMMON_H
#define TRX_CLI_COMMON_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Public/outcome.h"
#include "trx/trx_records.h"

namespace trx {

inline constexpr char CLI_VERSION[] = "1.0.0.1035";

struct OptionList;
struct _cmd_struct;
using Command_Info = _cmd_struct;

/// A command handler. `argv[0]` is the command word, `row` the handler's own table row.
/// The result is the exit status of a one-shot run and is ignored at the prompt.
using CommandHandler = int32_t (*)(int argc, char **argv, const Command_Info *row);

/// One row of a command table.
struct _cmd_struct {
  const char *cmd;  ///< command word, lower case
  int32_t cmdLen;   ///< length of `cmd` with its terminating NUL
  CommandHandler cmdHandler;
  const char *cmdHelp;       ///< detailed help
  const char *cmdShortHelp;  ///< one line, beginning with ":"
};

// The state of this run. The entry routine sets it; `adapter` changes gCurrentAdapter, `--debug`
// dbg_enable.
extern std::FILE *stream;             ///< where commands write: standard output or the -output file
extern int streamDescriptor;          ///< the descriptor behind it
extern uint8_t gCurrentAdapter;       ///< zero-based index of the adapter that commands act on
extern uint8_t gSpecificAdapterFlag;  ///< 1 when an adapter ID was given on the command line
extern uint8_t g_oneBaseMode;         ///< 1 when users count adapters, disks and volumes from 1
extern uint8_t gNumAdaptersFound;
extern uint8_t gSysDenied;                         ///< 1 when controllers exist that this user may not reach
extern std::vector<NVME_Adapter_Info> g_pAdInfos;  ///< a summary per adapter; zeros where unreadable
extern std::vector<Failure> gSummaryFailures;      ///< what reading them met
extern const Command_Info *pCmdTable;              ///< the table that dispatch and `help` walk first
extern uint16_t cmdTableSize;
extern const Command_Info *pHiddenCmdTable;  ///< the table that dispatch walks after it
extern uint16_t hiddenCmdTableSize;
extern const Command_Info *pOwnCmdTable;  ///< our own commands: whole words, looked up last
extern uint16_t ownCmdTableSize;
extern bool dbg_enable;  ///< commands print the command dwords they send

/// The summary of an adapter; all zeros for an index that has none. That it could not be read counts for
/// the outcome of the line that wants it.
const NVME_Adapter_Info &summaryOf(unsigned adapter);

/// Whether an adapter combines its disks into volumes (RAID) or exposes each as it is (JBOF).
inline bool isRaidMode(const NVME_Adapter_Info &summary) {
  return (summary.Features & TRX_FEATURE_RAID) != 0;
}

// ---- lines and words ----

inline constexpr int kMaxTokens = 64;
inline constexpr size_t kMaxLine = 2048;  ///< bytes of a line buffer, with its NUL

/// Split a line in place at blanks and tabs. Double quotes hold a stretch together and stay in the
/// token. A line that begins with a blank or tab yields an empty first token.
/// @param[out] count number of tokens found, also beyond kMaxTokens, of which only kMaxTokens are
///             stored: the caller refuses the line then
/// @return 1, or 0 when a double quote is left open
int parse(int32_t *count, char **tokens, char *line);

/// Copy `n` characters of `src` without the quotes, single or double, that enclose them.
/// `dst` must be zero-filled and have room for n + 2 characters: see the placement of the NUL in
/// the source.
void noQuoteStrncpy(char *dst, const char *src, size_t n);

/// The row that a command word in lower case stands for, itself or as the unique beginning of a word.
struct Lookup {
  const Command_Info *row = nullptr;  ///< null when there is none or more than one
  bool ambiguous = false;
};
Lookup findCommand(const char *word);

/// The row of one of our own commands; null for any other word.
const Command_Info *ownCommand(const char *word);

/// Find the row of a command word and call its handler. The word is lowered in place; a unique
/// beginning of a word will do.
/// @return -1 for `exit` and `quit`, 1 for an unknown or ambiguous word, else the handler's result
int32_t cmdDispatcher(int count, char **tokens);

// ---- messages that every command shares; all return their caller's usual answer ----

/// "Description", the short help and the help of a row.
std::string helpText(const Command_Info *row);
void printHelp(const Command_Info *row);

/// The help was asked for: print it.
void answerHelp(const Command_Info *row);

/// A line without words where some are needed gets the help.
/// @return 1
int32_t helpForNoWords(const Command_Info *row);

/// The line is wrong in itself: print what is wrong on `stream`; false, so that an option reader can return
/// it.
[[gnu::format(printf, 1, 2)]] bool complain(const char *format, ...);

/// "Duplicated option specified.\n"
/// @return 1
int32_t complainDuplicate();

/// "%s: option -%c is required\n"
/// @return `result`, which some commands have as 0
int32_t complainRequired(const char *command, char letter, int32_t result = 1);

/// "This feature is not support JBOF.\n"
/// @return the number of characters written, 34; scripts know the status
int32_t refuseJbof();

}  // namespace trx

#endif  // TRX_CLI_COMMON_H
