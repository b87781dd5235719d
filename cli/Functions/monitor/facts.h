// SPDX-License-Identifier: GPL-3.0-or-later
// What monitors are told of the controllers, read once.
#ifndef TRX_CLI_FACTS_H
#define TRX_CLI_FACTS_H

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Functions/changes/requests.h"
#include "Public/smart_log.h"

namespace trx {

struct DiskFacts {
  TRX_U16 id;
  NVME_PD_Info info;
  std::optional<SmartLog> smart;
  std::optional<TRX_U8> waitingSlot;  ///< that the next reset activates; 0 for none

  bool failed() const { return (info.Status & TRX_PD_STATUS_FAIL) != 0; }
};

struct VolumeFacts {
  TRX_U16 id;
  NVME_VD_Info info;
  std::optional<NVME_BGA_Status> activity;

  std::span<const TRX_U16> members() const;
  size_t missing() const;
};

struct AdapterFacts {
  TRX_U8 id;
  std::string device;
  std::optional<NVME_Adapter_Info> info;
  std::optional<TRX_U8> waitingSlot;
  std::vector<DiskFacts> disks;
  std::vector<VolumeFacts> volumes;
  std::vector<NVME_NS_Info> namespaces;
  size_t unread = 0;
};

/// In the place of one that did not even tell whether it is one of ours.
inline constexpr TRX_U8 kLostAdapter = UINT8_MAX;

/// What could not be asked.
struct Unread {
  TRX_U8 adapter;
  Target target;
  const char *part;  ///< of the object; empty for all of it
  Failure failure;
};

struct Facts {
  std::vector<AdapterFacts> adapters;
  std::vector<Unread> unread;
};

/// What is read only on demand.
enum class Namespaces { Unread, Read };

/// Ask all adapters, or the one that the line names. What would not be read is noted for the outcome, and
/// that there is no adapter.
Facts readFacts(Namespaces namespaces);

/// A text field of a device without its padding.
std::string fieldText(std::span<const TRX_U8> field);

/// "vmhba2 VD 1"; the adapter itself is its device alone.
std::string subjectOf(TRX_U8 adapter, const Target &target);

/// "vmhba2 PD 3: its SMART log could not be read: Internal Error"
std::string describe(const Unread &unread);

}  // namespace trx

#endif  // TRX_CLI_FACTS_H
