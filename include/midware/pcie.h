/* PCIe: the table of all devices, its queries and the bus alarm states. Semaphore 12298.
 *
 * A discovery collector writes the table whole; the collectors of network, FC, GPU, NVMe and RAID cards then add the
 * identity of the cards in their slots.
 *
 * Every function answers -1 when the process cannot be attached and when semaphore 12298 was not had within 500 ms; the
 * latter logs one "sem lock failed" line at level 130, like every other message here. The stored record count is taken
 * as it is: a count above 64 runs on into what lies behind the table, and -1 with one line at level 130 is the answer
 * only where that would leave the shared area; nothing is changed then. */
#ifndef MIDWARE_PCIE_H
#define MIDWARE_PCIE_H

#include "midware/base.h"

#define MW_PCIE_MAX 64u
#define MW_PCIE_ALARM_KINDS 12u
#define MW_PCIE_ALARM_SIZE 16u      /* bytes of alarm states that are handed out: the kinds and 4 spare ones */
#define MW_PCIE_BIOS_EXT_SIZE 136u
#define MW_PCIE_BIOS_EXT_NIC_ATTR 4u /* index in aucBiosExt of the network card's attribute, ucNicAttr */
#define MW_RISERCARD_SIZE 6916u
#define MW_PCIE_UPPER_MAX 128u      /* records of a buffer for the upper-interface list: the table and 64 OCP cards */

/* PcieAssetInfo.ucClassCode, the PCI base class. */
#define MW_PCIE_CLASS_STORAGE 1u
#define MW_PCIE_CLASS_NETWORK 2u
#define MW_PCIE_CLASS_SERIAL_BUS 12u /* Fibre Channel */

/* PcieAssetInfo.ucDevType. */
#define MW_PCIE_TYPE_CARD 2u     /* standard card */
#define MW_PCIE_TYPE_HIDDEN 12u  /* not shown to upper interfaces */
#define MW_PCIE_TYPE_OCP 38u     /* OCP NIC 3.0 card */
#define MW_PCIE_TYPE_NVME 255u   /* NVMe device; also the second kind of network device */

#define MW_PCIE_EXT_OCP 4u       /* PcieAssetInfo.ucExtType of an OCP card */
#define MW_PCIE_UNKNOWN 255u     /* ucBiosAttr and ucBiosState1 to 3 where BIOS reported nothing */

/* The kinds of bus alarm: indexes of aucAlarmState and of the bus summary. A state of 1 is asserted. */
#define MW_PCIE_ALARM_DIAGNOSTIC_INTERRUPT 0u
#define MW_PCIE_ALARM_BUS_TIMEOUT 1u
#define MW_PCIE_ALARM_IO_CHANNEL_CHECK_NMI 2u
#define MW_PCIE_ALARM_SOFTWARE_NMI 3u
#define MW_PCIE_ALARM_PCI_PERR 4u
#define MW_PCIE_ALARM_PCI_SERR 5u
#define MW_PCIE_ALARM_EISA_FAIL_SAFE_TIMEOUT 6u
#define MW_PCIE_ALARM_BUS_CORRECTABLE_ERROR 7u
#define MW_PCIE_ALARM_BUS_UNCORRECTABLE_ERROR 8u
#define MW_PCIE_ALARM_FATAL_NMI 9u
#define MW_PCIE_ALARM_BUS_FATAL_ERROR 10u
#define MW_PCIE_ALARM_BUS_DEGRADED 11u
#define MW_PCIE_ALARM_ASSERTED 1u

/* A pair of values that BIOS reports with a device, 16 bytes. */
typedef struct PcieBiosInfo {
    uint8_t ucValue;
    uint8_t aucReserved[7];
    uint64_t qwValue;
} PcieBiosInfo;

MW_SIZE_IS(PcieBiosInfo, 16);
MW_OFFSET_IS(PcieBiosInfo, qwValue, 8);

/* One PCIe device, 856 bytes. Texts are NUL-terminated within their array.
 *
 * The meaning of the card texts is the collectors'; those of this package use them for what stands beside them, of
 * which part number, serial number and manufacturer are the PN, SN and MN fields of PCI vital product data. */
typedef struct PcieAssetInfo {
    uint32_t dwIndex;          /* place in the upper-interface list; set in its copies only */
    uint8_t ucClassCode;       /* PCI base class, MW_PCIE_CLASS_... */
    uint8_t ucDevType;         /* MW_PCIE_TYPE_... */
    uint8_t ucSlot;            /* slot number, 0: none */
    uint8_t ucPresentState;    /* 1: present */
    uint16_t wVendorId;        /* PCI IDs */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    uint32_t dwDomain;         /* PCI segment; Linux numbers those behind a controller of its own from 0x10000 on */
    uint8_t ucBus;             /* PCI address */
    uint8_t ucDevice;
    uint8_t ucFunction;
    uint8_t ucBiosAttr;        /* attribute reported by BIOS, or MW_PCIE_UNKNOWN */
    PcieBiosInfo tBiosInfo1;
    PcieBiosInfo tBiosInfo2;
    uint8_t ucCardFlag;        /* set by the collectors of the card types */
    uint8_t ucSubClass;        /* PCI sub-class, programming interface and revision ID */
    uint8_t ucProgIf;
    uint8_t ucRevision;
    uint32_t dwMemSize;        /* memory on the card: RAID as its collector gives it, GPU 1024 times dwGpuMem */
    uint32_t dwCardAttr1;      /* GPU: dwGpuValue5 and dwGpuValue3 again */
    uint32_t dwCardAttr2;
    uint8_t ucExtType;         /* MW_PCIE_EXT_OCP for an OCP card */
    uint8_t ucLinkSpeed;       /* PCIe generation of the link as trained, 1 to 6; 0 unknown */
    uint8_t ucLinkWidth;       /* lanes of the link as trained; 0 unknown */
    uint8_t ucNumaNode;        /* of the host; 255 none */
    uint32_t dwUpdateTime;     /* system uptime in seconds when an OCP record was built */
    char acLocation[32];       /* "mainboardPCIeCard3" */
    char acSlotName[64];       /* "PCIeCard3", or as the system names the slot */
    char acDevName[64];        /* type name and slot number, "NIC3" */
    char acSerialNum[32];
    char acTextB[32];          /* part number */
    char acTextC[64];          /* manufacturer of the card; the setters of card types write 32 bytes */
    char acTextD[32];          /* board revision */
    char acTextE[64];          /* manufacturer of the controller on it */
    char acTextF[32];          /* firmware version */
    char acTextG[64];          /* product name; the setters of card types write 32 bytes */
    char acDevTypeName[32];    /* "NIC" */
    uint8_t ucBiosState1;      /* reported by BIOS, or MW_PCIE_UNKNOWN */
    uint8_t ucBiosState2;
    uint8_t ucBiosState3;
    uint8_t ucHeaderType;      /* PCI header type: 0 endpoint, 1 bridge */
    uint8_t aucBiosExt[MW_PCIE_BIOS_EXT_SIZE]; /* reported by BIOS */
    uint32_t dwGpuValue1;
    uint32_t dwGpuValue2;
    uint32_t dwGpuValue3;      /* never negative */
    uint32_t dwGpuMem;         /* never negative */
    char acGpuText1[32];
    char acGpuText2[32];
    uint32_t dwGpuValue5;      /* never negative */
    uint32_t dwGpuValue6;
    uint8_t ucMaxLinkSpeed;    /* the most that the device can do, as ucLinkSpeed and ucLinkWidth */
    uint8_t ucMaxLinkWidth;
    uint8_t aucReserved1[2];
    uint32_t dwNvmeValue1;
    uint32_t dwReserved2;
    uint32_t dwNvmeValue2;
    uint32_t dwNvmeValue3;
    uint8_t aucAlarmState[MW_PCIE_ALARM_KINDS]; /* by MW_PCIE_ALARM_... */
    uint8_t aucAlarmSpare[4];  /* handed out with the states */
} PcieAssetInfo;

MW_SIZE_IS(PcieAssetInfo, 856);
MW_OFFSET_IS(PcieAssetInfo, ucClassCode, 4);
MW_OFFSET_IS(PcieAssetInfo, ucDevType, 5);
MW_OFFSET_IS(PcieAssetInfo, ucSlot, 6);
MW_OFFSET_IS(PcieAssetInfo, ucPresentState, 7);
MW_OFFSET_IS(PcieAssetInfo, wVendorId, 8);
MW_OFFSET_IS(PcieAssetInfo, wDeviceId, 10);
MW_OFFSET_IS(PcieAssetInfo, wSubVendorId, 12);
MW_OFFSET_IS(PcieAssetInfo, wSubDeviceId, 14);
MW_OFFSET_IS(PcieAssetInfo, dwDomain, 16);
MW_OFFSET_IS(PcieAssetInfo, ucBus, 20);
MW_OFFSET_IS(PcieAssetInfo, ucDevice, 21);
MW_OFFSET_IS(PcieAssetInfo, ucFunction, 22);
MW_OFFSET_IS(PcieAssetInfo, ucBiosAttr, 23);
MW_OFFSET_IS(PcieAssetInfo, tBiosInfo1, 24);
MW_OFFSET_IS(PcieAssetInfo, tBiosInfo2, 40);
MW_OFFSET_IS(PcieAssetInfo, ucCardFlag, 56);
MW_OFFSET_IS(PcieAssetInfo, dwMemSize, 60);
MW_OFFSET_IS(PcieAssetInfo, dwCardAttr1, 64);
MW_OFFSET_IS(PcieAssetInfo, dwCardAttr2, 68);
MW_OFFSET_IS(PcieAssetInfo, ucExtType, 72);
MW_OFFSET_IS(PcieAssetInfo, dwUpdateTime, 76);
MW_OFFSET_IS(PcieAssetInfo, acLocation, 80);
MW_OFFSET_IS(PcieAssetInfo, acSlotName, 112);
MW_OFFSET_IS(PcieAssetInfo, acDevName, 176);
MW_OFFSET_IS(PcieAssetInfo, acSerialNum, 240);
MW_OFFSET_IS(PcieAssetInfo, acTextB, 272);
MW_OFFSET_IS(PcieAssetInfo, acTextC, 304);
MW_OFFSET_IS(PcieAssetInfo, acTextD, 368);
MW_OFFSET_IS(PcieAssetInfo, acTextE, 400);
MW_OFFSET_IS(PcieAssetInfo, acTextF, 464);
MW_OFFSET_IS(PcieAssetInfo, acTextG, 496);
MW_OFFSET_IS(PcieAssetInfo, acDevTypeName, 560);
MW_OFFSET_IS(PcieAssetInfo, ucBiosState1, 592);
MW_OFFSET_IS(PcieAssetInfo, ucBiosState2, 593);
MW_OFFSET_IS(PcieAssetInfo, ucBiosState3, 594);
MW_OFFSET_IS(PcieAssetInfo, aucBiosExt, 596);
MW_OFFSET_IS(PcieAssetInfo, dwGpuValue1, 732);
MW_OFFSET_IS(PcieAssetInfo, dwGpuValue2, 736);
MW_OFFSET_IS(PcieAssetInfo, dwGpuValue3, 740);
MW_OFFSET_IS(PcieAssetInfo, dwGpuMem, 744);
MW_OFFSET_IS(PcieAssetInfo, acGpuText1, 748);
MW_OFFSET_IS(PcieAssetInfo, acGpuText2, 780);
MW_OFFSET_IS(PcieAssetInfo, dwGpuValue5, 812);
MW_OFFSET_IS(PcieAssetInfo, dwGpuValue6, 816);
MW_OFFSET_IS(PcieAssetInfo, dwNvmeValue1, 824);
MW_OFFSET_IS(PcieAssetInfo, dwNvmeValue2, 832);
MW_OFFSET_IS(PcieAssetInfo, dwNvmeValue3, 836);
MW_OFFSET_IS(PcieAssetInfo, aucAlarmState, 840);
MW_OFFSET_IS(PcieAssetInfo, aucAlarmSpare, 852);

/* The identity texts of a card, 352 bytes, laid out like those of PcieAssetInfo from acSerialNum on. A text may fill
 * its array without a terminator. */
typedef struct PcieCardTextBlock {
    char acSerialNum[32];
    char acTextB[32];
    char acTextC[32];
    char acTextCRest[32];  /* not copied */
    char acTextD[32];
    char acTextE[64];
    char acTextF[32];
    char acTextG[32];
    char acTextGRest[32];  /* not copied */
    char acDevTypeName[32];
} PcieCardTextBlock;

MW_SIZE_IS(PcieCardTextBlock, 352);
MW_OFFSET_IS(PcieCardTextBlock, acTextB, 32);
MW_OFFSET_IS(PcieCardTextBlock, acTextC, 64);
MW_OFFSET_IS(PcieCardTextBlock, acTextD, 128);
MW_OFFSET_IS(PcieCardTextBlock, acTextE, 160);
MW_OFFSET_IS(PcieCardTextBlock, acTextF, 224);
MW_OFFSET_IS(PcieCardTextBlock, acTextG, 256);
MW_OFFSET_IS(PcieCardTextBlock, acDevTypeName, 320);

/* What the collectors of the card types pass. */

typedef struct PcieNicCardInfo {
    uint8_t ucSlot;
    uint8_t ucCardFlag;  /* stored as 0 or 1 */
    uint8_t ucNicAttr;
    PcieCardTextBlock tText;
} PcieNicCardInfo;

MW_SIZE_IS(PcieNicCardInfo, 355);
MW_OFFSET_IS(PcieNicCardInfo, tText, 3);

typedef struct PcieFcCardInfo {
    uint8_t ucSlot;
    PcieCardTextBlock tText;
} PcieFcCardInfo;

MW_SIZE_IS(PcieFcCardInfo, 353);
MW_OFFSET_IS(PcieFcCardInfo, tText, 1);

typedef struct PcieGpuCardInfo {
    uint32_t dwSlot;
    uint32_t dwValue1;
    uint32_t dwValue2;
    int32_t iValue3;    /* negative: stored as 0, like the next two */
    int32_t iMemSize;   /* in MiB by convention, so that PcieAssetInfo.dwMemSize is in KiB */
    int32_t iValue5;
    uint8_t ucCardFlag; /* stored as 0 or 1 */
    uint8_t aucReserved[3];
    uint32_t dwValue6;
    char acGpuText1[32];
    char acGpuText2[32];
    PcieCardTextBlock tText;
} PcieGpuCardInfo;

MW_SIZE_IS(PcieGpuCardInfo, 448);
MW_OFFSET_IS(PcieGpuCardInfo, dwValue1, 4);
MW_OFFSET_IS(PcieGpuCardInfo, dwValue2, 8);
MW_OFFSET_IS(PcieGpuCardInfo, iValue3, 12);
MW_OFFSET_IS(PcieGpuCardInfo, iMemSize, 16);
MW_OFFSET_IS(PcieGpuCardInfo, iValue5, 20);
MW_OFFSET_IS(PcieGpuCardInfo, ucCardFlag, 24);
MW_OFFSET_IS(PcieGpuCardInfo, dwValue6, 28);
MW_OFFSET_IS(PcieGpuCardInfo, acGpuText1, 32);
MW_OFFSET_IS(PcieGpuCardInfo, acGpuText2, 64);
MW_OFFSET_IS(PcieGpuCardInfo, tText, 96);

#pragma pack(push, 1)
typedef struct PcieNvmeCardInfo {
    uint32_t dwSlot;
    uint8_t ucDevKind;  /* 2, or nothing is stored */
    uint8_t aucReserved[7];
    uint32_t dwNvmeValue1;
    uint32_t dwNvmeValue2;
    uint32_t dwNvmeValue3;
    uint8_t ucCardFlag; /* stored as it is */
    PcieCardTextBlock tText;
} PcieNvmeCardInfo;
#pragma pack(pop)

MW_SIZE_IS(PcieNvmeCardInfo, 377);
MW_OFFSET_IS(PcieNvmeCardInfo, ucDevKind, 4);
MW_OFFSET_IS(PcieNvmeCardInfo, dwNvmeValue1, 12);
MW_OFFSET_IS(PcieNvmeCardInfo, dwNvmeValue2, 16);
MW_OFFSET_IS(PcieNvmeCardInfo, dwNvmeValue3, 20);
MW_OFFSET_IS(PcieNvmeCardInfo, ucCardFlag, 24);
MW_OFFSET_IS(PcieNvmeCardInfo, tText, 25);

typedef struct PcieRaidCardInfo {
    uint32_t dwSlot;
    uint32_t dwMemSize;
    PcieCardTextBlock tText;
} PcieRaidCardInfo;

MW_SIZE_IS(PcieRaidCardInfo, 360);
MW_OFFSET_IS(PcieRaidCardInfo, dwMemSize, 4);
MW_OFFSET_IS(PcieRaidCardInfo, tText, 8);

MW_BEGIN_DECLS

/* --- the table --- */

/** Reads the number of records. @param pdwCount NULL: -1, silent. @return 0 or -1 */
MW_API int32_t MW_GetPcieCount(uint32_t *pdwCount);

/**
 * Copies all records out, 856 bytes each.
 * @param ptOut    room for 64 records; NULL: -1, silent.
 * @param pdwCount receives their number; not tested.
 * @return 0 or -1
 */
MW_API int32_t MW_GetPcieAssetInfo(PcieAssetInfo *ptOut, uint32_t *pdwCount);

/**
 * Stores the table: the count, then that many records of 856 bytes from record 0 on. Older records behind them keep
 * their bytes and are no longer valid.
 * @param ptIn    NULL: -1, silent, also with dwCount 0.
 * @param dwCount not compared with 64: more run into the alarm summary and the riser-card block.
 * @return 0 or -1
 */
MW_API int32_t MW_SetPcieAssetInfo(const PcieAssetInfo *ptIn, uint32_t dwCount);

/**
 * Copies the riser-card block out, 6916 bytes that the library does not interpret.
 * @param pucOut NULL: -1, silent.
 * @return 0 or -1; "fail to get g_ptPcieCollectAddr." is logged when the process cannot be attached.
 */
MW_API int32_t MW_GetRisercardAssetInfo(uint8_t *pucOut);

/** Stores the riser-card block, 6916 bytes. @param pucIn NULL: -1, silent. @return as MW_GetRisercardAssetInfo */
MW_API int32_t MW_SetRisercardAssetInfo(const uint8_t *pucIn);

/*
 * The setters of the card types: each updates every record of the card's slot that matches, and answers 0 also when
 * there is none. A NULL record gives -1, silent. Texts are cut at the capacity of their field (32 bytes for acTextC and
 * acTextG), of an unterminated one no byte behind its array is read, and bytes behind a stored text's terminator stay
 * as they are. acDevName becomes type name and slot number.
 */

/** Matches by slot alone. Stores ucNicAttr, the flag as 0 or 1, and the texts except acSerialNum. @return 0 or -1 */
MW_API int32_t MW_SetPcieNicInfo(const PcieNicCardInfo *ptIn);

/** Matches by slot alone. Stores the texts. @return 0 or -1 */
MW_API int32_t MW_SetPcieFcInfo(const PcieFcCardInfo *ptIn);

/**
 * Matches by slot alone. Stores the numbers, negative ones of iValue3, iMemSize and iValue5 as 0; iMemSize times 1024,
 * which wraps in 32 bits, as dwMemSize; the flag as 0 or 1; the texts.
 * @return 0 or -1
 */
MW_API int32_t MW_SetPcieGpuInfo(const PcieGpuCardInfo *ptIn);

/** Matches by slot and device type 255, and only if ucDevKind is 2. Stores the numbers, the flag and the texts.
 *  @return 0 or -1 */
MW_API int32_t MW_SetPcieNvmeInfo(const PcieNvmeCardInfo *ptIn);

/** Matches by slot and base class 1. Stores the memory size and the texts. @return 0 or -1 */
MW_API int32_t MW_SetPcieRaidInfo(const PcieRaidCardInfo *ptIn);

/* --- queries --- */

/*
 * One card of a kind: the first matching record of the slot, 856 bytes. ptOut is not tested. A slot above 255 never
 * matches. Without a match -1, and one line is logged, "No nic card find in slot 5".
 */

/** A network card: base class 2 and device type 2 (dwKind 0) or 255 (dwKind 1). Another dwKind: -1, silent. */
MW_API int32_t MW_GetPcieNicInfo(uint32_t dwKind, uint32_t dwSlot, PcieAssetInfo *ptOut);
/** An FC card: base class 12. */
MW_API int32_t MW_GetPcieFcInfo(uint32_t dwSlot, PcieAssetInfo *ptOut);
/** Whatever stands first in the slot. */
MW_API int32_t MW_GetPcieGpuInfo(uint32_t dwSlot, PcieAssetInfo *ptOut);
/** An NVMe device: device type 255. */
MW_API int32_t MW_GetPcieNvmeInfo(uint32_t dwSlot, PcieAssetInfo *ptOut);
/** A RAID card: base class 1. */
MW_API int32_t MW_GetPcieRaidInfo(uint32_t dwSlot, PcieAssetInfo *ptOut);

/**
 * Copies the first record of a slot out, 856 bytes.
 * @param ptOut  not tested; untouched when no record has the slot, which is a success.
 * @param dwSlot 0: -1, "Not support slot number:0" is logged.
 * @return 0 or -1
 */
MW_API int32_t MW_GetPcieAssetInfoBySlot(PcieAssetInfo *ptOut, uint32_t dwSlot);

/**
 * Lists the cards that upper interfaces may show: the records of slots 1 to 99, of slots 1 to 19 where the first
 * processor's manufacturer text begins with "AMD", without those of device types 12 and 38, then one record for each
 * OCP card of the network-card store as MW_GetPcieOCPAssetInfo builds it, in any slot. dwIndex counts them from 0.
 *
 * Takes semaphore 12295 while it holds 12298; reads the processor area without its semaphore. A network-card store that
 * cannot be read leaves the OCP cards out and is logged.
 * @param ptOut    room for MW_PCIE_UPPER_MAX records; NULL: -1, silent.
 * @param pdwCount receives their number; not tested.
 * @return 0 or -1
 */
MW_API int32_t MW_GetPcieAssetInfoForUpperInterface(PcieAssetInfo *ptOut, uint32_t *pdwCount);

/**
 * Builds one record for each OCP card of the network-card store, in its order, and compares it with what BIOS reported:
 * the first record of the table with device type 38, the card's slot and the card's serial number. Such a record
 * supplies the presence, location, slot name and BIOS fields; without one they are "unknown", 0 or made of the slot
 * number, and "check failed with BIOS assert info." is logged. A record of the slot with another serial number is
 * logged with both numbers.
 *
 * Takes semaphore 12295 alone, through MW_GetNICCardAssetInfo: the caller holds 12298 or accepts that the table may
 * change meanwhile.
 * @param ptOut    receives the records from its first place on, up to 64; NULL: -1, silent. dwIndex, dwDomain, the GPU
 *                 and NVMe values and the alarm states keep what the buffer held.
 * @param pdwCount is increased by their number; NULL: -1, silent.
 * @return 0; -1 when the network-card store cannot be read ("fail to get NIC info." is logged).
 */
MW_API int32_t MW_GetPcieOCPAssetInfo(PcieAssetInfo *ptOut, uint32_t *pdwCount);

/** Counts the records with this base class, presence value and PCI vendor ID. @return their number, or -1 */
MW_API int32_t MW_GetSpecificPcieCardPresentCnt(uint8_t ucClassCode, uint8_t ucPresentState, uint16_t wVendorId);

/**
 * Copies the 16 alarm bytes of a device out: those of the last record with this type and slot.
 * @param pucOut not tested; untouched when no record matches, which is a success.
 * @return 0 or -1
 */
MW_API int32_t MW_GetPcieAlarmInfoByDevTypeSlot(uint8_t *pucOut, uint8_t ucDevType, uint8_t ucSlot);

/** Copies the 16 bytes of the bus summary out, one a kind of alarm. @param pucOut not tested. @return 0 or -1 */
MW_API int32_t MW_GetCriticalIntAlarmInfo(uint8_t *pucOut);

/* --- bus alarm states --- */

/*
 * One setter a kind of alarm. Each stores the state in all records with this type and slot, which may be none. The
 * kind's byte of the bus summary becomes 1 with a state of 1; with another state it becomes 0 unless some record still
 * holds 1. They answer 0 or -1.
 */
MW_API int32_t MW_SetPcieDignosticInterruptState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieBusTimeoutState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieIOChannelCheckNMIState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieSoftwareNMIState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPciePCIPERRState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPciePCISERRState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieEISAFailSafeTimeoutState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieEBusCorrectableErrorState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieBusUncorrectableErrorState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieFatalNMIState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieBusFatalErrorState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);
MW_API int32_t MW_SetPcieBusDegradedState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState);

/** Zeroes the twelve states of every record and of the summary; the spare bytes stay. @return 0 or -1 */
MW_API int32_t MW_ClearAllPcieAlarmInfoAllStates(void);

MW_END_DECLS

#endif
