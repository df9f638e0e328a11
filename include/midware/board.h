/* Board: temperatures, identity, reset and button states, alarm words. Semaphore 12297.
 *
 * In this family every function answers 0, or -1 when the process could not be attached (the line of MW_MidMemCheck on
 * standard output) or the semaphore was not had within 500 ms
 * ("[board/hov_midboard:LINE][FUNCTION LINE] sem lock failed, ERROR" at level 130); further ways to answer -1 are given
 * with the function. Pointers are tested before attaching and NULL gives -1, silent, except in the two functions of the
 * alarm words that say otherwise. */
#ifndef MIDWARE_BOARD_H
#define MIDWARE_BOARD_H

#include "midware/base.h"

#define MW_INLET_TEMP_MAX 4u
#define MW_PCH_TEMP_MAX 124u            /* the highest reading that is valid; 0 means none */
#define MW_CHASSIS_ID_NOT_SET 65535u
#define MW_BOARD_ID_NOT_SET 0u
#define MW_INNER_PRODUCT_ID_NOT_SET 0u

/* An inlet temperature sensor, 23 bytes, packed. The library looks at the index only. Thresholds are those of IPMI. */
#pragma pack(push, 1)
typedef struct InletTempReading {
    uint8_t ucIndex;             /* 0 to 3: the record's place */
    uint8_t ucPresent;           /* 1: fitted, and the reading is valid */
    int16_t sTemp;               /* tenths of a degree Celsius */
    int8_t cUpperNonCritical;    /* degrees Celsius; 127: no upper threshold */
    int8_t cUpperCritical;
    int8_t cLowerNonCritical;    /* degrees Celsius; -128: no lower threshold */
    int8_t cLowerCritical;
    char acSensorName[15];       /* NUL-terminated */
} InletTempReading;
#pragma pack(pop)

MW_SIZE_IS(InletTempReading, 23);
MW_OFFSET_IS(InletTempReading, ucIndex, 0);
MW_OFFSET_IS(InletTempReading, acSensorName, 8);

/* The count and all four records, 96 bytes. */
typedef struct InletTempInfo {
    uint32_t dwInletTempCnt;
    InletTempReading atInletTemp[MW_INLET_TEMP_MAX];
} InletTempInfo;

MW_SIZE_IS(InletTempInfo, 96);
MW_OFFSET_IS(InletTempInfo, atInletTemp, 4);

/* How the system came up, 8 bytes. */
typedef struct SystemRestartStatus {
    uint8_t ucInitPowerUpState;
    uint8_t ucSystemHardResetState;
    uint8_t ucRestartCause;    /* of the IPMI command Get System Restart Cause; carried */
    uint8_t ucRestartChannel;  /* the same, channel number; carried */
    uint8_t aucReserved[4];    /* carried */
} SystemRestartStatus;

MW_SIZE_IS(SystemRestartStatus, 8);

/* Three words of alarm bits, as the board collector assigns them; 0 means no alarm. */
typedef struct BoardAlarmStatusInfo {
    uint32_t adwAlarm[3];
} BoardAlarmStatusInfo;

MW_SIZE_IS(BoardAlarmStatusInfo, 12);

MW_BEGIN_DECLS

/** Stores the low 8 bits of the PCH temperature, degrees Celsius. */
MW_API int32_t MW_SetPCHTemp(uint32_t dwTemp);

/** @return 0 and the PCH temperature; -1, silent and with *pucTemp untouched, where it is not 1 to 124. */
MW_API int32_t MW_GetPCHTemp(uint8_t *pucTemp);

/** The platform reset count, 16 bits; the setter keeps the low ones. */
MW_API int32_t MW_SetPlatResetCount(uint32_t dwCount);
MW_API int32_t MW_GetPlatResetCount(uint16_t *pwCount);

/** Stores the number of inlet temperature sensors; above 4: -1 before attaching, silent. */
MW_API int32_t MW_SetInletTempCnt(uint32_t dwCount);

/**
 * Stores one inlet temperature record, 23 bytes, at 12 + 23 * ucIndex of the board area. The index is not checked, also
 * not with the count: 4 and more run on into what follows.
 */
MW_API int32_t MW_SetInletTempInfo(const InletTempReading *ptReading);

/** Copies the count and the four inlet temperature records out, 96 bytes, whatever the count. */
MW_API int32_t MW_GetInletTempInfo(InletTempInfo *ptInfo);

/** Stores the low 8 bits of the UID button's state. */
MW_API int32_t MW_SetUidButtonStatus(uint32_t dwStatus);

/** Hands out the UID button's state. @return 0; -1, silent, where it is 0 (not set): that is handed out as well. */
MW_API int32_t MW_GetUidButtonStatus(uint8_t *pucStatus);

/** Store the low 8 bits of the initial power-up and the hard-reset state: the first two bytes of the restart status. */
MW_API int32_t MW_SetInitPowerUpState(uint32_t dwState);
MW_API int32_t MW_SetSystemHardResetState(uint32_t dwState);

/** Copies the restart status out, 8 bytes. */
MW_API int32_t MW_GetSystemRestartStatus(SystemRestartStatus *ptStatus);

/**
 * Identifiers; the first two keep the low 16 bits. Where one is not set the getter answers -1, silent, and leaves the
 * caller's variable alone: 65535 for the chassis (0 is valid), 0 for the board and the inner product.
 */
MW_API int32_t MW_SetChassisId(uint32_t dwId);
MW_API int32_t MW_GetChassisId(uint16_t *pwId);
MW_API int32_t MW_SetBoardId(uint32_t dwId);
MW_API int32_t MW_GetBoardId(uint16_t *pwId);
MW_API int32_t MW_SetInnerProductId(uint32_t dwId);
MW_API int32_t MW_GetInnerProductId(uint32_t *pdwId);

/** Stores the three alarm words. The pointer is not tested. */
MW_API int32_t MW_SetBoardAlarmStatusInfo(const BoardAlarmStatusInfo *ptInfo);

/**
 * Copies the three alarm words out, 12 bytes. The pointer is tested after attaching: NULL gives -1 and
 * "[board/hov_midboard:LINE][MW_GetBoardAlarmStatusInfo LINE] input pointer parameter is NULL " at level 130.
 */
MW_API int32_t MW_GetBoardAlarmStatusInfo(BoardAlarmStatusInfo *ptInfo);

/** Clears the three alarm words. */
MW_API int32_t MW_InitBoardAlarmStatusInfo(void);

MW_END_DECLS

#endif
