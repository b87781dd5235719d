// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/flash.h"

#include <cstring>
#include <memory>
#include <new>

#include "device/common/DeviceManagement.h"
#include "function/imagecheck.h"
#include "function/log.h"
#include "function/message.h"
#include "trx/trx_nvme.h"

namespace {

constexpr TRX_U16 kSegmentBytes = TRX_PAGE_SIZE;

_Device *nvmeDevice(TRX_U8 adapter) {
  _DeviceManagement *manager = GetDeviceManagementInstance();
  _Device *device = manager->getDevice(manager, adapter);
  return device->getNVMEDevice(device);
}

TRX_U32 openImage(TRXFlash *flash, char *path, TRX_U8 adapter) {
  TRXFileBuffer *file = flash->m_file;
  if (file->open_for_read(file, path, flash->m_segment_size) != 0) return 1;
  const std::size_t length = file->get_file_length(file);
  file->m_checksum_ret = checksumResult(file->m_image.get(), length);
  if (file->m_checksum_ret == 0) file->m_crc = crcMake(file->m_image.get(), length);
  flash->m_d = nvmeDevice(adapter);
  flash->m_total_size = static_cast<TRX_U32>(length);
  return 0;
}

// A vendor image is checked before anything of it is sent.
bool isGood(const TRXFileBuffer &image) {
  if (image.m_checksum_ret == 0) return true;
  if (image.m_length % TRX_PAGE_SIZE != 0) {
    printError(TRX_MESSAGE_ERROR, "Firmware image %s: length %zu is not a multiple of %d.\n", image.m_path,
               image.m_length, TRX_PAGE_SIZE);
  } else {
    printError(TRX_MESSAGE_ERROR, "Firmware image %s: its words sum to 0x%x, not to 0.\n", image.m_path,
               image.m_checksum_ret);
  }
  return false;
}

// A transfer that was asked to stop has failed, so that nothing of it is activated or committed.
bool isStopped(TRXProgressBar *progress) {
  if (!progress->m_stop) return false;
  progress->setResult(progress, 1);
  return true;
}

void showPercentage(TRXFlash *flash, TRX_U32 offset) {
  if (flash->m_total_size == 0) {
    add_log("firmware image file length error %ld .\n", 0L);
    return;
  }
  // 100 is left to the commit. What is over in the last segment of an odd length shows, meant.
  flash->m_progress->setPercentage(flash->m_progress,
                                   static_cast<TRX_U8>(_TRX_U64{offset} * 98 / flash->m_total_size + 1));
}

TRX_U32 sendSegment(TRXFlash *flash, const TRX_U32 (&words)[2], const TRX_U8 *segment) {
  return flash->m_d->sendCommand(flash->m_d, TRX_NVME_FIRMWARE_IMAGE_DOWNLOAD, 0, words, 2, segment,
                                 flash->m_segment_size, nullptr, 0);
}

struct FlashDestructor {
  void operator()(TRXFlash *flash) const { flash->destructor(flash); }
};

// Everything but the commit. @return whether the commit is to follow
bool transfer(TRXFlash *flash, TRXProgressBar *progress) {
  if (!transfersImage(flash->m_ca) || progress->getResult(progress) != 0) {
    // Also after an image that could not be opened: the commit has no device then, and fails. Meant.
    progress->setResult(progress, 0);
    return true;
  }
  if (flash->m_type && !isGood(*flash->m_file)) {
    progress->setResult(progress, 1);
    return false;
  }
  flash->download(flash);
  if (isStopped(progress)) return false;
  if (flash->m_type && progress->getResult(progress) == 0) flash->sp_active(flash);
  return progress->getResult(progress) == 0;
}

void *thread_flash_adapter_nvme(void *argument) {
  const auto &data = *static_cast<const TRXFlashData *>(argument);
  TRXProgressBar *progress = progressbar_management_get_instance(data.adapter);
  const std::unique_ptr<TRXFlash, FlashDestructor> flash(
      CreateTRXFlashAdapterInstance(data.fs, data.ca, data.type));
  if (flash) {
    flash->init(flash.get(), data.file_name, data.adapter);
  }
  if (!flash || !flash->m_progress) {
    printError(TRX_MESSAGE_ERROR, "A firmware transfer has no memory to begin with.\n");
    progress->setResult(progress, 1);
  } else if (transfer(flash.get(), progress)) {
    flash->active(flash.get());
  }
  progress->closeThread(progress);
  return nullptr;
}

}  // namespace

bool transfersImage(TRX_U8 ca) {
  return ca != TRX_NVME_COMMIT_ACTIVATE_AT_RESET && ca != TRX_NVME_COMMIT_ACTIVATE_NOW;
}

TRXFlash *CreateTRXFlashAdapterInstance(TRX_U8 fs, TRX_U8 ca, TRX_U8 type) {
  auto *flash = new (std::nothrow) TRXFlash{};
  if (!flash) return nullptr;
  flash->m_file = CreateTRXFileBufferInstance();
  flash->m_slot = fs;
  flash->m_ca = ca;
  flash->m_type = type;
  flash->m_segment_size = kSegmentBytes;
  flash->download = TRXFlash_Adapter_download;
  flash->active = TRXFlash_Adapter_active;
  flash->sp_active = TRXFlash_Adapter_sp_active;
  flash->init = TRXFlash_Adapter_init;
  flash->destructor = TRXFlash_destructor;
  return flash;
}

void TRXFlash_Adapter_init(TRXFlash *flash, char *path, TRX_U8 adapter) {
  TRX_U32 result = 0;
  if (!transfersImage(flash->m_ca)) {
    flash->m_d = nvmeDevice(adapter);
    flash->m_progress = progressbar_management_get_instance(adapter);
  } else {
    if (!flash->m_file) return;
    flash->m_progress = progressbar_management_get_instance(adapter);
    result = openImage(flash, path, adapter);
  }
  flash->m_progress->setResult(flash->m_progress, result);
  flash->m_progress->setPercentage(flash->m_progress, 1);
}

void TRXFlash_Adapter_download(TRXFlash *flash) {
  TRXFileBuffer *file = flash->m_file;
  TRXProgressBar *progress = flash->m_progress;
  if (!file || !flash->m_d || !progress) return;
  TRX_U32 status = 0;
  do {
    if (isStopped(progress)) return;
    const TRX_U32 offset = file->get_offset(file);
    const TRX_U32 words[2] = {flash->m_segment_size / 4u - 1, offset / 4};
    status = sendSegment(flash, words, file->read(file));
    progress->setResult(progress, status);
    showPercentage(flash, file->get_offset(file));
    add_log("firmware image download CDW10 0x%x CDW11 0x%x ret %d.\n", words[0], words[1],
            static_cast<int>(status));
  } while (status == 0 && file->get_offset(file) < flash->m_total_size);
}

void TRXFlash_Adapter_active(TRXFlash *flash) {
  TRXProgressBar *progress = flash->m_progress;
  if (!flash->m_d) {
    if (progress) progress->setResult(progress, 1);
    return;
  }
  const TRX_U32 word = TRX_U32{flash->m_ca} << 3 | flash->m_slot;
  const TRX_U32 status =
      flash->m_d->sendCommand(flash->m_d, TRX_NVME_FIRMWARE_COMMIT, 0, &word, 1, nullptr, 0, nullptr, 0);
  add_log("firmware active ret %d.\n", static_cast<int>(status));
  if (!progress) return;
  progress->setResult(progress, status);
  progress->setPercentage(progress, 100);
}

void TRXFlash_Adapter_sp_active(TRXFlash *flash) {
  TRXProgressBar *progress = flash->m_progress;
  if (!flash->m_d) {
    if (progress) progress->setResult(progress, 1);
    return;
  }
  trx_admin_command_format entry{};
  entry.CDW[0] = TRX_OPCODE_CONTROLLER;
  entry.CDW[12] = TRX_U32{flash->m_type} << 16 | 0x0BE0;
  std::memcpy(&entry.CDW[13], "TRX ", sizeof entry.CDW[13]);
  entry.CDW[15] = flash->m_file->m_crc;
  entry.cdw_flag = 0xB001;
  const TRX_U32 status = flash->m_d->sendPassthruAdmin(flash->m_d, &entry, nullptr, 0, nullptr, 0);
  add_log("firmware sp active ret %d.\n", static_cast<int>(status));
  progress->setResult(progress, status);
  progress->setPercentage(progress, 100);
}

void TRXFlash_query(TRXFlash *flash) {
  if (flash->m_has_read_flash_info || !flash->m_d) return;
  alignas(TRX_PAGE_SIZE) TRX_U8 page[TRX_PAGE_SIZE] = {};
  constexpr TRX_U32 kSlotLog = TRX_NVME_LID_FIRMWARE_SLOT;  // one dword (NUMDL 0) is enough
  flash->m_d->sendCommand(flash->m_d, TRX_NVME_GET_LOG_PAGE, 0, &kSlotLog, 1, nullptr, 0, page, sizeof page);
  flash->m_slot = page[0] & 7;
  flash->m_has_read_flash_info = 1;
  add_log("Active Slot: %d, segment_size %d\n", flash->m_slot, flash->m_segment_size);
}

void TRXFlash_destructor(TRXFlash *flash) {
  if (flash->m_file) flash->m_file->close(flash->m_file);
  delete flash;
}

void *(*GetAdapterNvmeFlashAdapterFucntion())(void *) { return thread_flash_adapter_nvme; }
