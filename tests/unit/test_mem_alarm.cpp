// Alarm states of the DIMMs and their SEL event data.
#include "mem_test.h"

namespace {

const struct StateSetter {
    const char *name;
    int32_t (*set)(uint32_t, uint32_t);
    uint32_t byte;  // of the alarm record
    bool silent;    // on a count above 64
} kStates[] = {
    {"MW_SetMemCorrectECCState", MW_SetMemCorrectECCState, 4, true},
    {"MW_SetMemUnCorrectECCState", MW_SetMemUnCorrectECCState, 5, false},
    {"MW_SetMemMemParityState", MW_SetMemMemParityState, 6, false},
    {"MW_SetMemMemScrubFailState", MW_SetMemMemScrubFailState, 7, false},
    {"MW_SetMemMemDisabledState", MW_SetMemMemDisabledState, 8, false},
    {"MW_SetMemCorrectECCLimitState", MW_SetMemCorrectECCLimitState, 9, false},
    {"MW_SetMemPresetProtectState", MW_SetMemPresetProtectState, 10, false},
    {"MW_SetMemConfigurErrorState", MW_SetMemConfigurErrorState, 11, false},
    {"MW_SetMemMemSpareState", MW_SetMemMemSpareState, 12, false},
    {"MW_SetMemMemAutoThrottledState", MW_SetMemMemAutoThrottledState, 13, false},
    {"MW_SetMemMemOverTempState", MW_SetMemMemOverTempState, 14, false},
    {"MW_SetMemPredictiveFailureState", MW_SetMemPredictiveFailureState, 15, false},
    {"MW_SetMemIsolationState", MW_SetMemIsolationState, 16, false},
    {"MW_SetMemCorrectECCCnt", MW_SetMemCorrectECCCnt, 17, true},
};

class MemoryAlarm : public MemoryTest {
 protected:
    MemAlarmInfo alarm_[64] = {};
    uint8_t event_[3] = {};
    uint32_t word_ = 0;
    const std::string count_over_logged_ = Dbg("[{S}:{L}]{F}:{L} Dimm count over \n");
};

TEST_F(MemoryAlarm, EveryAccessorFollowsTheTemplate) {
    PutNumbers({1, 2, 3});
    for (const StateSetter &state : kStates) CheckGuarded({state.name, [&] { return state.set(2, 1); }});
    const Accessor accessors[] = {
        {"MW_GetMemAlarmInfo", [&] { return MW_GetMemAlarmInfo(alarm_, &word_); },
         [&] { return MW_GetMemAlarmInfo(nullptr, &word_); }},
        {"MW_GetMemAlarmInfoByDimmNum", [&] { return MW_GetMemAlarmInfoByDimmNum(alarm_, 2); },
         [] { return MW_GetMemAlarmInfoByDimmNum(nullptr, 2); }},
        {"MW_SetMemAlarmInfo", [&] { return MW_SetMemAlarmInfo(alarm_); },
         [] { return MW_SetMemAlarmInfo(nullptr); }},
        {"MW_ClearMemStatusInfoALLStates", [] { return MW_ClearMemStatusInfoALLStates(); }},
        {"MW_SetMemAssertSelEventDataInfo", [] { return MW_SetMemAssertSelEventDataInfo(2, 0); }},
        {"MW_GetMemAssertSelEventDataInfo", [&] { return MW_GetMemAssertSelEventDataInfo(2, 0, event_); },
         [] { return MW_GetMemAssertSelEventDataInfo(2, 0, nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

// --- whole records -----------------------------------------------------------------------------------------------

TEST_F(MemoryAlarm, AnAlarmRecordIsFoundByTheFirstSlotOfItsNumber) {
    FillArea();
    PutNumbers({5, 7, 7, 9});
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetMemAlarmInfoByDimmNum(alarm_, 7), 0);
    ExpectCalls("MW_GetMemAlarmInfoByDimmNum", Locked({Copy(24)}));
    EXPECT_EQ(memcmp(alarm_, Bytes(Alarm(1), 24).data(), 24), 0);
    ExpectImage(before);
}

TEST_F(MemoryAlarm, AnUnknownNumberIsASuccessThatLeavesTheBufferAlone) {
    FillArea();
    alarm_[0] = PatternOf<MemAlarmInfo>(9);
    const MemAlarmInfo given = alarm_[0];
    PutNumbers({5, 7, 7, 9});
    PutCount(3);  // 9 is not counted
    for (uint32_t number : {0u, 9u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetMemAlarmInfoByDimmNum(alarm_, number), 0);
        ExpectCalls("MW_GetMemAlarmInfoByDimmNum", Locked());
    }
    PutCount(0);
    EXPECT_EQ(MW_GetMemAlarmInfoByDimmNum(alarm_, 5), 0);
    ExpectCalls("MW_GetMemAlarmInfoByDimmNum", Locked());
    EXPECT_EQ(memcmp(alarm_, &given, 24), 0);
}

TEST_F(MemoryAlarm, AnAlarmRecordIsSearchedInAtMost64Slots) {
    FillArea();
    PutCount(64);
    Put<uint32_t>(Status(63), 0);
    EXPECT_EQ(MW_GetMemAlarmInfoByDimmNum(alarm_, 0), 0);
    ExpectCalls("MW_GetMemAlarmInfoByDimmNum", Locked({Copy(24)}));
    EXPECT_EQ(memcmp(alarm_, Bytes(Alarm(63), 24).data(), 24), 0);
    for (uint32_t count : {65u, 0xFFFFFFFFu}) {
        PutCount(count);
        EXPECT_EQ(MW_GetMemAlarmInfoByDimmNum(alarm_, 0), -1);
        ExpectCalls("MW_GetMemAlarmInfoByDimmNum", Locked({count_over_}));
    }
}

TEST_F(MemoryAlarm, AnAlarmRecordGoesToTheSlotOfItsFirstWord) {
    CheckSelfPlaced({"MW_SetMemAlarmInfo",
                     [](const void *from) { return MW_SetMemAlarmInfo(static_cast<const MemAlarmInfo *>(from)); },
                     5652 + 3888, 24, 3960, 64, count_over_});
}

// --- states ------------------------------------------------------------------------------------------------------

TEST_F(MemoryAlarm, AStateIsOneByteOfTheFirstSlotOfTheNumber) {
    for (const StateSetter &state : kStates) {
        SCOPED_TRACE(state.name);
        for (uint32_t value : {0u, 1u, 0x1FFu, 0xFFFFFF00u}) {
            FillArea();
            PutNumbers({5, 7, 7, 9});
            const Image before = Image::Take();
            EXPECT_EQ(state.set(7, value), 0);
            ExpectCalls(state.name, Locked());
            ExpectImage(before.With(Alarm(1) + state.byte, static_cast<uint8_t>(value)));
        }
    }
}

TEST_F(MemoryAlarm, AStateReachesTheLastOf64Slots) {
    for (const StateSetter &state : kStates) {
        SCOPED_TRACE(state.name);
        FillArea();
        PutCount(64);
        Put<uint32_t>(Status(63), 0);
        const Image before = Image::Take();
        EXPECT_EQ(state.set(0, 0), 0);
        ExpectImage(before.With<uint8_t>(Alarm(63) + state.byte, 0));
    }
}

TEST_F(MemoryAlarm, AnUnknownNumberIsASilentFailure) {
    FillArea();
    PutNumbers({5, 7, 7, 9});
    for (uint32_t count : {0u, 1u, 3u}) {
        PutCount(count);
        const Image before = Image::Take();
        for (const StateSetter &state : kStates) {
            SCOPED_TRACE(state.name);
            EXPECT_EQ(state.set(9, 0), -1);
            ExpectCalls(state.name, Locked());
            ExpectImage(before);
        }
    }
}

TEST_F(MemoryAlarm, ACountAbove64IsPrintedByAllStatesButTwo) {
    FillArea();
    Put<uint32_t>(Status(0), 5);
    for (uint32_t count : {65u, 0xFFFFFFFFu}) {
        PutCount(count);
        const Image before = Image::Take();
        for (const StateSetter &state : kStates) {
            SCOPED_TRACE(state.name);
            EXPECT_EQ(state.set(5, 0), -1);
            ExpectCalls(state.name, state.silent ? Locked() : Locked({count_over_}));
            ExpectImage(before);
        }
    }
}

TEST_F(MemoryAlarm, AStateIsReadBackInTheAlarmRecord) {
    PutNumbers({3, 7});
    ASSERT_EQ(MW_SetMemMemOverTempState(7, 1), 0);
    ASSERT_EQ(MW_GetMemAlarmInfoByDimmNum(alarm_, 7), 0);
    EXPECT_EQ(alarm_[0].ucMemOverTempState, 1);
    ASSERT_EQ(MW_GetMemAlarmInfoByDimmNum(alarm_, 3), 0);
    EXPECT_EQ(alarm_[0].ucMemOverTempState, 0);
}

TEST_F(MemoryAlarm, AClearZeroesTheThirteenStatesOfEveryCountedSlot) {
    for (uint32_t count : {0u, 1u, 2u, 64u}) {
        SCOPED_TRACE(count);
        FillArea();
        PutCount(count);
        for (uint32_t slot = 0; slot < count; ++slot) {
            const uint8_t zeros[13] = {};
            memcpy(recorder::Area() + Alarm(slot) + 4, zeros, 13);
        }
        const Image expected = Image::Take();
        FillArea();
        PutCount(count);
        EXPECT_EQ(MW_ClearMemStatusInfoALLStates(), 0);
        ExpectCalls("MW_ClearMemStatusInfoALLStates",
                    Locked(std::vector<std::string>(count, "memset_s(13, 0, 13)")));
        ExpectImage(expected);
    }
}

TEST_F(MemoryAlarm, AClearWithACountAbove64IsASilentFailure) {
    FillArea();
    for (uint32_t count : {65u, 0xFFFFFFFFu}) {
        PutCount(count);
        const Image before = Image::Take();
        EXPECT_EQ(MW_ClearMemStatusInfoALLStates(), -1);
        ExpectCalls("MW_ClearMemStatusInfoALLStates", Locked());
        ExpectImage(before);
    }
}

// --- event data --------------------------------------------------------------------------------------------------

class MemoryEventData : public MemoryAlarm {
 protected:
    // Three slots, 5, 7 and 7, whose 15 entries carry the event offsets 14 down to 0, with varied high nibbles.
    void SetUp() override {
        MemoryAlarm::SetUp();
        FillArea();
        PutNumbers({5, 7, 7});
        for (size_t slot = 0; slot < 3; ++slot) {
            for (size_t entry = 0; entry < 15; ++entry) {
                Put(Event(slot, entry), static_cast<uint8_t>((14 - entry) | (entry % 4) << 4));
            }
        }
    }
};

TEST_F(MemoryEventData, AnEntryIsReplacedByTheLowNibbleOfItsFirstByte) {
    const Image before = Image::Take();
    for (uint32_t offset = 0; offset < 15; ++offset) {
        SCOPED_TRACE(offset);
        const uint8_t data[] = {static_cast<uint8_t>(0xA0 | offset), 0xBB, 0xCC};
        EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(7, 0xEECCBBA0 | offset), 0);
        ExpectCalls("MW_SetMemAssertSelEventDataInfo", Locked({HovCopy(3)}));
        ExpectImage(before.With(Event(1, 14 - offset), data, 3));
        Restore(before);
    }
}

TEST_F(MemoryEventData, AnEntryIsReadByTheLowNibbleOfTheOffset) {
    const Image before = Image::Take();
    for (uint32_t offset = 0; offset < 15; ++offset) {
        SCOPED_TRACE(offset);
        EXPECT_EQ(MW_GetMemAssertSelEventDataInfo(7, 0x12345670 | offset, event_), 0);
        ExpectCalls("MW_GetMemAssertSelEventDataInfo", Locked({HovCopy(3)}));
        EXPECT_EQ(memcmp(event_, Bytes(Event(1, 14 - offset), 3).data(), 3), 0);
    }
    ExpectImage(before);
}

TEST_F(MemoryEventData, TheFirstOfTwoEntriesWithTheSameOffsetCounts) {
    Put<uint8_t>(Event(1, 4), 0x53);   // offset 3 again lies in entry 11
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetMemAssertSelEventDataInfo(7, 3, event_), 0);
    EXPECT_EQ(memcmp(event_, Bytes(Event(1, 4), 3).data(), 3), 0);
    EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(7, 0x030201F3 & 0xFFFFFF), 0);
    const uint8_t data[] = {0xF3, 0x01, 0x02};
    ExpectImage(before.With(Event(1, 4), data, 3));
}

TEST_F(MemoryEventData, AnOffsetThatNoEntryHasIsASilentFailure) {
    // The byte behind the fifteenth entry has the offset that is missing.
    Put<uint8_t>(Event(1, 15), 15);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(7, 15), -1);
    ExpectCalls("MW_SetMemAssertSelEventDataInfo", Locked());
    memcpy(event_, "\x01\x02\x03", 3);
    EXPECT_EQ(MW_GetMemAssertSelEventDataInfo(7, 15, event_), -1);
    ExpectCalls("MW_GetMemAssertSelEventDataInfo", Locked());
    EXPECT_EQ(memcmp(event_, "\x01\x02\x03", 3), 0);
    ExpectImage(before);
}

TEST_F(MemoryEventData, AZeroedTableHasOffsetZeroOnly) {
    for (size_t i = 0; i < 45; ++i) Put<uint8_t>(Event(0, 0) + i, 0);
    EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(5, 0x00A003), -1);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(5, 0x00A0F0), 0);
    const uint8_t data[] = {0xF0, 0xA0, 0x00};
    ExpectImage(before.With(Event(0, 0), data, 3));
}

TEST_F(MemoryEventData, AnUnknownNumberIsASilentFailure) {
    for (uint32_t count : {0u, 1u}) {
        PutCount(count);
        EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(7, 0), -1);
        ExpectCalls("MW_SetMemAssertSelEventDataInfo", Locked());
        EXPECT_EQ(MW_GetMemAssertSelEventDataInfo(7, 0, event_), -1);
        ExpectCalls("MW_GetMemAssertSelEventDataInfo", Locked());
    }
}

TEST_F(MemoryEventData, ACountAbove64IsLogged) {
    for (uint32_t count : {65u, 0xFFFFFFFFu}) {
        PutCount(count);
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(7, 0), -1);
        ExpectCalls("MW_SetMemAssertSelEventDataInfo", Locked({count_over_logged_}));
        EXPECT_EQ(MW_GetMemAssertSelEventDataInfo(7, 0, event_), -1);
        ExpectCalls("MW_GetMemAssertSelEventDataInfo", Locked({count_over_logged_}));
        ExpectImage(before);
    }
}

TEST_F(MemoryEventData, TheTableOfTheLastOf64SlotsIsReached) {
    PutCount(64);
    Put<uint32_t>(Status(63), 0);
    Put<uint8_t>(Event(63, 0), 0x2F);
    EXPECT_EQ(MW_GetMemAssertSelEventDataInfo(0, 15, event_), 0);
    EXPECT_EQ(memcmp(event_, Bytes(Event(63, 0), 3).data(), 3), 0);
}

}  // namespace
