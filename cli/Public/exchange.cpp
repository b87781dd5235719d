// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/exchange.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>

#include "Public/interrupt.h"
#include "Public/report.h"

namespace trx {

void (*gBeforeSend)(const Wire &wire) = nullptr;

namespace {

Failure gLast;
unsigned gFailuresHeard = 0;
int gPlatformError = 0;  ///< of the request under way, as the library told it
Failure gStart;
Failure gLost;
bool gInLibrary = false;  ///< nothing else is heard: devices could say the same words

/// The number of the error that has these words.
int errorNamed(std::string_view words) {
  constexpr int kLargest = 133;  // of Linux
  for (int number = 1; number <= kLargest; ++number) {
    if (words == TRX_StatusText(static_cast<TRX_U32>(number), TRX_STATUS_PLATFORM)) return number;
  }
  constexpr std::string_view kUnknown = "Unknown error ";
  int number = EIO;
  if (words.starts_with(kUnknown)) {
    words.remove_prefix(kUnknown.size());
    std::from_chars(words.data(), words.data() + words.size(), number);
  }
  return number;
}

/// What stands between two marks; empty when they are not there.
std::string_view between(std::string_view text, std::string_view begin, std::string_view end) {
  size_t from = text.find(begin);
  if (from == std::string_view::npos) return {};
  from += begin.size();
  size_t to = text.rfind(end);
  return to == std::string_view::npos || to < from ? std::string_view{} : text.substr(from, to - from);
}

void hinderedBy(const Failure &failure) {
  if (!gStart) gStart = failure;
}

bool isCommit(const Wire &wire) {
  const bool forwarded = wire.cdw[0] == TRX_OPCODE_DISK_WRITE;
  return (forwarded ? wire.cdw[14] & 0xFF : wire.cdw[0]) == TRX_NVME_FIRMWARE_COMMIT;
}

bool isAboutNamespace(const Wire &wire) {
  return wire.cdw[0] == TRX_NVME_NAMESPACE_ATTACHMENT ||
         (wire.cdw[0] == TRX_OPCODE_CONTROLLER && (wire.cdw[12] & 0xFF) == TRX_GROUP_NS);
}

/// What a completion means depends on what was asked (NVMe base standard): an image that will run from the
/// next reset on has been taken, and a namespace that is invalid is none.
Failure failureOf(const Wire &wire, TRX_U32 status) {
  constexpr TRX_U32 kFromNextReset[] = {0x100 | TRX_FWACT_REQ_CON_RESET, 0x100 | TRX_FAR_NVM_SR,
                                        0x100 | TRX_FARR};
  if (isCommit(wire) && std::ranges::find(kFromNextReset, status) != std::end(kFromNextReset)) return {};
  Failure failure = failureOfCompletion(status);
  if (isAboutNamespace(wire) && status == TRX_NVME_SC_INVALID_NS) failure.outcome = Outcome::NotFound;
  return failure;
}

void beforeExchange() {
  if (isTried()) throw LineEnds{};
  endIfInterrupted();
}

template <typename Call>
TRX_U32 perform(const Wire &wire, Call call) {
  beforeExchange();
  if (gBeforeSend) gBeforeSend(wire);
  noteStart();
  gPlatformError = 0;
  gInLibrary = true;
  TRX_U32 status = call();
  gInLibrary = false;
  // Of a call that failed and a completion that did not succeed, the completion tells more.
  gLast = status != 0 ? failureOf(wire, status) : failureOfPlatform(gPlatformError);
  note(gLast);
  return status;
}

template <typename Bytes>
auto pointerTo(Bytes bytes) {
  return bytes.empty() ? nullptr : bytes.data();
}

TRX_U16 lengthOf(std::span<const TRX_U8> bytes) { return static_cast<TRX_U16>(bytes.size()); }

}  // namespace

TRX_U32 sendAdmin(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, std::span<const TRX_U32> cdw,
                  std::span<const TRX_U8> in, std::span<TRX_U8> out) {
  Wire wire{adapter, {opcode, nsid}, in};
  constexpr size_t kFirst = 10;
  std::copy_n(cdw.begin(), std::min(cdw.size(), wire.cdw.size() - kFirst), wire.cdw.begin() + kFirst);
  return perform(wire, [&] {
    return TRX_Adapter_Admin(adapter, opcode, nsid, pointerTo(cdw), static_cast<TRX_U8>(cdw.size()),
                             pointerTo(in), lengthOf(in), pointerTo(out), lengthOf(out));
  });
}

TRX_U32 sendPassthru(TRX_U8 adapter, const trx_admin_command_format &record, std::span<const TRX_U8> in,
                     std::span<TRX_U8> out) {
  Wire wire{adapter, {}, in};
  std::copy(std::begin(record.CDW), std::end(record.CDW), wire.cdw.begin());
  return perform(wire, [&] {
    return TRX_Adapter_PassthruAdmin(adapter, &record, pointerTo(in), lengthOf(in), pointerTo(out),
                                     lengthOf(out));
  });
}

LibrarySends::LibrarySends() {
  beforeExchange();
  noteStart();
  gPlatformError = 0;
  gFailuresHeard = 0;
  gInLibrary = true;
}

LibrarySends::~LibrarySends() { gInLibrary = false; }

Failure LibrarySends::failure(const Wire &last, TRX_U32 status) {
  const Failure platform = failureOfPlatform(gPlatformError);
  // The request that it ended with is told, too. What was told before that, it went on after.
  const bool earlier = gFailuresHeard > 1;
  return status == 0 || earlier || platform.outcome == Outcome::Denied ? platform : failureOf(last, status);
}

const Failure &lastFailure() { return gLast; }

void forgetExchange() { gLast = {}; }

void noteReply(const Failure &failure) {
  if (gLast) return;  // nothing came; there is no reply to blame
  gLast = failure;
  note(gLast);
}

bool hearLibrary(std::string_view text) {
  if (!gInLibrary) return false;
  if (auto words = between(text, "NVMEDevice_sendCommand Failed, ", "."); !words.empty()) {
    ++gFailuresHeard;
    // Of several, as a worker has them, the one that shuts the user out counts.
    if (failureOfPlatform(gPlatformError).outcome != Outcome::Denied) gPlatformError = errorNamed(words);
  } else if (words = between(text, "no semaphore ", ")."); !words.empty()) {
    words.remove_prefix(std::min(words.find('(') + 1, words.size()));
    // Nobody is shut out by a semaphore that is not there; by one that he may not use he is.
    if (Failure failure = failureOfPlatform(errorNamed(words)); failure.outcome == Outcome::Denied)
      hinderedBy(failure);
  } else if (words = between(text, "does not list its NVMe adapters: status ", " ("); !words.empty()) {
    int status = EIO;
    std::from_chars(words.data(), words.data() + words.size(), status);
    hinderedBy(failureOfPlatform(status));
  } else if (text.starts_with("Failed to initialize NVMe.")) {
    hinderedBy(failureOfPlatform(ENOSYS));
  } else {
    return text.find("(Status Code: 0x") != std::string_view::npos ||
           text.starts_with("Invalid argument: vmhba");
  }
  return true;
}

bool noteStart() {
  const bool nobody = TRX_Adapter_GetCount() == 0;
  note(gStart);
  if (nobody) note(gLost);
  return gStart || (nobody && gLost);
}

const Failure &lostController() { return gLost; }

void findControllers() {
  gPlatformError = 0;
  gInLibrary = true;
  TRX_Init();
  gInLibrary = false;
  gLost = failureOfPlatform(gPlatformError);
}

}  // namespace trx
