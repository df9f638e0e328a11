/* Host power, ACPI, boot and reset state, board power readings and limits, the board battery. Semaphore 12296. */
#ifndef MIDWARE_POWER_H
#define MIDWARE_POWER_H

#include "midware/base.h"

#define MW_POWER_HISTORY_MAX 60u
#define MW_POWER_LIMIT_MODEL_MAX 8u

/* ACPI power states as bits at the offsets of an IPMI sensor of type 22h; the store acts on these three alone. */
#define MW_ACPI_S0_WORKING 1u
#define MW_ACPI_S3_SLEEPING 8u
#define MW_ACPI_S5_SOFT_OFF 32u

/* Bit 3 of an IPMI sensor of type 20h: the operating system shut down gracefully. */
#define MW_OS_STOP_GRACEFUL 8u

/* Conventions of the power services for the words that the store keeps as they are given. */
#define MW_POWER_OFF 0u
#define MW_POWER_ON 1u
#define MW_POWER_POLICY_ALWAYS_OFF 0u /* after mains power returns: IPMI, Get Chassis Status */
#define MW_POWER_POLICY_PREVIOUS 1u
#define MW_POWER_POLICY_ALWAYS_ON 2u

/* Places in BoardPowerInfo.adwPowerCurrent, in the order of the DCMI power reading. */
#define MW_BOARD_POWER_CURRENT 0u
#define MW_BOARD_POWER_MINIMUM 1u
#define MW_BOARD_POWER_MAXIMUM 2u
#define MW_BOARD_POWER_AVERAGE 3u

/* Board power, 748 bytes: bytes 60 to 807 of the power area. All values in watts. */
typedef struct BoardPowerInfo {
    uint32_t adwPowerCurrent[4];                      /* see MW_BOARD_POWER_... */
    uint32_t adwPowerHistory1[MW_POWER_HISTORY_MAX];  /* average of each interval */
    uint32_t adwPowerHistory2[MW_POWER_HISTORY_MAX];  /* peak of each interval */
    uint32_t adwPowerHistory3[MW_POWER_HISTORY_MAX];  /* minimum of each interval */
    uint32_t dwPowerThres1;                           /* upper non-critical threshold */
    uint32_t dwPowerThres2;                           /* upper critical threshold */
    uint32_t dwTDP;                                   /* thermal design power of the processors */
} BoardPowerInfo;

MW_SIZE_IS(BoardPowerInfo, 748);
MW_OFFSET_IS(BoardPowerInfo, adwPowerHistory1, 16);
MW_OFFSET_IS(BoardPowerInfo, adwPowerHistory2, 256);
MW_OFFSET_IS(BoardPowerInfo, adwPowerHistory3, 496);
MW_OFFSET_IS(BoardPowerInfo, dwPowerThres1, 736);
MW_OFFSET_IS(BoardPowerInfo, dwPowerThres2, 740);
MW_OFFSET_IS(BoardPowerInfo, dwTDP, 744);

/* One set of power limit parameters, 24 bytes; the fields of the DCMI command Set Power Limit. The library carries it
 * whole. */
typedef struct PowerLimitModel {
    uint32_t dwEnable;           /* 1: the model may be activated */
    uint32_t dwPowerLimit;       /* W */
    uint32_t dwCorrectionTime;   /* ms within which power must be back below the limit */
    uint32_t dwExceptionAction;  /* when it is not: 0 nothing, 1 hard power off, 17 log an event */
    uint32_t dwSamplingPeriod;   /* s over which power is averaged */
    uint32_t dwDomain;           /* what is limited: 0 the board, 1 the processors, 2 the memory */
} PowerLimitModel;

MW_SIZE_IS(PowerLimitModel, 24);

/* Power limits, 208 bytes: bytes 808 to 1015 of the power area. */
typedef struct BoardPowerLimitInfo {
    uint32_t dwPowerLimitCtrl1;       /* 1: the board's limit is active */
    uint32_t dwPowerLimitCtrl2;       /* the board's limit, W */
    uint32_t dwCpuPowerLimit;         /* the processors' limit, W */
    uint32_t dwBoardPowerLimitModel;  /* the model in force: an index of atPowerLimitModel */
    PowerLimitModel atPowerLimitModel[MW_POWER_LIMIT_MODEL_MAX];
} BoardPowerLimitInfo;

MW_SIZE_IS(BoardPowerLimitInfo, 208);
MW_OFFSET_IS(BoardPowerLimitInfo, dwCpuPowerLimit, 8);
MW_OFFSET_IS(BoardPowerLimitInfo, dwBoardPowerLimitModel, 12);
MW_OFFSET_IS(BoardPowerLimitInfo, atPowerLimitModel, 16);

/* Boot errors, 20 bytes: a word for each offset of an IPMI sensor of type 1Eh, 1 where asserted. No function of the
 * library writes any but the first. */
typedef struct BootErrorInfo {
    uint32_t dwNoBootableMediaState;
    uint32_t dwNonBootableDisketteState;
    uint32_t dwPxeServerNotFoundState;
    uint32_t dwInvalidBootSectorState;
    uint32_t dwBootSelectionTimeoutState;
} BootErrorInfo;

MW_SIZE_IS(BootErrorInfo, 20);
MW_OFFSET_IS(BootErrorInfo, dwNoBootableMediaState, 0);

MW_BEGIN_DECLS

/*
 * Every function here takes semaphore 12296 for one access and answers 0, or -1 when the process could not be attached
 * ("MW_MidMemCheck:LINE Memory init error" on standard output) or the semaphore not be had within 500 ms (one
 * "sem lock failed" line at level 130); nothing is read or written then. No value is validated.
 */

/**
 * Single words, stored as given: each setter writes the word that its name says and no other byte.
 * MW_SetCpuPowerGood is read back by MW_GetPowerFaultState, MW_SetTDPInfo by MW_GetBoardPowerInfo,
 * MW_SetCpuPowerLimitInfo and MW_SetBoardPowerLimitModel by MW_GetBoardPowerLimitInfo, and
 * MW_SetBootErrorNoBootableMediaState by MW_GetBootErrorInfo. The shutdown button word has no getter: it steers
 * MW_SetPowerACPIStatus.
 */
MW_API int32_t MW_SetPowerStatus(uint32_t dwStatus);
MW_API int32_t MW_SetPowerPolicy(uint32_t dwPolicy);
MW_API int32_t MW_SetPowerButtonState(uint32_t dwState);
MW_API int32_t MW_SetShutDownPwrButtonPressed(uint32_t dwPressed);
MW_API int32_t MW_SetOsStopState(uint32_t dwState);
MW_API int32_t MW_SetHostRestartEffect(uint32_t dwEffect);
MW_API int32_t MW_SetSystemFirmwareProgressState(uint32_t dwState);
MW_API int32_t MW_SetOsBootState(uint32_t dwState);
MW_API int32_t MW_SetBiosBootUpState(uint32_t dwState);
MW_API int32_t MW_SetMeState(uint32_t dwState);
MW_API int32_t MW_SetCpuPowerGood(uint32_t dwPowerGood);
MW_API int32_t MW_SetPwrGdErrFlag(uint32_t dwFlag);
MW_API int32_t MW_SetTDPInfo(uint32_t dwTDP);
MW_API int32_t MW_SetCpuPowerLimitInfo(uint32_t dwLimit);
MW_API int32_t MW_SetBoardPowerLimitModel(uint32_t dwModel);
MW_API int32_t MW_SetBootErrorNoBootableMediaState(uint32_t dwState);

/**
 * Single words, read into 4 bytes of the caller's. The pointer is NOT tested: it is written through once the semaphore
 * is held. MW_GetPowerFaultState hands out the word that MW_SetCpuPowerGood stores; there is no other.
 */
MW_API int32_t MW_GetPowerStatus(uint32_t *pdwStatus);
MW_API int32_t MW_GetPowerPolicy(uint32_t *pdwPolicy);
MW_API int32_t MW_GetPowerACPIStatus(uint32_t *pdwStatus);
MW_API int32_t MW_GetPowerButtonState(uint32_t *pdwState);
MW_API int32_t MW_GetHostRestartStatus(uint32_t *pdwState);
MW_API int32_t MW_GetOsStopState(uint32_t *pdwState);
MW_API int32_t MW_GetHostRestartEffect(uint32_t *pdwEffect);
MW_API int32_t MW_GetSystemFirmwareProgressState(uint32_t *pdwState);
MW_API int32_t MW_GetOsBootState(uint32_t *pdwState);
MW_API int32_t MW_GetBiosBootUpState(uint32_t *pdwState);
MW_API int32_t MW_GetMeState(uint32_t *pdwState);
MW_API int32_t MW_GetPowerFaultState(uint32_t *pdwState);
MW_API int32_t MW_GetPwrGdErrFlag(uint32_t *pdwFlag);

/**
 * Stores a new ACPI state and keeps the books of how the host stopped:
 * - from exactly 1 or 8 to 32 with the shutdown button word 0, the OS stop state becomes 8: the host went off by
 *   itself;
 * - from 32 to anything else, the shutdown button word becomes 0 and
 *   "[power/hov_midpwr:LINE]MW_SetPowerACPIStatus power up,set shut down power button 0" is logged at level 130.
 */
MW_API int32_t MW_SetPowerACPIStatus(uint32_t dwStatus);

/** Adds restart causes to the stored ones (bitwise or), or clears them all with 0. */
MW_API int32_t MW_SetHostRestartState(uint32_t dwCauses);

/** Stores the two control words of the board's power limit. */
MW_API int32_t MW_SetBoardPowerLimitCtrlInfo(uint32_t dwCtrl1, uint32_t dwCtrl2);

/** Stores the two control words and the processors' limit, the word that MW_SetCpuPowerLimitInfo stores as well. */
MW_API int32_t MW_SetBoardPowerLimitInfo(uint32_t dwCtrl1, uint32_t dwCtrl2, uint32_t dwCpuLimit);

/** Stores the two board power thresholds. */
MW_API int32_t MW_SetBoardPowerThresInfo(uint32_t dwThres1, uint32_t dwThres2);

/** Reads the two thresholds. The pointers are NOT tested. */
MW_API int32_t MW_GetBoardPowerThresInfo(uint32_t *pdwThres1, uint32_t *pdwThres2);

/** Stores the four current readings, see MW_BOARD_POWER_... */
MW_API int32_t MW_SetBoardPowerCurrentInfo(uint32_t dwCurrent, uint32_t dwMinimum, uint32_t dwMaximum,
                                           uint32_t dwAverage);

/**
 * Stores one entry of each of the three history series.
 * @param dwIndex 0-based; 0 to 59 are the entries. Not checked: 60 and more run on into the following series and
 *                fields, each value 4 * index bytes behind the start of its series.
 * @return also -1, with one line at level 130 and nothing written, where the third value would lie outside the shared
 *         area.
 */
MW_API int32_t MW_SetBoardPowerHistoryInfo(uint32_t dwIndex, uint32_t dwValue1, uint32_t dwValue2, uint32_t dwValue3);

/**
 * Stores one power limit model, 24 bytes.
 * @param dwIndex 0-based, 0 to 7; others: -1, silent, before attaching.
 * @param pModel  a PowerLimitModel; NULL: -1, silent.
 */
MW_API int32_t MW_SetPowerLimitModel(uint32_t dwIndex, const void *pModel);

/** Copies a BoardPowerLimitInfo out, 208 bytes. NULL: -1, silent. */
MW_API int32_t MW_GetBoardPowerLimitInfo(void *pInfo);

/** Copies a BoardPowerInfo out, 748 bytes. The pointer is NOT tested. */
MW_API int32_t MW_GetBoardPowerInfo(void *pInfo);

/** Copies a BootErrorInfo out, 20 bytes. The pointer is NOT tested. */
MW_API int32_t MW_GetBootErrorInfo(void *pInfo);

/** Stores the board battery's converter reading and its companion byte. */
MW_API int32_t MW_SetBoardBatAdcInfo(uint16_t wAdc, uint8_t ucInfo);

/** Reads both. Either pointer NULL: -1, silent. */
MW_API int32_t MW_GetBoardBatAdcInfo(uint16_t *pwAdc, uint8_t *pucInfo);

/** Stores the flag of the battery's production test: 1 for any value but 0. */
MW_API int32_t MW_SetBoardBatProdTestFlag(uint32_t dwFlag);

/** Reads the flag, 1 byte. NULL: -1, silent. */
MW_API int32_t MW_GetBoardBatProdTestFlag(uint8_t *pucFlag);

MW_END_DECLS

#endif
