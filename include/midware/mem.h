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
MW_OFFSET_IS(HardDiskUsageInfo, dwTotalPart, 0);
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
MW_OFFSET_IS(MemUsageBlock, dwHostMemUsgEnable, 0);
MW_OFFSET_IS(MemUsageBlock, dwHostMemUsg, 4);
MW_OFFSET_IS(MemUsageBlock, dwHostMemUsgAlt, 8);
MW_OFFSET_IS(MemUsageBlock, dwMemUsgFlag, 12);
MW_OFFSET_IS(MemUsageBlock, dwMemUsg, 16);
MW_OFFSET_IS(MemUsageBlock, dwHostMemUsgAlarm, 32);
MW_OFFSET_IS(MemUsageBlock, dwIoUsgFlag, 36);
MW_OFFSET_IS(MemUsageBlock, dwIoUsg, 40);
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

MW_BEGIN_DECLS

/* Every function below answers 0 on success and -1 otherwise, and on -1 has changed nothing, unless it says more. It
 * answers -1
 *   - at once and silently when a pointer is NULL that is not marked as untested;
 *   - when this process is not attached and cannot be (MW_MidMemCheck prints its line);
 *   - when semaphore 12291 was not had within 500 ms: "[FILE:LINE][FUNCTION] sem lock failed, ERROR" at level 130;
 *   - when a stored count or a given index that is not checked leads outside the shared area: one line at level 130.
 * Inside the shared area unchecked counts and indexes are followed into neighbouring fields.
 * "Prints" means a line on standard output that begins with "FUNCTION:LINE ", written before the semaphore is released. */

/* --- totals ----------------------------------------------------------------------------------------------------- */

/** Reads the number of asset records, a word. */
MW_API int32_t MW_GetMemCount(uint32_t *pdwCount);

/** Reads the total memory power as its collector gave it, 16 bits. */
MW_API int32_t MW_GetMemTotalPower(uint16_t *pwPower);

/** Stores the low 16 bits of `dwPower` as the total memory power. */
MW_API int32_t MW_SetMemTotalPower(uint32_t dwPower);

/** Sums dwSizeGB over the counted asset records, modulo 2^32; 0 when there are none. The count has no upper bound. */
MW_API int32_t MW_GetMemTotalSizeGB(uint32_t *pdwSizeGB);

/* --- physical locations, 88 bytes a record, by slot ------------------------------------------------------------- */

/**
 * Copies the physical-location records of all DIMM slots out, back to back, and their number. The stored count is taken
 * as it is.
 * @param ptPhyInfo room for 64 records.
 */
MW_API int32_t MW_GetMemPhyInfo(MemPhyInfo *ptPhyInfo, uint32_t *pdwCount);

/** Copies the first record whose dwMemNum is `dwMemNum`; -1, silent, when there is none. */
MW_API int32_t MW_GetMemPhyInfoByMemNum(MemPhyInfo *ptPhyInfo, uint32_t dwMemNum);

/**
 * Completes a record: the first stored one with the same four adwLocation words is copied over it, 88 bytes.
 * @return 0; -1, silent and with the record as it was, when there is none.
 */
MW_API int32_t MW_GetMemPhyInfoByPhyInfo(MemPhyInfo *ptPhyInfo);

/** Sets the number of DIMM slots and stores that many physical-location records. Callers pass at most 64: the count is
 *  not checked. */
MW_API int32_t MW_SetMemPhyInfo(const MemPhyInfo *ptPhyInfo, uint32_t dwCount);

/* --- state of the DIMMs ----------------------------------------------------------------------------------------- */

/** Sets the number of DIMM slots and stores that many whole status records, 3960 bytes each; the host's usage figures
 *  become those of the first. Callers pass at most 64: the count is not checked. */
MW_API int32_t MW_SetMemDimmNuminStatusInfo(const MemStatusInfo *ptStatusInfo, uint32_t dwCount);

/** Stores dwDimmNum = `dwIndex` and dwPresentStatus = `dwStatus` in slot `dwIndex`, 0-based and not checked. */
MW_API int32_t MW_SetMemPresentStatus(uint32_t dwIndex, uint32_t dwStatus);

/**
 * Copies the temperature records of all DIMM slots out, 52 bytes each, back to back, and their number.
 * @param ptTempInfo room for 64 records.
 * @return -1 also when the stored count exceeds 64: prints "Dimm count over ".
 */
MW_API int32_t MW_GetMemTempInfo(MemTempInfo *ptTempInfo, uint32_t *pdwCount);

/**
 * Copies one temperature record, 52 bytes.
 * @param dwDimmNum DIMM number, 1-based: slot dwDimmNum - 1.
 * @return -1 also when the stored count exceeds 64 (prints "Dimm count over "), the number exceeds the count (prints
 *         "dwDimmNum N over Dimm count") or is 0 (prints "dwDimmNum 0 invalid").
 */
MW_API int32_t MW_GetMemTempInfoByDimmNum(MemTempInfo *ptTempInfo, uint32_t dwDimmNum);

/**
 * Stores one temperature record, 52 bytes, and raises the area's peak temperature to its iTemp (signed) if that is
 * higher.
 *
 * The record's dwDimmNum is the 0-based slot that is written, unlike the numbers of MW_GetMemTempInfoByDimmNum and
 * MW_SetMemCurrentTemp. A slot equal to the count is accepted; of 64 it lies in the asset records.
 * @return -1 also when the slot is greater than the count: prints "Dimm count over ".
 */
MW_API int32_t MW_SetMemTempInfo(const MemTempInfo *ptTempInfo);

/**
 * Stores a new reading in the temperature record of one DIMM: number, temperature, the two further readings,
 * ucTempValid (1 unless the temperature is 0) and the system uptime. Raises the area's peak temperature if this one is
 * higher. A temperature other than 0 also marks the DIMM as present and sets its preset-protect state to 1.
 * @param dwDimmNum DIMM number, 1-based: slot dwDimmNum - 1.
 * @param iTemp     degrees Celsius.
 * @return -1 also when the number exceeds the stored count (prints "Dimm count over ") or is 0 (prints
 *         "dwDimmNum invalid ").
 */
MW_API int32_t MW_SetMemCurrentTemp(uint32_t dwDimmNum, int32_t iTemp, uint32_t dwTempArg3, uint32_t dwTempArg4);

/** Reads and stores dwCpuMemGTemp in the temperature record of slot `dwIndex`, 0-based. An index above 63 gives -1,
 *  silent, after attaching and without the semaphore. */
MW_API int32_t MW_GetCpuMemGTemp(uint32_t dwIndex, uint32_t *pdwTemp);
MW_API int32_t MW_SetCpuMemGTemp(uint32_t dwIndex, uint32_t dwTemp);

/* --- what is plugged in, 824 bytes a record --------------------------------------------------------------------- */

/**
 * Copies the asset records out, back to back, and their number. The stored count is taken as it is.
 * @param ptAssetInfo room for 64 records.
 */
MW_API int32_t MW_GetMemAssetInfo(MemAssetInfo *ptAssetInfo, uint32_t *pdwCount);

/** Stores the number of asset records and that many records. Callers pass at most 64: the count is not checked. */
MW_API int32_t MW_SetMemAssetInfo(const MemAssetInfo *ptAssetInfo, uint32_t dwCount);

/* --- alarm states ----------------------------------------------------------------------------------------------- */

/**
 * Copies the alarm records of all DIMM slots out, 24 bytes each, back to back, and their number.
 * @param ptAlarmInfo room for 64 records.
 * @return -1 also when the stored count exceeds 64: prints "Dimm count over ".
 */
MW_API int32_t MW_GetMemAlarmInfo(MemAlarmInfo *ptAlarmInfo, uint32_t *pdwCount);

/**
 * Copies the alarm record, 24 bytes, of the first slot whose status record has this DIMM number.
 * @return 0 also when no slot has it: the buffer is as it was then. -1 also when the stored count exceeds 64: prints
 *         "Dimm count over ".
 */
MW_API int32_t MW_GetMemAlarmInfoByDimmNum(MemAlarmInfo *ptAlarmInfo, uint32_t dwDimmNum);

/**
 * Stores one alarm record, 24 bytes. Its dwDimmNum is the 0-based slot that is written; one equal to the count is
 * accepted.
 * @return -1 also when the slot is greater than the count: prints "Dimm count over ".
 */
MW_API int32_t MW_SetMemAlarmInfo(const MemAlarmInfo *ptAlarmInfo);

/**
 * Each stores the low 8 bits of `dwState` as one state of the first slot whose status record has this DIMM number.
 * @return -1 also, silently, when there are no slots or none has the number, and when the stored count exceeds 64:
 *         prints "Dimm count over ", but for MW_SetMemCorrectECCState and MW_SetMemCorrectECCCnt, which are silent.
 */
MW_API int32_t MW_SetMemCorrectECCState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemUnCorrectECCState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemMemParityState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemMemScrubFailState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemMemDisabledState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemCorrectECCLimitState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemPresetProtectState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemConfigurErrorState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemMemSpareState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemMemAutoThrottledState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemMemOverTempState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemPredictiveFailureState(uint32_t dwDimmNum, uint32_t dwState);
MW_API int32_t MW_SetMemIsolationState(uint32_t dwDimmNum, uint32_t dwState);

/** Stores the low 8 bits of `dwCount` as a DIMM's number of correctable errors. @return as the states above */
MW_API int32_t MW_SetMemCorrectECCCnt(uint32_t dwDimmNum, uint32_t dwCount);

/**
 * Clears the thirteen states of every counted slot; numbers and error counts stay.
 * @return -1 also, silently, when the stored count exceeds 64.
 */
MW_API int32_t MW_ClearMemStatusInfoALLStates(void);

/**
 * Replaces the event data of one assertion: the three low bytes of `dwEventData`, the lowest first, go over the first
 * of the DIMM's 15 entries whose first byte has the same low nibble as the lowest of them. Entries are laid out by
 * MW_SetMemDimmNuminStatusInfo, never added here.
 * @param dwDimmNum DIMM number: the first slot whose status record has it.
 * @return -1 also, silently, when there are no slots, none has the number or no entry the nibble; and when the stored
 *         count exceeds 64: "[FILE:LINE]FUNCTION:LINE Dimm count over " at level 130.
 */
MW_API int32_t MW_SetMemAssertSelEventDataInfo(uint32_t dwDimmNum, uint32_t dwEventData);

/**
 * Copies the 3 event-data bytes of the first entry whose first byte has the low nibble of `dwEventOffset`.
 * @param pucEventData 3 bytes.
 * @return as MW_SetMemAssertSelEventDataInfo
 */
MW_API int32_t MW_GetMemAssertSelEventDataInfo(uint32_t dwDimmNum, uint32_t dwEventOffset, uint8_t *pucEventData);

/* --- health ----------------------------------------------------------------------------------------------------- */

/* Instance numbers are the dwDimmNum words of the status records; of two slots with the same number the lower one
 * counts. A failed lock reads "[FILE:LINE][FUNCTION LINE] sem lock failed, ERROR" here. */

/** Clears the total health and that of every counted DIMM slot; the count has no upper bound. */
MW_API int32_t MW_InitMemHealthyStatusInfo(void);

/** Stores the total health, then the health of one DIMM. @return -1 also, silently, when no slot has the number: the
 *  total is stored nevertheless. */
MW_API int32_t MW_SetMemHealthyStatusInfo(uint32_t dwInstance, uint32_t dwHealth, uint32_t dwTotalHealth);

/** Reads the health of one DIMM. @return -1 also, silently, when no slot has the number. */
MW_API int32_t MW_GetMemHealthyStatusInfoByInst(uint32_t dwInstance, uint32_t *pdwHealth);

/** Reads the total health as last given; it is not derived from the DIMMs. */
MW_API int32_t MW_GetMemHealthyStatusInfoByTotal(uint32_t *pdwTotalHealth);

/* --- usage figures of the Management Engine --------------------------------------------------------------------- */

/** Each reads one usage figure, percent; 0xFFFFFFFF while its flag is not 85. */
MW_API int32_t MW_GetMemUsgInfo(uint32_t *pdwUsage);
MW_API int32_t MW_GetIoUsgInfo(uint32_t *pdwUsage);

/**
 * Each stores one usage figure and its flag.
 *
 * A process that gives the values of its last successful call again (0 and 0 before the first) gets 0 at once: nothing
 * is written then, also when another process has written other values since.
 * @param dwUsage percent; above 100: -1, silent, before anything else.
 * @param dwFlag  85 when the figure is valid.
 */
MW_API int32_t MW_SetMemUsgInfoFromME(uint32_t dwUsage, uint32_t dwFlag);
MW_API int32_t MW_SetIoUsgInfoFromME(uint32_t dwUsage, uint32_t dwFlag);

/* --- usage figures of the host's monitor ------------------------------------------------------------------------ */

/** Stores the memory usage: byte 0 of `dwPacked` as the flag (85: valid), byte 1 as the value handed out while not
 *  valid, byte 2 as the percentage; byte 3 is ignored. */
MW_API int32_t MW_SetMemUsgInfoFromHostMon(uint32_t dwPacked);

/** Reads the memory usage, percent; the other value of MW_SetMemUsgInfoFromHostMon while not valid. */
MW_API int32_t MW_GetMemUsgInfoFromHostMon(uint32_t *pdwUsage);

/** Reads the flag of the memory usage, 85 when valid. The pointer is not tested. A failed lock reads
 *  "[FILE:LINE][FUNCTION LINE] sem lock failed, ERROR". */
MW_API int32_t MW_IsHostMemUsgInfoEnabled(uint32_t *pdwEnable);

/** Makes the memory usage invalid: flag 0, both values 0xFFFFFFFF. */
MW_API int32_t MW_ClearMemUsgInfoFromHostMon(void);

/** Reads and stores the memory usage alarm. A status other than 0 and 1 is ignored; the result is 0 all the same. */
MW_API int32_t MW_GetHostMemUsgAlarmStatus(uint32_t *pdwStatus);
MW_API int32_t MW_SetHostMemUsgAlarmStatus(uint32_t dwStatus);

/**
 * Merges partitions into the stored ones: each of the first dwTotalPart records of the caller, 140 bytes, replaces the
 * stored one of the same name, or is appended when there is none and fewer than 26 are stored. Nothing is removed, and
 * the caller's alarm words are not used.
 * @return -1 also when the caller's or the stored count exceeds 26: "[FILE:LINE][FUNCTION] ... look out overflow" at
 *         level 130, and this process then STILL HOLDS semaphore 12291.
 */
MW_API int32_t MW_SetHardDiskUsageInfoFromHostMon(const HardDiskUsageInfo *ptUsageInfo);

/** Copies the whole block of partitions, 3748 bytes. */
MW_API int32_t MW_GetHardDiskUsgInfoFromHostMon(HardDiskUsageInfo *ptUsageInfo);

/** Zeroes the whole block of partitions, 3748 bytes. For processes that have attached before: it does not attach, and
 *  answers -1 after taking and releasing the semaphore when there is no area. */
MW_API int32_t MW_ClearHardDiskUsageInfoFromHostMon(void);

/** Reads and stores the alarm of one partition. A status other than 0 and 1 is ignored; the result is 0 all the same.
 *  @param dwIndex partition index, 0 to 25; above: -1, silent, before attaching. */
MW_API int32_t MW_GetHostHardDiskUsgAlarmStatus(uint32_t dwIndex, uint32_t *pdwStatus);
MW_API int32_t MW_SetHostHardDiskUsgAlarmStatus(uint32_t dwIndex, uint32_t dwStatus);

/* --- usage thresholds, in /conf/ext/hostusagecfg.ini ------------------------------------------------------------ */

/**
 * Each reads a threshold and its hysteresis, percent, from the file: 75 and 5 where it does not say. No semaphore, no
 * shared area.
 * @param pdwThreshold two words, threshold then hysteresis; not tested.
 * @return -1 when the file cannot be read.
 */
MW_API int32_t MW_GetMemUsageThreInfo(uint32_t *pdwThreshold);
MW_API int32_t MW_GetHardDiskUsageThreInfo(uint32_t *pdwThreshold);

/**
 * Each stores a threshold, and a hysteresis of 5 whatever `dwHysteresis` is. No semaphore: of two concurrent callers the
 * last one wins, for the whole file.
 * @return 0 also when saving fails; -1 when the file cannot be read and for a threshold above 100:
 *         "[FILE:LINE][FUNCTION] usage threshold can not exceed 100!" at level 130.
 */
MW_API int32_t MW_SetMemUsageThreInfo(uint32_t dwThreshold, uint32_t dwHysteresis);
MW_API int32_t MW_SetHardDiskUsageThreInfo(uint32_t dwThreshold, uint32_t dwHysteresis);

MW_END_DECLS

#endif
