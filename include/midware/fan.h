/* Fans: inventory, control state, health, and the policy and tuning that the fan controller works from.
 * Semaphore 12293.
 *
 * In this family every function answers 0, or -1 when the process could not be attached (the line of MW_MidMemCheck on
 * standard output) or the semaphore was not had within 500 ms ("[fan/hov_midfan:LINE][FUNCTION] sem lock failed, ERROR"
 * at level 130); further ways to answer -1 are given with the function. Pointers are tested before attaching and NULL
 * gives -1, silent, unless a function says that it does not test. Values and records are stored as given.
 *
 * Counts are taken as they are, those of callers as well as the stored one: records beyond the sixteenth run on into
 * what follows in the shared area. Only what would leave the shared area is refused: -1, nothing changed, and
 * "[fan/hov_midfan:LINE][FUNCTION] access outside the shared area refused" at level 130. */
#ifndef MIDWARE_FAN_H
#define MIDWARE_FAN_H

#include "midware/base.h"

#define MW_FAN_MAX 16u
#define MW_FAN_CTRL_COPY_SIZE 32u
#define MW_COOLING_DEVICE_MAX 32u
#define MW_PID_OFFSET_SETS 4u
#define MW_FAN_ZONE_MAX 32u
#define MW_FAN_PERCENT_SIZE 64u
#define MW_INLET_CURVE_POINTS 12u

/* --- fans ------------------------------------------------------------------------------------------------------ */

/* What a collector sees of a fan, 48 bytes; the library carries it whole. A figure that the hardware does not give is
 * 0. */
typedef struct FanOnlinePhyInfo {
    uint32_t dwFanSilkNum;  /* number printed beside the fan */
    uint32_t dwPresent;     /* 1: plugged in */
    uint32_t dwSpeed;       /* measured, revolutions per minute (first rotor) */
    uint32_t dwRearSpeed;   /* measured, revolutions per minute (second rotor) */
    uint32_t dwMinSpeed;    /* alarm limit, revolutions per minute */
    uint32_t dwMaxSpeed;    /* rated or alarm limit, revolutions per minute */
    uint32_t dwPulses;      /* tachometer pulses per revolution */
    uint32_t dwFault;       /* 1: the tachometer reports a fault; 2: the speed is out of its limits */
    char acLabel[16];       /* of the sensor, NUL-terminated */
} FanOnlinePhyInfo;

MW_SIZE_IS(FanOnlinePhyInfo, 48);

#define MW_FAN_CTRL_FULL_SPEED 0u /* FanCtrlState.dwMode: not controlled */
#define MW_FAN_CTRL_MANUAL 1u
#define MW_FAN_CTRL_AUTO 2u

/* The part of the control record that MW_SetFanAssetInfo copies into FanAssetInfo.aucFanCtrlCopy, 32 bytes. */
typedef struct FanCtrlState {
    uint32_t dwMode;         /* MW_FAN_CTRL_... */
    uint32_t dwDutyPercent;  /* pulse width, 0 to 100 */
    uint32_t dwTargetSpeed;  /* revolutions per minute, 0 where the speed is not regulated */
    uint32_t dwPwmRaw;       /* register value, 0 to 255 */
    char acZone[16];         /* cooling zone or name of the controller chip, NUL-terminated */
} FanCtrlState;

MW_SIZE_IS(FanCtrlState, 32);

/* Control information of a fan, 100 bytes; the library looks at no field of it. */
typedef struct FanControlPhyInfo {
    uint32_t dwFanSilkNum;
    uint32_t dwPwmChannel;    /* output that drives this fan, 1-based; 0: none */
    uint32_t dwPwmFrequency;  /* hertz */
    uint32_t dwPwmMode;       /* 0: direct current, 1: pulse width */
    uint32_t dwMinDutyPercent;
    uint32_t dwMaxDutyPercent;
    uint32_t adwReserved[3];
    FanCtrlState tState;
    char acSource[32];        /* where the controller is driven, for example a hwmon attribute; NUL-terminated */
} FanControlPhyInfo;

MW_SIZE_IS(FanControlPhyInfo, 100);
MW_OFFSET_IS(FanControlPhyInfo, tState, 36);
MW_OFFSET_IS(FanControlPhyInfo, acSource, 68);

/* Asset record of a fan, 208 bytes. */
typedef struct FanAssetInfo {
    uint32_t dwFanType;           /* model class, as MW_SetThermalFanType */
    uint32_t dwFanSilkNum;        /* instance number that the health functions match */
    uint32_t dwFanPresent;        /* 1 when present; any other value counts as absent */
    uint32_t dwFanSpeed;          /* revolutions per minute */
    uint32_t dwFanDutyPercent;
    uint32_t dwFanHealthyStatus;  /* belongs to the health functions; kept by MW_SetFanAssetInfo */
    char acFanName[32];
    char acManufacturer[32];
    char acPartNum[32];
    char acSerialNum[32];
    uint32_t dwMaxSpeed;          /* rated, revolutions per minute */
    uint32_t dwRotorNum;
    uint32_t dwRatedPower;        /* milliwatts */
    uint32_t adwReserved[3];
    uint8_t aucFanCtrlCopy[MW_FAN_CTRL_COPY_SIZE]; /* a FanCtrlState; filled by MW_SetFanAssetInfo */
} FanAssetInfo;

MW_SIZE_IS(FanAssetInfo, 208);
MW_OFFSET_IS(FanAssetInfo, dwFanSilkNum, 4);
MW_OFFSET_IS(FanAssetInfo, dwFanPresent, 8);
MW_OFFSET_IS(FanAssetInfo, dwFanHealthyStatus, 20);
MW_OFFSET_IS(FanAssetInfo, acFanName, 24);
MW_OFFSET_IS(FanAssetInfo, aucFanCtrlCopy, 176);

/* A cooled device and what it asks of the fans, 144 bytes. The three keys identify the device. */
typedef struct FanDevZoneInfo {
    uint32_t dwZoneKeyA;
    uint32_t dwFanMask;  /* bit n: fan n cools this device */
    int32_t iZoneKeyB;
    int32_t iZoneKeyC;
    uint8_t aucActionPercent[MW_FAN_PERCENT_SIZE];    /* fan percentages while the device warms up, by step */
    uint8_t aucDecreasePercent[MW_FAN_PERCENT_SIZE];  /* and while it cools down */
} FanDevZoneInfo;

MW_SIZE_IS(FanDevZoneInfo, 144);
MW_OFFSET_IS(FanDevZoneInfo, dwZoneKeyA, 0);
MW_OFFSET_IS(FanDevZoneInfo, iZoneKeyB, 8);
MW_OFFSET_IS(FanDevZoneInfo, iZoneKeyC, 12);
MW_OFFSET_IS(FanDevZoneInfo, aucActionPercent, 16);
MW_OFFSET_IS(FanDevZoneInfo, aucDecreasePercent, 80);

/* --- thermal policy and tuning --------------------------------------------------------------------------------- */

#define MW_THERMAL_POLICY_AUTO 0u   /* dwPolicyValue: cooling mode, 0 to 3 */
#define MW_THERMAL_POLICY_MANUAL 1u /* dwPolicyValue: fan speed, 10 to 100 percent */
#define MW_COOLING_MODE_MAX 3u
#define MW_MANUAL_PERCENT_MIN 10u
#define MW_MANUAL_PERCENT_MAX 100u

typedef struct ThermalPolicy {
    uint32_t dwPolicy; /* MW_THERMAL_POLICY_... */
    uint32_t dwPolicyValue;
} ThermalPolicy;

MW_SIZE_IS(ThermalPolicy, 8);

/* The blocks below are carried whole: their fields are agreed between the fan controller and those who tune it.
 * Temperatures are degrees Celsius; gains are thousandths of percent fan speed per degree. */

typedef struct ThermalCpuOffset {
    int32_t iOffset; /* added to the processors' temperatures before they are judged */
} ThermalCpuOffset;

MW_SIZE_IS(ThermalCpuOffset, 4);

typedef struct ThermalPidPara {
    int32_t iTarget;
    int32_t iHysteresis;
    int32_t iProportional;
    int32_t iIntegral;
    int32_t iDerivative;
    uint32_t dwMinPercent; /* limits of the regulated fan speed */
    uint32_t dwMaxPercent;
    uint32_t dwPeriod;     /* milliseconds between two steps */
} ThermalPidPara;

MW_SIZE_IS(ThermalPidPara, 32);

typedef struct ThermalCurvePoint {
    int32_t iTemp;
    uint32_t dwPercent; /* fan speed from this temperature on */
} ThermalCurvePoint;

/* Fan speed by inlet temperature, 108 bytes. */
typedef struct ThermalInletTemp {
    int32_t iHysteresis;
    uint32_t dwPointCount; /* points in use, 0 to 12, in ascending order */
    uint32_t dwReserved;
    ThermalCurvePoint atPoint[MW_INLET_CURVE_POINTS];
} ThermalInletTemp;

MW_SIZE_IS(ThermalInletTemp, 108);

typedef struct ThermalThreadStatus {
    uint32_t dwStatus; /* 1: the controller's thread runs */
} ThermalThreadStatus;

MW_SIZE_IS(ThermalThreadStatus, 4);

/* One set of a device's corrections to the PID parameters, 48 bytes. */
typedef struct ThermalPidOffsetPara {
    int32_t iTempFrom; /* range of temperatures in which the set applies */
    int32_t iTempTo;
    ThermalPidPara tOffset;
    uint32_t adwReserved[2];
} ThermalPidOffsetPara;

MW_SIZE_IS(ThermalPidOffsetPara, 48);

/* Cooling parameters of a device, 208 bytes. */
typedef struct DevCoolingParam {
    int32_t iDevId;
    char acDevName[12];
    ThermalPidOffsetPara atPIDOffsetPara[MW_PID_OFFSET_SETS];
} DevCoolingParam;

MW_SIZE_IS(DevCoolingParam, 208);
MW_OFFSET_IS(DevCoolingParam, atPIDOffsetPara, 16);

MW_BEGIN_DECLS

/* --- fan records ----------------------------------------------------------------------------------------------- */

/**
 * Copy the number of fans and as many records out, back to back.
 * @param ptOut  room for that many records of 48 (online), 100 (control) or 208 (asset) bytes: sixteen, as long as no
 *               setter was given more.
 * @param pdwCount receives the stored count. Neither is touched on -1.
 */
MW_API int32_t MW_GetFanOnlinePhyInfo(void *ptOut, uint32_t *pdwCount);
MW_API int32_t MW_GetFanControlPhyInfo(void *ptOut, uint32_t *pdwCount);
MW_API int32_t MW_GetFanAssetInfo(FanAssetInfo *ptOut, uint32_t *pdwCount);

/** Store the number of fans and as many online records (48 bytes each). */
MW_API int32_t MW_SetFanOnlinePhyInfo(const void *ptIn, uint32_t dwCount);

/**
 * Stores the number of fans and as many control records (100 bytes each).
 * NULL, and after its own line a failed attach, log "[fan/hov_midfan:LINE]MW_SetFanControlPhyInfo failed" at level 130.
 */
MW_API int32_t MW_SetFanControlPhyInfo(const void *ptIn, uint32_t dwCount);

/**
 * Stores asset records (208 bytes each) from the first on; the number of fans stays as it is. Each record keeps its
 * dwFanHealthyStatus and gets bytes 36 to 67 of the fan's control record as aucFanCtrlCopy, whatever the caller passes
 * in both: write control records first.
 */
MW_API int32_t MW_SetFanAssetInfo(const FanAssetInfo *ptIn, uint32_t dwCount);

/**
 * Stores dwFanPresent of one asset record, whatever the number of fans.
 * @param dwIndex 0-based; above 15: -1 before attaching, silent.
 */
MW_API int32_t MW_SetFanPresentInfo(uint32_t dwIndex, uint32_t dwPresent);

/**
 * Hands out the number of fans, and how many of their asset records have a dwFanPresent of 1.
 * Neither is touched on -1.
 */
MW_API int32_t MW_GetFanCount(uint32_t *pdwFanNum, uint32_t *pdwPresentNum);

/** Stores the number of fans. */
MW_API int32_t MW_SetFanCount(uint32_t dwCount);

/** The redundancy state and the total power of all fans, a word each. */
MW_API int32_t MW_GetFanRedundancyStates(uint32_t *pdwStates);
MW_API int32_t MW_SetFanRedundancyStates(uint32_t dwStates);
MW_API int32_t MW_GetFanTotalPower(uint32_t *pdwPower);
MW_API int32_t MW_SetFanTotalPower(uint32_t dwPower);

/** Stores the zone table: exactly 32 records of 144 bytes, always all of them. */
MW_API int32_t MW_SetFanDeviceZoneInfo(const FanDevZoneInfo *ptIn);

/* --- health ---------------------------------------------------------------------------------------------------- */

/** Clears the total health and that of every counted fan. */
MW_API int32_t MW_InitFanHealthyStatusInfo(void);

/**
 * Stores the total health, and the health of the first counted fan whose dwFanSilkNum is `dwNumber`.
 * @return 0; -1, silent, where no fan has this number: the total is stored all the same.
 */
MW_API int32_t MW_SetFanHealthyStatusInfo(uint32_t dwNumber, uint32_t dwHealthy, uint32_t dwTotal);

/**
 * Hands out the health of the first counted fan whose dwFanSilkNum is `dwNumber`.
 * @return 0; -1, silent and with *pdwHealthy untouched, where no fan has this number.
 */
MW_API int32_t MW_GetFanHealthyStatusInfoByInst(uint32_t dwNumber, uint32_t *pdwHealthy);

/** Hands out the total health. */
MW_API int32_t MW_GetFanHealthyStatusInfoByTotal(uint32_t *pdwTotal);

/* --- thermal policy -------------------------------------------------------------------------------------------- */

/** Copies the policy out, 8 bytes. */
MW_API int32_t MW_GetThermalPolicy(void *ptOut);

/**
 * Stores the policy, 8 bytes (ThermalPolicy). Before attaching it refuses, with -1 and a line at level 130:
 *   dwPolicy above 1:                      "[fan/hov_midfan:LINE]Set Thermal Policy Failed, Policy = N"
 *   manual and a value outside 10 to 100:  "[fan/hov_midfan:LINE]Set Thermal Policy Failed, Percent = N"
 *   automatic and a value above 3:         "[fan/hov_midfan:LINE]Set Thermal Policy Failed, CoolingMode = N"
 */
MW_API int32_t MW_SetThermalPolicy(const void *ptIn);

/* --- thermal settings: the getters do not test their pointer ---------------------------------------------------- */

/** Words, stored and handed out as given. */
MW_API int32_t MW_GetThermalPrintFlag(uint32_t *pdwFlag);
MW_API int32_t MW_SetThermalPrintFlag(uint32_t dwFlag);
MW_API int32_t MW_GetThermalPowerOffFanRotateFlag(uint32_t *pdwFlag); /* do fans keep turning with the host off? */
MW_API int32_t MW_SetThermalPowerOffFanRotateFlag(uint32_t dwFlag);
MW_API int32_t MW_GetThermalCriticalDev(uint32_t *pdwDev);
MW_API int32_t MW_SetThermalCriticalDev(uint32_t dwDev);
MW_API int32_t MW_GetThermalFanType(uint32_t *pdwType);
MW_API int32_t MW_SetThermalFanType(uint32_t dwType);
MW_API int32_t MW_GetThermalLeaquidLeakageStatus(uint32_t *pdwStatus);
MW_API int32_t MW_SetThermalLeaquidLeakageStatus(uint32_t dwStatus);

/** Processor temperature boundaries, one byte each: a setter keeps the low byte of its value. */
MW_API int32_t MW_GetThermalCPUUpBoundary(uint8_t *pucBoundary);
MW_API int32_t MW_SetThermalCPUUpBoundary(uint32_t dwBoundary);
MW_API int32_t MW_GetThermalCPULowBoundary(uint8_t *pucBoundary);
MW_API int32_t MW_SetThermalCPULowBoundary(uint32_t dwBoundary);
MW_API int32_t MW_GetThermalCPUMidBoundary(uint8_t *pucBoundary);
MW_API int32_t MW_SetThermalCPUMidBoundary(uint32_t dwBoundary);

/** PID parameters for small and large steps (ThermalPidPara, 32 bytes); the setters do not test their pointer. */
MW_API int32_t MW_GetThermalCPUSmallPID(void *ptOut);
MW_API int32_t MW_SetThermalCPUSmallPID(const void *ptIn);
MW_API int32_t MW_GetThermalCPULargePID(void *ptOut);
MW_API int32_t MW_SetThermalCPULargePID(const void *ptIn);

/** Fan speed by inlet temperature (ThermalInletTemp, 108 bytes); the setter does not test its pointer. */
MW_API int32_t MW_GetThermalInletTemp(void *ptOut);
MW_API int32_t MW_SetThermalInletTemp(const void *ptIn);

/** State of the controller's thread (ThermalThreadStatus, 4 bytes); the setter does not test its pointer. */
MW_API int32_t MW_GetThermalThreadStatus(void *ptOut);
MW_API int32_t MW_SetThermalThreadStatus(const void *ptIn);

/* --- thermal settings: NULL gives -1 ---------------------------------------------------------------------------- */

/** Processor temperature offset (ThermalCpuOffset, 4 bytes). */
MW_API int32_t MW_GetThermalCPUOffset(void *ptOut);
MW_API int32_t MW_SetThermalCPUOffset(const void *ptIn);

/** Stores the cooling parameters: exactly 32 records of 208 bytes, always all of them. */
MW_API int32_t MW_SetDeviceCoolingParamToMW(const DevCoolingParam *ptIn);

/**
 * Exchange one set of PID corrections (ThermalPidOffsetPara, 48 bytes) of a device. Several of the 32 records may carry
 * the device's identifier: the setter writes every one, the getter hands out the last.
 * @param dwSet 0 to 3; above: -1 before attaching, silent.
 * @return 0, also where no record carries the identifier: nothing is changed then.
 */
MW_API int32_t MW_GetThermalDevPIDOffsetPara(int32_t iDevId, uint32_t dwSet, void *ptOut);
MW_API int32_t MW_SetThermalDevPIDOffsetPara(int32_t iDevId, uint32_t dwSet, const void *ptIn);

/**
 * Copy 64 bytes out of the first of the 32 zone records whose three keys match.
 * @return 0; -1, silent and with the buffer untouched, where none matches.
 */
MW_API int32_t MW_GetFanActionPercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, void *ptOut);
MW_API int32_t MW_GetFanActionDecreasePercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, void *ptOut);

/**
 * Store 64 bytes in every zone record whose three keys match; the four record places behind the table are searched too.
 * @return 0, also where none matches.
 */
MW_API int32_t MW_SetFanActionPercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, const void *ptIn);
MW_API int32_t MW_SetFanActionDecreasePercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, const void *ptIn);

MW_END_DECLS

#endif
