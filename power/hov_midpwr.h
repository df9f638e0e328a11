// The power area: host power, ACPI, boot and reset state, board power and its limits, the board battery.
#ifndef HOV_MIDPWR_H
#define HOV_MIDPWR_H

#include "hov_midware.h"
#include "midware/power.h"

namespace midware {

struct PswArea {
    static constexpr const Module &kModule = kPsw;

    uint32_t dwPowerStatus;
    uint32_t dwPowerPolicy;
    uint32_t dwACPIStatus;
    uint32_t dwPowerButtonState;
    uint32_t dwShutDownPwrButtonPressed;
    uint32_t dwOsStopState;
    uint32_t dwHostRestartState;
    uint32_t dwHostRestartEffect;
    uint32_t dwSysFwProgressState;
    uint32_t dwOsBootState;
    uint32_t dwBiosBootUpState;
    uint32_t dwMeState;
    uint32_t dwCpuPowerGood;
    uint32_t dwPwrGdErrFlag;
    uint8_t aucUnused1[4];
    BoardPowerInfo tPower;
    BoardPowerLimitInfo tLimit;
    uint8_t aucUnused2[32];
    BootErrorInfo tBootError;
    uint16_t wBatAdc;
    uint8_t ucBatAdcInfo;
    uint8_t ucBatProdTestFlag;
    uint8_t aucUnused3[4];
};

static_assert(offsetof(PswArea, dwPowerStatus) == 0);
static_assert(offsetof(PswArea, dwPowerPolicy) == 4);
static_assert(offsetof(PswArea, dwACPIStatus) == 8);
static_assert(offsetof(PswArea, dwPowerButtonState) == 12);
static_assert(offsetof(PswArea, dwShutDownPwrButtonPressed) == 16);
static_assert(offsetof(PswArea, dwOsStopState) == 20);
static_assert(offsetof(PswArea, dwHostRestartState) == 24);
static_assert(offsetof(PswArea, dwHostRestartEffect) == 28);
static_assert(offsetof(PswArea, dwSysFwProgressState) == 32);
static_assert(offsetof(PswArea, dwOsBootState) == 36);
static_assert(offsetof(PswArea, dwBiosBootUpState) == 40);
static_assert(offsetof(PswArea, dwMeState) == 44);
static_assert(offsetof(PswArea, dwCpuPowerGood) == 48);
static_assert(offsetof(PswArea, dwPwrGdErrFlag) == 52);
static_assert(offsetof(PswArea, tPower) == 60);
static_assert(offsetof(PswArea, tLimit) == 808);
static_assert(offsetof(PswArea, tBootError) == 1048);
static_assert(offsetof(PswArea, wBatAdc) == 1068);
static_assert(offsetof(PswArea, ucBatAdcInfo) == 1070);
static_assert(offsetof(PswArea, ucBatProdTestFlag) == 1071);
static_assert(sizeof(PswArea) == kPsw.size);

}  // namespace midware

#endif
