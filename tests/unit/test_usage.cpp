// Usage figures of the host and their thresholds, in memory and processors alike, and the host's partitions.
#include "cpu_test.h"
#include "mem_test.h"
#include "oal.h"

namespace {

// --- the Management Engine's figures -----------------------------------------------------------------------------

struct MeUsage {
    const char *set_name;
    int32_t (*set)(uint32_t, uint32_t);
    const char *get_name;
    int32_t (*get)(uint32_t *);
    const ModuleFacts *module;
    const char *lock_text;
    uint32_t flag_at;
    uint32_t usage_at;
    uint32_t initial;  // of both words that a process remembers
};

const MeUsage kMeUsages[] = {
    {"MW_SetMemUsgInfoFromME", MW_SetMemUsgInfoFromME, "MW_GetMemUsgInfo", MW_GetMemUsgInfo, &kMemory, kLockError, 5760,
     5764, 0},
    {"MW_SetIoUsgInfoFromME", MW_SetIoUsgInfoFromME, "MW_GetIoUsgInfo", MW_GetIoUsgInfo, &kMemory, kLockError, 5784,
     5788, 0},
    {"MW_SetCpuUsgInfoFromME", MW_SetCpuUsgInfoFromME, "MW_GetCpuUsgInfo", MW_GetCpuUsgInfo, &kProcessors,
     kLockLineError, 708, 712, 0xFFFFFFFF},
};

class MeUsageTest : public RecordTest, public ::testing::WithParamInterface<MeUsage> {
 protected:
    MeUsageTest() : RecordTest(*GetParam().module, GetParam().lock_text) {}

    const MeUsage &me_ = GetParam();
    uint32_t word_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Each, MeUsageTest, ::testing::ValuesIn(kMeUsages),
                         [](const auto &row) { return std::string(row.param.get_name).substr(6, 2); });

TEST_P(MeUsageTest, TheGetterFollowsTheTemplate) {
    CheckGuarded({me_.get_name, [&] { return me_.get(&word_); }, [&] { return me_.get(nullptr); }});
}

TEST_P(MeUsageTest, TheSetterFollowsTheTemplateAndRemembersNothingThatFailed) {
    InFreshProcess([&] { CheckGuarded({me_.set_name, [&] { return me_.set(33, 85); }}); });
}

TEST_P(MeUsageTest, AFigureIsHandedOutOnlyWithTheFlag85) {
    for (uint32_t flag : {85u, 0u, 84u, 86u, 0x155u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(flag);
        FillArea();
        Put(me_.flag_at, flag);
        Put<uint32_t>(me_.usage_at, 42);
        const Image before = Image::Take();
        EXPECT_EQ(me_.get(&word_), 0);
        EXPECT_EQ(word_, flag == 85 ? 42 : 0xFFFFFFFF);
        ExpectCalls(me_.get_name, Locked());
        ExpectImage(before);
    }
}

TEST_P(MeUsageTest, NoFigureBeforeTheFirstOneWasWritten) {
    EXPECT_EQ(me_.get(&word_), 0);
    EXPECT_EQ(word_, 0xFFFFFFFFu);
}

TEST_P(MeUsageTest, AFailedLockLeavesTheCallersWordAlone) {
    CheckUntouchedWithoutLock(me_.get_name, [&](void *to) { return me_.get(static_cast<uint32_t *>(to)); });
}

TEST_P(MeUsageTest, AFigureAndItsFlagAreTwoWords) {
    FillArea();
    const Image before = Image::Take();
    InFreshProcess([&] {
        EXPECT_EQ(me_.set(100, 0x01020304), 0);
        ExpectCalls(me_.set_name, Locked());
        ExpectImage(before.With<uint32_t>(At(me_.usage_at), 100).With<uint32_t>(At(me_.flag_at), 0x01020304));
    });
}

TEST_P(MeUsageTest, AUsageAbove100IsASilentFailureBeforeAnythingElse) {
    Detach();
    for (uint32_t usage : {101u, 0xFFFFFFFFu}) {
        EXPECT_EQ(me_.set(usage, 85), -1);
        EXPECT_EQ(me_.set(usage, 0xFFFFFFFF), -1);
        ExpectNoCalls();
    }
}

TEST_P(MeUsageTest, AFirstZeroIsWrittenUnlessTheProcessRemembersZeros) {
    FillArea();
    const Image before = Image::Take();
    InFreshProcess([&] {
        EXPECT_EQ(me_.set(0, 0), 0);
        if (me_.initial == 0) {
            ExpectNoCalls();
            ExpectImage(before);
        } else {
            ExpectCalls(me_.set_name, Locked());
            ExpectImage(before.Zeroed(At(me_.flag_at), 8));
        }
    });
}

TEST_P(MeUsageTest, TheSameFigureIsWrittenOnce) {
    InFreshProcess([&] {
        EXPECT_EQ(me_.set(33, 85), 0);
        ExpectCalls(me_.set_name, Locked());
        Put<uint32_t>(me_.usage_at, 44);  // as another process does
        Detach();
        EXPECT_EQ(me_.set(33, 85), 0);
        ExpectNoCalls();
        EXPECT_EQ(Get<uint32_t>(me_.usage_at), 44u);
    });
}

TEST_P(MeUsageTest, AnotherUsageOrAnotherFlagIsWritten) {
    InFreshProcess([&] {
        const uint32_t rows[][2] = {{33, 85}, {34, 85}, {34, 0}, {33, 0}, {33, 85}};
        for (const auto &row : rows) {
            EXPECT_EQ(me_.set(row[0], row[1]), 0);
            ExpectCalls(me_.set_name, Locked());
            EXPECT_EQ(Get<uint32_t>(me_.usage_at), row[0]);
            EXPECT_EQ(Get<uint32_t>(me_.flag_at), row[1]);
        }
    });
}

TEST_P(MeUsageTest, AWriteThatFailedIsTriedAgain) {
    InFreshProcess([&] {
        EXPECT_EQ(me_.set(33, 85), 0);
        recorder::Now().lock_result[module().key] = -1;
        EXPECT_EQ(me_.set(50, 85), -1);
        recorder::ClearCalls();
        EXPECT_EQ(me_.set(33, 85), 0) << "still what was written last";
        ExpectNoCalls();
        recorder::Now().lock_result.clear();
        EXPECT_EQ(me_.set(50, 85), 0);
        ExpectCalls(me_.set_name, Locked());
        EXPECT_EQ(me_.set(101, 85), -1);
        EXPECT_EQ(me_.set(50, 85), 0);
        ExpectNoCalls();
    });
}

TEST_F(MemoryTest, MemoryAndIoUsageAreRememberedApart) {
    InFreshProcess([&] {
        EXPECT_EQ(MW_SetMemUsgInfoFromME(33, 85), 0);
        recorder::ClearCalls();
        EXPECT_EQ(MW_SetIoUsgInfoFromME(33, 85), 0);
        ExpectCalls("MW_SetIoUsgInfoFromME", Locked());
    });
}

// --- the host monitor's figures ----------------------------------------------------------------------------------

struct HostUsage {
    const char *module_name;
    const ModuleFacts *module;
    const char *lock_text;
    uint32_t enable_at, usage_at, alt_at, alarm_at;
    const char *set_name;
    int32_t (*set)(uint32_t);
    const char *get_name;
    int32_t (*get)(uint32_t *);
    const char *is_name;
    int32_t (*is)(uint32_t *);
    const char *clear_name;
    int32_t (*clear)();
    const char *set_alarm_name;
    int32_t (*set_alarm)(uint32_t);
    const char *get_alarm_name;
    int32_t (*get_alarm)(uint32_t *);
};

const HostUsage kHostUsages[] = {
    {"Memory", &kMemory, kLockError, 5748, 5752, 5756, 5780,
     "MW_SetMemUsgInfoFromHostMon", MW_SetMemUsgInfoFromHostMon,
     "MW_GetMemUsgInfoFromHostMon", MW_GetMemUsgInfoFromHostMon,
     "MW_IsHostMemUsgInfoEnabled", MW_IsHostMemUsgInfoEnabled,
     "MW_ClearMemUsgInfoFromHostMon", MW_ClearMemUsgInfoFromHostMon,
     "MW_SetHostMemUsgAlarmStatus", MW_SetHostMemUsgAlarmStatus,
     "MW_GetHostMemUsgAlarmStatus", MW_GetHostMemUsgAlarmStatus},
    {"Processors", &kProcessors, kLockLineError, 696, 700, 704, 728,
     "MW_SetCpuUsgInfoFromHostMon", MW_SetCpuUsgInfoFromHostMon,
     "MW_GetCpuUsgInfoFromHostMon", MW_GetCpuUsgInfoFromHostMon,
     "MW_IsHostCpuUsgInfoEnabled", MW_IsHostCpuUsgInfoEnabled,
     "MW_ClearCpuUsgInfoFromHostMon", MW_ClearCpuUsgInfoFromHostMon,
     "MW_SetHostCpuUsgAlarmStatus", MW_SetHostCpuUsgAlarmStatus,
     "MW_GetHostCpuUsgAlarmStatus", MW_GetHostCpuUsgAlarmStatus},
};

class HostUsageTest : public RecordTest, public ::testing::WithParamInterface<HostUsage> {
 protected:
    HostUsageTest() : RecordTest(*GetParam().module, GetParam().lock_text) {}

    const HostUsage &host_ = GetParam();
    uint32_t word_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Each, HostUsageTest, ::testing::ValuesIn(kHostUsages),
                         [](const auto &row) { return std::string(row.param.module_name); });

TEST_P(HostUsageTest, EveryAccessorFollowsTheTemplate) {
    const Accessor accessors[] = {
        {host_.set_name, [&] { return host_.set(1); }},
        {host_.get_name, [&] { return host_.get(&word_); }, [&] { return host_.get(nullptr); }},
        {host_.is_name, [&] { return host_.is(&word_); }, {}, kLockLineError},
        {host_.clear_name, [&] { return host_.clear(); }},
        {host_.set_alarm_name, [&] { return host_.set_alarm(1); }},
        {host_.get_alarm_name, [&] { return host_.get_alarm(&word_); }, [&] { return host_.get_alarm(nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_P(HostUsageTest, ThreeBytesGoToThreeWords) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(host_.set(0xEE2AFF55), 0);
    ExpectCalls(host_.set_name, Locked());
    ExpectImage(before.With<uint32_t>(At(host_.enable_at), 0x55)
                    .With<uint32_t>(At(host_.alt_at), 0xFF)
                    .With<uint32_t>(At(host_.usage_at), 0x2A));
}

TEST_P(HostUsageTest, TheAlternativeIsHandedOutWhileNotEnabled) {
    for (uint32_t enable : {85u, 0u, 84u, 86u, 0x155u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(enable);
        FillArea();
        Put(host_.enable_at, enable);
        Put<uint32_t>(host_.usage_at, 42);
        Put<uint32_t>(host_.alt_at, 77);
        const Image before = Image::Take();
        EXPECT_EQ(host_.get(&word_), 0);
        EXPECT_EQ(word_, enable == 85 ? 42u : 77u);
        ExpectCalls(host_.get_name, Locked());
        EXPECT_EQ(host_.is(&word_), 0);
        EXPECT_EQ(word_, enable);
        ExpectCalls(host_.is_name, Locked());
        ExpectImage(before);
    }
}

TEST_P(HostUsageTest, ThePointerToTheFlagIsNotTested) {
    recorder::Now().lock_result[module().key] = -1;
    EXPECT_EQ(host_.is(nullptr), -1);
    ExpectCalls(host_.is_name, {Lock(module().key), Dbg(kLockLineError)});
}

TEST_P(HostUsageTest, AFailedLockLeavesTheCallersWordAlone) {
    CheckUntouchedWithoutLock(host_.get_name, [&](void *to) { return host_.get(static_cast<uint32_t *>(to)); });
    CheckUntouchedWithoutLock(host_.is_name, [&](void *to) { return host_.is(static_cast<uint32_t *>(to)); });
    CheckUntouchedWithoutLock(host_.get_alarm_name, [&](void *to) { return host_.get_alarm(static_cast<uint32_t *>(to)); });
}

TEST_P(HostUsageTest, AClearedFigureIsAllOnes) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(host_.clear(), 0);
    ExpectCalls(host_.clear_name, Locked());
    ExpectImage(before.With<uint32_t>(At(host_.enable_at), 0)
                    .With<uint32_t>(At(host_.usage_at), 0xFFFFFFFF)
                    .With<uint32_t>(At(host_.alt_at), 0xFFFFFFFF));
    EXPECT_EQ(host_.get(&word_), 0);
    EXPECT_EQ(word_, 0xFFFFFFFFu);
}

TEST_P(HostUsageTest, AFigureIsZeroAfterInit) {
    FillArea();
    ASSERT_EQ(MW_MidWareInit(), 0);
    word_ = 1;
    EXPECT_EQ(host_.get(&word_), 0);
    EXPECT_EQ(word_, 0u);
}

TEST_P(HostUsageTest, AnAlarmIsStoredOnlyIfZeroOrOne) {
    for (uint32_t status : {0u, 1u, 2u, 0x100u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(status);
        FillArea();
        const Image before = Image::Take();
        EXPECT_EQ(host_.set_alarm(status), 0);
        ExpectCalls(host_.set_alarm_name, Locked());
        ExpectImage(status <= 1 ? before.With(At(host_.alarm_at), status) : before);
        EXPECT_EQ(host_.get_alarm(&word_), 0);
        ExpectCalls(host_.get_alarm_name, Locked());
        EXPECT_EQ(word_, Get<uint32_t>(host_.alarm_at));
    }
}

// --- thresholds --------------------------------------------------------------------------------------------------

constexpr char kFile[] = "/conf/ext/hostusagecfg.ini";

struct Threshold {
    const char *section;
    const ModuleFacts *module;
    const char *get_name;
    int32_t (*get)(uint32_t *);
    const char *set_name;
    int32_t (*set)(uint32_t, uint32_t);
};

const Threshold kThresholds[] = {
    {"Mem Usage Thres", &kMemory, "MW_GetMemUsageThreInfo", MW_GetMemUsageThreInfo, "MW_SetMemUsageThreInfo",
     MW_SetMemUsageThreInfo},
    {"HD Usage Thres", &kMemory, "MW_GetHardDiskUsageThreInfo", MW_GetHardDiskUsageThreInfo,
     "MW_SetHardDiskUsageThreInfo", MW_SetHardDiskUsageThreInfo},
    {"Cpu Usage Thres", &kProcessors, "MW_GetCpuUsageThreInfo", MW_GetCpuUsageThreInfo, "MW_SetCpuUsageThreInfo",
     MW_SetCpuUsageThreInfo},
};

class ThresholdTest : public RecordTest, public ::testing::WithParamInterface<Threshold> {
 protected:
    ThresholdTest() : RecordTest(*GetParam().module, kLockError) {}

    void SetUp() override {
        RecordTest::SetUp();
        Detach();  // the file needs no shared area
        recorder::Now().region_missing = true;
    }
    void TearDown() override {
        EXPECT_EQ(recorder::Now().ini_open, 0);
        RecordTest::TearDown();
    }

    std::string Call(const char *function, const std::string &key, const std::string &value) const {
        return std::string(function) + "([" + threshold_.section + "] " + key + ", " + value + ")";
    }
    std::string Loaded() const { return std::string("IniLoadFile(") + kFile + ")"; }

    const Threshold &threshold_ = GetParam();
    uint32_t out_[3] = {1, 2, 3};
};

INSTANTIATE_TEST_SUITE_P(Each, ThresholdTest, ::testing::ValuesIn(kThresholds), [](const auto &row) {
    return std::string(row.param.section, strchr(row.param.section, ' '));
});

TEST_P(ThresholdTest, AMissingFileMeans75And5) {
    EXPECT_EQ(threshold_.get(out_), 0);
    ExpectCalls("", {Loaded(), Call("IniGetUInt", "NonCritical", "75"), Call("IniGetUInt", "Hysterisis", "5"),
                     "IniCloseFile()"});
    EXPECT_EQ(out_[0], 75u);
    EXPECT_EQ(out_[1], 5u);
    EXPECT_EQ(out_[2], 3u);
    EXPECT_EQ(recorder::Now().ini_files.count(kFile), 0u);
}

TEST_P(ThresholdTest, BothValuesAreReadFromTheirSection) {
    recorder::Now().ini_files[kFile] = {{"Mem Usage Thres", {{"NonCritical", "10"}, {"Hysterisis", "11"}}},
                                        {"HD Usage Thres", {{"NonCritical", "20"}, {"Hysterisis", "21"}}},
                                        {"Cpu Usage Thres", {{"NonCritical", "30"}, {"Hysterisis", "31"}}}};
    EXPECT_EQ(threshold_.get(out_), 0);
    const std::string values = std::to_string(out_[0]) + " " + std::to_string(out_[1]);
    const std::string section = threshold_.section;
    EXPECT_EQ(values, section[0] == 'M' ? "10 11" : section[0] == 'H' ? "20 21" : "30 31");
    EXPECT_EQ(out_[2], 3u);
}

TEST_P(ThresholdTest, AFileThatCannotBeReadIsASilentFailure) {
    recorder::Now().ini_load_fails = true;
    EXPECT_EQ(threshold_.get(out_), -1);
    ExpectCalls("", {Loaded()});
    EXPECT_EQ(out_[0], 1u);
    EXPECT_EQ(out_[1], 2u);
    EXPECT_EQ(threshold_.set(80, 10), -1);
    ExpectCalls("", {Loaded()});
}

TEST_P(ThresholdTest, TheSectionNameIsFormattedInto32Bytes) {
    ASSERT_EQ(threshold_.get(out_), 0);
    bool found = false;
    for (const recorder::Call &call : recorder::Now().calls) found |= call.text == "snprintf_s(32, \"%s\")";
    EXPECT_TRUE(found);
}

TEST_P(ThresholdTest, ASectionNameAbove31CharactersIsASilentFailure) {
    const int extra = 31 - static_cast<int>(strlen(threshold_.section));
    recorder::Now().snprintf_extra = extra + 1;
    EXPECT_EQ(threshold_.get(out_), -1);
    ExpectCalls("", {Loaded(), "IniCloseFile()"});
    EXPECT_EQ(threshold_.set(80, 10), -1);
    ExpectCalls("", {Loaded(), "IniCloseFile()"});
    EXPECT_EQ(out_[0], 1u);
    recorder::Now().snprintf_extra = extra;
    EXPECT_EQ(threshold_.get(out_), 0);
    EXPECT_EQ(threshold_.set(80, 10), 0);
}

TEST_P(ThresholdTest, TheHysteresisWrittenIsAlways5) {
    recorder::Now().ini_files[kFile] = {{"Other", {{"Key", "1"}}}};
    EXPECT_EQ(threshold_.set(80, 10), 0);
    ExpectCalls("", {Loaded(), Call("IniSetUInt", "NonCritical", "80"), Call("IniSetUInt", "Hysterisis", "5"),
                     std::string("IniSaveFile(") + kFile + ")", "IniCloseFile()"});
    const recorder::IniFile expected = {{"Other", {{"Key", "1"}}},
                                        {threshold_.section, {{"NonCritical", "80"}, {"Hysterisis", "5"}}}};
    EXPECT_EQ(recorder::Now().ini_files[kFile], expected);
    EXPECT_EQ(threshold_.get(out_), 0);
    EXPECT_EQ(out_[0], 80u);
    EXPECT_EQ(out_[1], 5u);
}

TEST_P(ThresholdTest, AThresholdAbove100IsRefusedBeforeTheFileIsTouched) {
    for (uint32_t threshold : {101u, 0xFFFFFFFFu}) {
        EXPECT_EQ(threshold_.set(threshold, 5), -1);
        ExpectCalls(threshold_.set_name, {Dbg("[{S}:{L}][{F}] usage threshold can not exceed 100!\n")});
    }
    EXPECT_EQ(recorder::Now().ini_files.count(kFile), 0u);
    for (uint32_t threshold : {0u, 100u}) {
        EXPECT_EQ(threshold_.set(threshold, 5), 0);
        EXPECT_EQ(threshold_.get(out_), 0);
        EXPECT_EQ(out_[0], threshold);
    }
}

TEST_P(ThresholdTest, AFailedSaveIsNotReported) {
    recorder::Now().ini_save_result = -1;
    EXPECT_EQ(threshold_.set(80, 10), 0);
    EXPECT_EQ(recorder::Calls().back(), "IniCloseFile()");
}

// --- the host's partitions ---------------------------------------------------------------------------------------

class Partitions : public MemoryTest {
 protected:
    static constexpr size_t kBlock = 5792;
    static constexpr size_t Part(size_t index) { return kBlock + 108 + 140 * index; }

    // A record of this name whose other bytes come from `seed`.
    static HardDiskPartInfo Named(const std::string &name, uint8_t seed) {
        HardDiskPartInfo part = PatternOf<HardDiskPartInfo>(seed);
        memset(part.acPartName, 0, sizeof part.acPartName);
        memcpy(part.acPartName, name.data(), name.size());
        return part;
    }

    void Report(const std::vector<HardDiskPartInfo> &parts) {
        report_ = PatternOf<HardDiskUsageInfo>(50);
        report_.dwTotalPart = static_cast<uint32_t>(parts.size());
        std::copy(parts.begin(), parts.end(), report_.atPart);
    }

    // The area with these stored partitions, and everything else filled.
    Image Stored(const std::vector<HardDiskPartInfo> &parts) {
        FillArea();
        Put(kBlock, static_cast<uint32_t>(parts.size()));
        for (size_t i = 0; i < parts.size(); ++i) PutBytes(Part(i), &parts[i], 140);
        return Image::Take();
    }

    std::vector<HardDiskPartInfo> Numbered(size_t count) {
        std::vector<HardDiskPartInfo> parts;
        for (size_t i = 0; i < count; ++i) {
            parts.push_back(Named("sd" + std::to_string(i), static_cast<uint8_t>(i + 1)));
        }
        return parts;
    }

    void ExpectMerged(const Image &expected, size_t copies) {
        EXPECT_EQ(MW_SetHardDiskUsageInfoFromHostMon(&report_), 0);
        ExpectCalls("MW_SetHardDiskUsageInfoFromHostMon", Locked(std::vector<std::string>(copies, Copy(140))));
        ExpectImage(expected);
    }

    // The call answers -1 with this line and keeps the semaphore, which is given back here.
    void ExpectKept(const Image &expected, const std::string &message) {
        EXPECT_EQ(MW_SetHardDiskUsageInfoFromHostMon(&report_), -1);
        ExpectCalls("MW_SetHardDiskUsageInfoFromHostMon", {Lock(12291), Dbg(message)});
        EXPECT_EQ(recorder::Now().held, std::vector<uint32_t>{12291});
        ExpectImage(expected);
        OAL_SemUnLockByKey(12291, 500);
        recorder::ClearCalls();
    }

    HardDiskUsageInfo report_{};
    uint32_t word_ = 0;
};

constexpr char kReportOverflow[] =
    "[{S}:{L}][{F}] ptHarddiskUsageUnion->dwTotalPart = %d, look out overflow\n";
constexpr char kStoredOverflow[] = "[{S}:{L}][{F}] aucDesTotalNum = %d, look out overflow\n";

std::string With(std::string text, const char *number) { return text.replace(text.find("%d"), 2, number); }

TEST_F(Partitions, EveryAccessorFollowsTheTemplate) {
    Report({Named("a", 1)});
    const Accessor accessors[] = {
        {"MW_SetHardDiskUsageInfoFromHostMon", [&] { return MW_SetHardDiskUsageInfoFromHostMon(&report_); },
         [] { return MW_SetHardDiskUsageInfoFromHostMon(nullptr); }},
        {"MW_GetHardDiskUsgInfoFromHostMon", [&] { return MW_GetHardDiskUsgInfoFromHostMon(&report_); },
         [] { return MW_GetHardDiskUsgInfoFromHostMon(nullptr); }},
        {"MW_SetHostHardDiskUsgAlarmStatus", [] { return MW_SetHostHardDiskUsgAlarmStatus(1, 1); }},
        {"MW_GetHostHardDiskUsgAlarmStatus", [&] { return MW_GetHostHardDiskUsgAlarmStatus(1, &word_); },
         [] { return MW_GetHostHardDiskUsgAlarmStatus(1, nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Partitions, NewNamesAreAppendedAndKnownOnesReplaced) {
    Image area = Stored({});
    const HardDiskPartInfo a = Named("a", 1), b = Named("b", 2), b2 = Named("b", 3), c = Named("c", 4);
    Report({a, b});
    area = area.With<uint32_t>(kBlock, 2).With(Part(0), &a, 140).With(Part(1), &b, 140);
    ExpectMerged(area, 2);
    Report({b2, c});
    area = area.With<uint32_t>(kBlock, 3).With(Part(1), &b2, 140).With(Part(2), &c, 140);
    ExpectMerged(area, 2);
}

TEST_F(Partitions, AnEmptyReportChangesNothingWhateverIsStored) {
    Report({});
    for (uint32_t n : {0u, 3u, 26u, 27u, 0xFFFFFFFFu}) {
        FillArea();
        Put(kBlock, n);
        ExpectMerged(Image::Take(), 0);
    }
}

TEST_F(Partitions, AFullReportFillsTheTable) {
    const std::vector<HardDiskPartInfo> parts = Numbered(26);
    const Image before = Stored({});
    Report(parts);
    ExpectMerged(before.With<uint32_t>(kBlock, 26).With(Part(0), parts.data(), 26 * 140), 26);
}

TEST_F(Partitions, ANewNameIsDroppedWhenTheTableIsFull) {
    const Image before = Stored(Numbered(26));
    const HardDiskPartInfo last = Named("sd25", 99);
    Report({Named("new", 1), last, Named("newer", 2)});
    ExpectMerged(before.With(Part(25), &last, 140), 1);
}

TEST_F(Partitions, TheLastFreePlaceTakesTheFirstNewName) {
    const Image before = Stored(Numbered(25));
    const HardDiskPartInfo first = Named("new", 1);
    Report({first, Named("newer", 2)});
    ExpectMerged(before.With<uint32_t>(kBlock, 26).With(Part(25), &first, 140), 1);
}

TEST_F(Partitions, TheFirstStoredRecordOfTheNameIsReplaced) {
    const Image before = Stored({Named("a", 1), Named("b", 2), Named("b", 3)});
    const HardDiskPartInfo b = Named("b", 9);
    Report({b});
    ExpectMerged(before.With(Part(1), &b, 140), 1);
}

TEST_F(Partitions, ANameTwiceInAReportIsOneRecord) {
    const Image before = Stored({});
    const HardDiskPartInfo second = Named("a", 2);
    Report({Named("a", 1), second});
    ExpectMerged(before.With<uint32_t>(kBlock, 1).With(Part(0), &second, 140), 2);
}

TEST_F(Partitions, NamesEndAtTheirTerminator) {
    HardDiskPartInfo stored = Named("a", 1), reported = Named("a", 2);
    stored.acPartName[2] = 'x';
    reported.acPartName[2] = 'y';
    const Image before = Stored({stored});
    Report({reported});
    ExpectMerged(before.With(Part(0), &reported, 140), 1);
}

TEST_F(Partitions, NamesDifferInCaseAndLength) {
    const Image before = Stored({Named("a", 1)});
    const HardDiskPartInfo parts[] = {Named("A", 2), Named("ab", 3), Named("", 4)};
    Report({parts[0], parts[1], parts[2]});
    ExpectMerged(before.With<uint32_t>(kBlock, 4).With(Part(1), parts, 3 * 140), 3);
}

TEST_F(Partitions, NamesWithoutATerminatorAreComparedAs128Bytes) {
    const std::string full(128, 'n');
    const HardDiskPartInfo stored = Named(full, 1), same = Named(full, 2);  // what follows the names differs
    ASSERT_NE(memcmp(reinterpret_cast<const char *>(&stored) + 131, reinterpret_cast<const char *>(&same) + 131, 9), 0);
    const Image before = Stored({stored});
    const HardDiskPartInfo other = Named(std::string(127, 'n') + "m", 3);
    const HardDiskPartInfo shorter = Named(std::string(127, 'n'), 4);
    Report({same, other, shorter});
    ExpectMerged(before.With<uint32_t>(kBlock, 3)
                     .With(Part(0), &same, 140)
                     .With(Part(1), &other, 140)
                     .With(Part(2), &shorter, 140),
                 3);
}

TEST_F(Partitions, AReportOfMoreThan26IsRefusedWithTheSemaphoreKept) {
    const Image before = Stored({Named("a", 1)});
    Report({});
    report_.dwTotalPart = 27;
    ExpectKept(before, With(kReportOverflow, "27"));
    report_.dwTotalPart = 256;  // more than its low byte
    ExpectKept(before, With(kReportOverflow, "256"));
    report_.dwTotalPart = 0xFFFFFFFF;
    ExpectKept(before, With(kReportOverflow, "-1"));
}

TEST_F(Partitions, AStoredCountOfMoreThan26IsRefusedWithTheSemaphoreKept) {
    Report({Named("a", 1)});
    for (const auto &[n, text] : {std::pair{27u, "27"}, {256u, "256"}, {0xFFFFFFFFu, "-1"}}) {
        FillArea();
        Put(kBlock, n);
        ExpectKept(Image::Take(), With(kStoredOverflow, text));
    }
}

TEST_F(Partitions, TheReportIsLookedAtBeforeTheStoredCount) {
    FillArea();
    Put<uint32_t>(kBlock, 27);
    Report({});
    report_.dwTotalPart = 28;
    ExpectKept(Image::Take(), With(kReportOverflow, "28"));
}

TEST_F(Partitions, TheBlockIsReadWhole) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetHardDiskUsgInfoFromHostMon(&report_), 0);
    ExpectCalls("MW_GetHardDiskUsgInfoFromHostMon", Locked({Copy(3748)}));
    EXPECT_EQ(memcmp(&report_, Bytes(kBlock, 3748).data(), 3748), 0);
    ExpectImage(before);
}

TEST_F(Partitions, AFailedLockLeavesTheCallersBufferAlone) {
    CheckUntouchedWithoutLock("MW_GetHardDiskUsgInfoFromHostMon", [](void *to) {
        return MW_GetHardDiskUsgInfoFromHostMon(static_cast<HardDiskUsageInfo *>(to));
    });
    CheckUntouchedWithoutLock("MW_GetHostHardDiskUsgAlarmStatus", [](void *to) {
        return MW_GetHostHardDiskUsgAlarmStatus(1, static_cast<uint32_t *>(to));
    });
}

TEST_F(Partitions, AClearZeroesTheWholeBlock) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_ClearHardDiskUsageInfoFromHostMon(), 0);
    ExpectCalls("MW_ClearHardDiskUsageInfoFromHostMon", Locked({"memset_s(3748, 0, 3748)"}));
    ExpectImage(before.Zeroed(kBlock, 3748));
    recorder::Now().lock_result[12291] = 7;  // success as well
    EXPECT_EQ(MW_ClearHardDiskUsageInfoFromHostMon(), 0);
}

TEST_F(Partitions, AClearDoesNotAttach) {
    Detach();
    EXPECT_EQ(MW_ClearHardDiskUsageInfoFromHostMon(), -1);
    ExpectCalls("MW_ClearHardDiskUsageInfoFromHostMon", Locked());
    EXPECT_EQ(g_ptMemCollectAddr, nullptr);
    EXPECT_EQ(g_ptMidWareAddr, nullptr);
}

TEST_F(Partitions, AClearThatCannotLockSaysSo) {
    FillArea();
    const Image before = Image::Take();
    recorder::Now().lock_result[12291] = -1;
    EXPECT_EQ(MW_ClearHardDiskUsageInfoFromHostMon(), -1);
    ExpectCalls("MW_ClearHardDiskUsageInfoFromHostMon", {Lock(12291), Dbg(kLockError)});
    ExpectImage(before);
    Detach();
    EXPECT_EQ(MW_ClearHardDiskUsageInfoFromHostMon(), -1);
    ExpectCalls("MW_ClearHardDiskUsageInfoFromHostMon", {Lock(12291), Dbg(kLockError)});
}

TEST_F(Partitions, EachOf26PartitionsHasAnAlarm) {
    for (uint32_t index : {0u, 1u, 25u}) {
        for (uint32_t status : {0u, 1u, 2u, 0x100u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::to_string(index) + " " + std::to_string(status));
            FillArea();
            const Image before = Image::Take();
            EXPECT_EQ(MW_SetHostHardDiskUsgAlarmStatus(index, status), 0);
            ExpectCalls("MW_SetHostHardDiskUsgAlarmStatus", Locked());
            ExpectImage(status <= 1 ? before.With(kBlock + 4 + 4 * index, status) : before);
            EXPECT_EQ(MW_GetHostHardDiskUsgAlarmStatus(index, &word_), 0);
            ExpectCalls("MW_GetHostHardDiskUsgAlarmStatus", Locked());
            EXPECT_EQ(word_, Get<uint32_t>(kBlock + 4 + 4 * index));
        }
    }
}

TEST_F(Partitions, AnAlarmIndexAbove25IsASilentFailureBeforeAttaching) {
    Detach();
    word_ = 5;
    for (uint32_t index : {26u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetHostHardDiskUsgAlarmStatus(index, 1), -1);
        EXPECT_EQ(MW_GetHostHardDiskUsgAlarmStatus(index, &word_), -1);
        ExpectNoCalls();
    }
    EXPECT_EQ(word_, 5u);
}

}  // namespace
