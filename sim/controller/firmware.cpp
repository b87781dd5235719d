// SPDX-License-Identifier: GPL-3.0-or-later
#include "controller/firmware.h"

#include "model/journal.h"

namespace sim {
namespace {

/// The register of a CRC-32 (IEEE 802.3) after all bytes, not inverted.
uint32_t crcRegister(std::span<const uint8_t> image) {
  uint32_t crc = 0xFFFFFFFF;
  for (uint8_t byte : image) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
  }
  return crc;
}

constexpr uint32_t kActivationKey = 0x20585254;  // "TRX "

}  // namespace

void finish(Completion &completion, NvmeStatus status) {
  if (status != 0) completion.fail(static_cast<uint8_t>(status >> 8), static_cast<uint8_t>(status));
}

void runImageDownload(Context &context, const Command &command, Completion &completion) {
  if (command.in.empty()) return context.breach("Firmware Image Download: no data");
  if ((uint64_t{command.dword(10)} + 1) * 4 != command.in.size())
    return context.breach("Firmware Image Download: dword 10 is not the length");
  uint64_t offset = uint64_t{command.dword(11)} * 4;
  StagedImage staged = stagedImage(context.session());
  if (offset > staged.length()) return context.breach("Firmware Image Download: a gap before the segment");
  uint32_t largest = context.state().core.info.MaxFlashSize;
  if (largest != 0 && offset + command.in.size() > largest)
    return finish(completion, commandSpecific(TRX_IFI));
  if (context.state().core.imageVerified) context.change().core.imageVerified = 0;
  finish(completion, receiveSegment(staged, offset, command.in));
}

void runFirmwareCommit(Context &context, const Command &command, Completion &completion) {
  if (!command.in.empty() || command.wanted != 0) return context.breach("Firmware Commit: takes no data");
  if (command.dword(10) >> 6 != 0)
    return context.breach("Firmware Commit: reserved bits of dword 10 are set");
  StagedImage staged = stagedImage(context.session());
  Adapter &adapter = context.change();
  CommitResult result = commitFirmware(adapter.core.firmware, staged, command.dword(10), kControllerRules);
  adapter.core.imageVerified = 0;
  if (result.written != 0)
    journalAdapter(adapter, context.now(), AdapterEvent::ImageWritten, result.written);
  else if (result.status == commandSpecific(TRX_IFI))
    journalAdapter(adapter, context.now(), AdapterEvent::ImageWriteFailed);
  finish(completion, result.status);
}

Answer directActivateImage(Context &context, const DirectCall &call) {
  if (call.command.dword(13) != kActivationKey) {
    context.breach("activate image: dword 13 is not the key");
    return {};
  }
  StagedImage staged = stagedImage(context.session());
  std::vector<uint8_t> image = staged.bytes();
  if (image.empty() || call.argument == 0) return Fw::InvalidRequest;
  Adapter &adapter = context.change();
  if (__builtin_bswap32(crcRegister(image)) != call.command.dword(15)) {
    staged.discard();
    journalAdapter(adapter, context.now(), AdapterEvent::ImageActivationFailed);
    return Fw::InvalidParameter;
  }
  adapter.core.imageVerified = 1;
  adapter.core.imageType = static_cast<uint8_t>(call.argument);
  return Fw::Ok;
}

}  // namespace sim
