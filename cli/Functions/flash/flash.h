// SPDX-License-Identifier: GPL-3.0-or-later
// Firmware of the controller and of the disks behind it.
#ifndef TRX_CLI_FLASH_H
#define TRX_CLI_FLASH_H

#include <optional>
#include <string>
#include <vector>

#include "Public/files.h"
#include "Public/report.h"
#include "trx/trx_nvme.h"
#include "trx/trx_records.h"

namespace trx {

/// Whether a Firmware Commit only activates what a slot holds (NVMe base standard, CA 010b and 011b),
/// so that there is no image to send.
inline bool activatesOnly(TRX_U8 commitAction) {
  return commitAction == TRX_NVME_COMMIT_ACTIVATE_AT_RESET || commitAction == TRX_NVME_COMMIT_ACTIVATE_NOW;
}

/// What a transfer tells that is interrupted. What it has sent lies in the controller, and is of no effect.
inline constexpr char kNothingCommitted[] = "interrupted: nothing was committed, the firmware stays as it is";

/// Open a firmware image. A file that cannot be opened, is empty, or is longer than the 32 bits that
/// image lengths have is complained about on `stream`; standard error has the reason.
/// @return its length in bytes, never 0
std::optional<TRX_U32> openImage(CommandFile &file, const std::string &path);

/// Whether what is to be sent must be told before the first of it goes out.
inline bool isAnnounced() { return gLine.dryRun || gLine.expect; }

/// The first segment of an image, filled up with zeros. The image is at its beginning before and after.
std::vector<TRX_U8> firstSegment(CommandFile &image);

/// A raw image, likewise: the CRC that its activation has.
/// @return nothing when it is none: its pages are whole, and its words sum to 0
std::optional<TRX_U32> rawImageCrc(CommandFile &image);

/// Update the firmware of a controller and follow the transfer, one poll a second, until it ends.
/// Waits a second after its last line, so that a watcher of the screen sees it.
/// @param adapter zero-based index
/// @param type    0 plain image, 1 raw image
/// @return 0; 1 for an image that will not do; else the status that ended the transfer
int32_t updateAdapterFlash(int32_t adapter, const std::string &path, TRX_U8 fs, TRX_U8 ca, TRX_U8 type);

/// Update the firmware of a disk behind a controller. A failed segment ends it without a commit.
/// @param commit dword 10 of the Firmware Commit: BPID in bit 31, CA in bits 5:3, FS in bits 2:0
/// @return the status of the commit; 1 for an image that cannot be read; the length of the message
///         when a segment failed
int32_t updateHdFlash(TRX_U8 adapter, const std::string &path, TRX_U32 disk, TRX_U32 commit, TRX_U8 ca);

/// Whose slots are shown.
enum class SlotOwner { Controller, Disk };

/// An error line without a line end, on standard output whatever `stream` is.
void complainOnStandardOutput(const char *text);

/// The two lines of the slot information, on standard output.
void printSlotCount(const TRX_ID_CONTROLLER &identity);
void printActiveSlots(const TRX_FIRMWARE_SLOT_INFO_LOG &log);

/// Print the number of firmware slots, the active one and the next one, on standard output. A
/// controller's are those of the current adapter, whatever `adapter` says: this is meant.
void showSlotInfo(TRX_U8 adapter, SlotOwner owner, TRX_U32 disk);

}  // namespace trx

#endif  // TRX_CLI_FLASH_H
