// Board: temperatures, identifiers, reset and button states, alarm words.
#include "board/hov_midboard.h"
#include "shared.h"
#include "table.h"

namespace mwctl {

using midware::BoardArea;

namespace {

constexpr Code kNotSet[] = {{0, "not set"}};
constexpr uint64_t kNoUpper = 127;
constexpr uint64_t kNoLower = 0x80;  // -128

}  // namespace

// clang-format off
MW_RECORD(InletTempReading,
          MW_FIELD(ucIndex, "index"),
          MW_FIELD(ucPresent, "valid").Switch(),
          MW_FIELD(sTemp, "temperature").Decimals(1).Unit("C").Reading(offsetof(InletTempReading, ucPresent)),
          MW_FIELD(cUpperNonCritical, "high").Unit("C").QuietNone(kNoUpper),
          MW_FIELD(cUpperCritical, "critical").Unit("C").QuietNone(kNoUpper),
          MW_FIELD(cLowerNonCritical, "low").Unit("C").QuietNone(kNoLower),
          MW_FIELD(cLowerCritical, "low crit").Unit("C").QuietNone(kNoLower),
          MW_FIELD(acSensorName, "sensor").Naming());

MW_RECORD(InletTempInfo,
          MW_FIELD(dwInletTempCnt, "inlet sensors"),
          MW_FIELD(atInletTemp, "sensor").CountedBy(offsetof(InletTempInfo, dwInletTempCnt)));

MW_RECORD(SystemRestartStatus,
          MW_FIELD(ucInitPowerUpState, "initial power-up"),
          MW_FIELD(ucSystemHardResetState, "hard reset"),
          MW_FIELD(ucRestartCause, "restart cause"),
          MW_FIELD(ucRestartChannel, "restart channel"),
          MW_FIELD(aucReserved, ""));

MW_RECORD(BoardAlarmStatusInfo,
          MW_FIELD(adwAlarm, "alarm words").Hex().Alarm());

MW_RECORD(BoardArea,
          MW_FIELD(ucPchTemp, "PCH temperature").Unit("C"),
          MW_FIELD(ucGap1, "").Reserved(),
          MW_FIELD(wPlatResetCount, "platform resets"),
          MW_FIELD(aucGap4, "").Reserved(),
          MW_FIELD(tInletTempInfo, "inlet temperatures"),
          MW_FIELD(aucGap104, "").Reserved(),
          MW_FIELD(ucUidButtonStatus, "UID button"),
          MW_FIELD(aucGap107, "").Reserved(),
          MW_FIELD(tRestartStatus, "restart"),
          MW_FIELD(aucGap117, "").Reserved(),
          MW_FIELD(wChassisId, "chassis"),
          MW_FIELD(wBoardId, "board"),
          MW_FIELD(dwInnerProductId, "inner product"),
          MW_FIELD(tAlarmStatus, "alarms"),
          MW_FIELD(aucGap140, "").Reserved());

// What the getters hand out one by one, and the values that stand for none.
struct BoardFacts {
    uint32_t dwInnerProductId;
    uint16_t wChassisId;
    uint16_t wBoardId;
    uint16_t wPlatResetCount;
    uint8_t ucPchTemp;
    uint8_t ucUidButtonStatus;
};

MW_RECORD(BoardFacts,
          MW_FIELD(dwInnerProductId, "inner product").NoValue(MW_INNER_PRODUCT_ID_NOT_SET),
          MW_FIELD(wChassisId, "chassis").NoValue(MW_CHASSIS_ID_NOT_SET),
          MW_FIELD(wBoardId, "board").NoValue(MW_BOARD_ID_NOT_SET),
          MW_FIELD(wPlatResetCount, "platform resets"),
          MW_FIELD(ucPchTemp, "PCH temperature").Unit("C").NoValue(0).Reading(),
          MW_FIELD(ucUidButtonStatus, "UID button").Codes(kNotSet));
// clang-format on

namespace {

// These getters answer -1 also where there is no value.
int32_t ReadFacts(BoardFacts *facts, uint32_t &) {
    facts->wChassisId = MW_CHASSIS_ID_NOT_SET;
    int32_t result = MW_GetPlatResetCount(&facts->wPlatResetCount);  // fails only when nothing can be read
    const auto read = [&result](auto get, auto *value) {
        if (result < 0) return;
        get(value);
        if (Listen::Current()->HeardLockFailure()) result = -1;
    };
    read(MW_GetInnerProductId, &facts->dwInnerProductId);
    read(MW_GetChassisId, &facts->wChassisId);
    read(MW_GetBoardId, &facts->wBoardId);
    read(MW_GetPCHTemp, &facts->ucPchTemp);
    read(MW_GetUidButtonStatus, &facts->ucUidButtonStatus);
    return result;
}

int32_t ReadInlets(InletTempReading *readings, uint32_t &count) {
    InletTempInfo info{};
    const int32_t result = MW_GetInletTempInfo(&info);
    std::memcpy(readings, info.atInletTemp, sizeof info.atInletTemp);
    count = info.dwInletTempCnt;
    return result;
}

constexpr Record kRecords[] = {
    Custom<BoardFacts, ReadFacts>("facts", "Board", 0),
    Custom<InletTempReading, ReadInlets>("inlets", "Inlet temperatures", MW_INLET_TEMP_MAX),
    One<SystemRestartStatus, MW_GetSystemRestartStatus>("restart", "Last start"),
    One<BoardAlarmStatusInfo, MW_GetBoardAlarmStatusInfo>("alarms", "Alarm words"),
};
const Plug plug{{"board", "Board", &midware::kBoard, kRecords, &kLayout<BoardArea>}};

}  // namespace
}  // namespace mwctl
