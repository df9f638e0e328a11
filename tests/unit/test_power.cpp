// Host power, ACPI, boot and reset state, board power readings and limits, the board battery.
#include "accessor_test.h"

namespace {

constexpr ModuleFacts kPower{"power/hov_midpwr", &g_ptPswCollectAddr, 327964, 1076, 12296};

constexpr size_t kAcpi = 8;
constexpr size_t kButton = 16;
constexpr size_t kOsStop = 20;
constexpr size_t kRestart = 24;

#define NAMED(function) #function, function

const struct {
    const char *name;
    int32_t (*set)(uint32_t);
    size_t offset;
} kWordSetters[] = {
    {NAMED(MW_SetPowerStatus), 0},
    {NAMED(MW_SetPowerPolicy), 4},
    {NAMED(MW_SetPowerButtonState), 12},
    {NAMED(MW_SetShutDownPwrButtonPressed), 16},
    {NAMED(MW_SetOsStopState), 20},
    {NAMED(MW_SetHostRestartEffect), 28},
    {NAMED(MW_SetSystemFirmwareProgressState), 32},
    {NAMED(MW_SetOsBootState), 36},
    {NAMED(MW_SetBiosBootUpState), 40},
    {NAMED(MW_SetMeState), 44},
    {NAMED(MW_SetCpuPowerGood), 48},
    {NAMED(MW_SetPwrGdErrFlag), 52},
    {NAMED(MW_SetTDPInfo), 804},
    {NAMED(MW_SetCpuPowerLimitInfo), 816},
    {NAMED(MW_SetBoardPowerLimitModel), 820},
    {NAMED(MW_SetBootErrorNoBootableMediaState), 1048},
};

const struct {
    const char *name;
    int32_t (*get)(uint32_t *);
    size_t offset;
} kWordGetters[] = {
    {NAMED(MW_GetPowerStatus), 0},        {NAMED(MW_GetPowerPolicy), 4},
    {NAMED(MW_GetPowerACPIStatus), 8},    {NAMED(MW_GetPowerButtonState), 12},
    {NAMED(MW_GetOsStopState), 20},       {NAMED(MW_GetHostRestartStatus), 24},
    {NAMED(MW_GetHostRestartEffect), 28}, {NAMED(MW_GetSystemFirmwareProgressState), 32},
    {NAMED(MW_GetOsBootState), 36},       {NAMED(MW_GetBiosBootUpState), 40},
    {NAMED(MW_GetMeState), 44},           {NAMED(MW_GetPowerFaultState), 48},
    {NAMED(MW_GetPwrGdErrFlag), 52},
};

const struct {
    const char *name;
    int32_t (*get)(void *);
    size_t offset;
    size_t size;
    bool hov_copy;
} kBlockGetters[] = {
    {NAMED(MW_GetBoardPowerInfo), 60, 748, true},
    {NAMED(MW_GetBoardPowerLimitInfo), 808, 208, false},
    {NAMED(MW_GetBootErrorInfo), 1048, 20, false},
};

class Power : public AccessorTest {
  protected:
    Power() : AccessorTest(kPower, kLockError) {}

    const std::vector<std::string> guarded_ = {Lock(12296), Unlock(12296)};
    const std::vector<std::string> refused_ = {Lock(12296), Dbg(kRefusal), Unlock(12296)};
};

TEST_F(Power, EveryAccessorFollowsTheTemplate) {
    uint32_t word[4];
    uint16_t adc;
    uint8_t byte;
    uint8_t block[748];
    for (const auto &row : kWordSetters) CheckGuarded({row.name, [&] { return row.set(3); }});
    for (const auto &row : kWordGetters) CheckGuarded({row.name, [&] { return row.get(word); }});
    const Accessor accessors[] = {
        {"MW_SetPowerACPIStatus", [] { return MW_SetPowerACPIStatus(1); }},
        {"MW_SetHostRestartState", [] { return MW_SetHostRestartState(1); }},
        {"MW_SetBoardPowerLimitCtrlInfo", [] { return MW_SetBoardPowerLimitCtrlInfo(1, 2); }},
        {"MW_SetBoardPowerLimitInfo", [] { return MW_SetBoardPowerLimitInfo(1, 2, 3); }},
        {"MW_SetBoardPowerThresInfo", [] { return MW_SetBoardPowerThresInfo(1, 2); }},
        {"MW_GetBoardPowerThresInfo", [&] { return MW_GetBoardPowerThresInfo(&word[0], &word[1]); }},
        {"MW_SetBoardPowerCurrentInfo", [] { return MW_SetBoardPowerCurrentInfo(1, 2, 3, 4); }},
        {"MW_SetBoardPowerHistoryInfo", [] { return MW_SetBoardPowerHistoryInfo(0, 1, 2, 3); }},
        {"MW_SetPowerLimitModel", [&] { return MW_SetPowerLimitModel(0, block); },
         [] { return MW_SetPowerLimitModel(0, nullptr); }},
        {"MW_GetBoardPowerInfo", [&] { return MW_GetBoardPowerInfo(block); }},
        {"MW_GetBoardPowerLimitInfo", [&] { return MW_GetBoardPowerLimitInfo(block); },
         [] { return MW_GetBoardPowerLimitInfo(nullptr); }},
        {"MW_GetBootErrorInfo", [&] { return MW_GetBootErrorInfo(block); }},
        {"MW_SetBoardBatAdcInfo", [] { return MW_SetBoardBatAdcInfo(1, 2); }},
        {"MW_GetBoardBatAdcInfo", [&] { return MW_GetBoardBatAdcInfo(&adc, &byte); },
         [&] { return MW_GetBoardBatAdcInfo(nullptr, &byte); }},
        {"MW_GetBoardBatAdcInfo", [&] { return MW_GetBoardBatAdcInfo(&adc, &byte); },
         [&] { return MW_GetBoardBatAdcInfo(&adc, nullptr); }},
        {"MW_SetBoardBatProdTestFlag", [] { return MW_SetBoardBatProdTestFlag(1); }},
        {"MW_GetBoardBatProdTestFlag", [&] { return MW_GetBoardBatProdTestFlag(&byte); },
         [] { return MW_GetBoardBatProdTestFlag(nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Power, PointersThatAreNotTestedDoNotStopAnAccessorBeforeTheLock) {
    uint32_t word;
    recorder::Now().lock_result[12296] = -1;
    const auto expect_lock = [&](const char *name, int32_t result) {
        SCOPED_TRACE(name);
        EXPECT_EQ(result, -1);
        ExpectCalls(name, {Lock(12296), Dbg(kLockError)});
    };
    for (const auto &row : kWordGetters) expect_lock(row.name, row.get(nullptr));
    expect_lock("MW_GetBoardPowerThresInfo", MW_GetBoardPowerThresInfo(nullptr, &word));
    expect_lock("MW_GetBoardPowerThresInfo", MW_GetBoardPowerThresInfo(&word, nullptr));
    expect_lock("MW_GetBoardPowerInfo", MW_GetBoardPowerInfo(nullptr));
    expect_lock("MW_GetBootErrorInfo", MW_GetBootErrorInfo(nullptr));
}

TEST_F(Power, WordSettersWriteTheirWordAndNothingElse) {
    FillArea();
    Image expected = Image::Take();
    uint32_t value = 0xF0E0D0C0;
    for (const auto &row : kWordSetters) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.set(++value), 0);
        ExpectCalls(row.name, guarded_);
        expected = expected.With<uint32_t>(At(row.offset), value);
        ExpectImage(expected);
    }
}

TEST_F(Power, WordGettersReadTheirWordAndChangeNothing) {
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

TEST_F(Power, AFailedLockLeavesTheCallersWordAlone) {
    FillArea();
    recorder::Now().lock_result[12296] = -1;
    for (const auto &row : kWordGetters) {
        uint32_t word = 0xABCD;
        EXPECT_EQ(row.get(&word), -1) << row.name;
        EXPECT_EQ(word, 0xABCDu) << row.name;
    }
}

TEST_F(Power, TheFaultGetterReadsThePowerGoodWord) {
    uint32_t fault = 0;
    EXPECT_EQ(MW_SetCpuPowerGood(1), 0);
    EXPECT_EQ(MW_GetPowerFaultState(&fault), 0);
    EXPECT_EQ(fault, 1u);
}

TEST_F(Power, BlockGettersCopyTheirBytesAndNothingElse) {
    FillArea();
    const Image before = Image::Take();
    for (const auto &row : kBlockGetters) {
        SCOPED_TRACE(row.name);
        std::vector<uint8_t> block(row.size + 1, 0xEE);
        EXPECT_EQ(row.get(block.data()), 0);
        ExpectCalls(row.name,
                    {Lock(12296), row.hov_copy ? HovCopy(row.size) : Copy(row.size), Unlock(12296)});
        EXPECT_EQ(memcmp(block.data(), recorder::Area() + At(row.offset), row.size), 0);
        EXPECT_EQ(block.back(), 0xEE);
    }
    ExpectImage(before);
}

TEST_F(Power, SettersOfSeveralWordsWriteThemInOrder) {
    FillArea();
    Image expected = Image::Take();
    const auto expect = [&](const char *name, int32_t result, size_t offset, std::vector<uint32_t> words) {
        SCOPED_TRACE(name);
        EXPECT_EQ(result, 0);
        ExpectCalls(name, guarded_);
        expected = expected.With(At(offset), words.data(), words.size() * 4);
        ExpectImage(expected);
    };
    expect("MW_SetBoardPowerLimitCtrlInfo", MW_SetBoardPowerLimitCtrlInfo(1, 2), 808, {1, 2});
    expect("MW_SetBoardPowerLimitInfo", MW_SetBoardPowerLimitInfo(3, 4, 5), 808, {3, 4, 5});
    expect("MW_SetBoardPowerThresInfo", MW_SetBoardPowerThresInfo(6, 7), 796, {6, 7});
    expect("MW_SetBoardPowerCurrentInfo", MW_SetBoardPowerCurrentInfo(8, 9, 10, 11), 60, {8, 9, 10, 11});
}

TEST_F(Power, ThresholdsReadBackInOrder) {
    uint32_t first = 0;
    uint32_t second = 0;
    FillArea();
    EXPECT_EQ(MW_GetBoardPowerThresInfo(&first, &second), 0);
    ExpectCalls("MW_GetBoardPowerThresInfo", guarded_);
    EXPECT_EQ(first, Get<uint32_t>(796));
    EXPECT_EQ(second, Get<uint32_t>(800));
}

TEST_F(Power, TheProcessorsLimitHasTwoSettersAndOneWord) {
    BoardPowerLimitInfo info;
    EXPECT_EQ(MW_SetCpuPowerLimitInfo(100), 0);
    EXPECT_EQ(MW_SetBoardPowerLimitInfo(1, 2, 200), 0);
    EXPECT_EQ(MW_GetBoardPowerLimitInfo(&info), 0);
    EXPECT_EQ(info.dwCpuPowerLimit, 200u);
    EXPECT_EQ(MW_SetCpuPowerLimitInfo(300), 0);
    EXPECT_EQ(MW_GetBoardPowerLimitInfo(&info), 0);
    EXPECT_EQ(info.dwCpuPowerLimit, 300u);
    EXPECT_EQ(info.dwPowerLimitCtrl1, 1u);
    EXPECT_EQ(info.dwPowerLimitCtrl2, 2u);
}

TEST_F(Power, AcpiTransitionsFollowTheirRules) {
    const std::string power_up = Dbg("[{S}:{L}]{F} power up,set shut down power button 0\n");
    FillArea();
    const Image before = Image::Take().Zeroed(At(kAcpi), 4).Zeroed(At(kButton), 4).Zeroed(At(kOsStop), 4);
    for (uint32_t from : {0u, 1u, 2u, 8u, 9u, 16u, 32u, 33u, 41u, 0xFFFFFFFFu}) {
        for (uint32_t to : {0u, 1u, 8u, 9u, 32u, 33u, 0x80000020u}) {
            for (uint32_t button : {0u, 1u, 5u}) {
                SCOPED_TRACE(testing::Message() << from << " to " << to << ", button " << button);
                Put<uint32_t>(kAcpi, from);
                Put<uint32_t>(kButton, button);
                Put<uint32_t>(kOsStop, 77);
                const bool stops = (from == 1 || from == 8) && to == 32 && button == 0;
                const bool starts = from == 32 && to != 32;
                EXPECT_EQ(MW_SetPowerACPIStatus(to), 0);
                std::vector<std::string> calls = guarded_;
                if (starts) calls.insert(calls.begin() + 1, power_up);
                ExpectCalls("MW_SetPowerACPIStatus", calls);
                EXPECT_EQ(Get<uint32_t>(kAcpi), to);
                EXPECT_EQ(Get<uint32_t>(kButton), starts ? 0 : button);
                EXPECT_EQ(Get<uint32_t>(kOsStop), stops ? 8u : 77u);
            }
        }
    }
    for (size_t word : {kAcpi, kButton, kOsStop}) Put<uint32_t>(word, 0);
    ExpectImage(before);
}

TEST_F(Power, SoftOffWithoutTheButtonIsAGracefulStop) {
    uint32_t stop = 0;
    EXPECT_EQ(MW_SetPowerACPIStatus(1), 0);
    EXPECT_EQ(MW_SetPowerACPIStatus(32), 0);
    EXPECT_EQ(MW_GetOsStopState(&stop), 0);
    EXPECT_EQ(stop, 8u);
    EXPECT_EQ(MW_SetOsStopState(3), 0);
    EXPECT_EQ(MW_SetPowerACPIStatus(1), 0);
    EXPECT_EQ(MW_SetShutDownPwrButtonPressed(1), 0);
    EXPECT_EQ(MW_SetPowerACPIStatus(32), 0);
    EXPECT_EQ(MW_GetOsStopState(&stop), 0);
    EXPECT_EQ(stop, 3u);
}

TEST_F(Power, PowerUpClearsTheButtonAndSaysSoOnce) {
    Put<uint32_t>(kAcpi, 32);
    Put<uint32_t>(kButton, 1);
    EXPECT_EQ(MW_SetPowerACPIStatus(1), 0);
    EXPECT_EQ(recorder::Calls().size(), 3u);
    EXPECT_EQ(Get<uint32_t>(kButton), 0u);
    recorder::ClearCalls();
    EXPECT_EQ(MW_SetPowerACPIStatus(1), 0);
    ExpectCalls("MW_SetPowerACPIStatus", guarded_);
}

TEST_F(Power, RestartCausesAddUpUntilTheyAreCleared) {
    FillArea();
    Put<uint32_t>(kRestart, 0);
    const Image before = Image::Take();
    const struct {
        uint32_t causes;
        uint32_t stored;
    } steps[] = {{2, 2}, {4, 6}, {4, 6}, {0x80000001, 0x80000007}, {0, 0}, {8, 8}};
    for (const auto &step : steps) {
        EXPECT_EQ(MW_SetHostRestartState(step.causes), 0);
        ExpectCalls("MW_SetHostRestartState", guarded_);
        ExpectImage(before.With<uint32_t>(At(kRestart), step.stored));
    }
}

TEST_F(Power, HistoryEntriesLandWhereTheIndexSays) {
    // 60 and more run on: into the next series, the thresholds and limits, then the areas behind.
    const uint32_t last = (708704 - 327964 - 556 - 4) / 4;
    for (uint32_t index : {0u, 1u, 59u, 60u, 61u, 119u, 120u, 180u, 1000u, last}) {
        SCOPED_TRACE(index);
        FillArea(static_cast<uint8_t>(index + 1));
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetBoardPowerHistoryInfo(index, 0xA1A2A3A4, 0xB1B2B3B4, 0xC1C2C3C4), 0);
        ExpectCalls("MW_SetBoardPowerHistoryInfo", guarded_);
        ExpectImage(before.With<uint32_t>(At(76) + size_t{4} * index, 0xA1A2A3A4)
                        .With<uint32_t>(At(316) + size_t{4} * index, 0xB1B2B3B4)
                        .With<uint32_t>(At(556) + size_t{4} * index, 0xC1C2C3C4));
    }
    FillArea();
    const Image before = Image::Take();
    // The first index whose third value does not fit: the first two are not written either.
    for (uint32_t index : {last + 1, 0x3FFFFFFFu, 0x40000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(index);
        EXPECT_EQ(MW_SetBoardPowerHistoryInfo(index, 1, 2, 3), -1);
        ExpectCalls("MW_SetBoardPowerHistoryInfo", refused_);
    }
    ExpectImage(before);
}

TEST_F(Power, LimitModelsHaveEightPlaces) {
    FillArea();
    Image expected = Image::Take();
    for (uint32_t index = 0; index < 8; ++index) {
        const PowerLimitModel model = PatternOf<PowerLimitModel>(static_cast<uint8_t>(index + 100));
        EXPECT_EQ(MW_SetPowerLimitModel(index, &model), 0);
        ExpectCalls("MW_SetPowerLimitModel", {Lock(12296), Copy(24), Unlock(12296)});
        expected = expected.With(At(824 + 24 * index), &model, 24);
        ExpectImage(expected);
    }
    const PowerLimitModel model{};
    Detach();
    for (uint32_t index : {8u, 9u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetPowerLimitModel(index, &model), -1) << index;
        ExpectNoCalls();
    }
    ExpectImage(expected);
}

TEST_F(Power, TheBatteryReadingIsAWordAndAByte) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetBoardBatAdcInfo(0xBEEF, 0xA5), 0);
    ExpectCalls("MW_SetBoardBatAdcInfo", guarded_);
    ExpectImage(before.With<uint16_t>(At(1068), 0xBEEF).With<uint8_t>(At(1070), 0xA5));
    uint16_t adc = 0;
    uint8_t info = 0;
    EXPECT_EQ(MW_GetBoardBatAdcInfo(&adc, &info), 0);
    ExpectCalls("MW_GetBoardBatAdcInfo", guarded_);
    EXPECT_EQ(adc, 0xBEEF);
    EXPECT_EQ(info, 0xA5);
}

TEST_F(Power, TheProductionTestFlagIsStoredAsOneOrZero) {
    FillArea();
    const Image before = Image::Take();
    uint8_t flag = 0;
    for (uint32_t value : {1u, 5u, 0u, 256u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetBoardBatProdTestFlag(value), 0);
        ExpectCalls("MW_SetBoardBatProdTestFlag", guarded_);
        ExpectImage(before.With<uint8_t>(At(1071), value != 0));
        EXPECT_EQ(MW_GetBoardBatProdTestFlag(&flag), 0);
        ExpectCalls("MW_GetBoardBatProdTestFlag", guarded_);
        EXPECT_EQ(flag, value != 0);
    }
    Put<uint8_t>(1071, 0x77);
    EXPECT_EQ(MW_GetBoardBatProdTestFlag(&flag), 0);
    EXPECT_EQ(flag, 0x77);
}

TEST_F(Power, RecordsReadBackByTheNamesOfTheirFields) {
    BoardPowerInfo power;
    BoardPowerLimitInfo limit;
    BootErrorInfo error;
    PowerLimitModel model{};
    model.dwPowerLimit = 450;
    EXPECT_EQ(MW_SetBoardPowerCurrentInfo(1, 2, 3, 4), 0);
    EXPECT_EQ(MW_SetBoardPowerHistoryInfo(59, 5, 6, 7), 0);
    EXPECT_EQ(MW_SetBoardPowerThresInfo(8, 9), 0);
    EXPECT_EQ(MW_SetTDPInfo(10), 0);
    EXPECT_EQ(MW_SetBoardPowerLimitModel(7), 0);
    EXPECT_EQ(MW_SetPowerLimitModel(7, &model), 0);
    EXPECT_EQ(MW_SetBootErrorNoBootableMediaState(11), 0);
    EXPECT_EQ(MW_GetBoardPowerInfo(&power), 0);
    EXPECT_EQ(MW_GetBoardPowerLimitInfo(&limit), 0);
    EXPECT_EQ(MW_GetBootErrorInfo(&error), 0);
    EXPECT_EQ(power.adwPowerCurrent[MW_BOARD_POWER_AVERAGE], 4u);
    EXPECT_EQ(power.adwPowerHistory1[59], 5u);
    EXPECT_EQ(power.adwPowerHistory2[59], 6u);
    EXPECT_EQ(power.adwPowerHistory3[59], 7u);
    EXPECT_EQ(power.dwPowerThres1, 8u);
    EXPECT_EQ(power.dwPowerThres2, 9u);
    EXPECT_EQ(power.dwTDP, 10u);
    EXPECT_EQ(limit.dwBoardPowerLimitModel, 7u);
    EXPECT_EQ(limit.atPowerLimitModel[7].dwPowerLimit, 450u);
    EXPECT_EQ(error.dwNoBootableMediaState, 11u);
    EXPECT_EQ(error.dwBootSelectionTimeoutState, 0u);
}

}  // namespace
