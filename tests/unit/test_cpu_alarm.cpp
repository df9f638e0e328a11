// Alarm states of the processors and their SEL event data.
#include "cpu_test.h"

namespace {

const struct StateSetter {
    const char *name;
    int32_t (*set)(uint32_t, uint8_t);
    uint32_t byte;  // of the alarm record
} kStates[] = {
    {"MW_SetCpuIERRState", MW_SetCpuIERRState, 4},
    {"MW_SetCpuThermalTripState", MW_SetCpuThermalTripState, 5},
    {"MW_SetCpuFRB1FailureState", MW_SetCpuFRB1FailureState, 6},
    {"MW_SetCpuFRB2FailureState", MW_SetCpuFRB2FailureState, 7},
    {"MW_SetCpuFRB3FailureState", MW_SetCpuFRB3FailureState, 8},
    {"MW_SetCpuConfigurErrorState", MW_SetCpuConfigurErrorState, 9},
    {"MW_SetCpuComplexErrorState", MW_SetCpuComplexErrorState, 10},
    {"MW_SetCpuProcessorPresenceState", MW_SetCpuProcessorPresenceState, 11},
    {"MW_SetCpuProcessorDisabledState", MW_SetCpuProcessorDisabledState, 12},
    {"MW_SetCpuTerminatorPresenceState", MW_SetCpuTerminatorPresenceState, 13},
    {"MW_SetCpuProcessorThrottledState", MW_SetCpuProcessorThrottledState, 14},
    {"MW_SetCpuUnCorrectMCEState", MW_SetCpuUnCorrectMCEState, 15},
    {"MW_SetCpuCorrectMCEState", MW_SetCpuCorrectMCEState, 16},
};

class ProcessorAlarm : public CpuTest {
 protected:
    CpuAlarmInfo alarm_[8] = {};
    uint8_t byte_ = 0;
    uint8_t event_[3] = {};
    uint32_t word_ = 0;
};

TEST_F(ProcessorAlarm, EveryAccessorFollowsTheTemplate) {
    PutCount(3);
    for (const StateSetter &state : kStates) CheckGuarded({state.name, [&] { return state.set(2, 1); }});
    const Accessor accessors[] = {
        {"MW_GetCpuAlarmInfo", [&] { return MW_GetCpuAlarmInfo(alarm_, &word_); },
         [&] { return MW_GetCpuAlarmInfo(nullptr, &word_); }},
        {"MW_GetCpuAlarmInfoByID", [&] { return MW_GetCpuAlarmInfoByID(2, alarm_); },
         [] { return MW_GetCpuAlarmInfoByID(2, nullptr); }},
        {"MW_SetCpuAlarmInfo", [&] { return MW_SetCpuAlarmInfo(alarm_); },
         [] { return MW_SetCpuAlarmInfo(nullptr); }},
        {"MW_GetCpuUnCorrectMCEState", [&] { return MW_GetCpuUnCorrectMCEState(2, &byte_); },
         [] { return MW_GetCpuUnCorrectMCEState(2, nullptr); }},
        {"MW_ClearAllCPUAlarmInfoAllStates", [] { return MW_ClearAllCPUAlarmInfoAllStates(); }},
        {"MW_SetCpuAssertSelEventDataInfo", [] { return MW_SetCpuAssertSelEventDataInfo(2, 0); }},
        {"MW_GetCpuAssertSelEventDataInfo",
         [&] {
             event_[0] = 0;
             return MW_GetCpuAssertSelEventDataInfo(2, 0, event_);
         },
         [] { return MW_GetCpuAssertSelEventDataInfo(2, 0, nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(ProcessorAlarm, AStateIsOneByteOfAnIndexUpToAndIncludingTheCount) {
    // A filled area is odd throughout: 0xFE differs from what was there.
    for (const StateSetter &state : kStates) {
        CheckStatusSetter(state.name, [&](uint32_t i) { return state.set(i, 0xFE); }, 164 + state.byte, {0xFE});
    }
}

TEST_F(ProcessorAlarm, AStateIsReadBackInTheAlarmRecord) {
    PutCount(2);
    ASSERT_EQ(MW_SetCpuThermalTripState(1, 0xFE), 0);
    ASSERT_EQ(MW_GetCpuAlarmInfoByID(1, alarm_), 0);
    EXPECT_EQ(alarm_[0].ucThermalTripState, 0xFE);
    ASSERT_EQ(MW_SetCpuUnCorrectMCEState(1, 0xFF), 0);
    ASSERT_EQ(MW_GetCpuUnCorrectMCEState(1, &byte_), 0);
    EXPECT_EQ(byte_, 0xFF);
}

TEST_F(ProcessorAlarm, GettersByIndexStayBelowTheCountOfAtMost8) {
    CheckBoundedGetter("MW_GetCpuAlarmInfoByID",
                       [](uint32_t i, void *to) { return MW_GetCpuAlarmInfoByID(i, static_cast<CpuAlarmInfo *>(to)); },
                       164, 20, count_over_, true);
    CheckBoundedGetter("MW_GetCpuUnCorrectMCEState",
                       [](uint32_t i, void *to) { return MW_GetCpuUnCorrectMCEState(i, static_cast<uint8_t *>(to)); },
                       179, 1, count_over_logged_, false);
}

TEST_F(ProcessorAlarm, AnAlarmRecordGoesToTheRecordOfItsIndex) {
    CheckSelfPlaced({"MW_SetCpuAlarmInfo",
                     [](const void *from) { return MW_SetCpuAlarmInfo(static_cast<const CpuAlarmInfo *>(from)); },
                     568 + 164, 20, 232, 8, count_over_});
}

TEST_F(ProcessorAlarm, AClearZeroesTheStatesOfEveryCountedProcessorButThePresence) {
    const uint32_t most = LastWithin(568 + 164 + 4, 13, 232) + 1;
    for (uint32_t count : {0u, 1u, 2u, 8u, 9u, most}) {  // the count has no bound but the shared area
        SCOPED_TRACE(count);
        FillArea();
        PutCount(count);
        for (uint32_t i = 0; i < count; ++i) {
            for (uint32_t byte = 4; byte <= 16; ++byte) {
                if (byte != 11) Put<uint8_t>(Alarm(i) + byte, 0);
            }
        }
        const Image expected = Image::Take();
        FillArea();
        PutCount(count);
        EXPECT_EQ(MW_ClearAllCPUAlarmInfoAllStates(), 0);
        std::vector<std::string> fills;
        for (uint32_t i = 0; i < count; ++i) fills.insert(fills.end(), {"memset_s(7, 0, 7)", "memset_s(5, 0, 5)"});
        ExpectCalls("MW_ClearAllCPUAlarmInfoAllStates", Locked(fills));
        ExpectImage(expected);
    }
    for (uint32_t count : {most + 1, Wrapping(232) + 1, 0xFFFFFFFFu}) {
        SCOPED_TRACE(count);
        FillArea();
        PutCount(count);
        const Image before = Image::Take();
        EXPECT_EQ(MW_ClearAllCPUAlarmInfoAllStates(), -1);
        ExpectCalls("MW_ClearAllCPUAlarmInfoAllStates", Locked({Dbg(kRefusal)}));
        ExpectImage(before);
    }
}

// --- event data --------------------------------------------------------------------------------------------------

class ProcessorEventData : public ProcessorAlarm {
 protected:
    // Two processors, and the record behind them, whose 15 entries carry the event offsets 14 down to 0, with varied
    // high nibbles.
    void SetUp() override {
        ProcessorAlarm::SetUp();
        FillArea();
        PutCount(2);
        for (size_t index = 0; index < 3; ++index) {
            for (size_t entry = 0; entry < 15; ++entry) {
                Put(Event(index, entry), static_cast<uint8_t>((14 - entry) | (entry % 4) << 4));
            }
        }
    }

    static std::string NotFound(const std::string &index, const std::string &data1) {
        return Dbg("[{S}:{L}]{F}:{L} Cpu " + index + " event data1:0x" + data1 + " not found \n");
    }
};

TEST_F(ProcessorEventData, AnEntryIsReplacedByTheLowNibbleOfItsFirstByte) {
    const Image before = Image::Take();
    for (uint32_t index : {0u, 1u, 2u}) {  // one equal to the count as well
        for (uint32_t offset = 0; offset < 15; ++offset) {
            SCOPED_TRACE(std::to_string(index) + ": " + std::to_string(offset));
            const uint8_t data[] = {static_cast<uint8_t>(0xA0 | offset), 0xBB, 0xCC};
            EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(index, 0xEECCBBA0 | offset), 0);
            ExpectCalls("MW_SetCpuAssertSelEventDataInfo", Locked({HovCopy(3)}));
            ExpectImage(before.With(At(Event(index, 14 - offset)), data, 3));
            Restore(before);
        }
    }
}

TEST_F(ProcessorEventData, AnEntryIsReadByTheLowNibbleOfTheCallersFirstByte) {
    const Image before = Image::Take();
    for (uint32_t index : {0u, 1u, 2u}) {
        for (uint32_t offset = 0; offset < 15; ++offset) {
            SCOPED_TRACE(std::to_string(index) + ": " + std::to_string(offset));
            event_[0] = static_cast<uint8_t>(0xD0 | offset);
            EXPECT_EQ(MW_GetCpuAssertSelEventDataInfo(index, 99, event_), 0);
            ExpectCalls("MW_GetCpuAssertSelEventDataInfo", Locked({HovCopy(3)}));
            EXPECT_EQ(memcmp(event_, Bytes(Event(index, 14 - offset), 3).data(), 3), 0);
        }
    }
    ExpectImage(before);
}

TEST_F(ProcessorEventData, TheFirstOfTwoEntriesWithTheSameOffsetCounts) {
    Put<uint8_t>(Event(1, 4), 0x53);  // offset 3 again lies in entry 11
    const Image before = Image::Take();
    event_[0] = 3;
    EXPECT_EQ(MW_GetCpuAssertSelEventDataInfo(1, 0, event_), 0);
    EXPECT_EQ(memcmp(event_, Bytes(Event(1, 4), 3).data(), 3), 0);
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 0x0201F3), 0);
    const uint8_t data[] = {0xF3, 0x01, 0x02};
    ExpectImage(before.With(At(Event(1, 4)), data, 3));
}

TEST_F(ProcessorEventData, AnOffsetThatNoEntryHasIsLogged) {
    Put<uint8_t>(Event(1, 15), 15);  // behind the fifteenth entry
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 0xFFFFFF8F), -1);
    ExpectCalls("MW_SetCpuAssertSelEventDataInfo", Locked({NotFound("1", "8f")}));
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 0x0F), -1);
    ExpectCalls("MW_SetCpuAssertSelEventDataInfo", Locked({NotFound("1", "0f")}));
    memcpy(event_, "\x3F\x02\x03", 3);
    EXPECT_EQ(MW_GetCpuAssertSelEventDataInfo(1, 0x7, event_), -1);
    ExpectCalls("MW_GetCpuAssertSelEventDataInfo", Locked({NotFound("1", "07")}));
    EXPECT_EQ(MW_GetCpuAssertSelEventDataInfo(1, 0xABCDEF12, event_), -1);
    ExpectCalls("MW_GetCpuAssertSelEventDataInfo", Locked({NotFound("1", "abcdef12")}));
    EXPECT_EQ(memcmp(event_, "\x3F\x02\x03", 3), 0);
    ExpectImage(before);
}

TEST_F(ProcessorEventData, AZeroedTableHasOffsetZeroOnly) {
    for (size_t i = 0; i < 45; ++i) Put<uint8_t>(Event(0, 0) + i, 0);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(0, 0x00A005), -1);
    ExpectCalls("MW_SetCpuAssertSelEventDataInfo", Locked({NotFound("0", "05")}));
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(0, 0x00A0F0), 0);
    const uint8_t data[] = {0xF0, 0xA0, 0x00};
    ExpectImage(before.With(At(Event(0, 0)), data, 3));
}

TEST_F(ProcessorEventData, AnIndexAboveTheCountIsLogged) {
    const Image before = Image::Take();
    for (uint32_t index : {3u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(index, 0), -1);
        ExpectCalls("MW_SetCpuAssertSelEventDataInfo", Locked({count_over_logged_}));
        EXPECT_EQ(MW_GetCpuAssertSelEventDataInfo(index, 0, event_), -1);
        ExpectCalls("MW_GetCpuAssertSelEventDataInfo", Locked({count_over_logged_}));
    }
    ExpectImage(before);
}

TEST_F(ProcessorEventData, ATableOutsideTheSharedAreaIsRefused) {
    PutCount(0xFFFFFFFF);
    const uint32_t last = LastWithin(568 + 184, 45, 232);
    const Image before = Image::Take();
    for (uint32_t index : {last + 1, Wrapping(232), 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(index, 0), -1);
        ExpectCalls("MW_SetCpuAssertSelEventDataInfo", Locked({Dbg(kRefusal)}));
        EXPECT_EQ(MW_GetCpuAssertSelEventDataInfo(index, 0, event_), -1);
        ExpectCalls("MW_GetCpuAssertSelEventDataInfo", Locked({Dbg(kRefusal)}));
    }
    ExpectImage(before);
    Put<uint8_t>(Event(last, 14), 0x10);
    for (size_t entry = 0; entry < 14; ++entry) Put<uint8_t>(Event(last, entry), 1);
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(last, 0x332200), 0);
    EXPECT_EQ(Bytes(Event(last, 14), 3), (std::vector<uint8_t>{0x00, 0x22, 0x33}));
}

}  // namespace
