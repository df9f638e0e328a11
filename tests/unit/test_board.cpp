// Board identity, temperatures, states and alarm words.
#include "accessor_test.h"

namespace {

constexpr uint32_t kKey = 12297;
constexpr ModuleFacts kBoardFacts{"board/hov_midboard", &g_ptBoardCollectAddr, 611424, 144, kKey};
constexpr char kNullInput[] = "[{S}:{L}][{F} {L}] input pointer parameter is NULL \n";

class Board : public AccessorTest {
 protected:
    Board() : AccessorTest(kBoardFacts, kLockLineError) {}

    static std::vector<std::string> Locked() { return {Lock(kKey), Unlock(kKey)}; }
    static std::vector<std::string> Copied(size_t size) { return {Lock(kKey), Copy(size), Unlock(kKey)}; }

    // A field that a value goes into, cut to its width.
    struct Field {
        const char *name;
        int32_t (*set)(uint32_t);
        size_t offset;
        size_t width;
    };
    static constexpr Field kFields[] = {
        {"MW_SetPCHTemp", MW_SetPCHTemp, 0, 1},
        {"MW_SetPlatResetCount", MW_SetPlatResetCount, 2, 2},
        {"MW_SetUidButtonStatus", MW_SetUidButtonStatus, 106, 1},
        {"MW_SetInitPowerUpState", MW_SetInitPowerUpState, 109, 1},
        {"MW_SetSystemHardResetState", MW_SetSystemHardResetState, 110, 1},
        {"MW_SetChassisId", MW_SetChassisId, 120, 2},
        {"MW_SetBoardId", MW_SetBoardId, 122, 2},
        {"MW_SetInnerProductId", MW_SetInnerProductId, 124, 4},
    };

    // What a getter makes of a stored value.
    template <class T>
    struct Reading {
        T stored;
        int32_t result;
        T read;
    };
    template <class T>
    void CheckReadings(const char *name, int32_t (*get)(T *), size_t offset, std::initializer_list<Reading<T>> rows) {
        SCOPED_TRACE(name);
        for (const Reading<T> &row : rows) {
            SCOPED_TRACE(::testing::Message() << "stored " << uint32_t{row.stored});
            FillArea();
            Put(offset, row.stored);
            const Image before = Image::Take();
            T out = kUntouched;
            EXPECT_EQ(get(&out), row.result);
            ExpectCalls(name, Locked());
            EXPECT_EQ(out, row.read);
            ExpectImage(before);
            recorder::Now().lock_result[kKey] = -1;
            out = kUntouched;
            EXPECT_EQ(get(&out), -1);
            EXPECT_EQ(out, kUntouched);
            recorder::Now().lock_result.clear();
            recorder::ClearCalls();
        }
    }
    static constexpr uint8_t kUntouched = 0xA5;

    uint8_t byte_ = 0;
    uint16_t half_ = 0;
    uint32_t word_ = 0;
    InletTempReading reading_{};
    InletTempInfo inlets_{};
    SystemRestartStatus restart_{};
    BoardAlarmStatusInfo alarms_{};
};

TEST_F(Board, EveryAccessorFollowsTheTemplate) {
    Put<uint8_t>(0, 40);
    Put<uint8_t>(106, 1);
    Put<uint16_t>(122, 1);
    Put<uint32_t>(124, 1);
    std::vector<Accessor> accessors = {
        {"MW_GetPCHTemp", [&] { return MW_GetPCHTemp(&byte_); }, [] { return MW_GetPCHTemp(nullptr); }},
        {"MW_GetPlatResetCount", [&] { return MW_GetPlatResetCount(&half_); },
         [] { return MW_GetPlatResetCount(nullptr); }},
        {"MW_SetInletTempCnt", [] { return MW_SetInletTempCnt(4); }},
        {"MW_SetInletTempInfo", [&] { return MW_SetInletTempInfo(&reading_); },
         [] { return MW_SetInletTempInfo(nullptr); }},
        {"MW_GetInletTempInfo", [&] { return MW_GetInletTempInfo(&inlets_); },
         [] { return MW_GetInletTempInfo(nullptr); }},
        {"MW_GetUidButtonStatus", [&] { return MW_GetUidButtonStatus(&byte_); },
         [] { return MW_GetUidButtonStatus(nullptr); }},
        {"MW_GetSystemRestartStatus", [&] { return MW_GetSystemRestartStatus(&restart_); },
         [] { return MW_GetSystemRestartStatus(nullptr); }},
        {"MW_GetChassisId", [&] { return MW_GetChassisId(&half_); }, [] { return MW_GetChassisId(nullptr); }},
        {"MW_GetBoardId", [&] { return MW_GetBoardId(&half_); }, [] { return MW_GetBoardId(nullptr); }},
        {"MW_GetInnerProductId", [&] { return MW_GetInnerProductId(&word_); },
         [] { return MW_GetInnerProductId(nullptr); }},
        {"MW_SetBoardAlarmStatusInfo", [&] { return MW_SetBoardAlarmStatusInfo(&alarms_); }},
        {"MW_GetBoardAlarmStatusInfo", [&] { return MW_GetBoardAlarmStatusInfo(&alarms_); }},
        {"MW_InitBoardAlarmStatusInfo", [] { return MW_InitBoardAlarmStatusInfo(); }},
    };
    for (const Field &field : kFields) accessors.push_back({field.name, [&] { return field.set(1); }});
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Board, SettersKeepTheLowBitsOfTheirValue) {
    for (const Field &field : kFields) {
        FillArea();
        const Image before = Image::Take();
        for (uint32_t value : {0u, 1u, 255u, 511u, 0x12345678u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::string(field.name) + " " + std::to_string(value));
            EXPECT_EQ(field.set(value), 0);
            ExpectCalls(field.name, Locked());
            ExpectImage(before.With(At(field.offset), &value, field.width));  // little-endian
        }
    }
}

TEST_F(Board, ThePchTemperatureIsValidFrom1To124) {
    CheckReadings<uint8_t>("MW_GetPCHTemp", MW_GetPCHTemp, 0,
                           {{0, -1, kUntouched},
                            {1, 0, 1},
                            {60, 0, 60},
                            {124, 0, 124},
                            {125, -1, kUntouched},
                            {255, -1, kUntouched}});
}

TEST_F(Board, TheResetCountIsHandedOutAsItIs) {
    CheckReadings<uint16_t>("MW_GetPlatResetCount", MW_GetPlatResetCount, 2,
                            {{0, 0, 0}, {1, 0, 1}, {0x1234, 0, 0x1234}, {65535, 0, 65535}});
}

TEST_F(Board, TheUidButtonIsHandedOutAlsoWhereItIsNotSet) {
    CheckReadings<uint8_t>("MW_GetUidButtonStatus", MW_GetUidButtonStatus, 106,
                           {{0, -1, 0}, {1, 0, 1}, {2, 0, 2}, {255, 0, 255}});
}

TEST_F(Board, OnlyAChassisIdOf65535IsNotSet) {
    CheckReadings<uint16_t>(
        "MW_GetChassisId", MW_GetChassisId, 120,
        {{0, 0, 0}, {1, 0, 1}, {0xFFFE, 0, 0xFFFE}, {0x00FF, 0, 0x00FF}, {65535, -1, kUntouched}});
}

TEST_F(Board, OnlyABoardOrProductIdOf0IsNotSet) {
    CheckReadings<uint16_t>("MW_GetBoardId", MW_GetBoardId, 122,
                            {{0, -1, kUntouched}, {1, 0, 1}, {256, 0, 256}, {65535, 0, 65535}});
    CheckReadings<uint32_t>(
        "MW_GetInnerProductId", MW_GetInnerProductId, 124,
        {{0, -1, kUntouched}, {1, 0, 1}, {65535, 0, 65535}, {0x10000, 0, 0x10000}, {0xFFFFFFFF, 0, 0xFFFFFFFF}});
}

TEST_F(Board, UpToFourInletSensorsCanBeCounted) {
    FillArea();
    const Image before = Image::Take();
    for (uint32_t count = 0; count <= 4; ++count) {
        EXPECT_EQ(MW_SetInletTempCnt(count), 0);
        ExpectCalls("MW_SetInletTempCnt", Locked());
        ExpectImage(before.With(At(8), count));
    }
    Detach();
    for (uint32_t count : {5u, 0x80000000u, 0xFFFFFFFFu}) EXPECT_EQ(MW_SetInletTempCnt(count), -1);
    ExpectNoCalls();
    ExpectImage(before.With<uint32_t>(At(8), 4));
}

TEST_F(Board, AnInletReadingLandsWhereItsIndexSays) {
    // 4 and more run on, the last one into the area behind.
    for (uint32_t index : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 127u, 128u, 255u}) {
        for (uint32_t count : {0u, 4u}) {
            SCOPED_TRACE(index);
            FillArea();
            Put(8, count);
            const Image before = Image::Take();
            reading_ = PatternOf<InletTempReading>(21);
            reading_.ucIndex = static_cast<uint8_t>(index);
            EXPECT_EQ(MW_SetInletTempInfo(&reading_), 0);
            ExpectCalls("MW_SetInletTempInfo", Copied(23));
            ExpectImage(before.With(At(12 + 23 * index), &reading_, 23));
        }
    }
}

TEST_F(Board, InletReadingsAreSeenBehindTheCount) {
    for (uint32_t count : {0u, 2u, 0xFFFFFFFFu}) {
        FillArea();
        Put(8, count);
        reading_ = PatternOf<InletTempReading>(22);
        reading_.ucIndex = 2;
        ASSERT_EQ(MW_SetInletTempInfo(&reading_), 0);
        recorder::ClearCalls();
        const Image before = Image::Take();
        EXPECT_EQ(MW_GetInletTempInfo(&inlets_), 0);
        ExpectCalls("MW_GetInletTempInfo", Copied(96));
        EXPECT_EQ(memcmp(&inlets_, recorder::Area() + At(8), 96), 0);
        EXPECT_EQ(memcmp(reinterpret_cast<const char *>(&inlets_) + 50, &reading_, 23), 0);
        EXPECT_EQ(memcmp(&inlets_.atInletTemp[2], &reading_, 23), 0);
        EXPECT_EQ(inlets_.dwInletTempCnt, count);
        ExpectImage(before);
    }
}

TEST_F(Board, TheRestartStatusIsCopiedWholeByTheOtherCopy) {
    FillArea();
    ASSERT_EQ(MW_SetInitPowerUpState(1), 0);
    ASSERT_EQ(MW_SetSystemHardResetState(2), 0);
    recorder::ClearCalls();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetSystemRestartStatus(&restart_), 0);
    ExpectCalls("MW_GetSystemRestartStatus", {Lock(kKey), HovCopy(8), Unlock(kKey)});
    EXPECT_EQ(memcmp(&restart_, recorder::Area() + At(109), 8), 0);
    EXPECT_EQ(restart_.ucInitPowerUpState, 1);
    EXPECT_EQ(restart_.ucSystemHardResetState, 2);
    ExpectImage(before);
}

TEST_F(Board, AlarmWordsAreStoredHandedOutAndCleared) {
    FillArea();
    const Image before = Image::Take();
    alarms_ = {{0x01020304, 0, 0xFFFFFFFF}};
    EXPECT_EQ(MW_SetBoardAlarmStatusInfo(&alarms_), 0);
    ExpectCalls("MW_SetBoardAlarmStatusInfo", Locked());
    const Image with_alarms = before.With(At(128), &alarms_, 12);
    ExpectImage(with_alarms);
    BoardAlarmStatusInfo read = PatternOf<BoardAlarmStatusInfo>(3);
    EXPECT_EQ(MW_GetBoardAlarmStatusInfo(&read), 0);
    ExpectCalls("MW_GetBoardAlarmStatusInfo", Copied(12));
    EXPECT_EQ(memcmp(&read, &alarms_, 12), 0);
    ExpectImage(with_alarms);
    EXPECT_EQ(MW_InitBoardAlarmStatusInfo(), 0);
    ExpectCalls("MW_InitBoardAlarmStatusInfo", {Lock(kKey), "memset_s(12, 0, 12)", Unlock(kKey)});
    ExpectImage(before.Zeroed(At(128), 12));
}

TEST_F(Board, TheAlarmSetterDoesNotTestItsPointer) {
    recorder::Now().lock_result[kKey] = -1;
    EXPECT_EQ(MW_SetBoardAlarmStatusInfo(nullptr), -1);
    ExpectCalls("MW_SetBoardAlarmStatusInfo", {Lock(kKey), Dbg(kLockLineError)});
}

TEST_F(Board, TheAlarmGetterAttachesBeforeItTestsItsPointer) {
    EXPECT_EQ(MW_GetBoardAlarmStatusInfo(nullptr), -1);
    ExpectCalls("MW_GetBoardAlarmStatusInfo", {Dbg(kNullInput)});
    Detach();
    EXPECT_EQ(MW_GetBoardAlarmStatusInfo(nullptr), -1);
    ExpectCalls("MW_GetBoardAlarmStatusInfo", {AttachCall(), Dbg(kNullInput)});
    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(MW_GetBoardAlarmStatusInfo(nullptr), -1);
    ExpectCalls("MW_GetBoardAlarmStatusInfo", {AttachCall(), AttachFailurePrint()});
}

TEST_F(Board, FailedLocksLeaveTheCallersRecordsAlone) {
    FillArea();
    recorder::Now().lock_result[kKey] = -1;
    inlets_ = PatternOf<InletTempInfo>(4);
    restart_ = PatternOf<SystemRestartStatus>(5);
    alarms_ = PatternOf<BoardAlarmStatusInfo>(6);
    EXPECT_EQ(MW_GetInletTempInfo(&inlets_), -1);
    EXPECT_EQ(MW_GetSystemRestartStatus(&restart_), -1);
    EXPECT_EQ(MW_GetBoardAlarmStatusInfo(&alarms_), -1);
    EXPECT_EQ(memcmp(&inlets_, Pattern(96, 4).data(), 96), 0);
    EXPECT_EQ(memcmp(&restart_, Pattern(8, 5).data(), 8), 0);
    EXPECT_EQ(memcmp(&alarms_, Pattern(12, 6).data(), 12), 0);
}

TEST_F(Board, AfterInitOnlyTheChassisIdIsSet) {
    FillArea();
    ASSERT_EQ(MW_MidWareInit(), 0);
    half_ = 4711;
    EXPECT_EQ(MW_GetChassisId(&half_), 0);
    EXPECT_EQ(half_, 0);
    EXPECT_EQ(MW_GetBoardId(&half_), -1);
    EXPECT_EQ(MW_GetInnerProductId(&word_), -1);
    EXPECT_EQ(MW_GetPCHTemp(&byte_), -1);
    EXPECT_EQ(MW_GetUidButtonStatus(&byte_), -1);
}

}  // namespace
