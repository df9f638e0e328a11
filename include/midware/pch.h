/* Disks and controllers behind the platform controller hub (PCH), the host's view of them, and their custom slot
 * numbers and labels. Semaphore 12303 for the two tables; the settings file has a cross-process lock of its own. */
#ifndef MIDWARE_PCH_H
#define MIDWARE_PCH_H

#include "midware/base.h"
#include "midware/raidcard.h"

#define MW_PCH_DISK_MAX 64u
#define MW_PCH_CTRL_MAX 16u
#define MW_PCH_SILK_SIZE 33u

/* PchDiskInfo.ucIfType as the host view maps it; other values are carried as they are */
#define MW_PCH_IF_SATA 3u /* becomes MW_HD_IF_SATA */
#define MW_PCH_IF_PCIE 7u /* becomes MW_HD_IF_PCIE */

/* PchDiskCustomCfg.ucCfgType and the type of MW_LoadCustomPchDiskConfig */
#define MW_PCH_CFG_SLOT 0u
#define MW_PCH_CFG_SILK 1u

/* Byte 5 of the command bytes of MW_SaveCustomPchDiskConfig: this writes, anything else removes */
#define MW_PCH_OPT_WRITE 1u

/* One disk, 136 bytes. */
typedef struct PchDiskInfo {
    uint32_t dwDiskId;        /* the collector's number of the disk */
    uint32_t dwCtrlId;        /* dwCtrlId of its controller */
    uint16_t wSectorSize;     /* logical, bytes; 0: unknown */
    uint16_t wPort;           /* port of the controller */
    uint8_t ucInfoA;          /* health, MW_HD_HEALTH_...; the library carries it */
    uint8_t ucFormFactor;     /* ATA identify word 168: 2 3.5 inch, 3 2.5 inch, 4 1.8 inch; 0: unknown */
    uint8_t ucTemperature;    /* degrees Celsius; 0: unknown */
    uint8_t ucReserved;
    uint32_t dwRotateRate;    /* revolutions per minute; 1: non-rotating media */
    uint8_t ucInfoB;          /* media, MW_HD_MEDIA_...; the library carries it */
    uint8_t aucReserved[3];
    uint32_t dwInfoC;         /* capacity, MiB; the library carries it */
    char acVendor[20];        /* need not be terminated; "ATA" for a SATA disk seen through the SCSI layer */
    char acSerialNum[21];
    char acFwVersion[9];
    char acModel[41];
    uint8_t ucIfType;         /* MW_PCH_IF_... */
    double dLinkRate;         /* Gbit/s: 1.5, 3.0, 6.0; 0: unknown */
    uint8_t aucWwn[8];        /* world wide name (ATA identify words 108 to 111), most significant byte first */
} PchDiskInfo;

MW_SIZE_IS(PchDiskInfo, 136);
MW_OFFSET_IS(PchDiskInfo, dwCtrlId, 4);
MW_OFFSET_IS(PchDiskInfo, wPort, 10);
MW_OFFSET_IS(PchDiskInfo, ucInfoA, 12);
MW_OFFSET_IS(PchDiskInfo, dwRotateRate, 16);
MW_OFFSET_IS(PchDiskInfo, ucInfoB, 20);
MW_OFFSET_IS(PchDiskInfo, dwInfoC, 24);
MW_OFFSET_IS(PchDiskInfo, acVendor, 28);
MW_OFFSET_IS(PchDiskInfo, acSerialNum, 48);
MW_OFFSET_IS(PchDiskInfo, acFwVersion, 69);
MW_OFFSET_IS(PchDiskInfo, acModel, 78);
MW_OFFSET_IS(PchDiskInfo, ucIfType, 119);
MW_OFFSET_IS(PchDiskInfo, dLinkRate, 120);

/* The disks, 8712 bytes. */
typedef struct PchDiskAssetInfo {
    uint32_t dwPCHDiskNum;    /* valid records */
    uint8_t aucPad[4];
    PchDiskInfo atPchDisk[MW_PCH_DISK_MAX];
} PchDiskAssetInfo;

MW_SIZE_IS(PchDiskAssetInfo, 8712);
MW_OFFSET_IS(PchDiskAssetInfo, dwPCHDiskNum, 0);
MW_OFFSET_IS(PchDiskAssetInfo, atPchDisk, 8);

/* One controller, 100 bytes. */
typedef struct PchCtrlInfo {
    uint32_t dwCtrlIndex;       /* the collector's number of the controller */
    uint32_t dwCtrlId;          /* what PchDiskInfo.dwCtrlId names */
    uint16_t wVendorId;         /* PCI configuration space */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    uint32_t dwClassCode;       /* 24 bits: 010601h is AHCI */
    uint8_t ucRevisionId;
    uint8_t ucPortNum;          /* ports in use by disks */
    char acDriverName[16];      /* the host's driver: "ahci" */
    char acName[32];
    uint8_t aucReserved[9];
    uint8_t ucCpuId;            /* number of the processor whose PCH holds the controller */
    uint32_t dwDomain;          /* PCI domain; the host view shows 0 */
    uint32_t dwBus;             /* PCI bus, device and function number */
    uint32_t dwDev;
    uint32_t dwFunc;
    uint32_t dwPortsImplemented; /* bit n: the controller has port n (AHCI PI register) */
} PchCtrlInfo;

MW_SIZE_IS(PchCtrlInfo, 100);
MW_OFFSET_IS(PchCtrlInfo, dwCtrlId, 4);
MW_OFFSET_IS(PchCtrlInfo, ucCpuId, 79);
MW_OFFSET_IS(PchCtrlInfo, dwBus, 84);
MW_OFFSET_IS(PchCtrlInfo, dwDev, 88);
MW_OFFSET_IS(PchCtrlInfo, dwFunc, 92);

/* The controllers, 1604 bytes. */
typedef struct PchCtrlAssetInfo {
    uint32_t dwPCHCtrlNum;    /* valid records */
    PchCtrlInfo atPchCtrl[MW_PCH_CTRL_MAX];
} PchCtrlAssetInfo;

MW_SIZE_IS(PchCtrlAssetInfo, 1604);
MW_OFFSET_IS(PchCtrlAssetInfo, dwPCHCtrlNum, 0);
MW_OFFSET_IS(PchCtrlAssetInfo, atPchCtrl, 4);

/* One disk of the host view, 432 bytes: the form in which disks behind RAID controllers are listed too. */
typedef HdAssetEntry HostPchHdEntry;

MW_SIZE_IS(HostPchHdEntry, 432);
MW_OFFSET_IS(HostPchHdEntry, ucSlot, 1);
MW_OFFSET_IS(HostPchHdEntry, dwInfoC, 8);
MW_OFFSET_IS(HostPchHdEntry, ucInfoA, 24);
MW_OFFSET_IS(HostPchHdEntry, ucInfoB, 25);
MW_OFFSET_IS(HostPchHdEntry, ucIfType, 29);
MW_OFFSET_IS(HostPchHdEntry, ucLinkRate, 30);
MW_OFFSET_IS(HostPchHdEntry, ucRotateRate, 53);
MW_OFFSET_IS(HostPchHdEntry, acSerialNum, 84);
MW_OFFSET_IS(HostPchHdEntry, acModel, 116);
MW_OFFSET_IS(HostPchHdEntry, acVendor, 180);
MW_OFFSET_IS(HostPchHdEntry, acFwVersion, 212);
MW_OFFSET_IS(HostPchHdEntry, acBdf, 324);
MW_OFFSET_IS(HostPchHdEntry, acSilkInfo, 340);
MW_OFFSET_IS(HostPchHdEntry, ucCpuId, 417);
MW_OFFSET_IS(HostPchHdEntry, wPort, 418);

/* The host view, 27,656 bytes. */
typedef struct HostPchHdInfo {
    uint32_t dwHdNum;         /* disks in the table, those without a controller included */
    uint8_t aucReserved[4];
    HostPchHdEntry atHd[MW_PCH_DISK_MAX];
} HostPchHdInfo;

MW_SIZE_IS(HostPchHdInfo, 27656);
MW_OFFSET_IS(HostPchHdInfo, dwHdNum, 0);
MW_OFFSET_IS(HostPchHdInfo, atHd, 8);

/* A disk's custom slot number or label, and the disk that it belongs to, 52 bytes. */
typedef struct PchDiskCustomCfg {
    uint32_t dwBus;           /* PCI address of the controller */
    uint32_t dwDev;
    uint32_t dwFunc;
    uint8_t ucCpuId;          /* number of the controller's processor */
    uint8_t ucPort;           /* port of the controller */
    uint8_t ucCfgType;        /* which setting a save addresses, MW_PCH_CFG_... */
    uint8_t ucSlot;           /* 255: none */
    uint8_t ucReserved;
    char acSilkInfo[MW_PCH_SILK_SIZE]; /* label, up to 32 characters; "--": none */
    uint8_t aucPad[2];
} PchDiskCustomCfg;

MW_SIZE_IS(PchDiskCustomCfg, 52);
MW_OFFSET_IS(PchDiskCustomCfg, dwBus, 0);
MW_OFFSET_IS(PchDiskCustomCfg, dwDev, 4);
MW_OFFSET_IS(PchDiskCustomCfg, dwFunc, 8);
MW_OFFSET_IS(PchDiskCustomCfg, ucCpuId, 12);
MW_OFFSET_IS(PchDiskCustomCfg, ucPort, 13);
MW_OFFSET_IS(PchDiskCustomCfg, ucCfgType, 14);
MW_OFFSET_IS(PchDiskCustomCfg, ucSlot, 15);
MW_OFFSET_IS(PchDiskCustomCfg, acSilkInfo, 17);

MW_BEGIN_DECLS

/**
 * The stored number of disks, and of controllers: one word. NULL: -1, silent.
 * @return 0; -1 on NULL, when not attached, or when semaphore 12303 was not had within 500 ms (one line at level 130).
 */
MW_API int32_t MW_GetPCHDiskCount(uint32_t *pdwCount);
MW_API int32_t MW_GetPCHCtrlCount(uint32_t *pdwCount);

/** Copy the disk table out or in whole, 8712 bytes; the number in it is not checked. @return as MW_GetPCHDiskCount */
MW_API int32_t MW_GetPCHDiskAssetInfo(PchDiskAssetInfo *ptOut);
MW_API int32_t MW_SetPCHDiskAssetInfo(const PchDiskAssetInfo *ptIn);

/** Copy the controller table out or in whole, 1604 bytes; the number in it is not checked. @return as above */
MW_API int32_t MW_GetPCHCtrlAssetInfo(PchCtrlAssetInfo *ptOut);
MW_API int32_t MW_SetPCHCtrlAssetInfo(const PchCtrlAssetInfo *ptIn);

/**
 * The host's view of the disks: each disk joined with its controller, its custom slot number and label, its codes
 * mapped and its vendor normalised. Entry i belongs to disk i. Of an entry only the fields whose offsets are pinned
 * above are written; a disk whose controller is not in the table leaves its entry as the caller passed it, and of two
 * controllers with its dwCtrlId the later one is shown.
 *
 * Takes semaphore 12303 twice, once a table, and none while it joins them: the tables may be of different moments. Per
 * joined disk it reads the settings file twice and appends one line to /data/log/customdiskslot.log. When the settings
 * cannot be read the entry gets those of the disk before it, 255 and "--" at first.
 *
 * @param ptOut not tested for NULL; at least 27,656 bytes, untouched unless both tables were read.
 * @return 0, also when the table has more than 16 controllers: the first 16 are joined and one line is logged at level
 *         135. -1 when a table could not be read (as its getter logs), or for more than 63 disks (one line at level
 *         135).
 */
MW_API int32_t HOST_GetPCHHdInfo(HostPchHdInfo *ptOut);

/** The code of a rotation rate in revolutions per minute, 1 for non-rotating media. @return MW_HD_RPM_... */
MW_API int32_t RotateRateChange(uint32_t dwRpm);

/**
 * Writes or removes one custom setting in /conf/ext/custom_pchdisk_config.ini, under the cross-process lock of the
 * file, and appends one line to /data/log/customdiskslot.log.
 *
 * @param tCfg   the disk; ucCfgType says which setting: the slot number or the label. A label without a terminator is
 *               taken as its 33 bytes. With any other type the file is saved unchanged.
 * @param pucOpt command bytes, of which byte 5 is read: 1 writes, any other value removes. Not tested for NULL.
 * @return 0, also when the file could not be written; -1 when the lock was not had (silent), the file not be loaded or
 *         created, or the setting to be removed is not there (one line in the journal each). A stored slot number of
 *         255 and a stored label with "--" in it count as not there.
 */
MW_API int32_t MW_SaveCustomPchDiskConfig(PchDiskCustomCfg tCfg, const uint8_t *pucOpt);

/**
 * Reads one custom setting of the disk that the record names, under the same lock, and appends a line to the same
 * journal.
 *
 * A stored label is a printf format: its conversions are formatted with zero, whatever their type, so that "%d" reads
 * as "0" and "%%" as "%". A conversion of a text gives "(null)"; a character that the language gives no meaning as a
 * conversion stays as it is, "100%" for instance; a label with a %n conversion is refused and reads as empty. The
 * result is cut to 32 characters.
 *
 * @param ptCfg  NULL: -1, silent.
 * @param dwType 0 stores the low 8 bits of the slot number in ucSlot, 255 when there is none; 1 stores the label in
 *               acSilkInfo, "--" when there is none; any other type reads nothing.
 * @return 0; -1 when the lock was not had (silent) or the file not be loaded or created (one line in the journal), with
 *         the record as it was.
 */
MW_API int32_t MW_LoadCustomPchDiskConfig(PchDiskCustomCfg *ptCfg, uint32_t dwType);

/**
 * Whether a text begins with the first `dwLength` characters of a prefix.
 * @param pcText   looked at for no more than 64 characters: with a greater length the answer is 0.
 * @param pcPrefix at least `dwLength` characters, or terminated.
 * @return 1 or 0; 1 for length 0; -1 when a pointer is NULL.
 */
MW_API int32_t findPchFirstSonStrInString(const char *pcText, const char *pcPrefix, uint32_t dwLength);

/**
 * Replaces the vendor "ATA", exactly, by the maker whose prefix the model begins with. A model of 32 or more characters
 * has no maker; a vendor without a terminator in its 32 bytes becomes empty.
 * @param pcVendor 32 bytes, rewritten in place.
 * @param pcModel  terminated, or at least 32 bytes; read only.
 * @return 0, or the error of the bounded copy back; -1 when a pointer is NULL.
 */
MW_API int32_t PCH_ParseATAVendorAndModel(char *pcVendor, const char *pcModel);

MW_END_DECLS

#endif
