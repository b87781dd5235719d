// SPDX-License-Identifier: GPL-3.0-or-later
/// @file
/// Words for status codes and for the controller's events.
///
/// `ErrorMessage(code)`, the word for a status, comes from the library's header: the library writes it
/// into its log as well, and knows nothing of this program.
#ifndef TRX_PUBLIC_ERRORMSG_H
#define TRX_PUBLIC_ERRORMSG_H

#include <trx/trx_api.h>

#include <cstdint>

namespace trx {

/// Event codes of `TRX_NVME_EVT_CLASS_ADAPTER`.
enum TRX_EVENT_ADAPTER : uint16_t {
  TRX_NVME_EVT_BGA_CHANGE = 0,
  TRX_NVME_EVT_SHUTDOWN = 1,
  TRX_NVME_EVT_WRITE_IMAGE_SUCCEEDED = 2,
  TRX_NVME_EVT_WRITE_IMAGE_FAILED = 3,
  TRX_NVME_EVT_ACTIVE_IMAGE_SUCCEEDED = 4,
  TRX_NVME_EVT_ACTIVE_IMAGE_FAILED = 5,
  TRX_NVME_EVT_READ_IMAGE_SUCCEEDED = 6,
  TRX_NVME_EVT_READ_IMAGE_FAILED = 7,
  TRX_NVME_EVT_AUTOREBUILD_OFF = 8,
  TRX_NVME_EVT_AUTOREBUILD_ON = 9
};

/// Event codes of `TRX_NVME_EVT_CLASS_PD`.
enum TRX_EVENT_PD : uint16_t {
  TRX_NVME_EVT_PD_ONLINE = 0,
  TRX_NVME_EVT_PD_OFFLINE = 1,
  TRX_NVME_EVT_PD_SET_DOWN = 2,
  TRX_NVME_EVT_PD_TIME_OUT = 3,
  TRX_NVME_EVT_PD_RW_ERROR = 4,
  TRX_NVME_EVT_PD_REBUILD_TARGETTOOSMALL = 10,
  TRX_NVME_EVT_PD_CACHE_CHANGE = 11
};

/// Event codes of `TRX_NVME_EVT_CLASS_VD`; each activity has a block of seven.
enum TRX_EVENT_VD : uint16_t {
  TRX_NVME_EVT_VD_OFFLINE = 0,
  TRX_NVME_EVT_VD_ONLINE = 1,
  TRX_NVME_EVT_VD_DEGRADED = 2,
  TRX_NVME_EVT_VD_PARTIALLY = 3,
  TRX_NVME_EVT_VD_CREATED = 4,
  TRX_NVME_EVT_VD_DELETE = 5,
  TRX_NVME_EVT_VD_CACHE_CHANGED = 6,
  TRX_NVME_EVT_VD_IMPORT_COMPLETE = 7,
  TRX_NVME_EVT_VD_INIT_START = 10,
  TRX_NVME_EVT_VD_INIT_PAUSED,
  TRX_NVME_EVT_VD_INIT_RESUMED,
  TRX_NVME_EVT_VD_INIT_ABORT,
  TRX_NVME_EVT_VD_INIT_COMPLETE,
  TRX_NVME_EVT_VD_INIT_PROGRESS,
  TRX_NVME_EVT_VD_INIT_TERMINATED,
  TRX_NVME_EVT_VD_REBUILD_START = 20,
  TRX_NVME_EVT_VD_REBUILD_PAUSED,
  TRX_NVME_EVT_VD_REBUILD_RESUMED,
  TRX_NVME_EVT_VD_REBUILD_ABORT,
  TRX_NVME_EVT_VD_REBUILD_COMPLETE,
  TRX_NVME_EVT_VD_REBUILD_PROGRESS,
  TRX_NVME_EVT_VD_REBUILD_TERMINATED,
  TRX_NVME_EVT_VD_MP_START = 30,
  TRX_NVME_EVT_VD_MP_PAUSED,
  TRX_NVME_EVT_VD_MP_RESUMED,
  TRX_NVME_EVT_VD_MP_ABORT,
  TRX_NVME_EVT_VD_MP_COMPLETE,
  TRX_NVME_EVT_VD_MP_PROGRESS,
  TRX_NVME_EVT_VD_MP_TERMINATED
};

/// The text of an event, a format for printf: "%d" stands for the id of the object or for a rate in
/// percent, and a second "%d" for the progress in percent.
///
/// @param eventClass `TRX_EVT_CLASS`
/// @param code event code within the class; only its low 16 bits count
/// @return "Unknown event" for any other class, "Unknown error" for a code without a text; never null
const char *EventMessage(uint32_t eventClass, uint32_t code);

}  // namespace trx

#endif  // TRX_PUBLIC_ERRORMSG_H
