#include "power/hov_midpwr.h"

#include <initializer_list>

#include "dbgout.h"
#include "hov_guard.h"

using namespace midware;

namespace {

// Stores consecutive words of the area, the first one at `offset`.
int32_t WriteWords(size_t offset, std::initializer_list<uint32_t> values, Caller at = Here()) {
    Guard<PswArea> area(at);
    if (!area) return kFail;
    auto *to = area.At<uint32_t>(static_cast<int64_t>(offset));
    for (uint32_t value : values) *to++ = value;
    return kOk;
}

}  // namespace

int32_t MW_SetPowerStatus(uint32_t dwStatus) { return WriteField(&PswArea::dwPowerStatus, dwStatus); }

int32_t MW_SetPowerPolicy(uint32_t dwPolicy) { return WriteField(&PswArea::dwPowerPolicy, dwPolicy); }

int32_t MW_SetPowerButtonState(uint32_t dwState) { return WriteField(&PswArea::dwPowerButtonState, dwState); }

int32_t MW_SetShutDownPwrButtonPressed(uint32_t dwPressed) {
    return WriteField(&PswArea::dwShutDownPwrButtonPressed, dwPressed);
}

int32_t MW_SetOsStopState(uint32_t dwState) { return WriteField(&PswArea::dwOsStopState, dwState); }

int32_t MW_SetHostRestartEffect(uint32_t dwEffect) {
    return WriteField(&PswArea::dwHostRestartEffect, dwEffect);
}

int32_t MW_SetSystemFirmwareProgressState(uint32_t dwState) {
    return WriteField(&PswArea::dwSysFwProgressState, dwState);
}

int32_t MW_SetOsBootState(uint32_t dwState) { return WriteField(&PswArea::dwOsBootState, dwState); }

int32_t MW_SetBiosBootUpState(uint32_t dwState) { return WriteField(&PswArea::dwBiosBootUpState, dwState); }

int32_t MW_SetMeState(uint32_t dwState) { return WriteField(&PswArea::dwMeState, dwState); }

int32_t MW_SetCpuPowerGood(uint32_t dwPowerGood) { return WriteField(&PswArea::dwCpuPowerGood, dwPowerGood); }

int32_t MW_SetPwrGdErrFlag(uint32_t dwFlag) { return WriteField(&PswArea::dwPwrGdErrFlag, dwFlag); }

int32_t MW_SetTDPInfo(uint32_t dwTDP) { return WriteWords(offsetof(PswArea, tPower.dwTDP), {dwTDP}); }

int32_t MW_SetCpuPowerLimitInfo(uint32_t dwLimit) {
    return WriteWords(offsetof(PswArea, tLimit.dwCpuPowerLimit), {dwLimit});
}

int32_t MW_SetBoardPowerLimitModel(uint32_t dwModel) {
    return WriteWords(offsetof(PswArea, tLimit.dwBoardPowerLimitModel), {dwModel});
}

int32_t MW_SetBootErrorNoBootableMediaState(uint32_t dwState) {
    return WriteWords(offsetof(PswArea, tBootError.dwNoBootableMediaState), {dwState});
}

int32_t MW_GetPowerStatus(uint32_t *pdwStatus) {
    return ReadFieldUntested(&PswArea::dwPowerStatus, pdwStatus);
}

int32_t MW_GetPowerPolicy(uint32_t *pdwPolicy) {
    return ReadFieldUntested(&PswArea::dwPowerPolicy, pdwPolicy);
}

int32_t MW_GetPowerACPIStatus(uint32_t *pdwStatus) {
    return ReadFieldUntested(&PswArea::dwACPIStatus, pdwStatus);
}

int32_t MW_GetPowerButtonState(uint32_t *pdwState) {
    return ReadFieldUntested(&PswArea::dwPowerButtonState, pdwState);
}

int32_t MW_GetHostRestartStatus(uint32_t *pdwState) {
    return ReadFieldUntested(&PswArea::dwHostRestartState, pdwState);
}

int32_t MW_GetOsStopState(uint32_t *pdwState) { return ReadFieldUntested(&PswArea::dwOsStopState, pdwState); }

int32_t MW_GetHostRestartEffect(uint32_t *pdwEffect) {
    return ReadFieldUntested(&PswArea::dwHostRestartEffect, pdwEffect);
}

int32_t MW_GetSystemFirmwareProgressState(uint32_t *pdwState) {
    return ReadFieldUntested(&PswArea::dwSysFwProgressState, pdwState);
}

int32_t MW_GetOsBootState(uint32_t *pdwState) { return ReadFieldUntested(&PswArea::dwOsBootState, pdwState); }

int32_t MW_GetBiosBootUpState(uint32_t *pdwState) {
    return ReadFieldUntested(&PswArea::dwBiosBootUpState, pdwState);
}

int32_t MW_GetMeState(uint32_t *pdwState) { return ReadFieldUntested(&PswArea::dwMeState, pdwState); }

// The power-good word is the one sign of a power fault that there is.
int32_t MW_GetPowerFaultState(uint32_t *pdwState) {
    return ReadFieldUntested(&PswArea::dwCpuPowerGood, pdwState);
}

int32_t MW_GetPwrGdErrFlag(uint32_t *pdwFlag) { return ReadFieldUntested(&PswArea::dwPwrGdErrFlag, pdwFlag); }

int32_t MW_SetPowerACPIStatus(uint32_t dwStatus) {
    Guard<PswArea> area;
    if (!area) return kFail;
    const uint32_t old = area->dwACPIStatus;
    if ((old == MW_ACPI_S0_WORKING || old == MW_ACPI_S3_SLEEPING) && dwStatus == MW_ACPI_S5_SOFT_OFF) {
        // Off without the button: the operating system stopped by itself.
        if (area->dwShutDownPwrButtonPressed == 0) area->dwOsStopState = MW_OS_STOP_GRACEFUL;
    } else if (old == MW_ACPI_S5_SOFT_OFF && dwStatus != MW_ACPI_S5_SOFT_OFF) {
        area->dwShutDownPwrButtonPressed = 0;
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s power up,set shut down power button 0\n", kPsw.source,
                             __LINE__, __func__);
    }
    area->dwACPIStatus = dwStatus;
    return kOk;
}

int32_t MW_SetHostRestartState(uint32_t dwCauses) {
    Guard<PswArea> area;
    if (!area) return kFail;
    area->dwHostRestartState = dwCauses == 0 ? 0 : area->dwHostRestartState | dwCauses;
    return kOk;
}

int32_t MW_SetBoardPowerLimitCtrlInfo(uint32_t dwCtrl1, uint32_t dwCtrl2) {
    return WriteWords(offsetof(PswArea, tLimit), {dwCtrl1, dwCtrl2});
}

int32_t MW_SetBoardPowerLimitInfo(uint32_t dwCtrl1, uint32_t dwCtrl2, uint32_t dwCpuLimit) {
    return WriteWords(offsetof(PswArea, tLimit), {dwCtrl1, dwCtrl2, dwCpuLimit});
}

int32_t MW_SetBoardPowerThresInfo(uint32_t dwThres1, uint32_t dwThres2) {
    return WriteWords(offsetof(PswArea, tPower.dwPowerThres1), {dwThres1, dwThres2});
}

int32_t MW_GetBoardPowerThresInfo(uint32_t *pdwThres1, uint32_t *pdwThres2) {
    Guard<PswArea> area;
    if (!area) return kFail;
    *pdwThres1 = area->tPower.dwPowerThres1;
    *pdwThres2 = area->tPower.dwPowerThres2;
    return kOk;
}

int32_t MW_SetBoardPowerCurrentInfo(uint32_t dwCurrent, uint32_t dwMinimum, uint32_t dwMaximum,
                                    uint32_t dwAverage) {
    return WriteWords(offsetof(PswArea, tPower.adwPowerCurrent),
                      {dwCurrent, dwMinimum, dwMaximum, dwAverage});
}

int32_t MW_SetBoardPowerHistoryInfo(uint32_t dwIndex, uint32_t dwValue1, uint32_t dwValue2,
                                    uint32_t dwValue3) {
    Guard<PswArea> area;
    if (!area) return kFail;
    // The index is not checked: 60 and more land in the next series or the fields behind them.
    const int64_t entry = static_cast<int64_t>(dwIndex) * sizeof(uint32_t);
    constexpr uint32_t kSeries = sizeof BoardPowerInfo::adwPowerHistory1;
    const int64_t first = static_cast<int64_t>(offsetof(PswArea, tPower.adwPowerHistory1)) + entry;
    if (area.ReachRecords(first, 3, sizeof(uint32_t), kSeries) == nullptr) return kFail;
    *area.At<uint32_t>(first) = dwValue1;
    *area.At<uint32_t>(first + kSeries) = dwValue2;
    *area.At<uint32_t>(first + 2 * kSeries) = dwValue3;
    return kOk;
}

int32_t MW_SetPowerLimitModel(uint32_t dwIndex, const void *pModel) {
    if (dwIndex >= MW_POWER_LIMIT_MODEL_MAX) return kFail;
    return CopyIn<PswArea>(offsetof(PswArea, tLimit.atPowerLimitModel) + dwIndex * sizeof(PowerLimitModel),
                           sizeof(PowerLimitModel), pModel);
}

int32_t MW_GetBoardPowerLimitInfo(void *pInfo) {
    return CopyOut<PswArea>(offsetof(PswArea, tLimit), sizeof(BoardPowerLimitInfo), pInfo);
}

int32_t MW_GetBoardPowerInfo(void *pInfo) {
    Guard<PswArea> area;
    if (!area) return kFail;
    hov_memcpy_s(pInfo, sizeof area->tPower, &area->tPower, sizeof area->tPower);
    return kOk;
}

int32_t MW_GetBootErrorInfo(void *pInfo) {
    Guard<PswArea> area;
    if (!area) return kFail;
    memcpy_s(pInfo, sizeof area->tBootError, &area->tBootError, sizeof area->tBootError);
    return kOk;
}

int32_t MW_SetBoardBatAdcInfo(uint16_t wAdc, uint8_t ucInfo) {
    Guard<PswArea> area;
    if (!area) return kFail;
    area->wBatAdc = wAdc;
    area->ucBatAdcInfo = ucInfo;
    return kOk;
}

int32_t MW_GetBoardBatAdcInfo(uint16_t *pwAdc, uint8_t *pucInfo) {
    if (pwAdc == nullptr || pucInfo == nullptr) return kFail;
    Guard<PswArea> area;
    if (!area) return kFail;
    *pwAdc = area->wBatAdc;
    *pucInfo = area->ucBatAdcInfo;
    return kOk;
}

int32_t MW_SetBoardBatProdTestFlag(uint32_t dwFlag) {
    return WriteField(&PswArea::ucBatProdTestFlag, dwFlag != 0 ? 1 : 0);
}

int32_t MW_GetBoardBatProdTestFlag(uint8_t *pucFlag) {
    return ReadField(&PswArea::ucBatProdTestFlag, pucFlag);
}
