// SPDX-License-Identifier: GPL-3.0-or-later
// How a line ended, in words that mean one thing each: the exit statuses of --strict and --json.
#ifndef TRX_CLI_OUTCOME_H
#define TRX_CLI_OUTCOME_H

#include <cstdint>

#include "trx/trx_records.h"

namespace trx {

/// The values are the exit statuses.
enum class Outcome : uint8_t {
  Ok = 0,
  Refused = 1,   ///< by the controller or a disk
  Usage = 2,     ///< a line, or a file, that will not do
  NotFound = 3,  ///< no such adapter, object or input file
  Denied = 4,    ///< the user may not
  Failed = 5,    ///< platform, driver, transport, senseless answer, unwritable file, interrupted
  Guarded = 6,   ///< --expect did not hold; nothing was sent
  Partial = 7,   ///< a listing without some of its objects
  TimedOut = 8,  ///< `wait` gave up
};

/// "ok", "refused", "usage", "not_found", "denied", "failed", "guarded", "partial" or "timed_out".
const char *wordOf(Outcome outcome);

/// Of two outcomes the one that a line that had both ends with.
Outcome worseOf(Outcome one, Outcome other);

/// Whose status it is; `None` when nobody was asked.
enum class Source : uint8_t { None, Nvme, Firmware, Platform };

/// What went wrong with a request.
struct Failure {
  Outcome outcome = Outcome::Ok;  ///< `Ok`: nothing did
  Source source = Source::None;
  TRX_U32 code = 0;  ///< completion status, firmware's status byte, or the number of an error

  explicit operator bool() const { return outcome != Outcome::Ok; }
};

/// The one of two with the worse outcome, the first where they are alike.
const Failure &worseOf(const Failure &one, const Failure &other);

/// The status of an NVMe completion (status code type * 256 + status code), or the number of the error
/// with which the library did not even send it. 0 is none.
Failure failureOfCompletion(TRX_U32 status);

/// The status byte in the reply of a controller function. 0 is none.
Failure failureOfFirmware(TRX_U8 status);

/// The number of an error of a platform call, a driver or a file. EPERM and EACCES: the user may not.
Failure failureOfPlatform(int error);

/// An answer that makes no sense, such as a reply without its signature.
Failure senselessAnswer();

/// Words for the status: those of the library. Valid until the next call.
const char *textOf(const Failure &failure);

}  // namespace trx

#endif  // TRX_CLI_OUTCOME_H
