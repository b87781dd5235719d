// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/request.h"

#include <cassert>
#include <cstdio>

#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/report.h"

namespace trx {

namespace {
constexpr TRX_U8 kSignature[3] = {'T', 'R', 'X'};
}

Failure ControllerReply::failure() const {
  const bool isSigned = std::memcmp(page_.bytes, kSignature, sizeof kSignature) == 0;
  return isSigned ? failureOfFirmware(cmdStatus()) : senselessAnswer();
}

bool ControllerReply::isSigned() const {
  const TRX_U8 *got = page_.bytes;
  if (std::memcmp(got, kSignature, sizeof kSignature) == 0) return true;
  if (dbg_enable) {
    std::fprintf(stream, "receive sign get 0x%x 0x%x 0x%x expect 0x%x 0x%x 0x%x\n", got[0], got[1], got[2],
                 kSignature[0], kSignature[1], kSignature[2]);
  }
  return false;
}

ControllerRequest ControllerRequest::function(TRX_U8 group, TRX_U8 subFunction, TRX_U16 argument) {
  ControllerRequest request;
  request.set(0, TRX_OPCODE_CONTROLLER);
  request.set(12, static_cast<TRX_U32>(argument << 16 | subFunction << 8 | group));
  return request;
}

ControllerRequest ControllerRequest::disk(TRX_U32 opcode, TRX_U32 diskId) {
  ControllerRequest request;
  request.set(0, opcode);
  request.set(1, diskId);
  return request;
}

ControllerRequest &ControllerRequest::set(unsigned dword, TRX_U32 value) {
  assert(dword < 16);
  record_.CDW[dword] = value;
  record_.cdw_flag = static_cast<TRX_U16>(record_.cdw_flag | 1u << dword);
  return *this;
}

ControllerRequest &ControllerRequest::setControlId(TRX_U16 id) {
  record_.control_id = id;
  return *this;
}

const ControllerRequest &ControllerRequest::trace() const {
  if (!dbg_enable) return *this;
  for (unsigned i = 0; i < 16; ++i) {
    if (!(record_.cdw_flag & 1u << i)) continue;
    // The colons stand in one column for one- and two-digit dwords.
    std::fprintf(stream, i < 10 ? "CDW[%u] : 0x%08x\n" : "CDW[%u]: 0x%08x\n", i, record_.CDW[i]);
  }
  return *this;
}

TRX_U32 ControllerRequest::send(TRX_U8 adapter) const { return sendPassthru(adapter, record_, {}, {}); }

TRX_U32 ControllerRequest::give(TRX_U8 adapter, const void *data, TRX_U16 length) const {
  return sendPassthru(adapter, record_, {static_cast<const TRX_U8 *>(data), length}, {});
}

TRX_U32 ControllerRequest::fetch(TRX_U8 adapter, Page &page, TRX_U16 length) const {
  page = {};
  return sendPassthru(adapter, record_, {}, std::span(page.bytes).first(length));
}

TRX_U32 ControllerRequest::fetch(TRX_U8 adapter, ControllerReply &reply) const {
  TRX_U32 status = fetch(adapter, reply.page_);
  noteReply(reply.failure());
  return status;
}

TRX_U32 ControllerRequest::ask(TRX_U8 adapter, ControllerReply &reply) const {
  bool arrived = trace().fetch(adapter, reply) == 0;
  if (dbg_enable) std::fprintf(stream, "cmd_status: 0x%x\n", reply.cmdStatus());
  return reply.isSigned() && arrived ? reply.cmdStatus() : 1;
}

int32_t sendAndTell(const ControllerRequest &request, const OutcomeLines &lines, const char *word) {
  TRX_U32 status = request.trace().send(gCurrentAdapter);
  if (status == 0) {
    tell(lines.success, word);
  } else {
    tellFailed(lines.failure, word);
  }
  return static_cast<int32_t>(status);
}

}  // namespace trx
