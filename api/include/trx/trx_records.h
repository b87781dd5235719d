/* SPDX-License-Identifier: GPL-3.0-or-later */
/**
 * @file trx_records.h
 * Every record that crosses the wire between host and controller firmware.
 *
 * All records are packed and little-endian. Under each record stand its size and the offset of each
 * of its fields but bit-fields, which have none, checked by the compiler. Reserved bytes are sent as zero.
 * Ids are zero-based here, whatever a user types. Usable from C11 and from C++.
 */
#ifndef TRX_RECORDS_H
#define TRX_RECORDS_H

#include <stddef.h>
#include <stdint.h>

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "The records are laid over memory as they travel: little-endian hosts only."
#endif

#ifdef __cplusplus
#define TRX_ASSERT_(condition, text) static_assert(condition, text)
#else
#define TRX_ASSERT_(condition, text) _Static_assert(condition, text)
#endif
#define TRX_SIZE_(type, bytes) TRX_ASSERT_(sizeof(type) == (bytes), #type " is " #bytes " bytes long")
#define TRX_AT_(type, field, at) TRX_ASSERT_(offsetof(type, field) == (at), #type "." #field " is at " #at)

/* ---- scalar types ------------------------------------------------------------------------- */

typedef uint8_t TRX_U8;
typedef uint8_t TRX_BOOLEAN; /**< 0 false, anything else true */
typedef uint16_t TRX_U16;
typedef uint32_t TRX_U32;
typedef uint64_t _TRX_U64;

#pragma pack(push, 1)

/** A 64-bit count or size whose halves can be taken apart. */
typedef union TRX_U64 {
  _TRX_U64 value;
  struct {
    TRX_U32 low;
    TRX_U32 high;
  } parts;
} TRX_U64;
TRX_SIZE_(TRX_U64, 8);
TRX_AT_(TRX_U64, value, 0);
TRX_AT_(TRX_U64, parts.low, 0);
TRX_AT_(TRX_U64, parts.high, 4);

/* ---- list requests ------------------------------------------------------------------------ */

/** `RequestHeader::requestType`: the one object whose id is in `start`. */
enum { TRX_REQUEST_ONE_OBJECT = 2 };

/** Heads every list request; the records of the answer follow it in the same buffer. */
typedef struct RequestHeader {
  TRX_U16 size;       /**< left 0 by callers */
  TRX_U8 requestType; /**< what is asked: TRX_REQUEST_ONE_OBJECT or 0 */
  TRX_U8 reserved1;
  TRX_U16 start;       /**< id of the first object wanted */
  TRX_U8 numRequested; /**< records that the caller has room for */
  TRX_U8 numReturned;  /**< by firmware: records returned */
  TRX_U16 nextStart;   /**< by firmware: id at which a following request should start */
  TRX_U8 reserved2[6];
} RequestHeader;
TRX_SIZE_(RequestHeader, 16);
TRX_AT_(RequestHeader, size, 0);
TRX_AT_(RequestHeader, requestType, 2);
TRX_AT_(RequestHeader, reserved1, 3);
TRX_AT_(RequestHeader, start, 4);
TRX_AT_(RequestHeader, numRequested, 6);
TRX_AT_(RequestHeader, numReturned, 7);
TRX_AT_(RequestHeader, nextStart, 8);
TRX_AT_(RequestHeader, reserved2, 10);

/* ---- adapter ------------------------------------------------------------------------------ */

/** Printed as major.minor.OEM.build. */
typedef struct _NVME_Version_Info {
  TRX_U16 MajorVersion;
  TRX_U16 MinorVersion;
  TRX_U16 OEMNumber;
  TRX_U16 BuildNumber;
} NVME_Version_Info;
TRX_SIZE_(NVME_Version_Info, 8);
TRX_AT_(NVME_Version_Info, MajorVersion, 0);
TRX_AT_(NVME_Version_Info, MinorVersion, 2);
TRX_AT_(NVME_Version_Info, OEMNumber, 4);
TRX_AT_(NVME_Version_Info, BuildNumber, 6);

/** `NVME_PCIe_Info::Type`. */
enum { TRX_PCIE_END_POINT = 0, TRX_PCIE_ROOT_COMPLEX = 1, TRX_PCIE_LAST = 0xFF };

typedef struct _NVME_PCIe_Info {
  TRX_U8 Type; /**< TRX_PCIE_…; TRX_PCIE_LAST ends the list */
  TRX_U8 Id;
  TRX_U8 Speed;     /**< PCIe generation */
  TRX_U8 LinkWidth; /**< lanes */
} NVME_PCIe_Info;
TRX_SIZE_(NVME_PCIe_Info, 4);
TRX_AT_(NVME_PCIe_Info, Type, 0);
TRX_AT_(NVME_PCIe_Info, Id, 1);
TRX_AT_(NVME_PCIe_Info, Speed, 2);
TRX_AT_(NVME_PCIe_Info, LinkWidth, 3);

/** Bits of `NVME_Adapter_Info::Features`. */
enum {
  TRX_FEATURE_IMPORT = 1 << 1,
  TRX_FEATURE_RAID = 1 << 2, /**< set: RAID mode; clear: JBOF mode, each disk exposed as it is */
  TRX_FEATURE_NAMESPACE = 1 << 3,
  TRX_FEATURE_DUMP = 1 << 4
};

/** Answer of the adapter-information query. */
typedef struct _NVME_Adapter_Info {
  NVME_Version_Info UEFIVersion; /**< option ROM or UEFI driver */
  NVME_Version_Info FirmwareVersion;
  TRX_U16 VID;
  TRX_U16 SVID;
  TRX_U16 DID;
  TRX_U16 SDID;
  TRX_U8 RevisionID;
  TRX_U8 PortCount; /**< drive ports */
  TRX_U8 MaxPDPerVD;
  TRX_U8 MaxVD;
  TRX_U8 MaxPD;
  TRX_U8 MaxNSPerVD;
  TRX_U8 MaxNS;
  TRX_U8 Reserved1[1];
  TRX_U8 Reserved2[4];
  TRX_U32 MaxFlashSize; /**< bytes; 0: no limit told */
  TRX_U16 MaxBufferSize;
  TRX_U16
  SupportRAIDMode; /**< bits: 0 RAID0, 1 RAID1, 2 JBOD, 3 RAID10, 4 RAID5, 5 RAID50, 6 RAID6, 7 RAID60 */
  TRX_U8 Cache;    /**< 0 off, 1 on */
  TRX_U8 SupportBGAFeature;   /**< bits: 0 initialisation, 1 rebuild, 2 sync, 3 migrate, 4 media patrol */
  TRX_U8 StripeSizeSupported; /**< bits: 0 128 KB, 1 256 KB, 2 512 KB */
  TRX_U8 Reserved3[1];
  TRX_U32 Features; /**< TRX_FEATURE_… */
  TRX_U32 OEMFeatures;
  TRX_U8 Link[20]; /**< per-port link bytes; the system-disk guard compares them with a serial number */
  TRX_U8 Reserved4[4];
  NVME_PCIe_Info PCIeInfo[16]; /**< host and drive links */
  TRX_U8 BuildDate[12];        /**< text, perhaps without a NUL */
} NVME_Adapter_Info;
TRX_SIZE_(NVME_Adapter_Info, 156);
TRX_AT_(NVME_Adapter_Info, UEFIVersion, 0);
TRX_AT_(NVME_Adapter_Info, FirmwareVersion, 8);
TRX_AT_(NVME_Adapter_Info, VID, 16);
TRX_AT_(NVME_Adapter_Info, SVID, 18);
TRX_AT_(NVME_Adapter_Info, DID, 20);
TRX_AT_(NVME_Adapter_Info, SDID, 22);
TRX_AT_(NVME_Adapter_Info, RevisionID, 24);
TRX_AT_(NVME_Adapter_Info, PortCount, 25);
TRX_AT_(NVME_Adapter_Info, MaxPDPerVD, 26);
TRX_AT_(NVME_Adapter_Info, MaxVD, 27);
TRX_AT_(NVME_Adapter_Info, MaxPD, 28);
TRX_AT_(NVME_Adapter_Info, MaxNSPerVD, 29);
TRX_AT_(NVME_Adapter_Info, MaxNS, 30);
TRX_AT_(NVME_Adapter_Info, Reserved1, 31);
TRX_AT_(NVME_Adapter_Info, Reserved2, 32);
TRX_AT_(NVME_Adapter_Info, MaxFlashSize, 36);
TRX_AT_(NVME_Adapter_Info, MaxBufferSize, 40);
TRX_AT_(NVME_Adapter_Info, SupportRAIDMode, 42);
TRX_AT_(NVME_Adapter_Info, Cache, 44);
TRX_AT_(NVME_Adapter_Info, SupportBGAFeature, 45);
TRX_AT_(NVME_Adapter_Info, StripeSizeSupported, 46);
TRX_AT_(NVME_Adapter_Info, Reserved3, 47);
TRX_AT_(NVME_Adapter_Info, Features, 48);
TRX_AT_(NVME_Adapter_Info, OEMFeatures, 52);
TRX_AT_(NVME_Adapter_Info, Link, 56);
TRX_AT_(NVME_Adapter_Info, Reserved4, 76);
TRX_AT_(NVME_Adapter_Info, PCIeInfo, 80);
TRX_AT_(NVME_Adapter_Info, BuildDate, 144);

/** `NVME_Adapter_Config::BGARate`. The codes are the firmware's own. */
enum { TRX_BGA_RATE_HIGH = 0, TRX_BGA_RATE_MEDIUM = 2, TRX_BGA_RATE_LOW = 0x20 };

typedef struct _NVME_Adapter_Config {
  TRX_U8 AutoRebuildOn; /**< 1 on */
  TRX_U8 BGARate;       /**< TRX_BGA_RATE_… */
  TRX_U8 Reserved[14];
} NVME_Adapter_Config;
TRX_SIZE_(NVME_Adapter_Config, 16);
TRX_AT_(NVME_Adapter_Config, AutoRebuildOn, 0);
TRX_AT_(NVME_Adapter_Config, BGARate, 1);
TRX_AT_(NVME_Adapter_Config, Reserved, 2);

/** Host time in three 16-bit words, high word first. */
typedef struct _NVME_Adapter_Time {
  TRX_U16 hi;
  TRX_U16 mid;
  TRX_U16 lw;
  TRX_U8 reserved1[2];
} NVME_Adapter_Time;
TRX_SIZE_(NVME_Adapter_Time, 8);
TRX_AT_(NVME_Adapter_Time, hi, 0);
TRX_AT_(NVME_Adapter_Time, mid, 2);
TRX_AT_(NVME_Adapter_Time, lw, 4);
TRX_AT_(NVME_Adapter_Time, reserved1, 6);

typedef struct _NVME_LED {
  TRX_U16 id;         /**< PD or VD id */
  TRX_U8 type;        /**< what `id` names */
  TRX_U8 seconds : 7; /**< how long to blink */
  TRX_U8 action : 1;  /**< 1 on, 0 off */
  TRX_U8 reserved[4];
} NVME_LED;
TRX_SIZE_(NVME_LED, 8);
TRX_AT_(NVME_LED, id, 0);
TRX_AT_(NVME_LED, type, 2);
TRX_AT_(NVME_LED, reserved, 4);

typedef struct _TRXItem_OEM_Data {
  TRX_U16 cbSize; /**< bytes of the payload that starts at `data` */
  TRX_U8 reserved[2];
  TRX_U8 vendor[4];
  TRX_U16 ID;
  TRX_U8 cdb[6];
  TRX_U8 data[2]; /**< first bytes of the payload; one counts, the record is 18 bytes long */
} TRXItem_OEM_Data;
TRX_SIZE_(TRXItem_OEM_Data, 18);
TRX_AT_(TRXItem_OEM_Data, cbSize, 0);
TRX_AT_(TRXItem_OEM_Data, reserved, 2);
TRX_AT_(TRXItem_OEM_Data, vendor, 4);
TRX_AT_(TRXItem_OEM_Data, ID, 8);
TRX_AT_(TRXItem_OEM_Data, cdb, 10);
TRX_AT_(TRXItem_OEM_Data, data, 16);

/* ---- physical disks ----------------------------------------------------------------------- */

typedef struct _NVME_NS_Size {
  TRX_U32 SectorSize; /**< bytes */
  TRX_U8 reserved[4];
  TRX_U64 LBA; /**< sectors */
} NVME_NS_Size;
TRX_SIZE_(NVME_NS_Size, 16);
TRX_AT_(NVME_NS_Size, SectorSize, 0);
TRX_AT_(NVME_NS_Size, reserved, 4);
TRX_AT_(NVME_NS_Size, LBA, 8);

/** Bits of `NVME_PD_Info::Status`. */
enum {
  TRX_PD_STATUS_ASSIGNED = 1 << 0,
  TRX_PD_STATUS_MEDIA_PATROL = 1 << 1,
  TRX_PD_STATUS_IMPORTABLE = 1 << 3,
  TRX_PD_STATUS_FAIL = 1 << 4
};

typedef struct _NVME_PD_Info {
  TRX_U16 ID;
  TRX_U8 Status;   /**< TRX_PD_STATUS_… */
  TRX_U8 BGAIndex; /**< background activity that runs on it */
  TRX_U8 reserved1[8];
  TRX_U8 Model[40];    /**< text, blank padded */
  TRX_U8 SerialNo[20]; /**< text */
  TRX_U32 SectorSize;  /**< bytes */
  TRX_U8 FWVersion[8]; /**< text */
  TRX_U8 reserved2[4];
  TRX_U64 LBA;          /**< capacity, sectors */
  TRX_U16 SSDAdapterID; /**< controller id of the SSD */
  TRX_U16 SSDNSID;      /**< namespace id on the SSD */
  TRX_U8 reserved3[3];
  TRX_U8 NumberOfNS; /**< valid entries of `NS_Size` */
  NVME_NS_Size NS_Size[64];
} NVME_PD_Info;
TRX_SIZE_(NVME_PD_Info, 1128);
TRX_AT_(NVME_PD_Info, ID, 0);
TRX_AT_(NVME_PD_Info, Status, 2);
TRX_AT_(NVME_PD_Info, BGAIndex, 3);
TRX_AT_(NVME_PD_Info, reserved1, 4);
TRX_AT_(NVME_PD_Info, Model, 12);
TRX_AT_(NVME_PD_Info, SerialNo, 52);
TRX_AT_(NVME_PD_Info, SectorSize, 72);
TRX_AT_(NVME_PD_Info, FWVersion, 76);
TRX_AT_(NVME_PD_Info, reserved2, 84);
TRX_AT_(NVME_PD_Info, LBA, 88);
TRX_AT_(NVME_PD_Info, SSDAdapterID, 96);
TRX_AT_(NVME_PD_Info, SSDNSID, 98);
TRX_AT_(NVME_PD_Info, reserved3, 100);
TRX_AT_(NVME_PD_Info, NumberOfNS, 103);
TRX_AT_(NVME_PD_Info, NS_Size, 104);

/** Allocate the header and `numRequested` records. */
typedef struct _NVME_PD_Info_Request {
  RequestHeader header;
  NVME_PD_Info pd_info[1];
} NVME_PD_Info_Request;
TRX_SIZE_(NVME_PD_Info_Request, 1144);
TRX_AT_(NVME_PD_Info_Request, header, 0);
TRX_AT_(NVME_PD_Info_Request, pd_info, 16);

/* ---- virtual disks ------------------------------------------------------------------------ */

/** RAID levels written as two hexadecimal digits: the nested ones are 0x10, 0x50 and 0x60. */
enum TRX_RAID_MODE {
  TRX_RAID_MODE_0 = 0x00,
  TRX_RAID_MODE_1 = 0x01,
  TRX_RAID_MODE_5 = 0x05,
  TRX_RAID_MODE_6 = 0x06,
  TRX_RAID_MODE_JBOD = 0x0F,
  TRX_RAID_MODE_10 = 0x10,
  TRX_RAID_MODE_50 = 0x50,
  TRX_RAID_MODE_60 = 0x60
};

/** `NVME_VD_Info::Status`. */
enum TRX_VD_STATUS {
  TRX_VD_STATUS_FUNCTIONAL = 0,
  TRX_VD_STATUS_DEGRADE = 1,
  TRX_VD_STATUS_DELETED = 2,
  TRX_VD_STATUS_MISSING = 3,
  TRX_VD_STATUS_OFFLINE = 4,
  TRX_VD_STATUS_PARTIALLY_OPTIMAL = 5,
  TRX_VD_STATUS_FOREIGN = 6,
  TRX_VD_STATUS_IMPORTABLE = 7,
  TRX_VD_STATUS_NOT_IMPORTABLE = 8,
  TRX_VD_STATUS_INITIALIZATION = 9,
  TRX_VD_STATUS_REBUILDING = 10,
  TRX_VD_STATUS_ERROR_HANDLING = 11
};

/** Stands in `NVME_VD_Info::PDIDs` for a member that is missing. */
enum { TRX_PD_ID_MISSING = 0xFFFF };

typedef struct _NVME_VD_Info {
  TRX_U16 ID;
  TRX_U8 Status;      /**< TRX_VD_STATUS */
  TRX_U8 Importable;  /**< 1: a foreign VD that can be imported */
  TRX_U8 RaidMode;    /**< TRX_RAID_MODE */
  TRX_U8 MemberCount; /**< valid entries of `PDIDs` */
  TRX_U8 BGAIndex;    /**< background activity that runs on it */
  TRX_U8 reserved2;
  TRX_U64 LBA;       /**< capacity, sectors */
  TRX_U16 PDIDs[32]; /**< members; TRX_PD_ID_MISSING for one that is gone */
  TRX_U8 reserved4;
  TRX_U8 NumParityDisk;
  TRX_U16 StripBlockSize; /**< 512-byte blocks */
  TRX_U32 SectorSize;     /**< bytes */
  TRX_U8 Name[16];        /**< NUL padded */
  TRX_U8 NSIDs[64];       /**< namespaces carved from it */
  TRX_U8 reserved3[8];
} NVME_VD_Info;
TRX_SIZE_(NVME_VD_Info, 176);
TRX_AT_(NVME_VD_Info, ID, 0);
TRX_AT_(NVME_VD_Info, Status, 2);
TRX_AT_(NVME_VD_Info, Importable, 3);
TRX_AT_(NVME_VD_Info, RaidMode, 4);
TRX_AT_(NVME_VD_Info, MemberCount, 5);
TRX_AT_(NVME_VD_Info, BGAIndex, 6);
TRX_AT_(NVME_VD_Info, reserved2, 7);
TRX_AT_(NVME_VD_Info, LBA, 8);
TRX_AT_(NVME_VD_Info, PDIDs, 16);
TRX_AT_(NVME_VD_Info, reserved4, 80);
TRX_AT_(NVME_VD_Info, NumParityDisk, 81);
TRX_AT_(NVME_VD_Info, StripBlockSize, 82);
TRX_AT_(NVME_VD_Info, SectorSize, 84);
TRX_AT_(NVME_VD_Info, Name, 88);
TRX_AT_(NVME_VD_Info, NSIDs, 104);
TRX_AT_(NVME_VD_Info, reserved3, 168);

/** Allocate the header and `numRequested` records. */
typedef struct _NVME_VD_Info_Request {
  RequestHeader header;
  NVME_VD_Info vd_info[1];
} NVME_VD_Info_Request;
TRX_SIZE_(NVME_VD_Info_Request, 192);
TRX_AT_(NVME_VD_Info_Request, header, 0);
TRX_AT_(NVME_VD_Info_Request, vd_info, 16);

typedef struct _NVME_VD_Config {
  TRX_U16 ID;
  TRX_U8 Reserved[6];
  TRX_U8 Name[16];
} NVME_VD_Config;
TRX_SIZE_(NVME_VD_Config, 24);
TRX_AT_(NVME_VD_Config, ID, 0);
TRX_AT_(NVME_VD_Config, Reserved, 2);
TRX_AT_(NVME_VD_Config, Name, 8);

/** Allocate the header and `numRequested` records. */
typedef struct _NVME_VD_Config_Request {
  RequestHeader header;
  NVME_VD_Config vd_config[1];
} NVME_VD_Config_Request;
TRX_SIZE_(NVME_VD_Config_Request, 40);
TRX_AT_(NVME_VD_Config_Request, header, 0);
TRX_AT_(NVME_VD_Config_Request, vd_config, 16);

/** Create a VD, or ask how large it would be. */
typedef struct _NVME_Create_VD {
  TRX_U8 RAIDMode; /**< TRX_RAID_MODE */
  TRX_U8 MemberCount;
  TRX_U8 RoundingScheme;
  TRX_U8 SubLDCount;       /**< spans of RAID10 */
  TRX_U16 StripeBlockSize; /**< 512-byte blocks */
  TRX_U8 NumParityDisk;
  TRX_U8 reserved1[1];
  TRX_U8 InitializationOption;
  TRX_U8 Reserved2[3];
  TRX_U16 PDIDs[32];
  TRX_U8 Name[16];
  TRX_U8 reserved3[4];
  TRX_U64 reserved4;
  TRX_U8 QueryLDSize; /**< 1: only compute the size */
  TRX_U8 pad1;
  TRX_U16 NSCount;
  TRX_U8 reserved5[5];
  TRX_U8 pad2[7];
  TRX_U64 NSSize[64]; /**< sectors of each namespace */
} NVME_Create_VD;
TRX_SIZE_(NVME_Create_VD, 632);
TRX_AT_(NVME_Create_VD, RAIDMode, 0);
TRX_AT_(NVME_Create_VD, MemberCount, 1);
TRX_AT_(NVME_Create_VD, RoundingScheme, 2);
TRX_AT_(NVME_Create_VD, SubLDCount, 3);
TRX_AT_(NVME_Create_VD, StripeBlockSize, 4);
TRX_AT_(NVME_Create_VD, NumParityDisk, 6);
TRX_AT_(NVME_Create_VD, reserved1, 7);
TRX_AT_(NVME_Create_VD, InitializationOption, 8);
TRX_AT_(NVME_Create_VD, Reserved2, 9);
TRX_AT_(NVME_Create_VD, PDIDs, 12);
TRX_AT_(NVME_Create_VD, Name, 76);
TRX_AT_(NVME_Create_VD, reserved3, 92);
TRX_AT_(NVME_Create_VD, reserved4, 96);
TRX_AT_(NVME_Create_VD, QueryLDSize, 104);
TRX_AT_(NVME_Create_VD, pad1, 105);
TRX_AT_(NVME_Create_VD, NSCount, 106);
TRX_AT_(NVME_Create_VD, reserved5, 108);
TRX_AT_(NVME_Create_VD, pad2, 113);
TRX_AT_(NVME_Create_VD, NSSize, 120);

/** Answer of the size query. */
typedef struct _NVME_PreCreate_VD {
  TRX_U32 reserved;
  TRX_U32 SectorSize; /**< bytes */
  TRX_U64 LBA;        /**< sectors */
} NVME_PreCreate_VD;
TRX_SIZE_(NVME_PreCreate_VD, 16);
TRX_AT_(NVME_PreCreate_VD, reserved, 0);
TRX_AT_(NVME_PreCreate_VD, SectorSize, 4);
TRX_AT_(NVME_PreCreate_VD, LBA, 8);

typedef struct _NVME_VD_Delete {
  TRX_U16 ID;
  TRX_U8 ClearMBR; /**< 1: wipe the partition table */
  TRX_U8 Reserved[5];
} NVME_VD_Delete;
TRX_SIZE_(NVME_VD_Delete, 8);
TRX_AT_(NVME_VD_Delete, ID, 0);
TRX_AT_(NVME_VD_Delete, ClearMBR, 2);
TRX_AT_(NVME_VD_Delete, Reserved, 3);

typedef struct _NVME_VD_Init {
  TRX_U16 ID;
  TRX_U8 Init_Type;
  TRX_U8 Reserved[5];
} NVME_VD_Init;
TRX_SIZE_(NVME_VD_Init, 8);
TRX_AT_(NVME_VD_Init, ID, 0);
TRX_AT_(NVME_VD_Init, Init_Type, 2);
TRX_AT_(NVME_VD_Init, Reserved, 3);

typedef struct _NVME_VD_Sync {
  TRX_U16 ID;
  TRX_U8 Reserved[6];
} NVME_VD_Sync;
TRX_SIZE_(NVME_VD_Sync, 8);
TRX_AT_(NVME_VD_Sync, ID, 0);
TRX_AT_(NVME_VD_Sync, Reserved, 2);

typedef struct _NVME_VD_MP {
  TRX_U16 VDID;
  TRX_U8 Reserved[6];
} NVME_VD_MP;
TRX_SIZE_(NVME_VD_MP, 8);
TRX_AT_(NVME_VD_MP, VDID, 0);
TRX_AT_(NVME_VD_MP, Reserved, 2);

typedef struct _NVME_PD_MP {
  TRX_U16 PDID;
  TRX_U8 Reserved[6];
} NVME_PD_MP;
TRX_SIZE_(NVME_PD_MP, 8);
TRX_AT_(NVME_PD_MP, PDID, 0);
TRX_AT_(NVME_PD_MP, Reserved, 2);

typedef struct _NVME_Rebuild {
  TRX_U16 VDID;
  TRX_U16 PDID; /**< the new member */
  TRX_U8 reserved[4];
} NVME_Rebuild;
TRX_SIZE_(NVME_Rebuild, 8);
TRX_AT_(NVME_Rebuild, VDID, 0);
TRX_AT_(NVME_Rebuild, PDID, 2);
TRX_AT_(NVME_Rebuild, reserved, 4);

typedef struct _NVME_Migrate {
  TRX_U16 ID;
  TRX_U8 RaidMode;
  TRX_U8 MemberCount;
  TRX_U8 SubLDCount;
  TRX_U8 NumParityDisk;
  TRX_U8 reserved[2];
  TRX_U8 PDIDs[32]; /**< one byte each, unlike the 16-bit lists elsewhere */
} NVME_Migrate;
TRX_SIZE_(NVME_Migrate, 40);
TRX_AT_(NVME_Migrate, ID, 0);
TRX_AT_(NVME_Migrate, RaidMode, 2);
TRX_AT_(NVME_Migrate, MemberCount, 3);
TRX_AT_(NVME_Migrate, SubLDCount, 4);
TRX_AT_(NVME_Migrate, NumParityDisk, 5);
TRX_AT_(NVME_Migrate, reserved, 6);
TRX_AT_(NVME_Migrate, PDIDs, 8);

/* ---- namespaces --------------------------------------------------------------------------- */

/** Bits of `NVME_NS_Info::Status`; an entry of 0 is empty. */
enum { TRX_NS_STATUS_VALID = 1 << 0, TRX_NS_STATUS_CREATED = 1 << 1, TRX_NS_STATUS_ACTIVE = 1 << 2 };

/** `NVME_NS_Info::device_type`. */
enum { TRX_NS_DEVICE_PD = 0, TRX_NS_DEVICE_VD = 1 };

typedef struct _NVME_NS_Info {
  TRX_U8 NSID;
  TRX_U8 device_type; /**< TRX_NS_DEVICE_… */
  TRX_U16 ID;         /**< backing VD or PD */
  TRX_U8 Status;      /**< TRX_NS_STATUS_… */
  TRX_U8 VDStatus;    /**< TRX_VD_STATUS of the backing VD */
  TRX_U8 reserved1[1];
  TRX_U8 LBADataSize; /**< LBA data size, power of two */
  TRX_U32 SectorSize; /**< bytes */
  TRX_U8 reserved2[4];
  TRX_U64 LBA; /**< capacity, sectors */
} NVME_NS_Info;
TRX_SIZE_(NVME_NS_Info, 24);
TRX_AT_(NVME_NS_Info, NSID, 0);
TRX_AT_(NVME_NS_Info, device_type, 1);
TRX_AT_(NVME_NS_Info, ID, 2);
TRX_AT_(NVME_NS_Info, Status, 4);
TRX_AT_(NVME_NS_Info, VDStatus, 5);
TRX_AT_(NVME_NS_Info, reserved1, 6);
TRX_AT_(NVME_NS_Info, LBADataSize, 7);
TRX_AT_(NVME_NS_Info, SectorSize, 8);
TRX_AT_(NVME_NS_Info, reserved2, 12);
TRX_AT_(NVME_NS_Info, LBA, 16);

/** Without a header, unlike the other lists: its count travels in the command. */
typedef struct _NVME_NS_Info_Request {
  NVME_NS_Info ns_info[1];
} NVME_NS_Info_Request;
TRX_SIZE_(NVME_NS_Info_Request, 24);
TRX_AT_(NVME_NS_Info_Request, ns_info, 0);

/* ---- background activities (BGA) ---------------------------------------------------------- */

enum TRX_BGA_TYPE {
  TRX_NVME_BGA_TYPE_NONE = 0,
  TRX_NVME_BGA_TYPE_VD_INIT_QUICK = 1,
  TRX_NVME_BGA_TYPE_VD_INIT_BACKGROUND = 2,
  TRX_NVME_BGA_TYPE_VD_REBUILD = 3,
  TRX_NVME_BGA_TYPE_VD_SYNC = 4,
  TRX_NVME_BGA_TYPE_VD_MIGRATE = 5,
  TRX_NVME_BGA_TYPE_HD_MEDIAPATROL = 6,
  TRX_NVME_BGA_TYPE_VD_MEDIAPATROL = 7
};

enum TRX_BGA_STATUS {
  TRX_NVME_BGA_STATUS_NONE = 0,
  TRX_NVME_BGA_STATUS_RUNNING = 1,
  TRX_NVME_BGA_STATUS_PAUSE = 2
};

enum TRX_BGA_OPERATION {
  TRX_NVME_BGA_OPERATION_START = 0,
  TRX_NVME_BGA_OPERATION_PAUSE = 1,
  TRX_NVME_BGA_OPERATION_RESUME = 2,
  TRX_NVME_BGA_OPERATION_ABORT = 3
};

typedef struct _NVME_BGA_STATUS {
  TRX_U8 Reserved1;
  TRX_U8 BgaType;    /**< TRX_BGA_TYPE */
  TRX_U8 ID;         /**< VD or PD id */
  TRX_U8 Percentage; /**< 0 to 100 */
  TRX_U8 BgaStatus;  /**< TRX_BGA_STATUS */
  TRX_U8 Reserved2[3];
} NVME_BGA_Status;
TRX_SIZE_(NVME_BGA_Status, 8);
TRX_AT_(NVME_BGA_Status, Reserved1, 0);
TRX_AT_(NVME_BGA_Status, BgaType, 1);
TRX_AT_(NVME_BGA_Status, ID, 2);
TRX_AT_(NVME_BGA_Status, Percentage, 3);
TRX_AT_(NVME_BGA_Status, BgaStatus, 4);
TRX_AT_(NVME_BGA_Status, Reserved2, 5);

/** Allocate the header and `numRequested` records. */
typedef struct _NVME_BGA_REQUEST {
  RequestHeader header;
  NVME_BGA_Status data[1];
} NVME_BGA_REQUEST;
TRX_SIZE_(NVME_BGA_REQUEST, 24);
TRX_AT_(NVME_BGA_REQUEST, header, 0);
TRX_AT_(NVME_BGA_REQUEST, data, 16);

/* ---- events and debug dump ---------------------------------------------------------------- */

enum TRX_EVT_CLASS {
  TRX_NVME_EVT_CLASS_ADAPTER = 1,
  TRX_NVME_EVT_CLASS_PD = 2,
  TRX_NVME_EVT_CLASS_VD = 3,
  TRX_NVME_EVT_CLASS_NS = 4,
  TRX_NVME_EVT_CLASS_OEM = 5
};

enum TRX_EVT_SEVERITY {
  TRX_NVME_EVT_SEVERITY_NOTIFY = 0,
  TRX_NVME_EVT_SEVERITY_WARNING = 1,
  TRX_NVME_EVT_SEVERITY_CRITICAL = 2
};

typedef struct _NVME_Event_Status {
  TRX_U8 maxPage;
  TRX_U8 slotPerPage;
  TRX_U8 posEmptyPage;
  TRX_U8 posEmptySlotInPage;
  TRX_U8 sizeOfEventItem; /**< bytes */
  TRX_U8 reserved[3];
} NVME_Event_Status;
TRX_SIZE_(NVME_Event_Status, 8);
TRX_AT_(NVME_Event_Status, maxPage, 0);
TRX_AT_(NVME_Event_Status, slotPerPage, 1);
TRX_AT_(NVME_Event_Status, posEmptyPage, 2);
TRX_AT_(NVME_Event_Status, posEmptySlotInPage, 3);
TRX_AT_(NVME_Event_Status, sizeOfEventItem, 4);
TRX_AT_(NVME_Event_Status, reserved, 5);

typedef struct _NVME_Event_Item {
  TRX_U16 Class; /**< TRX_EVT_CLASS */
  TRX_U16 Code;
  TRX_U32 TimeStamp; /**< seconds */
  TRX_U32 SequenceNo;
  TRX_U16 DeviceID;
  TRX_U8 Severity; /**< TRX_EVT_SEVERITY */
  TRX_U8 Accurate;
  TRX_U32 Params[4];
  TRX_U8 Oem_Class;
  TRX_U8 Oem_Severity;
  TRX_U16 Oem_Code;
  TRX_U8 ParamCount;
  TRX_U8 Reserved[27];
} NVME_Event_Item;
TRX_SIZE_(NVME_Event_Item, 64);
TRX_AT_(NVME_Event_Item, Class, 0);
TRX_AT_(NVME_Event_Item, Code, 2);
TRX_AT_(NVME_Event_Item, TimeStamp, 4);
TRX_AT_(NVME_Event_Item, SequenceNo, 8);
TRX_AT_(NVME_Event_Item, DeviceID, 12);
TRX_AT_(NVME_Event_Item, Severity, 14);
TRX_AT_(NVME_Event_Item, Accurate, 15);
TRX_AT_(NVME_Event_Item, Params, 16);
TRX_AT_(NVME_Event_Item, Oem_Class, 32);
TRX_AT_(NVME_Event_Item, Oem_Severity, 33);
TRX_AT_(NVME_Event_Item, Oem_Code, 34);
TRX_AT_(NVME_Event_Item, ParamCount, 36);
TRX_AT_(NVME_Event_Item, Reserved, 37);

/** Head of an event page, and the first of its events. What is exchanged is an NVME_Event_Page. */
typedef struct _NVME_Page_EventRequest {
  TRX_U8 Page;
  TRX_U8 Reserved[3];
  NVME_Event_Item Events[1];
} NVME_Page_EventRequest;
TRX_SIZE_(NVME_Page_EventRequest, 68);
TRX_AT_(NVME_Page_EventRequest, Page, 0);
TRX_AT_(NVME_Page_EventRequest, Reserved, 1);
TRX_AT_(NVME_Page_EventRequest, Events, 4);

/** An event page as it is exchanged, with room for every event that a reply carries. */
typedef struct _NVME_Event_Page {
  TRX_U8 Page; /**< which page is wanted */
  TRX_U8 Reserved1[3];
  NVME_Event_Item Events[63]; /**< `NVME_Event_Status::slotPerPage` of them are in use */
  TRX_U8 Reserved2[60];
} NVME_Event_Page;
TRX_SIZE_(NVME_Event_Page, 4096);
TRX_AT_(NVME_Event_Page, Page, 0);
TRX_AT_(NVME_Event_Page, Reserved1, 1);
TRX_AT_(NVME_Event_Page, Events, 4);
TRX_AT_(NVME_Event_Page, Reserved2, 4036);

typedef struct _NVME_Debug_Dump_Status {
  TRX_U32 debugDumpBuffSize; /**< bytes */
  TRX_U8 reserved[4];
} NVME_Debug_Dump_Status;
TRX_SIZE_(NVME_Debug_Dump_Status, 8);
TRX_AT_(NVME_Debug_Dump_Status, debugDumpBuffSize, 0);
TRX_AT_(NVME_Debug_Dump_Status, reserved, 4);

typedef struct _NVME_Debug_Dump_Config {
  TRX_U8 dumpOn;
  TRX_U8 reserved[7];
} NVME_Debug_Dump_Config;
TRX_SIZE_(NVME_Debug_Dump_Config, 8);
TRX_AT_(NVME_Debug_Dump_Config, dumpOn, 0);
TRX_AT_(NVME_Debug_Dump_Config, reserved, 1);

/** Length of every controller reply, envelope and page. */
enum { TRX_PAGE_SIZE = 4096 };

typedef struct _NVME_Debug_Dump_Request {
  TRX_U32 length; /**< bytes of `data` that hold text */
  TRX_U8 Reserved[4];
  TRX_U8 data[TRX_PAGE_SIZE - 8];
} NVME_Debug_Dump_Request;
TRX_SIZE_(NVME_Debug_Dump_Request, 4096);
TRX_AT_(NVME_Debug_Dump_Request, length, 0);
TRX_AT_(NVME_Debug_Dump_Request, Reserved, 4);
TRX_AT_(NVME_Debug_Dump_Request, data, 8);

/* ---- firmware ----------------------------------------------------------------------------- */

/** Progress of a firmware transfer. */
typedef struct _NVME_Flash_Result {
  TRX_U32 status;    /**< 1 running, 0 finished */
  TRX_U32 result;    /**< 0 success, 1 failure, else an NVMe status */
  TRX_U8 percentage; /**< 0 to 100 */
  TRX_U8 pad[3];
} NVME_Flash_Result;
TRX_SIZE_(NVME_Flash_Result, 12);
TRX_AT_(NVME_Flash_Result, status, 0);
TRX_AT_(NVME_Flash_Result, result, 4);
TRX_AT_(NVME_Flash_Result, percentage, 8);
TRX_AT_(NVME_Flash_Result, pad, 9);

/** Firmware Slot Information log (NVMe base standard, log page 03h). */
typedef struct _TRX_FIRMWARE_SLOT_INFO_LOG {
  struct {
    TRX_U8 ActiveSlot : 3;
    TRX_U8 Reserved0 : 1;
    TRX_U8 PendingActivateSlot : 3;
    TRX_U8 Reserved1 : 1;
  } AFI;
  TRX_U8 Reserved0[7];
  TRX_U8 FRS[7][8]; /**< firmware revision of slots 1 to 7, text */
  TRX_U8 Reserved1[448];
} TRX_FIRMWARE_SLOT_INFO_LOG;
TRX_SIZE_(TRX_FIRMWARE_SLOT_INFO_LOG, 512);
TRX_AT_(TRX_FIRMWARE_SLOT_INFO_LOG, AFI, 0);
TRX_AT_(TRX_FIRMWARE_SLOT_INFO_LOG, Reserved0, 1);
TRX_AT_(TRX_FIRMWARE_SLOT_INFO_LOG, FRS, 8);
TRX_AT_(TRX_FIRMWARE_SLOT_INFO_LOG, Reserved1, 64);

/** Identify Controller data (NVMe base standard, CNS 01h); the fields that we read by name. */
typedef struct _TRX_ID_CONTROLLER {
  TRX_U16 VID;
  TRX_U16 SSVID;
  TRX_U8 SN[20];
  TRX_U8 MN[40];
  TRX_U8 FR[8];
  TRX_U8 RAB;
  TRX_U8 IEEE[3];
  TRX_U8 CMIC;
  TRX_U8 MDTS;
  TRX_U16 CNTLID;
  TRX_U32 VER;
  TRX_U8 unread1[172];
  TRX_U16 OACS;
  TRX_U8 ACL;
  TRX_U8 AERL;
  TRX_U8 FRMW;
  TRX_U8 LPA;
  TRX_U8 ELPE;
  TRX_U8 NPSS;
  TRX_U8 AVSCC;
  TRX_U8 APSTA;
  TRX_U16 WCTEMP; /**< kelvin */
  TRX_U16 CCTEMP; /**< kelvin */
  TRX_U8 unread2[10];
  TRX_U8 TNVMCAP[16]; /**< bytes, a 128-bit number */
  TRX_U8 UNVMCAP[16]; /**< bytes, a 128-bit number */
  TRX_U8 unread3[200];
  TRX_U8 SQES;
  TRX_U8 CQES;
  TRX_U16 MAXCMD;
  TRX_U32 NN;
  TRX_U16 ONCS;
  TRX_U16 FUSES;
  TRX_U8 FNA;
  TRX_U8 VWC;
  TRX_U8 unread4[242];
  TRX_U8 SUBNQN[256];
  TRX_U8 unread5[3072];
} TRX_ID_CONTROLLER;
TRX_SIZE_(TRX_ID_CONTROLLER, 4096);
TRX_AT_(TRX_ID_CONTROLLER, VID, 0);
TRX_AT_(TRX_ID_CONTROLLER, SSVID, 2);
TRX_AT_(TRX_ID_CONTROLLER, SN, 4);
TRX_AT_(TRX_ID_CONTROLLER, MN, 24);
TRX_AT_(TRX_ID_CONTROLLER, FR, 64);
TRX_AT_(TRX_ID_CONTROLLER, RAB, 72);
TRX_AT_(TRX_ID_CONTROLLER, IEEE, 73);
TRX_AT_(TRX_ID_CONTROLLER, CMIC, 76);
TRX_AT_(TRX_ID_CONTROLLER, MDTS, 77);
TRX_AT_(TRX_ID_CONTROLLER, CNTLID, 78);
TRX_AT_(TRX_ID_CONTROLLER, VER, 80);
TRX_AT_(TRX_ID_CONTROLLER, unread1, 84);
TRX_AT_(TRX_ID_CONTROLLER, OACS, 256);
TRX_AT_(TRX_ID_CONTROLLER, ACL, 258);
TRX_AT_(TRX_ID_CONTROLLER, AERL, 259);
TRX_AT_(TRX_ID_CONTROLLER, FRMW, 260);
TRX_AT_(TRX_ID_CONTROLLER, LPA, 261);
TRX_AT_(TRX_ID_CONTROLLER, ELPE, 262);
TRX_AT_(TRX_ID_CONTROLLER, NPSS, 263);
TRX_AT_(TRX_ID_CONTROLLER, AVSCC, 264);
TRX_AT_(TRX_ID_CONTROLLER, APSTA, 265);
TRX_AT_(TRX_ID_CONTROLLER, WCTEMP, 266);
TRX_AT_(TRX_ID_CONTROLLER, CCTEMP, 268);
TRX_AT_(TRX_ID_CONTROLLER, unread2, 270);
TRX_AT_(TRX_ID_CONTROLLER, TNVMCAP, 280);
TRX_AT_(TRX_ID_CONTROLLER, UNVMCAP, 296);
TRX_AT_(TRX_ID_CONTROLLER, unread3, 312);
TRX_AT_(TRX_ID_CONTROLLER, SQES, 512);
TRX_AT_(TRX_ID_CONTROLLER, CQES, 513);
TRX_AT_(TRX_ID_CONTROLLER, MAXCMD, 514);
TRX_AT_(TRX_ID_CONTROLLER, NN, 516);
TRX_AT_(TRX_ID_CONTROLLER, ONCS, 520);
TRX_AT_(TRX_ID_CONTROLLER, FUSES, 522);
TRX_AT_(TRX_ID_CONTROLLER, FNA, 524);
TRX_AT_(TRX_ID_CONTROLLER, VWC, 525);
TRX_AT_(TRX_ID_CONTROLLER, unread4, 526);
TRX_AT_(TRX_ID_CONTROLLER, SUBNQN, 768);
TRX_AT_(TRX_ID_CONTROLLER, unread5, 1024);

/* ---- vendor pass-through and pair-command envelopes --------------------------------------- */

/** `trx_admin_command_format::CDW[0]`: what the outer vendor command does. */
enum {
  TRX_OPCODE_DISK_READ = 0xC2,  /**< forward an admin command to a disk; data comes back */
  TRX_OPCODE_DISK_WRITE = 0xC3, /**< forward an admin command to a disk; data goes to it, or none */
  TRX_OPCODE_CONTROLLER = 0xE2  /**< a function of the controller, selected by CDW[12] */
};

/** Opcodes of the pair of commands that carries a vendor request: NVMESendData, then NVMEReceiveData. */
enum { TRX_OPCODE_PAIR_SEND = 0xCB, TRX_OPCODE_PAIR_RECEIVE = 0xCE };

/**
 * The vendor pass-through record. Dwords 0 to 15 are the outer command; bit i of `cdw_flag` says
 * that CDW[i] carries a value.
 *
 * For TRX_OPCODE_CONTROLLER, CDW[12] = argument << 16 | sub-function << 8 | group. For the two disk
 * opcodes CDW[1] is the disk id, CDW[14] is dword 0 of the disk command (opcode in bits 7:0, FUSE
 * in 9:8, PSDT in 15:14) and CDW[15] its NSID; the other dwords keep their places.
 */
typedef struct trx_admin_command_format {
  TRX_U32 CDW[18];
  TRX_U16 cdw_flag;
  TRX_U16 control_id; /**< the disk id again */
  TRX_U16 rsvd0[2];
} trx_admin_command_format;
TRX_SIZE_(trx_admin_command_format, 80);
TRX_AT_(trx_admin_command_format, CDW, 0);
TRX_AT_(trx_admin_command_format, cdw_flag, 72);
TRX_AT_(trx_admin_command_format, control_id, 74);
TRX_AT_(trx_admin_command_format, rsvd0, 76);

/** The signature "TRX" and a zero byte, as the 32-bit value that travels in CDW15. */
enum { TRX_SIGNATURE_WORD = 0x00585254 };

/** What a pair-command send carries to the controller. */
typedef struct NVMESendData {
  TRX_U8 sign[4];
  TRX_U8 cmd_length;  /**< valid words of `vendor_cmd` */
  TRX_U8 data_offset; /**< bytes from the start of the envelope to `data` */
  TRX_U16 data_length;
  TRX_U16 vendor_cmd[4];
  TRX_U8 data[TRX_PAGE_SIZE - 16];
} NVMESendData;
TRX_SIZE_(NVMESendData, 4096);
TRX_AT_(NVMESendData, sign, 0);
TRX_AT_(NVMESendData, cmd_length, 4);
TRX_AT_(NVMESendData, data_offset, 5);
TRX_AT_(NVMESendData, data_length, 6);
TRX_AT_(NVMESendData, vendor_cmd, 8);
TRX_AT_(NVMESendData, data, 16);

/** `NVMESendData::vendor_cmd[0]`: what a vendor request is about. The next word is its sub-code. */
enum {
  TRX_GROUP_ADAPTER = 0xE0,
  TRX_GROUP_PD = 0xE1,
  TRX_GROUP_VD = 0xE2,
  TRX_GROUP_BGA = 0xE3, /**< background activities, and actions of disks */
  TRX_GROUP_EVENT = 0xE4,
  TRX_GROUP_NS = 0xE5,
  TRX_GROUP_DUMP = 0xFE /**< event pages, and the debug dump */
};

/** Sub-code of TRX_GROUP_DUMP: one event page, an NVME_Event_Page. */
enum { TRX_DUMP_EVENT_PAGE = 4 };

/** What a pair-command receive brings back; replies of controller functions have the same head. */
typedef struct NVMEReceiveData {
  TRX_U8 sign[4];
  TRX_U8 cmd_status; /**< 0 success, else the firmware's status */
  TRX_U8 reserved[3];
  TRX_U8 data[TRX_PAGE_SIZE - 8];
} NVMEReceiveData;
TRX_SIZE_(NVMEReceiveData, 4096);
TRX_AT_(NVMEReceiveData, sign, 0);
TRX_AT_(NVMEReceiveData, cmd_status, 4);
TRX_AT_(NVMEReceiveData, reserved, 5);
TRX_AT_(NVMEReceiveData, data, 8);

#pragma pack(pop)

/* ---- NVMe status values (NVMe base standard, Status Code) --------------------------------- */

/** Generic command status: status code type 0. */
enum TRX_NVME_SC {
  TRX_NVME_SC_SUCCESS = 0,
  TRX_NVME_SC_INVALID_OPCODE = 1,
  TRX_NVME_SC_INVALID_FIELD = 2,
  TRX_NVME_SC_CMDID_CONFLICT = 3,
  TRX_NVME_SC_DATA_XFER_ERROR = 4,
  TRX_NVME_SC_POWER_LOSS = 5,
  TRX_NVME_SC_INTERNAL = 6,
  TRX_NVME_SC_ABORT_REQ = 7,
  TRX_NVME_SC_ABORT_QUEUE = 8,
  TRX_NVME_SC_FUSED_FAIL = 9,
  TRX_NVME_SC_FUSED_MISSING = 10,
  TRX_NVME_SC_INVALID_NS = 11,
  TRX_NVME_SC_CMD_SEQ_ERROR = 12,
  TRX_NVME_SC_CMD_INVALID_SGL = 13,
  TRX_NVME_SC_CMD_INVALID_NUM_SGL = 14,
  TRX_NVME_SC_CMD_INVALID_SGL_DATA_LEN = 15,
  TRX_NVME_SC_CMD_INVALID_SGL_META_LEN = 16,
  TRX_NVME_SC_CMD_INVALID_SGL_TYPE = 17,
  TRX_NVME_SC_CMD_INVALID_USE_CTRL_MEM_BUFFER = 18,
  TRX_NVME_SC_CMD_INVALID_PRP_OFFSET = 19,
  TRX_NVME_SC_CMD_WRITE_EXECEEDED = 20,
  TRX_NVME_SC_CMD_OP_DENIED = 21,
  TRX_NVME_SC_CMD_INVALID_SGL_OFFSET = 22,
  TRX_NVME_SC_CMD_HOST_ID_INCONSISTENT = 24,
  TRX_NVME_SC_CMD_KEEP_ALIVE_TIMEOUT_EXPIRED = 25,
  TRX_NVME_SC_CMD_KEEP_ALIVE_TIMEOUT_INVALID = 26,
  TRX_NVME_SC_CMD_CMD_ABORT = 27,
  TRX_NVME_SC_CMD_SANITIZE_FAILED = 28,
  TRX_NVME_SC_CMD_SANITIZE_PROGRESS = 29,
  TRX_NVME_SC_CMD_SGL_DATA_BLOCK_INVALID = 30,
  TRX_NVME_SC_CMD_COMMAND_NOT_SUPPORT_CMB = 31,
  TRX_NVME_SC_LBA_RANGE = 128,
  TRX_NVME_SC_CAP_EXCEEDED = 129,
  TRX_NVME_SC_NS_NOT_READY = 130,
  TRX_NVME_SC_RES_CONFLICT = 131,
  TRX_NVME_SC_FORMAT_IN_PROGRESS = 132
};

/** Command-specific status: status code type 1. */
enum TRX_NVME_CSS {
  TRX_CQI = 0,
  TRX_IQI = 1,
  TRX_IQS = 2,
  TRX_ACLE = 3,
  TRX_AERLE = 5,
  TRX_IFS = 6,
  TRX_IFI = 7,
  TRX_IIV = 8,
  TRX_ILP = 9,
  TRX_IF = 10,
  TRX_FWACT_REQ_CON_RESET = 11,
  TRX_IQD = 12,
  TRX_FINS = 13,
  TRX_FNC = 14,
  TRX_FNNS = 15,
  TRX_FAR_NVM_SR = 16,
  TRX_FARR = 17,
  TRX_FARMTV = 18,
  TRX_FAP = 19,
  TRX_OR = 20,
  TRX_NIC = 21,
  TRX_NIU = 22,
  TRX_NAA = 24,
  TRX_NIP = 25,
  TRX_NNA = 26,
  TRX_TPNS = 27,
  TRX_CLI = 28,
  TRX_DSIP = 29,
  TRX_BPWP = 30,
  TRX_ICI = 31,
  TRX_ISCS = 32,
  TRX_INCR = 33,
  TRX_IRI = 34
};

#undef TRX_AT_
#undef TRX_SIZE_
#undef TRX_ASSERT_

#endif /* TRX_RECORDS_H */
