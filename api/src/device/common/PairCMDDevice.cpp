// SPDX-License-Identifier: GPL-3.0-or-later
#include "device/common/PairCMDDevice.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "device/vmware/NVMEDevice.h"
#include "function/log.h"

namespace {

constexpr TRX_U32 kRefused = 1;
constexpr TRX_U32 kNoNvmCommands = 5;
constexpr TRX_U8 kSign[4] = {'T', 'R', 'X', 0};
constexpr std::size_t kSignChecked = 3;
constexpr TRX_U32 kEnvelopeDwords = TRX_PAGE_SIZE / 4;
constexpr TRX_U32 kPairWords[6] = {kEnvelopeDwords, 0, 0, 0, 0, TRX_SIGNATURE_WORD};

_PairCMDDevice *self(_Device *device) { return reinterpret_cast<_PairCMDDevice *>(device); }

void fillRequest(NVMESendData &request, const TRX_U32 *cdw, TRX_U8 count, const void *in, TRX_U16 in_length) {
  std::memcpy(request.sign, kSign, sizeof request.sign);
  request.cmd_length = static_cast<TRX_U8>(std::min<std::size_t>(count, std::size(request.vendor_cmd)));
  for (TRX_U8 i = 0; i < request.cmd_length; ++i) request.vendor_cmd[i] = static_cast<TRX_U16>(cdw[i]);
  request.data_offset = offsetof(NVMESendData, data);
  request.data_length = in_length;
  if (in_length) std::memcpy(request.data, in, std::min<std::size_t>(in_length, sizeof request.data));
}

// It is as long as a whole envelope and goes with what fits behind the head, on purpose. Any other
// request that does not fit is a mistake.
bool isEventPage(const TRX_U32 *cdw, TRX_U8 count) {
  return count >= 2 && cdw[0] == TRX_GROUP_DUMP && cdw[1] == TRX_DUMP_EVENT_PAGE;
}

// The controller pairs a receive with the send before it, so nobody else's send may come between.
TRX_U32 exchange(_PairCMDDevice &pair) {
  _Device *nvme = pair.m_nvme_device;
  const TRXLockGuard guard(nvme->m_lock);
  TRX_U32 status = nvme->sendCommand(nvme, NVME_PAIR_SEND, 0, kPairWords, std::size(kPairWords),
                                     &pair.m_in_buffer, sizeof pair.m_in_buffer, nullptr, 0);
  if (status) {
    add_log("send failed %d\n", static_cast<int>(status));
    return kRefused;
  }
  status = nvme->sendCommand(nvme, NVME_PAIR_RECEIVE, 0, kPairWords, std::size(kPairWords), nullptr, 0,
                             &pair.m_out_buffer, sizeof pair.m_out_buffer);
  if (status) {
    add_log("receive failed %d\n", static_cast<int>(status));
    return kRefused;
  }
  const NVMEReceiveData &reply = pair.m_out_buffer;
  if (std::memcmp(reply.sign, kSign, kSignChecked) != 0) {
    add_log("receive sign get 0x%x 0x%x 0x%x expect 0x%x 0x%x 0x%x\n", reply.sign[0], reply.sign[1],
            reply.sign[2], kSign[0], kSign[1], kSign[2]);
    return kRefused;
  }
  return reply.cmd_status;
}

TRX_U32 PairCMDDevice_sendCommand(_Device *device, TRX_U8, TRX_U32, const TRX_U32 *cdw, TRX_U8 count,
                                  const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length) {
  _PairCMDDevice &pair = *self(device);
  if (in_length > sizeof pair.m_in_buffer.data && !isEventPage(cdw, count)) return kRefused;
  if ((in_length && !in) || (out_length && !out)) return kRefused;

  // Whole, not only the heads: neither side may see bytes of an earlier exchange.
  pair.m_in_buffer = {};
  pair.m_out_buffer = {};
  add_log("PairCMD 0x%x  0x%x\n", count > 0 ? cdw[0] : 0, count > 1 ? cdw[1] : 0);
  fillRequest(pair.m_in_buffer, cdw, count, in, in_length);
  const TRX_U32 status = exchange(pair);
  if (status == 0 && out_length) {
    const std::size_t carried = std::min<std::size_t>(out_length, sizeof pair.m_out_buffer.data);
    std::memcpy(out, pair.m_out_buffer.data, carried);
    std::memset(static_cast<TRX_U8 *>(out) + carried, 0, out_length - carried);
  }
  return status;
}

TRX_U32 PairCMDDevice_sendNVM(_Device *, TRX_U8, TRX_U32, const TRX_U32 *, TRX_U8, const void *, TRX_U16,
                              void *, TRX_U16) {
  return kNoNvmCommands;
}

TRX_U32 PairCMDDevice_sendPassthruAdmin(_Device *, const void *, const void *, TRX_U16, void *, TRX_U16) {
  add_log("Send passthrough command fail, please contact with vendor.\n");
  return kRefused;
}

void PairCMDDevice_closeHandle(_Device *device) {
  _PairCMDDevice *pair = self(device);
  pair->m_nvme_device->closeHandle(pair->m_nvme_device);
  delete pair;
}

_Device *PairCMDDevice_getNVMEDevice(_Device *device) { return self(device)->m_nvme_device; }

}  // namespace

_Device *CreatePairCMDDeviceInstance(_Device *inner) {
  auto *pair = new (std::nothrow) _PairCMDDevice;
  if (!pair) return nullptr;
  pair->m_nvme_device = inner;
  pair->in_device.sendCommand = PairCMDDevice_sendCommand;
  pair->in_device.sendNVM = PairCMDDevice_sendNVM;
  pair->in_device.sendPassthruAdmin = PairCMDDevice_sendPassthruAdmin;
  pair->in_device.closeHandle = PairCMDDevice_closeHandle;
  pair->in_device.getNVMEDevice = PairCMDDevice_getNVMEDevice;
  pair->in_device.slot_id = -1;
  return &pair->in_device;
}
