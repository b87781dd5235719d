// SPDX-License-Identifier: GPL-3.0-or-later
#include "function/sysnotify.h"

#include <algorithm>
#include <array>
#include <optional>
#include <span>
#include <vector>

#include "function/log.h"
#include "trx/trx_api.h"

namespace {

// The two directions of Namespace Attachment, and which namespaces each is for.
struct Attachment {
  TRX_U32 select;  ///< CDW10
  TRX_U8 statusBit;
  const char *ready;
  const char *done;
};

constexpr Attachment kAttach = {TRX_NVME_ATTACH, TRX_NS_STATUS_CREATED, "Ready to attach NS ID %d\n",
                                "\nAttached NS %d to controller\n"};
constexpr Attachment kDetach = {TRX_NVME_DETACH, TRX_NS_STATUS_ACTIVE, "Ready to detach NS ID %d\n",
                                "\nDetached NS %d to controller\n"};

constexpr TRX_U8 kNoNamespace = 255;
constexpr std::size_t kPayloadBytes = sizeof(NVMEReceiveData::data);
constexpr std::size_t kMostListed = kPayloadBytes / sizeof(NVME_NS_Info);

struct ControllerList {
  static constexpr TRX_U16 kCount = 34;
  alignas(TRX_PAGE_SIZE) std::array<TRX_U16, TRX_PAGE_SIZE / 2> words{};

  ControllerList() {
    words[0] = kCount;
    for (TRX_U16 id = 0; id < kCount; ++id) words[1u + id] = id;
  }
};

unsigned countVirtualDisks(TRX_U8 adapter, TRX_U8 maxVd) {
  unsigned count = 0;
  for (TRX_U16 id = 0; id < maxVd; ++id) {
    NVME_VD_Info_Request request{};
    request.header.requestType = TRX_REQUEST_ONE_OBJECT;
    request.header.start = id;
    request.header.numRequested = 1;
    if (TRX_VD_GetInfo(adapter, &request) == 0) ++count;
  }
  return count;
}

// The namespaces to tell of. @return none and the status when they cannot be read
std::optional<std::vector<NVME_NS_Info>> readNamespaces(TRX_U8 adapter, TRX_U8 maxNs, TRX_U32 *status) {
  std::vector<NVME_NS_Info> namespaces(maxNs);
  *status = TRX_NS_GetInfo(adapter, namespaces.data(), maxNs);
  if (*status) return std::nullopt;
  // A reply holds no more than this, whatever the controller says it could have.
  namespaces.resize(std::min(namespaces.size(), kMostListed));
  return namespaces;
}

TRX_U32 sendAttachments(TRX_U8 adapter, std::span<const NVME_NS_Info> namespaces, const Attachment &way) {
  const ControllerList list;
  TRX_U32 status = 0;
  for (const NVME_NS_Info &ns : namespaces) {
    if (ns.device_type != TRX_NS_DEVICE_VD || ns.NSID == kNoNamespace || !(ns.Status & way.statusBit))
      continue;
    add_log(way.ready, ns.NSID);
    status = TRX_Adapter_Admin(adapter, TRX_NVME_NAMESPACE_ATTACHMENT, ns.NSID, &way.select, 1,
                               list.words.data(), sizeof list.words, nullptr, 0);
    if (status == 0) add_log(way.done, ns.NSID);
  }
  return status;
}

TRX_U32 notify(TRX_U8 adapter, const Attachment &way, TRX_U32 *listStatus) {
  NVME_Adapter_Info info{};
  if (TRX_Adapter_GetInfo(adapter, &info) != 0) return 1;
  const auto namespaces = readNamespaces(adapter, info.MaxNS, listStatus);
  if (!namespaces) return 1;
  if (countVirtualDisks(adapter, info.MaxVD) != 1) {
    add_log(
        "\nNamespace attachment only support VD count is 1. Please reboot your system to update namespace "
        "status.\n");
    return 0;
  }
  return sendAttachments(adapter, *namespaces, way);
}

}  // namespace

void before_create_vd(TRX_U8) {}

TRX_U32 after_create_vd(TRX_U8 adapter) {
  TRX_U32 listStatus = 0;
  return notify(adapter, kAttach, &listStatus);
}

void before_delete_vd(TRX_U8 adapter, TRX_U16) {
  TRX_U32 listStatus = 0;
  notify(adapter, kDetach, &listStatus);
  if (listStatus) {
    add_log(
        "\nFailed to read virtual disk name space information (error 0x%x: %s). Please shutdown and power on "
        "the system.\n",
        listStatus, ErrorMessage(listStatus));
  }
}

TRX_U32 after_delete_vd(TRX_U8) { return 0; }

TRX_U32 after_import_vd(TRX_U8, TRX_U16) { return 0; }
