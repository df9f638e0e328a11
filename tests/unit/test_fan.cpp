// Fan records, presence, count and zone table.
#include "fan_test.h"

namespace {

class Fan : public FanTest {
 protected:
    struct Family {
        const char *get_name;
        int32_t (*get)(void *, uint32_t *);
        const char *set_name;
        int32_t (*set)(const void *, uint32_t);  // NULL: the setter does more than this and is tested by itself
        size_t first;
        size_t size;

        // How many records the shared area has room for.
        uint32_t Last() const { return static_cast<uint32_t>((kFanToEnd - first) / size); }
    };
    static constexpr Family kFamilies[] = {
        {"MW_GetFanOnlinePhyInfo", MW_GetFanOnlinePhyInfo, "MW_SetFanOnlinePhyInfo", MW_SetFanOnlinePhyInfo, 4, 48},
        {"MW_GetFanControlPhyInfo", MW_GetFanControlPhyInfo, "MW_SetFanControlPhyInfo", MW_SetFanControlPhyInfo, 772,
         100},
        {"MW_GetFanAssetInfo",
         [](void *out, uint32_t *count) { return MW_GetFanAssetInfo(static_cast<FanAssetInfo *>(out), count); },
         nullptr, nullptr, 2372, 208},
    };

    int32_t SetAssets(const std::vector<uint8_t> &records, uint32_t count) {
        std::vector<FanAssetInfo> in(records.size() / sizeof(FanAssetInfo));
        if (!in.empty()) memcpy(in.data(), records.data(), in.size() * sizeof(FanAssetInfo));
        return MW_SetFanAssetInfo(in.empty() ? &no_record_ : in.data(), count);
    }

    FanAssetInfo no_record_{};
    FanDevZoneInfo zones_[32] = {};
    uint32_t word_ = 0;
    uint32_t other_ = 0;
};

TEST_F(Fan, EveryAccessorFollowsTheTemplate) {
    const Accessor accessors[] = {
        {"MW_GetFanOnlinePhyInfo", [&] { return MW_GetFanOnlinePhyInfo(&no_record_, &word_); },
         [&] { return MW_GetFanOnlinePhyInfo(nullptr, &word_); }},
        {"MW_GetFanOnlinePhyInfo", [&] { return MW_GetFanOnlinePhyInfo(&no_record_, &word_); },
         [&] { return MW_GetFanOnlinePhyInfo(&no_record_, nullptr); }},
        {"MW_SetFanOnlinePhyInfo", [&] { return MW_SetFanOnlinePhyInfo(&no_record_, 1); },
         [] { return MW_SetFanOnlinePhyInfo(nullptr, 1); }},
        {"MW_GetFanControlPhyInfo", [&] { return MW_GetFanControlPhyInfo(&no_record_, &word_); },
         [&] { return MW_GetFanControlPhyInfo(nullptr, &word_); }},
        {"MW_GetFanControlPhyInfo", [&] { return MW_GetFanControlPhyInfo(&no_record_, &word_); },
         [&] { return MW_GetFanControlPhyInfo(&no_record_, nullptr); }},
        {"MW_SetFanControlPhyInfo", [&] { return MW_SetFanControlPhyInfo(&no_record_, 1); }, {}, nullptr,
         "[{S}:{L}]MW_SetFanControlPhyInfo failed\n"},
        {"MW_GetFanAssetInfo", [&] { return MW_GetFanAssetInfo(&no_record_, &word_); },
         [&] { return MW_GetFanAssetInfo(nullptr, &word_); }},
        {"MW_GetFanAssetInfo", [&] { return MW_GetFanAssetInfo(&no_record_, &word_); },
         [&] { return MW_GetFanAssetInfo(&no_record_, nullptr); }},
        {"MW_SetFanAssetInfo", [&] { return MW_SetFanAssetInfo(&no_record_, 1); },
         [] { return MW_SetFanAssetInfo(nullptr, 1); }},
        {"MW_SetFanPresentInfo", [] { return MW_SetFanPresentInfo(15, 1); }},
        {"MW_GetFanCount", [&] { return MW_GetFanCount(&word_, &other_); },
         [&] { return MW_GetFanCount(nullptr, &other_); }},
        {"MW_GetFanCount", [&] { return MW_GetFanCount(&word_, &other_); },
         [&] { return MW_GetFanCount(&word_, nullptr); }},
        {"MW_SetFanCount", [] { return MW_SetFanCount(8); }},
        {"MW_GetFanRedundancyStates", [&] { return MW_GetFanRedundancyStates(&word_); },
         [] { return MW_GetFanRedundancyStates(nullptr); }},
        {"MW_SetFanRedundancyStates", [] { return MW_SetFanRedundancyStates(1); }},
        {"MW_GetFanTotalPower", [&] { return MW_GetFanTotalPower(&word_); },
         [] { return MW_GetFanTotalPower(nullptr); }},
        {"MW_SetFanTotalPower", [] { return MW_SetFanTotalPower(1); }},
        {"MW_SetFanDeviceZoneInfo", [&] { return MW_SetFanDeviceZoneInfo(zones_); },
         [] { return MW_SetFanDeviceZoneInfo(nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Fan, ListGettersHandOutTheCountAndThatManyRecordsPacked) {
    for (const Family &family : kFamilies) {
        for (uint32_t count : {0u, 1u, 15u, 16u, 17u, 100u}) {
            SCOPED_TRACE(std::string(family.get_name) + " " + std::to_string(count));
            FillArea();
            Put<uint32_t>(0, count);
            const Image before = Image::Take();
            std::vector<uint8_t> out = Pattern(count * family.size + 16, 99);
            std::vector<uint8_t> expected = Bytes(family.first, count * family.size);
            expected.insert(expected.end(), out.end() - 16, out.end());
            uint32_t read = 4711;
            EXPECT_EQ(family.get(out.data(), &read), 0);
            ExpectCalls(family.get_name, Locked(std::vector<size_t>(count, family.size)));
            EXPECT_EQ(read, count);
            EXPECT_EQ(out, expected);
            ExpectImage(before);
        }
    }
}

TEST_F(Fan, ListSettersStoreTheCountAndThatManyRecords) {
    for (const Family &family : kFamilies) {
        if (family.set == nullptr) continue;
        // More than sixteen run on into the records and areas behind.
        for (uint32_t count : {0u, 1u, 15u, 16u, 17u, 64u, 400u}) {
            SCOPED_TRACE(std::string(family.set_name) + " " + std::to_string(count));
            FillArea();
            const Image before = Image::Take();
            const std::vector<uint8_t> in = Pattern(count * family.size + 1, 77);
            EXPECT_EQ(family.set(in.data(), count), 0);
            ExpectCalls(family.set_name, Locked(std::vector<size_t>(count, family.size)));
            ExpectImage(before.With(At(0), count).With(At(family.first), in.data(), count * family.size));
        }
    }
}

TEST_F(Fan, ListsReachToTheLastByteOfTheSharedAreaAndNoFurther) {
    for (const Family &family : kFamilies) {
        SCOPED_TRACE(family.get_name);
        const uint32_t last = family.Last();
        std::vector<uint8_t> buffer(last * family.size);
        uint32_t read = 0;
        FillArea();
        Put<uint32_t>(0, last);
        EXPECT_EQ(family.get(buffer.data(), &read), 0);
        EXPECT_EQ(read, last);
        EXPECT_EQ(buffer, Bytes(family.first, last * family.size));
        recorder::ClearCalls();
        for (uint32_t count : {last + 1, 0x80000000u, 0xFFFFFFFFu}) {
            Put<uint32_t>(0, count);
            const Image before = Image::Take();
            std::vector<uint8_t> untouched = buffer;
            read = 4711;
            EXPECT_EQ(family.get(buffer.data(), &read), -1);
            ExpectCalls(family.get_name, Refused());
            EXPECT_EQ(read, 4711u);
            EXPECT_EQ(buffer, untouched);
            ExpectImage(before);
        }
        if (family.set == nullptr) continue;
        Put<uint32_t>(0, 3);
        const Image before = Image::Take();
        for (uint32_t count : {last + 1, 0x80000000u, 0xFFFFFFFFu}) {
            EXPECT_EQ(family.set(buffer.data(), count), -1);
            ExpectCalls(family.set_name, Refused());
        }
        ExpectImage(before);
        buffer = Pattern(buffer.size(), 5);
        EXPECT_EQ(family.set(buffer.data(), last), 0);
        ExpectImage(before.With(At(0), last).With(At(family.first), buffer.data(), buffer.size()));
        recorder::ClearCalls();
    }
}

TEST_F(Fan, NullControlRecordsAreLoggedAttachedOrNot) {
    EXPECT_EQ(MW_SetFanControlPhyInfo(nullptr, 1), -1);
    ExpectCalls("MW_SetFanControlPhyInfo", {Dbg("[{S}:{L}]MW_SetFanControlPhyInfo failed\n")});
    Detach();
    EXPECT_EQ(MW_SetFanControlPhyInfo(nullptr, 0), -1);
    ExpectCalls("MW_SetFanControlPhyInfo", {Dbg("[{S}:{L}]MW_SetFanControlPhyInfo failed\n")});
}

TEST_F(Fan, AssetWritesKeepHealthAndTakeTheControlState) {
    FillArea();
    Put<uint32_t>(0, 3);
    const Image before = Image::Take();
    const std::vector<uint8_t> in = Pattern(16 * 208, 42);
    EXPECT_EQ(SetAssets(in, 16), 0);
    Image expected = before.With(At(2372), in.data(), in.size());
    for (size_t i = 0; i < 16; ++i) {
        const size_t asset = At(2372 + 208 * i);
        expected = expected.With(asset + 20, &before.bytes()[asset + 20], 4)
                       .With(asset + 176, &before.bytes()[At(772 + 100 * i + 36)], 32);
    }
    ExpectImage(expected);
    EXPECT_EQ(Get<uint32_t>(0), 3u);
}

TEST_F(Fan, AssetWritesGoRecordByRecordAlsoBeyondTheSixteenth) {
    // From record 16 on the control records are asset records that the same call has just written.
    for (uint32_t count : {0u, 1u, 16u, 17u, 18u, 40u, 1813u}) {
        SCOPED_TRACE(count);
        FillArea();
        std::vector<uint8_t> model = Bytes(0, kFanToEnd);
        const Image before = Image::Take();
        const std::vector<uint8_t> in = Pattern(count * 208, 43);
        for (size_t i = 0; i < count; ++i) {
            uint8_t health[4];
            uint8_t *asset = &model[2372 + 208 * i];
            memcpy(health, asset + 20, 4);
            memcpy(asset, &in[208 * i], 208);
            memcpy(asset + 176, &model[772 + 100 * i + 36], 32);
            memcpy(asset + 20, health, 4);
        }
        EXPECT_EQ(SetAssets(in, count), 0);
        std::vector<size_t> copies;
        for (uint32_t i = 0; i < count; ++i) copies.insert(copies.end(), {208, 32});
        ExpectCalls("MW_SetFanAssetInfo", Locked(copies));
        ExpectImage(before.With(At(0), model.data(), model.size()));
    }
}

TEST_F(Fan, AssetWritesOutsideTheSharedAreaAreRefused) {
    FillArea();
    const Image before = Image::Take();
    for (uint32_t count : {1814u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetFanAssetInfo(&no_record_, count), -1);
        ExpectCalls("MW_SetFanAssetInfo", Refused());
    }
    ExpectImage(before);
}

TEST_F(Fan, PresenceIsOneWordOfOneOfSixteenRecordsWhateverTheCount) {
    for (uint32_t count : {0u, 16u}) {
        FillArea();
        Put<uint32_t>(0, count);
        Image expected = Image::Take();
        for (uint32_t index : {0u, 1u, 14u, 15u}) {
            SCOPED_TRACE(index);
            EXPECT_EQ(MW_SetFanPresentInfo(index, 0xFFFFFFFF - index), 0);
            ExpectCalls("MW_SetFanPresentInfo", Locked());
            expected = expected.With<uint32_t>(At(2372 + 208 * index + 8), 0xFFFFFFFF - index);
            ExpectImage(expected);
        }
    }
}

TEST_F(Fan, PresenceBeyondSixteenIsRefusedBeforeAttaching) {
    Detach();
    for (uint32_t index : {16u, 17u, 0x80000000u, 0xFFFFFFFFu}) EXPECT_EQ(MW_SetFanPresentInfo(index, 1), -1);
    ExpectNoCalls();
}

TEST_F(Fan, OnlyAPresenceOfOneIsCounted) {
    const uint32_t present[] = {1, 0, 2, 1, 0xFFFFFFFF, 0x101, 1, 0x10000001};
    for (uint32_t i = 0; i < 8; ++i) Put<uint32_t>(2372 + 208 * i + 8, present[i]);
    const uint32_t expected[] = {0, 1, 1, 1, 2, 2, 2, 3, 3};
    for (uint32_t num = 0; num <= 8; ++num) {
        SCOPED_TRACE(num);
        Put<uint32_t>(0, num);
        const Image before = Image::Take();
        uint32_t fans = 99;
        uint32_t found = 99;
        EXPECT_EQ(MW_GetFanCount(&fans, &found), 0);
        ExpectCalls("MW_GetFanCount", Locked());
        EXPECT_EQ(fans, num);
        EXPECT_EQ(found, expected[num]);
        ExpectImage(before);
    }
}

TEST_F(Fan, CountingRunsOnByTheByte) {
    Put<uint32_t>(2372 + 208 * 15 + 8, 1);
    Put<uint32_t>(2372 + 208 * 16 + 8, 1);    // behind the last asset record
    Put<uint32_t>(2372 + 208 * 1813 + 8, 1);  // the last such word of the shared area
    const struct {
        uint32_t count;
        uint32_t present;
    } rows[] = {{15, 0}, {16, 1}, {17, 2}, {1813, 2}, {1814, 3}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.count);
        Put<uint32_t>(0, row.count);
        EXPECT_EQ(MW_GetFanCount(&word_, &other_), 0);
        EXPECT_EQ(word_, row.count);
        EXPECT_EQ(other_, row.present);
    }
    recorder::ClearCalls();
    word_ = other_ = 4711;
    for (uint32_t count : {1815u, 0x80000000u, 0xFFFFFFFFu}) {
        Put<uint32_t>(0, count);
        EXPECT_EQ(MW_GetFanCount(&word_, &other_), -1);
        ExpectCalls("MW_GetFanCount", Refused());
    }
    EXPECT_EQ(word_, 4711u);
    EXPECT_EQ(other_, 4711u);
}

TEST_F(Fan, CountIsOneWord) {
    FillArea();
    const Image before = Image::Take();
    for (uint32_t count : {0u, 16u, 17u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetFanCount(count), 0);
        ExpectCalls("MW_SetFanCount", Locked());
        ExpectImage(before.With(At(0), count));
    }
}

TEST_F(Fan, RedundancyAndTotalPowerAreOneWordEach) {
    CheckWord({"MW_GetFanRedundancyStates", MW_GetFanRedundancyStates, "MW_SetFanRedundancyStates",
               MW_SetFanRedundancyStates, 17748});
    CheckWord({"MW_GetFanTotalPower", MW_GetFanTotalPower, "MW_SetFanTotalPower", MW_SetFanTotalPower, 17756});
}

TEST_F(Fan, TheZoneTableIsStoredWholeInOneCopy) {
    FillArea();
    const Image before = Image::Take();
    const std::vector<uint8_t> in = Pattern(32 * 144, 12);
    memcpy(static_cast<void *>(zones_), in.data(), in.size());
    EXPECT_EQ(MW_SetFanDeviceZoneInfo(zones_), 0);
    ExpectCalls("MW_SetFanDeviceZoneInfo", Locked({4608}));
    ExpectImage(before.With(At(12552), in.data(), in.size()));
}

TEST_F(Fan, FailedLocksLeaveTheCallersVariablesAlone) {
    FillArea();
    Put<uint32_t>(0, 1);
    recorder::Now().lock_result[kFanKey] = -1;
    FanAssetInfo record = PatternOf<FanAssetInfo>(9);
    word_ = other_ = 4711;
    for (const Family &family : kFamilies) EXPECT_EQ(family.get(&record, &word_), -1);
    EXPECT_EQ(MW_GetFanCount(&word_, &other_), -1);
    EXPECT_EQ(MW_GetFanTotalPower(&word_), -1);
    const FanAssetInfo untouched = PatternOf<FanAssetInfo>(9);
    EXPECT_EQ(memcmp(&record, &untouched, sizeof record), 0);
    EXPECT_EQ(word_, 4711u);
    EXPECT_EQ(other_, 4711u);
}

}  // namespace
