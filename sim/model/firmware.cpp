// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/firmware.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "model/journal.h"

namespace sim {
namespace {

/// Commit Action (NVMe base standard, Firmware Commit).
enum CommitAction : uint32_t { kStore = 0, kStoreAndPend = 1, kPend = 2, kActivateNow = 3 };

bool isEmpty(const FirmwareSlots &slots, uint8_t slot) { return slots.revision[slot - 1][0] == '\0'; }

/// The slot for an image whose sender leaves the choice: an empty one, else one that does not run.
uint8_t chosenSlot(const FirmwareSlots &slots) {
  for (uint8_t slot = 1; slot <= slots.count; ++slot)
    if (isEmpty(slots, slot)) return slot;
  return static_cast<uint8_t>(slots.active % slots.count + 1);
}

bool isGood(std::span<const uint8_t> image, const FirmwareRules &rules) {
  if (image.size() < sizeof(ImageHead)) return false;
  if (std::memcmp(image.data(), kImageMagic.data(), kImageMagic.size()) != 0) return false;
  return !rules.wholePagesSumZero || (image.size() % TRX_PAGE_SIZE == 0 && wordSum(image) == 0);
}

void store(FirmwareSlots &slots, uint8_t slot, std::span<const uint8_t> image) {
  ImageHead head;
  std::memcpy(&head, image.data(), sizeof head);
  std::memcpy(slots.revision[slot - 1], head.revision, sizeof head.revision);
  slots.version[slot - 1] = head.version;
}

void activate(FirmwareSlots &slots, uint8_t slot) {
  slots.active = slot;
  slots.pending = 0;
  std::memcpy(slots.running, slots.revision[slot - 1], sizeof slots.running);
}

}  // namespace

std::string revisionText(const NVME_Version_Info &version) {
  std::string text = std::to_string(version.MajorVersion) + "." + std::to_string(version.MinorVersion) + "." +
                     std::to_string(version.BuildNumber);
  return text.substr(0, 8);
}

uint32_t wordSum(std::span<const uint8_t> image) {
  uint32_t sum = 0;
  for (size_t at = 0; at + 4 <= image.size(); at += 4) {
    uint32_t word;
    std::memcpy(&word, &image[at], sizeof word);
    sum += word;
  }
  return sum;
}

uint64_t StagedImage::length() const {
  struct stat facts {};
  return stat(path_.c_str(), &facts) == 0 ? static_cast<uint64_t>(facts.st_size) : 0;
}

void StagedImage::put(uint64_t offset, std::span<const uint8_t> segment) {
  int begin = offset == 0 ? O_TRUNC : 0;
  Descriptor file(open(path_.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | begin, 0644));
  auto place = static_cast<off_t>(offset);
  ssize_t written = file ? pwrite(file.get(), segment.data(), segment.size(), place) : -1;
  if (written == static_cast<ssize_t>(segment.size())) return;
  std::string why = std::strerror(written < 0 ? errno : ENOSPC);
  // The sender may send the segment again.
  if (written > 0 && ftruncate(file.get(), place) != 0) why += ", and the image is cut";
  throw HostError(path_ + ": " + why);
}

std::vector<uint8_t> StagedImage::bytes() const {
  bool exists = false;
  std::vector<char> data = readWhole(path_, exists);
  return {data.begin(), data.end()};
}

void StagedImage::discard() { unlink(path_.c_str()); }

StagedImage stagedImage(const Session &session) { return StagedImage(session.sideFile("image")); }

StagedImage stagedImage(const Session &session, const Disk &disk) {
  return StagedImage(session.sideFile("disk" + std::to_string(disk.id) + ".image"));
}

void discardStagedImages(const Session &session) {
  stagedImage(session).discard();
  for (const Disk &disk : session.state().disks) stagedImage(session, disk).discard();
}

NvmeStatus receiveSegment(StagedImage &staged, uint64_t offset, std::span<const uint8_t> segment) {
  uint64_t received = staged.length();
  if (offset != 0 && offset < received) return commandSpecific(TRX_OR);
  if (offset > received) return TRX_NVME_SC_INVALID_FIELD;
  staged.put(offset, segment);
  return 0;
}

CommitResult commitFirmware(FirmwareSlots &slots, StagedImage &staged, uint32_t dword10,
                            const FirmwareRules &rules) {
  uint32_t action = dword10 >> 3 & 7;
  auto slot = static_cast<uint8_t>(dword10 & 7);
  // Boot partitions (actions 6 and 7, and BPID in bit 31) are not there.
  if (action > kActivateNow || dword10 >> 6 != 0) return {TRX_NVME_SC_INVALID_FIELD};
  if (slot > slots.count) return {commandSpecific(TRX_IFS)};

  // An immediate activation takes a new image along when there is one.
  bool takesImage = action != kPend && !(action == kActivateNow && staged.length() == 0);
  CommitResult result;
  if (takesImage) {
    std::vector<uint8_t> image = staged.bytes();
    staged.discard();
    if (!isGood(image, rules)) return {commandSpecific(TRX_IFI)};
    if (slot == 0) slot = chosenSlot(slots);
    store(slots, slot, image);
    result.written = slot;
  } else if (slot == 0) {
    return {commandSpecific(TRX_IFS)};
  } else if (isEmpty(slots, slot)) {
    return {commandSpecific(TRX_IFI)};
  }

  if (action == kStore) return result;
  if (action == kActivateNow && rules.activatesAtOnce) {
    activate(slots, slot);
    result.activated = slot;
    return result;
  }
  slots.pending = slot;
  if (action == kActivateNow) result.status = commandSpecific(TRX_FWACT_REQ_CON_RESET);
  return result;
}

uint8_t activatePending(FirmwareSlots &slots) {
  uint8_t slot = slots.pending;
  if (slot != 0) activate(slots, slot);
  return slot;
}

void activatePendingFirmware(Adapter &adapter, Millis now) {
  uint8_t slot = activatePending(adapter.core.firmware);
  if (slot == 0) return;
  adapter.core.info.FirmwareVersion = adapter.core.firmware.version[slot - 1];
  journalAdapter(adapter, now, AdapterEvent::ImageActivated, slot);
}

}  // namespace sim
