#include "board/hov_midboard.h"

#include "dbgout.h"
#include "hov_guard.h"

using namespace midware;

namespace {

constexpr size_t kInlets = offsetof(BoardArea, tInletTempInfo);
constexpr size_t kAlarms = offsetof(BoardArea, tAlarmStatus);

// Reads a field that holds something only where `valid` says so; otherwise the caller's variable stays as it is.
template <class T>
int32_t ReadValid(T BoardArea::*field, bool (*valid)(T), T *to, Caller at = Here()) {
    if (to == nullptr) return kFail;
    Guard<BoardArea> area(at);
    if (!area || !valid((*area).*field)) return kFail;
    *to = (*area).*field;
    return kOk;
}

// Stores the low bits of a value, as many as the field has.
template <class T>
int32_t WriteLow(T BoardArea::*field, uint32_t value, Caller at = Here()) {
    return WriteField(field, static_cast<T>(value), at);
}

}  // namespace

int32_t MW_SetPCHTemp(uint32_t dwTemp) { return WriteLow(&BoardArea::ucPchTemp, dwTemp); }

int32_t MW_GetPCHTemp(uint8_t *pucTemp) {
    return ReadValid<uint8_t>(
        &BoardArea::ucPchTemp, [](uint8_t temp) { return temp != 0 && temp <= MW_PCH_TEMP_MAX; }, pucTemp);
}

int32_t MW_SetPlatResetCount(uint32_t dwCount) { return WriteLow(&BoardArea::wPlatResetCount, dwCount); }

int32_t MW_GetPlatResetCount(uint16_t *pwCount) { return ReadField(&BoardArea::wPlatResetCount, pwCount); }

int32_t MW_SetInletTempCnt(uint32_t dwCount) {
    if (dwCount > MW_INLET_TEMP_MAX) return kFail;
    Guard<BoardArea> area;
    if (!area) return kFail;
    area->tInletTempInfo.dwInletTempCnt = dwCount;
    return kOk;
}

int32_t MW_SetInletTempInfo(const InletTempReading *ptReading) {
    if (ptReading == nullptr) return kFail;
    // The index is not checked: 4 and more land in what follows the records.
    const size_t place = kInlets + offsetof(InletTempInfo, atInletTemp) + sizeof *ptReading * ptReading->ucIndex;
    return CopyIn<BoardArea>(place, sizeof *ptReading, ptReading);
}

int32_t MW_GetInletTempInfo(InletTempInfo *ptInfo) { return CopyOut<BoardArea>(kInlets, sizeof *ptInfo, ptInfo); }

int32_t MW_SetUidButtonStatus(uint32_t dwStatus) { return WriteLow(&BoardArea::ucUidButtonStatus, dwStatus); }

int32_t MW_GetUidButtonStatus(uint8_t *pucStatus) {
    if (pucStatus == nullptr) return kFail;
    Guard<BoardArea> area;
    if (!area) return kFail;
    *pucStatus = area->ucUidButtonStatus;
    return *pucStatus == 0 ? kFail : kOk;
}

int32_t MW_SetInitPowerUpState(uint32_t dwState) {
    Guard<BoardArea> area;
    if (!area) return kFail;
    area->tRestartStatus.ucInitPowerUpState = static_cast<uint8_t>(dwState);
    return kOk;
}

int32_t MW_SetSystemHardResetState(uint32_t dwState) {
    Guard<BoardArea> area;
    if (!area) return kFail;
    area->tRestartStatus.ucSystemHardResetState = static_cast<uint8_t>(dwState);
    return kOk;
}

int32_t MW_GetSystemRestartStatus(SystemRestartStatus *ptStatus) {
    return CopyOutOf(kBoard, kBoard.lock_text, offsetof(BoardArea, tRestartStatus), sizeof *ptStatus, ptStatus,
                     hov_memcpy_s, Here());
}

int32_t MW_SetChassisId(uint32_t dwId) { return WriteLow(&BoardArea::wChassisId, dwId); }

int32_t MW_GetChassisId(uint16_t *pwId) {
    return ReadValid<uint16_t>(&BoardArea::wChassisId, [](uint16_t id) { return id != MW_CHASSIS_ID_NOT_SET; }, pwId);
}

int32_t MW_SetBoardId(uint32_t dwId) { return WriteLow(&BoardArea::wBoardId, dwId); }

int32_t MW_GetBoardId(uint16_t *pwId) {
    return ReadValid<uint16_t>(&BoardArea::wBoardId, [](uint16_t id) { return id != MW_BOARD_ID_NOT_SET; }, pwId);
}

int32_t MW_SetInnerProductId(uint32_t dwId) { return WriteLow(&BoardArea::dwInnerProductId, dwId); }

int32_t MW_GetInnerProductId(uint32_t *pdwId) {
    return ReadValid<uint32_t>(
        &BoardArea::dwInnerProductId, [](uint32_t id) { return id != MW_INNER_PRODUCT_ID_NOT_SET; }, pdwId);
}

int32_t MW_SetBoardAlarmStatusInfo(const BoardAlarmStatusInfo *ptInfo) {
    Guard<BoardArea> area;
    if (!area) return kFail;
    for (size_t i = 0; i < 3; ++i) area->tAlarmStatus.adwAlarm[i] = ptInfo->adwAlarm[i];
    return kOk;
}

int32_t MW_GetBoardAlarmStatusInfo(BoardAlarmStatusInfo *ptInfo) {
    if (!Attach(kBoard)) return kFail;
    if (ptInfo == nullptr) {
        const Caller at = Here();
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s %d] input pointer parameter is NULL \n", kBoard.source, at.line,
                             at.function, at.line);
        return kFail;
    }
    return CopyOut<BoardArea>(kAlarms, sizeof *ptInfo, ptInfo);
}

int32_t MW_InitBoardAlarmStatusInfo(void) {
    Guard<BoardArea> area;
    if (!area) return kFail;
    memset_s(&area->tAlarmStatus, sizeof area->tAlarmStatus, 0, sizeof area->tAlarmStatus);
    return kOk;
}
