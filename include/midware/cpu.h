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

#endif
