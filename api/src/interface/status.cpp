// SPDX-License-Identifier: GPL-3.0-or-later
// Words for statuses. A table without a text at a value has nothing to say about it.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "function/message.h"
#include "trx/trx_api.h"

namespace {

// Status code type 0 (NVMe base standard, Generic Command Status). 17h is not defined.
constexpr const char *kGeneric[] = {
    "Successful Completion",
    "Invalid Command Opcode",
    "Invalid Field in Command",
    "Command ID Conflict",
    "Data Transfer Error",
    "Commands Aborted due to Power Loss Notification",
    "Internal Error",
    "Command Abort Requested",
    "Command Aborted due to SQ Deletion",
    "Command Aborted due to Failed Fused Command",
    "Command Aborted due to Missing Fused Command",
    "Invalid Namespace or Format",
    "Command Sequence Error",
    "Invalid SGL Segment Descriptor",
    "Invalid Number of SGL Descriptors",
    "Data SGL Length Invalid",
    "Metadata SGL Length Invalid",
    "SGL Descriptor Type Invalid",
    "Invalid Use of Controller Memory Buffer",
    "PRP Offset Invalid",
    "Atomic Write Unit Exceeded",
    "Operation Denied",
    "SGL Offset Invalid",
    nullptr,
    "Host Identifier Inconsistent Format",
    "Keep Alive Timer Expired",
    "Keep Alive Timeout Invalid",
    "Command Aborted due to Preempt and Abort",
    "Sanitize Failed",
    "Sanitize In Progress",
    "SGL Data Block Granularity Invalid",
    "Command Not Supported for Queue in CMB",
};

// The same type from 80h on: NVM command set.
constexpr TRX_U32 kNvmBase = 0x80;
constexpr const char *kNvm[] = {
    "LBA Out of Range",     "Capacity Exceeded",  "Namespace Not Ready",
    "Reservation Conflict", "Format In Progress",
};

// Status code type 1 (NVMe base standard, Command Specific Status).
constexpr const char *kCommandSpecific[] = {
    "Completion Queue Invalid",
    "Invalid Queue Identifier",
    "Invalid Queue Size",
    "Abort Command Limit Exceeded",
    nullptr,
    "Asynchronous Event Request Limit Exceeded",
    "Invalid Firmware Slot",
    "Invalid Firmware Image",
    "Invalid Interrupt Vector",
    "Invalid Log Page",
    "Invalid Format",
    "Firmware Activation Requires Conventional Reset",
    "Invalid Queue Deletion",
    "Feature Identifier Not Saveable",
    "Feature Not Changeable",
    "Feature Not Namespace Specific",
    "Firmware Activation Requires NVM Subsystem Reset",
    "Firmware Activation Requires Reset",
    "Firmware Activation Requires Maximum Time Violation",
    "Firmware Activation Prohibited",
    "Overlapping Range",
    "Namespace Insufficient Capacity",
    "Namespace Identifier Unavailable",
    nullptr,
    "Namespace Already Attached",
    "Namespace Is Private",
    "Namespace Not Attached",
    "Thin Provisioning Not Supported",
    "Controller List Invalid",
    "Device Self-test In Progress",
    "Boot Partition Write Prohibited",
    "Invalid Controller Identifier",
    "Invalid Secondary Controller State",
    "Invalid Number of Controller Resources",
    "Invalid Resource Identifier",
};

// Status code type 7: the firmware's own. The values are grouped from 0 and from 51.
constexpr const char *kVendorLow[] = {
    "No error",      "Failed",        nullptr,         "Invalid request", "Invalid parameter",
    "Not supported", "Invalid HD ID", "Invalid LD ID", "No resource",     "Operation in progress",
};
constexpr TRX_U32 kVendorHighBase = 51;
constexpr const char *kVendorHigh[] = {
    "LD is not redundant",
    "LD is not fully inited",
    "LD is not functional",
    "LD is functional",
    nullptr,
    "Import no table",
    "Import already in table",
    "Import foreign",
    "HD is assigned",
    "Invalid RAID mode",
    "Invalid HD count",
    "Invalid SBS",
    "No available ID",
    "HD sector size mismatch",
    "Create namespace cap out of range",
    "LD has BGA",
    "No BGA activity",
    "Invalid BGA action",
    "BGA is running",
    "BGA is not running",
    "Rebuild source fail.",
    "Rebuild target is too small",
    "Media patrol is running",
    "Invalid Namespace count",
};
static_assert(kVendorHighBase + sizeof kVendorHigh / sizeof *kVendorHigh - 1 == 74);

template <std::size_t Count>
const char *textAt(const char *const (&table)[Count], TRX_U32 index, const char *otherwise) {
  return index < Count && table[index] ? table[index] : otherwise;
}

const char *_cssErrorMessage(TRX_U32 code) { return textAt(kCommandSpecific, code, "Unknown error"); }

const char *_vcErrorMessage(TRX_U32 code) {
  if (code >= kVendorHighBase) return textAt(kVendorHigh, code - kVendorHighBase, "Unknown error");
  return textAt(kVendorLow, code, "Unknown error");
}

const char *genericMessage(TRX_U32 status) {
  if (status >= kNvmBase) return textAt(kNvm, status - kNvmBase, "Unknown Status");
  return textAt(kGeneric, status, "Unknown Status");
}

const char *nvmeMessage(TRX_U32 status) {
  constexpr TRX_U32 kVendorType = 0x700, kCommandSpecificBit = 0x100, kCode = 0xFF;
  if ((status & kVendorType) == kVendorType) return _vcErrorMessage(status & kCode);
  if (status & kCommandSpecificBit) return _cssErrorMessage(status & kCode);
  return genericMessage(status);
}

// The C library's words. For a number that it does not know it makes some up, and they need a place.
const char *platformMessage(TRX_U32 status) {
  thread_local char place[64];
  const auto number = static_cast<int32_t>(status);
  return strerror_r(number == INT32_MIN ? number : std::abs(number), place, sizeof place);
}

}  // namespace

const char *TRX_StatusText(TRX_U32 status, TRX_STATUS_SOURCE source) {
  if (source == TRX_STATUS_PLATFORM) return platformMessage(status);
  return source == TRX_STATUS_FIRMWARE ? _vcErrorMessage(status & 0xFF) : nvmeMessage(status);
}

void _showStatusCode(TRX_U32 status) {
  if (status) printOut(TRX_MESSAGE_ERROR, "%s (Status Code: 0x%x)\n", nvmeMessage(status), status);
}

const char *ErrorMessage(TRX_U32 code) {
  switch (code & 0xFF) {
    case 0:
      return "No error";
    case 1:
      return "Failed";
    default:
      return "Unknown error";
  }
}
