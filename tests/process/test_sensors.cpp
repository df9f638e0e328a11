// One sensor's way through several processes: a collector asserts, a service reads, the alarm handling
// clears.
#include "process_test.h"

namespace {

constexpr uint32_t kDimms = 3;
constexpr uint32_t kProcessors = 2;

template <class T, size_t entries>
void LayOut(T &status, uint8_t (T::*events)[entries][3]) {
    for (uint8_t i = 0; i < entries; ++i) (status.*events)[i][0] = i;
}

// What a collector does at its start: the records that states and event data live in.
void LayOutRecords() {
    MemPhyInfo slots[kDimms]{};
    MemStatusInfo dimms[kDimms]{};
    for (uint32_t i = 0; i < kDimms; ++i) {
        slots[i].dwMemNum = dimms[i].dwDimmNum = dimms[i].tAlarmInfo.dwDimmNum = i + 1;
        std::snprintf(slots[i].acSilkName, sizeof slots[i].acSilkName, "DIMM%u", i);
        LayOut(dimms[i], &MemStatusInfo::aucSelEventData);
    }
    ASSERT_EQ(MW_SetMemDimmNuminStatusInfo(dimms, kDimms), 0);
    ASSERT_EQ(MW_SetMemPhyInfo(slots, kDimms), 0);

    CpuPhyInfo sockets[kProcessors]{};
    CpuStatusInfo processors[kProcessors]{};
    for (uint32_t i = 0; i < kProcessors; ++i) {
        sockets[i].dwCpuIndex = processors[i].dwCpuIndex = processors[i].tAlarmInfo.dwCpuIndex = i;
        sockets[i].dwSilkNum = processors[i].dwSilkNum = i + 1;
        std::snprintf(sockets[i].acSilkName, sizeof sockets[i].acSilkName, "CPU%u", i + 1);
        LayOut(processors[i], &CpuStatusInfo::atAssertEventData);
    }
    ASSERT_EQ(MW_SetCpuIndexAndSilkNumInStatusInfo(processors, kProcessors), 0);
    ASSERT_EQ(MW_SetCpuPhyInfo(sockets, kProcessors), 0);
    for (uint32_t i = 0; i < kProcessors; ++i) ASSERT_EQ(MW_SetCpuProcessorPresenceState(i, 1), 0);
}

void AssertStates() {
    EXPECT_EQ(MW_SetMemMemOverTempState(2, 1), 0);
    EXPECT_EQ(MW_SetMemCorrectECCCnt(2, 9), 0);
    EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(2, 0x0355AA), 0);  // offset 10, over-temperature
    EXPECT_EQ(MW_SetCpuIERRState(1, 1), 0);
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 0x0012A0), 0);  // offset 0, IERR
}

class SensorStory : public AreaTest {
  protected:
    // What a reading process finds in the one DIMM and the one processor that something happens to, and that
    // the others are never touched.
    void ExpectStates(uint8_t asserted) {
        EXPECT_SUCCEEDS(setup_, [&] {
            MemAlarmInfo dimms[MW_MEM_DIMM_MAX];
            uint32_t count = 0;
            ASSERT_EQ(MW_GetMemAlarmInfo(dimms, &count), 0);
            ASSERT_EQ(count, kDimms);
            for (uint32_t i = 0; i < kDimms; ++i) {
                MemAlarmInfo expected{};
                expected.dwDimmNum = i + 1;
                expected.ucMemOverTempState = i == 1 ? asserted : 0;
                expected.ucCorrectECCCnt = i == 1 ? 9 : 0;
                EXPECT_EQ(std::memcmp(&dimms[i], &expected, sizeof expected), 0) << i;
            }
            MemAlarmInfo one{};
            ASSERT_EQ(MW_GetMemAlarmInfoByDimmNum(&one, 2), 0);
            EXPECT_EQ(one.ucMemOverTempState, asserted);

            CpuAlarmInfo processors[MW_CPU_MAX];
            ASSERT_EQ(MW_GetCpuAlarmInfo(processors, &count), 0);
            ASSERT_EQ(count, kProcessors);
            for (uint32_t i = 0; i < kProcessors; ++i) {
                CpuAlarmInfo expected{};
                expected.dwCpuIndex = i;
                expected.ucProcessorPresenceState = 1;
                expected.ucIERRState = i == 1 ? asserted : 0;
                EXPECT_EQ(std::memcmp(&processors[i], &expected, sizeof expected), 0) << i;
            }
            // Event data stay: they tell what had happened.
            uint8_t data[3] = {};
            ASSERT_EQ(MW_GetMemAssertSelEventDataInfo(2, 10, data), 0);
            EXPECT_EQ(std::vector<uint8_t>(data, data + 3), (std::vector<uint8_t>{0xAA, 0x55, 0x03}));
            data[0] = 0;
            ASSERT_EQ(MW_GetCpuAssertSelEventDataInfo(1, 0, data), 0);
            EXPECT_EQ(std::vector<uint8_t>(data, data + 3), (std::vector<uint8_t>{0xA0, 0x12, 0x00}));
        });
    }

    void ExpectShown(const std::string &dimm, const std::string &processor) {
#ifdef MWCTL
        const Outcome outcome = RunProcess(setup_, [] { Execute({MWCTL, "show", "memory", "cpu"}); });
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        for (const std::string &line :
             {"       1  DIMM1     2          9  " + dimm + "\n",
              std::string("       0  DIMM0     1          0  none\n"),
              "       1  CPU2      1  yes      " + processor + "\n",
              std::string("       0  CPU1      0  yes      none\n"),
              std::string("  aa 55 03    over-temperature\n"), std::string("  a0 12 00    IERR\n")}) {
            EXPECT_NE(outcome.out.find(line), std::string::npos) << line << outcome;
        }
#else
        (void)dimm, (void)processor;
#endif
    }
};

TEST_F(SensorStory, ACollectorAssertsAnotherProcessSeesAThirdClearsAll) {
    CreateArea();
    EXPECT_SUCCEEDS(setup_, LayOutRecords);
    EXPECT_SUCCEEDS(setup_, AssertStates);
    ExpectStates(1);
    ExpectShown("over-temperature", "IERR");
    EXPECT_SUCCEEDS(setup_, [] {
        EXPECT_EQ(MW_ClearMemStatusInfoALLStates(), 0);
        EXPECT_EQ(MW_ClearAllCPUAlarmInfoAllStates(), 0);
    });
    ExpectStates(0);
    ExpectShown("none", "none");
}

// All three at once: whenever the reader looks, a state is asserted or it is not, and nothing else has
// changed.
TEST_F(SensorStory, AReaderMeetsWholeRecordsWhileOthersAssertAndClear) {
    CreateArea();
    EXPECT_SUCCEEDS(setup_, LayOutRecords);
    EXPECT_SUCCEEDS(setup_, AssertStates);
    struct Progress {
        std::atomic<int> rounds{0};
        std::atomic<bool> stop{false};
    };
    Shared<Progress> progress;
    Process collector(setup_, [&] {
        while (!progress->stop) {
            AssertStates();
            ++progress->rounds;
        }
    });
    Process clearer(setup_, [&] {
        while (!progress->stop) {
            ASSERT_EQ(MW_ClearMemStatusInfoALLStates(), 0);
            ASSERT_EQ(MW_ClearAllCPUAlarmInfoAllStates(), 0);
        }
    });
    EXPECT_SUCCEEDS(setup_, [&] {
        bool seen[2] = {};
        while ((!seen[0] || !seen[1] || progress->rounds < 200) && !::testing::Test::HasFailure()) {
            MemAlarmInfo alarms{};
            ASSERT_EQ(MW_GetMemAlarmInfoByDimmNum(&alarms, 2), 0);
            MemAlarmInfo expected{};
            expected.dwDimmNum = 2;
            expected.ucCorrectECCCnt = 9;
            expected.ucMemOverTempState = alarms.ucMemOverTempState;
            ASSERT_LE(alarms.ucMemOverTempState, 1);
            ASSERT_EQ(std::memcmp(&alarms, &expected, sizeof expected), 0);
            seen[alarms.ucMemOverTempState] = true;
            CpuAlarmInfo processor{};
            ASSERT_EQ(MW_GetCpuAlarmInfoByID(1, &processor), 0);
            ASSERT_EQ(processor.ucProcessorPresenceState, 1);
        }
    });
    progress->stop = true;
    const Outcome asserted = collector.Wait();
    const Outcome cleared = clearer.Wait();
    EXPECT_TRUE(asserted.Succeeded()) << asserted;
    EXPECT_TRUE(cleared.Succeeded()) << cleared;
}

TEST_F(SensorStory, EventDataAreReadAsAWholeWhileTheyAreWritten) {
    CreateArea();
    EXPECT_SUCCEEDS(setup_, LayOutRecords);
    Shared<std::atomic<bool>> stop;
    Process collector(setup_, [&] {
        for (uint32_t i = 0; !*stop; ++i) {
            const uint32_t byte = i & 0xF;
            ASSERT_EQ(MW_SetMemAssertSelEventDataInfo(3, 0x04 | byte << 4 | byte << 8 | byte << 16), 0);
        }
    });
    EXPECT_SUCCEEDS(setup_, [] {
        for (int i = 0; i < 2000; ++i) {
            uint8_t data[3] = {};
            ASSERT_EQ(MW_GetMemAssertSelEventDataInfo(3, 4, data), 0);
            ASSERT_EQ(data[0] & 0xF, 4);
            ASSERT_EQ(data[0] >> 4, data[1]);
            ASSERT_EQ(data[1], data[2]);
        }
    });
    *stop = true;
    const Outcome outcome = collector.Wait();
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
}

}  // namespace
