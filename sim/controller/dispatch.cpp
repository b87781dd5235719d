// SPDX-License-Identifier: GPL-3.0-or-later
// Opcode table of the simulated controller. To add a standard command, write its function and a row.
#include <cstdio>

#include "controller/disk_commands.h"
#include "controller/firmware.h"
#include "controller/functions.h"
#include "controller/standard.h"
#include "model/journal.h"

namespace sim {
namespace {

enum class NsidRule : uint8_t { Zero, ZeroOrAll, Any };

struct Opcode {
  uint8_t opcode;
  const char *name;
  void (*run)(Context &, const Command &, Completion &);
  uint16_t dwords;  ///< dwords 10 to 15 that may carry a value
  NsidRule nsid;
  bool cdw2;  ///< dword 2 may carry a value
};

constexpr uint16_t kAllDwords = 0xFC00;

// clang-format off
constexpr Opcode kOpcodes[] = {
    {0x02, "Get Log Page",         runGetLogPage,          dwords(10),  NsidRule::ZeroOrAll, false},
    {0x06, "Identify",             runIdentify,            dwords(10),  NsidRule::Any,       false},
    {0x10, "Firmware Commit",      runFirmwareCommit,      dwords(10),  NsidRule::Zero,      false},
    {0x11, "Firmware Image Download", runImageDownload,    dwords(10, 11), NsidRule::Zero,   false},
    {0x15, "Namespace Attachment", runNamespaceAttachment, dwords(10),  NsidRule::Any,       false},
    {0x1D, "NVMe-MI Send",         runMiSend,              dwords(11),  NsidRule::Zero,      false},
    {0x1E, "NVMe-MI Receive",      runMiReceive,           0,           NsidRule::Zero,      false},
    // A person may type any dword for a disk: the disk judges them.
    {0xC2, "disk read",            runDiskRead,            kAllDwords,  NsidRule::Any,       true},
    {0xC3, "disk write",           runDiskWrite,           kAllDwords,  NsidRule::Any,       true},
    {0xCB, "pair send",            runPairSend,            kAllDwords,  NsidRule::Zero,      false},
    {0xCE, "pair receive",         runPairReceive,         kAllDwords,  NsidRule::Zero,      false},
    {0xE2, "controller function",  runDirectFunction,      kAllDwords,  NsidRule::Zero,      false},
};
// clang-format on

std::string checkRow(const Opcode &row, const Command &command) {
  std::string name = row.name;
  for (unsigned number = 10; number <= 15; ++number)
    if (command.dword(number) != 0 && !(row.dwords >> number & 1))
      return name + ": dword " + std::to_string(number) + " must be 0";
  if (command.cdw2 != 0 && !row.cdw2) return name + ": dword 2 must be 0";
  bool whole = command.nsid == 0 || (row.nsid == NsidRule::ZeroOrAll && command.nsid == 0xFFFFFFFF);
  if (row.nsid != NsidRule::Any && !whole)
    return name + ": NSID " + std::to_string(command.nsid) + " is not allowed";
  return {};
}

/// Whether a command belongs to a read-out of the SPI log, which must come to an end.
bool readsSpiLog(const Command &command) {
  constexpr uint8_t kPairReceive = 0xCE;
  constexpr uint8_t kLogGroup = 0xFE;
  if (command.opcode == 0xE2) return (command.dword(12) & 0xFF) == kLogGroup;
  if (command.opcode == 0xCB) return recordFrom<NVMESendData>(command.in).vendor_cmd[0] == kLogGroup;
  return command.opcode == kPairReceive;
}

/// The firmware writes what it does into the SPI log while that is on.
void logCommand(Context &context, const Command &command, const char *name, const Completion &completion) {
  if (!context.state().core.dumpOn || readsSpiLog(command)) return;
  char line[128];
  std::snprintf(line, sizeof line, "admin %02xh %s: nsid %u, dwords %x %x %x %x, status %x", command.opcode,
                name, command.nsid, command.dword(10), command.dword(12), command.dword(13),
                command.dword(14), completion.sct << 8 | completion.sc);
  spiLine(context.changeByItself(), context.now(), line);
}

}  // namespace

void runCommand(Session &session, const Command &command, Completion &completion, std::string &breach) {
  Context context(session, completion);
  for (const Opcode &row : kOpcodes) {
    if (row.opcode != command.opcode) continue;
    if (std::string wrong = checkRow(row, command); !wrong.empty())
      context.breach(wrong);
    else
      row.run(context, command, completion);
    breach = context.breachText();
    logCommand(context, command, row.name, completion);
    return;
  }
  completion.fail(kGeneric, TRX_NVME_SC_INVALID_OPCODE);
}

}  // namespace sim
