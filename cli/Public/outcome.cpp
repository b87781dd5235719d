// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/outcome.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "trx/trx_api.h"

namespace trx {
namespace {

constexpr const char *kWords[] = {"ok",     "refused", "usage",   "not_found", "denied",
                                  "failed", "guarded", "partial", "timed_out"};

/// The worst first.
constexpr Outcome kOrder[] = {Outcome::Denied,   Outcome::Failed,   Outcome::Refused,
                              Outcome::NotFound, Outcome::TimedOut, Outcome::Partial,
                              Outcome::Usage,    Outcome::Guarded,  Outcome::Ok};
static_assert(std::size(kWords) == std::size(kOrder));

/// What the firmware says of an id that names nothing: "Invalid HD ID" and "Invalid LD ID".
bool namesNothing(TRX_U32 firmwareStatus) { return firmwareStatus == 6 || firmwareStatus == 7; }

}  // namespace

const char *wordOf(Outcome outcome) { return kWords[static_cast<size_t>(outcome)]; }

Outcome worseOf(Outcome one, Outcome other) {
  return *std::ranges::find_if(kOrder, [&](Outcome each) { return each == one || each == other; });
}

const Failure &worseOf(const Failure &one, const Failure &other) {
  return worseOf(one.outcome, other.outcome) == one.outcome ? one : other;
}

Failure failureOfCompletion(TRX_U32 status) {
  constexpr TRX_U32 kVendorType = 7, kLargest = 0x7FF;
  if (status > kLargest) return failureOfPlatform(static_cast<int32_t>(status));
  if (status == 0) return {};
  const bool nothing = status >> 8 == kVendorType && namesNothing(status & 0xFF);
  return {nothing ? Outcome::NotFound : Outcome::Refused, Source::Nvme, status};
}

Failure failureOfFirmware(TRX_U8 status) {
  if (status == 0) return {};
  return {namesNothing(status) ? Outcome::NotFound : Outcome::Refused, Source::Firmware, status};
}

Failure failureOfPlatform(int error) {
  const int number = std::abs(error);
  if (number == 0) return {};
  const bool mayNot = number == EPERM || number == EACCES;
  return {mayNot ? Outcome::Denied : Outcome::Failed, Source::Platform, static_cast<TRX_U32>(number)};
}

Failure senselessAnswer() { return failureOfPlatform(EBADMSG); }

const char *textOf(const Failure &failure) {
  switch (failure.source) {
    case Source::Nvme:
      return TRX_StatusText(failure.code, TRX_STATUS_NVME);
    case Source::Firmware:
      return TRX_StatusText(failure.code, TRX_STATUS_FIRMWARE);
    case Source::Platform:
      return TRX_StatusText(failure.code, TRX_STATUS_PLATFORM);
    case Source::None:
      break;
  }
  return "";
}

}  // namespace trx
