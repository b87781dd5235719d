// SPDX-License-Identifier: GPL-3.0-or-later
// What the controller does to the devices behind it and to itself: resets, power, switches.
#pragma once

#include "model/state.h"

namespace sim {

/// Bits of Disk::held: a disk with any of them is gone until the last one is taken away.
enum Hold : uint8_t { kHeldByPower = 1 << 0, kHeldByReset = 1 << 1 };

/// Codes of the reset function for a line.
enum class LineAction : uint8_t { Cycle = 0, On = 1, Off = 2 };

/// The lines of a carrier: pin 0 feeds the disks with even ids, pin 1 those with odd ids, so that a
/// mirror of two neighbours outlives one pin.
constexpr uint32_t kPowerPins = 2;

/// Disables and enables a disk. It stays a member of its volumes and comes up with the firmware that
/// waited for a reset.
Fw resetDisk(Adapter &adapter, uint32_t id);

/// Drives a disk's PCIe reset line (PERST#, PCI Express card standard): On holds the disk in reset,
/// Off releases it. Cycle is a reset that the controller waits for, and leaves the line released.
Fw driveResetLine(Adapter &adapter, Millis now, uint32_t id, LineAction action);

/// Switches a power pin. Off takes its disks away, On gives them back as spares. Cycle is a reset that
/// the controller waits for, and leaves the pin on.
Fw switchPower(Adapter &adapter, Millis now, uint32_t pin, LineAction action);

/// A disk breaks: it stays in its place, and its volumes lose a member.
void failDisk(Adapter &adapter, Millis now, Disk &disk);
/// A disk that is gone or has failed is there again, sound, as a spare.
void mendDisk(Adapter &adapter, Millis now, Disk &disk);
/// A new disk of the same make comes there instead. What was on the old one is gone.
void replaceDisk(Adapter &adapter, Millis now, Disk &disk, std::string_view serial);
/// Makes an empty place for a disk of the first one's make, where there has been none. Null when there is
/// one, when programs do not look there, or when the adapter has no disk at all.
Disk *addPlace(Adapter &adapter, uint64_t id);

/// Bits of AdapterCore::switches and of the switches that wait for a restart.
enum Switch : uint8_t { kSwitchFlashTool = 1 << 0, kSwitchProtection = 1 << 1, kSwitchSriov = 1 << 2 };

/// Sets a manufacturing switch; it works from the next restart on.
void setSwitch(Adapter &adapter, Switch which, bool on);

/// What a restart of the controller does to its switches.
void applyPendingSwitches(Adapter &adapter);

}  // namespace sim
