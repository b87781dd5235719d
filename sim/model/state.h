// SPDX-License-Identifier: GPL-3.0-or-later
// The state of one simulated adapter: plain records that are copied as bytes into its state file.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "trx/trx_records.h"

namespace sim {

/// Times of the model are milliseconds since 1970, or since whatever the topology's clock says.
using Millis = int64_t;
/// The last moment that a journal line can tell: seconds are 32 bits there.
constexpr Millis kLatest = Millis{UINT32_MAX} * 1000;

/// Firmware status values: byte 4 of a reply, or the status code of a vendor-specific completion.
enum class Fw : uint8_t {
  Ok = 0,
  Failed = 1,
  InvalidRequest = 3,
  InvalidParameter = 4,
  NotSupported = 5,
  InvalidDisk = 6,
  InvalidVolume = 7,
  NoResource = 8,
  InProgress = 9,
  NotRedundant = 51,
  NotInitialised = 52,
  NotFunctional = 53,
  Functional = 54,
  ImportNoTable = 56,
  ImportAlready = 57,
  ImportForeign = 58,
  DiskAssigned = 59,
  InvalidRaidMode = 60,
  InvalidDiskCount = 61,
  InvalidStripe = 62,
  NoAvailableId = 63,
  SectorSizeMismatch = 64,
  NamespaceTooLarge = 65,
  HasActivity = 66,
  NoActivity = 67,
  InvalidActivityAction = 68,
  ActivityRunning = 69,
  ActivityNotRunning = 70,
  RebuildSourceFail = 71,
  RebuildTargetTooSmall = 72,
  MediaPatrolRunning = 73,
  InvalidNamespaceCount = 74
};

/// Firmware of a controller or a disk: up to seven slots, of which one runs.
struct FirmwareSlots {
  char revision[7][8];           ///< blank padded; all zero for an empty slot
  char running[8];               ///< a slot may hold another image than the one that was started from it
  NVME_Version_Info version[7];  ///< of a controller's images
  uint8_t count;                 ///< slots that exist, 1 to 7
  uint8_t active;                ///< 1-based
  uint8_t pending;               ///< 1-based slot that the next reset activates; 0 for none
  uint8_t reserved;
};

/// SMART counters as they were at a moment; some grow with the model's time.
struct SmartBase {
  Millis since;
  uint64_t dataUnitsRead;  ///< thousands of 512-byte units, as the log page counts
  uint64_t dataUnitsWritten;
  uint64_t hostReads;
  uint64_t hostWrites;
  uint64_t powerCycles;
  uint64_t powerOnHours;
  uint64_t unsafeShutdowns;
  uint64_t mediaErrors;
  uint64_t errorLogEntries;
  uint64_t busyMinutes;     ///< of the controller with commands
  uint32_t warningMinutes;  ///< above the warning temperature, and above the critical one
  uint32_t criticalMinutes;
  uint32_t throttled1;  ///< times that the lower thermal management temperature slowed the device down
  uint32_t throttled2;  ///< and the higher one
  uint32_t throttledSeconds1;
  uint32_t throttledSeconds2;
  uint16_t temperatureKelvin;
  uint8_t criticalWarning;
  uint8_t availableSpare;
  uint8_t spareThreshold;
  uint8_t percentageUsed;
  uint8_t reserved[2];
};

/// How a disk's PCIe function answers a read of its configuration space.
enum class PcieCompletion : uint8_t {
  Ok = 0,
  Timeout,
  Retry,
  Unsupported,
  Abort,
  Stuck  ///< nothing comes back, not even a time-out
};

struct Disk {
  uint16_t id;
  uint8_t present;
  uint8_t failed;
  uint8_t held;  ///< bits: 0 power off, 1 PERST# asserted
  uint8_t led;   ///< 0 off, 1 on, 2 slow, 3 quick
  uint8_t tooSmallTold;
  uint8_t completion;  ///< a PcieCompletion: how it answers reads of its configuration space
  char model[40];
  char serial[20];
  uint32_t sectorSize;
  uint64_t sectors;
  uint16_t ssdController;
  uint16_t ssdNsid;
  uint16_t vendorId;
  uint16_t resets;  ///< device resets seen
  FirmwareSlots firmware;
  SmartBase smart;
};

constexpr uint8_t kStatusNotForced = 0xFF;

struct Volume {
  uint16_t id;
  uint8_t raidMode;
  uint8_t memberCount;
  uint16_t members[32];  ///< TRX_PD_ID_MISSING for one that is gone
  uint16_t stripeBlocks;
  uint8_t foreign;
  uint8_t importable;
  uint8_t initialised;
  uint8_t forcedStatus;  ///< a TRX_VD_STATUS that the topology asked for, or kStatusNotForced
  uint8_t reserved[2];
  uint32_t sectorSize;
  uint64_t sectors;
  char name[16];
};

/// Controller identifiers run from 0 to kLastController: the physical function and its virtual ones.
constexpr uint16_t kLastController = 33;

struct Namespace {
  uint8_t nsid;
  uint8_t deviceType;  ///< TRX_NS_DEVICE_PD or TRX_NS_DEVICE_VD
  uint16_t backing;
  uint8_t shared;
  uint8_t reserved[3];
  uint32_t sectorSize;
  uint32_t owner;  ///< controller that a private namespace belongs to
  uint64_t sectors;
  uint64_t attached;  ///< bit n: attached to controller n
  uint8_t eui64[8];
};

struct Activity {
  uint8_t type;  ///< TRX_BGA_TYPE
  uint8_t paused;
  uint16_t target;  ///< volume, or disk for TRX_NVME_BGA_TYPE_HD_MEDIAPATROL
  uint8_t toldQuarter;
  uint8_t slot;   ///< member place that a rebuild fills
  uint16_t disk;  ///< rebuild: the new member
  Millis since;
  uint32_t doneMilli;  ///< thousandths of a percent done at `since`
  uint8_t newRaidMode;
  uint8_t newMemberCount;
  uint16_t newMembers[32];  ///< migration: the layout that it ends with
  uint8_t reserved[2];
};

struct Register {
  uint32_t device;  ///< argument of the register functions
  uint32_t address;
  uint32_t value;
};

/// One journal entry in its fixed layout; the text of it stands in the journal pages.
struct EventRecord {
  uint32_t seconds = 0;
  uint32_t sequence = 0;
  uint16_t eventClass = 0;
  uint16_t code = 0;
  uint16_t device = 0;
  uint8_t severity = 0;
  uint8_t parameters = 0;
  uint32_t parameter = 0;
};

constexpr size_t kJournalPages = 16;
constexpr size_t kJournalText = 4056;
constexpr size_t kEventsPerPage = 63;

struct Journal {
  uint32_t nextSequence;
  uint32_t page;
  uint32_t used;  ///< bytes of `page` that hold lines
  uint32_t reserved;
  char text[kJournalPages][kJournalText];
};

/// In milliseconds. The patience of programs ends at 100 seconds.
constexpr uint32_t kLongestLatency = 60'000;

/// What an adapter is and what it is set to; everything of fixed size.
struct AdapterCore {
  char name[32];
  uint8_t supported;
  uint8_t bus;
  uint8_t device;
  uint8_t function;
  int32_t slot;           ///< physical slot, -1 when the firmware tables do not tell it
  uint32_t index;         ///< place in the driver's list
  uint32_t rateMilli;     ///< thousandths of a percent per second that activities advance at high rate
  uint32_t nextEui;       ///< EUI-64 values are never used twice
  uint16_t controllerId;  ///< of the physical function
  uint8_t dumpOn;
  uint8_t debugLevel;
  char model[40];
  char serial[20];
  NVME_Adapter_Info info;
  NVME_Adapter_Config config;
  FirmwareSlots firmware;
  SmartBase smart;
  uint32_t latencyMillis;     ///< that each exchange takes
  uint32_t spiRead;           ///< bytes of the SPI log that the running read-out has given
  uint8_t vpdTarget;          ///< 0 EEPROM, 1 SPI
  uint8_t switches;           ///< manufacturing switches: bits 0 kxf, 1 protect, 2 sriov
  uint8_t pendingSwitches;    ///< the same, as they will be after a restart
  uint8_t imageVerified;      ///< 1: the received image passed the vendor activation
  uint8_t imageType;          ///< type byte of the vendor activation
  uint8_t linkLed[2][32];     ///< LED action per end point and per root complex
  uint8_t vpd[2][512];        ///< by vpdTarget
  uint32_t gpio[4];           ///< GPIO words: function switch, level, value, set-default
  uint32_t gpioDefault[3];    ///< the first three as they are after a restart
  uint8_t i2c[32];            ///< bit n: I2C device n answers
  uint8_t miRequest[4096];    ///< the NVMe-MI message whose answer waits
  uint32_t miRequestLength;   ///< 0: none waits
  NVME_Adapter_Time hostTime; /* as last set by the host */
};

constexpr size_t kSpiLogLimit = 65536;

struct Adapter {
  AdapterCore core{};
  std::vector<Disk> disks;
  std::vector<Volume> volumes;
  std::vector<Namespace> namespaces;
  std::vector<Activity> activities;
  std::vector<Register> registers;
  std::vector<EventRecord> events;
  std::vector<char> spiLog;
  std::vector<Journal> journal = std::vector<Journal>(1);  ///< always one; too large for a stack

  bool raid() const { return (core.info.Features & TRX_FEATURE_RAID) != 0; }
  std::string_view name() const { return core.name; }
};

/// Whether a text can be an adapter's name: lower-case letters and digits, few enough for a file's name.
bool plainName(std::string_view text);

Disk *findDisk(Adapter &adapter, uint32_t id);
const Disk *findDisk(const Adapter &adapter, uint32_t id);
Volume *findVolume(Adapter &adapter, uint32_t id);
const Volume *findVolume(const Adapter &adapter, uint32_t id);
Namespace *findNamespace(Adapter &adapter, uint32_t nsid);
const Namespace *findNamespace(const Adapter &adapter, uint32_t nsid);

/// Copies text into a field, padded with `fill`; cut to fit.
void putText(std::span<char> field, std::string_view text, char fill = ' ');
/// The text of a field without its padding.
std::string fieldText(std::span<const char> field);

static_assert(std::is_trivially_copyable_v<AdapterCore> && std::is_trivially_copyable_v<Disk> &&
              std::is_trivially_copyable_v<Volume> && std::is_trivially_copyable_v<Namespace> &&
              std::is_trivially_copyable_v<Activity> && std::is_trivially_copyable_v<Register> &&
              std::is_trivially_copyable_v<EventRecord> && std::is_trivially_copyable_v<Journal>);

}  // namespace sim
