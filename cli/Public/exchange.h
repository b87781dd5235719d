// SPDX-License-Identifier: GPL-3.0-or-later
// The one door to the controllers: every request of the program goes through here, so that it can be kept
// back, and so that it is known how it went.
#ifndef TRX_CLI_EXCHANGE_H
#define TRX_CLI_EXCHANGE_H

#include <array>
#include <span>
#include <string_view>

#include "Public/outcome.h"
#include "trx/trx_api.h"

namespace trx {

/// A request as it goes out.
struct Wire {
  TRX_U8 adapter;
  std::array<TRX_U32, 16> cdw;  ///< dword 0 is the opcode, dword 1 the NSID or disk id
  std::span<const TRX_U8> data;
  uint64_t imageBytes = 0;  ///< of a firmware image that is sent in pieces, of which this is the first
};

/// Looks at a request before it is sent; it may throw `LineEnds`. Null for nobody.
extern void (*gBeforeSend)(const Wire &wire);

/// TRX_Adapter_Admin, with CDW10 onwards in `cdw`.
TRX_U32 sendAdmin(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, std::span<const TRX_U32> cdw,
                  std::span<const TRX_U8> in, std::span<TRX_U8> out);

/// TRX_Adapter_PassthruAdmin.
TRX_U32 sendPassthru(TRX_U8 adapter, const trx_admin_command_format &record, std::span<const TRX_U8> in,
                     std::span<TRX_U8> out);

/// How the last request went. A platform call or a driver that failed counts, also where the completion
/// says success and the command goes on.
const Failure &lastFailure();

/// While it lives the library sends on a worker of its own. What it says of that tells how it goes.
class LibrarySends {
 public:
  LibrarySends();
  ~LibrarySends();
  LibrarySends(const LibrarySends &) = delete;
  LibrarySends &operator=(const LibrarySends &) = delete;

  /// The worker has ended with a status of `last`.
  /// @return what it met, which is left to the caller to note
  static Failure failure(const Wire &last, TRX_U32 status);
};

/// Nothing has been asked yet.
void forgetExchange();

/// A reply was looked at: what is wrong with it counts as well.
void noteReply(const Failure &failure);

/// TRX_Init.
void findControllers();

/// That an NVMe adapter of the platform could not be asked whether it is one of ours. It may have been:
/// whoever speaks of all controllers says so.
const Failure &lostController();

/// The library has said something. From its words it is known that a platform call has failed (the statuses
/// of its operations do not tell), and why there are no controllers or semaphores.
/// @return whether it tells of something wrong
bool hearLibrary(std::string_view text);

/// Why there are no controllers, or no semaphores for this user; told with the first request, too.
/// @return whether there is a reason
bool noteStart();

}  // namespace trx

#endif  // TRX_CLI_EXCHANGE_H
