// SPDX-License-Identifier: GPL-3.0-or-later
// Faults that wait for a command: each matches by opcode and more, lets some pass, then breaks a few.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "controller/command.h"

namespace sim {

enum class FaultKind : uint8_t { Platform, Nvme, Signature, Status, Short, Garbage, Ones, Delay };

struct Fault {
  std::string adapter = "*";
  std::optional<uint32_t> opcode, group, subCode;
  uint32_t skip = 0;   ///< matching commands that still pass
  uint32_t count = 1;  ///< matching commands that still fail
  FaultKind kind = FaultKind::Nvme;
  uint32_t value = 0;  ///< status, NVMe status (type << 8 | code), bytes or milliseconds, by kind
};

/// One line of words such as "op=e2 group=e0 sub=1 nth=2 count=3 nvme=0x102". Throws HostError.
Fault parseFault(const std::vector<std::string> &words);
std::string faultText(const Fault &fault);
/// What a fault can say, for the launcher's help.
std::string faultHelp();

std::vector<Fault> listFaults(const std::string &directory);
void addFault(const std::string &directory, const Fault &fault);
void clearFaults(const std::string &directory);

/// What a fault is matched against. Group and sub-code are dword 12's, or a pair exchange's words.
struct FaultSubject {
  std::string_view adapter;
  uint8_t opcode;
  std::optional<uint32_t> group, subCode;
};
/// The fault that strikes this command, if one does; it is counted down.
std::optional<Fault> strike(const std::string &directory, const FaultSubject &subject);

/// Breaks the data of a command that was carried out; a short reply leaves the caller's buffer as it was.
void spoilData(const Fault &fault, Completion &completion);

}  // namespace sim
