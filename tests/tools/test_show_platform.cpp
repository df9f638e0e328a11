// mwctl show power, pem, board and firmware.
#include <cstring>

#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

void StorePower() {
    EXPECT_EQ(MW_SetPowerStatus(MW_POWER_ON), 0);
    EXPECT_EQ(MW_SetPowerPolicy(MW_POWER_POLICY_PREVIOUS), 0);
    EXPECT_EQ(MW_SetPowerACPIStatus(MW_ACPI_S0_WORKING), 0);
    EXPECT_EQ(MW_SetPowerACPIStatus(MW_ACPI_S5_SOFT_OFF), 0);
    EXPECT_EQ(MW_SetPowerButtonState(1), 0);
    EXPECT_EQ(MW_SetHostRestartState(2), 0);
    EXPECT_EQ(MW_SetHostRestartState(4), 0);
    EXPECT_EQ(MW_SetHostRestartEffect(0x10), 0);
    EXPECT_EQ(MW_SetSystemFirmwareProgressState(0x13), 0);
    EXPECT_EQ(MW_SetOsBootState(1), 0);
    EXPECT_EQ(MW_SetBiosBootUpState(2), 0);
    EXPECT_EQ(MW_SetMeState(3), 0);
    EXPECT_EQ(MW_SetCpuPowerGood(4), 0);
    EXPECT_EQ(MW_SetPwrGdErrFlag(5), 0);
    EXPECT_EQ(MW_SetBoardPowerCurrentInfo(301, 120, 455, 298), 0);
    EXPECT_EQ(MW_SetBoardPowerHistoryInfo(0, 290, 310, 270), 0);
    EXPECT_EQ(MW_SetBoardPowerHistoryInfo(59, 291, 311, 271), 0);
    EXPECT_EQ(MW_SetBoardPowerThresInfo(700, 800), 0);
    EXPECT_EQ(MW_SetTDPInfo(270), 0);
    EXPECT_EQ(MW_SetBoardPowerLimitInfo(1, 600, 250), 0);
    EXPECT_EQ(MW_SetBoardPowerLimitModel(2), 0);
    const PowerLimitModel model{1, 600, 1000, 17, 10, 1};
    EXPECT_EQ(MW_SetPowerLimitModel(2, &model), 0);
    EXPECT_EQ(MW_SetBootErrorNoBootableMediaState(1), 0);
    EXPECT_EQ(MW_SetBoardBatAdcInfo(3050, 0x21), 0);
    EXPECT_EQ(MW_SetBoardBatProdTestFlag(1), 0);
}

PemText TextOf(const char *text) {
    PemText field{};
    std::strncpy(field.acText, text, sizeof field.acText - 1);
    return field;
}

void StorePem() {
    PemOnlinePhy online[2]{};
    PemPmbusPhy pmbus[2];
    for (uint32_t i = 0; i < 2; ++i) {
        online[i].dwPemIndex = i + 1;
        online[i].dwPresent = 1;
        online[i].dwOnline = 1 - i;
        online[i].dwInputPresent = 1 - i;
        online[i].dwInputType = MW_PEM_INPUT_AC;
        online[i].dwRatedPower = 800;
        online[i].dwBus = 3;
        online[i].dwAddress = 0x58 + i;
        std::memset(&pmbus[i], 0xFF, sizeof pmbus[i]);
        std::memset(&pmbus[i].ucStatusVout, 0, 8);
        std::memset(pmbus[i].adwReserved, 0, sizeof pmbus[i].adwReserved);
        for (int32_t &temperature : pmbus[i].alTemperature) temperature = MW_PEM_NO_TEMPERATURE;
        pmbus[i].lMfrTambientMax = MW_PEM_NO_TEMPERATURE;
        pmbus[i].dwPemIndex = i + 1;
        pmbus[i].dwRes = i;
    }
    pmbus[0].dwStatusWord = 0x0840;
    pmbus[0].ucStatusInput = 0x10;
    pmbus[0].dwVin = 230250;
    pmbus[0].dwPin = 330005;
    pmbus[0].alTemperature[0] = -1500;
    pmbus[0].adwFanSpeed[0] = 8200;
    pmbus[0].dwEfficiency = 905;
    EXPECT_EQ(MW_SetPemOnlinePhyInfo(online, 2), 0);
    EXPECT_EQ(MW_SetPemPmbusPhyInfo(pmbus, 2), 0);
    EXPECT_EQ(MW_SetPemPresentStatus(1, 1), 0);
    EXPECT_EQ(MW_SetPemPresentStatus(2, 0), 0);
    PemBurnInfo burned{};
    burned.dwRatedPower = 800;
    burned.dwInputType = MW_PEM_INPUT_AC;
    burned.tPemProductInfo = TextOf("Example");
    burned.tPemProductSerNum = TextOf("EX0001");
    burned.tPemModelNam = TextOf("EX-800");
    burned.tPemRevision.dwRes = 1;
    EXPECT_EQ(MW_SetPemAssetBurnInfo(1, &burned), 0);
    PemStatusInfo status{};
    status.dwSensorState = MW_PEM_SENSOR_PRESENT | MW_PEM_SENSOR_INPUT_LOST;
    status.dwOperatingState = 1;
    status.dwInputVoltage = 230250;
    status.dwOutputPower = MW_NO_VALUE;
    status.lTemperature = MW_PEM_NO_TEMPERATURE;
    std::strcpy(status.acLocation, "PSU 1");
    EXPECT_EQ(MW_SetPemAssetStatusInfoExceptHealthStatus(1, &status), 0);
    const PemAlarmState alarm{0x101, 0, 1, 1, 0};
    EXPECT_EQ(MW_SetPemAssetAlarmPartInfo(1, &alarm), 0);
    EXPECT_EQ(MW_SetPemHealthyStatusInfo(1, 2, 1), 0);
    for (int report = 0; report < 3; ++report) {
        EXPECT_EQ(MW_SetPemOtherStatus(MW_PEM_MIXED, MW_PEM_REDUNDANCY_LOST, 7), 0);
    }
    const PemModeRecord configured{1, 0x1, 0x2, 60, 0};
    const PemModeRecord current{0, 0x3, 0, 0, 0};
    EXPECT_EQ(MW_SetPemAllowActiveStandby(1), 0);
    EXPECT_EQ(MW_SetPemCfgMode(&configured), 0);
    EXPECT_EQ(MW_SetPemCurrentMode(&current), 0);
}

void StoreBoard() {
    EXPECT_EQ(MW_SetPCHTemp(47), 0);
    EXPECT_EQ(MW_SetPlatResetCount(3), 0);
    EXPECT_EQ(MW_SetInletTempCnt(2), 0);
    InletTempReading reading{0, 1, 253, 40, 45, 127, -128, "Inlet"};
    reading.cLowerNonCritical = -5;
    EXPECT_EQ(MW_SetInletTempInfo(&reading), 0);
    const InletTempReading other{1, 0, -5, 127, 127, -128, -128, "Inlet 2"};
    EXPECT_EQ(MW_SetInletTempInfo(&other), 0);
    EXPECT_EQ(MW_SetUidButtonStatus(2), 0);
    EXPECT_EQ(MW_SetInitPowerUpState(1), 0);
    EXPECT_EQ(MW_SetSystemHardResetState(2), 0);
    EXPECT_EQ(MW_SetChassisId(7), 0);
    EXPECT_EQ(MW_SetBoardId(11), 0);
    EXPECT_EQ(MW_SetInnerProductId(13), 0);
    const BoardAlarmStatusInfo alarms{{1, 0, 0x80000000}};
    EXPECT_EQ(MW_SetBoardAlarmStatusInfo(&alarms), 0);
}

void StoreFirmware() {
    all_bmc_version bmc{};
    bmc.tMBmcVer.dwBmcVer = 0x01020304;
    std::strcpy(bmc.tMBmcVer.acBmcVer, "1.2.3.4");
    std::strcpy(bmc.tMBmcVer.acBmcOutVer, "V1.2");
    std::strcpy(bmc.tMBmcVer.pcBuildTime, "12:34:56");
    std::strcpy(bmc.tMBmcVer.pcBuildDate, "2024-03-05");
    bmc.MBmcValidFlag = 1;
    bmc.MBmcOutValidFlag = 1;
    std::strcpy(bmc.tSBmcVer.acBmcVer, "1.2.3.3");
    bmc.SBmcValidFlag = 2;
    EXPECT_EQ(MW_SetBmcVerInfo(&bmc), 0);
    all_bios_version bios{};
    std::strcpy(bios.tMBiosOutVer.acBiosVer, "2.07");
    std::strcpy(bios.tMBiosOutVer.pcBuildTime, "03/05/2024");
    bios.MBiosOutValidFlag = 1;
    EXPECT_EQ(MW_SetBiosVerInfo(&bios), 0);
    static all_epld_version epld;
    epld.tCardEpldVer[3].tEpldVer.dwVersion = 0x020A;
    epld.tCardEpldVer[3].CardEpldValidFlag = 1;
    epld.tCardEpldVer[47].tEpldVer.dwVersion = 9;
    EXPECT_EQ(MW_SetEpldVerInfo(&epld), 0);
    static all_fru_version fru;
    fru.tMFruVer.dwVersion = 0x0102002A;
    std::strcpy(fru.tMFruVer.acVersion, "1.2.42");
    fru.MFruValidFlag = 1;
    std::strcpy(fru.acBoardName, "Main board");
    fru.BoardNameValidFlag = 1;
    std::strcpy(fru.tCardFruVer[2].acBoardName, "Riser");
    fru.tCardFruVer[2].CardValidFlag = 1;
    EXPECT_EQ(MW_SetFruVerInfo(&fru), 0);
    psu_version psu{};
    psu.dwPrimaryVersion = 0x10;
    std::strcpy(psu.acVersion, "DC107");
    EXPECT_EQ(MW_SetPsuVerInfo(2, &psu), 0);
    EXPECT_EQ(MW_SetBiosActiveStatus(1), 0);
}

class ShowPlatform : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }
    std::string Text(const std::string &module) { return Mwctl({"show", module}).out; }
};

TEST_F(ShowPlatform, Power) {
    Store(StorePower);
    ExpectShown("power");
}

TEST_F(ShowPlatform, Pem) {
    Store(StorePem);
    ExpectShown("pem");
}

TEST_F(ShowPlatform, Board) {
    Store(StoreBoard);
    ExpectShown("board");
}

TEST_F(ShowPlatform, Firmware) {
    Store(StoreFirmware);
    ExpectShown("firmware");
}

TEST_F(ShowPlatform, AHostThatWentOffByItselfSaysSo) {
    Store([] {
        EXPECT_EQ(MW_SetPowerACPIStatus(MW_ACPI_S3_SLEEPING), 0);
        EXPECT_EQ(MW_SetPowerACPIStatus(MW_ACPI_S5_SOFT_OFF), 0);
    });
    EXPECT_EQ(Jq("show power", ".power.state.decoded | [.dwACPIStatus, .dwOsStopState]"),
              "[[\"S5/G2 soft-off\"],[\"graceful shutdown\"]]\n");
}

TEST_F(ShowPlatform, RedundancyAndMixtureAreSaidInWords) {
    const struct {
        int32_t mixed, redundancy;
        int reports;
        const char *redundancy_word, *mixture_word, *together;
    } cases[] = {
        {0, MW_PEM_REDUNDANCY_LOST, 2, "not reported", "not mixed", "2 of 2 present"},
        {1, MW_PEM_REDUNDANT, 1, "redundant", "not mixed", "2 of 2 present, redundant"},
        {MW_PEM_MIXED, MW_PEM_REDUNDANT, 1, "redundant", "mixed: supplies of different kinds",
         "2 of 2 present, redundant, MIXED"},
        {MW_PEM_MIXED, MW_PEM_REDUNDANCY_LOST, 3, "redundancy lost", "mixed: supplies of different kinds",
         "2 of 2 present, REDUNDANCY LOST, MIXED"},
    };
    Store([] {
        EXPECT_EQ(MW_SetPemCount(2), 0);
        EXPECT_EQ(MW_SetPemPresentStatus(1, 1), 0);
        EXPECT_EQ(MW_SetPemPresentStatus(2, 1), 0);
    });
    for (const auto &one : cases) {
        Store([&] {
            for (int i = 0; i < one.reports; ++i) {
                EXPECT_EQ(MW_SetPemOtherStatus(one.mixed, one.redundancy, 7), 0);
            }
        });
        EXPECT_EQ(Jq("show pem", ".pem.totals.decoded | [.dwRedundanceStatus, .dwMixedStatus, .summary]"),
                  "[\"" + std::string(one.redundancy_word) + "\",\"" + one.mixture_word + "\",\"" +
                      one.together + "\"]\n");
        const std::string text = Text("pem");
        EXPECT_NE(text.find(std::string("  ") + one.redundancy_word + " ("), std::string::npos) << text;
        EXPECT_NE(text.find(std::string("  ") + one.together + "\n"), std::string::npos) << text;
    }
}

TEST_F(ShowPlatform, AStoredCountOfSuppliesAboveTheMaximumIsSaid) {
    Store([] { EXPECT_EQ(MW_SetPemCount(5), 0); });
    const Outcome outcome = Mwctl({"show", "pem"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_NE(outcome.out.find("the stored count is 5, more than the 4 that there can be\n"),
              std::string::npos)
        << outcome;
}

TEST_F(ShowPlatform, WhatABoardHasNotSetIsNoValue) {
    EXPECT_EQ(Jq("show board",
                 ".board.facts | [.ucPchTemp, .wChassisId, .wBoardId, .dwInnerProductId, "
                 ".decoded.ucUidButtonStatus]"),
              "[null,0,null,null,\"not set\"]\n");
    Store([] {
        EXPECT_EQ(MW_SetChassisId(MW_CHASSIS_ID_NOT_SET), 0);
        EXPECT_EQ(MW_SetPCHTemp(125), 0);
        EXPECT_EQ(MW_SetInletTempCnt(1), 0);
        const InletTempReading reading{0, 1, -5, 127, 50, -128, -10, "Inlet"};
        EXPECT_EQ(MW_SetInletTempInfo(&reading), 0);
    });
    EXPECT_EQ(Jq("show board",
                 ".board | [.facts.ucPchTemp, .facts.wChassisId, (.inlets[0] | .sTemp, "
                 ".cUpperNonCritical, .cUpperCritical, .cLowerNonCritical, .cLowerCritical)]"),
              "[null,null,-5,null,50,null,-10]\n");
    EXPECT_NE(Text("board").find("-0.5 C"), std::string::npos);
}

TEST_F(ShowPlatform, VersionsThatAreNotValidComeWithTheReason) {
    Store(StoreFirmware);
    const auto version = [this](const std::string &name) {
        return Jq("show firmware", ".firmware.versions[] | select(.acName == \"" + name +
                                       "\") | [.wVerType, .wVerExt, .acVersion, .acState]");
    };
    EXPECT_EQ(version("BMC master"), "[14,0,\"1.2.3.4\",\"valid\"]\n");
    EXPECT_EQ(version("BMC slave"), "[14,1,\"\",\"SBmcValidFlag is 2\"]\n");
    EXPECT_EQ(version("BIOS master outward"), "[26,2,\"2.07\",\"valid\"]\n");
    EXPECT_EQ(version("BIOS master"), "[26,4,\"\",\"MBiosValidFlag is 0\"]\n");
    // These two are handed out as zeros.
    EXPECT_EQ(version("boot firmware"), "[20,0,\"00.00.00.00\",\"MBootValidFlag is 0\"]\n");
    EXPECT_EQ(version("EPLD main board"), "[7,0,\"00.00.00.00\",\"MEpldValidFlag is 0\"]\n");
    EXPECT_EQ(version("EPLD card 3"), "[7,3,\"00.00.02.10\",\"valid\"]\n");
    EXPECT_EQ(version("EPLD card 47"), "[7,47,\"00.00.00.00\",\"CardEpldValidFlag is 0\"]\n");
    EXPECT_EQ(version("EPLD card 4"), "");
    EXPECT_EQ(version("FRU main board"), "[15,0,\"01.02.0042\",\"valid\"]\n");
    EXPECT_EQ(version("FRU card 2"), "[15,2,\"00.00.0000\",\"valid\"]\n");
    EXPECT_EQ(version("PSU 2"), "[38,2,\"DC107\",\"stored\"]\n");
    EXPECT_EQ(Jq("show firmware", "[.firmware.numbers[] | [.acName, .dwVersion]] | .[0,1,6]"),
              "[\"BMC master\",16909060]\n[\"BMC slave\",null]\n[\"EPLD card 47\",null]\n");
    EXPECT_EQ(Jq("show firmware", "[.firmware.builds[] | [.acName, .pcBuildTime, .pcBuildDate, .acState]]"),
              "[[\"BMC master\",\"12:34:56\",\"2024-03-05\",\"valid\"],"
              "[\"BMC slave\",\"\",\"\",\"SBmcOutValidFlag is 0\"],"
              "[\"BIOS master\",\"03/05/2024\",\"\",\"stored\"],[\"BIOS slave\",\"\",\"\",\"no text is "
              "stored\"]]\n");
    EXPECT_EQ(Jq("show firmware", "[.firmware.names[] | [.dwIndex, .acBoardName, .acState]]"),
              "[[0,\"Main board\",\"valid\"],[2,\"\",\"BoardNameValidFlag is 0\"]]\n");
}

TEST_F(ShowPlatform, BytesBehindAVersionsTerminatorAreNotShown) {
    Store([] {
        all_bmc_version bmc{};
        std::memset(bmc.tMBmcVer.acBmcVer, 'x', sizeof bmc.tMBmcVer.acBmcVer);
        std::strcpy(bmc.tMBmcVer.acBmcVer, "1.0");
        bmc.MBmcValidFlag = 1;
        EXPECT_EQ(MW_SetBmcVerInfo(&bmc), 0);
    });
    EXPECT_EQ(Jq("show firmware", ".firmware.versions[0].acVersion"), "\"1.0\"\n");
    EXPECT_EQ(Text("firmware").find("xx"), std::string::npos);
}

TEST_F(ShowPlatform, AHeldFirmwareSemaphoreIsWaitedForOnce) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12301, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Mwctl({"show", "firmware", "board"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(LinesOf(outcome.err).size(), 1u) << outcome;
    EXPECT_NE(outcome.err.find("mwctl: firmware: semaphore 12301 is held by process "), std::string::npos)
        << outcome;
}

TEST_F(ShowPlatform, WhatTheCollectorReadsOfAHostIsShown) {
    const std::string root = dir_ / "host";
    ASSERT_TRUE(Shell("mkdir -p " + root + "/sys/class/dmi/id " + root + "/sys/class/hwmon/hwmon0 " + root +
                      "/sys/class/power_supply/AC " + root + "/etc")
                    .Succeeded());
    WriteFile(root + "/sys/class/dmi/id/board_name", "Board X\n");
    WriteFile(root + "/sys/class/dmi/id/board_version", "To be filled by O.E.M.\n");
    WriteFile(root + "/sys/class/dmi/id/bios_version", "2.07\n");
    WriteFile(root + "/sys/class/dmi/id/bios_date", "03/05/2024\n");
    WriteFile(root + "/etc/os-release",
              "VERSION_ID=12.5\nPRETTY_NAME='Example 12'\nBUILD_ID=20240305123456\n");
    WriteFile(root + "/sys/class/hwmon/hwmon0/name", "lm75\n");
    WriteFile(root + "/sys/class/hwmon/hwmon0/temp1_label", "Inlet\n");
    WriteFile(root + "/sys/class/hwmon/hwmon0/temp1_input", "24500\n");
    WriteFile(root + "/sys/class/power_supply/AC/type", "Mains\n");
    WriteFile(root + "/sys/class/power_supply/AC/online", "1\n");
    const Outcome outcome = RunProcess(setup_, [&] {
        Execute({MWCOLLECT, "--root", root, "--only", "firmware,board,pem"});
    });
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(
        Jq("show firmware", "[.firmware.versions[] | select(.acState == \"valid\") | .acName, .acVersion]"),
        "[\"BMC master\",\"12.5\",\"BMC master outward\",\"Example 12\",\"BIOS master outward\",\"2.07\","
        "\"BIOS master\",\"2.07\"]\n");
    EXPECT_EQ(Jq("show firmware",
                 ".firmware | [.builds[0].pcBuildTime, .builds[0].pcBuildDate, "
                 ".builds[2].pcBuildTime, .names[0].acBoardName]"),
              "[\"12:34:56\",\"2024-03-05\",\"03/05/2024\",\"Board X\"]\n");
    EXPECT_EQ(Jq("show board", ".board.inlets | [length, .[0].sTemp, .[0].acSensorName]"),
              "[1,245,\"Inlet\"]\n");
    EXPECT_EQ(Jq("show pem",
                 ".pem | [.totals.dwPemNum, .supplies[0].dwPresentStatus, .online[0].dwOnline, "
                 ".online[0].decoded.dwInputType, .pmbus[0].dwVin]"),
              "[1,1,1,\"AC\",null]\n");
}

}  // namespace
