// SPDX-License-Identifier: GPL-3.0-or-later
// A controller request: built from named dwords, traced, sent, and its reply checked. Everything
// that a command sends as a pass-through record goes through here.
#ifndef TRX_CLI_REQUEST_H
#define TRX_CLI_REQUEST_H

#include <cstring>
#include <type_traits>

#include "Public/outcome.h"
#include "trx/trx_api.h"

namespace trx {

/// A page of memory that the driver can fill in place: page-aligned and zeroed.
struct alignas(TRX_PAGE_SIZE) Page {
  TRX_U8 bytes[TRX_PAGE_SIZE]{};

  /// The record at a byte offset.
  template <typename Record>
  Record at(size_t offset) const {
    static_assert(std::is_trivially_copyable_v<Record> && sizeof(Record) <= TRX_PAGE_SIZE);
    Record record{};
    if (offset <= TRX_PAGE_SIZE - sizeof(Record)) std::memcpy(&record, bytes + offset, sizeof(Record));
    return record;
  }
};

/// The reply of a controller function: signature, firmware status, payload. What a disk answers, and the
/// few functions whose reply has no such head, are plain pages.
class ControllerReply {
 public:
  static constexpr size_t kPayloadOffset = 8;

  const Page &page() const { return page_; }

  /// The firmware's status byte, 0 for success.
  TRX_U8 cmdStatus() const { return page_.bytes[4]; }

  /// Whether the reply begins with "TRX"; the debug trace shows one that does not.
  bool isSigned() const;

  /// What the head of the reply tells.
  Failure failure() const;

  /// Bytes of the payload, from byte 8 of the reply.
  const TRX_U8 *payload() const { return page_.bytes + kPayloadOffset; }

  /// The record at a byte offset of the payload.
  template <typename Record>
  Record record(size_t offset = 0) const {
    return page_.at<Record>(kPayloadOffset + offset);
  }

 private:
  friend class ControllerRequest;
  Page page_;
};

/// A request under construction. `set` marks the dword in cdw_flag and remembers it for the trace,
/// so that neither can disagree with the dwords; a dword that is flagged but carries nothing is set
/// to 0.
class ControllerRequest {
 public:
  /// A controller function (opcode E2h): CDW[12] = argument << 16 | subFunction << 8 | group.
  static ControllerRequest function(TRX_U8 group, TRX_U8 subFunction, TRX_U16 argument = 0);

  /// An admin command for a disk: `opcode` TRX_OPCODE_DISK_READ when data comes back, else
  /// TRX_OPCODE_DISK_WRITE. CDW[1] is the disk id; the disk command's dword 0 goes into CDW[14].
  static ControllerRequest disk(TRX_U32 opcode, TRX_U32 diskId);

  ControllerRequest &set(unsigned dword, TRX_U32 value);
  ControllerRequest &setControlId(TRX_U16 id);

  const trx_admin_command_format &record() const { return record_; }

  /// With debug output on, print the dwords that are set: "CDW[0] : 0x%08x\n", "CDW[12]: 0x%08x\n".
  const ControllerRequest &trace() const;

  /// Send without data. @return the library's status
  TRX_U32 send(TRX_U8 adapter) const;

  /// Send `length` bytes of data to the controller. @return the library's status
  TRX_U32 give(TRX_U8 adapter, const void *data, TRX_U16 length) const;

  /// Clear the page and fetch up to a page of data into it. @return the library's status
  TRX_U32 fetch(TRX_U8 adapter, Page &page, TRX_U16 length = TRX_PAGE_SIZE) const;

  /// The same for a reply of a controller function. What its head tells counts for the outcome of the line,
  /// not for the status.
  TRX_U32 fetch(TRX_U8 adapter, ControllerReply &reply) const;

  /// `trace`, `fetch` and a check of the reply, each traced.
  /// @return 0; 1 when the reply is not signed, which includes a failed transfer; else the
  ///         firmware's status byte
  TRX_U32 ask(TRX_U8 adapter, ControllerReply &reply) const;

 private:
  trx_admin_command_format record_{};
};

/// What a command says when its request is done; either line may hold a "%s" for a word.
struct OutcomeLines {
  const char *success;
  const char *failure;
};

/// Trace a request, send it to the current adapter and print how it went.
/// @return the library's status
int32_t sendAndTell(const ControllerRequest &request, const OutcomeLines &lines, const char *word = "");

}  // namespace trx

#endif  // TRX_CLI_REQUEST_H
