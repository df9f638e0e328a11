/* Memory: DIMM inventory, temperatures, alarm states, SEL event data and the host's usage figures. Semaphore 12291.
 *
 * DIMM numbers given by callers are 1-based; indexes and slots are 0-based. Each function says which it takes. */
#ifndef MIDWARE_MEM_H
#define MIDWARE_MEM_H

#include "midware/base.h"

#define MW_MEM_DIMM_MAX 64u
#define MW_MEM_SEL_ENTRY_MAX 15u
#define MW_HARD_DISK_PART_MAX 26u
#define MW_PART_NAME_SIZE 128u

/* Where a DIMM sits, 88 bytes. */
typedef struct MemPhyInfo {
    uint32_t dwMemNum;        /* DIMM number, 1-based: the key of MW_GetMemPhyInfoByMemNum */
    uint32_t adwLocation[4];  /* processor, memory controller, channel, slot, each from 0: the key of
                                 MW_GetMemPhyInfoByPhyInfo as a whole */
    char acSilkName[48];      /* text printed on the board next to the slot (SMBIOS type 17, device locator) */
    uint32_t dwPresent;       /* 1: a module is plugged in */
    uint32_t adwReserved[4];
} MemPhyInfo;

MW_SIZE_IS(MemPhyInfo, 88);
MW_OFFSET_IS(MemPhyInfo, dwMemNum, 0);
MW_OFFSET_IS(MemPhyInfo, adwLocation, 4);
MW_OFFSET_IS(MemPhyInfo, acSilkName, 20);

/* A DIMM's temperature, 52 bytes. */
typedef struct MemTempInfo {
    uint32_t dwDimmNum;      /* DIMM number; MW_SetMemTempInfo takes it as the 0-based slot to write */
    uint8_t ucTempValid;     /* 1: iTemp is a reading */
    uint8_t aucReserved[3];
    int32_t iTemp;           /* degrees Celsius */
    uint32_t dwTempArg3;     /* two further readings of the collector */
    uint32_t dwTempArg4;
    uint32_t dwCpuMemGTemp;  /* set by MW_SetCpuMemGTemp */
    uint32_t dwUpperCritical; /* degrees Celsius; 0: none */
    uint32_t adwReserved[5];
    uint32_t dwUpdateTime;   /* system uptime in seconds at the last MW_SetMemCurrentTemp */
} MemTempInfo;

MW_SIZE_IS(MemTempInfo, 52);
MW_OFFSET_IS(MemTempInfo, dwDimmNum, 0);
MW_OFFSET_IS(MemTempInfo, ucTempValid, 4);
MW_OFFSET_IS(MemTempInfo, iTemp, 8);
MW_OFFSET_IS(MemTempInfo, dwTempArg3, 12);
MW_OFFSET_IS(MemTempInfo, dwTempArg4, 16);
MW_OFFSET_IS(MemTempInfo, dwCpuMemGTemp, 20);
MW_OFFSET_IS(MemTempInfo, dwUpdateTime, 48);

/* A DIMM's sensor states, 24 bytes. A state byte holds what its setter was given, 0 for deasserted. */
typedef struct MemAlarmInfo {
    uint32_t dwDimmNum;  /* DIMM number; MW_SetMemAlarmInfo takes it as the 0-based slot to write */
    uint8_t ucCorrectECCState;
    uint8_t ucUnCorrectECCState;
    uint8_t ucMemParityState;
    uint8_t ucMemScrubFailState;
    uint8_t ucMemDisabledState;
    uint8_t ucCorrectECCLimitState;
    uint8_t ucPresetProtectState;
    uint8_t ucConfigurErrorState;
    uint8_t ucMemSpareState;
    uint8_t ucMemAutoThrottledState;
    uint8_t ucMemOverTempState;
    uint8_t ucPredictiveFailureState;
    uint8_t ucIsolationState;
    uint8_t ucCorrectECCCnt;  /* correctable errors, modulo 256 */
    uint8_t aucReserved[6];
} MemAlarmInfo;

MW_SIZE_IS(MemAlarmInfo, 24);
MW_OFFSET_IS(MemAlarmInfo, dwDimmNum, 0);
MW_OFFSET_IS(MemAlarmInfo, ucCorrectECCState, 4);
MW_OFFSET_IS(MemAlarmInfo, ucUnCorrectECCState, 5);
MW_OFFSET_IS(MemAlarmInfo, ucMemParityState, 6);
MW_OFFSET_IS(MemAlarmInfo, ucMemScrubFailState, 7);
MW_OFFSET_IS(MemAlarmInfo, ucMemDisabledState, 8);
MW_OFFSET_IS(MemAlarmInfo, ucCorrectECCLimitState, 9);
MW_OFFSET_IS(MemAlarmInfo, ucPresetProtectState, 10);
MW_OFFSET_IS(MemAlarmInfo, ucConfigurErrorState, 11);
MW_OFFSET_IS(MemAlarmInfo, ucMemSpareState, 12);
MW_OFFSET_IS(MemAlarmInfo, ucMemAutoThrottledState, 13);
MW_OFFSET_IS(MemAlarmInfo, ucMemOverTempState, 14);
MW_OFFSET_IS(MemAlarmInfo, ucPredictiveFailureState, 15);
MW_OFFSET_IS(MemAlarmInfo, ucIsolationState, 16);
MW_OFFSET_IS(MemAlarmInfo, ucCorrectECCCnt, 17);

/* What is plugged in, 824 bytes; the texts and figures are those of an SMBIOS type 17 structure (DSP0134). */
typedef struct MemAssetInfo {
    uint32_t dwDimmNum;           /* DIMM number, 1-based */
    uint32_t adwLocation[4];      /* as in MemPhyInfo */
    char acDeviceLocator[64];
    char acBankLocator[64];
    char acManufacturer[64];
    char acSerialNum[64];
    char acPartNum[64];
    char acAssetTag[64];
    char acMemType[32];           /* "DDR4" and so on */
    char acFormFactor[32];        /* "DIMM" and so on */
    char acTypeDetail[64];        /* "Registered (Buffered)" and so on */
    uint32_t dwMaxSpeed;          /* megatransfers a second */
    uint32_t dwConfiguredSpeed;   /* megatransfers a second */
    uint32_t dwTotalWidth;        /* bits, check bits included; 0: unknown */
    uint32_t dwDataWidth;         /* bits; 0: unknown */
    uint32_t dwRank;              /* 0: unknown */
    uint32_t dwConfiguredVoltage; /* millivolts; 0: unknown */
    uint32_t adwReserved1[41];
    uint32_t dwSizeGB;            /* whole GiB, rounded down: summed by MW_GetMemTotalSizeGB */
    uint32_t dwSizeMB;            /* MiB */
    uint32_t dwPresent;           /* 1: a module is plugged in */
    uint32_t adwReserved2[23];
} MemAssetInfo;

MW_SIZE_IS(MemAssetInfo, 824);
MW_OFFSET_IS(MemAssetInfo, dwSizeGB, 720);

/* One partition as the host's monitor reports it, 140 bytes. Its name is its identity. */
#pragma pack(push, 1)
typedef struct HardDiskPartInfo {
    uint8_t ucUsedPercent;     /* 0 to 100 */
    uint8_t aucReserved1[2];
    char acPartName[MW_PART_NAME_SIZE]; /* NUL-terminated; all 128 bytes count where it is not */
    uint32_t dwTotalMB;        /* MiB */
    uint32_t dwUsedMB;         /* MiB */
    uint8_t ucReserved2;
} HardDiskPartInfo;
#pragma pack(pop)

MW_SIZE_IS(HardDiskPartInfo, 140);
MW_OFFSET_IS(HardDiskPartInfo, acPartName, 3);

/* The host's partitions, 3748 bytes. */
typedef struct HardDiskUsageInfo {
    uint32_t dwTotalPart;                         /* partitions in use, 0 to 26 */
    uint32_t adwPartAlarm[MW_HARD_DISK_PART_MAX]; /* 0 or 1, by partition index */
    HardDiskPartInfo atPart[MW_HARD_DISK_PART_MAX];
} HardDiskUsageInfo;

MW_SIZE_IS(HardDiskUsageInfo, 3748);
MW_OFFSET_IS(HardDiskUsageInfo, adwPartAlarm, 4);
MW_OFFSET_IS(HardDiskUsageInfo, atPart, 108);

/* Usage figures of the whole host. They live in the bytes of slot 0's status record only. */
typedef struct MemUsageBlock {
    uint32_t dwHostMemUsgEnable;  /* 85: dwHostMemUsg is valid */
    uint32_t dwHostMemUsg;        /* percent, from the host's monitor */
    uint32_t dwHostMemUsgAlt;     /* handed out while not valid */
    uint32_t dwMemUsgFlag;        /* 85: dwMemUsg is valid */
    uint32_t dwMemUsg;            /* percent, from the Management Engine */
    uint32_t adwReserved[3];
    uint32_t dwHostMemUsgAlarm;   /* 0 or 1 */
    uint32_t dwIoUsgFlag;         /* 85: dwIoUsg is valid */
    uint32_t dwIoUsg;             /* percent, from the Management Engine */
    HardDiskUsageInfo tHardDisk;
} MemUsageBlock;

MW_SIZE_IS(MemUsageBlock, 3792);
MW_OFFSET_IS(MemUsageBlock, tHardDisk, 44);

/* A DIMM's state, 3960 bytes. */
typedef struct MemStatusInfo {
    uint32_t dwDimmNum;        /* DIMM number: the key of every look-up by number */
    uint32_t dwPresentStatus;  /* 1: present */
    uint32_t dwHealthyStatus;
    uint32_t adwReserved[8];
    MemTempInfo tTempInfo;
    MemUsageBlock tUsage;      /* slot 0 only; carried whole in the others */
    MemAlarmInfo tAlarmInfo;
    uint8_t aucSelEventData[MW_MEM_SEL_ENTRY_MAX][3]; /* IPMI event data 1 to 3; the low nibble of byte 0 is the event
                                                         offset that names the entry */
    uint8_t aucPad[3];
} MemStatusInfo;

MW_SIZE_IS(MemStatusInfo, 3960);
MW_OFFSET_IS(MemStatusInfo, dwDimmNum, 0);
MW_OFFSET_IS(MemStatusInfo, dwPresentStatus, 4);
MW_OFFSET_IS(MemStatusInfo, dwHealthyStatus, 8);
MW_OFFSET_IS(MemStatusInfo, tTempInfo, 44);
MW_OFFSET_IS(MemStatusInfo, tUsage, 96);
MW_OFFSET_IS(MemStatusInfo, tAlarmInfo, 3888);
MW_OFFSET_IS(MemStatusInfo, aucSelEventData, 3912);

#endif
