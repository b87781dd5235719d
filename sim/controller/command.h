// SPDX-License-Identifier: GPL-3.0-or-later
// One admin command on its way through the simulated controller, and what comes back.
#pragma once

#include <array>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "model/state_file.h"

namespace sim {

enum class Direction : uint8_t { None, ToController, FromController };

/// A checked command. Dwords are those of the submission entry.
struct Command {
  uint8_t opcode = 0;
  uint32_t nsid = 0;
  uint32_t cdw2 = 0;
  std::array<uint32_t, 6> cdw{};  ///< dwords 10 to 15
  Direction direction = Direction::None;
  std::span<const uint8_t> in{};  ///< data to the controller
  size_t wanted = 0;              ///< bytes that the caller has room for

  uint32_t dword(unsigned number) const { return cdw[number - 10]; }
};

/// Value of the driver's status when a command failed: EIO.
constexpr uint32_t kDriverFailure = 5;

enum StatusCodeType : uint8_t { kGeneric = 0, kCommandSpecific = 1, kVendorSpecific = 7 };

struct Completion {
  uint32_t dw0 = 0;
  uint8_t sct = 0;
  uint8_t sc = 0;
  uint32_t driverStatus = 0;
  std::vector<uint8_t> data{};

  void fail(uint8_t type, uint8_t code) {
    sct = type;
    sc = code;
    driverStatus = type == 0 && code == 0 ? 0 : kDriverFailure;
  }
  /// A completion that tells something although the command went well, such as "reset needed".
  void inform(uint8_t type, uint8_t code) {
    sct = type;
    sc = code;
    driverStatus = 0;
  }
  void refuse(Fw status) {
    if (status != Fw::Ok) fail(kVendorSpecific, static_cast<uint8_t>(status));
  }
};

/// What a function of the controller works with: the locked state, and where to report a caller's breach.
class Context {
 public:
  Context(Session &session, Completion &completion) : session_(session), completion_(completion) {}

  const Adapter &state() const { return session_.state(); }
  Adapter &change() { return session_.change(); }
  Adapter &changeByItself() { return session_.changeByItself(); }
  Millis now() const { return session_.now(); }
  Session &session() { return session_; }

  /// The caller broke the protocol: an NVMe error, and a line in the record of violations.
  void breach(const std::string &what, uint8_t statusCode = TRX_NVME_SC_INVALID_FIELD) {
    if (breach_.empty()) breach_ = what;
    completion_.data.clear();
    completion_.fail(kGeneric, statusCode);
  }
  const std::string &breachText() const { return breach_; }

 private:
  Session &session_;
  Completion &completion_;
  std::string breach_;
};

/// Takes back the mark of a change when a function refused: nothing needs to be written then.
class ChangeGuard {
 public:
  explicit ChangeGuard(Session &session) : session_(session), before_(session.changed()) {}
  void refused() {
    if (!before_) session_.unchanged();
  }

 private:
  Session &session_;
  bool before_;
};

template <typename Record>
std::vector<uint8_t> bytesOf(const Record &record) {
  std::vector<uint8_t> bytes(sizeof record);
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

template <typename Record>
Record recordFrom(std::span<const uint8_t> bytes) {
  Record record{};
  if (!bytes.empty()) std::memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof record));
  return record;
}

template <typename Record>
void appendRecord(std::vector<uint8_t> &bytes, const Record &record) {
  auto first = reinterpret_cast<const uint8_t *>(&record);
  bytes.insert(bytes.end(), first, first + sizeof record);
}

/// Runs one admin command against the adapter. `breach` tells what the caller did wrong, if anything.
void runCommand(Session &session, const Command &command, Completion &completion, std::string &breach);

}  // namespace sim
