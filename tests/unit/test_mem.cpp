// DIMM inventory, temperatures and totals.
#include "mem_test.h"

namespace {

class Memory : public MemoryTest {
 protected:
    MemPhyInfo phy_[64] = {};
    MemTempInfo temp_[64] = {};
    MemAlarmInfo alarm_[64] = {};
    MemAssetInfo asset_[64] = {};
    uint32_t word_ = 0;
    uint16_t half_ = 0;
};

TEST_F(Memory, EveryAccessorFollowsTheTemplate) {
    PutNumbers({1, 2, 3});
    Put<uint32_t>(4, 3);
    Put<uint32_t>(Phy(1), 5);
    phy_[0].dwMemNum = 5;
    static MemStatusInfo status[3];
    const Accessor accessors[] = {
        {"MW_GetMemCount", [&] { return MW_GetMemCount(&word_); }, [] { return MW_GetMemCount(nullptr); }},
        {"MW_GetMemTotalPower", [&] { return MW_GetMemTotalPower(&half_); },
         [] { return MW_GetMemTotalPower(nullptr); }},
        {"MW_SetMemTotalPower", [] { return MW_SetMemTotalPower(9); }},
        {"MW_GetMemTotalSizeGB", [&] { return MW_GetMemTotalSizeGB(&word_); },
         [] { return MW_GetMemTotalSizeGB(nullptr); }},
        {"MW_GetMemPhyInfo", [&] { return MW_GetMemPhyInfo(phy_, &word_); },
         [&] { return MW_GetMemPhyInfo(nullptr, &word_); }},
        {"MW_GetMemPhyInfoByMemNum", [&] { return MW_GetMemPhyInfoByMemNum(phy_, 5); },
         [] { return MW_GetMemPhyInfoByMemNum(nullptr, 5); }},
        {"MW_GetMemPhyInfoByPhyInfo", [&] { return MW_GetMemPhyInfoByPhyInfo(phy_); },
         [] { return MW_GetMemPhyInfoByPhyInfo(nullptr); }},
        {"MW_SetMemPhyInfo", [&] { return MW_SetMemPhyInfo(phy_, 3); },
         [] { return MW_SetMemPhyInfo(nullptr, 3); }},
        {"MW_SetMemDimmNuminStatusInfo", [] { return MW_SetMemDimmNuminStatusInfo(status, 3); },
         [] { return MW_SetMemDimmNuminStatusInfo(nullptr, 3); }},
        {"MW_SetMemPresentStatus", [] { return MW_SetMemPresentStatus(1, 1); }},
        {"MW_GetMemTempInfo", [&] { return MW_GetMemTempInfo(temp_, &word_); },
         [&] { return MW_GetMemTempInfo(nullptr, &word_); }},
        {"MW_GetMemTempInfoByDimmNum", [&] { return MW_GetMemTempInfoByDimmNum(temp_, 2); },
         [] { return MW_GetMemTempInfoByDimmNum(nullptr, 2); }},
        {"MW_SetMemTempInfo", [&] { return MW_SetMemTempInfo(temp_); }, [] { return MW_SetMemTempInfo(nullptr); }},
        {"MW_SetMemCurrentTemp", [] { return MW_SetMemCurrentTemp(1, 2, 3, 4); }},
        {"MW_GetCpuMemGTemp", [&] { return MW_GetCpuMemGTemp(1, &word_); },
         [] { return MW_GetCpuMemGTemp(1, nullptr); }},
        {"MW_SetCpuMemGTemp", [] { return MW_SetCpuMemGTemp(1, 2); }},
        {"MW_GetMemAssetInfo", [&] { return MW_GetMemAssetInfo(asset_, &word_); },
         [&] { return MW_GetMemAssetInfo(nullptr, &word_); }},
        {"MW_SetMemAssetInfo", [&] { return MW_SetMemAssetInfo(asset_, 3); },
         [] { return MW_SetMemAssetInfo(nullptr, 3); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Memory, TotalsAreOneFieldEach) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetMemCount(&word_), 0);
    ExpectCalls("MW_GetMemCount", Locked());
    EXPECT_EQ(word_, Get<uint32_t>(4));
    EXPECT_EQ(MW_GetMemTotalPower(&half_), 0);
    ExpectCalls("MW_GetMemTotalPower", Locked());
    EXPECT_EQ(half_, Get<uint16_t>(12));
    ExpectImage(before);
    EXPECT_EQ(MW_SetMemTotalPower(0xABCD1234), 0);
    ExpectCalls("MW_SetMemTotalPower", Locked());
    ExpectImage(before.With<uint16_t>(12, 0x1234));
}

TEST_F(Memory, AFailedLockLeavesTheCallersBufferAlone) {
    const struct {
        const char *name;
        std::function<int32_t(void *)> call;
    } rows[] = {
        {"MW_GetMemCount", [](void *to) { return MW_GetMemCount(static_cast<uint32_t *>(to)); }},
        {"MW_GetMemTotalPower", [](void *to) { return MW_GetMemTotalPower(static_cast<uint16_t *>(to)); }},
        {"MW_GetMemTotalSizeGB", [](void *to) { return MW_GetMemTotalSizeGB(static_cast<uint32_t *>(to)); }},
        {"MW_GetMemPhyInfoByMemNum", [](void *to) { return MW_GetMemPhyInfoByMemNum(static_cast<MemPhyInfo *>(to), 0); }},
        {"MW_GetMemPhyInfoByPhyInfo", [](void *to) { return MW_GetMemPhyInfoByPhyInfo(static_cast<MemPhyInfo *>(to)); }},
        {"MW_GetMemTempInfoByDimmNum",
         [](void *to) { return MW_GetMemTempInfoByDimmNum(static_cast<MemTempInfo *>(to), 1); }},
        {"MW_GetMemAlarmInfoByDimmNum",
         [](void *to) { return MW_GetMemAlarmInfoByDimmNum(static_cast<MemAlarmInfo *>(to), 0); }},
        {"MW_GetMemAssertSelEventDataInfo",
         [](void *to) { return MW_GetMemAssertSelEventDataInfo(0, 0, static_cast<uint8_t *>(to)); }},
        {"MW_GetCpuMemGTemp", [](void *to) { return MW_GetCpuMemGTemp(1, static_cast<uint32_t *>(to)); }},
    };
    PutNumbers({0, 0, 0});
    for (const auto &row : rows) CheckUntouchedWithoutLock(row.name, row.call);
}

TEST_F(Memory, ListsAreCopiedOutBackToBack) {
    const ListGetter getters[] = {
        {"MW_GetMemPhyInfo", [](void *to, uint32_t *n) { return MW_GetMemPhyInfo(static_cast<MemPhyInfo *>(to), n); },
         0, 20, 88, 88, 64, ""},
        {"MW_GetMemTempInfo",
         [](void *to, uint32_t *n) { return MW_GetMemTempInfo(static_cast<MemTempInfo *>(to), n); }, 0, 5696, 52, 3960,
         64, count_over_},
        {"MW_GetMemAlarmInfo",
         [](void *to, uint32_t *n) { return MW_GetMemAlarmInfo(static_cast<MemAlarmInfo *>(to), n); }, 0, 9540, 24,
         3960, 64, count_over_},
        {"MW_GetMemAssetInfo",
         [](void *to, uint32_t *n) { return MW_GetMemAssetInfo(static_cast<MemAssetInfo *>(to), n); }, 4, 259096, 824,
         824, 64, ""},
    };
    for (const ListGetter &getter : getters) CheckListGetter(getter);
}

TEST_F(Memory, ListsAreStoredWithTheirCount) {
    const ListSetter setters[] = {
        {"MW_SetMemPhyInfo",
         [](const void *from, uint32_t n) { return MW_SetMemPhyInfo(static_cast<const MemPhyInfo *>(from), n); }, 0,
         20, 88, 64},
        {"MW_SetMemDimmNuminStatusInfo",
         [](const void *from, uint32_t n) {
             return MW_SetMemDimmNuminStatusInfo(static_cast<const MemStatusInfo *>(from), n);
         },
         0, 5652, 3960, 64},
        {"MW_SetMemAssetInfo",
         [](const void *from, uint32_t n) { return MW_SetMemAssetInfo(static_cast<const MemAssetInfo *>(from), n); },
         4, 259096, 824, 64},
    };
    for (const ListSetter &setter : setters) CheckListSetter(setter);
}

// --- total size --------------------------------------------------------------------------------------------------

TEST_F(Memory, TheTotalSizeIsTheSumOverTheCountedRecords) {
    FillArea();
    Put<uint32_t>(Asset(0) + 720, 16);
    Put<uint32_t>(Asset(1) + 720, 32);
    Put<uint32_t>(Asset(2) + 720, 0xFFFFFFFF);
    const uint32_t sums[] = {0, 16, 48, 47};
    for (uint32_t n = 0; n < 4; ++n) {
        Put<uint32_t>(4, n);
        const Image before = Image::Take();
        EXPECT_EQ(MW_GetMemTotalSizeGB(&word_), 0);
        EXPECT_EQ(word_, sums[n]);
        ExpectCalls("MW_GetMemTotalSizeGB", Locked());
        ExpectImage(before);
    }
}

TEST_F(Memory, TheTotalSizeTakesAnyCountThatStaysInTheSharedArea) {
    const uint32_t most = LastWithin(259096 + 720, 4, 824) + 1;
    for (uint32_t i = 0; i < most; ++i) Put<uint32_t>(Asset(i) + 720, i);
    Put<uint32_t>(4, most);
    EXPECT_EQ(MW_GetMemTotalSizeGB(&word_), 0);
    EXPECT_EQ(word_, most * (most - 1) / 2);
    ExpectCalls("MW_GetMemTotalSizeGB", Locked());
    for (uint32_t n : {most + 1, Wrapping(824) + 1, 0xFFFFFFFFu}) {
        Put<uint32_t>(4, n);
        word_ = 5;
        EXPECT_EQ(MW_GetMemTotalSizeGB(&word_), -1);
        EXPECT_EQ(word_, 5u);
        ExpectCalls("MW_GetMemTotalSizeGB", Locked({Dbg(kRefusal)}));
    }
}

// --- physical locations ------------------------------------------------------------------------------------------

TEST_F(Memory, ALocationIsFoundByTheFirstMatchingNumberWithinTheCount) {
    FillArea();
    PutCount(70);  // not compared with 64
    Put<uint32_t>(Phy(3), 0);
    Put<uint32_t>(Phy(5), 0);
    Put<uint32_t>(Phy(66), 1 << 8);
    Put<uint32_t>(Phy(70), 2 << 8);
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetMemPhyInfoByMemNum(phy_, 0), 0);
    ExpectCalls("MW_GetMemPhyInfoByMemNum", Locked({Copy(88)}));
    EXPECT_EQ(memcmp(phy_, Bytes(Phy(3), 88).data(), 88), 0);
    EXPECT_EQ(MW_GetMemPhyInfoByMemNum(phy_, 1 << 8), 0);
    EXPECT_EQ(memcmp(phy_, Bytes(Phy(66), 88).data(), 88), 0);
    recorder::ClearCalls();
    const MemPhyInfo found = phy_[0];
    EXPECT_EQ(MW_GetMemPhyInfoByMemNum(phy_, 2 << 8), -1);  // just behind the last one
    ExpectCalls("MW_GetMemPhyInfoByMemNum", Locked());
    EXPECT_EQ(memcmp(phy_, &found, 88), 0);
    ExpectImage(before);
    PutCount(0);
    EXPECT_EQ(MW_GetMemPhyInfoByMemNum(phy_, 0), -1);
    ExpectCalls("MW_GetMemPhyInfoByMemNum", Locked());
}

TEST_F(Memory, ASearchByNumberEndsWithTheSharedArea) {
    FillArea();
    PutCount(9000);
    const uint32_t last = LastWithin(20, 88, 88);
    Put<uint32_t>(Phy(last), 0);
    EXPECT_EQ(MW_GetMemPhyInfoByMemNum(phy_, 0), 0);
    EXPECT_EQ(memcmp(phy_, Bytes(Phy(last), 88).data(), 88), 0);
    recorder::ClearCalls();
    EXPECT_EQ(MW_GetMemPhyInfoByMemNum(phy_, 1 << 8), -1);
    ExpectCalls("MW_GetMemPhyInfoByMemNum", Locked({Dbg(kRefusal)}));
    Put<uint32_t>(Phy(last + 1), 1 << 8);  // the number lies inside, its record does not
    EXPECT_EQ(MW_GetMemPhyInfoByMemNum(phy_, 1 << 8), -1);
    ExpectCalls("MW_GetMemPhyInfoByMemNum", Locked({Dbg(kRefusal)}));
}

TEST_F(Memory, ALocationIsFoundByItsFourWordsAsAWhole) {
    FillArea();
    PutCount(66);
    const uint32_t key[4] = {1, 0, 2, 3};
    for (size_t slot : {2u, 3u, 4u, 5u}) PutBytes(Phy(slot) + 4, key, 16);
    for (size_t word = 0; word < 3; ++word) Put<uint32_t>(Phy(2 + word) + 4 + 4 * word, 99);
    Put<uint32_t>(Phy(5) + 16, 98);
    PutBytes(Phy(65) + 4, key, 16);
    PutBytes(Phy(64) + 4, key, 16);  // not compared with 64; the first of two
    const Image before = Image::Take();
    phy_[0] = PatternOf<MemPhyInfo>(9);
    memcpy(phy_[0].adwLocation, key, 16);
    EXPECT_EQ(MW_GetMemPhyInfoByPhyInfo(phy_), 0);
    ExpectCalls("MW_GetMemPhyInfoByPhyInfo", Locked({Copy(88)}));
    EXPECT_EQ(memcmp(phy_, Bytes(Phy(64), 88).data(), 88), 0);
    ExpectImage(before);
}

TEST_F(Memory, ALocationNotFoundLeavesTheCallersRecordAlone) {
    FillArea();
    const uint32_t key[4] = {1, 0, 2, 3};
    PutBytes(Phy(2) + 4, key, 16);
    for (uint32_t count : {0u, 2u}) {
        PutCount(count);
        phy_[0] = PatternOf<MemPhyInfo>(9);
        memcpy(phy_[0].adwLocation, key, 16);
        const MemPhyInfo given = phy_[0];
        EXPECT_EQ(MW_GetMemPhyInfoByPhyInfo(phy_), -1);
        ExpectCalls("MW_GetMemPhyInfoByPhyInfo", Locked());
        EXPECT_EQ(memcmp(phy_, &given, 88), 0);
    }
}

TEST_F(Memory, ASearchByLocationEndsWithTheSharedArea) {
    FillArea();
    const uint32_t last = LastWithin(20, 88, 88);
    const uint32_t last_location = LastWithin(20 + 4, 16, 88);
    ASSERT_EQ(last_location, last + 1);
    PutCount(last_location + 2);
    phy_[0] = {};
    EXPECT_EQ(MW_GetMemPhyInfoByPhyInfo(phy_), -1);
    ExpectCalls("MW_GetMemPhyInfoByPhyInfo", Locked({Dbg(kRefusal)}));
    PutBytes(Phy(last_location) + 4, phy_[0].adwLocation, 16);  // inside, but the record is not
    EXPECT_EQ(MW_GetMemPhyInfoByPhyInfo(phy_), -1);
    ExpectCalls("MW_GetMemPhyInfoByPhyInfo", Locked({Dbg(kRefusal)}));
    PutBytes(Phy(last) + 4, phy_[0].adwLocation, 16);
    EXPECT_EQ(MW_GetMemPhyInfoByPhyInfo(phy_), 0);
    EXPECT_EQ(memcmp(phy_, Bytes(Phy(last), 88).data(), 88), 0);
}

// --- presence ----------------------------------------------------------------------------------------------------

TEST_F(Memory, PresenceIsStoredWithItsIndexInAnySlotOfTheSharedArea) {
    CheckPresence("MW_SetMemPresentStatus", MW_SetMemPresentStatus, 5652, 3960, 4, 64);
}

// --- temperatures ------------------------------------------------------------------------------------------------

TEST_F(Memory, ATemperatureIsReadByItsNumberFromOneToTheCount) {
    const struct {
        uint32_t count, number;
        int32_t result;
        std::string message;
    } rows[] = {
        {0, 0, -1, "{F}:{L} dwDimmNum 0 invalid\n"},
        {0, 1, -1, "{F}:{L} dwDimmNum 1 over Dimm count\n"},
        {3, 0, -1, "{F}:{L} dwDimmNum 0 invalid\n"},
        {3, 1, 0, ""},
        {3, 3, 0, ""},
        {3, 4, -1, "{F}:{L} dwDimmNum 4 over Dimm count\n"},
        {3, 0xFFFFFFFF, -1, "{F}:{L} dwDimmNum -1 over Dimm count\n"},
        {64, 64, 0, ""},
        {64, 65, -1, "{F}:{L} dwDimmNum 65 over Dimm count\n"},
        {65, 1, -1, "{F}:{L} Dimm count over \n"},
        {65, 0, -1, "{F}:{L} Dimm count over \n"},
        {65, 66, -1, "{F}:{L} Dimm count over \n"},
        {0xFFFFFFFF, 1, -1, "{F}:{L} Dimm count over \n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(std::to_string(row.number) + " of " + std::to_string(row.count));
        FillArea();
        PutCount(row.count);
        const Image before = Image::Take();
        temp_[0] = PatternOf<MemTempInfo>(9);
        const MemTempInfo given = temp_[0];
        EXPECT_EQ(MW_GetMemTempInfoByDimmNum(temp_, row.number), row.result);
        if (row.result == 0) {
            ExpectCalls("MW_GetMemTempInfoByDimmNum", Locked({Copy(52)}));
            EXPECT_EQ(memcmp(temp_, Bytes(Temp(row.number - 1), 52).data(), 52), 0);
        } else {
            ExpectCalls("MW_GetMemTempInfoByDimmNum", Locked({Print(row.message)}));
            EXPECT_EQ(memcmp(temp_, &given, 52), 0);
        }
        ExpectImage(before);
    }
}

TEST_F(Memory, ATemperatureRecordGoesToTheSlotOfItsFirstWord) {
    CheckSelfPlaced({"MW_SetMemTempInfo",
                     [](const void *from) { return MW_SetMemTempInfo(static_cast<const MemTempInfo *>(from)); },
                     5652 + 44, 52, 3960, 64, count_over_});
}

TEST_F(Memory, ThePeakTemperatureIsSignedAndOnlyRises) {
    PutCount(2);
    CheckPeak([&](int32_t reading) {
        temp_[0].iTemp = reading;
        EXPECT_EQ(MW_SetMemTempInfo(temp_), 0);
    });
    CheckPeak([](int32_t reading) { EXPECT_EQ(MW_SetMemCurrentTemp(1, reading, 0, 0), 0); });
}

TEST_F(Memory, TheSlotOfATemperatureRecordIsOneBelowItsNumber) {
    PutCount(3);
    temp_[0] = PatternOf<MemTempInfo>(9);
    temp_[0].dwDimmNum = 2;
    ASSERT_EQ(MW_SetMemTempInfo(temp_), 0);
    ASSERT_EQ(MW_GetMemTempInfoByDimmNum(&temp_[1], 3), 0);
    EXPECT_EQ(memcmp(&temp_[0], &temp_[1], 52), 0);
}

TEST_F(Memory, AReadingFillsItsFieldsAndMarksTheDimmPresent) {
    for (int32_t reading : {1, -7, 256}) {  // of 256 the low byte is 0
        SCOPED_TRACE(reading);
        FillArea();
        PutCount(3);
        Put<int32_t>(8, 1000);
        recorder::Now().uptime = 86400;
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetMemCurrentTemp(2, reading, 0x11223344, 0x55667788), 0);
        ExpectCalls("MW_SetMemCurrentTemp", Locked({"sysinfo()"}));
        ExpectImage(before.With<uint32_t>(Temp(1), 2)
                        .With<uint8_t>(Temp(1) + 4, 1)
                        .With(Temp(1) + 8, reading)
                        .With<uint32_t>(Temp(1) + 12, 0x11223344)
                        .With<uint32_t>(Temp(1) + 16, 0x55667788)
                        .With<uint32_t>(Temp(1) + 48, 86400)
                        .With<uint32_t>(Status(1) + 4, 1)
                        .With<uint8_t>(Alarm(1) + 10, 1));
    }
}

TEST_F(Memory, AReadingOfZeroLeavesPresenceAndAlarmAlone) {
    FillArea();
    PutCount(3);
    Put<int32_t>(8, 1000);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetMemCurrentTemp(3, 0, 7, 8), 0);
    ExpectCalls("MW_SetMemCurrentTemp", Locked({"sysinfo()"}));
    ExpectImage(before.With<uint32_t>(Temp(2), 3)
                    .With<uint8_t>(Temp(2) + 4, 0)
                    .With<int32_t>(Temp(2) + 8, 0)
                    .With<uint32_t>(Temp(2) + 12, 7)
                    .With<uint32_t>(Temp(2) + 16, 8)
                    .With<uint32_t>(Temp(2) + 48, 4711));
}

TEST_F(Memory, AReadingForANumberOutOfRangeIsRefused) {
    FillArea();
    PutCount(3);
    const Image before = Image::Take();
    for (uint32_t number : {4u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetMemCurrentTemp(number, INT32_MAX, 0, 0), -1);
        ExpectCalls("MW_SetMemCurrentTemp", Locked({count_over_}));
    }
    EXPECT_EQ(MW_SetMemCurrentTemp(0, INT32_MAX, 0, 0), -1);
    ExpectCalls("MW_SetMemCurrentTemp", Locked({Print("{F}:{L} dwDimmNum invalid \n")}));
    ExpectImage(before);
    PutCount(65);  // not compared with 64
    EXPECT_EQ(MW_SetMemCurrentTemp(65, 1, 0, 0), 0);
    EXPECT_EQ(Get<uint32_t>(Temp(64)), 65u);
}

TEST_F(Memory, AReadingMustFitIntoTheSharedAreaAsFarAsItWrites) {
    FillArea();
    PutCount(0xFFFFFFFF);
    Put<int32_t>(8, -100);
    const Image before = Image::Take();
    // A zero reading ends with the temperature record, any other with the preset-protect state.
    const uint32_t last_zero = LastWithin(5652, 96, 3960) + 1;
    const uint32_t last_other = LastWithin(5652, 3899, 3960) + 1;
    ASSERT_NE(last_zero, last_other);
    const struct {
        uint32_t number;
        int32_t reading;
    } refused[] = {{last_zero + 1, 0}, {last_other + 1, 5}, {0xFFFFFFFF, 0}, {Wrapping(3960) + 1, 5}};
    for (const auto &row : refused) {
        EXPECT_EQ(MW_SetMemCurrentTemp(row.number, row.reading, 0, 0), -1);
        ExpectCalls("MW_SetMemCurrentTemp", Locked({Dbg(kRefusal)}));
        ExpectImage(before);
    }
    EXPECT_EQ(MW_SetMemCurrentTemp(last_zero, 0, 0, 0), 0);
    EXPECT_EQ(Get<uint32_t>(Temp(last_zero - 1)), last_zero);
    EXPECT_EQ(MW_SetMemCurrentTemp(last_other, 5, 0, 0), 0);
    EXPECT_EQ(Get<uint8_t>(Alarm(last_other - 1) + 10), 1);
}

// --- the processors' memory temperature --------------------------------------------------------------------------

TEST_F(Memory, TheProcessorsMemoryTemperatureHas64Places) {
    FillArea();
    PutCount(0);  // does not matter
    const Image before = Image::Take();
    for (uint32_t index : {0u, 1u, 63u}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(MW_GetCpuMemGTemp(index, &word_), 0);
        ExpectCalls("MW_GetCpuMemGTemp", Locked());
        EXPECT_EQ(word_, Get<uint32_t>(Status(index) + 64));
        ExpectImage(before);
        EXPECT_EQ(MW_SetCpuMemGTemp(index, 0xA1B2C3D4), 0);
        ExpectCalls("MW_SetCpuMemGTemp", Locked());
        ExpectImage(before.With<uint32_t>(Status(index) + 64, 0xA1B2C3D4));
        Restore(before);
    }
    word_ = 5;
    for (uint32_t index : {64u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(MW_GetCpuMemGTemp(index, &word_), -1);
        EXPECT_EQ(MW_SetCpuMemGTemp(index, 1), -1);
        ExpectNoCalls();
        ExpectImage(before);
    }
    EXPECT_EQ(word_, 5u);
}

TEST_F(Memory, TheProcessorsMemoryTemperatureAttachesBeforeItLooksAtTheIndex) {
    Detach();
    EXPECT_EQ(MW_GetCpuMemGTemp(64, &word_), -1);
    ExpectCalls("", {AttachCall()});
    Detach();
    EXPECT_EQ(MW_SetCpuMemGTemp(64, 1), -1);
    ExpectCalls("", {AttachCall()});
    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(MW_GetCpuMemGTemp(64, &word_), -1);
    EXPECT_EQ(MW_SetCpuMemGTemp(64, 1), -1);
    ExpectCalls("", {AttachCall(), AttachFailurePrint(), AttachCall(), AttachFailurePrint()});
}

TEST_F(Memory, AllZeroAfterInit) {
    FillArea();
    ASSERT_EQ(MW_MidWareInit(), 0);
    word_ = 1;
    ASSERT_EQ(MW_GetMemCount(&word_), 0);
    EXPECT_EQ(word_, 0u);
    word_ = 1;
    ASSERT_EQ(MW_GetMemTempInfo(temp_, &word_), 0);
    EXPECT_EQ(word_, 0u);
}

}  // namespace
