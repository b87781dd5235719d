// SPDX-License-Identifier: GPL-3.0-or-later
// Background activities: at most one per volume and one per disk, advancing with the model's time.
#pragma once

#include "model/state.h"

namespace sim {

/// Share of the topology's rate that activities advance at, by `NVME_Adapter_Config::BGARate`.
uint32_t ratePercent(uint8_t bgaRate);
/// Percentage done, 0 to 100, at `now`.
uint8_t activityPercent(const Adapter &adapter, const Activity &activity, Millis now);
const Activity *volumeActivity(const Adapter &adapter, uint32_t volume);
const Activity *diskActivity(const Adapter &adapter, uint32_t disk);

/// `type` is TRX_NVME_BGA_TYPE_VD_INIT_QUICK or …_VD_INIT_BACKGROUND.
Fw startInit(Adapter &adapter, Millis now, uint32_t volume, uint8_t type);
Fw startVolumePatrol(Adapter &adapter, Millis now, uint32_t volume);
Fw startDiskPatrol(Adapter &adapter, Millis now, uint32_t disk);
Fw startSync(Adapter &adapter, Millis now, uint32_t volume);
/// Rebuilds the first missing member of a degraded volume onto `disk`.
Fw startRebuild(Adapter &adapter, Millis now, uint32_t volume, uint32_t disk);
Fw startMigration(Adapter &adapter, Millis now, uint32_t volume, uint8_t raidMode,
                  const std::vector<uint16_t> &members);

/// `operation` is a TRX_BGA_OPERATION; starting is done by the functions above only.
Fw controlVolumeActivity(Adapter &adapter, Millis now, uint32_t volume, uint32_t operation);
Fw controlDiskActivity(Adapter &adapter, Millis now, uint32_t disk, uint32_t operation);

/// Ends every activity of a volume that is being deleted or went offline.
void abortVolumeActivities(Adapter &adapter, Millis now, uint32_t volume);
/// Ends those that a volume without all of its members cannot have: all but a rebuild.
void abortWholeVolumeActivities(Adapter &adapter, Millis now, uint32_t volume);
/// Ends what runs on a disk, rebuilds onto it or migrates to it.
void abortDiskActivities(Adapter &adapter, Millis now, uint32_t disk);

/// Takes the progress so far as the new base, before a change of the rate.
void rebaseActivities(Adapter &adapter, Millis now);

/// Whether `advance` would change anything: asked on every exchange, so it must be cheap.
bool advanceDue(const Adapter &adapter, Millis now);
/// Writes the journal lines of the progress made, finishes what is complete, and starts rebuilds
/// by itself when that is on.
void advance(Adapter &adapter, Millis now);

}  // namespace sim
