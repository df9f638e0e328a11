/* Graphics and compute accelerators. Semaphore 12300. */
#ifndef MIDWARE_GPU_H
#define MIDWARE_GPU_H

#include "midware/base.h"

#define MW_GPU_MAX 20u

/* An accelerator, 564 bytes. Texts are NUL-terminated; a text or figure that is not known is empty or 0. */
typedef struct GPURecord {
    uint32_t dwSlot;
    uint32_t dwPresent;        /* 1: fitted */
    uint16_t wVendorId;        /* PCI configuration space */
    uint16_t wDeviceId;
    uint16_t wSubVendorId;
    uint16_t wSubDeviceId;
    uint16_t wDomain;          /* PCI address */
    uint8_t ucBus;
    uint8_t ucDevice;
    uint8_t ucFunction;
    uint8_t ucClassCode;       /* PCI base class: 3 display controller, 18 processing accelerator */
    uint8_t ucSubClass;        /* PCI sub-class */
    uint8_t ucTempValid;       /* bit 0: iTemp was read, bit 1: iMemoryTemp */
    uint32_t dwMemorySize;     /* mebibytes */
    uint32_t dwMemoryUsed;     /* mebibytes */
    uint32_t dwUtilization;    /* of the cores, percent */
    uint32_t dwMemoryBusy;     /* of the memory, percent */
    uint32_t dwPower;          /* milliwatts */
    uint32_t dwPowerLimit;     /* milliwatts */
    int32_t iTemp;             /* of the cores, degrees Celsius */
    int32_t iMemoryTemp;       /* degrees Celsius */
    uint32_t dwCoreClock;      /* megahertz */
    uint32_t dwMemoryClock;    /* megahertz */
    uint32_t dwCorrectedErrors;   /* of the memory, since start-up */
    uint32_t dwUncorrectedErrors;
    uint32_t dwLinkSpeed;      /* of the PCI Express link, megatransfers per second and lane */
    uint32_t dwLinkWidth;      /* lanes */
    uint32_t dwHealthyStatus;
    char acManufacturer[64];
    char acModel[64];
    char acPartNum[32];
    char acSerialNum[64];
    char acUuid[48];
    char acFirmwareVersion[64];
    char acDriver[32];
    char acDriverVersion[32];
    uint8_t aucReserved[80];
} GPURecord;

MW_SIZE_IS(GPURecord, 564);

/* All accelerators, 11284 bytes. The library carries it whole and looks at no field. */
typedef struct GPUAssetInfo {
    uint32_t dwGpuCount; /* records in use, 0 to 20 */
    GPURecord atGpu[MW_GPU_MAX];
} GPUAssetInfo;

MW_SIZE_IS(GPUAssetInfo, 11284);
MW_OFFSET_IS(GPUAssetInfo, atGpu, 4);

MW_BEGIN_DECLS

/**
 * Copy the block whole, 11284 bytes.
 * @return 0; -1 on NULL (silent, before attaching), when not attached (the line of MW_MidMemCheck), or when semaphore
 *         12300 was not had within 500 ms: "[gpu/hov_midgpu:LINE][FUNCTION] sem lock failed, ERROR" at level 130.
 */
MW_API int32_t MW_GetGPUAssetInfo(GPUAssetInfo *ptInfo);
MW_API int32_t MW_SetGPUAssetInfo(const GPUAssetInfo *ptInfo);

MW_END_DECLS

#endif
