// SPDX-License-Identifier: GPL-3.0-or-later
// Firmware of controllers and disks: images received in segments, checked and kept by slot at the
// commit, pending until a reset.
#pragma once

#include "model/state_file.h"

namespace sim {

/// How an image begins. Its last whole word makes the sum of its 32-bit words 0.
struct ImageHead {
  char magic[8];  ///< "TRXIMAGE"
  NVME_Version_Info version;
  char revision[8];  ///< what the slot log and Identify show, blank padded
};
static_assert(sizeof(ImageHead) == 24);
constexpr std::string_view kImageMagic = "TRXIMAGE";

/// The revision text that goes with a version: major, minor and build, cut to 8 characters.
std::string revisionText(const NVME_Version_Info &version);

/// Sum of the 32-bit words; bytes past the last whole word do not count.
uint32_t wordSum(std::span<const uint8_t> image);

/// The image that is being received, in a side file: it is written often and lost with the power.
class StagedImage {
 public:
  explicit StagedImage(std::string path) : path_(std::move(path)) {}

  uint64_t length() const;
  /// Adds bytes at the end; at offset 0 a new image begins.
  void put(uint64_t offset, std::span<const uint8_t> segment);
  std::vector<uint8_t> bytes() const;
  void discard();

 private:
  std::string path_;
};

StagedImage stagedImage(const Session &session);
StagedImage stagedImage(const Session &session, const Disk &disk);
/// Forgets what was received and not committed, as a loss of power does.
void discardStagedImages(const Session &session);

/// What the maker of a controller or a disk asks of an image, and when it takes effect.
struct FirmwareRules {
  bool wholePagesSumZero;  ///< the length is a multiple of 4096 and the word sum 0
  bool activatesAtOnce;    ///< commit action 3 does without a reset
};
constexpr FirmwareRules kControllerRules{.wholePagesSumZero = true, .activatesAtOnce = false};
constexpr FirmwareRules kDiskRules{.wholePagesSumZero = false, .activatesAtOnce = true};

/// NVMe status of a command: status code type << 8 | status code.
using NvmeStatus = uint16_t;
constexpr NvmeStatus commandSpecific(TRX_NVME_CSS code) { return static_cast<NvmeStatus>(0x100 | code); }

/// Takes a segment of an image. Segments come in order and without overlap; offset 0 begins anew.
NvmeStatus receiveSegment(StagedImage &staged, uint64_t offset, std::span<const uint8_t> segment);

struct CommitResult {
  NvmeStatus status = 0;
  uint8_t written = 0;    ///< slot that took the image; 0: none
  uint8_t activated = 0;  ///< slot that runs now; 0: no change
};

/// Firmware Commit (NVMe base standard) with its dword 10: CA in bits 5:3, FS in bits 2:0.
CommitResult commitFirmware(FirmwareSlots &slots, StagedImage &staged, uint32_t dword10,
                            const FirmwareRules &rules);

/// Runs the slot that waits for a reset. Returns it, or 0 when none waits.
uint8_t activatePending(FirmwareSlots &slots);
/// The same for the controller, whose version and journal tell of it.
void activatePendingFirmware(Adapter &adapter, Millis now);

}  // namespace sim
