// SPDX-License-Identifier: GPL-3.0-or-later
// The pair-command door: a request travels in the envelope of a send, and its answer in the one of
// the receive that follows. The function runs at the send; its answer waits beside the state, so
// that a receive without its send, or a send between another process's two, is seen.
#include <signal.h>
#include <unistd.h>

#include <cerrno>

#include "controller/functions.h"

namespace sim {
namespace {

constexpr uint32_t kEnvelopeDwords = TRX_PAGE_SIZE / 4;

std::string checkPairDwords(const Command &command) {
  if (command.dword(10) != kEnvelopeDwords) return "pair command: dword 10 is not 1024";
  for (unsigned number : {11U, 12U, 13U, 14U})
    if (command.dword(number) != 0) return "pair command: dword " + std::to_string(number) + " is not 0";
  if (command.dword(15) != TRX_SIGNATURE_WORD) return "pair command: dword 15 is not the signature";
  return {};
}

std::string checkEnvelope(const NVMESendData &envelope) {
  if (std::memcmp(envelope.sign, "TRX", 4) != 0) return "send envelope: wrong signature";
  if (envelope.cmd_length < 1 || envelope.cmd_length > 4)
    return "send envelope: " + std::to_string(envelope.cmd_length) + " command words";
  for (unsigned i = envelope.cmd_length; i < 4; ++i)
    if (envelope.vendor_cmd[i] != 0) return "send envelope: an unused command word is not 0";
  if (envelope.data_offset != 16) return "send envelope: data offset is not 16";
  if (envelope.data_length > TRX_PAGE_SIZE) return "send envelope: data length past the envelope";
  return {};
}

std::string checkPairCall(const Function &function, const NVMESendData &envelope) {
  const PairDoor &door = function.pair;
  if (envelope.cmd_length != door.words)
    return std::string(function.name) + ": " + std::to_string(envelope.cmd_length) + " command words, not " +
           std::to_string(door.words);
  bool fits = door.more ? envelope.data_length >= door.dataBytes : envelope.data_length == door.dataBytes;
  if (!fits)
    return std::string(function.name) + ": " + std::to_string(envelope.data_length) + " bytes of data, not " +
           std::to_string(door.dataBytes);
  return {};
}

bool alive(int32_t process) { return kill(process, 0) == 0 || errno != ESRCH; }

/// A process that was killed between its send and its receive has broken nothing.
std::string checkOrder(const LockHead &head) {
  if (head.pairOwner == 0) return {};
  if (head.pairOwner == getpid()) return "pair send before the answer of the send before was received";
  if (!alive(head.pairOwner)) return {};
  return "pair send between the send and the receive of process " + std::to_string(head.pairOwner);
}

}  // namespace

void runPairSend(Context &context, const Command &command, Completion &completion) {
  if (std::string wrong = checkPairDwords(command); !wrong.empty()) return context.breach(wrong);
  if (command.in.size() != TRX_PAGE_SIZE) return context.breach("pair send: the envelope is not 4096 bytes");
  auto envelope = recordFrom<NVMESendData>(command.in);
  if (std::string wrong = checkEnvelope(envelope); !wrong.empty()) return context.breach(wrong);
  if (std::string wrong = checkOrder(context.session().head()); !wrong.empty())
    return context.breach(wrong, TRX_NVME_SC_CMD_SEQ_ERROR);

  PairCall call{};
  for (size_t i = 0; i < 4; ++i) call.words[i] = envelope.vendor_cmd[i];
  call.data = {envelope.data, std::min<size_t>(envelope.data_length, sizeof envelope.data)};
  const Function *function = envelope.cmd_length >= 2 ? findFunction(call.words[0], call.words[1]) : nullptr;
  Answer answer = Fw::NotSupported;
  if (function && function->pair.call) {
    if (std::string wrong = checkPairCall(*function, envelope); !wrong.empty()) return context.breach(wrong);
    ChangeGuard guard(context.session());
    answer = function->pair.call(context, call);
    if (answer.status != Fw::Ok) guard.refused();
    if (!context.breachText().empty()) return;
  }

  std::array<uint8_t, TRX_PAGE_SIZE> page{};
  std::memcpy(page.data(), "TRX", 3);
  page[4] = static_cast<uint8_t>(answer.status);
  if (answer.status == Fw::Ok && !answer.payload.empty())
    std::memcpy(page.data() + 8, answer.payload.data(), std::min(answer.payload.size(), kPairPayload));
  LockHead pair{};
  pair.pairOwner = getpid();
  for (size_t i = 0; i < 4; ++i) pair.pairWords[i] = call.words[i];
  pair.pairWordCount = envelope.cmd_length;
  context.session().keepAnswer(pair, page);
  completion.fail(kGeneric, TRX_NVME_SC_SUCCESS);
}

void runPairReceive(Context &context, const Command &command, Completion &completion) {
  if (std::string wrong = checkPairDwords(command); !wrong.empty()) return context.breach(wrong);
  if (command.wanted != TRX_PAGE_SIZE) return context.breach("pair receive: the envelope is not 4096 bytes");
  int32_t owner = context.session().head().pairOwner;
  if (owner == 0) return context.breach("pair receive without a send", TRX_NVME_SC_CMD_SEQ_ERROR);
  if (owner != getpid())
    return context.breach("pair receive of the answer that process " + std::to_string(owner) + " waits for",
                          TRX_NVME_SC_CMD_SEQ_ERROR);
  completion.data.resize(TRX_PAGE_SIZE);
  context.session().takeAnswer(std::span<uint8_t, TRX_PAGE_SIZE>(completion.data));
}

}  // namespace sim
