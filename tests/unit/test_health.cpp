// The healthy-status table, through the fans' instance of it.
#include "fan_test.h"

namespace {

constexpr size_t kTotal = 17768;

class Health : public FanTest {
 protected:
    static constexpr size_t Key(size_t slot) { return 2376 + 208 * slot; }
    static constexpr size_t Status(size_t slot) { return 2392 + 208 * slot; }

    // Slots numbered as given, from the first on.
    void PutSlots(const std::vector<uint32_t> &numbers) {
        FillArea();
        Put(0, static_cast<uint32_t>(numbers.size()));
        for (size_t i = 0; i < numbers.size(); ++i) Put(Key(i), numbers[i]);
    }

    uint32_t out_ = 4711;
};

TEST_F(Health, EveryAccessorFollowsTheTemplate) {
    Put<uint32_t>(0, 1);
    Put<uint32_t>(Key(0), 3);
    const Accessor accessors[] = {
        {"MW_InitFanHealthyStatusInfo", [] { return MW_InitFanHealthyStatusInfo(); }},
        {"MW_SetFanHealthyStatusInfo", [] { return MW_SetFanHealthyStatusInfo(3, 1, 2); }},
        {"MW_GetFanHealthyStatusInfoByInst", [&] { return MW_GetFanHealthyStatusInfoByInst(3, &out_); },
         [] { return MW_GetFanHealthyStatusInfoByInst(3, nullptr); }},
        {"MW_GetFanHealthyStatusInfoByTotal", [&] { return MW_GetFanHealthyStatusInfoByTotal(&out_); },
         [] { return MW_GetFanHealthyStatusInfoByTotal(nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Health, InitClearsTheTotalAndTheCountedSlots) {
    for (uint32_t count : {0u, 1u, 15u, 16u, 17u, 75u, 1814u}) {
        SCOPED_TRACE(count);
        FillArea();
        Put(0, count);
        Image expected = Image::Take().With<uint32_t>(At(kTotal), 0);
        std::vector<uint8_t> bytes = expected.bytes();
        for (size_t slot = 0; slot < count; ++slot) memset(&bytes[At(Status(slot))], 0, 4);
        EXPECT_EQ(MW_InitFanHealthyStatusInfo(), 0);
        ExpectCalls("MW_InitFanHealthyStatusInfo", Locked());
        ExpectImage(expected.With(0, bytes.data(), bytes.size()));
    }
}

TEST_F(Health, InitOutsideTheSharedAreaIsRefusedWhole) {
    FillArea();
    for (uint32_t count : {1815u, 0x80000000u, 0xFFFFFFFFu}) {
        Put(0, count);
        const Image before = Image::Take();
        EXPECT_EQ(MW_InitFanHealthyStatusInfo(), -1);
        ExpectCalls("MW_InitFanHealthyStatusInfo", Refused());
        ExpectImage(before);
    }
}

TEST_F(Health, SetStoresTheTotalAndTheInstance) {
    const std::vector<uint32_t> numbers = {5, 0, 0xFFFFFFFF, 2};
    for (size_t slot = 0; slot < numbers.size(); ++slot) {
        SCOPED_TRACE(slot);
        PutSlots(numbers);
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetFanHealthyStatusInfo(numbers[slot], 0xFEDCBA98, 0x12345678), 0);
        ExpectCalls("MW_SetFanHealthyStatusInfo", Locked());
        ExpectImage(before.With<uint32_t>(At(kTotal), 0x12345678).With<uint32_t>(At(Status(slot)), 0xFEDCBA98));
    }
}

TEST_F(Health, SetForAnUnknownNumberStoresTheTotalAllTheSame) {
    PutSlots({5, 6, 7});
    Put<uint32_t>(Key(3), 8);  // beyond the count
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetFanHealthyStatusInfo(8, 1, 77), -1);
    ExpectCalls("MW_SetFanHealthyStatusInfo", Locked());
    ExpectImage(before.With<uint32_t>(At(kTotal), 77));
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByTotal(&out_), 0);
    EXPECT_EQ(out_, 77u);
}

TEST_F(Health, SetWithoutInstancesStoresTheTotalAllTheSame) {
    PutSlots({});
    Put<uint32_t>(Key(0), 5);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetFanHealthyStatusInfo(5, 1, 78), -1);
    ExpectCalls("MW_SetFanHealthyStatusInfo", Locked());
    ExpectImage(before.With<uint32_t>(At(kTotal), 78));
}

TEST_F(Health, OfTwoSlotsWithOneNumberTheFirstIsUsed) {
    PutSlots({5, 9, 9});
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetFanHealthyStatusInfo(9, 11, 12), 0);
    ExpectImage(before.With<uint32_t>(At(kTotal), 12).With<uint32_t>(At(Status(1)), 11));
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(9, &out_), 0);
    EXPECT_EQ(out_, 11u);
}

TEST_F(Health, TheTotalIsStoredBeforeTheSearch) {
    // The total lies where the number of a slot 74 would be.
    static_assert(Key(74) == kTotal);
    FillArea();
    Put<uint32_t>(0, 75);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetFanHealthyStatusInfo(0xCAFE, 21, 0xCAFE), 0);
    ExpectImage(before.With<uint32_t>(At(kTotal), 0xCAFE).With<uint32_t>(At(Status(74)), 21));
}

TEST_F(Health, GettersHandOutWhatIsStoredAndChangeNothing) {
    PutSlots({5, 6, 7});
    Put<uint32_t>(Status(1), 0xA0B0C0D0);
    Put<uint32_t>(kTotal, 0x01020304);
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(6, &out_), 0);
    ExpectCalls("MW_GetFanHealthyStatusInfoByInst", Locked());
    EXPECT_EQ(out_, 0xA0B0C0D0u);
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByTotal(&out_), 0);
    ExpectCalls("MW_GetFanHealthyStatusInfoByTotal", Locked());
    EXPECT_EQ(out_, 0x01020304u);
    ExpectImage(before);
}

TEST_F(Health, AnUnknownNumberLeavesTheCallersVariableAlone) {
    for (const std::vector<uint32_t> &numbers : {std::vector<uint32_t>{}, {5, 6}}) {
        PutSlots(numbers);
        Put<uint32_t>(Key(numbers.size()), 8);
        EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(8, &out_), -1);
        ExpectCalls("MW_GetFanHealthyStatusInfoByInst", Locked());
        EXPECT_EQ(out_, 4711u);
    }
}

TEST_F(Health, FailedLocksLeaveTheCallersVariableAlone) {
    PutSlots({5});
    recorder::Now().lock_result[kFanKey] = -1;
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(5, &out_), -1);
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByTotal(&out_), -1);
    EXPECT_EQ(out_, 4711u);
}

TEST_F(Health, SearchesRunOnToTheEndOfTheSharedAreaAndNoFurther) {
    FillArea();
    Put<uint32_t>(0, 0xFFFFFFFF);
    Put<uint32_t>(Key(1813), 0xBEEF);  // the last number within the shared area
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetFanHealthyStatusInfo(0xBEEF, 31, 32), 0);
    ExpectCalls("MW_SetFanHealthyStatusInfo", Locked());
    const Image after = before.With<uint32_t>(At(kTotal), 32).With<uint32_t>(At(Status(1813)), 31);
    ExpectImage(after);
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(0xBEEF, &out_), 0);
    ExpectCalls("MW_GetFanHealthyStatusInfoByInst", Locked());
    EXPECT_EQ(out_, 31u);

    EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(0, &out_), -1);
    ExpectCalls("MW_GetFanHealthyStatusInfoByInst", Refused());
    EXPECT_EQ(out_, 31u);
    ExpectImage(after);
    EXPECT_EQ(MW_SetFanHealthyStatusInfo(0, 33, 34), -1);
    ExpectCalls("MW_SetFanHealthyStatusInfo", Refused());
    ExpectImage(after.With<uint32_t>(At(kTotal), 34));

    // One slot fewer is a plain miss.
    Put<uint32_t>(0, 1814);
    EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(0, &out_), -1);
    ExpectCalls("MW_GetFanHealthyStatusInfoByInst", Locked());
}

}  // namespace
