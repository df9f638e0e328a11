/* RAID controllers, the disks and logical drives behind them, NVMe devices and disk backplanes. Semaphore 12294.
 *
 * The library carries most records whole and looks at no field of them: what the fields of those hold is the
 * convention of the collectors that fill them. Texts are NUL-terminated, 0 or an empty text means unknown, and a list
 * begins with the number of its valid entries unless said otherwise. */
#ifndef MIDWARE_RAIDCARD_H
#define MIDWARE_RAIDCARD_H

#include "midware/base.h"

#define MW_RAID_PHY_MAX 40u
#define MW_NVME_PHY_MAX 32u
#define MW_RAID_CTRL_MAX 8u
#define MW_SPR50_DEVICE_MAX 16u
#define MW_HD_MAX 128u
#define MW_LD_MAX 64u
#define MW_NVME_MAX 32u
#define MW_BACK_PANEL_MAX 32u

/* HdAssetEntry.ucIfType */
#define MW_HD_IF_PARALLEL 0u
#define MW_HD_IF_SAS 1u
#define MW_HD_IF_SATA 2u
#define MW_HD_IF_PCIE 3u

/* HdAssetEntry.ucLinkRate; other values are whole Gbit/s */
#define MW_HD_LINK_1_5G 1u
#define MW_HD_LINK_3G 2u
#define MW_HD_LINK_6G 3u

/* HdAssetEntry.ucRotateRate, what RotateRateChange answers */
#define MW_HD_RPM_5400 0u
#define MW_HD_RPM_7200 1u
#define MW_HD_RPM_10000 2u
#define MW_HD_RPM_10025 3u
#define MW_HD_RPM_15000 4u
#define MW_HD_RPM_NON_ROTATING 5u
#define MW_HD_RPM_OTHER 255u

/* Health of a disk, as self-tests and predictive failure analysis (SMART) see it */
#define MW_HD_HEALTH_UNKNOWN 0u
#define MW_HD_HEALTH_GOOD 1u
#define MW_HD_HEALTH_FAILURE_PREDICTED 2u
#define MW_HD_HEALTH_FAILED 3u

/* Media of a disk */
#define MW_HD_MEDIA_UNKNOWN 0u
#define MW_HD_MEDIA_ROTATING 1u
#define MW_HD_MEDIA_SOLID_STATE 2u

#define MW_HD_NO_SLOT 255u

/* One PHY of a RAID controller, 36 bytes: its link and the error counters of the SAS protocol layer (SPL). */
typedef struct RaidPhyInfo {
    uint32_t dwCtrlId;               /* number of the controller */
    uint8_t ucPhyId;                 /* PHY identifier on the controller */
    uint8_t ucLinkRate;              /* negotiated, SPL code: 8 1.5, 9 3, 10 6, 11 12, 12 22.5 Gbit/s */
    uint8_t ucAttachedType;          /* attached device type, SPL code: 0 none, 1 end device, 2 expander */
    uint8_t ucReserved;
    uint8_t aucAttachedAddress[8];   /* SAS address of the attached device, most significant byte first */
    uint32_t dwInvalidDwords;
    uint32_t dwDisparityErrors;      /* running disparity errors */
    uint32_t dwLossOfSync;           /* losses of dword synchronisation */
    uint32_t dwResetProblems;        /* PHY reset problems */
    uint32_t dwReserved;
} RaidPhyInfo;

MW_SIZE_IS(RaidPhyInfo, 36);

/* The PCIe link of one NVMe device, 36 bytes: its width and rate and its correctable errors (PCI Express AER). */
typedef struct NvmePhyInfo {
    uint32_t dwDeviceId;             /* number of the NVMe device */
    uint16_t wPciDomain;
    uint8_t ucBus;
    uint8_t ucDevFunc;               /* device number times 8 plus function number */
    uint8_t ucLinkSpeed;             /* link status register: 1 2.5, 2 5, 3 8, 4 16, 5 32, 6 64 GT/s */
    uint8_t ucLinkWidth;             /* lanes */
    uint8_t ucMaxLinkSpeed;          /* link capabilities register, coded likewise */
    uint8_t ucMaxLinkWidth;
    uint32_t dwReceiverErrors;
    uint32_t dwBadTlp;
    uint32_t dwBadDllp;
    uint32_t dwReplayRollovers;      /* REPLAY_NUM rollovers */
    uint32_t dwReplayTimeouts;
    uint32_t dwReserved;
} NvmePhyInfo;

MW_SIZE_IS(NvmePhyInfo, 36);

/* One RAID controller, 804 bytes. */
typedef struct RaidAssetEntry {
    uint32_t dwCtrlId;
    uint8_t ucPresent;               /* 1: a controller is plugged in */
    uint8_t ucSlot;                  /* PCIe slot; 255: on the board */
    uint8_t ucCpuId;                 /* number of the processor that it hangs off */
    uint8_t ucHealth;                /* MW_HD_HEALTH_... */
    char acName[64];                 /* product name */
    char acVendor[32];
    char acModel[64];
    char acSerialNum[32];
    char acPartNum[32];
    char acFwVersion[32];            /* firmware package */
    char acBiosVersion[32];          /* option ROM or UEFI driver */
    char acConfigVersion[32];        /* configuration data (NVDATA) */
    char acDriverName[32];           /* the host's driver */
    char acDriverVersion[32];
    char acDeviceName[32];           /* the host's name: "host0" */
    char acBdf[16];                  /* PCI address, "dddd:bb:dd.f" */
    uint16_t wVendorId;              /* PCI configuration space */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    uint8_t aucSasAddress[8];        /* most significant byte first */
    uint32_t dwMemorySize;           /* cache memory, MiB */
    uint16_t wPortCount;             /* PHYs */
    uint16_t wDiskCount;             /* physical disks seen */
    uint16_t wLdCount;               /* logical drives */
    uint8_t ucLinkRate;              /* fastest, MW_HD_LINK_... or whole Gbit/s */
    uint8_t ucIfType;                /* MW_HD_IF_... towards the disks */
    uint8_t ucPcieLinkSpeed;         /* link status register: 1 2.5, 2 5, 3 8, 4 16, 5 32, 6 64 GT/s */
    uint8_t ucPcieLinkWidth;         /* lanes */
    uint8_t ucJbod;                  /* 1: disks are handed through */
    uint8_t ucCopyBack;              /* 1: rebuilt data moves back to the replaced disk */
    uint32_t dwRaidLevels;           /* bit n: RAID level n is supported */
    uint32_t dwMinStripSize;         /* KiB */
    uint32_t dwMaxStripSize;         /* KiB */
    uint8_t ucBbuPresent;            /* 1: battery or capacitor for the cache */
    uint8_t ucBbuHealth;             /* MW_HD_HEALTH_... */
    uint8_t ucBbuCharge;             /* percent */
    uint8_t ucTemperature;           /* of the controller chip, degrees Celsius */
    uint8_t ucBbuTemperature;        /* degrees Celsius */
    uint8_t aucPad[3];
    uint32_t dwCorrectableErrors;    /* of the cache memory */
    uint32_t dwUncorrectableErrors;
    uint8_t aucReserved[304];
} RaidAssetEntry;

MW_SIZE_IS(RaidAssetEntry, 804);

/* The RAID controllers, 6436 bytes. */
typedef struct RaidAssetInfo {
    uint32_t dwCtrlNum;
    RaidAssetEntry atCtrl[MW_RAID_CTRL_MAX];
} RaidAssetInfo;

MW_SIZE_IS(RaidAssetInfo, 6436);

/* One device of the Spr50 class, 240 bytes. */
typedef struct Spr50DeviceEntry {
    uint32_t dwDeviceId;
    uint8_t ucPresent;               /* 1: plugged in */
    uint8_t ucSlot;
    uint8_t ucCpuId;                 /* number of the processor that it hangs off */
    uint8_t ucHealth;                /* MW_HD_HEALTH_... */
    char acVendor[32];
    char acModel[64];
    char acSerialNum[32];
    char acFwVersion[16];
    char acDeviceName[32];           /* the host's name of the device */
    char acBdf[16];                  /* PCI address, "dddd:bb:dd.f" */
    uint32_t dwCapacity;             /* MiB */
    uint16_t wVendorId;              /* PCI configuration space */
    uint16_t wDeviceId;
    uint8_t ucTemperature;           /* degrees Celsius */
    uint8_t ucRemainingLife;         /* percent */
    uint8_t aucReserved[30];
} Spr50DeviceEntry;

MW_SIZE_IS(Spr50DeviceEntry, 240);

/* The devices of the Spr50 class, 3844 bytes. */
typedef struct Spr50DeviceAssetInfo {
    uint32_t dwDeviceNum;
    Spr50DeviceEntry atDevice[MW_SPR50_DEVICE_MAX];
} Spr50DeviceAssetInfo;

MW_SIZE_IS(Spr50DeviceAssetInfo, 3844);

/* One disk, 432 bytes: behind a RAID controller or, in the host disk view, behind the platform controller hub. */
typedef struct HdAssetEntry {
    uint8_t ucPresent;               /* 1: plugged in */
    uint8_t ucSlot;                  /* number of the drive bay; 255: none */
    uint8_t ucEnclosureId;
    uint8_t ucCtrlId;                /* number of the RAID controller */
    uint32_t dwDeviceId;             /* the controller's number of the disk */
    uint32_t dwInfoC;                /* capacity, MiB */
    uint32_t dwPowerOnHours;
    uint32_t dwMediaErrors;
    uint32_t dwOtherErrors;
    uint8_t ucInfoA;                 /* health, MW_HD_HEALTH_... */
    uint8_t ucInfoB;                 /* media, MW_HD_MEDIA_... */
    uint8_t ucState;                 /* 0 unconfigured good, 1 unconfigured bad, 2 hot spare, 3 offline, 4 failed,
                                        5 rebuilding, 6 online, 7 copying back, 8 handed through (JBOD) */
    uint8_t ucHotSpare;              /* 0 none, 1 global, 2 dedicated */
    uint8_t ucTemperature;           /* degrees Celsius */
    uint8_t ucIfType;                /* MW_HD_IF_... */
    uint8_t ucLinkRate;              /* negotiated, MW_HD_LINK_... or whole Gbit/s */
    uint8_t ucMaxLinkRate;           /* coded likewise */
    uint32_t dwPredictedFailures;
    uint16_t wSectorSize;            /* logical, bytes */
    uint16_t wPhysicalSectorSize;    /* bytes */
    uint8_t aucWwn[8];               /* world wide name (NAA), most significant byte first */
    uint8_t ucRebuild;               /* progress, percent */
    uint8_t ucPatrolRead;            /* 1: running */
    uint8_t ucPowerState;            /* 0 active, 1 spun down */
    uint8_t ucLocate;                /* 1: the locator light is on */
    uint8_t ucRemainingLife;         /* of solid-state media, percent */
    uint8_t ucRotateRate;            /* MW_HD_RPM_... */
    uint16_t wLdId;                  /* logical drive that it belongs to; 0xFFFF: none */
    uint8_t aucSasAddress[2][8];     /* of both ports, most significant byte first */
    uint8_t aucReserved1[12];
    char acSerialNum[32];
    char acModel[64];
    char acVendor[32];
    char acFwVersion[16];
    char acDeviceName[32];           /* the host's name: "sda" */
    char acPartNum[32];
    uint8_t aucReserved2[32];
    char acBdf[16];                  /* PCI address of the controller, "dddd:bb:dd.f" */
    char acSilkInfo[64];             /* label printed beside the drive bay */
    uint8_t aucReserved3[13];
    uint8_t ucCpuId;                 /* number of the processor whose controller it is */
    uint16_t wPort;                  /* port of the controller */
    uint8_t aucReserved4[12];
} HdAssetEntry;

MW_SIZE_IS(HdAssetEntry, 432);

/* The physical disks, 55,304 bytes. */
typedef struct HdAssetInfo {
    uint32_t dwHdNum;
    uint32_t dwReserved;
    HdAssetEntry atHd[MW_HD_MAX];
} HdAssetInfo;

MW_SIZE_IS(HdAssetInfo, 55304);

/* One logical drive, 448 bytes. */
typedef struct LdAssetEntry {
    uint32_t dwLdId;                 /* the controller's number of the drive */
    uint32_t dwCtrlId;
    uint64_t qwCapacity;             /* bytes */
    char acName[64];
    char acDeviceName[32];           /* the host's name: "sda" */
    uint8_t ucRaidLevel;             /* 0, 1, 5, 6, 10, 50, 60; 255: unknown */
    uint8_t ucState;                 /* 0 offline, 1 partially degraded, 2 degraded, 3 optimal */
    uint8_t ucDefaultReadPolicy;     /* 0 no read-ahead, 1 read-ahead */
    uint8_t ucDefaultWritePolicy;    /* 0 write-through, 1 write-back, 2 write-back also without battery */
    uint8_t ucDefaultIoPolicy;       /* 0 direct, 1 cached */
    uint8_t ucReadPolicy;            /* in force, coded likewise */
    uint8_t ucWritePolicy;
    uint8_t ucIoPolicy;
    uint8_t ucAccessPolicy;          /* 0 read and write, 1 read only, 2 blocked */
    uint8_t ucDiskCachePolicy;       /* 0 as it is, 1 on, 2 off */
    uint8_t ucInitState;             /* 0 none, 1 quick, 2 full, in the foreground or background */
    uint8_t ucConsistencyCheck;      /* 1: running */
    uint8_t ucBootable;              /* 1: the host boots from it */
    uint8_t ucSpanCount;
    uint8_t ucDisksPerSpan;
    uint8_t ucMediaType;             /* MW_HD_MEDIA_... */
    uint32_t dwStripSize;            /* KiB */
    uint32_t dwSectorSize;           /* bytes */
    uint16_t awDiskId[128];          /* HdAssetEntry.dwDeviceId of the members */
    uint32_t dwDiskNum;              /* members */
    uint8_t aucWwn[16];              /* NAA, most significant byte first */
    uint8_t aucReserved[36];
} LdAssetEntry;

MW_SIZE_IS(LdAssetEntry, 448);

/* The logical drives, 28,680 bytes. */
typedef struct LdAssetInfo {
    uint32_t dwLdNum;
    uint32_t dwReserved;
    LdAssetEntry atLd[MW_LD_MAX];
} LdAssetInfo;

MW_SIZE_IS(LdAssetInfo, 28680);

/* One NVMe device, 256 bytes: identify data and health log of the NVM Express base specification. */
typedef struct NvmeAssetEntry {
    uint32_t dwDeviceId;
    uint8_t ucPresent;               /* 1: plugged in */
    uint8_t ucSlot;                  /* number of the drive bay; 255: none */
    uint8_t ucCpuId;                 /* number of the processor that it hangs off */
    uint8_t ucHealth;                /* MW_HD_HEALTH_... */
    uint64_t qwCapacity;             /* bytes */
    char acModel[48];
    char acSerialNum[24];
    char acFwVersion[16];
    char acVendor[32];
    char acDeviceName[16];           /* the host's name: "nvme0n1" */
    char acBdf[16];                  /* PCI address, "dddd:bb:dd.f" */
    uint16_t wVendorId;              /* PCI configuration space */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    uint8_t ucLinkSpeed;             /* link status register: 1 2.5, 2 5, 3 8, 4 16, 5 32, 6 64 GT/s */
    uint8_t ucLinkWidth;             /* lanes */
    uint8_t ucMaxLinkSpeed;
    uint8_t ucMaxLinkWidth;
    uint8_t ucCriticalWarning;       /* bits of the health log */
    uint8_t ucTemperature;           /* composite, degrees Celsius */
    uint8_t ucAvailableSpare;        /* percent */
    uint8_t ucPercentageUsed;        /* percent, may pass 100 */
    uint32_t dwPowerOnHours;
    uint32_t dwMediaErrors;
    uint8_t aucEui64[8];             /* IEEE extended unique identifier, most significant byte first */
    uint32_t dwSectorSize;           /* bytes */
    uint8_t aucReserved[52];
} NvmeAssetEntry;

MW_SIZE_IS(NvmeAssetEntry, 256);

/* The NVMe devices, 8200 bytes. */
typedef struct NvmeAssetInfo {
    uint32_t dwNvmeNum;
    uint32_t dwReserved;
    NvmeAssetEntry atNvme[MW_NVME_MAX];
} NvmeAssetInfo;

MW_SIZE_IS(NvmeAssetInfo, 8200);

/* Temperatures and power of one disk backplane, 16 bytes. */
typedef struct DiskBackPanelEntry {
    uint32_t dwBackPanelId;          /* key of the entry */
    uint32_t dwTemp0;                /* temperature of kind 0, degrees Celsius */
    uint32_t dwTemp1;                /* temperature of kind 1, degrees Celsius */
    uint32_t dwPower;                /* watts */
} DiskBackPanelEntry;

MW_SIZE_IS(DiskBackPanelEntry, 16);
MW_OFFSET_IS(DiskBackPanelEntry, dwBackPanelId, 0);
MW_OFFSET_IS(DiskBackPanelEntry, dwTemp0, 4);
MW_OFFSET_IS(DiskBackPanelEntry, dwTemp1, 8);
MW_OFFSET_IS(DiskBackPanelEntry, dwPower, 12);

/* Temperatures and power of the disk backplanes, 520 bytes. */
typedef struct DiskBackPanelInfo {
    uint32_t dwBackPanelNum;             /* valid entries, 0 to 32 */
    uint32_t dwAllDiskBackBoardPower;    /* of all backplanes together, watts; has a setter of its own */
    DiskBackPanelEntry atBackPanel[MW_BACK_PANEL_MAX];
} DiskBackPanelInfo;

MW_SIZE_IS(DiskBackPanelInfo, 520);
MW_OFFSET_IS(DiskBackPanelInfo, dwBackPanelNum, 0);
MW_OFFSET_IS(DiskBackPanelInfo, dwAllDiskBackBoardPower, 4);
MW_OFFSET_IS(DiskBackPanelInfo, atBackPanel, 8);

/* State of one disk, 11 bytes: what an IPMI drive slot sensor (type 0Dh) tells of it. */
typedef struct HdState {
    uint8_t ucSlot;                  /* number of the drive bay */
    uint8_t ucEnclosureId;
    uint8_t ucPresent;               /* the flags are 0 or 1 */
    uint8_t ucFault;
    uint8_t ucPredictedFailure;
    uint8_t ucHotSpare;
    uint8_t ucInCriticalArray;
    uint8_t ucInFailedArray;
    uint8_t ucRebuild;
    uint8_t ucTemperature;           /* degrees Celsius */
    uint8_t ucOwner;                 /* the collector, that is the controller, whose record this is */
} HdState;

MW_SIZE_IS(HdState, 11);
MW_OFFSET_IS(HdState, ucOwner, 10);

/* The disk states of all collectors, 1412 bytes. */
typedef struct HdStateInfo {
    uint32_t dwHdStateNum;
    HdState atHdState[MW_HD_MAX];
} HdStateInfo;

MW_SIZE_IS(HdStateInfo, 1412);
MW_OFFSET_IS(HdStateInfo, dwHdStateNum, 0);
MW_OFFSET_IS(HdStateInfo, atHdState, 4);

/* One disk backplane, 376 bytes. */
typedef struct HddBackPanelEntry {
    uint32_t dwBackPanelId;
    uint8_t ucPresent;               /* 1: plugged in */
    uint8_t ucLocation;              /* 0 front, 1 rear, 2 inside */
    uint8_t ucSlotCount;             /* drive bays */
    uint8_t ucDiskCount;             /* bays in use */
    uint8_t ucFirstSlot;             /* number of its first drive bay */
    uint8_t ucIfType;                /* MW_HD_IF_... */
    uint8_t ucHealth;                /* MW_HD_HEALTH_... */
    uint8_t ucI2cBus;
    uint8_t ucI2cAddress;            /* 7 bits */
    uint8_t ucFormFactor;            /* 0 3.5 inch, 1 2.5 inch, 2 M.2, 3 E1.S, 4 E3.S */
    uint16_t wBoardId;
    uint16_t wPcbVersion;
    uint16_t wBomVersion;
    char acName[64];
    char acVendor[32];
    char acSerialNum[32];
    char acPartNum[32];
    char acProductName[64];          /* FRU board area (IPMI FRU storage) */
    char acFwVersion[32];            /* of the management chip */
    char acCpldVersion[32];
    char acExpanderVersion[32];
    uint8_t aucReserved[36];
} HddBackPanelEntry;

MW_SIZE_IS(HddBackPanelEntry, 376);

/* The disk backplanes, 12,036 bytes. */
typedef struct HddBackPanelAssetInfo {
    uint32_t dwBackPanelNum;
    HddBackPanelEntry atBackPanel[MW_BACK_PANEL_MAX];
} HddBackPanelAssetInfo;

MW_SIZE_IS(HddBackPanelAssetInfo, 12036);

MW_BEGIN_DECLS

/* Every function here answers 0, or -1 when the process is not attached or when semaphore 12294 was not had within
 * 500 ms (one line at level 130). A pointer is tested unless its function says otherwise: NULL gives -1, silent, with
 * nothing taken. */

/**
 * Copies the RAID PHY records out, back to back.
 * @param pOut     receives the records, RaidPhyInfo, 36 bytes each.
 * @param pdwCount receives the stored number, which is not compared with 40. Not tested for NULL.
 * @return 0; -1 also where the stored number leads outside the shared area (one line at level 130, nothing written).
 */
MW_API int32_t MW_GetRaidPhyInfo(uint8_t *pOut, uint32_t *pdwCount);

/**
 * Stores the number of RAID PHY records, then that many records of 36 bytes. 0 empties the list.
 * @param dwCount is not compared with 40: more records run on into what follows in the area.
 * @return 0; -1 also where they would leave the shared area (one line at level 130, nothing written).
 */
MW_API int32_t MW_SetRaidPhyInfo(const uint8_t *pIn, uint32_t dwCount);

/** As MW_GetRaidPhyInfo, of the NVMe PHY records, NvmePhyInfo; the number is not compared with 32. */
MW_API int32_t MW_GetNvmePhyInfo(uint8_t *pOut, uint32_t *pdwCount);

/** As MW_SetRaidPhyInfo, of the NVMe PHY records; the number is not compared with 32. */
MW_API int32_t MW_SetNvmePhyInfo(const uint8_t *pIn, uint32_t dwCount);

/** Copy a whole block out or in: 6436 bytes of RAID controllers, 3844 of Spr50 devices (whose line about a failed lock
 *  ends without an error text), 55,304 of physical disks, 28,680 of logical drives, 8200 of NVMe devices. */
MW_API int32_t MW_GetRaidAssetInfo(RaidAssetInfo *ptOut);
MW_API int32_t MW_SetRaidAssetInfo(const RaidAssetInfo *ptIn);
MW_API int32_t MW_GetSpr50DeviceAssetInfo(Spr50DeviceAssetInfo *ptOut);
MW_API int32_t MW_SetSpr50DeviceAssetInfo(const Spr50DeviceAssetInfo *ptIn);
MW_API int32_t MW_GetHdAssetInfo(HdAssetInfo *ptOut);
MW_API int32_t MW_SetHdAssetInfo(const HdAssetInfo *ptIn);
MW_API int32_t MW_GetLdAssetInfo(LdAssetInfo *ptOut);
MW_API int32_t MW_SetLdAssetInfo(const LdAssetInfo *ptIn);
MW_API int32_t MW_GetNvmeAssetInfo(NvmeAssetInfo *ptOut);
MW_API int32_t MW_SetNvmeAssetInfo(const NvmeAssetInfo *ptIn);

/** Copies the backplane table out, 520 bytes: its entries, their number and the power of all backplanes. */
MW_API int32_t MW_GetDiskBackPanelInfo(DiskBackPanelInfo *ptOut);

/**
 * Stores one temperature of a backplane in the entry with its dwBackPanelId. A new ID is appended; its entry keeps the
 * earlier bytes of what is not stored here. A table of 32 entries or more is full: a new ID then changes nothing.
 * @param dwKind 0 stores dwTemp0, 1 stores dwTemp1; any other kind stores no temperature, but registers a new ID.
 * @return 0, also when the table is full.
 */
MW_API int32_t MW_SetDiskBackPanelTempInfo(uint32_t dwKind, const DiskBackPanelEntry *ptIn);

/** Stores a backplane's dwPower, in the same entries by the same rules. @return 0, also when the table is full */
MW_API int32_t MW_SetDiskBackPanelPowerInfo(const DiskBackPanelEntry *ptIn);

/** One word: the power of all disk backplanes together. */
MW_API int32_t MW_GetAllDiskBackBoardPowerInfo(uint32_t *pdwPower);
MW_API int32_t MW_SetAllDiskBackBoardPowerInfo(uint32_t dwPower);

/** Copies the disk state list out, 1412 bytes. */
MW_API int32_t MW_GetHDStateInfo(HdStateInfo *ptOut);

/**
 * Replaces the disk states of one owner: the records of all others stay, in their order, and the given ones follow.
 * The others' records are read before the semaphore is taken, so two owners that call at the same time can lose one
 * update. A stored number above 128 is read as 128.
 *
 * @param ptIn    a number and that many records; they are stored as they are, their ucOwner included. Together with the
 *                others' there must be no more than 128: given records that do not all fit are not stored at all, while
 *                the stored number is still the sum.
 * @param ucOwner whose records are replaced.
 */
MW_API int32_t MW_SetHDStateInfo(const HdStateInfo *ptIn, uint8_t ucOwner);

/**
 * Copy the backplane block out or in, 12,036 bytes; the setter zeroes it first.
 * A failure to attach is also logged, "fail to get g_ptRaidCollectionAddr." at level 130.
 */
MW_API int32_t MW_GetHddBackPanelAssetInfo(HddBackPanelAssetInfo *ptOut);
MW_API int32_t MW_SetHddBackPanelAssetInfo(const HddBackPanelAssetInfo *ptIn);

MW_END_DECLS

#endif
