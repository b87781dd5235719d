/* SPDX-License-Identifier: GPL-3.0-or-later */
/**
 * @file trx_api.h
 * The controller access library. Start here.
 *
 * Call `TRX_Init` once, then any operation, then `TRX_Final` once. Operations take the zero-based
 * adapter index first (order of the platform's list of NVMe adapters; `TRX_Adapter_GetCount` tells
 * how many). An index at or beyond the count reaches the default device, which refuses everything.
 *
 * Statuses (`TRX_U32`), unless an operation says otherwise:
 *   - 0: success;
 *   - 1: refused here, or the transport failed;
 *   - 5: an NVM command on a device that carries none;
 *   - 0xFFFFFFEA (-EINVAL): the platform does not know the adapter any more;
 *   - else: the NVMe status as status code type * 256 + status code (NVMe base standard, Status
 *     Field), or, from a vendor request, the firmware's own status byte.
 *
 * Buffers belong to the caller; nothing is kept after an operation returns, except the file name of
 * `TRX_Adapter_Flash`. The library runs in one thread, but for the worker that `TRX_Adapter_Flash`
 * starts. Processes are kept apart by a named semaphore per controller; a process that holds it for
 * more than five seconds is no longer waited for.
 *
 * Vendor requests print nothing. What prints says so; it prints to standard output.
 */
#ifndef TRX_API_H
#define TRX_API_H

#include <stdbool.h>

#include "trx_nvme.h"
#include "trx_records.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- life cycle --------------------------------------------------------------------------- */

/**
 * Find the controllers: one Identify Controller (NVMe base standard, opcode 06h, CNS 01h) and one
 * controller information request per NVMe adapter of the platform; those of the supported kind are
 * kept, in the platform's order, up to 33.
 *
 * Prints "Failed to initialize NVMe." when the platform has no list to give; there are no adapters
 * then, and everything else still works.
 */
void TRX_Init(void);

/** End what `TRX_Init` began: system disks, progress records, devices, log. */
void TRX_Final(void);

/** Version of this library, such as "1.0.0.1035". */
const char *TRX_Get_Version(void);

/** Whether controllers exist that this user may not reach. */
TRX_U8 TRX_IsSysDenied(void);

/** Number of supported controllers found. */
TRX_U8 TRX_Adapter_GetCount(void);

/** 1 when users count adapters, disks and volumes from 1. May be read before `TRX_Init`. */
TRX_U8 TRX_Adapter_GetOneBaseMode(void);

/** PCI location of an adapter such as "03:00.00"; empty when unknown. Valid until `TRX_Final`. */
const char *TRX_Adapter_GetDeviceFun(TRX_U8 adapter);

/** Platform name of an adapter such as "vmhba2"; empty when there is none. Valid until `TRX_Final`. */
const char *TRX_Adapter_GetDevicePath(TRX_U8 adapter);

/** Physical slot number of an adapter from SMBIOS (System Slots, type 9); 0xFFFFFFFF when unknown. */
TRX_U32 TRX_Adapter_GetSlotID(TRX_U8 adapter);

/**
 * Find an adapter by its PCI location text.
 *
 * Prints "device.bus_dev_fun: %s\n" for every match; the last one wins.
 * @param[out] id the zero-based index; untouched without a match
 * @return whether any matched
 */
bool findAdapterId(const char *bus_dev_fun, TRX_U8 *id);

/* ---- messages ------------------------------------------------------------------------------ */

enum TRX_MESSAGE_SEVERITY { TRX_MESSAGE_INFO = 0, TRX_MESSAGE_WARNING = 1, TRX_MESSAGE_ERROR = 2 };

/**
 * Takes one message: `text` as it would be printed, with its line end where it has one. `text` is valid
 * only during the call. Called by the thread that called the library, and by the worker of
 * `TRX_Adapter_Flash`, perhaps by both at once. It must send no request.
 * @param severity a TRX_MESSAGE_SEVERITY
 */
typedef void (*TRX_MessageHandler)(void *context, int severity, const char *text);

/**
 * Give messages to `handler` instead of printing them on standard output and standard error; null:
 * print them again. May be called at any time but while a firmware transfer runs; `TRX_Init` and
 * `TRX_Final` leave it as it is.
 */
void TRX_SetMessageHandler(TRX_MessageHandler handler, void *context);

/** Whose status it is. */
enum TRX_STATUS_SOURCE {
  TRX_STATUS_NVME = 0,     /**< of an NVMe command; status code type 7 is the firmware's own */
  TRX_STATUS_FIRMWARE = 1, /**< of a vendor request: a reply's status byte */
  TRX_STATUS_PLATFORM = 2  /**< of a call or driver: an error number, negative or not */
};

/**
 * Words for a status, such as "Invalid Namespace or Format", "HD is assigned" or "Input/output error".
 * @return never null. Words of a source TRX_STATUS_PLATFORM are valid until the thread asks again
 */
const char *TRX_StatusText(TRX_U32 status, enum TRX_STATUS_SOURCE source);

/**
 * Print "%s (Status Code: 0x%x)\n" for the status of an NVMe command; nothing for 0. The status byte of
 * a vendor request is shown with the right words as 0x700 | status.
 */
void _showStatusCode(TRX_U32 status);

/** "No error" for 0, "Failed" for 1, "Unknown error" for the rest, by the low 8 bits. */
const char *ErrorMessage(TRX_U32 code);

/* ---- adapter: request group 224 (E0h) ------------------------------------------------------ */

/** Read `NVME_Adapter_Info`, 156 bytes. Words 224, 0. */
TRX_U32 TRX_Adapter_GetInfo(TRX_U8 adapter, NVME_Adapter_Info *info);

/** Read `NVME_Adapter_Config`, 16 bytes. Words 224, 1. */
TRX_U32 TRX_Adapter_GetConfig(TRX_U8 adapter, NVME_Adapter_Config *config);

/** Write `NVME_Adapter_Config`, 16 bytes. Words 224, 2. */
TRX_U32 TRX_Adapter_SetConfig(TRX_U8 adapter, const NVME_Adapter_Config *config);

/** Drive an LED with `NVME_LED`, 8 bytes. Words 224, 7. */
TRX_U32 TRX_Adapter_LED(TRX_U8 adapter, const NVME_LED *led);

/**
 * Tell the controller the time: opcode E2h, CDW12 3E0h, CDW13 = mid << 16 | hi, CDW14 = lw.
 *
 * A failure prints "[%s][%d]Fail..., errStatus=%d\n".
 * @return 0, or the number of characters that the failure line took
 */
TRX_U32 TRX_Adapter_SetTime(TRX_U8 adapter, const NVME_Adapter_Time *time);

/** Not carried by these controllers: prints "not support now" and returns 0. */
TRX_U32 TRX_Adapter_OEM(TRX_U8 adapter, TRXItem_OEM_Data *item);

/* ---- physical disks: request group 225 (E1h) ----------------------------------------------- */

/**
 * List physical disks. Words 225, 0; the header (16 bytes) goes out, the header and
 * `header.numRequested` records of 1128 bytes come back into the same buffer.
 *
 * The length is kept in 16 bits: 59 records and more wrap (59 * 1128 + 16 = 66568 asks for 1032).
 */
TRX_U32 TRX_PD_GetInfo(TRX_U8 adapter, NVME_PD_Info_Request *request);

/** Exchange an OEM item of `cbSize` + 17 bytes (16 bits), in and out of the same buffer. Words 225, 3. */
TRX_U32 TRX_PD_OEM(TRX_U8 adapter, TRXItem_OEM_Data *item);

/** Import a physical disk: 16 bytes from the caller. Words 225, 9. */
TRX_U32 TRX_PD_Import(TRX_U8 adapter, const RequestHeader *request);

/* ---- virtual disks: request group 226 (E2h) ------------------------------------------------ */

/** List virtual disks: header out, header and `numRequested` records of 176 bytes back. Words 226, 0. */
TRX_U32 TRX_VD_GetInfo(TRX_U8 adapter, NVME_VD_Info_Request *request);

/** List names: header out, header and `numRequested` records of 24 bytes back. Words 226, 1. */
TRX_U32 TRX_VD_GetConfig(TRX_U8 adapter, NVME_VD_Config_Request *request);

/** Set names: header and `numRequested` records of 24 bytes out. Words 226, 2. */
TRX_U32 TRX_VD_SetConfig(TRX_U8 adapter, const NVME_VD_Config_Request *request);

/**
 * Create a virtual disk: 632 bytes out, `QueryLDSize` sent as 0. Words 226, 3.
 *
 * When this is then the only volume, its namespaces are attached to the host (NVMe base standard,
 * Namespace Attachment).
 * @return the status of the creation; when that is 0, the status of the last attachment, or 1 when
 *         the namespace list could not be read (the volume exists all the same)
 */
TRX_U32 TRX_VD_Create(TRX_U8 adapter, NVME_Create_VD *request);

/** Ask how large a volume would be: `QueryLDSize` sent as 1, 16 bytes back. Words 226, 3. */
TRX_U32 TRX_VD_QuerySize(TRX_U8 adapter, NVME_Create_VD *request, NVME_PreCreate_VD *answer);

/**
 * Delete a virtual disk. Words 226, 4; `ClearMBR` is 0.
 *
 * When it is the only volume, its active namespaces are detached from the host first; a failure of
 * that does not stop the deletion.
 */
TRX_U32 TRX_VD_Delete(TRX_U8 adapter, TRX_U16 id);

/** Adopt a foreign virtual disk. Words 226, 6. */
TRX_U32 TRX_VD_Import(TRX_U8 adapter, TRX_U16 id);

/**
 * Whether the controller carries the disk that the operating system runs from.
 * @return 256 yes, 0 no, 1 it cannot be told
 */
TRX_U32 TRX_VD_Has_OS(TRX_U8 adapter, TRX_U16 vd);

/* ---- background activities: request group 227 (E3h) ---------------------------------------- */

/** Activities of physical disks: header out, header and `numRequested` records of 8 bytes back. Words 227, 1.
 */
TRX_U32 TRX_PD_GetBGAStatus(TRX_U8 adapter, NVME_BGA_REQUEST *request);

/** Activities of virtual disks, likewise. Words 227, 2. */
TRX_U32 TRX_VD_GetBGAStatus(TRX_U8 adapter, NVME_BGA_REQUEST *request);

/** Start, pause, resume or abort (`TRX_BGA_OPERATION`) the activity of a disk. Words 227, 3, operation. */
TRX_U32 TRX_PD_BGAControl(TRX_U8 adapter, TRX_U16 id, TRX_U8 operation);

/** The same for a virtual disk. Words 227, 4, operation. */
TRX_U32 TRX_VD_BGAControl(TRX_U8 adapter, TRX_U16 id, TRX_U8 operation);

/** Start media patrol of a physical disk. Words 227, 5. */
TRX_U32 TRX_PD_MP(TRX_U8 adapter, TRX_U16 id);

/** Start the initialisation of a virtual disk; `type` travels in `Init_Type`. Words 227, 6. */
TRX_U32 TRX_VD_Init(TRX_U8 adapter, TRX_U16 id, TRX_U8 type);

/** Start a rebuild onto a new member. Words 227, 7. */
TRX_U32 TRX_VD_Rebuild(TRX_U8 adapter, const NVME_Rebuild *request);

/** Start synchronisation. Words 227, 8. */
TRX_U32 TRX_VD_Sync(TRX_U8 adapter, TRX_U16 id);

/** Change the RAID level. Words 227, 9. */
TRX_U32 TRX_VD_Migrate(TRX_U8 adapter, const NVME_Migrate *request);

/** Start media patrol of a virtual disk. Words 227, 10. */
TRX_U32 TRX_VD_MP(TRX_U8 adapter, TRX_U16 id);

/* ---- events, namespaces, dump: request groups 228, 229, 254 (E4h, E5h, FEh) ---------------- */

/** Layout of the event pages, 8 bytes. Words 228, 1. */
TRX_U32 TRX_Event_Status(TRX_U8 adapter, NVME_Event_Status *status);

/** List namespaces: `count` records of 24 bytes, no header; the length is kept in 16 bits. Words 229, 0. */
TRX_U32 TRX_NS_GetInfo(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 count);

/** List the namespaces of one virtual disk, likewise. Words 229, 1, `vd`. */
TRX_U32 TRX_NS_GetInfo_VD(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 vd, TRX_U16 count);

/** Read a piece of console text: 4096 bytes. Words 254, 0. */
TRX_U32 TRX_Dump_Console(TRX_U8 adapter, NVME_Debug_Dump_Request *piece);

/** Size of the dump buffer, 8 bytes. Words 254, 1. */
TRX_U32 TRX_Dump_Status(TRX_U8 adapter, NVME_Debug_Dump_Status *status);

/** Whether dumping is on, 8 bytes. Words 254, 2. */
TRX_U32 TRX_Get_Dump_Cfg(TRX_U8 adapter, NVME_Debug_Dump_Config *config);

/** Switch dumping, 8 bytes. Words 254, 3. */
TRX_U32 TRX_Set_Dump_Cfg(TRX_U8 adapter, const NVME_Debug_Dump_Config *config);

/**
 * Exchange one event page: the 4096 bytes at `page` go out and come back. Words 254, 4.
 * @return always 0, also when the exchange failed
 */
TRX_U32 TRX_Page_Event(TRX_U8 adapter, NVME_Page_EventRequest *page);

/* ---- NVMe commands ------------------------------------------------------------------------- */

/**
 * Send a standard NVMe admin command with CDW10 onwards from `cdw` (`count` dwords, at most 6).
 *
 * Data moves one way: to the controller when `in_length` is not 0, else from it. Opcodes 02h, 06h,
 * 0Dh, 10h, 11h, 15h, 1Dh, 1Eh, 80h and C7h are sent; any other is refused with 1. The command has
 * 100 s (200 s for Firmware Commit). Prints "NVMEDevice_sendCommand Failed, %s.\n" and the text of
 * the status when it fails.
 * @param in  data to the controller, `in_length` bytes
 * @param out data from the controller, `out_length` bytes
 */
TRX_U32 TRX_Adapter_Admin(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                          const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length);

/**
 * NVM commands are not carried on this platform: opcodes 01h, 02h, 04h, 05h and 08h are logged and
 * answered with 0 without being sent, any other is refused with 1.
 */
TRX_U32 TRX_Adapter_NVM(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                        const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length);

/**
 * Send a vendor pass-through record. CDW[0] to CDW[2] and CDW[10] to CDW[15] travel; CDW[3] and
 * CDW[4] to CDW[9] do not. Data, time and messages as with `TRX_Adapter_Admin`.
 */
TRX_U32 TRX_Adapter_PassthruAdmin(TRX_U8 adapter, const trx_admin_command_format *entry, const void *in,
                                  TRX_U16 in_length, void *out, TRX_U16 out_length);

/* ---- firmware ------------------------------------------------------------------------------ */

/**
 * Start a firmware transfer on a worker thread; follow it with `TRX_Adapter_Flash_Result`.
 *
 * One transfer at a time in a process: the arguments are kept in one place.
 * @param file_name path of the image; single quotes around it are taken off, in place. It must stay
 *                  valid until the transfer has finished
 * @param fs   firmware slot, 0 to 7 (NVMe base standard, Firmware Commit, FS)
 * @param ca   commit action, 0 to 7 (Firmware Commit, CA); with 2 and 3 nothing is transferred
 * @param type 0 plain NVMe image; else a vendor image, whose word sum must be 0 and which is
 *             activated with its CRC before the commit
 * @return 0
 */
TRX_U32 TRX_Adapter_Flash(TRX_U8 adapter, char *file_name, TRX_U8 fs, TRX_U8 ca, TRX_U8 type);

/** Progress of the transfer. @return 0, or 1 when there is no record or `result` is null. */
TRX_U32 TRX_Adapter_Flash_Result(TRX_U8 adapter, NVME_Flash_Result *result);

#ifdef __cplusplus
}
#endif

#endif /* TRX_API_H */
