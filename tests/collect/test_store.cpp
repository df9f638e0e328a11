// What the collectors leave in the shared area, read back through the library.
#include "area.h"
#include "collectors/partitions.h"
#include "smbios_builder.h"

namespace collect {
namespace {

// --- processors

void TwoProcessors(Tree &tree, const std::string &model = "Model") {
    std::string info;
    for (int cpu = 0; cpu < 4; ++cpu) {
        const int package = cpu / 2 == 0 ? 36 : 8442;
        info +=
            fmt::format("processor: {}\nvendor_id: Vendor\nmodel name: {}\ncpu MHz: 2000\n\n", cpu, model);
        const std::string topology = fmt::format("/sys/devices/system/cpu/cpu{}/topology/", cpu);
        tree.File(topology + "physical_package_id", std::to_string(package))
            .File(topology + "thread_siblings_list", std::to_string(cpu));
    }
    tree.File("/proc/cpuinfo", info);
    for (int chip = 0; chip < 2; ++chip) {
        const std::string dir = fmt::format("/sys/class/hwmon/hwmon{}/", chip);
        tree.File(dir + "name", "coretemp")
            .File(dir + "temp1_label", chip == 0 ? "Package id 36" : "Package id 8442");
        tree.File(dir + "temp1_input", chip == 0 ? "50000" : "61000")
            .File(dir + "temp1_crit", "100000")
            .File(dir + "temp1_max", "85000");
    }
}

using CpuStore = OnBlankArea;

TEST_F(CpuStore, IdentityAndLocationOfEachPackageAreStored) {
    Tree tree;
    TwoProcessors(tree);
    EXPECT_GT(Once("cpu", tree), 0u);
    CpuPhyInfo phys[MW_CPU_MAX];
    CpuAssetInfo assets[MW_CPU_MAX];
    uint32_t count = 0;
    ASSERT_EQ(MW_GetCpuPhyInfo(phys, &count), 0);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(phys[1].dwCpuIndex, 1u);
    EXPECT_EQ(phys[1].dwSilkNum, 2u);
    EXPECT_EQ(phys[1].dwPresent, 1u);
    EXPECT_EQ(phys[1].dwPackageId, 8442u);
    EXPECT_STREQ(phys[1].acSilkName, "CPU2");
    ASSERT_EQ(MW_GetCpuAssetInfo(assets, &count), 0);
    ASSERT_EQ(count, 2u);
    EXPECT_STREQ(assets[0].acManufacturer, "Vendor");
    EXPECT_STREQ(assets[0].acModel, "Model");
    EXPECT_EQ(assets[0].dwCoreCount, 2u);
    EXPECT_EQ(assets[0].dwThreadCount, 2u);
    EXPECT_EQ(assets[0].dwFrequency, 2000u);
    EXPECT_EQ(assets[1].dwCpuId, 1u);
}

TEST_F(CpuStore, TemperaturesComeWithTheirLimits) {
    Tree tree;
    TwoProcessors(tree);
    Once("cpu", tree);
    CpuTempInfo temperatures[MW_CPU_MAX];
    uint32_t count = 0;
    ASSERT_EQ(MW_GetCpuTempInfo(temperatures, &count), 0);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(temperatures[0].iCurTemp, 50);
    EXPECT_EQ(temperatures[0].dwTempValid, 1u);
    EXPECT_EQ(temperatures[1].dwCpuIndex, 1u);
    EXPECT_EQ(temperatures[1].iCurTemp, 61);
    EXPECT_EQ(temperatures[1].dwUCRTemp, 100u);
    EXPECT_EQ(temperatures[1].ucTjmax, 100);
    EXPECT_EQ(temperatures[1].ucTcontrol, 15);
}

TEST_F(CpuStore, EverySelEntryTakesEventDataOfItsOffset) {
    Tree tree;
    TwoProcessors(tree);
    Once("cpu", tree);
    for (uint32_t offset = 0; offset < MW_CPU_SEL_ENTRY_MAX; ++offset) {
        EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 0x332200 | offset | 0xA0), 0) << offset;
    }
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 15), -1);
}

TEST_F(CpuStore, LaterRoundsLeaveAlarmsHealthAndUsageAlone) {
    Tree tree;
    TwoProcessors(tree);
    HeardHost host(tree);
    const auto collector = New("cpu");
    Round(*collector, host);
    ASSERT_EQ(MW_SetCpuIERRState(1, 1), 0);
    ASSERT_EQ(MW_SetCpuHealthyStatusInfo(2, 3, 3), 0);
    ASSERT_EQ(MW_SetCpuUsgInfoFromHostMon(0x25FF55), 0);
    ASSERT_EQ(MW_SetCpuAssertSelEventDataInfo(0, 0x112204), 0);
    tree.File("/sys/class/hwmon/hwmon1/temp1_input", "70000");

    for (int other = 0; other < 2; ++other) {
        if (other == 0) {
            Round(*collector, host);
        } else {
            Once("cpu", tree);
        }
        CpuAlarmInfo alarms;
        ASSERT_EQ(MW_GetCpuAlarmInfoByID(1, &alarms), 0);
        EXPECT_EQ(alarms.ucIERRState, 1);
        uint32_t word = 0;
        ASSERT_EQ(MW_GetCpuHealthyStatusInfoByInst(2, &word), 0);
        EXPECT_EQ(word, 3u);
        ASSERT_EQ(MW_GetCpuUsgInfoFromHostMon(&word), 0);
        EXPECT_EQ(word, 0x25u);
        uint8_t data[3] = {4, 0, 0};
        ASSERT_EQ(MW_GetCpuAssertSelEventDataInfo(0, 4, data), 0);
        EXPECT_EQ(data[1], 0x22);
        CpuTempInfo temperature;
        ASSERT_EQ(MW_GetCpuTempInfoByID(&temperature, 1), 0);
        EXPECT_EQ(temperature.iCurTemp, 70);
        EXPECT_EQ(temperature.ucTjmax, 100);
    }
}

TEST_F(CpuStore, AnotherProcessorStartsWithABlankStatus) {
    Tree tree;
    TwoProcessors(tree);
    Once("cpu", tree);
    ASSERT_EQ(MW_SetCpuIERRState(1, 1), 0);
    TwoProcessors(tree, "Another model");
    Once("cpu", tree);
    CpuAlarmInfo alarms;
    ASSERT_EQ(MW_GetCpuAlarmInfoByID(1, &alarms), 0);
    EXPECT_EQ(alarms.ucIERRState, 0);
}

TEST_F(CpuStore, ASensorThatIsGoneTakesItsReadingAlong) {
    Tree tree;
    TwoProcessors(tree);
    HeardHost host(tree);
    const auto collector = New("cpu");
    Round(*collector, host);
    uint32_t flag = 0;
    ASSERT_EQ(MW_GetCpuTempValidFlag(1, &flag), 0);
    EXPECT_EQ(flag, 1u);
    tree.File("/sys/class/hwmon/hwmon1/temp1_input", "");
    Round(*collector, host);
    ASSERT_EQ(MW_GetCpuTempValidFlag(1, &flag), 0);
    EXPECT_EQ(flag, 0u);
}

TEST_F(CpuStore, AnAreaStartedAfreshIsFilledAgainByARunningCollector) {
    Tree tree;
    TwoProcessors(tree);
    HeardHost host(tree);
    const auto collector = New("cpu");
    Round(*collector, host);
    ASSERT_EQ(MW_MidWareInit(), 0);
    Round(*collector, host);
    uint32_t count = 0;
    ASSERT_EQ(MW_GetCpuCount(&count), 0);
    EXPECT_EQ(count, 2u);
    uint8_t tjmax = 0;
    ASSERT_EQ(MW_GetCpuTjmax(1, &tjmax), 0);
    EXPECT_EQ(tjmax, 100);
    EXPECT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 14), 0);
}

TEST_F(CpuStore, AMachineWithoutProcessorsLeavesTheAreaAlone) { EXPECT_EQ(Once("cpu", Tree()), 0u); }

TEST_F(CpuStore, MoreThanEightPackagesAreSaidSo) {
    Tree tree;
    for (int cpu = 0; cpu < 9; ++cpu) {
        tree.File(fmt::format("/sys/devices/system/cpu/cpu{}/topology/physical_package_id", cpu),
                  std::to_string(cpu));
    }
    HeardHost host(tree);
    Round(*New("cpu"), host);
    EXPECT_EQ(host.Line(), "processors: 1 of 9 packages left out, there is room for 8");
    uint32_t count = 0;
    ASSERT_EQ(MW_GetCpuCount(&count), 0);
    EXPECT_EQ(count, 8u);
}

// --- memory

void ThreeSlots(Tree &tree, const std::string &first = "DIMM_A1") {
    tree.File(kDmiTable, MemorySlot(first).Bytes() + EmptySlot("DIMM_A2") + MemorySlot("DIMM_B1").Bytes());
}

void CountErrors(Tree &tree, uint64_t correctable, uint64_t uncorrectable) {
    const std::string dir = "/sys/devices/system/edac/mc/mc0/dimm0/";
    tree.File(dir + "dimm_label", "DIMM_B1").File(dir + "size", "16384");
    tree.File(dir + "dimm_ce_count", std::to_string(correctable))
        .File(dir + "dimm_ue_count", std::to_string(uncorrectable));
}

MemAlarmInfo Alarms(uint32_t number) {
    MemAlarmInfo alarms{};
    EXPECT_EQ(MW_GetMemAlarmInfoByDimmNum(&alarms, number), 0);
    return alarms;
}

using MemoryStore = OnBlankArea;

TEST_F(MemoryStore, SlotsAndPluggedModulesAreStored) {
    Tree tree;
    ThreeSlots(tree);
    Once("memory", tree);
    MemPhyInfo phys[MW_MEM_DIMM_MAX];
    MemAssetInfo assets[MW_MEM_DIMM_MAX];
    uint32_t count = 0;
    ASSERT_EQ(MW_GetMemPhyInfo(phys, &count), 0);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(phys[1].dwMemNum, 2u);
    EXPECT_EQ(phys[1].dwPresent, 0u);
    EXPECT_STREQ(phys[2].acSilkName, "DIMM_B1");
    ASSERT_EQ(MW_GetMemAssetInfo(assets, &count), 0);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(assets[1].dwDimmNum, 3u);
    EXPECT_EQ(assets[1].dwSizeGB, 16u);
    EXPECT_EQ(assets[1].dwSizeMB, 16384u);
    EXPECT_STREQ(assets[1].acMemType, "DDR4");
    uint32_t total = 0;
    ASSERT_EQ(MW_GetMemTotalSizeGB(&total), 0);
    EXPECT_EQ(total, 32u);
}

TEST_F(MemoryStore, EverySelEntryTakesEventDataOfItsOffset) {
    Tree tree;
    ThreeSlots(tree);
    Once("memory", tree);
    for (uint32_t offset = 0; offset < MW_MEM_SEL_ENTRY_MAX; ++offset) {
        EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(3, 0x332200 | offset | 0xA0), 0) << offset;
    }
    EXPECT_EQ(MW_SetMemAssertSelEventDataInfo(3, 15), -1);
}

TEST_F(MemoryStore, LaterRoundsLeaveAlarmsHealthAndUsageAlone) {
    Tree tree;
    ThreeSlots(tree);
    HeardHost host(tree);
    const auto collector = New("memory");
    Round(*collector, host);
    ASSERT_EQ(MW_SetMemPredictiveFailureState(3, 1), 0);
    ASSERT_EQ(MW_SetMemHealthyStatusInfo(3, 2, 2), 0);
    ASSERT_EQ(MW_SetMemUsgInfoFromHostMon(0x25FF55), 0);
    for (int other = 0; other < 2; ++other) {
        if (other == 0) {
            Round(*collector, host);
        } else {
            Once("memory", tree);
        }
        EXPECT_EQ(Alarms(3).ucPredictiveFailureState, 1);
        uint32_t word = 0;
        ASSERT_EQ(MW_GetMemHealthyStatusInfoByInst(3, &word), 0);
        EXPECT_EQ(word, 2u);
        ASSERT_EQ(MW_GetMemUsgInfoFromHostMon(&word), 0);
        EXPECT_EQ(word, 0x25u);
    }
}

TEST_F(MemoryStore, AnotherModuleStartsWithABlankStatus) {
    Tree tree;
    ThreeSlots(tree);
    Once("memory", tree);
    ASSERT_EQ(MW_SetMemPredictiveFailureState(3, 1), 0);
    tree.File(kDmiTable, MemorySlot("DIMM_A1").Bytes() + EmptySlot("DIMM_A2") +
                             MemorySlot("DIMM_B1").Text(0x18, "another serial").Bytes());
    Once("memory", tree);
    EXPECT_EQ(Alarms(3).ucPredictiveFailureState, 0);
}

TEST_F(MemoryStore, NewErrorsAssertTheirStatesAndOldOnesDoNot) {
    Tree tree;
    ThreeSlots(tree);
    CountErrors(tree, 0, 0);
    HeardHost host(tree);
    const auto collector = New("memory");
    Round(*collector, host);
    EXPECT_EQ(Alarms(3).ucCorrectECCState, 0);
    EXPECT_EQ(Alarms(3).ucUnCorrectECCState, 0);

    CountErrors(tree, 7, 1);
    Round(*collector, host);
    EXPECT_EQ(Alarms(3).ucCorrectECCState, 1);
    EXPECT_EQ(Alarms(3).ucUnCorrectECCState, 1);
    EXPECT_EQ(Alarms(3).ucCorrectECCCnt, 7);
    EXPECT_EQ(Alarms(1).ucCorrectECCCnt, 0);

    ASSERT_EQ(MW_ClearMemStatusInfoALLStates(), 0);
    Round(*collector, host);
    EXPECT_EQ(Alarms(3).ucCorrectECCState, 0);
    EXPECT_EQ(Alarms(3).ucUnCorrectECCState, 0);
    Once("memory", tree);
    EXPECT_EQ(Alarms(3).ucCorrectECCState, 0);

    CountErrors(tree, 8, 1);
    Round(*collector, host);
    EXPECT_EQ(Alarms(3).ucCorrectECCState, 1);
    EXPECT_EQ(Alarms(3).ucCorrectECCCnt, 8);
}

TEST_F(MemoryStore, TheErrorCountStaysAtTheEndOfItsByte) {
    Tree tree;
    ThreeSlots(tree);
    CountErrors(tree, 300, 0);
    Once("memory", tree);
    EXPECT_EQ(Alarms(3).ucCorrectECCCnt, 255);
}

TEST_F(MemoryStore, ModuleTemperaturesAreStoredByNumberAndTakenBackWithTheirSensor) {
    Tree tree;
    ThreeSlots(tree);
    for (int chip = 0; chip < 2; ++chip) {
        const std::string dir = fmt::format("/sys/class/hwmon/hwmon{}/", chip);
        tree.File(dir + "name", "jc42")
            .File(dir + "temp1_input", chip == 0 ? "40000" : "45000")
            .File(dir + "temp1_crit", "95000");
        tree.Link(dir + "device", fmt::format("../../../0-001{}", 8 + chip));
    }
    HeardHost host(tree);
    const auto collector = New("memory");
    Round(*collector, host);
    MemTempInfo temperature;
    ASSERT_EQ(MW_GetMemTempInfoByDimmNum(&temperature, 3), 0);
    EXPECT_EQ(temperature.iTemp, 45);
    EXPECT_EQ(temperature.ucTempValid, 1);
    EXPECT_EQ(temperature.dwDimmNum, 3u);
    EXPECT_EQ(temperature.dwUpperCritical, 95u);
    ASSERT_EQ(MW_GetMemTempInfoByDimmNum(&temperature, 2), 0);
    EXPECT_EQ(temperature.ucTempValid, 0);

    tree.File("/sys/class/hwmon/hwmon1/temp1_input", "");
    Round(*collector, host);
    ASSERT_EQ(MW_GetMemTempInfoByDimmNum(&temperature, 3), 0);
    EXPECT_EQ(temperature.ucTempValid, 0);
    ASSERT_EQ(MW_GetMemTempInfoByDimmNum(&temperature, 1), 0);
    EXPECT_EQ(temperature.iTemp, 40);
}

TEST_F(MemoryStore, OverlongTextsAreCutToTheirFields) {
    Tree tree;
    const std::string locator(500, 'L');
    tree.File(kDmiTable, MemorySlot(locator).Bytes());
    Once("memory", tree);
    MemPhyInfo phys[MW_MEM_DIMM_MAX];
    uint32_t count = 0;
    ASSERT_EQ(MW_GetMemPhyInfo(phys, &count), 0);
    EXPECT_EQ(std::string(phys[0].acSilkName), locator.substr(0, sizeof(phys[0].acSilkName) - 1));
}

TEST_F(MemoryStore, TheTotalAloneIsSaidSo) {
    Tree tree;
    tree.File("/proc/meminfo", "MemTotal: 8388608 kB\n");
    HeardHost host(tree);
    Round(*New("memory"), host);
    EXPECT_EQ(
        host.Line(),
        "memory devices: neither SMBIOS nor EDAC describes them; the total of /proc/meminfo is stored as one "
        "device");
    uint32_t total = 0;
    ASSERT_EQ(MW_GetMemTotalSizeGB(&total), 0);
    EXPECT_EQ(total, 8u);
}

// --- usage, partitions, time servers

using UsageStore = OnBlankArea;

TEST_F(UsageStore, BothFiguresOfACapturedTreeAreEnabled) {
    Tree tree;
    tree.File("/proc/meminfo", "MemTotal: 1000 kB\nMemAvailable: 400 kB\n")
        .File("/proc/stat", "cpu 25 0 0 75\n");
    EXPECT_EQ(Once("usage", tree), 2u);
    uint32_t usage = 0;
    ASSERT_EQ(MW_GetMemUsgInfoFromHostMon(&usage), 0);
    EXPECT_EQ(usage, 60u);
    ASSERT_EQ(MW_GetCpuUsgInfoFromHostMon(&usage), 0);
    EXPECT_EQ(usage, 25u);
    uint32_t enabled = 0;
    ASSERT_EQ(MW_IsHostCpuUsgInfoEnabled(&enabled), 0);
    EXPECT_EQ(enabled, MW_VALID_FLAG);
}

TEST_F(UsageStore, BrokenFilesWriteNothingAndSaySo) {
    Tree tree;
    tree.File("/proc/meminfo", "garbage\n").File("/proc/stat", "intr 1 2 3\n");
    HeardHost host(tree);
    EXPECT_EQ(Round(*New("usage"), host), 0u);
    EXPECT_EQ(host.lines().size(), 2u);
    uint32_t enabled = 1;
    ASSERT_EQ(MW_IsHostMemUsgInfoEnabled(&enabled), 0);
    EXPECT_EQ(enabled, 0u);
}

using PartitionStore = OnBlankArea;

TEST_F(PartitionStore, TheLiveMachinesPartitionsAreStoredByTheirMountPoints) {
    HeardHost host("/");
    const size_t written = Round(*New("partitions"), host);
    HardDiskUsageInfo stored{};
    ASSERT_EQ(MW_GetHardDiskUsgInfoFromHostMon(&stored), 0);
    EXPECT_EQ(stored.dwTotalPart, written);
    for (uint32_t i = 0; i < stored.dwTotalPart && i < MW_HARD_DISK_PART_MAX; ++i) {
        EXPECT_EQ(stored.atPart[i].acPartName[0], '/');
        EXPECT_LE(stored.atPart[i].ucUsedPercent, 100);
    }
}

Partitions Mounted(const Strings &names, uint8_t percent) {
    Partitions found;
    for (const std::string &name : names) found.partitions.push_back({name, percent, 1000, 10u * percent});
    return found;
}

TEST_F(PartitionStore, APartitionThatIsNoLongerMountedLeavesTheTable) {
    HeardHost host("/");
    Writer writer(host.log(), false);
    PartitionTable table;
    table.Store(Mounted({"/", "/a", "/b"}, 10), writer);
    ASSERT_EQ(MW_SetHostHardDiskUsgAlarmStatus(1, 1), 0);
    table.Store(Mounted({"/", "/a", "/b"}, 20), writer);
    uint32_t alarm = 0;
    ASSERT_EQ(MW_GetHostHardDiskUsgAlarmStatus(1, &alarm), 0);
    EXPECT_EQ(alarm, 1u);  // nothing is gone: the alarms stay
    table.Store(Mounted({"/", "/b"}, 30), writer);
    HardDiskUsageInfo stored{};
    ASSERT_EQ(MW_GetHardDiskUsgInfoFromHostMon(&stored), 0);
    ASSERT_EQ(stored.dwTotalPart, 2u);
    EXPECT_STREQ(stored.atPart[1].acPartName, "/b");
    EXPECT_EQ(stored.atPart[1].ucUsedPercent, 30);
    EXPECT_EQ(+stored.atPart[1].dwTotalMB, 1000u);
    EXPECT_EQ(+stored.atPart[1].dwUsedMB, 300u);
    table.Store(Mounted({}, 0), writer);
    ASSERT_EQ(MW_GetHardDiskUsgInfoFromHostMon(&stored), 0);
    EXPECT_EQ(stored.dwTotalPart, 0u);
    EXPECT_EQ(writer.Failed(), 0u);
}

TEST_F(PartitionStore, PartitionsOfOtherReportersStay) {
    HardDiskUsageInfo other{};
    other.dwTotalPart = 1;
    Fill(other.atPart[0].acPartName, "/theirs");
    ASSERT_EQ(MW_SetHardDiskUsageInfoFromHostMon(&other), 0);
    HeardHost host("/");
    Writer writer(host.log(), false);
    PartitionTable().Store(Mounted({"/"}, 10), writer);
    HardDiskUsageInfo stored{};
    ASSERT_EQ(MW_GetHardDiskUsgInfoFromHostMon(&stored), 0);
    ASSERT_EQ(stored.dwTotalPart, 2u);
    EXPECT_STREQ(stored.atPart[0].acPartName, "/theirs");
}

using NtpStore = OnBlankArea;

NtpInfo Ntp() {
    NtpInfo info{};
    EXPECT_EQ(MW_GetNtpInfo(&info), 0);
    return info;
}

TEST_F(NtpStore, ServersAreStoredAndTheOtherSettingsStay) {
    NtpInfo before{};
    before.dwNtpInterval = 64;
    before.dwAuthKeyId = 9;
    Fill(before.acNtpServerName[3], "old.example");
    ASSERT_EQ(MW_SetNtpInfo(&before), 0);
    Tree tree;
    tree.File("/etc/chrony.conf", "server a.example\npool b.example\n");
    Once("ntp", tree);
    const NtpInfo info = Ntp();
    EXPECT_EQ(info.dwTimeSource, MW_TIME_SOURCE_NTP);
    EXPECT_EQ(info.dwNtpEnable, 1u);
    EXPECT_EQ(info.dwServerCount, 2u);
    EXPECT_STREQ(info.acNtpServerName[0], "a.example");
    EXPECT_STREQ(info.acNtpServerName[1], "b.example");
    EXPECT_STREQ(info.acNtpServerName[3], "");
    EXPECT_EQ(info.dwNtpInterval, 64u);
    EXPECT_EQ(info.dwAuthKeyId, 9u);
}

TEST_F(NtpStore, WithoutServersTheSettingsStay) {
    NtpInfo before{};
    before.dwServerCount = 1;
    Fill(before.acNtpServerName[0], "admin.example");
    ASSERT_EQ(MW_SetNtpInfo(&before), 0);
    EXPECT_EQ(Once("ntp", Tree()), 0u);
    EXPECT_STREQ(Ntp().acNtpServerName[0], "admin.example");
}

TEST_F(NtpStore, AnAdministratorsChangeStaysUntilTheHostsConfigurationChanges) {
    Tree tree;
    tree.File("/etc/chrony.conf", "server a.example\n");
    HeardHost host(tree);
    const auto collector = New("ntp");
    Round(*collector, host);
    char name[MW_NTP_SERVER_NAME_SIZE] = "admin.example";
    ASSERT_EQ(MW_SetNtpServerName(1, name), 0);
    Round(*collector, host);
    EXPECT_STREQ(Ntp().acNtpServerName[0], "admin.example");
    tree.File("/etc/chrony.conf", "server c.example\n");
    Round(*collector, host);
    EXPECT_STREQ(Ntp().acNtpServerName[0], "c.example");
    ASSERT_EQ(MW_MidWareInit(), 0);
    Round(*collector, host);
    EXPECT_STREQ(Ntp().acNtpServerName[0], "c.example");
}

TEST_F(NtpStore, ServersBeyondTheRecordAreSaidSo) {
    Tree tree;
    std::string text;
    for (int i = 0; i < 8; ++i) text += fmt::format("server s{}.example\n", i);
    tree.File("/etc/ntp.conf", text);
    HeardHost host(tree);
    Round(*New("ntp"), host);
    EXPECT_EQ(host.Line(), "NTP servers: 8 are configured, 2 left out");
    EXPECT_EQ(Ntp().dwServerCount, 6u);
}

}  // namespace
}  // namespace collect
