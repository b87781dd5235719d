/* SPDX-License-Identifier: GPL-3.0-or-later */
/**
 * @file trx_api.h
 * The controller access library. Start here; examples/list_volumes.c is a whole program.
 *
 * Call `TRX_Init` first and `TRX_Final` last. Operations take the zero-based adapter index first
 * (order of the platform's list of NVMe adapters; `TRX_Adapter_GetCount` tells how many). An index at
 * or beyond the count reaches the default device, which refuses everything with 1.
 *
 * There are two kinds of requests. A *vendor request* is told by its words (a group, a sub-code,
 * perhaps an argument) and travels, with its data, in a pair of commands (opcodes CBh and CEh) under
 * the controller's semaphore. An *NVMe command* goes to the controller as it is.
 *
 * Statuses (`TRX_U32`), unless an operation says otherwise; `TRX_StatusText` has words for them:
 *   - 0: success. Also when the platform's call failed and the completion says success; the failure is
 *     told by a message then;
 *   - 1: refused here (a null pointer, a request that does not fit, no such adapter), and nothing was
 *     sent; of a vendor request also that the transport failed, or that the answer is none. The next
 *     two may be 1 as well;
 *   - of a vendor request: the firmware's own status byte, 1 to 255;
 *   - of an NVMe command: the completion's status, status code type * 256 + status code (NVMe base
 *     standard, Status Field), or 0xFFFFFFEA (-EINVAL): the platform does not know the adapter.
 *
 * A null pointer where an operation reads or writes is refused with 1, and nothing is sent. Buffers
 * belong to the caller; nothing is kept after an operation returns, except the file name of
 * `TRX_Adapter_Flash` and what `TRX_SetMessageHandler` was given. A vendor request that fails leaves the
 * caller's buffer as it is; what an NVMe command leaves in it then has no meaning.
 *
 * Lists. The caller gives a header, with `numRequested` records behind it. The 16 bytes of the header
 * go out; the header and the records come back into the same buffer. A reply carries 4088 bytes, header
 * included: 3 disks, 23 volumes, 169 names, 509 activities; 170 namespaces, which have no header.
 * Records beyond that come back as zeros: ask again from another `header.start`.
 *
 * Threads. The library is used from one thread. It starts one itself: the worker of
 * `TRX_Adapter_Flash`. Processes are kept apart by a named semaphore per controller, "trxd0" and so on,
 * which every user may take; one that is held for more than five seconds is no longer waited for.
 *
 * Messages. A command that fails at the platform or the driver prints a line on standard output, be it
 * a vendor request or an NVMe command: "NVMEDevice_sendCommand Failed, %s.\n" with the words of the
 * error number, or "Invalid argument: vmhba not found or vmhba not an NVM Express controller." without
 * a line end. What an operation prints besides stands with it. `TRX_SetMessageHandler` takes all of it.
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
 * controller information request (opcode E2h, CDW12 E0h) per NVMe adapter of the platform; those of
 * the supported kind are kept, in the platform's order, up to 33. Called again, it first does what
 * `TRX_Final` does, and then looks anew.
 *
 * Prints "Failed to initialize NVMe." when the platform has no list to give; there are no adapters
 * then, and everything else still works. The reason stands on standard error, as do, a line each, that
 * there are more than 33 controllers, and that a semaphore cannot be had (once per process). While a
 * semaphore is made the process's umask is 0 for a moment.
 */
void TRX_Init(void);

/**
 * End what `TRX_Init` began: system disks, progress records, devices. Waits for a firmware transfer
 * that runs. Semaphores stay for the next program.
 */
void TRX_Final(void);

/** Version of this library, such as "1.0.0.1035". */
const char *TRX_Get_Version(void);

/** Whether controllers exist that this user may not reach. Always 0 on this platform. */
TRX_U8 TRX_IsSysDenied(void);

/** Number of supported controllers found. */
TRX_U8 TRX_Adapter_GetCount(void);

/** 1 when users count adapters, disks and volumes from 1. May be read before `TRX_Init`. Always 0 on
 * this platform. */
TRX_U8 TRX_Adapter_GetOneBaseMode(void);

/**
 * PCI location of an adapter such as "03:00.00"; empty when unknown. Valid until `TRX_Final`.
 *
 * This, the slot and `findAdapterId` ask the host on first use after `TRX_Init`, for all adapters at
 * once: they run `lspci -p` and read the SMBIOS file, and say on standard error what is wrong with that.
 */
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
 * @return whether any matched; false for a null pointer
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
 * Tell the controller the time, with an NVMe command: opcode E2h, CDW12 3E0h, CDW13 = mid << 16 | hi,
 * CDW14 = lw.
 *
 * A failure prints "[%s][%d]Fail..., errStatus=%d\n" besides.
 * @return 0; 1 for a null pointer; else the number of characters that the failure line took
 */
TRX_U32 TRX_Adapter_SetTime(TRX_U8 adapter, const NVME_Adapter_Time *time);

/** Not carried by these controllers: prints "not support now" and returns 0, whatever `item` is. */
TRX_U32 TRX_Adapter_OEM(TRX_U8 adapter, TRXItem_OEM_Data *item);

/* ---- physical disks: request group 225 (E1h) ----------------------------------------------- */

/**
 * List physical disks, records of 1128 bytes. Words 225, 0.
 *
 * The length is kept in 16 bits: 59 records and more wrap (59 * 1128 + 16 = 66568 asks for 1032).
 */
TRX_U32 TRX_PD_GetInfo(TRX_U8 adapter, NVME_PD_Info_Request *request);

/**
 * Exchange an OEM item of `cbSize` + 17 bytes, in and out of the same buffer. Words 225, 3.
 *
 * The length is kept in 16 bits. An item of more than 4080 bytes (`cbSize` above 4063) is refused.
 */
TRX_U32 TRX_PD_OEM(TRX_U8 adapter, TRXItem_OEM_Data *item);

/** Import a physical disk: the 16 bytes of the header go out. Words 225, 9. */
TRX_U32 TRX_PD_Import(TRX_U8 adapter, const RequestHeader *request);

/* ---- virtual disks: request group 226 (E2h) ------------------------------------------------ */

/** List virtual disks, records of 176 bytes. Words 226, 0. */
TRX_U32 TRX_VD_GetInfo(TRX_U8 adapter, NVME_VD_Info_Request *request);

/** List names, records of 24 bytes. Words 226, 1. */
TRX_U32 TRX_VD_GetConfig(TRX_U8 adapter, NVME_VD_Config_Request *request);

/** Set names: header and `numRequested` records of 24 bytes out, at most 169; more are refused. Words
 * 226, 2. */
TRX_U32 TRX_VD_SetConfig(TRX_U8 adapter, const NVME_VD_Config_Request *request);

/**
 * Create a virtual disk: 632 bytes out, after `QueryLDSize` was set to 0 in them. Words 226, 3.
 *
 * When this is then the only volume, its namespaces are attached to the host's controllers (NVMe base
 * standard, Namespace Attachment), with the messages of `TRX_Adapter_Admin`. For that the controller, its
 * namespaces and its volumes are read.
 * @return the status of the creation; when that is 0, the status of the last attachment, or 1 when the
 *         controller or its namespaces could not be read (the volume exists all the same)
 */
TRX_U32 TRX_VD_Create(TRX_U8 adapter, NVME_Create_VD *request);

/** Ask how large a volume would be: 632 bytes out, after `QueryLDSize` was set to 1, 16 bytes back.
 * Words 226, 3. */
TRX_U32 TRX_VD_QuerySize(TRX_U8 adapter, NVME_Create_VD *request, NVME_PreCreate_VD *answer);

/**
 * Delete a virtual disk: `NVME_VD_Delete`, 8 bytes out, `ClearMBR` 0. Words 226, 4.
 *
 * When there is only one volume, the active namespaces are detached from the host's controllers first; a
 * failure of that does not stop the deletion.
 * @return the status of the deletion
 */
TRX_U32 TRX_VD_Delete(TRX_U8 adapter, TRX_U16 id);

/** Adopt a foreign virtual disk: a header for one object, 16 bytes out. Words 226, 6. */
TRX_U32 TRX_VD_Import(TRX_U8 adapter, TRX_U16 id);

/**
 * Register a disk that the operating system runs from, for `TRX_VD_Has_OS`. After `TRX_Init`; forgotten
 * by `TRX_Final`. There is room for two.
 * @param name the platform's name of its NVMe adapter, such as "vmhba1"
 * @return 0; 1 when there is no room, the platform has no such adapter, it does not answer Identify
 *         Controller, or its PCI vendor id is none of TRX_OS_DISK_VENDOR_IDS (trx_product.h)
 */
TRX_U32 TRX_AddSystemDisk(const char *name);

/**
 * Whether the controller carries a registered system disk: whether the 20 bytes of
 * `NVME_Adapter_Info::Link` are the serial number of one. `vd` is not looked at: every volume counts.
 * @return 256 yes, 0 no, 1 when the controller or its namespaces cannot be read
 */
TRX_U32 TRX_VD_Has_OS(TRX_U8 adapter, TRX_U16 vd);

/* ---- background activities: request group 227 (E3h) ---------------------------------------- */

/** List activities of physical disks, records of 8 bytes. Words 227, 1. */
TRX_U32 TRX_PD_GetBGAStatus(TRX_U8 adapter, NVME_BGA_REQUEST *request);

/** List activities of virtual disks, records of 8 bytes. Words 227, 2. */
TRX_U32 TRX_VD_GetBGAStatus(TRX_U8 adapter, NVME_BGA_REQUEST *request);

/** Start, pause, resume or abort (`TRX_BGA_OPERATION`) the activity of a disk: a header for one object,
 * 16 bytes out. Words 227, 3, operation. */
TRX_U32 TRX_PD_BGAControl(TRX_U8 adapter, TRX_U16 id, TRX_U8 operation);

/** The same for a virtual disk. Words 227, 4, operation. */
TRX_U32 TRX_VD_BGAControl(TRX_U8 adapter, TRX_U16 id, TRX_U8 operation);

/** Start media patrol of a physical disk: `NVME_PD_MP`, 8 bytes out. Words 227, 5. */
TRX_U32 TRX_PD_MP(TRX_U8 adapter, TRX_U16 id);

/** Start the initialisation of a virtual disk: `NVME_VD_Init` with `type`, 8 bytes out. Words 227, 6. */
TRX_U32 TRX_VD_Init(TRX_U8 adapter, TRX_U16 id, TRX_U8 type);

/** Start a rebuild onto a new member: 8 bytes out. Words 227, 7. */
TRX_U32 TRX_VD_Rebuild(TRX_U8 adapter, const NVME_Rebuild *request);

/** Start synchronisation: `NVME_VD_Sync`, 8 bytes out. Words 227, 8. */
TRX_U32 TRX_VD_Sync(TRX_U8 adapter, TRX_U16 id);

/** Change the RAID level: 40 bytes out. Words 227, 9. */
TRX_U32 TRX_VD_Migrate(TRX_U8 adapter, const NVME_Migrate *request);

/** Start media patrol of a virtual disk: `NVME_VD_MP`, 8 bytes out. Words 227, 10. */
TRX_U32 TRX_VD_MP(TRX_U8 adapter, TRX_U16 id);

/* ---- events, namespaces, dump: request groups 228, 229, 254 (E4h, E5h, FEh) ---------------- */

/** Layout of the event pages, 8 bytes back. Words 228, 1. */
TRX_U32 TRX_Event_Status(TRX_U8 adapter, NVME_Event_Status *status);

/**
 * List namespaces: `count` records of 24 bytes back, without a header. Words 229, 0.
 *
 * The length is kept in 16 bits: 2731 records and more wrap (2731 * 24 = 65544 asks for 8).
 */
TRX_U32 TRX_NS_GetInfo(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 count);

/** List the namespaces of one virtual disk, likewise. Words 229, 1, `vd`. */
TRX_U32 TRX_NS_GetInfo_VD(TRX_U8 adapter, NVME_NS_Info *records, TRX_U16 vd, TRX_U16 count);

/** Read a piece of console text: 4096 bytes back, of which the last 8 are zero. Words 254, 0. */
TRX_U32 TRX_Dump_Console(TRX_U8 adapter, NVME_Debug_Dump_Request *piece);

/** Size of the dump buffer, 8 bytes back. Words 254, 1. */
TRX_U32 TRX_Dump_Status(TRX_U8 adapter, NVME_Debug_Dump_Status *status);

/** Whether dumping is on, 8 bytes back. Words 254, 2. */
TRX_U32 TRX_Get_Dump_Cfg(TRX_U8 adapter, NVME_Debug_Dump_Config *config);

/** Switch dumping, 8 bytes out. Words 254, 3. */
TRX_U32 TRX_Set_Dump_Cfg(TRX_U8 adapter, const NVME_Debug_Dump_Config *config);

/**
 * Exchange one event page: it goes out without its last 16 bytes, which do not fit, and comes back with
 * its last 8 zero. Words 254, 4.
 * @return 0, also when the exchange failed (the page is as it was then); 1 for a null pointer
 */
TRX_U32 TRX_Page_Event(TRX_U8 adapter, NVME_Event_Page *page);

/* ---- NVMe commands ------------------------------------------------------------------------- */

/**
 * Send a standard NVMe admin command with CDW10 onwards from `cdw` (`count` dwords, of which 6 count).
 *
 * Data moves one way: to the controller when `in_length` is not 0, else from it. Opcodes 02h, 06h,
 * 0Dh, 10h, 11h, 15h, 1Dh, 1Eh, 80h and C7h are sent; 251 and 252 are sent as CBh and CEh, the pair that
 * carries a vendor request, without the semaphore; any other is refused. The command has 100 s (200 s
 * for Firmware Commit). Prints what `_showStatusCode` has for the status that it returns.
 * @param in  data to the controller, `in_length` bytes; may be null when that is 0
 * @param out data from the controller, `out_length` bytes; may be null when that is 0
 */
TRX_U32 TRX_Adapter_Admin(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                          const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length);

/**
 * NVM commands are not carried on this platform: opcodes 01h, 02h, 04h, 05h and 08h are answered with 0
 * without being sent, any other with 1.
 */
TRX_U32 TRX_Adapter_NVM(TRX_U8 adapter, TRX_U8 opcode, TRX_U32 nsid, const TRX_U32 *cdw, TRX_U8 count,
                        const void *in, TRX_U16 in_length, void *out, TRX_U16 out_length);

/**
 * Send a vendor pass-through record. CDW[0] to CDW[2] and CDW[10] to CDW[15] travel; CDW[3] to CDW[9] do
 * not. Data and messages as with `TRX_Adapter_Admin`; any opcode is sent, with 100 s.
 */
TRX_U32 TRX_Adapter_PassthruAdmin(TRX_U8 adapter, const trx_admin_command_format *entry, const void *in,
                                  TRX_U16 in_length, void *out, TRX_U16 out_length);

/* ---- firmware ------------------------------------------------------------------------------ */

/**
 * Start a firmware transfer on a worker thread; follow it with `TRX_Adapter_Flash_Result`.
 *
 * One transfer at a time in a process: while one runs, the next call waits for its end. The image is
 * read whole into memory, once, and checked and sent from there: Firmware Image Download in segments of
 * 4096 bytes, then, for a vendor image, its activation (opcode E2h), then Firmware Commit (NVMe base
 * standard). The first that fails ends it. When the image cannot be had (no regular file, at most
 * 4294963200 bytes, that stays as it is while it is read) or a vendor image is not good, nothing is
 * sent, the result is 1, and a line on standard error says why.
 * @param file_name path of the image; single quotes around it are taken off, in place. It must stay
 *                  valid until the transfer has finished. May be null when nothing is transferred
 * @param fs   firmware slot, 0 to 7 (NVMe base standard, Firmware Commit, FS)
 * @param ca   commit action, 0 to 7 (Firmware Commit, CA); with 2 and 3 nothing is transferred
 * @param type 0 plain NVMe image; else a vendor image, whose length must be a multiple of 4096 and whose
 *             word sum must be 0, and which is activated with its CRC before the commit
 * @return 0; 1 for a null pointer
 */
TRX_U32 TRX_Adapter_Flash(TRX_U8 adapter, char *file_name, TRX_U8 fs, TRX_U8 ca, TRX_U8 type);

/**
 * Progress of the transfer, or how the last one ended; kept until `TRX_Final`. All zero when there was
 * none; an adapter index above 32 has a transfer that failed with 1.
 * @return 0; 1 for a null pointer, or when memory is short
 */
TRX_U32 TRX_Adapter_Flash_Result(TRX_U8 adapter, NVME_Flash_Result *result);

/**
 * Ask the transfer of an adapter to stop before its next segment. Returns at once: the transfer is over
 * when `TRX_Adapter_Flash_Result` says so. Stopped, it has failed with 1, and nothing was activated or
 * committed: the adapter keeps the firmware that it has. A transfer whose last segment has been sent is no
 * longer stopped. No effect where none runs.
 */
void TRX_Adapter_Flash_Stop(TRX_U8 adapter);

#ifdef __cplusplus
}
#endif

#endif /* TRX_API_H */
