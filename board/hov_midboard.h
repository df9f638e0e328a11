// The board area: single facts about the board, with gaps that nobody addresses.
#ifndef HOV_MIDBOARD_H
#define HOV_MIDBOARD_H

#include "hov_midware.h"
#include "midware/board.h"

namespace midware {

struct BoardArea {
    static constexpr const Module &kModule = kBoard;

    uint8_t ucPchTemp;
    uint8_t ucGap1;
    uint16_t wPlatResetCount;
    uint8_t aucGap4[4];
    InletTempInfo tInletTempInfo;
    uint8_t aucGap104[2];
    uint8_t ucUidButtonStatus;
    uint8_t aucGap107[2];
    SystemRestartStatus tRestartStatus;
    uint8_t aucGap117[3];
    uint16_t wChassisId;
    uint16_t wBoardId;
    uint32_t dwInnerProductId;
    BoardAlarmStatusInfo tAlarmStatus;
    uint8_t aucGap140[4];
};

static_assert(offsetof(BoardArea, ucPchTemp) == 0);
static_assert(offsetof(BoardArea, wPlatResetCount) == 2);
static_assert(offsetof(BoardArea, tInletTempInfo) == 8);
static_assert(offsetof(BoardArea, tInletTempInfo.atInletTemp) == 12);
static_assert(offsetof(BoardArea, ucUidButtonStatus) == 106);
static_assert(offsetof(BoardArea, tRestartStatus.ucInitPowerUpState) == 109);
static_assert(offsetof(BoardArea, tRestartStatus.ucSystemHardResetState) == 110);
static_assert(offsetof(BoardArea, wChassisId) == 120);
static_assert(offsetof(BoardArea, wBoardId) == 122);
static_assert(offsetof(BoardArea, dwInnerProductId) == 124);
static_assert(offsetof(BoardArea, tAlarmStatus) == 128);
static_assert(sizeof(BoardArea) == kBoard.size);

}  // namespace midware

#endif
