// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/exchange.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <thread>

#include "controller/command.h"
#include "host/directory.h"
#include "host/faults.h"
#include "platform/trace.h"
#include "vmkmgmt.h"

namespace sim {
namespace {

constexpr uint8_t kPairSend = 0xCB, kPairReceive = 0xCE, kController = 0xE2;
constexpr uint64_t kPage = TRX_PAGE_SIZE;

/// What every command must keep to, whatever its opcode. Returns what is wrong.
std::string checkBlock(const usr_io &uio) {
  const nvme_cmd &cmd = uio.cmd;
  if (cmd.flags != 0) return "FUSE or PSDT is set";
  if (cmd.cdw3 != 0 || cmd.metadata != 0 || cmd.prp1 != 0 || cmd.prp2 != 0)
    return "dword 3 or a data pointer of the entry is not 0";
  if (uio.reserved != 0) return "reserved bytes of the I/O block are not 0";
  if (uio.meta_length != 0 || uio.meta_addr != 0) return "metadata is not supported";
  if (uio.direction > TRX_FROM_CONTROLLER) return "the direction is neither to nor from the controller";
  if (uio.timeoutUs == 0) return "no timeout";
  if (uio.length == 0) return {};
  if (uio.addr == 0) return "a length without a data pointer";
  if (uio.addr % kPage != 0) return "the data pointer is not page-aligned";
  return {};
}

Command commandFrom(const usr_io &uio) {
  const nvme_cmd &cmd = uio.cmd;
  Command command;
  command.opcode = cmd.opcode;
  command.nsid = cmd.nsid;
  command.cdw2 = cmd.cdw2;
  command.cdw = {cmd.cdw10, cmd.cdw11, cmd.cdw12, cmd.cdw13, cmd.cdw14, cmd.cdw15};
  if (uio.length == 0) return command;
  if (uio.direction == TRX_TO_CONTROLLER) {
    command.direction = Direction::ToController;
    command.in = {reinterpret_cast<const uint8_t *>(uio.addr), uio.length};
  } else {
    command.direction = Direction::FromController;
    command.wanted = uio.length;
  }
  return command;
}

FaultSubject subjectOf(const std::string &adapter, const Command &command, const LockHead &head) {
  FaultSubject subject{adapter, command.opcode, {}, {}};
  if (command.opcode == kController) {
    subject.group = command.dword(12) & 0xFF;
    subject.subCode = command.dword(12) >> 8 & 0xFF;
  } else if (command.opcode == kPairSend && command.in.size() >= 16) {
    auto envelope = recordFrom<NVMESendData>(command.in);
    subject.group = envelope.vendor_cmd[0];
    subject.subCode = envelope.vendor_cmd[1];
  } else if (command.opcode == kPairReceive && head.pairOwner != 0) {
    subject.group = head.pairWords[0];
    subject.subCode = head.pairWords[1];
  }
  return subject;
}

bool insteadOfCommand(const Fault &fault) {
  return fault.kind == FaultKind::Platform || fault.kind == FaultKind::Nvme;
}

void recordBreach(const AdapterFiles &files, const Command &command, const std::string &breach) {
  char head[128];
  std::snprintf(head, sizeof head, "%s op=%x nsid=%x cdw10=%x cdw12=%x: ", files.name().c_str(),
                unsigned{command.opcode}, command.nsid, command.dword(10), command.dword(12));
  recordViolation(files.directory(), head + breach);
}

/// Carries the command out, or fails it as the fault says. A fault in place of a receive uses its
/// answer up: the program did ask for it.
int carryOut(Session &session, const Command &command, const std::optional<Fault> &fault,
             Completion &completion, std::string &breach) {
  if (fault && insteadOfCommand(*fault)) {
    if (command.opcode == kPairReceive) session.dropAnswer();
    if (fault->kind == FaultKind::Platform) return static_cast<int>(fault->value);
    completion.fail(static_cast<uint8_t>(fault->value >> 8 & 7), static_cast<uint8_t>(fault->value));
    completion.driverStatus = kDriverFailure;
    return 0;
  }
  runCommand(session, command, completion, breach);
  session.commit();
  if (fault) spoilData(*fault, completion);
  return 0;
}

/// The host failed the controller: its disk is full, say, or its memory. A completion of zeros would say
/// that the command went well.
void failInternally(usr_io &uio, const std::exception &why) {
  std::fprintf(stderr, "trx_sim: %s\n", why.what());
  uio.comp = cq_entry{};
  uio.comp.SC = TRX_NVME_SC_INTERNAL;
  uio.status = kDriverFailure;
}

void deliver(const Command &command, Completion &completion, usr_io &uio) {
  uio.comp = cq_entry{};
  uio.comp.param = completion.dw0;
  uio.comp.SCT = completion.sct & 7U;
  uio.comp.SC = completion.sc;
  uio.status = completion.driverStatus;
  size_t bytes = std::min(completion.data.size(), command.wanted);
  if (completion.driverStatus == 0 && bytes != 0)
    std::memcpy(reinterpret_cast<void *>(uio.addr), completion.data.data(), bytes);
}

using Clock = std::chrono::steady_clock;

/// Slept without the lock: a slow command of one process does not stop the others.
void waitUntil(Clock::time_point begin, uint32_t millis) {
  if (millis == 0) return;
  constexpr auto kOversleep = std::chrono::microseconds(300);  // a sleep takes up to so much longer
  const Clock::time_point end = begin + std::chrono::milliseconds(millis);
  std::this_thread::sleep_until(end - kOversleep);
  while (Clock::now() < end) std::this_thread::yield();
}

int adminCommand(AdapterFiles &files, usr_io &uio) {
  Command command = commandFrom(uio);
  Completion completion;
  std::string breach = checkBlock(uio);
  Clock::time_point begin = Clock::now();
  int result = 0;
  if (!breach.empty()) {
    completion.fail(kGeneric, TRX_NVME_SC_INVALID_FIELD);
  } else {
    std::optional<Fault> fault;
    uint32_t latency = 0;
    {
      Session session(files);
      latency = session.state().core.latencyMillis;
      fault = strike(files.directory(), subjectOf(files.name(), command, session.head()));
      if (!fault || fault->kind != FaultKind::Delay)
        result = carryOut(session, command, fault, completion, breach);
    }
    if (fault && fault->kind == FaultKind::Delay) {
      waitUntil(begin, fault->value);
      begin = Clock::now();
      Session session(files);
      result = carryOut(session, command, std::nullopt, completion, breach);
    }
    waitUntil(begin, latency);
  }
  if (!breach.empty()) recordBreach(files, command, breach);
  if (result == 0) deliver(command, completion, uio);
  return result;
}

}  // namespace

int adapterIoctl(AdapterFiles &files, const uint32_t *code, usr_io *uio) {
  if (!code || !uio) return EFAULT;
  if (*code == NVME_IOCTL_IO_CMD) {
    // The platform carries no I/O commands for this controller.
    uio->comp = cq_entry{};
    uio->comp.SC = TRX_NVME_SC_INVALID_OPCODE;
    uio->status = kDriverFailure;
    return 0;
  }
  if (*code != NVME_IOCTL_ADMIN_CMD) {
    recordViolation(files.directory(), files.name() + ": ioctl code " + std::to_string(*code));
    return EINVAL;
  }
  int result = 0;
  try {
    result = adminCommand(files, *uio);
  } catch (const std::exception &error) {
    failInternally(*uio, error);
  }
  traceExchange(files.name(), *uio, result);
  return result;
}

}  // namespace sim
