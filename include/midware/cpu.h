/* Processors: inventory, temperatures and limits, regulator power, alarm states and SEL event data. Semaphore 12290.
 *
 * Processor indexes are 0-based. */
#ifndef MIDWARE_CPU_H
#define MIDWARE_CPU_H

#include "midware/base.h"

#define MW_CPU_MAX 8u
#define MW_CPU_SEL_ENTRY_MAX 15u
#define MW_CPU_TMARGIN_SIZE 8u

/* Where a processor sits, 68 bytes. */
typedef struct CpuPhyInfo {
    uint32_t dwCpuIndex;  /* 0-based */
    uint32_t dwSilkNum;   /* number printed on the board */
    uint32_t dwPresent;   /* 1: a processor is plugged in */
    char acSilkName[32];  /* socket designation (SMBIOS type 4) */
    uint32_t dwPackageId; /* the operating system's number of the package */
    uint32_t adwReserved[5];
} CpuPhyInfo;

MW_SIZE_IS(CpuPhyInfo, 68);

/* A processor's temperature and limits, 72 bytes. */
typedef struct CpuTempInfo {
    uint32_t dwCpuIndex;   /* chooses the record in MW_SetCpuTempInfo */
    uint32_t dwTempValid;  /* 1: iCurTemp is a reading */
    int32_t iCurTemp;      /* degrees Celsius */
    uint32_t dwReserved;
    uint32_t dwUCRTemp;    /* upper critical threshold, degrees Celsius */
    uint32_t adwReserved[12];
    uint8_t ucTjmax;       /* maximum junction temperature, degrees Celsius */
    uint8_t ucTcontrol;    /* fan control target, degrees below Tjmax */
    uint8_t aucPad[2];
} CpuTempInfo;

MW_SIZE_IS(CpuTempInfo, 72);
MW_OFFSET_IS(CpuTempInfo, dwCpuIndex, 0);
MW_OFFSET_IS(CpuTempInfo, dwTempValid, 4);
MW_OFFSET_IS(CpuTempInfo, iCurTemp, 8);
MW_OFFSET_IS(CpuTempInfo, dwUCRTemp, 16);
MW_OFFSET_IS(CpuTempInfo, ucTjmax, 68);
MW_OFFSET_IS(CpuTempInfo, ucTcontrol, 69);

/* A processor's sensor states, 20 bytes. A state byte holds what its setter was given, 0 for deasserted. */
typedef struct CpuAlarmInfo {
    uint32_t dwCpuIndex;  /* chooses the record in MW_SetCpuAlarmInfo */
    uint8_t ucIERRState;
    uint8_t ucThermalTripState;
    uint8_t ucFRB1FailureState;
    uint8_t ucFRB2FailureState;
    uint8_t ucFRB3FailureState;
    uint8_t ucConfigurErrorState;
    uint8_t ucComplexErrorState;
    uint8_t ucProcessorPresenceState;
    uint8_t ucProcessorDisabledState;
    uint8_t ucTerminatorPresenceState;
    uint8_t ucProcessorThrottledState;
    uint8_t ucUnCorrectMCEState;
    uint8_t ucCorrectMCEState;
    uint8_t aucPad[3];
} CpuAlarmInfo;

MW_SIZE_IS(CpuAlarmInfo, 20);
MW_OFFSET_IS(CpuAlarmInfo, dwCpuIndex, 0);
MW_OFFSET_IS(CpuAlarmInfo, ucIERRState, 4);
MW_OFFSET_IS(CpuAlarmInfo, ucThermalTripState, 5);
MW_OFFSET_IS(CpuAlarmInfo, ucFRB1FailureState, 6);
MW_OFFSET_IS(CpuAlarmInfo, ucFRB2FailureState, 7);
MW_OFFSET_IS(CpuAlarmInfo, ucFRB3FailureState, 8);
MW_OFFSET_IS(CpuAlarmInfo, ucConfigurErrorState, 9);
MW_OFFSET_IS(CpuAlarmInfo, ucComplexErrorState, 10);
MW_OFFSET_IS(CpuAlarmInfo, ucProcessorPresenceState, 11);
MW_OFFSET_IS(CpuAlarmInfo, ucProcessorDisabledState, 12);
MW_OFFSET_IS(CpuAlarmInfo, ucTerminatorPresenceState, 13);
MW_OFFSET_IS(CpuAlarmInfo, ucProcessorThrottledState, 14);
MW_OFFSET_IS(CpuAlarmInfo, ucUnCorrectMCEState, 15);
MW_OFFSET_IS(CpuAlarmInfo, ucCorrectMCEState, 16);

/* A processor's state, 232 bytes. The host's usage figures live in record 0 only. */
typedef struct CpuStatusInfo {
    uint32_t dwCpuIndex;
    uint32_t dwSilkNum;           /* number printed on the board: the instance number of the healthy-status functions */
    uint32_t dwPresentStatus;     /* 1: present */
    uint32_t adwReserved1[8];
    uint32_t dwHealthyStatus;
    uint32_t dwCpuVRPower;        /* power of the processor's voltage regulator, watts */
    uint32_t dwDimmVRPower;       /* power of the DIMM voltage regulator at this processor, watts */
    CpuTempInfo tTempInfo;
    uint32_t dwHostCpuUsgEnable;  /* 85: dwHostCpuUsg is valid */
    uint32_t dwHostCpuUsg;        /* percent, from the host's monitor */
    uint32_t dwHostCpuUsgAlt;     /* handed out while not valid */
    uint32_t dwMeUsgValid;        /* 85: dwMeUsage is valid */
    uint32_t dwMeUsage;           /* percent, from the Management Engine */
    uint32_t adwReserved2[3];
    uint32_t dwHostCpuUsgAlarm;   /* 0 or 1 */
    CpuAlarmInfo tAlarmInfo;
    uint8_t atAssertEventData[MW_CPU_SEL_ENTRY_MAX][3]; /* IPMI event data 1 to 3; the low nibble of byte 0 is the event
                                                           offset that names the entry */
    uint8_t aucPad[3];
} CpuStatusInfo;

MW_SIZE_IS(CpuStatusInfo, 232);
MW_OFFSET_IS(CpuStatusInfo, dwCpuIndex, 0);
MW_OFFSET_IS(CpuStatusInfo, dwSilkNum, 4);
MW_OFFSET_IS(CpuStatusInfo, dwPresentStatus, 8);
MW_OFFSET_IS(CpuStatusInfo, dwHealthyStatus, 44);
MW_OFFSET_IS(CpuStatusInfo, dwCpuVRPower, 48);
MW_OFFSET_IS(CpuStatusInfo, dwDimmVRPower, 52);
MW_OFFSET_IS(CpuStatusInfo, tTempInfo, 56);
MW_OFFSET_IS(CpuStatusInfo, dwHostCpuUsgEnable, 128);
MW_OFFSET_IS(CpuStatusInfo, dwHostCpuUsg, 132);
MW_OFFSET_IS(CpuStatusInfo, dwHostCpuUsgAlt, 136);
MW_OFFSET_IS(CpuStatusInfo, dwMeUsgValid, 140);
MW_OFFSET_IS(CpuStatusInfo, dwMeUsage, 144);
MW_OFFSET_IS(CpuStatusInfo, dwHostCpuUsgAlarm, 160);
MW_OFFSET_IS(CpuStatusInfo, tAlarmInfo, 164);
MW_OFFSET_IS(CpuStatusInfo, atAssertEventData, 184);

/* What is plugged in, 1388 bytes; the texts and figures are those of an SMBIOS type 4 structure (DSP0134). */
typedef struct CpuAssetInfo {
    uint32_t dwCpuId;              /* the identifier that MW_SetCpuFrequency matches */
    char acManufacturer[64];       /* a text that begins with "AMD" narrows the PCIe slots shown to upper interfaces */
    char acModel[128];             /* model name */
    char acSocket[64];             /* socket designation */
    char acSerialNum[64];
    char acPartNum[64];
    char acMicrocode[32];          /* revision as the kernel prints it */
    char acArchitecture[32];       /* "x86_64", "aarch64" */
    uint32_t dwFamily;
    uint32_t dwModel;
    uint32_t dwStepping;
    uint32_t dwCoreCount;          /* cores in this package */
    uint32_t dwThreadCount;        /* logical processors in this package */
    uint32_t dwMaxFrequency;       /* MHz; 0: unknown */
    uint32_t dwMinFrequency;       /* MHz; 0: unknown */
    uint32_t dwL1DataKB;           /* KiB, of one core's cache; 0: unknown */
    uint32_t dwL1InstructionKB;
    uint32_t dwL2KB;
    uint32_t dwL3KB;               /* KiB, of one such cache */
    uint32_t adwReserved1[146];
    uint32_t dwFrequency;          /* current frequency, MHz */
    uint32_t adwReserved2[76];
} CpuAssetInfo;

MW_SIZE_IS(CpuAssetInfo, 1388);
MW_OFFSET_IS(CpuAssetInfo, dwCpuId, 0);
MW_OFFSET_IS(CpuAssetInfo, acManufacturer, 4);
MW_OFFSET_IS(CpuAssetInfo, dwFrequency, 1080);

MW_BEGIN_DECLS

/* Every function below answers 0 on success and -1 otherwise, and on -1 has changed nothing, unless it says more. It
 * answers -1
 *   - at once and silently when a pointer is NULL that is not marked as untested;
 *   - when this process is not attached and cannot be (MW_MidMemCheck prints its line);
 *   - when semaphore 12290 was not had within 500 ms: "[FILE:LINE][FUNCTION LINE] sem lock failed, ERROR" at level 130;
 *   - when a stored count or a given index that is not checked leads outside the shared area: one line at level 130.
 * Inside the shared area unchecked counts and indexes are followed into neighbouring fields.
 *
 * The bounds are uneven. Of a processor index `dwIndex`, 0-based, and the stored count
 *   - a loose function refuses dwIndex > count: an index equal to the count is accepted, and of 8 it lies in the first
 *     asset record;
 *   - a strict one refuses dwIndex >= count;
 *   - a bounded one refuses dwIndex >= count and a count above 8.
 * The refusal is "FUNCTION:LINE Cpu count over " on standard output, or where it says "logs",
 * "[FILE:LINE]FUNCTION:LINE Cpu count over " at level 130, written before the semaphore is released. */

/* --- counts and totals ------------------------------------------------------------------------------------------ */

/** Reads the number of asset records, which may differ from that of the physical and status records. */
MW_API int32_t MW_GetCpuCount(uint32_t *pdwCount);

/** Reads and stores the total processor power as its collector gives it, 16 bits. */
MW_API int32_t MW_GetCpuTotalPower(uint16_t *pwPower);
MW_API int32_t MW_SetCpuTotalPower(uint16_t wPower);

/** Stores the processor mismatch state, one byte, as given. */
MW_API int32_t MW_SetCpuMismatchState(uint8_t ucState);

/* --- records ---------------------------------------------------------------------------------------------------- */

/**
 * Each copies all records of its kind out, back to back, and their number. The stored count is taken as it is.
 * @param ptPhyInfo, ptAssetInfo room for 8 records, 68 and 1388 bytes each.
 */
MW_API int32_t MW_GetCpuPhyInfo(CpuPhyInfo *ptPhyInfo, uint32_t *pdwCount);
MW_API int32_t MW_GetCpuAssetInfo(CpuAssetInfo *ptAssetInfo, uint32_t *pdwCount);

/** Each stores the count and that many records: physical ones (68 bytes), asset records (1388 bytes), whole status
 *  records (232 bytes; the host's usage figures become those of the first). The physical and the status records share
 *  their count. Callers pass at most 8: the count is not checked. */
MW_API int32_t MW_SetCpuPhyInfo(const CpuPhyInfo *ptPhyInfo, uint32_t dwCount);
MW_API int32_t MW_SetCpuAssetInfo(const CpuAssetInfo *ptAssetInfo, uint32_t dwCount);
MW_API int32_t MW_SetCpuIndexAndSilkNumInStatusInfo(const CpuStatusInfo *ptStatusInfo, uint32_t dwCount);

/** Stores dwCpuIndex = `dwIndex` and dwPresentStatus = `dwStatus` in status record `dwIndex`, which is not checked. */
MW_API int32_t MW_SetCpuPresentStatus(uint32_t dwIndex, uint32_t dwStatus);

/** Stores the current frequency, MHz, in the first asset record whose dwCpuId is `dwCpuId`; -1, silent, when there is
 *  none. */
MW_API int32_t MW_SetCpuFrequency(uint32_t dwFrequency, uint32_t dwCpuId);

/* --- temperatures and limits ------------------------------------------------------------------------------------ */

/**
 * Copies the temperature records of all processors out, 72 bytes each, back to back, and their number.
 * @param ptTempInfo room for 8 records.
 * @return -1 also when the stored count exceeds 8: "FUNCTION:LINE Cpu count over " on standard output.
 */
MW_API int32_t MW_GetCpuTempInfo(CpuTempInfo *ptTempInfo, uint32_t *pdwCount);

/** Copies one temperature record, 72 bytes. Bounded. */
MW_API int32_t MW_GetCpuTempInfoByID(CpuTempInfo *ptTempInfo, uint32_t dwIndex);

/** Stores one temperature record, 72 bytes, as given, in the status record that its dwCpuIndex names, and raises the
 *  area's peak temperature to its iCurTemp (signed) if that is higher. Loose. */
MW_API int32_t MW_SetCpuTempInfo(const CpuTempInfo *ptTempInfo);

/** Stores a new reading, degrees Celsius: iCurTemp, and dwTempValid, 1 unless the reading is 0. Raises the area's peak
 *  temperature if this one is higher. Loose. */
MW_API int32_t MW_SetCpuCurrentTemp(uint32_t dwIndex, int32_t iTemp);

/**
 * Each reads one field of a temperature record: dwTempValid, ucTjmax, ucTcontrol.
 *
 * Loose, with the index checked after attaching and before the semaphore is taken, not again later. The pointer is not
 * tested.
 */
MW_API int32_t MW_GetCpuTempValidFlag(uint32_t dwIndex, uint32_t *pdwFlag);
MW_API int32_t MW_GetCpuTjmax(uint32_t dwIndex, uint8_t *pucTjmax);
MW_API int32_t MW_GetCpuTcontrol(uint32_t dwIndex, uint8_t *pucTcontrol);

/** Each stores one field of a temperature record: dwUCRTemp, ucTjmax, ucTcontrol, degrees Celsius. Loose. */
MW_API int32_t MW_SetCpuUCRTemp(uint32_t dwIndex, uint32_t dwTemp);
MW_API int32_t MW_SetCpuTjmax(uint32_t dwIndex, uint8_t ucTjmax);
MW_API int32_t MW_SetCpuTcontrol(uint32_t dwIndex, uint8_t ucTcontrol);

/** Read and store a processor's margin to its thermal limit, 8 bytes that the library does not interpret. An index above
 *  7 gives -1, silent, before attaching; the stored count does not matter. */
MW_API int32_t MW_GetCpuTmargin(uint32_t dwIndex, void *pTmargin);
MW_API int32_t MW_SetCpuTmargin(uint32_t dwIndex, const void *pTmargin);

/* --- voltage regulators ----------------------------------------------------------------------------------------- */

/** Read the power of a processor's voltage regulator and of its DIMMs' regulator, watts. Bounded; a refusal logs. The
 *  pointer is not tested. */
MW_API int32_t MW_GetCpuxVRPower(uint32_t dwIndex, uint32_t *pdwPower);
MW_API int32_t MW_GetPxDimmVRPower(uint32_t dwIndex, uint32_t *pdwPower);

/** Stores the power of a processor's voltage regulator, watts. Loose. */
MW_API int32_t MW_SetCpuxVRPower(uint32_t dwIndex, uint32_t dwPower);

/** Stores the power of the regulator of a processor's DIMMs, watts. Strict. */
MW_API int32_t MW_SetPxDimmVRPower(uint32_t dwIndex, uint32_t dwPower);

/* --- alarm states ----------------------------------------------------------------------------------------------- */

/**
 * Copies the alarm records of all processors out, 20 bytes each, back to back, and their number.
 * @param ptAlarmInfo room for 8 records.
 * @return -1 also when the stored count exceeds 8: "FUNCTION:LINE Cpu count over " on standard output.
 */
MW_API int32_t MW_GetCpuAlarmInfo(CpuAlarmInfo *ptAlarmInfo, uint32_t *pdwCount);

/** Copies one alarm record, 20 bytes. Bounded. The index comes first, unlike in MW_GetCpuTempInfoByID. */
MW_API int32_t MW_GetCpuAlarmInfoByID(uint32_t dwIndex, CpuAlarmInfo *ptAlarmInfo);

/** Stores one alarm record, 20 bytes, in the status record that its dwCpuIndex names. Loose. */
MW_API int32_t MW_SetCpuAlarmInfo(const CpuAlarmInfo *ptAlarmInfo);

/** Each stores one state byte of a processor as given. Loose. */
MW_API int32_t MW_SetCpuIERRState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuThermalTripState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuFRB1FailureState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuFRB2FailureState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuFRB3FailureState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuConfigurErrorState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuComplexErrorState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuProcessorPresenceState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuProcessorDisabledState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuTerminatorPresenceState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuProcessorThrottledState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuUnCorrectMCEState(uint32_t dwIndex, uint8_t ucState);
MW_API int32_t MW_SetCpuCorrectMCEState(uint32_t dwIndex, uint8_t ucState);

/** Reads ucUnCorrectMCEState of a processor. Bounded; a refusal logs. */
MW_API int32_t MW_GetCpuUnCorrectMCEState(uint32_t dwIndex, uint8_t *pucState);

/** Clears the states of every counted processor, but for ucProcessorPresenceState: clearing alarms never makes a present
 *  processor look absent. The count has no upper bound. */
MW_API int32_t MW_ClearAllCPUAlarmInfoAllStates(void);

/**
 * Replaces the event data of one assertion: the three low bytes of `dwEventData`, the lowest first, go over the first of
 * the processor's 15 entries whose first byte has the same low nibble as the lowest of them. Entries are laid out by
 * MW_SetCpuIndexAndSilkNumInStatusInfo, never added here. Loose; a refusal logs.
 * @return -1 also when no entry has the nibble: "[FILE:LINE]FUNCTION:LINE Cpu INDEX event data1:0xNN not found " at
 *         level 130, with the lowest byte.
 */
MW_API int32_t MW_SetCpuAssertSelEventDataInfo(uint32_t dwIndex, uint32_t dwEventData);

/**
 * Copies the 3 event-data bytes of the first entry whose first byte has the same low nibble as pucEventData[0]. Loose; a
 * refusal logs.
 * @param dwData1      what the message of an entry not found shows, nothing else.
 * @param pucEventData 3 bytes, in and out.
 * @return -1 also when no entry has the nibble, with the message of MW_SetCpuAssertSelEventDataInfo.
 */
MW_API int32_t MW_GetCpuAssertSelEventDataInfo(uint32_t dwIndex, uint32_t dwData1, uint8_t *pucEventData);

/* --- health ----------------------------------------------------------------------------------------------------- */

/* Instance numbers are the dwSilkNum words of the status records; of two records with the same number the lower one
 * counts. */

/** Clears the total health and that of every counted processor; the count has no upper bound. */
MW_API int32_t MW_InitCpuHealthyStatusInfo(void);

/** Stores the total health, then the health of one processor. @return -1 also, silently, when no record has the number:
 *  the total is stored nevertheless. */
MW_API int32_t MW_SetCpuHealthyStatusInfo(uint32_t dwInstance, uint32_t dwHealth, uint32_t dwTotalHealth);

/** Reads the health of one processor. @return -1 also, silently, when no record has the number. */
MW_API int32_t MW_GetCpuHealthyStatusInfoByInst(uint32_t dwInstance, uint32_t *pdwHealth);

/** Reads the total health as last given; it is not derived from the processors. */
MW_API int32_t MW_GetCpuHealthyStatusInfoByTotal(uint32_t *pdwTotalHealth);

/* --- usage figures ---------------------------------------------------------------------------------------------- */

/** Reads the usage that the Management Engine reported, percent; 0xFFFFFFFF while its flag is not 85. */
MW_API int32_t MW_GetCpuUsgInfo(uint32_t *pdwUsage);

/**
 * Stores the usage that the Management Engine reports, and its flag.
 *
 * A process that gives the values of its last successful call again gets 0 at once: nothing is written then, also when
 * another process has written other values since.
 * @param dwUsage percent; above 100: -1, silent, before anything else.
 * @param dwValid 85 when the figure is valid.
 */
MW_API int32_t MW_SetCpuUsgInfoFromME(uint32_t dwUsage, uint32_t dwValid);

/** Stores the usage that the host's monitor reports: byte 0 of `dwPacked` as the flag (85: valid), byte 1 as the value
 *  handed out while not valid, byte 2 as the percentage; byte 3 is ignored. */
MW_API int32_t MW_SetCpuUsgInfoFromHostMon(uint32_t dwPacked);

/** Reads the usage that the host's monitor reported, percent; the other value of MW_SetCpuUsgInfoFromHostMon while not
 *  valid. */
MW_API int32_t MW_GetCpuUsgInfoFromHostMon(uint32_t *pdwUsage);

/** Reads the flag of that usage, 85 when valid. The pointer is not tested. */
MW_API int32_t MW_IsHostCpuUsgInfoEnabled(uint32_t *pdwEnable);

/** Makes that usage invalid: flag 0, both values 0xFFFFFFFF. */
MW_API int32_t MW_ClearCpuUsgInfoFromHostMon(void);

/** Reads and stores the usage alarm. A status other than 0 and 1 is ignored; the result is 0 all the same. */
MW_API int32_t MW_GetHostCpuUsgAlarmStatus(uint32_t *pdwStatus);
MW_API int32_t MW_SetHostCpuUsgAlarmStatus(uint32_t dwStatus);

/**
 * Reads the usage threshold and its hysteresis, percent, from /conf/ext/hostusagecfg.ini: 75 and 5 where it does not
 * say. No semaphore, no shared area.
 * @param pdwThreshold two words, threshold then hysteresis; not tested.
 * @return -1 when the file cannot be read.
 */
MW_API int32_t MW_GetCpuUsageThreInfo(uint32_t *pdwThreshold);

/**
 * Stores the usage threshold, and a hysteresis of 5 whatever `dwHysteresis` is. No semaphore: of two concurrent callers
 * the last one wins, for the whole file.
 * @return 0 also when saving fails; -1 when the file cannot be read and for a threshold above 100:
 *         "[FILE:LINE][FUNCTION] usage threshold can not exceed 100!" at level 130.
 */
MW_API int32_t MW_SetCpuUsageThreInfo(uint32_t dwThreshold, uint32_t dwHysteresis);

MW_END_DECLS

#endif
