// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/objects.h"

#include <algorithm>
#include <cstdio>

#include "Public/common.h"
#include "Public/exchange.h"
#include "Public/request.h"

namespace trx {
namespace {

template <typename Record>
TRX_U32 readRecord(TRX_U8 adapter, const ControllerRequest &request, Record &record) {
  ControllerReply reply;
  TRX_U32 status = request.ask(adapter, reply);
  if (status == 0) record = reply.record<Record>();
  return status;
}

TRX_U32 readNamespaces(TRX_U8 adapter, const ControllerRequest &request,
                       std::vector<NVME_NS_Info> &namespaces) {
  constexpr size_t kRoom = (TRX_PAGE_SIZE - ControllerReply::kPayloadOffset) / sizeof(NVME_NS_Info);
  ControllerReply reply;
  TRX_U32 status = request.ask(adapter, reply);
  if (status != 0) return status;
  namespaces.resize(std::min<size_t>(summaryOf(adapter).MaxNS, kRoom));
  for (size_t i = 0; i < namespaces.size(); ++i) {
    namespaces[i] = reply.record<NVME_NS_Info>(i * sizeof(NVME_NS_Info));
  }
  return 0;
}

TRX_U32 identify(TRX_U8 adapter, TRX_U32 nsid, TRX_U32 cns, Page &page) {
  return sendAdmin(adapter, TRX_NVME_IDENTIFY, nsid, {&cns, 1}, {}, page.bytes);
}

}  // namespace

TRX_U32 readAdapter(TRX_U8 adapter, NVME_Adapter_Info &info) {
  return readRecord(adapter, ControllerRequest::function(0xE0, 0), info);
}

TRX_U32 readDisk(TRX_U8 adapter, TRX_U16 id, NVME_PD_Info &disk) {
  return readRecord(adapter, ControllerRequest::function(0xE1, 0).set(14, id), disk);
}

TRX_U32 readVolume(TRX_U8 adapter, TRX_U16 id, NVME_VD_Info &volume) {
  return readRecord(adapter, ControllerRequest::function(0xE2, 0).set(14, id), volume);
}

TRX_U32 readVolumeActivity(TRX_U8 adapter, TRX_U16 id, NVME_BGA_Status &activity) {
  return readRecord(adapter, ControllerRequest::function(0xE3, 2).set(14, id), activity);
}

TRX_U32 readHostNamespaces(TRX_U8 adapter, std::vector<NVME_NS_Info> &namespaces) {
  return readNamespaces(adapter, ControllerRequest::function(0xE5, 0), namespaces);
}

TRX_U32 readVolumeNamespaces(TRX_U8 adapter, TRX_U8 vd, std::vector<NVME_NS_Info> &namespaces) {
  return readNamespaces(adapter, ControllerRequest::function(0xE5, 1, vd).set(14, 0), namespaces);
}

TRX_U32 readPrimaryControllerId(TRX_U8 adapter, TRX_U16 &id) {
  Page page;
  TRX_U32 status = identify(adapter, 0, TRX_NVME_CNS_PRIMARY_CONTROLLER_CAPABILITIES, page);
  if (status == 0) id = page.at<TRX_U16>(0);
  return status;
}

TRX_U32 readEui64(TRX_U8 adapter, TRX_U32 nsid, Eui64 &eui64) {
  constexpr size_t kEui64 = 120;
  Page page;
  TRX_U32 status = identify(adapter, nsid, TRX_NVME_CNS_NAMESPACE, page);
  if (status == 0) eui64 = page.at<Eui64>(kEui64);
  return status;
}

std::string toText(const Eui64 &eui64) {
  char digits[2 * std::tuple_size_v<Eui64> + 1];
  for (size_t i = 0; i < eui64.size(); ++i) std::snprintf(digits + 2 * i, 3, "%02x", eui64[i]);
  return digits;
}

}  // namespace trx
