/* Network cards and their ports. Semaphore 12295.
 *
 * Unless it says otherwise a function answers -1 on NULL (silent, before attaching), when the process cannot be
 * attached, and when semaphore 12295 was not had within 500 ms (one "sem lock failed" line at level 130). The stored
 * counts are taken as they are: above 64 cards or 240 ports a walk runs on into what lies behind, and -1 with one line
 * at level 130 is the answer only where that would leave the shared area. */
#ifndef MIDWARE_NETCARD_H
#define MIDWARE_NETCARD_H

#include "midware/base.h"

#define MW_NIC_CARD_MAX 64u
#define MW_NIC_PORT_MAX 240u
#define MW_T200_SENSOR_MAX 14u
#define MW_NIC_MAC_MAX 8u
#define MW_NIC_SLOT_STANDARD 1u /* slot types of cards and of the owners of ports */
#define MW_NIC_SLOT_OCP 2u
#define MW_NIC_LINK_DOWN 0u     /* NicPortAssetInfo.ucLinkState */
#define MW_NIC_LINK_UP 1u
#define MW_NIC_UNKNOWN 255u     /* where a byte has no value */

/* One sensor of a T200 block, 8 bytes. */
typedef struct T200Sensor {
    uint8_t aucReserved1[4];
    uint8_t ucTemp;           /* degrees Celsius */
    uint8_t aucReserved2[3];
} T200Sensor;

MW_SIZE_IS(T200Sensor, 8);
MW_OFFSET_IS(T200Sensor, ucTemp, 4);

/* The T200 sensor block of a card, 120 bytes; valid when ucPostStatus is 2 to 254. */
typedef struct T200Info {
    uint8_t ucPostStatus;     /* 0, 1 and 255: not ready or unknown */
    uint8_t aucReserved[7];
    T200Sensor atSensor[MW_T200_SENSOR_MAX];
} T200Info;

MW_SIZE_IS(T200Info, 120);
MW_OFFSET_IS(T200Info, atSensor, 8);

/* One network card, 588 bytes. The texts are NUL-terminated by convention; the meaning of acNicText1 to 5 is the
 * collector's: that of this package uses them for what stands beside them. An OCP card's record in the PCIe lists takes
 * them as product name (1), firmware version (2), manufacturer (3), board revision (4) and part number (5). */
typedef struct NicCardAssetInfo {
    uint8_t ucPresent;        /* 1: present */
    uint8_t ucNicSlotType;    /* MW_NIC_SLOT_... */
    uint8_t ucNicSlotId;      /* 1-based; bit of the OCP presence mask plus 1, slot of the T200 block */
    uint8_t ucNicSlotNum;     /* slot number of the card's PCIe record */
    char acDriver[32];        /* kernel driver bound to the card */
    char acNicText1[32];      /* product name */
    char acNicText2[32];      /* firmware version */
    char acNicText3[32];      /* manufacturer */
    char acNicText4[32];      /* board revision */
    char acFirmware[32];      /* firmware version as the driver reports it */
    uint8_t aucMac[MW_NIC_MAC_MAX][6]; /* permanent MAC addresses, IEEE 802 octet order */
    uint8_t ucMacNum;         /* of them in use, 0 to 8 */
    uint8_t ucPortNum;        /* ports of the card */
    char acDriverVersion[16];
    uint8_t ucNicAttr;        /* card attribute */
    uint8_t ucLinkSpeed;      /* PCIe generation of the link as trained, 1 to 6; 0 unknown */
    uint8_t ucLinkWidth;      /* lanes of the link as trained; 0 unknown */
    uint8_t ucMaxLinkSpeed;   /* the most that the card can do */
    uint8_t ucMaxLinkWidth;
    uint8_t ucNumaNode;       /* of the host; MW_NIC_UNKNOWN: none */
    uint32_t dwDomain;        /* PCI segment */
    uint8_t ucBus;            /* PCI address */
    uint8_t ucDevice;
    uint8_t ucFunction;
    uint8_t ucRevision;       /* PCI revision ID */
    char acSlotName[32];      /* as the system names the slot */
    char acSerialNum[32];
    uint16_t wVendorId;       /* PCI IDs */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    char acNicText5[32];      /* part number */
    char acDeviceName[64];    /* name of the device in the PCI ID database */
    uint32_t dwUpdateTime;    /* system uptime in seconds when the record was collected */
    uint32_t adwReserved1[2];
    uint32_t dwT200Flag;      /* 1: tT200Info is in use */
    T200Info tT200Info;
    uint32_t adwReserved2[2];
} NicCardAssetInfo;

MW_SIZE_IS(NicCardAssetInfo, 588);
MW_OFFSET_IS(NicCardAssetInfo, ucNicSlotType, 1);
MW_OFFSET_IS(NicCardAssetInfo, ucNicSlotId, 2);
MW_OFFSET_IS(NicCardAssetInfo, ucNicSlotNum, 3);
MW_OFFSET_IS(NicCardAssetInfo, acNicText1, 36);
MW_OFFSET_IS(NicCardAssetInfo, acNicText2, 68);
MW_OFFSET_IS(NicCardAssetInfo, acNicText3, 100);
MW_OFFSET_IS(NicCardAssetInfo, acNicText4, 132);
MW_OFFSET_IS(NicCardAssetInfo, ucNicAttr, 262);
MW_OFFSET_IS(NicCardAssetInfo, ucBus, 272);
MW_OFFSET_IS(NicCardAssetInfo, ucDevice, 273);
MW_OFFSET_IS(NicCardAssetInfo, ucFunction, 274);
MW_OFFSET_IS(NicCardAssetInfo, acSerialNum, 308);
MW_OFFSET_IS(NicCardAssetInfo, wVendorId, 340);
MW_OFFSET_IS(NicCardAssetInfo, wDeviceId, 342);
MW_OFFSET_IS(NicCardAssetInfo, wSubVendorId, 344);
MW_OFFSET_IS(NicCardAssetInfo, wSubDeviceId, 346);
MW_OFFSET_IS(NicCardAssetInfo, acNicText5, 348);
MW_OFFSET_IS(NicCardAssetInfo, dwT200Flag, 456);
MW_OFFSET_IS(NicCardAssetInfo, tT200Info, 460);

/* All cards, 37,636 bytes. */
typedef struct NicCardBlock {
    uint32_t dwNicCardNum;    /* valid records, 0 to 64 */
    NicCardAssetInfo atNicCard[MW_NIC_CARD_MAX];
} NicCardBlock;

MW_SIZE_IS(NicCardBlock, 37636);

/* One port of a network card, 348 bytes. Texts are NUL-terminated by convention; the module is the pluggable
 * transceiver (SFF-8472, SFF-8636). */
typedef struct NicPortAssetInfo {
    uint8_t ucLinkState;      /* MW_NIC_LINK_..., or MW_NIC_UNKNOWN */
    uint8_t ucDuplex;         /* 0 half, 1 full, 255 unknown */
    uint8_t ucAutoNeg;        /* 0 off, 1 on, 255 unknown */
    uint8_t ucConnector;      /* connector type, SFF-8024 */
    uint8_t ucModulePresent;  /* 1: a module is plugged */
    uint8_t ucNetPortOwnerNicSlottype; /* MW_NIC_SLOT_... of the owning card */
    uint8_t ucNetPortOwnerNicSlotnum;  /* slot number of the owning card */
    uint8_t ucNumaNode;       /* of the host; MW_NIC_UNKNOWN: none */
    uint8_t aucMac[6];        /* MAC address in use, IEEE 802 octet order */
    uint8_t aucPermMac[6];    /* permanent MAC address */
    uint32_t dwSpeed;         /* link speed in Mbit/s; 0 unknown */
    uint32_t dwMtu;           /* bytes */
    char acIfName[16];        /* name of the host's interface */
    uint8_t ucNetPortId;      /* port (SFP) number on the card */
    uint8_t ucBus;            /* PCI address of the port's function */
    uint8_t ucDevice;
    uint8_t ucFunction;
    uint32_t dwDomain;        /* PCI segment */
    char acDriver[32];        /* kernel driver */
    char acFirmware[32];      /* firmware version as the driver reports it */
    uint32_t dwIfIndex;       /* number of the host's interface */
    uint32_t dwCarrierChanges; /* how often the link went up or down */
    uint32_t dwUpdateTime;    /* system uptime in seconds when the record was collected */
    uint32_t dwReserved1;
    int32_t iCompleteCode;    /* 0: the readings are valid */
    uint8_t ucModuleType;     /* module identifier, SFF-8024 */
    uint8_t aucReserved2[3];
    char acModuleVendor[16];
    char acModulePartNum[16];
    char acModuleSerialNum[16];
    float fTxPower;           /* mW */
    float fRxPower;           /* mW */
    float fTxBias;            /* mA */
    float fModuleVoltage;     /* V */
    float fPortTemp;          /* module temperature, degrees Celsius */
    float fTempHighAlarm;     /* limits of the module, degrees Celsius */
    float fTempHighWarning;
    uint32_t dwRxPackets;     /* low 32 bits of the interface's counters */
    uint32_t dwTxPackets;
    uint32_t dwRxErrors;
    uint32_t dwTxErrors;
    uint32_t dwRxDropped;
    uint32_t dwTxDropped;
    uint32_t adwReserved3[27];
} NicPortAssetInfo;

MW_SIZE_IS(NicPortAssetInfo, 348);
MW_OFFSET_IS(NicPortAssetInfo, ucNetPortOwnerNicSlottype, 5);
MW_OFFSET_IS(NicPortAssetInfo, ucNetPortOwnerNicSlotnum, 6);
MW_OFFSET_IS(NicPortAssetInfo, ucNetPortId, 44);
MW_OFFSET_IS(NicPortAssetInfo, iCompleteCode, 132);
MW_OFFSET_IS(NicPortAssetInfo, fPortTemp, 204);

/* All ports, 83,528 bytes. */
typedef struct NicPortBlock {
    uint32_t dwNicPortNum;    /* valid records, 0 to 240 */
    NicPortAssetInfo atNicPort[MW_NIC_PORT_MAX];
    uint8_t aucSpare[4];
} NicPortBlock;

MW_SIZE_IS(NicPortBlock, 83528);

MW_BEGIN_DECLS

/** Copies all cards out, 37,636 bytes. @return 0 or -1 */
MW_API int32_t MW_GetNICCardAssetInfo(NicCardBlock *ptOut);

/** Stores all cards, 37,636 bytes; nothing is validated. @return 0 or -1 */
MW_API int32_t MW_SetNICCardAssetInfo(const NicCardBlock *ptIn);

/** Copies all ports out, 83,528 bytes. @return 0 or -1 */
MW_API int32_t MW_GetNICPortAssetInfo(NicPortBlock *ptOut);

/** Stores all ports, 83,528 bytes; nothing is validated. @return 0 or -1 */
MW_API int32_t MW_SetNICPortAssetInfo(const NicPortBlock *ptIn);

/** Stores the number of cards through both pointers. @return 0 or -1 */
MW_API int32_t MW_GetNICCount(uint32_t *pdwCount1, uint32_t *pdwCount2);

/**
 * Which OCP slots hold a card.
 * @param pucMask receives bit n - 1 for an OCP card of slot ID n, 1 to 8; other IDs do not show. It is cleared before
 *                anything else can fail.
 * @return 0 or -1
 */
MW_API int32_t MW_GetOcpPresentStatus(uint8_t *pucMask);

/*
 * The first card with a T200 block. Without one these answer 0 and write nothing.
 */

/** Copies the block out, 120 bytes. @return 0; -1 also with more than 64 cards, silent and before locking. */
MW_API int32_t MW_GetT200TempInfo(uint8_t *pucOut);
/** Stores 1 and the card's ucNicSlotId. @return 0 or -1 */
MW_API int32_t MW_GetT200ExistAndSlot(uint8_t *pucExist, uint8_t *pucSlot);
/** Stores the block's ucPostStatus. @return 0 or -1 */
MW_API int32_t MW_GetT200PostStatus(uint8_t *pucStatus);

/**
 * Reads one sensor of the first T200 block that is valid. Each block before it that is not is logged at level 134.
 * @param dwIndex 0 to 13; above: -1 after attaching and before locking, one line at level 130.
 * @param pucTemp receives degrees Celsius.
 * @return 0; -1 also when no card has a valid block.
 */
MW_API int32_t MW_GetT200SensorTempByIndex(uint32_t dwIndex, uint8_t *pucTemp);

/**
 * The temperature of a port of an OCP card: the first port record of that owner type, slot and port number whose
 * readings are valid. Every record looked at is traced at level 135.
 * @param ucOCPSlotId slot number of the card.
 * @param ucSFPId     port number as stored, no offset.
 * @param pucTemp     receives whole degrees Celsius, cut towards zero: 0 for a negative reading or none (NaN), the low
 *                    8 bits of a larger one, 255 from 2^32 on.
 * @return 0; -1 also when no port answers, one line at level 130.
 */
MW_API int32_t MW_GetOCPSinglePortTemp(uint8_t ucOCPSlotId, uint8_t ucSFPId, uint8_t *pucTemp);

/** The same for a port of a standard card; its messages name the OCP reading too. */
MW_API int32_t MW_GetNICSinglePortTemp(uint8_t ucSlotNum, uint8_t ucSFPId, uint8_t *pucTemp);

MW_END_DECLS

#endif
