// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdio>

#include "Functions/changes/guard.h"
#include "Functions/flash/flash.h"
#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/interrupt.h"
#include "Public/listening.h"
#include "Public/report.h"
#include "Public/request.h"

namespace trx {
namespace {

constexpr TRX_U32 kSegmentBytes = TRX_PAGE_SIZE;
constexpr TRX_U32 kSegmentDwords = kSegmentBytes / 4;

// Admin commands of the NVMe base standard, for a disk.
ControllerRequest commitRequest(TRX_U32 disk, TRX_U32 commit) {
  return ControllerRequest::disk(TRX_OPCODE_DISK_WRITE, disk)
      .set(10, commit)
      .set(14, TRX_NVME_FIRMWARE_COMMIT);
}

ControllerRequest segmentRequest(TRX_U32 disk, TRX_U32 segment) {
  return ControllerRequest::disk(TRX_OPCODE_DISK_WRITE, disk)
      .set(10, kSegmentDwords - 1)
      .set(11, segment * kSegmentDwords)
      .set(14, TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD);
}

Wire wireOf(TRX_U8 adapter, const ControllerRequest &request) {
  Wire wire{adapter, {}, {}};
  std::copy_n(request.record().CDW, wire.cdw.size(), wire.cdw.begin());
  return wire;
}

void announce(TRX_U8 adapter, TRX_U32 disk, CommandFile &image, TRX_U32 length, TRX_U32 commit) {
  if (!isAnnounced()) return;
  const std::vector<TRX_U8> first = firstSegment(image);
  Wire download = wireOf(adapter, segmentRequest(disk, 0));
  download.data = first;
  download.imageBytes = length;
  beforeChanges({download, wireOf(adapter, commitRequest(disk, commit))});
}

int32_t commitImage(TRX_U8 adapter, TRX_U32 disk, TRX_U32 commit) {
  TRX_U32 status = commitRequest(disk, commit).send(adapter);
  // Whatever the status: the line stands for the end of the transfer, the result tells the rest.
  constexpr char kDone[] =
      "Flash NVMe Controller %d disk %u firmware success, please shutdown and boot again to make firmware "
      "active.\n";
  if (lastFailure()) {
    tellFailed(kDone, adapter, disk);
  } else {
    tell(kDone, adapter, disk);
  }
  return static_cast<int32_t>(status);
}

enum class Sent { All, Refused, Unreadable };

Sent sendImage(TRX_U8 adapter, TRX_U32 disk, CommandFile &image, TRX_U32 length) {
  Page segment;
  Progress progress;
  for (TRX_U32 at = 0, k = 0; at < length; ++k) {
    // In 32 bits: past 42 MB the percentage begins again at 0. This is meant.
    progress.tell("Download firmware percentage:%u\n", k * 100 * kSegmentBytes / length);
    std::fflush(stream);
    TRX_U32 rest = std::min(kSegmentBytes, length - at);
    // A short last segment keeps the end of the one before it; the controller is given whole pages.
    if (image.read_file(segment.bytes, rest) != rest) return Sent::Unreadable;
    if (segmentRequest(disk, k).give(adapter, segment.bytes, kSegmentBytes) != 0) return Sent::Refused;
    at += rest;
  }
  return Sent::All;
}

}  // namespace

int32_t updateHdFlash(TRX_U8 adapter, const std::string &path, TRX_U32 disk, TRX_U32 commit, TRX_U8 ca) {
  const HeedInterrupts interrupts(kNothingCommitted);
  if (activatesOnly(ca)) return commitImage(adapter, disk, commit);
  CommandFile image;
  std::optional<TRX_U32> length = openImage(image, path);
  if (!length) return 1;
  announce(adapter, disk, image, *length, commit);
  switch (sendImage(adapter, disk, image, *length)) {
    case Sent::Unreadable:
      tellWrong(Outcome::Failed, "failed to read file %s\n", path.c_str());
      return 1;
    case Sent::Refused:
      return tellFailed(
          "\nStart to flash NVMe Controller %d disk %u firmware failed (Invalid firmware image, please check "
          "image and try again.)\n",
          adapter, disk);
    case Sent::All:
      break;
  }
  return commitImage(adapter, disk, commit);
}

}  // namespace trx
