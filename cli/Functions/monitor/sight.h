// SPDX-License-Identifier: GPL-3.0-or-later
// What one look at an object shows of its health and of its background activity.
#ifndef TRX_CLI_SIGHT_H
#define TRX_CLI_SIGHT_H

#include <optional>
#include <string>
#include <vector>

#include "trx/trx_records.h"

namespace trx {

/// A disk or a volume of the current adapter; its id is zero-based.
struct Subject {
  enum class Kind : uint8_t { Volume, Disk } kind;
  TRX_U16 id;

  bool operator==(const Subject &) const = default;
  /// "VD 0", in the user's counting.
  std::string name() const;
  /// Whether a message of the journal is about it. The firmware counts from 0.
  bool isMeantBy(const std::string &message) const;
};

struct Sight {
  bool present = false;
  int harm = 0;      ///< 0 for a sound object; more is worse
  int missing = 0;   ///< members
  TRX_U8 type = 0;   ///< TRX_BGA_TYPE
  TRX_U8 state = 0;  ///< TRX_BGA_STATUS
  std::optional<int> percent;

  bool isBusy() const;
  bool isPaused() const { return state == TRX_NVME_BGA_STATUS_PAUSE; }
  bool isWorseThan(const Sight &before) const { return harm > before.harm || missing > before.missing; }
};

/// Look at an object. @return nothing when it would not be read: `lastFailure` tells why
std::optional<Sight> lookAt(const Subject &subject);

/// "Rebuilding"
const char *wordOfActivity(const Sight &sight);

/// The ids that the current adapter can have of a kind.
std::vector<Subject> candidates(Subject::Kind kind);

}  // namespace trx

#endif  // TRX_CLI_SIGHT_H
