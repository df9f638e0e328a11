/* Custom cards: cards of a customer's own design, such as accelerators, security modules or port extenders.
 * Semaphore 12304. */
#ifndef MIDWARE_CUSTCARD_H
#define MIDWARE_CUSTCARD_H

#include "midware/base.h"

#define MW_CUST_CARD_MAX 16u

/* A custom card, 256 bytes. Texts are NUL-terminated; a text or figure that is not known is empty or 0. */
typedef struct CustCardRecord {
    uint32_t dwSlot;
    uint32_t dwPresent;     /* 1: fitted */
    uint16_t wVendorId;     /* PCI configuration space */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    uint16_t wDomain;       /* PCI address */
    uint8_t ucBus;
    uint8_t ucDevice;
    uint8_t ucFunction;
    uint8_t ucClassCode;    /* PCI base class */
    uint8_t ucSubClass;     /* PCI sub-class */
    uint8_t ucTempValid;    /* 1: iTemp was read */
    int32_t iTemp;          /* degrees Celsius */
    uint32_t dwPower;       /* milliwatts */
    uint32_t dwHealthyStatus;
    char acName[48];
    char acManufacturer[48];
    char acPartNum[32];
    char acSerialNum[32];
    char acFirmwareVersion[32];
    uint8_t aucReserved[28];
} CustCardRecord;

MW_SIZE_IS(CustCardRecord, 256);

/* All custom cards, 4100 bytes. The library carries it whole and looks at no field. */
typedef struct CustCardAssetInfo {
    uint32_t dwCardCount; /* records in use, 0 to 16 */
    CustCardRecord atCard[MW_CUST_CARD_MAX];
} CustCardAssetInfo;

MW_SIZE_IS(CustCardAssetInfo, 4100);
MW_OFFSET_IS(CustCardAssetInfo, atCard, 4);

MW_BEGIN_DECLS

/**
 * Copy the block whole, 4100 bytes.
 * @return 0; -1 on NULL (silent, before attaching), when not attached (the line of MW_MidMemCheck), or when semaphore
 *         12304 was not had within 500 ms: "[custcard/hov_midcustcard:LINE][FUNCTION LINE] sem lock failed, ERROR" at
 *         level 130.
 */
MW_API int32_t MW_GetCustCardAssetInfo(CustCardAssetInfo *ptInfo);
MW_API int32_t MW_SetCustCardAssetInfo(const CustCardAssetInfo *ptInfo);

MW_END_DECLS

#endif
