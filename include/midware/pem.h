/* Power entry modules (PEMs, the server's power supplies): identity, presence, readings, status, modes.
 * Semaphore 12292. */
#ifndef MIDWARE_PEM_H
#define MIDWARE_PEM_H

#include "midware/base.h"

#define MW_PEM_MAX 4u
#define MW_PEM_TEXT_SIZE 32u

/* Values of the supply-wide words. */
#define MW_PEM_REDUNDANT 1u        /* redundance status */
#define MW_PEM_REDUNDANCY_LOST 2u
#define MW_PEM_MIXED 2u            /* mixed status: supplies of different kinds */

/* Conventions of the collectors for PemOnlinePhy.dwInputType and PemStatusInfo.dwInputType. */
#define MW_PEM_INPUT_UNKNOWN 0u
#define MW_PEM_INPUT_AC 1u
#define MW_PEM_INPUT_DC 2u

/* Conventions of the collectors for PemStatusInfo.dwSensorState: the bits of an IPMI sensor of type 08h. */
#define MW_PEM_SENSOR_PRESENT 0x01u
#define MW_PEM_SENSOR_FAILURE 0x02u
#define MW_PEM_SENSOR_PREDICTIVE_FAILURE 0x04u
#define MW_PEM_SENSOR_INPUT_LOST 0x08u
#define MW_PEM_SENSOR_INPUT_LOST_OR_RANGE 0x10u
#define MW_PEM_SENSOR_INPUT_OUT_OF_RANGE 0x20u
#define MW_PEM_SENSOR_CONFIG_ERROR 0x40u
#define MW_PEM_SENSOR_INACTIVE 0x80u

/* A temperature that was not read; other readings that were not read hold MW_NO_VALUE. */
#define MW_PEM_NO_TEMPERATURE (-2147483647 - 1)

/* What can be told of a supply without its PMBus, 48 bytes. The library carries it whole. */
typedef struct PemOnlinePhy {
    uint32_t dwPemIndex;      /* PEM number, 1-based */
    uint32_t dwPresent;       /* 1: plugged in */
    uint32_t dwOnline;        /* 1: delivers power */
    uint32_t dwPowerGood;     /* 1: its power-good signal is asserted */
    uint32_t dwInputPresent;  /* 1: its input is within range */
    uint32_t dwAlert;         /* 1: it asks for attention (SMBALERT#) */
    uint32_t dwInputType;     /* MW_PEM_INPUT_... */
    uint32_t dwRatedPower;    /* W */
    uint32_t dwBus;           /* I2C bus number */
    uint32_t dwAddress;       /* 7-bit address on it */
    uint32_t dwReadErrors;    /* failed readings since it was plugged in */
    uint32_t dwReserved;
} PemOnlinePhy;

MW_SIZE_IS(PemOnlinePhy, 48);

/* PMBus readings, 164 bytes; the command of each is given in hexadecimal. The library carries the record whole. */
typedef struct PemPmbusPhy {
    uint32_t dwPemIndex;          /* PEM number, 1-based */
    uint32_t dwRes;               /* 0: the readings are valid */
    uint32_t dwStatusWord;        /* 79 STATUS_WORD */
    uint8_t ucStatusVout;         /* 7A */
    uint8_t ucStatusIout;         /* 7B */
    uint8_t ucStatusInput;        /* 7C */
    uint8_t ucStatusTemperature;  /* 7D */
    uint8_t ucStatusCml;          /* 7E */
    uint8_t ucStatusOther;        /* 7F */
    uint8_t ucStatusMfrSpecific;  /* 80 */
    uint8_t ucStatusFans;         /* 81 STATUS_FANS_1_2 */
    uint32_t dwVin;               /* 88, mV */
    uint32_t dwIin;               /* 89, mA */
    uint32_t dwPin;               /* 97, mW */
    uint32_t dwVcap;              /* 8A, mV */
    uint32_t dwVout;              /* 8B, mV */
    uint32_t dwIout;              /* 8C, mA */
    uint32_t dwPout;              /* 96, mW */
    int32_t alTemperature[3];     /* 8D to 8F, thousandths of a degree Celsius */
    uint32_t adwFanSpeed[4];      /* 90 to 93, revolutions a minute */
    uint32_t dwDutyCycle;         /* 94, permille */
    uint32_t dwFrequency;         /* 95, Hz */
    uint32_t dwEnergyIn;          /* 86 READ_EIN, J */
    uint32_t dwEnergyOut;         /* 87 READ_EOUT, J */
    uint32_t dwMfrVinMin;         /* A0, mV */
    uint32_t dwMfrVinMax;         /* A1, mV */
    uint32_t dwMfrIinMax;         /* A2, mA */
    uint32_t dwMfrPinMax;         /* A3, mW */
    uint32_t dwMfrVoutMin;        /* A4, mV */
    uint32_t dwMfrVoutMax;        /* A5, mV */
    uint32_t dwMfrIoutMax;        /* A6, mA */
    uint32_t dwMfrPoutMax;        /* A7, mW: the rated power */
    int32_t lMfrTambientMax;      /* A8, thousandths of a degree Celsius */
    uint32_t dwCapability;        /* 19 CAPABILITY */
    uint32_t dwRevision;          /* 98 PMBUS_REVISION */
    uint32_t dwEfficiency;        /* output power of input power, permille */
    uint32_t adwReserved[6];
} PemPmbusPhy;

MW_SIZE_IS(PemPmbusPhy, 164);

/* One text of a supply's identity, 36 bytes. */
typedef struct PemText {
    uint32_t dwRes;                 /* 0: the text is valid */
    char acText[MW_PEM_TEXT_SIZE];  /* handed out up to its NUL, 31 characters at most */
} PemText;

MW_SIZE_IS(PemText, 36);

/* The identity burned into a supply, 192 bytes. */
typedef struct PemBurnInfo {
    uint32_t dwRatedPower;       /* W */
    uint32_t dwInputType;        /* MW_PEM_INPUT_... */
    uint32_t dwReserved;
    PemText tPemProductInfo;     /* manufacturer: PMBus MFR_ID */
    PemText tPemProductSerNum;   /* serial number: MFR_SERIAL */
    PemText tPemProductPartNum;  /* part number; no function of the library reads it */
    PemText tPemModelNam;        /* model: MFR_MODEL */
    PemText tPemRevision;        /* hardware revision: MFR_REVISION */
} PemBurnInfo;

MW_SIZE_IS(PemBurnInfo, 192);
MW_OFFSET_IS(PemBurnInfo, tPemProductInfo, 12);
MW_OFFSET_IS(PemBurnInfo, tPemProductSerNum, 48);
MW_OFFSET_IS(PemBurnInfo, tPemModelNam, 120);
MW_OFFSET_IS(PemBurnInfo, tPemRevision, 156);

/* A supply's status, 180 bytes. The two health words belong to the healthy-status functions below;
 * MW_SetPemAssetStatusInfoExceptHealthStatus leaves them alone. The library carries the rest whole. */
typedef struct PemStatusInfo {
    uint32_t dwSensorState;        /* MW_PEM_SENSOR_... */
    uint32_t dwOperatingState;     /* 0 unknown, 1 active, 2 standby, 3 off */
    uint32_t dwInputType;          /* MW_PEM_INPUT_... */
    uint32_t dwInputVoltage;       /* mV */
    uint32_t dwInputCurrent;       /* mA */
    uint32_t dwInputPower;         /* mW */
    uint32_t dwOutputVoltage;      /* mV */
    uint32_t dwOutputCurrent;      /* mA */
    uint32_t dwOutputPower;        /* mW */
    int32_t lTemperature;          /* thousandths of a degree Celsius, the hottest place */
    uint32_t dwFanSpeed;           /* revolutions a minute */
    uint32_t dwStatusWord;         /* PMBus STATUS_WORD */
    uint32_t dwRatedPower;         /* W */
    uint32_t dwHealthyAux;         /* cleared together with the health, otherwise unused */
    uint32_t dwHealthyStatus;      /* this supply's health */
    uint32_t dwFaultCount;         /* failures since it was plugged in */
    uint32_t dwInputLossCount;     /* losses of its input since then */
    uint32_t dwUpTime;             /* s since it was plugged in */
    uint32_t dwUpdateTime;         /* of these values, seconds since 1970 */
    char acFirmwareVersion[32];
    char acLocation[32];           /* PMBus MFR_LOCATION, or the bay */
    char acDate[16];               /* PMBus MFR_DATE */
    uint32_t adwReserved[6];
} PemStatusInfo;

MW_SIZE_IS(PemStatusInfo, 180);
MW_OFFSET_IS(PemStatusInfo, dwHealthyAux, 52);
MW_OFFSET_IS(PemStatusInfo, dwHealthyStatus, 56);

/* A supply's alarm states, 8 bytes: 0 normal, otherwise asserted. */
typedef struct PemAlarmState {
    uint32_t dwAlarmKey;          /* what MW_GetPemAlarmInfoByIndex searches for */
    uint8_t ucFailure;
    uint8_t ucPredictiveFailure;
    uint8_t ucInputLost;
    uint8_t ucConfigError;
} PemAlarmState;

MW_SIZE_IS(PemAlarmState, 8);
MW_OFFSET_IS(PemAlarmState, ucFailure, 4);

/* A supply's alarm part, 20 bytes. */
typedef struct PemAlarmPart {
    PemAlarmState tState;
    uint8_t aucReserved1[2];
    uint8_t ucMixedFlag;    /* 1: it is part of a mixed configuration */
    uint8_t ucReserved2;
    uint8_t ucMixedValue;   /* what MW_SetPemOtherStatus gave then, otherwise 255 */
    uint8_t aucReserved3[7];
} PemAlarmPart;

MW_SIZE_IS(PemAlarmPart, 20);
MW_OFFSET_IS(PemAlarmPart, ucMixedFlag, 10);
MW_OFFSET_IS(PemAlarmPart, ucMixedValue, 12);

/* A supply's asset record, 408 bytes. */
typedef struct PemAsset {
    uint32_t dwPemIndex;           /* PEM number, 1-based */
    uint32_t dwPresentStatus;      /* 1 present, 0 absent */
    uint32_t dwLastPresentStatus;  /* the one before */
    uint32_t dwPresentChCnt;       /* how often it was plugged in */
    PemBurnInfo tBurnInfo;
    PemStatusInfo tStatusInfo;
    PemAlarmPart tAlarmPart;
} PemAsset;

MW_SIZE_IS(PemAsset, 408);
MW_OFFSET_IS(PemAsset, dwPresentStatus, 4);
MW_OFFSET_IS(PemAsset, dwLastPresentStatus, 8);
MW_OFFSET_IS(PemAsset, dwPresentChCnt, 12);
MW_OFFSET_IS(PemAsset, tBurnInfo, 16);
MW_OFFSET_IS(PemAsset, tStatusInfo, 208);
MW_OFFSET_IS(PemAsset, tAlarmPart, 388);

/* How the supplies share the load, 20 bytes. The library carries it whole. */
typedef struct PemModeRecord {
    uint32_t dwMode;            /* 0 all share the load, 1 active-standby */
    uint32_t dwActiveMask;      /* bit n - 1: PEM n carries the load */
    uint32_t dwStandbyMask;     /* bit n - 1: PEM n stands by */
    uint32_t dwWakeLoad;        /* load at which standby supplies join, percent of the rated power */
    uint32_t dwReserved;
} PemModeRecord;

MW_SIZE_IS(PemModeRecord, 20);

/* The modes together, 44 bytes. */
typedef struct PemMode {
    uint32_t dwAllowActiveStandby;  /* 1: active-standby mode is allowed */
    PemModeRecord tPemCfgMode;      /* configured */
    PemModeRecord tPemCurrentMode;  /* in force */
} PemMode;

MW_SIZE_IS(PemMode, 44);
MW_OFFSET_IS(PemMode, tPemCfgMode, 4);
MW_OFFSET_IS(PemMode, tPemCurrentMode, 24);

MW_BEGIN_DECLS

/*
 * Every function here takes semaphore 12292 for one access and answers 0, or -1 when the process could not be attached
 * ("MW_MidMemCheck:LINE Memory init error" on standard output) or the semaphore not be had within 500 ms (one
 * "sem lock failed" line at level 130); nothing is read or written then.
 *
 * Two ways of counting meet here. A PEM NUMBER counts from 1: record number - 1. A record INDEX counts from 0. Where no
 * bound is given, neither is checked: number 0 is the 408 bytes before the first asset record, and what is behind the
 * fourth record runs on into the modes and the areas that follow. Stored counts are used as they are. An access that
 * would leave the shared area is refused: -1, one line at level 130, nothing changed.
 */

/** Reads the number of PEMs, 4 bytes. NULL: -1, silent. */
MW_API int32_t MW_GetPemCount(uint32_t *pdwCount);
/** The same word; the pointer is NOT tested. */
MW_API int32_t MW_GetMaxPemCount(uint32_t *pdwCount);
/** Stores it. */
MW_API int32_t MW_SetPemCount(uint32_t dwCount);

/**
 * Supply-wide words, 4 bytes. The pointers are NOT tested. The entire status is the total health that
 * MW_SetPemHealthyStatusInfo stores.
 */
MW_API int32_t MW_GetEntireStatus(uint32_t *pdwStatus);
MW_API int32_t MW_GetRedundanceStatus(uint32_t *pdwStatus);
MW_API int32_t MW_GetMixedStatus(uint32_t *pdwStatus);

/**
 * Lists: store the number of PEMs through pdwCount and copy as many records, back to back. The caller's buffer must
 * hold what the stored count says, which is not bounded by 4. NULL for either: -1, silent.
 */
MW_API int32_t MW_GetPemOnlinePhyInfo(PemOnlinePhy *ptInfo, uint32_t *pdwCount);
MW_API int32_t MW_GetPemPmbusPhyInfo(PemPmbusPhy *ptInfo, uint32_t *pdwCount);
MW_API int32_t MW_GetPemAssetInfo(PemAsset *ptInfo, uint32_t *pdwCount);

/** Store the number of PEMs and as many records; the count is not bounded by 4. NULL: -1, silent. */
MW_API int32_t MW_SetPemOnlinePhyInfo(const PemOnlinePhy *ptInfo, uint32_t dwCount);
MW_API int32_t MW_SetPemPmbusPhyInfo(const PemPmbusPhy *ptInfo, uint32_t dwCount);

/**
 * Copies the alarm part, 20 bytes, of the first counted asset record with this alarm key.
 * @param ptAlarm NULL: -1, silent.
 * @return 0 also when no record has the key: *ptAlarm is left as it was.
 */
MW_API int32_t MW_GetPemAlarmInfoByIndex(uint32_t dwAlarmKey, PemAlarmPart *ptAlarm);

/**
 * Identity texts of the first counted asset record with this PEM number whose text is valid: up to 31 characters and
 * a NUL into 32 bytes of the caller's.
 *
 * -1 is answered, each with one line at level 130 that begins "[pem/hov_midpem:LINE]":
 * - NULL buffer: "FUNCTION failed! input para PowerManufacture is NULL!" (serial number: "pSN"), nothing else is done;
 * - the number is above the stored count, which is read without the semaphore (after attaching where needed):
 *   "pem index %d is more than max count %d";
 * - not attached: "MW_MidMemCheck failed", after what every function prints then;
 * - each record of this number whose text is not valid: "tPemProductInfo.dwRes is not 0",
 *   "failed! tPemModelNam.dwRes is not 0" or "tPemProductSerNum.dwRes is not 0"; the search goes on.
 * It is answered without a line when no record has the number.
 */
MW_API int32_t MW_GetPemPowerManufacturerByIndex(uint32_t dwPemNumber, char *pcText);
MW_API int32_t MW_GetPemModelByIndex(uint32_t dwPemNumber, char *pcText);
MW_API int32_t MW_GetPemSNByIndex(uint32_t dwPemNumber, char *pcText);

/** Reads the presence of a PEM by number, 4 bytes. The pointer is NOT tested. */
MW_API int32_t MW_GetPemPresentStatus(uint32_t dwPemNumber, uint32_t *pdwPresent);
/** @return the presence of a record by index, or -1 */
MW_API int32_t MW_GetPemPresentStaByIndex(uint32_t dwIndex);
/** Reads how often the PEM of a record was plugged in, by index, 4 bytes. The pointer is NOT tested. */
MW_API int32_t MW_GetPemPresentChCntByIndex(uint32_t dwIndex, uint32_t *pdwCount);

/**
 * Stores the presence of a PEM by number: the number itself, the presence before this one, the presence, and one more
 * change where it goes from 0 to 1.
 */
MW_API int32_t MW_SetPemPresentStatus(uint32_t dwPemNumber, uint32_t dwPresent);

/** Stores a PEM's burned identity, 192 bytes. NULL or a number above 4: -1, silent, before attaching. */
MW_API int32_t MW_SetPemAssetBurnInfo(uint32_t dwPemNumber, const PemBurnInfo *ptInfo);

/** Stores the revision in it, 36 bytes. NULL or number 0: -1, silent, before attaching; no upper bound. */
MW_API int32_t MW_SetPemAssertBurnRevision(uint32_t dwPemNumber, const PemText *ptRevision);

/**
 * Stores a PEM's status, all 180 bytes but the 8 of its health. NULL or a number above 4: -1, silent, before attaching.
 */
MW_API int32_t MW_SetPemAssetStatusInfoExceptHealthStatus(uint32_t dwPemNumber, const PemStatusInfo *ptInfo);

/** Stores a PEM's alarm key and states, 8 bytes. NULL or a number above 4: -1, silent, before attaching. */
MW_API int32_t MW_SetPemAssetAlarmPartInfo(uint32_t dwPemNumber, const PemAlarmState *ptState);

/**
 * Stores what is known of the supplies together.
 *
 * @param lMixed      the mixed status. MW_PEM_MIXED marks every counted asset record: mixed flag 1, mixed value the low
 *                    8 bits of dwValue; any other value resets them to 0 and 255.
 * @param lRedundancy MW_PEM_REDUNDANT is stored as redundance status at once. Anything else counts as a report of
 *                    a loss: MW_PEM_REDUNDANCY_LOST is stored with this process's third report in a row and each
 *                    further one, until then the status stays. Each process counts its own reports.
 * @return also -1, refused as above with nothing changed and no report counted, where a counted record lies outside
 *         the shared area.
 */
MW_API int32_t MW_SetPemOtherStatus(int32_t lMixed, int32_t lRedundancy, uint32_t dwValue);

/** Copies the three modes out, 44 bytes. The pointer is NOT tested. */
MW_API int32_t MW_GetPemMode(PemMode *ptMode);

/** Whether active-standby mode is allowed, 4 bytes. NULL: -1, silent. */
MW_API int32_t MW_GetPemModeAllowActiveStandby(uint32_t *pdwAllow);
MW_API int32_t MW_SetPemAllowActiveStandby(uint32_t dwAllow);

/** The configured and the current mode, 20 bytes each. NULL: -1, silent. */
MW_API int32_t MW_GetPemCfgMode(PemModeRecord *ptMode);
MW_API int32_t MW_SetPemCfgMode(const PemModeRecord *ptMode);
MW_API int32_t MW_GetPemCurrentMode(PemModeRecord *ptMode);
MW_API int32_t MW_SetPemCurrentMode(const PemModeRecord *ptMode);

/** Zeroes the four asset records, 1632 bytes, health included. */
MW_API int32_t MW_ClearAssetInfo(void);
/** Zeroes both tables of readings, 848 bytes. */
MW_API int32_t MW_ClearPhyInfo(void);

/** Zeroes the total health, and the health and its companion word of every counted record. */
MW_API int32_t MW_InitPemHealthyStatusInfo(void);

/**
 * Stores the total health, also when the rest fails; then the health of the first counted record with this PEM number,
 * and clears the companion word.
 * @return also -1, silent, when no record has the number.
 */
MW_API int32_t MW_SetPemHealthyStatusInfo(uint32_t dwPemNumber, uint32_t dwHealth, uint32_t dwTotalHealth);

/** Reads the health of the first counted record with this PEM number, 4 bytes. NULL or no such record: -1, silent. */
MW_API int32_t MW_GetPemHealthyStatusInfoByInst(uint32_t dwPemNumber, uint32_t *pdwHealth);

/** Reads the total health, 4 bytes. NULL: -1, silent. */
MW_API int32_t MW_GetPemHealthyStatusInfoByTotal(uint32_t *pdwHealth);

MW_END_DECLS

#endif
