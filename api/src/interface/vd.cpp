// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstring>

#include "device/vmware/NVMEDevice.h"
#include "function/sysnotify.h"
#include "function/systemdisk.h"
#include "interface/request.h"
#include "trx/trx_api.h"

TRX_U32 TRX_VD_GetInfo(TRX_U8 adapter, NVME_VD_Info_Request *request) {
  return listRequest<NVME_VD_Info>(adapter, {TRX_GROUP_VD, 0}, request);
}

TRX_U32 TRX_VD_GetConfig(TRX_U8 adapter, NVME_VD_Config_Request *request) {
  return listRequest<NVME_VD_Config>(adapter, {TRX_GROUP_VD, 1}, request);
}

TRX_U32 TRX_VD_SetConfig(TRX_U8 adapter, const NVME_VD_Config_Request *request) {
  if (!request) return kRefused;
  const TRX_U16 length = listLength<NVME_VD_Config>(sizeof request->header, request->header.numRequested);
  return vendorRequest(adapter, {TRX_GROUP_VD, 2}, {request, length});
}

TRX_U32 TRX_VD_Create(TRX_U8 adapter, NVME_Create_VD *request) {
  if (!request) return kRefused;
  before_create_vd(adapter);
  request->QueryLDSize = 0;
  const TRX_U32 status = vendorRequest(adapter, {TRX_GROUP_VD, 3}, sending(request));
  return status ? status : after_create_vd(adapter);
}

TRX_U32 TRX_VD_QuerySize(TRX_U8 adapter, NVME_Create_VD *request, NVME_PreCreate_VD *answer) {
  if (!request) return kRefused;
  request->QueryLDSize = 1;
  return vendorRequest(adapter, {TRX_GROUP_VD, 3}, sending(request), receiving(answer));
}

TRX_U32 TRX_VD_Delete(TRX_U8 adapter, TRX_U16 id) {
  before_delete_vd(adapter, id);
  NVME_VD_Delete request{};
  request.ID = id;
  const TRX_U32 status = vendorRequest(adapter, {TRX_GROUP_VD, 4}, sending(&request));
  return status ? status : after_delete_vd(adapter);
}

TRX_U32 TRX_VD_Import(TRX_U8 adapter, TRX_U16 id) {
  const RequestHeader request = oneObject(id);
  const TRX_U32 status = vendorRequest(adapter, {TRX_GROUP_VD, 6}, sending(&request));
  return status ? status : after_import_vd(adapter, id);
}

TRX_U32 TRX_VD_Has_OS(TRX_U8 adapter, TRX_U16) {
  constexpr TRX_U32 kUnknown = 1, kYes = 256, kNo = 0;
  constexpr TRX_U16 kNamespaces = 4;
  NVME_NS_Info namespaces[kNamespaces] = {};
  NVME_Adapter_Info info{};
  if (TRX_NS_GetInfo(adapter, namespaces, kNamespaces) != 0) return kUnknown;
  if (TRX_Adapter_GetInfo(adapter, &info) != 0) return kUnknown;
  const _NVMEDiskManagement &disks = *GetNVMEDiskManagementInstance();
  for (TRX_U8 i = 0; i < disks.m_os_count; ++i) {
    _TRXSystemDisk *disk = disks.m_os_devs[i];
    static_assert(sizeof info.Link == sizeof disk->m_control_id.SN);
    if (std::memcmp(info.Link, disk->getControl(disk)->SN, sizeof info.Link) != 0) continue;
    disk->getNSID(disk, adapter);
    return kYes;
  }
  return kNo;
}

TRX_U32 TRX_AddSystemDisk(const char *name) {
  _NVMEDiskManagement *disks = GetNVMEDiskManagementInstance();
  _Device *device = name ? CreateUnlockedNVMEDeviceInstance(name) : nullptr;
  if (!device) return kRefused;
  const TRX_U8 before = disks->m_os_count;
  disks->addOSDisk(disks, device, name);
  return disks->m_os_count > before ? 0 : kRefused;
}
