/* Fibre Channel cards and their ports. Semaphore 12299. */
#ifndef MIDWARE_FCCARD_H
#define MIDWARE_FCCARD_H

#include "midware/base.h"

#define MW_FC_CARD_MAX 18u
#define MW_FC_PORT_MAX 16u

/* A Fibre Channel card, 660 bytes. Texts are NUL-terminated; a text or figure that is not known is empty or 0. */
typedef struct FCCardRecord {
    uint32_t dwSlot;
    uint32_t dwPresent;      /* 1: fitted */
    uint16_t wVendorId;      /* PCI configuration space */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    uint16_t wDomain;        /* PCI address */
    uint8_t ucBus;
    uint8_t ucDevice;
    uint8_t ucFunction;      /* the first one */
    uint8_t ucPortCount;
    uint8_t aucReserved[2];
    int32_t iTemp;           /* degrees Celsius */
    uint32_t dwHealthyStatus;
    char acManufacturer[64];
    char acModel[64];
    char acDescription[128];
    char acPartNum[32];
    char acSerialNum[64];
    char acFirmwareVersion[64];
    char acDriver[32];
    char acDriverVersion[32];
    char acOptionRomVersion[64];
    char acHardwareVersion[32];
    uint8_t aucReserved2[52];
} FCCardRecord;

MW_SIZE_IS(FCCardRecord, 660);

/* All cards, 11884 bytes. The library carries it whole and looks at no field. */
typedef struct FCCardAssetInfo {
    uint32_t dwCardCount; /* records in use, 0 to 18 */
    FCCardRecord atCard[MW_FC_CARD_MAX];
} FCCardAssetInfo;

MW_SIZE_IS(FCCardAssetInfo, 11884);
MW_OFFSET_IS(FCCardAssetInfo, atCard, 4);

/* States of a port, FCPortRecord.ucState. */
#define MW_FC_PORT_UNKNOWN 0u
#define MW_FC_PORT_ONLINE 1u
#define MW_FC_PORT_OFFLINE 2u
#define MW_FC_PORT_LINK_DOWN 3u
#define MW_FC_PORT_ERROR 4u

/* Topologies of a port, FCPortRecord.ucType. */
#define MW_FC_TYPE_UNKNOWN 0u
#define MW_FC_TYPE_N 1u  /* point to point */
#define MW_FC_TYPE_NL 2u /* arbitrated loop */
#define MW_FC_TYPE_NF 3u /* to a fabric */

/* A Fibre Channel port, 76 bytes. Names are in transmission order, first byte first (FC-FS); counters are those of the
 * link error status block. */
typedef struct FCPortRecord {
    uint8_t ucCardIndex;             /* of the card in FCCardAssetInfo, 0-based */
    uint8_t ucPort;                  /* on the card, 1-based */
    uint8_t ucState;                 /* MW_FC_PORT_... */
    uint8_t ucType;                  /* MW_FC_TYPE_... */
    uint32_t dwPortId;               /* 24-bit address identifier; 0: none */
    uint8_t aucPortName[8];          /* WWPN */
    uint8_t aucNodeName[8];          /* WWNN */
    uint8_t aucFabricName[8];
    uint32_t dwSpeed;                /* negotiated, megabits per second; 0: no link */
    uint32_t dwMaxSpeed;             /* highest supported, megabits per second */
    char acHostName[16];             /* of the port in the host's system; NUL-terminated */
    uint32_t dwLinkFailures;
    uint32_t dwLossOfSync;
    uint32_t dwLossOfSignal;
    uint32_t dwInvalidTxWords;
    uint32_t dwInvalidCrc;
} FCPortRecord;

MW_SIZE_IS(FCPortRecord, 76);

/* All ports, 1224 bytes. The library carries it whole and looks at no field. */
typedef struct FCPortAssetInfo {
    uint32_t dwPortCount; /* records in use, 0 to 16 */
    uint32_t dwReserved;
    FCPortRecord atPort[MW_FC_PORT_MAX];
} FCPortAssetInfo;

MW_SIZE_IS(FCPortAssetInfo, 1224);
MW_OFFSET_IS(FCPortAssetInfo, atPort, 8);

MW_BEGIN_DECLS

/**
 * Copy the card block (11884 bytes) or the port block (1224 bytes) whole; neither touches the other.
 * @return 0; -1 on NULL (silent, before attaching), when not attached (the line of MW_MidMemCheck), or when semaphore
 *         12299 was not had within 500 ms: "[fccard/hov_midfccard:LINE][FUNCTION] sem lock failed, ERROR" at level 130.
 */
MW_API int32_t MW_GetFCCardAssetInfo(FCCardAssetInfo *ptInfo);
MW_API int32_t MW_SetFCCardAssetInfo(const FCCardAssetInfo *ptInfo);
MW_API int32_t MW_GetFCPortAssetInfo(FCPortAssetInfo *ptInfo);
MW_API int32_t MW_SetFCPortAssetInfo(const FCPortAssetInfo *ptInfo);

MW_END_DECLS

#endif
