// Fans, thermal control, health, and the states and event data of memory and processors, told by name.
#include <cstring>

#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

void StoreFans() {
    FanOnlinePhyInfo online[3]{};
    FanControlPhyInfo controls[3]{};
    FanAssetInfo assets[3]{};
    for (uint32_t i = 0; i < 3; ++i) {
        online[i].dwFanSilkNum = controls[i].dwFanSilkNum = assets[i].dwFanSilkNum = i + 1;
        std::snprintf(online[i].acLabel, sizeof online[i].acLabel, "FAN%u Front", i + 1);
        std::snprintf(assets[i].acFanName, sizeof assets[i].acFanName, "FAN%u", i + 1);
        online[i].dwMinSpeed = 600;
        online[i].dwMaxSpeed = 16000;
    }
    online[0].dwPresent = online[1].dwPresent = 1;
    online[0].dwSpeed = 8400;
    online[0].dwRearSpeed = 8100;
    online[0].dwPulses = 2;
    online[1].dwFault = 1;
    online[2].dwFault = 2;
    controls[0].dwPwmChannel = 1;
    controls[0].dwPwmFrequency = 25000;
    controls[0].dwPwmMode = 1;
    controls[0].dwMinDutyPercent = 20;
    controls[0].dwMaxDutyPercent = 90;
    controls[0].tState.dwMode = MW_FAN_CTRL_AUTO;
    controls[0].tState.dwDutyPercent = 50;
    controls[0].tState.dwTargetSpeed = 8500;
    controls[0].tState.dwPwmRaw = 128;
    std::strcpy(controls[0].tState.acZone, "front");
    std::strcpy(controls[0].acSource, "hwmon3/pwm1");
    controls[2].tState.dwMode = 7;
    assets[0].dwFanType = 4;
    assets[0].dwFanPresent = 1;
    assets[0].dwFanSpeed = 8400;
    assets[0].dwFanDutyPercent = 50;
    assets[0].dwMaxSpeed = 16500;
    assets[0].dwRotorNum = 2;
    assets[0].dwRatedPower = 21000;
    std::strcpy(assets[0].acManufacturer, "Example");
    std::strcpy(assets[0].acPartNum, "EX-60");
    std::strcpy(assets[0].acSerialNum, "0001");
    assets[1].dwFanPresent = 1;
    assets[2].dwFanPresent = 2;  // anything but 1 counts as absent
    assets[2].adwReserved[1] = 0xA5;
    ASSERT_EQ(MW_SetFanOnlinePhyInfo(online, 3), 0);
    ASSERT_EQ(MW_SetFanControlPhyInfo(controls, 3), 0);
    ASSERT_EQ(MW_SetFanAssetInfo(assets, 3), 0);
    ASSERT_EQ(MW_SetFanRedundancyStates(3), 0);
    ASSERT_EQ(MW_SetFanTotalPower(42), 0);
    ASSERT_EQ(MW_SetFanHealthyStatusInfo(2, 5, 4), 0);
}

void StoreThermal() {
    const ThermalPolicy policy{MW_THERMAL_POLICY_AUTO, 2};
    ASSERT_EQ(MW_SetThermalPolicy(&policy), 0);
    const ThermalCpuOffset offset{-3};
    ASSERT_EQ(MW_SetThermalCPUOffset(&offset), 0);
    ASSERT_EQ(MW_SetThermalCPUUpBoundary(90), 0);
    ASSERT_EQ(MW_SetThermalCPULowBoundary(40), 0);
    ASSERT_EQ(MW_SetThermalCPUMidBoundary(70), 0);
    const ThermalPidPara small{75, 2, 1500, 20, -5, 20, 100, 1000};
    const ThermalPidPara large{76, 3, 3000, 40, -10, 25, 95, 500};
    ASSERT_EQ(MW_SetThermalCPUSmallPID(&small), 0);
    ASSERT_EQ(MW_SetThermalCPULargePID(&large), 0);
    ThermalInletTemp inlet{};
    inlet.iHysteresis = 2;
    inlet.dwPointCount = 2;
    inlet.atPoint[0] = {-5, 20};
    inlet.atPoint[1] = {35, 60};
    inlet.atPoint[2] = {99, 99};  // not in use
    ASSERT_EQ(MW_SetThermalInletTemp(&inlet), 0);
    const ThermalThreadStatus status{1};
    ASSERT_EQ(MW_SetThermalThreadStatus(&status), 0);
    ASSERT_EQ(MW_SetThermalCriticalDev(8), 0);
    ASSERT_EQ(MW_SetThermalPrintFlag(1), 0);
    ASSERT_EQ(MW_SetThermalFanType(4), 0);
    ASSERT_EQ(MW_SetThermalPowerOffFanRotateFlag(1), 0);
    ASSERT_EQ(MW_SetThermalLeaquidLeakageStatus(6), 0);
}

void StoreSupplies() {
    ASSERT_EQ(MW_SetPemCount(2), 0);
    ASSERT_EQ(MW_SetPemPresentStatus(1, 1), 0);
    ASSERT_EQ(MW_SetPemPresentStatus(2, 1), 0);
    PemStatusInfo status{};
    std::strcpy(status.acLocation, "PSU2");
    ASSERT_EQ(MW_SetPemAssetStatusInfoExceptHealthStatus(2, &status), 0);
    ASSERT_EQ(MW_SetPemHealthyStatusInfo(2, 3, 2), 0);
}

class Sensors : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }
};

TEST_F(Sensors, Fans) {
    Store(StoreFans);
    ExpectShown("fan");
}

TEST_F(Sensors, Thermal) {
    Store(StoreThermal);
    ExpectShown("thermal");
}

TEST_F(Sensors, Health) {
    Store([] {
        StoreMemory();
        StoreProcessors();
        StoreFans();
        StoreSupplies();
    });
    ExpectShown("health");
}

TEST_F(Sensors, AnEmptyAreaHasNeitherFansNorHealth) {
    EXPECT_EQ(Jq("show fan", ".fan | [.totals.dwFanNum, .speeds, .outputs, .assets]"), "[0,[],[],[]]\n");
    EXPECT_EQ(Jq("show health", "[.health[] | .dwHealthyTotal, .atInstance]"), "[0,[],0,[],0,[],0,[]]\n");
}

TEST_F(Sensors, FansWithoutAnOutputAreNotListedAmongTheOutputs) {
    Store(StoreFans);
    EXPECT_EQ(Jq("show fan", "[.fan.outputs[] | .slot, .name]"), "[0,\"FAN1\",2,\"FAN3\"]\n");
}

TEST_F(Sensors, PresentFansAreCountedByTheValueOne) {
    Store(StoreFans);
    EXPECT_EQ(Jq("show fan", ".fan.totals | [.dwFanNum, .dwPresentNum]"), "[3,2]\n");
}

TEST_F(Sensors, HealthOfInstancesWithoutANameIsShown) {
    Store([] {
        MemStatusInfo states[2]{};
        states[0].dwDimmNum = 5;
        states[1].dwDimmNum = 64;
        EXPECT_EQ(MW_SetMemDimmNuminStatusInfo(states, 2), 0);
        EXPECT_EQ(MW_SetMemHealthyStatusInfo(64, 7, 8), 0);
    });
    EXPECT_EQ(Jq("show health",
                 ".health.memory | [.dwHealthyTotal, .dwInstanceCount, "
                 "(.atInstance[] | .dwNumber, .acName, .dwHealthyStatus)]"),
              "[8,2,5,\"\",0,64,\"\",7]\n");
}

TEST_F(Sensors, ATotalIsShownEvenWhereItsInstanceWasUnknown) {
    Store([] { EXPECT_EQ(MW_SetFanHealthyStatusInfo(9, 1, 6), -1); });
    EXPECT_EQ(Jq("show health", ".health.fan | [.dwHealthyTotal, .atInstance]"), "[6,[]]\n");
}

TEST_F(Sensors, OneHeldSemaphoreHidesOneComponentsHealthOnly) {
    Store(StoreFans);
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12291, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Mwctl({"show", "health"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_TRUE(outcome.err.starts_with("mwctl: health.memory: semaphore 12291 is held by process "))
        << outcome;
    EXPECT_EQ(LinesOf(outcome.err).size(), 1u) << outcome;
    EXPECT_NE(outcome.out.find("  FAN2       5\n"), std::string::npos) << outcome;
}

TEST_F(Sensors, EveryStateOfADimmIsToldByName) {
    using Setter = int32_t (*)(uint32_t, uint32_t);
    const std::pair<Setter, const char *> states[] = {
        {MW_SetMemCorrectECCState, "correctable ECC"},
        {MW_SetMemUnCorrectECCState, "uncorrectable ECC"},
        {MW_SetMemMemParityState, "parity"},
        {MW_SetMemMemScrubFailState, "scrub failed"},
        {MW_SetMemMemDisabledState, "disabled"},
        {MW_SetMemCorrectECCLimitState, "correctable ECC limit"},
        {MW_SetMemPresetProtectState, "preset protect"},
        {MW_SetMemConfigurErrorState, "configuration error"},
        {MW_SetMemMemSpareState, "spare"},
        {MW_SetMemMemAutoThrottledState, "throttled"},
        {MW_SetMemMemOverTempState, "over-temperature"},
        {MW_SetMemPredictiveFailureState, "predictive failure"},
        {MW_SetMemIsolationState, "isolated"},
    };
    Store(StoreMemory);
    Store([] { EXPECT_EQ(MW_ClearMemStatusInfoALLStates(), 0); });
    for (uint32_t offset = 0; offset < std::size(states); ++offset) {
        const auto &[set, name] = states[offset];
        Store([&] {
            EXPECT_EQ(set(3, 1), 0);
            EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(3, 0x000100 | offset), 0);
        });
        const Outcome outcome = Mwctl({"show", "memory"});
        EXPECT_NE(outcome.out.find("  DIMM100     3          0  " + std::string(name) + "\n"),
                  std::string::npos)
            << name << outcome;
        EXPECT_EQ(Jq("show memory", ".memory.events[] | select(.dwInstance == 3 and .dwEventOffset == " +
                                        std::to_string(offset) + ") | [.acName, .decoded.event]"),
                  "[\"DIMM100\",\"" + std::string(name) + "\"]\n");
        Store([&] { EXPECT_EQ(set(3, 0), 0); });
    }
}

TEST_F(Sensors, EveryStateOfAProcessorIsToldByName) {
    using Setter = int32_t (*)(uint32_t, uint8_t);
    const std::pair<Setter, const char *> states[] = {
        {MW_SetCpuIERRState, "IERR"},
        {MW_SetCpuThermalTripState, "thermal trip"},
        {MW_SetCpuFRB1FailureState, "FRB1 failure"},
        {MW_SetCpuFRB2FailureState, "FRB2 failure"},
        {MW_SetCpuFRB3FailureState, "FRB3 failure"},
        {MW_SetCpuConfigurErrorState, "configuration error"},
        {MW_SetCpuComplexErrorState, "complex error"},
        {MW_SetCpuProcessorPresenceState, "present"},
        {MW_SetCpuProcessorDisabledState, "disabled"},
        {MW_SetCpuTerminatorPresenceState, "terminator present"},
        {MW_SetCpuProcessorThrottledState, "throttled"},
        {MW_SetCpuUnCorrectMCEState, "uncorrectable machine check"},
        {MW_SetCpuCorrectMCEState, "correctable machine check"},
    };
    constexpr uint32_t kPresence = 7;  // no alarm, but shown beside them
    Store(StoreProcessors);
    Store([] { EXPECT_EQ(MW_ClearAllCPUAlarmInfoAllStates(), 0); });
    for (uint32_t offset = 0; offset < std::size(states); ++offset) {
        const auto &[set, name] = states[offset];
        Store([&] {
            EXPECT_EQ(set(1, 1), 0);
            EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 0x000200 | offset), 0);
        });
        const std::string asserted = offset == kPresence ? "none" : name;
        const Outcome outcome = Mwctl({"show", "cpu"});
        EXPECT_NE(outcome.out.find("  CPU2      1  yes      " + asserted + "\n"), std::string::npos)
            << name << outcome;
        EXPECT_EQ(Jq("show cpu", ".cpu.events[] | select(.dwEventOffset == " + std::to_string(offset) +
                                     ") | [.acName, .decoded.event]"),
                  "[\"CPU2\",\"" + std::string(name) + "\"]\n");
        if (offset != kPresence) {
            Store([&] { EXPECT_EQ(set(1, 0), 0); });
        }
    }
}

TEST_F(Sensors, AnEventOffsetThatNoStateHasIsShownAsANumber) {
    Store(StoreProcessors);
    Store([] { EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(0, 0x00010E), 0); });
    EXPECT_EQ(Jq("show cpu", ".cpu.events[] | select(.dwEventOffset == 14)"),
              "{\"slot\":0,\"dwInstance\":0,\"acName\":\"CPU1\",\"dwEventOffset\":14,\"aucEventData\":"
              "\"0e0100\"}\n");
}

// --- mwctl set thermal-policy

class SetPolicy : public Sensors {
  protected:
    Outcome Set(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"set", "thermal-policy"});
        return Mwctl(arguments);
    }
    std::string Policy() { return Jq("show thermal", ".thermal.policy | [.dwPolicy, .dwPolicyValue]"); }
};

TEST_F(SetPolicy, StoresEveryModeAndPercentThatTheLibraryTakes) {
    for (const char *mode : {"0", "1", "2", "3"}) {
        ExpectDone(Set({"auto", "--mode", mode}),
                   "thermal policy: auto, cooling mode " + std::string(mode) + "\n");
        EXPECT_EQ(Policy(), "[0," + std::string(mode) + "]\n");
    }
    for (const char *percent : {"10", "55", "100"}) {
        ExpectDone(Set({"manual", "--percent", percent}),
                   "thermal policy: manual, fans at " + std::string(percent) + " %\n");
        EXPECT_EQ(Policy(), "[1," + std::string(percent) + "]\n");
    }
    EXPECT_EQ(Jq("show thermal", ".thermal.policy.decoded"),
              "{\"dwPolicy\":\"manual\",\"meaning\":\"fans at 100 %\"}\n");
}

TEST_F(SetPolicy, ExplainsARefusalAndChangesNothing) {
    ASSERT_EQ(Set({"manual", "--percent", "40"}).code, 0);
    const auto expect_refused = [&](const std::vector<std::string> &arguments, const std::string &logged,
                                    const std::string &said) {
        const Outcome outcome = Set(arguments);
        EXPECT_EQ(outcome.code, 1) << outcome;
        EXPECT_EQ(outcome.out, "");
        const std::vector<std::string> lines = LinesOf(outcome.err);
        EXPECT_EQ(lines.back(), "mwctl: the policy was refused and stays as it is: " + said);
        // The library's own line is for the log: standard error is where it goes without one.
        EXPECT_LE(lines.size(), 2u) << outcome;
        if (lines.size() == 2) {
            EXPECT_TRUE(lines[0].ends_with("]Set Thermal Policy Failed, " + logged)) << outcome;
        }
        EXPECT_EQ(Policy(), "[1,40]\n");
    };
    for (const char *mode : {"4", "4294967295"}) {
        expect_refused({"auto", "--mode", mode},
                       std::string("CoolingMode = ") + (mode[1] == '\0' ? "4" : "-1"),
                       "cooling modes are 0 to 3, not " + std::string(mode));
    }
    for (const char *percent : {"9", "101", "0"}) {
        expect_refused({"manual", "--percent", percent}, std::string("Percent = ") + percent,
                       "fan speeds are 10 to 100 percent, not " + std::string(percent));
    }
}

TEST_F(SetPolicy, WrongUsageIsOneLine) {
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{},
                                                      {"auto"},
                                                      {"manual"},
                                                      {"auto", "--percent", "40"},
                                                      {"manual", "--mode", "1"},
                                                      {"auto", "--mode", "x"},
                                                      {"auto", "--mode", "-1"},
                                                      {"manual", "--percent", "4294967296"},
                                                      {"manual", "--percent", "40%"},
                                                      {"manual", "--percent", "40", "auto", "--mode", "1"},
                                                      {"fast"}}) {
        const Outcome outcome = Set(arguments);
        EXPECT_EQ(outcome.code, 2) << outcome;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(LinesOf(outcome.err).size(), 1u) << outcome;
    }
    EXPECT_EQ(Policy(), "[0,0]\n");
}

TEST_F(SetPolicy, AHeldSemaphoreIsNoRefusal) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12293, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Set({"auto", "--mode", "1"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_TRUE(LinesOf(outcome.err).back().starts_with("mwctl: semaphore 12293 is held by process "))
        << outcome;
}

class SetPolicyNothing : public ToolsTest {};

TEST_F(SetPolicyNothing, SaysThatThereIsNoArea) {
    ExpectRefused(Mwctl({"set", "thermal-policy", "auto", "--mode", "1"}), 1,
                  "mwctl: the shared area does not exist: run midware-init\n");
}

}  // namespace
