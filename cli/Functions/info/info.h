// SPDX-License-Identifier: GPL-3.0-or-later
// Printers of the controller's records, one block each, on `stream` or into the document. Text widths and
// labels are read by scripts, and so are the keys.
#ifndef TRX_CLI_INFO_H
#define TRX_CLI_INFO_H

#include <vector>

#include "Public/listing.h"
#include "trx/trx_records.h"

namespace trx {

/// "\nFailed to get primary controller.\n", which also stands for a namespace that cannot be identified.
void complainIdentify();

/// The controller block, 36 wide. Asks the current adapter for its host id in the middle of it, because
/// what goes wrong there is told there.
void Adapter_PrintInfo(TRX_U8 adapter, const NVME_Adapter_Info &info);

/// The physical disk block, 23 wide; JBOF adapters also tell whether the disk can be imported.
/// @param volumes in which machines are told that the disk is a member
void HD_PrintInfo(const NVME_PD_Info &disk, bool raidMode, const std::vector<NVME_VD_Info> &volumes = {});

/// The label width of a virtual disk, and the key of those of a kind.
inline constexpr int kVolumeWidth = 20;
inline constexpr char kVolumes[] = "virtual_disks";

/// The virtual disk block, without its activity.
void LD_PrintInfo(Listing &listing, const NVME_VD_Info &volume);

/// The word of a volume's activity (TRX_BGA_TYPE).
const char *activityWord(TRX_U8 type);

/// One line on the running or paused activity of a virtual disk; nothing when there is none.
void VD_PrintBGAStatus(Listing &listing, const NVME_BGA_Status &activity);

/// The namespace block, 20 wide, with an empty line at its end. Asks the current adapter for the EUI-64,
/// likewise. @return whether it was told
bool NS_PrintInfo(const NVME_NS_Info &ns, bool raidMode);

}  // namespace trx

#endif  // TRX_CLI_INFO_H
