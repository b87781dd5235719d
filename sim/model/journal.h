// SPDX-License-Identifier: GPL-3.0-or-later
// The event journal: text lines in sixteen pages, used as a ring, and the same events in fixed layout.
#pragma once

#include "model/state.h"

namespace sim {

/// Event codes that the model writes, by class; the message texts follow from them.
enum class VolumeEvent : uint16_t {
  Offline = 0,
  Online = 1,
  Degraded = 2,
  PartlyDegraded = 3,
  Created = 4,
  Deleted = 5,
  ImportComplete = 7,
  Init = 10,  ///< first code of a block: start, paused, resumed, abort, complete, progress
  Rebuild = 20,
  MediaPatrol = 30
};
enum class DiskEvent : uint16_t { Online = 0, Offline = 1, TargetTooSmall = 10 };
enum class AdapterEvent : uint16_t {
  RateChanged = 0,
  ImageWritten = 2,
  ImageWriteFailed = 3,
  ImageActivated = 4,
  ImageActivationFailed = 5,
  AutoRebuildOff = 8,
  AutoRebuildOn = 9
};

/// Places within a block of activity codes.
enum class Step : uint16_t { Start = 0, Paused = 1, Resumed = 2, Aborted = 3, Complete = 4, Progress = 5 };

void journalVolume(Adapter &adapter, Millis now, VolumeEvent event, uint16_t volume);
void journalActivity(Adapter &adapter, Millis now, VolumeEvent block, Step step, uint16_t volume,
                     uint32_t percent = 0);
void journalDisk(Adapter &adapter, Millis now, DiskEvent event, uint16_t disk);
void journalAdapter(Adapter &adapter, Millis now, AdapterEvent event, uint32_t parameter = 0);
/// A line with any text; `record` gives its fixed-layout twin (time and number are filled in).
void journalLine(Adapter &adapter, Millis now, std::string_view message, EventRecord record);

/// Adds a line to the SPI log when that log is on; the oldest text goes when it is full.
void spiLine(Adapter &adapter, Millis now, std::string_view text);

}  // namespace sim
