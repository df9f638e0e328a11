// Power supplies: identity, presence, readings, status, modes, health.
#include "accessor_test.h"

namespace {

constexpr ModuleFacts kPemFacts{"pem/hov_midpem", &g_ptPemCollectAddr, 325424, 2540, 12292};

constexpr size_t kAsset = 864;
constexpr size_t kStride = 408;
constexpr size_t kRoom = 708704 - 325424;  // from the area to the end of the shared area

// Where a place of the asset record of this index lies; index -1 is the record of PEM number 0.
constexpr size_t Asset(int64_t index, size_t place = 0) {
    return static_cast<size_t>(static_cast<int64_t>(kAsset + place) + index * static_cast<int64_t>(kStride));
}

// The last index at which `size` bytes from `place` on still lie in the shared area.
constexpr uint32_t LastIndex(size_t place, size_t size) {
    return static_cast<uint32_t>((kRoom - kAsset - place - size) / kStride);
}

#define NAMED(function) #function, function

const struct {
    const char *name;
    int32_t (*get)(uint32_t *);
    size_t offset;
    bool tested;
} kWordGetters[] = {
    {NAMED(MW_GetPemCount), 0, true},
    {NAMED(MW_GetMaxPemCount), 0, false},
    {NAMED(MW_GetEntireStatus), 4, false},
    {NAMED(MW_GetRedundanceStatus), 8, false},
    {NAMED(MW_GetMixedStatus), 12, false},
    {NAMED(MW_GetPemModeAllowActiveStandby), 2496, true},
    {NAMED(MW_GetPemHealthyStatusInfoByTotal), 4, true},
};

const struct {
    const char *name;
    int32_t (*get)(PemModeRecord *);
    const char *set_name;
    int32_t (*set)(const PemModeRecord *);
    size_t offset;
} kModes[] = {
    {NAMED(MW_GetPemCfgMode), NAMED(MW_SetPemCfgMode), 2500},
    {NAMED(MW_GetPemCurrentMode), NAMED(MW_SetPemCurrentMode), 2520},
};

// Lists as functions on bytes, so that one table serves all records.
const struct {
    const char *name;
    std::function<int32_t(void *, uint32_t *)> get;
    const char *set_name;
    std::function<int32_t(const void *, uint32_t)> set;
    size_t first;
    size_t size;
} kLists[] = {
    {"MW_GetPemOnlinePhyInfo",
     [](void *to, uint32_t *count) { return MW_GetPemOnlinePhyInfo(static_cast<PemOnlinePhy *>(to), count); },
     "MW_SetPemOnlinePhyInfo",
     [](const void *from, uint32_t count) {
         return MW_SetPemOnlinePhyInfo(static_cast<const PemOnlinePhy *>(from), count);
     },
     16, 48},
    {"MW_GetPemPmbusPhyInfo",
     [](void *to, uint32_t *count) { return MW_GetPemPmbusPhyInfo(static_cast<PemPmbusPhy *>(to), count); },
     "MW_SetPemPmbusPhyInfo",
     [](const void *from, uint32_t count) {
         return MW_SetPemPmbusPhyInfo(static_cast<const PemPmbusPhy *>(from), count);
     },
     208, 164},
    {"MW_GetPemAssetInfo",
     [](void *to, uint32_t *count) { return MW_GetPemAssetInfo(static_cast<PemAsset *>(to), count); },
     nullptr,
     {},
     864,
     408},
};

const struct {
    const char *name;
    int32_t (*get)(uint32_t, char *);
    size_t block;
    const char *no_buffer;
    const char *not_valid;
} kIdentities[] = {
    {NAMED(MW_GetPemPowerManufacturerByIndex), 28,
     "[{S}:{L}]MW_GetPemPowerManufacturerByIndex failed! input para PowerManufacture is NULL!",
     "[{S}:{L}]tPemProductInfo.dwRes is not 0"},
    {NAMED(MW_GetPemModelByIndex), 136,
     "[{S}:{L}]MW_GetPemModelByIndex failed! input para PowerManufacture is NULL!",
     "[{S}:{L}]failed! tPemModelNam.dwRes is not 0"},
    {NAMED(MW_GetPemSNByIndex), 64, "[{S}:{L}]MW_GetPemSNByIndex failed! input para pSN is NULL!",
     "[{S}:{L}]tPemProductSerNum.dwRes is not 0"},
};

// Setters of a part of an asset record, as functions on bytes.
const struct {
    const char *name;
    std::function<int32_t(uint32_t, const void *)> set;
    size_t place;
    size_t size;
    bool zero_refused;  // number 0; otherwise 5 and more
    std::vector<std::string> copies;
} kPartSetters[] = {
    {"MW_SetPemAssetBurnInfo",
     [](uint32_t number, const void *from) {
         return MW_SetPemAssetBurnInfo(number, static_cast<const PemBurnInfo *>(from));
     },
     16,
     192,
     false,
     {Copy(192)}},
    {"MW_SetPemAssertBurnRevision",
     [](uint32_t number, const void *from) {
         return MW_SetPemAssertBurnRevision(number, static_cast<const PemText *>(from));
     },
     172,
     36,
     true,
     {HovCopy(36)}},
    {"MW_SetPemAssetStatusInfoExceptHealthStatus",
     [](uint32_t number, const void *from) {
         return MW_SetPemAssetStatusInfoExceptHealthStatus(number, static_cast<const PemStatusInfo *>(from));
     },
     208,
     180,
     false,
     {Copy(52), Copy(120)}},
    {"MW_SetPemAssetAlarmPartInfo",
     [](uint32_t number, const void *from) {
         return MW_SetPemAssetAlarmPartInfo(number, static_cast<const PemAlarmState *>(from));
     },
     388,
     8,
     false,
     {Copy(8)}},
};

class Pem : public AccessorTest {
  protected:
    Pem() : AccessorTest(kPemFacts, kLockError) {}

    // What a part setter leaves: its bytes, but never those of the health.
    Image WithPart(const Image &before, size_t at, const std::vector<uint8_t> &part) const {
        if (part.size() != 180) return before.With(At(at), part.data(), part.size());
        return before.With(At(at), part.data(), 52).With(At(at) + 60, part.data() + 60, 120);
    }

    void PutText(size_t at, const char *text) { PutBytes(at, text, strlen(text) + 1); }

    const std::vector<std::string> guarded_ = {Lock(12292), Unlock(12292)};
    const std::vector<std::string> refused_ = {Lock(12292), Dbg(kRefusal), Unlock(12292)};
};

TEST_F(Pem, EveryAccessorFollowsTheTemplate) {
    alignas(8) uint8_t bytes[4 * 408] = {};
    uint32_t words[2];
    PemAlarmPart part;
    PemMode mode{};
    for (const auto &row : kWordGetters) {
        Accessor accessor{row.name, [&] { return row.get(words); }};
        if (row.tested) accessor.null = [&] { return row.get(nullptr); };
        CheckGuarded(accessor);
    }
    for (const auto &row : kModes) {
        CheckGuarded(
            {row.name, [&] { return row.get(&mode.tPemCfgMode); }, [&] { return row.get(nullptr); }});
        CheckGuarded(
            {row.set_name, [&] { return row.set(&mode.tPemCfgMode); }, [&] { return row.set(nullptr); }});
    }
    for (const auto &row : kLists) {
        CheckGuarded(
            {row.name, [&] { return row.get(bytes, words); }, [&] { return row.get(nullptr, words); }});
        CheckGuarded(
            {row.name, [&] { return row.get(bytes, words); }, [&] { return row.get(bytes, nullptr); }});
        if (!row.set) continue;
        CheckGuarded({row.set_name, [&] { return row.set(bytes, 4); }, [&] { return row.set(nullptr, 4); }});
    }
    for (const auto &row : kPartSetters) {
        CheckGuarded({row.name, [&] { return row.set(1, bytes); }, [&] { return row.set(1, nullptr); }});
    }
    const Accessor accessors[] = {
        {"MW_SetPemCount", [] { return MW_SetPemCount(4); }},
        {"MW_GetPemAlarmInfoByIndex", [&] { return MW_GetPemAlarmInfoByIndex(1, &part); },
         [] { return MW_GetPemAlarmInfoByIndex(1, nullptr); }},
        {"MW_GetPemPresentStatus", [&] { return MW_GetPemPresentStatus(1, words); }},
        {"MW_GetPemPresentStaByIndex", [] { return MW_GetPemPresentStaByIndex(0); }},
        {"MW_GetPemPresentChCntByIndex", [&] { return MW_GetPemPresentChCntByIndex(0, words); }},
        {"MW_SetPemPresentStatus", [] { return MW_SetPemPresentStatus(1, 1); }},
        {"MW_GetPemMode", [&] { return MW_GetPemMode(&mode); }},
        {"MW_SetPemAllowActiveStandby", [] { return MW_SetPemAllowActiveStandby(1); }},
        {"MW_ClearAssetInfo", [] { return MW_ClearAssetInfo(); }},
        {"MW_ClearPhyInfo", [] { return MW_ClearPhyInfo(); }},
        {"MW_InitPemHealthyStatusInfo", [] { return MW_InitPemHealthyStatusInfo(); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);

    Put<uint32_t>(0, 1);
    Put<uint32_t>(Asset(0), 1);
    CheckGuarded({"MW_GetPemHealthyStatusInfoByInst",
                  [&] { return MW_GetPemHealthyStatusInfoByInst(1, words); },
                  [] { return MW_GetPemHealthyStatusInfoByInst(1, nullptr); }, kLockLineError});
    CheckGuarded({"MW_SetPemHealthyStatusInfo", [] { return MW_SetPemHealthyStatusInfo(1, 2, 3); }});
    InFreshProcess([&] {
        CheckGuarded({"MW_SetPemOtherStatus", [] { return MW_SetPemOtherStatus(1, 1, 0); }});
    });
    // These look at the count before they take the semaphore.
    recorder::OpenArea();
    for (const auto &row : kIdentities) {
        CheckGuarded({row.name,
                      [&] { return row.get(1, reinterpret_cast<char *>(bytes)); },
                      {},
                      nullptr,
                      "[{S}:{L}]MW_MidMemCheck failed"});
    }
}

TEST_F(Pem, PointersThatAreNotTestedDoNotStopAnAccessorBeforeTheLock) {
    recorder::Now().lock_result[12292] = -1;
    const auto expect_lock = [&](const char *name, int32_t result) {
        SCOPED_TRACE(name);
        EXPECT_EQ(result, -1);
        ExpectCalls(name, {Lock(12292), Dbg(kLockError)});
    };
    for (const auto &row : kWordGetters) {
        if (!row.tested) expect_lock(row.name, row.get(nullptr));
    }
    expect_lock("MW_GetPemPresentStatus", MW_GetPemPresentStatus(1, nullptr));
    expect_lock("MW_GetPemPresentChCntByIndex", MW_GetPemPresentChCntByIndex(0, nullptr));
    expect_lock("MW_GetPemMode", MW_GetPemMode(nullptr));
}

TEST_F(Pem, WordGettersReadTheirWordAndChangeNothing) {
    FillArea();
    const Image before = Image::Take();
    for (const auto &row : kWordGetters) {
        SCOPED_TRACE(row.name);
        uint32_t word = 0;
        EXPECT_EQ(row.get(&word), 0);
        ExpectCalls(row.name, guarded_);
        EXPECT_EQ(word, Get<uint32_t>(row.offset));
    }
    ExpectImage(before);
}

TEST_F(Pem, WordSettersWriteTheirWordAndNothingElse) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetPemCount(0xFFFFFFFF), 0);
    ExpectCalls("MW_SetPemCount", guarded_);
    EXPECT_EQ(MW_SetPemAllowActiveStandby(0x01020304), 0);
    ExpectCalls("MW_SetPemAllowActiveStandby", guarded_);
    ExpectImage(before.With<uint32_t>(At(0), 0xFFFFFFFF).With<uint32_t>(At(2496), 0x01020304));
}

TEST_F(Pem, ModesAreTwentyBytesEachAndTheirWholeFortyFour) {
    FillArea();
    Image expected = Image::Take();
    uint8_t seed = 50;
    for (const auto &row : kModes) {
        SCOPED_TRACE(row.name);
        PemModeRecord mode{};
        EXPECT_EQ(row.get(&mode), 0);
        ExpectCalls(row.name, {Lock(12292), Copy(20), Unlock(12292)});
        EXPECT_EQ(memcmp(&mode, recorder::Area() + At(row.offset), 20), 0);
        mode = PatternOf<PemModeRecord>(++seed);
        EXPECT_EQ(row.set(&mode), 0);
        ExpectCalls(row.set_name, {Lock(12292), Copy(20), Unlock(12292)});
        expected = expected.With(At(row.offset), &mode, 20);
        ExpectImage(expected);
    }
    PemMode all{};
    EXPECT_EQ(MW_GetPemMode(&all), 0);
    ExpectCalls("MW_GetPemMode", {Lock(12292), Copy(44), Unlock(12292)});
    EXPECT_EQ(memcmp(&all, recorder::Area() + At(2496), 44), 0);
    ExpectImage(expected);
}

// --- lists ---------------------------------------------------------------------------------------

TEST_F(Pem, ListsHoldAsManyRecordsAsTheStoredCountSays) {
    for (const auto &row : kLists) {
        for (uint32_t count : {0u, 1u, 4u, 5u, 9u}) {
            SCOPED_TRACE(testing::Message() << row.name << ", " << count);
            FillArea();
            Put<uint32_t>(0, count);
            const Image before = Image::Take();
            std::vector<uint8_t> records(row.size * count + 1, 0xEE);
            uint32_t stored = 0xABCD;
            EXPECT_EQ(row.get(records.data(), &stored), 0);
            std::vector<std::string> calls = guarded_;
            calls.insert(calls.begin() + 1, count, Copy(row.size));
            ExpectCalls(row.name, calls);
            EXPECT_EQ(stored, count);
            EXPECT_EQ(memcmp(records.data(), recorder::Area() + At(row.first), row.size * count), 0);
            EXPECT_EQ(records.back(), 0xEE);
            ExpectImage(before);
        }
    }
}

TEST_F(Pem, StoredListsRunOnBehindTheirPlaces) {
    for (const auto &row : kLists) {
        if (!row.set) continue;
        for (uint32_t count : {0u, 1u, 4u, 5u, 20u}) {
            SCOPED_TRACE(testing::Message() << row.set_name << ", " << count);
            FillArea();
            const Image before = Image::Take();
            const std::vector<uint8_t> records = Pattern(row.size * count, 33);
            // A pointer that is not NULL also where nothing is copied.
            alignas(8) const uint8_t none = 0;
            EXPECT_EQ(row.set(count == 0 ? &none : records.data(), count), 0);
            std::vector<std::string> calls = guarded_;
            calls.insert(calls.begin() + 1, count, Copy(row.size));
            ExpectCalls(row.set_name, calls);
            ExpectImage(
                before.With<uint32_t>(At(0), count).With(At(row.first), records.data(), records.size()));
        }
    }
}

TEST_F(Pem, ListsThatWouldLeaveTheSharedAreaAreRefused) {
    std::vector<uint8_t> records(kRoom);
    for (const auto &row : kLists) {
        const auto last = static_cast<uint32_t>((kRoom - row.first) / row.size);
        uint32_t stored = 0xABCD;
        FillArea();
        Put<uint32_t>(0, last);
        EXPECT_EQ(row.get(records.data(), &stored), 0) << row.name;
        EXPECT_EQ(stored, last);
        recorder::ClearCalls();
        for (uint32_t count : {last + 1, 0x10000000u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(testing::Message() << row.name << ", " << count);
            stored = 0xABCD;
            Put<uint32_t>(0, count);
            EXPECT_EQ(row.get(records.data(), &stored), -1);
            ExpectCalls(row.name, refused_);
            EXPECT_EQ(stored, 0xABCDu);
            if (!row.set) continue;
            const Image before = Image::Take();
            EXPECT_EQ(row.set(records.data(), count), -1);
            ExpectCalls(row.set_name, refused_);
            ExpectImage(before);
        }
        if (!row.set) continue;
        EXPECT_EQ(row.set(records.data(), last), 0) << row.set_name;
        recorder::ClearCalls();
    }
}

// --- alarm parts ---------------------------------------------------------------------------------

TEST_F(Pem, AnAlarmPartIsFoundByItsKey) {
    FillArea();
    Put<uint32_t>(0, 4);
    for (uint32_t i = 0; i < 4; ++i)
        Put<uint32_t>(Asset(i, 388), i == 3 ? 11 : 10 + i);  // the last repeats the second
    const Image before = Image::Take();
    for (uint32_t i = 0; i < 3; ++i) {
        PemAlarmPart part{};
        EXPECT_EQ(MW_GetPemAlarmInfoByIndex(10 + i, &part), 0);
        ExpectCalls("MW_GetPemAlarmInfoByIndex", {Lock(12292), Copy(20), Unlock(12292)});
        EXPECT_EQ(memcmp(&part, recorder::Area() + At(Asset(i, 388)), 20), 0) << i;
    }
    ExpectImage(before);
}

TEST_F(Pem, AMissingAlarmPartIsNoErrorAndLeavesTheBufferAlone) {
    const PemAlarmPart untouched = PatternOf<PemAlarmPart>(3);
    for (uint32_t count : {0u, 1u, 4u}) {
        FillArea();
        Put<uint32_t>(0, count);
        Put<uint32_t>(Asset(count, 388), 10);  // the first one that is not counted
        PemAlarmPart part = untouched;
        EXPECT_EQ(MW_GetPemAlarmInfoByIndex(10, &part), 0);
        ExpectCalls("MW_GetPemAlarmInfoByIndex", guarded_);
        EXPECT_EQ(memcmp(&part, &untouched, sizeof part), 0) << count;
    }
}

TEST_F(Pem, TheSearchForAnAlarmPartRunsOnAndIsRefusedOutsideTheSharedArea) {
    FillArea();
    Put<uint32_t>(0, 0xFFFFFFFF);
    PemAlarmPart part{};
    EXPECT_EQ(MW_GetPemAlarmInfoByIndex(10, &part), -1);
    ExpectCalls("MW_GetPemAlarmInfoByIndex", refused_);
    const uint32_t last = LastIndex(388, 20);
    Put<uint32_t>(Asset(last, 388), 10);
    EXPECT_EQ(MW_GetPemAlarmInfoByIndex(10, &part), 0);
    EXPECT_EQ(memcmp(&part, recorder::Area() + At(Asset(last, 388)), 20), 0);
}

// --- identity ------------------------------------------------------------------------------------

class PemIdentity : public Pem {
  protected:
    // The first look at the count goes without the semaphore.
    void SetUp() override {
        Pem::SetUp();
        recorder::OpenArea();
    }

    std::string Over(uint32_t number, uint32_t count) {
        return Dbg("[{S}:{L}]pem index " + std::to_string(static_cast<int32_t>(number)) +
                   " is more than max count " + std::to_string(static_cast<int32_t>(count)));
    }

    char text_[33] = {};
};

TEST_F(PemIdentity, TheTextOfTheRecordWithThisNumberIsHandedOut) {
    for (const auto &row : kIdentities) {
        SCOPED_TRACE(row.name);
        FillArea();
        Put<uint32_t>(0, 4);
        // Records need not be in the order of their numbers.
        const uint32_t numbers[] = {2, 3, 1, 4};
        for (uint32_t i = 0; i < 4; ++i) {
            Put<uint32_t>(Asset(i), numbers[i]);
            Put<uint32_t>(Asset(i, row.block), 0);
            PutText(Asset(i, row.block + 4), ("Text " + std::to_string(numbers[i])).c_str());
        }
        const Image before = Image::Take();
        for (uint32_t number = 1; number <= 4; ++number) {
            memset(text_, 0x7E, sizeof text_);
            EXPECT_EQ(row.get(number, text_), 0);
            ExpectCalls(row.name, guarded_);
            EXPECT_EQ(text_, "Text " + std::to_string(number));
        }
        ExpectImage(before);
    }
}

TEST_F(PemIdentity, ANullBufferIsLoggedAndNothingElseDone) {
    Detach();
    for (const auto &row : kIdentities) {
        EXPECT_EQ(row.get(1, nullptr), -1);
        ExpectCalls(row.name, {Dbg(row.no_buffer)});
    }
}

TEST_F(PemIdentity, ANumberAboveTheCountIsRefusedBeforeTheLock) {
    for (const auto &row : kIdentities) {
        SCOPED_TRACE(row.name);
        const struct {
            uint32_t number;
            uint32_t count;
        } cases[] = {{3, 2}, {1, 0}, {5, 4}, {0xFFFFFFFF, 4}, {0xFFFFFFFF, 0x80000000}};
        for (const auto &refused : cases) {
            Put<uint32_t>(0, refused.count);
            EXPECT_EQ(row.get(refused.number, text_), -1);
            ExpectCalls(row.name, {Over(refused.number, refused.count)});
        }
    }
}

TEST_F(PemIdentity, ANumberUpToTheCountIsSearchedFor) {
    for (const auto &row : kIdentities) {
        Put<uint32_t>(0, 2);
        memset(text_, 0x7E, sizeof text_);
        EXPECT_EQ(row.get(2, text_), -1) << "no record has the number";
        ExpectCalls(row.name, guarded_);
        EXPECT_EQ(text_[0], 0x7E);
        Put<uint32_t>(Asset(2), 2);  // beyond the count
        EXPECT_EQ(row.get(2, text_), -1);
        ExpectCalls(row.name, guarded_);
        EXPECT_EQ(row.get(0, text_), 0) << "a record that nobody has numbered";
        ExpectCalls(row.name, guarded_);
        EXPECT_STREQ(text_, "");
        Put<uint32_t>(Asset(2), 0);
    }
}

TEST_F(PemIdentity, AProcessThatIsNotAttachedAttachesBeforeItsFirstLook) {
    Put<uint32_t>(0, 1);
    Put<uint32_t>(Asset(0), 1);
    for (const auto &row : kIdentities) {
        Detach();
        EXPECT_EQ(row.get(1, text_), 0);
        ExpectCalls(row.name, {AttachCall(), Lock(12292), Unlock(12292)});
        Detach();
        EXPECT_EQ(row.get(2, text_), -1);
        ExpectCalls(row.name, {AttachCall(), Over(2, 1)});
    }
}

TEST_F(PemIdentity, TheSearchUsesTheCountThatItFindsBelowTheSemaphore) {
    for (const auto &row : kIdentities) {
        SCOPED_TRACE(row.name);
        FillArea();
        Put<uint32_t>(Asset(2), 2);
        Put<uint32_t>(Asset(2, row.block), 0);
        PutText(Asset(2, row.block + 4), "third");
        const auto count_changes_to = [&](uint32_t count) {
            Put<uint32_t>(0, 2);
            recorder::Now().on_call = [this, count](const recorder::Call &call) {
                if (call.text == Lock(12292)) Put<uint32_t>(0, count);
            };
        };
        count_changes_to(3);
        EXPECT_EQ(row.get(2, text_), 0);
        ExpectCalls(row.name, guarded_);
        EXPECT_STREQ(text_, "third");
        Put<uint32_t>(Asset(0), 2);
        Put<uint32_t>(Asset(0, row.block), 0);
        count_changes_to(0);
        EXPECT_EQ(row.get(2, text_), -1);
        ExpectCalls(row.name, guarded_);
        EXPECT_STREQ(text_, "third");
        recorder::Now().on_call = nullptr;
    }
}

TEST_F(PemIdentity, TheFirstLookGoesThroughThePointerAsItStands) {
    alignas(8) static uint8_t elsewhere[2540];
    g_ptPemCollectAddr = elsewhere;
    Put<uint32_t>(0, 4);
    for (const auto &row : kIdentities) {
        EXPECT_EQ(row.get(1, text_), -1);
        ExpectCalls(row.name, {Over(1, 0)});
    }
}

TEST_F(PemIdentity, RecordsWithoutAValidTextAreLoggedAndPassedOver) {
    for (const auto &row : kIdentities) {
        SCOPED_TRACE(row.name);
        FillArea();
        Put<uint32_t>(0, 4);
        for (uint32_t i = 0; i < 4; ++i) {
            Put<uint32_t>(Asset(i), i == 1 ? 9 : 3);  // records 0, 2 and 3 have number 3
            Put<uint32_t>(Asset(i, row.block), i < 3 ? 1 + i : 0);
        }
        PutText(Asset(3, row.block + 4), "valid");
        EXPECT_EQ(row.get(3, text_), 0);
        ExpectCalls(row.name, {Lock(12292), Dbg(row.not_valid), Dbg(row.not_valid), Unlock(12292)});
        EXPECT_STREQ(text_, "valid");

        Put<uint32_t>(Asset(3, row.block), 0x80000000);
        memset(text_, 0x7E, sizeof text_);
        EXPECT_EQ(row.get(3, text_), -1);
        ExpectCalls(row.name,
                    {Lock(12292), Dbg(row.not_valid), Dbg(row.not_valid), Dbg(row.not_valid), Unlock(12292)});
        EXPECT_EQ(text_[0], 0x7E);
    }
}

TEST_F(PemIdentity, TextsAreCutToThirtyOneCharacters) {
    const std::string full(40, 'x');
    for (const auto &row : kIdentities) {
        for (size_t length : {0u, 1u, 30u, 31u, 32u, 40u}) {
            FillArea();
            Put<uint32_t>(0, 1);
            Put<uint32_t>(Asset(0), 1);
            Put<uint32_t>(Asset(0, row.block), 0);
            PutText(Asset(0, row.block + 4), full.substr(0, length).c_str());
            memset(text_, 0x7E, sizeof text_);
            EXPECT_EQ(row.get(1, text_), 0);
            EXPECT_EQ(text_, full.substr(0, std::min<size_t>(length, 31))) << row.name;
            EXPECT_EQ(text_[32], 0x7E);
        }
    }
    recorder::ClearCalls();
}

TEST_F(PemIdentity, TheSearchRunsOnAndIsRefusedOutsideTheSharedArea) {
    for (const auto &row : kIdentities) {
        SCOPED_TRACE(row.name);
        FillArea();
        Put<uint32_t>(0, 0xFFFFFFFF);
        EXPECT_EQ(row.get(7, text_), -1);
        ExpectCalls(row.name, refused_);
        const uint32_t last = LastIndex(row.block + 4, 32);
        Put<uint32_t>(Asset(last), 7);
        Put<uint32_t>(Asset(last, row.block), 0);
        PutText(Asset(last, row.block + 4), "far");
        EXPECT_EQ(row.get(7, text_), 0);
        EXPECT_STREQ(text_, "far");
        recorder::ClearCalls();
    }
}

TEST_F(PemIdentity, ARecordWhoseTextLiesOutsideTheSharedAreaIsRefused) {
    // Of the last record that begins within the area, the model is the one text that does not fit.
    const uint32_t last = LastIndex(0, 4);
    for (const auto &row : kIdentities) {
        SCOPED_TRACE(row.name);
        FillArea();
        Put<uint32_t>(0, last + 1);
        Put<uint32_t>(Asset(last), 7);
        if (row.block == 136) {
            EXPECT_EQ(row.get(7, text_), -1);
            ExpectCalls(row.name, refused_);
        } else {
            EXPECT_EQ(row.get(7, text_), -1);
            ExpectCalls(row.name, {Lock(12292), Dbg(row.not_valid), Unlock(12292)});
        }
    }
}

// --- presence ------------------------------------------------------------------------------------

TEST_F(Pem, PresenceKeepsItsBooks) {
    FillArea();
    const size_t record = Asset(1);
    for (size_t word : {4u, 8u, 12u}) Put<uint32_t>(record + word, 0);
    const Image before = Image::Take();
    const struct {
        uint32_t set;
        uint32_t last;
        uint32_t changes;
    } steps[] = {{0, 0, 0}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}, {2, 0, 1}, {1, 2, 1}, {0, 1, 1}, {1, 0, 2}};
    for (const auto &step : steps) {
        EXPECT_EQ(MW_SetPemPresentStatus(2, step.set), 0);
        ExpectCalls("MW_SetPemPresentStatus", guarded_);
        ExpectImage(before.With<uint32_t>(At(record), 2)
                        .With<uint32_t>(At(record) + 4, step.set)
                        .With<uint32_t>(At(record) + 8, step.last)
                        .With<uint32_t>(At(record) + 12, step.changes));
    }
}

TEST_F(Pem, PresenceReadsByNumberAndByIndex) {
    uint32_t present = 0;
    uint32_t changes = 0;
    EXPECT_EQ(MW_SetPemPresentStatus(2, 0), 0);
    EXPECT_EQ(MW_SetPemPresentStatus(2, 1), 0);
    EXPECT_EQ(MW_SetPemPresentStatus(2, 1), 0);
    recorder::ClearCalls();
    EXPECT_EQ(MW_GetPemPresentStatus(2, &present), 0);
    ExpectCalls("MW_GetPemPresentStatus", guarded_);
    EXPECT_EQ(MW_GetPemPresentStaByIndex(1), 1);
    ExpectCalls("MW_GetPemPresentStaByIndex", guarded_);
    EXPECT_EQ(MW_GetPemPresentChCntByIndex(1, &changes), 0);
    ExpectCalls("MW_GetPemPresentChCntByIndex", guarded_);
    EXPECT_EQ(present, 1u);
    EXPECT_EQ(changes, 1u);
    EXPECT_EQ(Get<uint32_t>(Asset(1)), 2u);
    EXPECT_EQ(Get<uint32_t>(Asset(1, 8)), 1u);
    EXPECT_EQ(MW_GetPemPresentStaByIndex(0), 0);
}

TEST_F(Pem, PresenceNumbersAndIndexesRunOn) {
    for (int64_t index :
         {int64_t{-1}, int64_t{0}, int64_t{3}, int64_t{4}, int64_t{100}, int64_t{LastIndex(0, 16)}}) {
        SCOPED_TRACE(index);
        FillArea();
        const auto number = static_cast<uint32_t>(index + 1);
        uint32_t word = 0;
        EXPECT_EQ(MW_GetPemPresentStatus(number, &word), 0);
        EXPECT_EQ(word, Get<uint32_t>(Asset(index, 4)));
        if (index >= 0) {
            EXPECT_EQ(MW_GetPemPresentStaByIndex(static_cast<uint32_t>(index)),
                      Get<int32_t>(Asset(index, 4)));
            EXPECT_EQ(MW_GetPemPresentChCntByIndex(static_cast<uint32_t>(index), &word), 0);
            EXPECT_EQ(word, Get<uint32_t>(Asset(index, 12)));
        }
        Put<uint32_t>(Asset(index, 4), 0);
        const uint32_t changes = Get<uint32_t>(Asset(index, 12));
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetPemPresentStatus(number, 1), 0);
        ExpectImage(before.With<uint32_t>(At(Asset(index)), number)
                        .With<uint32_t>(At(Asset(index, 4)), 1)
                        .With<uint32_t>(At(Asset(index, 8)), 0)
                        .With<uint32_t>(At(Asset(index, 12)), changes + 1));
    }
}

TEST_F(Pem, PresenceOutsideTheSharedAreaIsRefused) {
    FillArea();
    const Image before = Image::Take();
    const auto expect_refused = [&](const char *name, int32_t result) {
        SCOPED_TRACE(name);
        EXPECT_EQ(result, -1);
        ExpectCalls(name, refused_);
    };
    uint32_t word = 0xABCD;
    for (uint32_t more : {1u, 2u, 0x10000u, 0x80000000u}) {
        expect_refused("MW_GetPemPresentStatus", MW_GetPemPresentStatus(LastIndex(4, 4) + 1 + more, &word));
        expect_refused("MW_GetPemPresentStaByIndex", MW_GetPemPresentStaByIndex(LastIndex(4, 4) + more));
        expect_refused("MW_GetPemPresentChCntByIndex",
                       MW_GetPemPresentChCntByIndex(LastIndex(12, 4) + more, &word));
        expect_refused("MW_SetPemPresentStatus", MW_SetPemPresentStatus(LastIndex(0, 16) + 1 + more, 1));
    }
    expect_refused("MW_GetPemPresentStatus", MW_GetPemPresentStatus(0xFFFFFFFF, &word));
    expect_refused("MW_GetPemPresentStaByIndex", MW_GetPemPresentStaByIndex(0xFFFFFFFF));
    EXPECT_EQ(word, 0xABCDu);
    ExpectImage(before);
    // The last ones that fit, by the width of what each reads.
    EXPECT_EQ(MW_GetPemPresentStatus(LastIndex(4, 4) + 1, &word), 0);
    EXPECT_EQ(MW_GetPemPresentChCntByIndex(LastIndex(12, 4), &word), 0);
}

// --- parts of the asset record -------------------------------------------------------------------

TEST_F(Pem, PartSettersWriteTheirBytesAndNeverTheHealth) {
    for (const auto &row : kPartSetters) {
        for (uint32_t number = row.zero_refused ? 1 : 0; number <= 4; ++number) {
            SCOPED_TRACE(testing::Message() << row.name << ", " << number);
            FillArea(static_cast<uint8_t>(number + 1));
            const Image before = Image::Take();
            const std::vector<uint8_t> part = Pattern(row.size, 200);
            EXPECT_EQ(row.set(number, part.data()), 0);
            std::vector<std::string> calls = guarded_;
            calls.insert(calls.begin() + 1, row.copies.begin(), row.copies.end());
            ExpectCalls(row.name, calls);
            ExpectImage(WithPart(before, Asset(int64_t{number} - 1, row.place), part));
        }
    }
}

TEST_F(Pem, PartSettersRefuseTheirNumbersBeforeAttaching) {
    FillArea();
    const Image before = Image::Take();
    const std::vector<uint8_t> part = Pattern(192, 1);
    Detach();
    for (const auto &row : kPartSetters) {
        if (row.zero_refused) {
            EXPECT_EQ(row.set(0, part.data()), -1) << row.name;
            ExpectNoCalls();
            continue;
        }
        for (uint32_t number : {5u, 6u, 0x80000000u, 0xFFFFFFFFu}) {
            EXPECT_EQ(row.set(number, part.data()), -1) << row.name << " " << number;
            ExpectNoCalls();
        }
    }
    ExpectImage(before);
}

TEST_F(Pem, TheRevisionRunsOnAndIsRefusedOutsideTheSharedArea) {
    const PemText revision = PatternOf<PemText>(200);
    for (uint32_t index : {4u, 100u, LastIndex(172, 36)}) {
        FillArea();
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetPemAssertBurnRevision(index + 1, &revision), 0);
        ExpectImage(before.With(At(Asset(index, 172)), &revision, 36));
    }
    recorder::ClearCalls();
    const Image before = Image::Take();
    for (uint32_t number : {LastIndex(172, 36) + 2, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetPemAssertBurnRevision(number, &revision), -1);
        ExpectCalls("MW_SetPemAssertBurnRevision", refused_);
    }
    ExpectImage(before);
}

TEST_F(Pem, PartsReadBackByTheNamesOfTheirFields) {
    PemBurnInfo burn{};
    strcpy(burn.tPemProductInfo.acText, "maker");
    strcpy(burn.tPemProductSerNum.acText, "serial");
    strcpy(burn.tPemModelNam.acText, "model");
    PemText revision{};
    strcpy(revision.acText, "B");
    PemStatusInfo status{};
    status.dwRatedPower = 1100;
    status.dwHealthyStatus = 9;
    status.dwFaultCount = 2;
    const PemAlarmState alarm{77, 1, 2, 3, 4};
    EXPECT_EQ(MW_SetPemCount(1), 0);
    EXPECT_EQ(MW_SetPemPresentStatus(1, 1), 0);
    EXPECT_EQ(MW_SetPemAssetBurnInfo(1, &burn), 0);
    EXPECT_EQ(MW_SetPemAssertBurnRevision(1, &revision), 0);
    EXPECT_EQ(MW_SetPemHealthyStatusInfo(1, 5, 6), 0);
    EXPECT_EQ(MW_SetPemAssetStatusInfoExceptHealthStatus(1, &status), 0);
    EXPECT_EQ(MW_SetPemAssetAlarmPartInfo(1, &alarm), 0);

    PemAsset asset{};
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPemAssetInfo(&asset, &count), 0);
    EXPECT_EQ(asset.dwPemIndex, 1u);
    EXPECT_EQ(asset.dwPresentChCnt, 1u);
    EXPECT_STREQ(asset.tBurnInfo.tPemRevision.acText, "B");
    EXPECT_EQ(asset.tStatusInfo.dwRatedPower, 1100u);
    EXPECT_EQ(asset.tStatusInfo.dwHealthyStatus, 5u);
    EXPECT_EQ(asset.tStatusInfo.dwFaultCount, 2u);
    EXPECT_EQ(asset.tAlarmPart.tState.dwAlarmKey, 77u);
    EXPECT_EQ(asset.tAlarmPart.tState.ucConfigError, 4);

    recorder::OpenArea();
    char text[32];
    EXPECT_EQ(MW_GetPemPowerManufacturerByIndex(1, text), 0);
    EXPECT_STREQ(text, "maker");
    EXPECT_EQ(MW_GetPemSNByIndex(1, text), 0);
    EXPECT_STREQ(text, "serial");
    EXPECT_EQ(MW_GetPemModelByIndex(1, text), 0);
    EXPECT_STREQ(text, "model");
}

// --- mixed supplies and redundancy ---------------------------------------------------------------

TEST_F(Pem, MixedStatusMarksEveryCountedRecord) {
    InFreshProcess([&] {
        const struct {
            int32_t mixed;
            uint32_t value;
            uint8_t flag;
            uint8_t stored;
        } cases[] = {{2, 7, 1, 7},   {1, 7, 0, 255},  {2, 0x1FE, 1, 0xFE},
                     {0, 3, 0, 255}, {-1, 3, 0, 255}, {3, 3, 0, 255}};
        for (uint32_t count : {0u, 2u, 4u, 6u, LastIndex(398, 3) + 1}) {
            for (const auto &row : cases) {
                SCOPED_TRACE(testing::Message() << count << " supplies, mixed " << row.mixed);
                FillArea();
                Put<uint32_t>(0, count);
                const Image expected =
                    Image::Take().With<int32_t>(At(12), row.mixed).With<uint32_t>(At(8), 1);
                std::vector<uint8_t> bytes = expected.bytes();
                for (uint32_t i = 0; i < count; ++i) {
                    bytes[At(Asset(i, 398))] = row.flag;
                    bytes[At(Asset(i, 400))] = row.stored;
                }
                EXPECT_EQ(MW_SetPemOtherStatus(row.mixed, 1, row.value), 0);
                ExpectCalls("MW_SetPemOtherStatus", guarded_);
                ExpectImage(expected.With(0, bytes.data(), bytes.size()));
            }
        }
    });
}

TEST_F(Pem, ALossOfRedundancyIsPublishedWithTheThirdReportInARow) {
    InFreshProcess([&] {
        const struct {
            int32_t report;
            uint32_t stored;  // 9 is what was there before
        } steps[] = {{2, 9}, {2, 9}, {2, 2}, {2, 2}, {0, 2}, {1, 1}, {2, 1}, {-1, 1}, {3, 2},
                     {1, 1}, {2, 1}, {1, 1}, {2, 1}, {2, 1}, {1, 1}, {2, 1}, {2, 1},  {2, 2}};
        Put<uint32_t>(8, 9);
        for (const auto &step : steps) {
            EXPECT_EQ(MW_SetPemOtherStatus(0, step.report, 0), 0);
            EXPECT_EQ(Get<uint32_t>(8), step.stored);
        }
        // It stays published however often it is reported.
        for (int i = 0; i < 300; ++i) {
            Put<uint32_t>(8, 9);
            EXPECT_EQ(MW_SetPemOtherStatus(0, 2, 0), 0);
            EXPECT_EQ(Get<uint32_t>(8), 2u);
        }
    });
}

TEST_F(Pem, EachProcessCountsItsOwnReportsOfALoss) {
    Put<uint32_t>(8, 9);
    for (int process = 0; process < 3; ++process) {
        InFreshProcess([&] {
            for (int i = 0; i < 2; ++i) EXPECT_EQ(MW_SetPemOtherStatus(0, 2, 0), 0);
        });
        EXPECT_EQ(Get<uint32_t>(8), 9u) << "after two reports of process " << process;
    }
    InFreshProcess([&] {
        for (int i = 0; i < 3; ++i) EXPECT_EQ(MW_SetPemOtherStatus(0, 2, 0), 0);
    });
    EXPECT_EQ(Get<uint32_t>(8), 2u);
}

TEST_F(Pem, ReportsThatFailAreNotCounted) {
    InFreshProcess([&] {
        FillArea();
        Put<uint32_t>(8, 9);
        Put<uint32_t>(0, LastIndex(398, 3) + 2);
        const Image before = Image::Take();
        for (uint32_t count : {LastIndex(398, 3) + 2, 0xFFFFFFFFu}) {
            Put<uint32_t>(0, count);
            EXPECT_EQ(MW_SetPemOtherStatus(2, 2, 7), -1);
            ExpectCalls("MW_SetPemOtherStatus", refused_);
            ExpectImage(before.With<uint32_t>(At(0), count));
        }
        recorder::Now().lock_result[12292] = -1;
        for (int i = 0; i < 3; ++i) EXPECT_EQ(MW_SetPemOtherStatus(2, 2, 7), -1);
        recorder::Now().lock_result.clear();
        Put<uint32_t>(0, 4);
        for (uint32_t stored : {9u, 9u, 2u}) {
            EXPECT_EQ(MW_SetPemOtherStatus(2, 2, 7), 0);
            EXPECT_EQ(Get<uint32_t>(8), stored);
        }
        recorder::ClearCalls();
    });
}

// --- clearing ------------------------------------------------------------------------------------

TEST_F(Pem, ClearingZeroesOneBlockAndNothingElse) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_ClearAssetInfo(), 0);
    ExpectCalls("MW_ClearAssetInfo", {Lock(12292), "memset_s(1632, 0, 1632)", Unlock(12292)});
    ExpectImage(before.Zeroed(At(864), 1632));
    FillArea();
    EXPECT_EQ(MW_ClearPhyInfo(), 0);
    ExpectCalls("MW_ClearPhyInfo", {Lock(12292), "memset_s(848, 0, 848)", Unlock(12292)});
    ExpectImage(before.Zeroed(At(16), 848));
}

// --- health --------------------------------------------------------------------------------------

// Each module's health is tested alike, elsewhere.
TEST_F(Pem, TheTotalHealthIsTheEntireStatus) {
    EXPECT_EQ(MW_SetPemHealthyStatusInfo(50, 1, 0xB1B2B3B4), -1);
    uint32_t status = 0;
    EXPECT_EQ(MW_GetEntireStatus(&status), 0);
    EXPECT_EQ(status, 0xB1B2B3B4);
}

}  // namespace
