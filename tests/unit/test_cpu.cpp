// Processor inventory, temperatures and limits, regulator power.
#include "cpu_test.h"

namespace {

// The getters that compare their index before they take the semaphore.
const struct EarlyGetter {
    const char *name;
    std::function<int32_t(uint32_t, void *)> call;
    uint32_t offset;  // in a status record
    uint32_t size;
} kEarlyGetters[] = {
    {"MW_GetCpuTempValidFlag",
     [](uint32_t i, void *to) { return MW_GetCpuTempValidFlag(i, static_cast<uint32_t *>(to)); }, 60, 4},
    {"MW_GetCpuTjmax", [](uint32_t i, void *to) { return MW_GetCpuTjmax(i, static_cast<uint8_t *>(to)); }, 124, 1},
    {"MW_GetCpuTcontrol", [](uint32_t i, void *to) { return MW_GetCpuTcontrol(i, static_cast<uint8_t *>(to)); }, 125,
     1},
};

class Processors : public CpuTest {
 protected:
    CpuPhyInfo phy_[8] = {};
    CpuTempInfo temp_[8] = {};
    CpuAssetInfo asset_[8] = {};
    uint32_t word_ = 0;
    uint16_t half_ = 0;
    uint8_t byte_ = 0;
    uint8_t margin_[8] = {};
};

TEST_F(Processors, EveryAccessorFollowsTheTemplate) {
    recorder::OpenArea();  // three getters compare their index before they take the semaphore
    PutCount(3);
    Put<uint32_t>(4, 3);
    Put<uint32_t>(Asset(2), 5);
    static CpuStatusInfo status[3];
    const Accessor accessors[] = {
        {"MW_GetCpuCount", [&] { return MW_GetCpuCount(&word_); }, [] { return MW_GetCpuCount(nullptr); }},
        {"MW_GetCpuTotalPower", [&] { return MW_GetCpuTotalPower(&half_); },
         [] { return MW_GetCpuTotalPower(nullptr); }},
        {"MW_SetCpuTotalPower", [] { return MW_SetCpuTotalPower(9); }},
        {"MW_SetCpuMismatchState", [] { return MW_SetCpuMismatchState(1); }},
        {"MW_GetCpuPhyInfo", [&] { return MW_GetCpuPhyInfo(phy_, &word_); },
         [&] { return MW_GetCpuPhyInfo(nullptr, &word_); }},
        {"MW_GetCpuAssetInfo", [&] { return MW_GetCpuAssetInfo(asset_, &word_); },
         [&] { return MW_GetCpuAssetInfo(nullptr, &word_); }},
        {"MW_SetCpuPhyInfo", [&] { return MW_SetCpuPhyInfo(phy_, 3); },
         [] { return MW_SetCpuPhyInfo(nullptr, 3); }},
        {"MW_SetCpuAssetInfo", [&] { return MW_SetCpuAssetInfo(asset_, 3); },
         [] { return MW_SetCpuAssetInfo(nullptr, 3); }},
        {"MW_SetCpuIndexAndSilkNumInStatusInfo", [] { return MW_SetCpuIndexAndSilkNumInStatusInfo(status, 3); },
         [] { return MW_SetCpuIndexAndSilkNumInStatusInfo(nullptr, 3); }},
        {"MW_SetCpuPresentStatus", [] { return MW_SetCpuPresentStatus(1, 1); }},
        {"MW_SetCpuFrequency", [] { return MW_SetCpuFrequency(3200, 5); }},
        {"MW_GetCpuTempInfo", [&] { return MW_GetCpuTempInfo(temp_, &word_); },
         [&] { return MW_GetCpuTempInfo(nullptr, &word_); }},
        {"MW_GetCpuTempInfoByID", [&] { return MW_GetCpuTempInfoByID(temp_, 1); },
         [] { return MW_GetCpuTempInfoByID(nullptr, 1); }},
        {"MW_SetCpuTempInfo", [&] { return MW_SetCpuTempInfo(temp_); }, [] { return MW_SetCpuTempInfo(nullptr); }},
        {"MW_SetCpuCurrentTemp", [] { return MW_SetCpuCurrentTemp(1, 40); }},
        {"MW_GetCpuTempValidFlag", [&] { return MW_GetCpuTempValidFlag(1, &word_); }},
        {"MW_GetCpuTjmax", [&] { return MW_GetCpuTjmax(1, &byte_); }},
        {"MW_GetCpuTcontrol", [&] { return MW_GetCpuTcontrol(1, &byte_); }},
        {"MW_SetCpuUCRTemp", [] { return MW_SetCpuUCRTemp(1, 90); }},
        {"MW_SetCpuTjmax", [] { return MW_SetCpuTjmax(1, 100); }},
        {"MW_SetCpuTcontrol", [] { return MW_SetCpuTcontrol(1, 10); }},
        {"MW_GetCpuTmargin", [&] { return MW_GetCpuTmargin(1, margin_); },
         [] { return MW_GetCpuTmargin(1, nullptr); }},
        {"MW_SetCpuTmargin", [&] { return MW_SetCpuTmargin(1, margin_); },
         [] { return MW_SetCpuTmargin(1, nullptr); }},
        {"MW_GetCpuxVRPower", [&] { return MW_GetCpuxVRPower(1, &word_); }},
        {"MW_SetCpuxVRPower", [] { return MW_SetCpuxVRPower(1, 2); }},
        {"MW_GetPxDimmVRPower", [&] { return MW_GetPxDimmVRPower(1, &word_); }},
        {"MW_SetPxDimmVRPower", [] { return MW_SetPxDimmVRPower(1, 2); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Processors, TotalsAreOneFieldEach) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetCpuCount(&word_), 0);
    ExpectCalls("MW_GetCpuCount", Locked());
    EXPECT_EQ(word_, Get<uint32_t>(4)) << "the asset records are counted";
    EXPECT_EQ(MW_GetCpuTotalPower(&half_), 0);
    ExpectCalls("MW_GetCpuTotalPower", Locked());
    EXPECT_EQ(half_, Get<uint16_t>(14));
    ExpectImage(before);
    EXPECT_EQ(MW_SetCpuTotalPower(0x1234), 0);
    ExpectCalls("MW_SetCpuTotalPower", Locked());
    EXPECT_EQ(MW_SetCpuMismatchState(0xA6), 0);
    ExpectCalls("MW_SetCpuMismatchState", Locked());
    ExpectImage(before.With<uint16_t>(At(14), 0x1234).With<uint8_t>(At(12), 0xA6));
}

TEST_F(Processors, AFailedLockLeavesTheCallersBufferAlone) {
    recorder::OpenArea();
    PutCount(3);
    CheckUntouchedWithoutLock("MW_GetCpuCount", [](void *to) { return MW_GetCpuCount(static_cast<uint32_t *>(to)); });
    CheckUntouchedWithoutLock("MW_GetCpuTotalPower",
                              [](void *to) { return MW_GetCpuTotalPower(static_cast<uint16_t *>(to)); });
    CheckUntouchedWithoutLock("MW_GetCpuTmargin", [](void *to) { return MW_GetCpuTmargin(1, to); });
    CheckUntouchedWithoutLock("MW_GetCpuAssertSelEventDataInfo", [](void *to) {
        return MW_GetCpuAssertSelEventDataInfo(1, 0, static_cast<uint8_t *>(to));
    });
    for (const EarlyGetter &getter : kEarlyGetters) {
        CheckUntouchedWithoutLock(getter.name, [&](void *to) { return getter.call(1, to); });
    }
}

TEST_F(Processors, ListsAreCopiedOutBackToBack) {
    const ListGetter getters[] = {
        {"MW_GetCpuPhyInfo", [](void *to, uint32_t *n) { return MW_GetCpuPhyInfo(static_cast<CpuPhyInfo *>(to), n); },
         0, 24, 68, 68, 8, ""},
        {"MW_GetCpuTempInfo",
         [](void *to, uint32_t *n) { return MW_GetCpuTempInfo(static_cast<CpuTempInfo *>(to), n); }, 0, 624, 72, 232, 8,
         count_over_},
        {"MW_GetCpuAlarmInfo",
         [](void *to, uint32_t *n) { return MW_GetCpuAlarmInfo(static_cast<CpuAlarmInfo *>(to), n); }, 0, 732, 20, 232,
         8, count_over_},
        {"MW_GetCpuAssetInfo",
         [](void *to, uint32_t *n) { return MW_GetCpuAssetInfo(static_cast<CpuAssetInfo *>(to), n); }, 4, 2424, 1388,
         1388, 8, ""},
    };
    for (const ListGetter &getter : getters) CheckListGetter(getter);
}

TEST_F(Processors, ListsAreStoredWithTheirCount) {
    const ListSetter setters[] = {
        {"MW_SetCpuPhyInfo",
         [](const void *from, uint32_t n) { return MW_SetCpuPhyInfo(static_cast<const CpuPhyInfo *>(from), n); }, 0, 24,
         68, 8},
        {"MW_SetCpuIndexAndSilkNumInStatusInfo",
         [](const void *from, uint32_t n) {
             return MW_SetCpuIndexAndSilkNumInStatusInfo(static_cast<const CpuStatusInfo *>(from), n);
         },
         0, 568, 232, 8},
        {"MW_SetCpuAssetInfo",
         [](const void *from, uint32_t n) { return MW_SetCpuAssetInfo(static_cast<const CpuAssetInfo *>(from), n); },
         4, 2424, 1388, 8},
    };
    for (const ListSetter &setter : setters) CheckListSetter(setter);
}

TEST_F(Processors, PresenceIsStoredWithItsIndexInAnyRecordOfTheSharedArea) {
    CheckPresence("MW_SetCpuPresentStatus", MW_SetCpuPresentStatus, 568, 232, 8, 8);
}

// --- frequency ---------------------------------------------------------------------------------------------------

TEST_F(Processors, TheFrequencyGoesToTheFirstCountedRecordOfTheIdentifier) {
    FillArea();
    Put<uint32_t>(4, 3);
    Put<uint32_t>(Asset(1), 5);
    Put<uint32_t>(Asset(2), 5);
    Put<uint32_t>(Asset(3), 6);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetCpuFrequency(3200, 5), 0);
    ExpectCalls("MW_SetCpuFrequency", Locked());
    ExpectImage(before.With<uint32_t>(At(Asset(1)) + 1080, 3200));
}

TEST_F(Processors, AnUnknownIdentifierIsASilentFailure) {
    FillArea();
    Put<uint32_t>(Asset(2), 0);
    for (uint32_t count : {0u, 2u}) {
        Put(4, count);
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetCpuFrequency(3200, 0), -1);
        ExpectCalls("MW_SetCpuFrequency", Locked());
        ExpectImage(before);
    }
}

TEST_F(Processors, TheSearchForAnIdentifierEndsWithTheSharedArea) {
    FillArea();
    Put<uint32_t>(4, 0xFFFFFFFF);
    Image before = Image::Take();
    EXPECT_EQ(MW_SetCpuFrequency(3200, 0), -1);
    ExpectCalls("MW_SetCpuFrequency", Locked({Dbg(kRefusal)}));
    ExpectImage(before);
    const uint32_t last = LastWithin(2424, 1084, 1388);
    Put<uint32_t>(Asset(last), 0);
    before = Image::Take();
    EXPECT_EQ(MW_SetCpuFrequency(3200, 0), 0);
    ExpectCalls("MW_SetCpuFrequency", Locked());
    ExpectImage(before.With<uint32_t>(At(Asset(last)) + 1080, 3200));
    Put<uint32_t>(Asset(last), 1);
    ASSERT_EQ(LastWithin(2424, 4, 1388), last + 1);
    Put<uint32_t>(Asset(last + 1), 0);  // inside, but its frequency is not
    before = Image::Take();
    EXPECT_EQ(MW_SetCpuFrequency(3200, 0), -1);
    ExpectCalls("MW_SetCpuFrequency", Locked({Dbg(kRefusal)}));
    ExpectImage(before);
}

// --- fields by index ---------------------------------------------------------------------------------------------

TEST_F(Processors, SettersTakeAnIndexUpToAndIncludingTheCount) {
    CheckStatusSetter("MW_SetCpuUCRTemp", [](uint32_t i) { return MW_SetCpuUCRTemp(i, 0xA1B2C3D4); }, 72,
                      BytesOf(0xA1B2C3D4));
    CheckStatusSetter("MW_SetCpuTjmax", [](uint32_t i) { return MW_SetCpuTjmax(i, 0xA2); }, 124, {0xA2});
    CheckStatusSetter("MW_SetCpuTcontrol", [](uint32_t i) { return MW_SetCpuTcontrol(i, 0xA4); }, 125, {0xA4});
    CheckStatusSetter("MW_SetCpuxVRPower", [](uint32_t i) { return MW_SetCpuxVRPower(i, 0xA1B2C3D4); }, 48,
                      BytesOf(0xA1B2C3D4));
}

TEST_F(Processors, TheDimmRegulatorsSetterRefusesTheCount) {
    CheckStatusSetter("MW_SetPxDimmVRPower", [](uint32_t i) { return MW_SetPxDimmVRPower(i, 0xA1B2C3D4); }, 52,
                      BytesOf(0xA1B2C3D4), false);
}

TEST_F(Processors, GettersByIndexStayBelowTheCountOfAtMost8) {
    CheckBoundedGetter("MW_GetCpuTempInfoByID",
                       [](uint32_t i, void *to) { return MW_GetCpuTempInfoByID(static_cast<CpuTempInfo *>(to), i); },
                       56, 72, count_over_, true);
    CheckBoundedGetter("MW_GetCpuxVRPower",
                       [](uint32_t i, void *to) { return MW_GetCpuxVRPower(i, static_cast<uint32_t *>(to)); }, 48, 4,
                       count_over_logged_, false);
    CheckBoundedGetter("MW_GetPxDimmVRPower",
                       [](uint32_t i, void *to) { return MW_GetPxDimmVRPower(i, static_cast<uint32_t *>(to)); }, 52, 4,
                       count_over_logged_, false);
}

TEST_F(Processors, FivePointersAreNotTested) {
    recorder::OpenArea();
    recorder::Now().lock_result[12290] = -1;
    PutCount(8);
    const std::vector<std::string> failed = {Lock(12290), Dbg(kLockLineError)};
    EXPECT_EQ(MW_GetCpuTempValidFlag(1, nullptr), -1);
    ExpectCalls("MW_GetCpuTempValidFlag", failed);
    EXPECT_EQ(MW_GetCpuTjmax(1, nullptr), -1);
    ExpectCalls("MW_GetCpuTjmax", failed);
    EXPECT_EQ(MW_GetCpuTcontrol(1, nullptr), -1);
    ExpectCalls("MW_GetCpuTcontrol", failed);
    EXPECT_EQ(MW_GetCpuxVRPower(1, nullptr), -1);
    ExpectCalls("MW_GetCpuxVRPower", failed);
    EXPECT_EQ(MW_GetPxDimmVRPower(1, nullptr), -1);
    ExpectCalls("MW_GetPxDimmVRPower", failed);
}

// --- temperatures and limits -------------------------------------------------------------------------------------

TEST_F(Processors, ThreeGettersTakeAnIndexUpToAndIncludingTheCount) {
    recorder::OpenArea();
    for (const EarlyGetter &getter : kEarlyGetters) {
        SCOPED_TRACE(getter.name);
        const std::vector<uint8_t> untouched = Pattern(8, 203);
        for (uint32_t count : {0u, 2u, 8u, 9u}) {
            FillArea(static_cast<uint8_t>(count + 1));
            PutCount(count);
            const Image before = Image::Take();
            for (uint32_t index = 0; index <= count; ++index) {
                SCOPED_TRACE(std::to_string(index) + " of " + std::to_string(count));
                std::vector<uint8_t> out = untouched;
                EXPECT_EQ(getter.call(index, out.data()), 0);
                ExpectCalls(getter.name, Locked());
                std::vector<uint8_t> expected = untouched;
                const std::vector<uint8_t> field = Bytes(Status(index) + getter.offset, getter.size);
                std::copy(field.begin(), field.end(), expected.begin());
                EXPECT_EQ(out, expected);
            }
            ExpectImage(before);
        }
    }
}

TEST_F(Processors, ThreeGettersRefuseAnIndexWithoutTheSemaphore) {
    recorder::OpenArea();
    PutCount(2);
    recorder::Now().lock_result[12290] = -1;
    for (const EarlyGetter &getter : kEarlyGetters) {
        for (uint32_t index : {3u, 0xFFFFFFFFu}) {
            uint32_t out = 5;
            EXPECT_EQ(getter.call(index, &out), -1);
            ExpectCalls(getter.name, {count_over_});
            EXPECT_EQ(out, 5u);
        }
        Detach();
        EXPECT_EQ(getter.call(3, nullptr), -1);
        ExpectCalls(getter.name, {AttachCall(), count_over_});
    }
}

TEST_F(Processors, ThreeGettersReadToTheEndOfTheSharedArea) {
    recorder::OpenArea();
    FillArea();
    PutCount(0xFFFFFFFF);
    for (const EarlyGetter &getter : kEarlyGetters) {
        SCOPED_TRACE(getter.name);
        uint32_t out = 0;
        const uint32_t last = LastWithin(568 + getter.offset, getter.size, 232);
        EXPECT_EQ(getter.call(last, &out), 0);
        ExpectCalls(getter.name, Locked());
        EXPECT_EQ(memcmp(&out, Bytes(Status(last) + getter.offset, getter.size).data(), getter.size), 0);
        for (uint32_t index : {last + 1, Wrapping(232), 0xFFFFFFFFu}) {
            out = 5;
            EXPECT_EQ(getter.call(index, &out), -1);
            ExpectCalls(getter.name, Locked({Dbg(kRefusal)}));
            EXPECT_EQ(out, 5u);
        }
    }
}

TEST_F(Processors, AReadingIsItsTemperatureAndItsValidWord) {
    FillArea();
    Put<int32_t>(8, 1000);
    PutCount(8);
    const Image before = Image::Take();
    for (int32_t reading : {0, 1, -1, 256}) {
        for (uint32_t index : {0u, 7u, 8u}) {
            SCOPED_TRACE(std::to_string(index) + ": " + std::to_string(reading));
            EXPECT_EQ(MW_SetCpuCurrentTemp(index, reading), 0);
            ExpectCalls("MW_SetCpuCurrentTemp", Locked());
            ExpectImage(before.With<uint32_t>(At(Temp(index)) + 4, reading != 0 ? 1 : 0)
                            .With(At(Temp(index)) + 8, reading));
            Restore(before);
        }
    }
    for (uint32_t index : {9u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetCpuCurrentTemp(index, 1001), -1);
        ExpectCalls("MW_SetCpuCurrentTemp", Locked({count_over_}));
        ExpectImage(before);
    }
}

TEST_F(Processors, ATemperatureRecordGoesToTheRecordOfItsIndexAsGiven) {
    // The valid word is that of the caller too, and no 0 or 1.
    CheckSelfPlaced({"MW_SetCpuTempInfo",
                     [](const void *from) { return MW_SetCpuTempInfo(static_cast<const CpuTempInfo *>(from)); },
                     568 + 56, 72, 232, 8, count_over_});
}

TEST_F(Processors, AReadingOutsideTheSharedAreaIsRefusedWithoutRaisingThePeak) {
    FillArea();
    Put<int32_t>(kPeak, 0);
    PutCount(0xFFFFFFFF);
    const Image before = Image::Take();
    const uint32_t last = LastWithin(568 + 56, 12, 232);
    for (uint32_t index : {last + 1, Wrapping(232), 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetCpuCurrentTemp(index, 50), -1);
        ExpectCalls("MW_SetCpuCurrentTemp", Locked({Dbg(kRefusal)}));
        ExpectImage(before);
    }
    EXPECT_EQ(MW_SetCpuCurrentTemp(last, 50), 0);
    ExpectImage(before.With<int32_t>(At(kPeak), 50)
                    .With<uint32_t>(At(Temp(last)) + 4, 1)
                    .With<int32_t>(At(Temp(last)) + 8, 50));
}

TEST_F(Processors, ThePeakTemperatureIsSignedAndOnlyRises) {
    PutCount(2);
    CheckPeak([&](int32_t reading) {
        temp_[0].iCurTemp = reading;
        EXPECT_EQ(MW_SetCpuTempInfo(temp_), 0);
    });
    CheckPeak([](int32_t reading) { EXPECT_EQ(MW_SetCpuCurrentTemp(1, reading), 0); });
}

TEST_F(Processors, AMarginIsEightBytesForEachOfEightProcessors) {
    FillArea();
    PutCount(0);  // does not matter
    const Image before = Image::Take();
    const std::vector<uint8_t> given = Pattern(8, 33);
    for (uint32_t index = 0; index < 8; ++index) {
        SCOPED_TRACE(index);
        EXPECT_EQ(MW_GetCpuTmargin(index, margin_), 0);
        ExpectCalls("MW_GetCpuTmargin", Locked({Copy(8)}));
        EXPECT_EQ(memcmp(margin_, Bytes(13528 + 8 * index, 8).data(), 8), 0);
        EXPECT_EQ(MW_SetCpuTmargin(index, given.data()), 0);
        ExpectCalls("MW_SetCpuTmargin", Locked({Copy(8)}));
        ExpectImage(before.With(At(13528 + 8 * index), given.data(), 8));
        Restore(before);
    }
}

TEST_F(Processors, AMarginAboveIndex7IsASilentFailureBeforeAttaching) {
    PutCount(9);
    Detach();
    for (uint32_t index : {8u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetCpuTmargin(index, margin_), -1);
        EXPECT_EQ(MW_SetCpuTmargin(index, margin_), -1);
    }
    ExpectNoCalls();
}

TEST_F(Processors, AllZeroAfterInit) {
    FillArea();
    ASSERT_EQ(MW_MidWareInit(), 0);
    word_ = 1;
    ASSERT_EQ(MW_GetCpuCount(&word_), 0);
    EXPECT_EQ(word_, 0u);
    word_ = 1;
    ASSERT_EQ(MW_GetCpuTempInfo(temp_, &word_), 0);
    EXPECT_EQ(word_, 0u);
}

}  // namespace
