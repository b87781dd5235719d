// SPDX-License-Identifier: GPL-3.0-or-later
#include "Public/errorMsg.h"

#include <algorithm>
#include <span>

namespace trx {

namespace {

struct EventText {
  uint16_t code;
  const char *text;
};

// The slips in the wording, "disable" and "media Patrol", stay: scripts look for them.
constexpr EventText kAdapterEvents[] = {
    {TRX_NVME_EVT_BGA_CHANGE, "Background activity rate changed to %d%%"},
    {TRX_NVME_EVT_AUTOREBUILD_OFF, "Auto-rebuild has been disable"},
    {TRX_NVME_EVT_AUTOREBUILD_ON, "Auto-rebuild has been enabled"},
};

constexpr EventText kPdEvents[] = {
    {TRX_NVME_EVT_PD_REBUILD_TARGETTOOSMALL, "Physical disk %d too small to be used for auto-rebuild"},
};

constexpr EventText kVdEvents[] = {
    {TRX_NVME_EVT_VD_OFFLINE, "virtual disk %d is offline"},
    {TRX_NVME_EVT_VD_ONLINE, "virtual disk %d is online"},
    {TRX_NVME_EVT_VD_DEGRADED, "virtual disk %d is degraded"},
    {TRX_NVME_EVT_VD_PARTIALLY, "virtual disk %d is partially degraded"},
    {TRX_NVME_EVT_VD_CREATED, "virtual disk %d is created"},
    {TRX_NVME_EVT_VD_DELETE, "virtual disk %d is deleted"},
    {TRX_NVME_EVT_VD_IMPORT_COMPLETE, "Import virtual disk %d completed"},
    {TRX_NVME_EVT_VD_INIT_START, "init on virtual disk %d started"},
    {TRX_NVME_EVT_VD_INIT_PAUSED, "init on virtual disk %d paused"},
    {TRX_NVME_EVT_VD_INIT_RESUMED, "init on virtual disk %d resumed"},
    {TRX_NVME_EVT_VD_INIT_ABORT, "init on virtual disk %d aborted"},
    {TRX_NVME_EVT_VD_INIT_COMPLETE, "init on virtual disk %d completed"},
    {TRX_NVME_EVT_VD_INIT_PROGRESS, "init on virtual disk %d is %d%% done"},
    {TRX_NVME_EVT_VD_REBUILD_START, "rebuild on virtual disk %d started"},
    {TRX_NVME_EVT_VD_REBUILD_PAUSED, "rebuild on virtual disk %d paused"},
    {TRX_NVME_EVT_VD_REBUILD_RESUMED, "rebuild on virtual disk %d resumed"},
    {TRX_NVME_EVT_VD_REBUILD_ABORT, "rebuild on virtual disk %d aborted"},
    {TRX_NVME_EVT_VD_REBUILD_COMPLETE, "rebuild on virtual disk %d completed"},
    {TRX_NVME_EVT_VD_REBUILD_PROGRESS, "rebuild on virtual disk %d is %d%% done"},
    {TRX_NVME_EVT_VD_MP_START, "media Patrol on virtual disk %d started"},
    {TRX_NVME_EVT_VD_MP_PAUSED, "media Patrol on virtual disk %d paused"},
    {TRX_NVME_EVT_VD_MP_RESUMED, "media Patrol on virtual disk %d resumed"},
    {TRX_NVME_EVT_VD_MP_ABORT, "media Patrol on virtual disk %d aborted"},
    {TRX_NVME_EVT_VD_MP_COMPLETE, "media Patrol on virtual disk %d completed"},
    {TRX_NVME_EVT_VD_MP_PROGRESS, "media Patrol on virtual disk %d is %d%% done"},
};

const char *findText(std::span<const EventText> events, uint16_t code) {
  const auto row = std::ranges::find(events, code, &EventText::code);
  return row != events.end() ? row->text : "Unknown error";
}

}  // namespace

const char *EventMessage(uint32_t eventClass, uint32_t code) {
  const auto shortCode = static_cast<uint16_t>(code);
  switch (eventClass) {
    case TRX_NVME_EVT_CLASS_ADAPTER:
      return findText(kAdapterEvents, shortCode);
    case TRX_NVME_EVT_CLASS_PD:
      return findText(kPdEvents, shortCode);
    case TRX_NVME_EVT_CLASS_VD:
      return findText(kVdEvents, shortCode);
    case TRX_NVME_EVT_CLASS_NS:
    case TRX_NVME_EVT_CLASS_OEM:
      return "Not define yet.";
    default:
      return "Unknown event";
  }
}

}  // namespace trx
