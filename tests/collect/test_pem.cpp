// Power supplies.
#include "area.h"
#include "collectors/pem.h"
#include "smbios_builder.h"

namespace collect {
namespace {

std::string Dir(int chip) { return fmt::format("/sys/class/hwmon/hwmon{}/", chip); }

// A supply on the PMBus, as its driver shows it.
void Chip(Tree &tree, int chip, const std::string &device = "3-0058", const std::string &name = "pmbus") {
    const std::string dir = Dir(chip);
    tree.File(dir + "name", name + "\n")
        .Dir("/sys/devices/" + device)
        .Link(dir + "device", "../../../devices/" + device);
    tree.File(dir + "in1_label", "vin")
        .File(dir + "in1_input", "230250")
        .File(dir + "in1_rated_min", "90000")
        .File(dir + "in1_rated_max", "264000");
    tree.File(dir + "in2_label", "vcap").File(dir + "in2_input", "400000");
    tree.File(dir + "in3_label", "vout1")
        .File(dir + "in3_input", "12050")
        .File(dir + "in3_rated_max", "12600");
    tree.File(dir + "curr1_label", "iin").File(dir + "curr1_input", "1500");
    tree.File(dir + "curr2_label", "iout1")
        .File(dir + "curr2_input", "25000")
        .File(dir + "curr2_rated_max", "66000");
    tree.File(dir + "power1_label", "pin").File(dir + "power1_input", "330000000");
    tree.File(dir + "power2_label", "pout1")
        .File(dir + "power2_input", "297000400")
        .File(dir + "power2_rated_max", "800000000");
    tree.File(dir + "temp1_input", "31000")
        .File(dir + "temp2_input", "45500")
        .File(dir + "fan1_input", "8200");
}

std::string Described(const std::string &location, uint16_t bits = 2, uint16_t handle = 0x2700) {
    return SmbiosBuilder(39, 0x16, handle)
        .Text(0x05, location)
        .Text(0x06, "Model")
        .Text(0x07, "Maker")
        .Text(0x08, "S-" + location)
        .Text(0x0A, "N/A")
        .Text(0x0B, "02")
        .Word(0x0C, 800)
        .Word(0x0E, bits)
        .Bytes();
}

TEST(Pem, AChipOnThePmbusIsReadByItsLabels) {
    Tree tree;
    Chip(tree, 0);
    HeardHost host(tree);
    const std::vector<PowerSupply> supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 1u);
    const PemPmbusPhy phy = ToPmbusPhy(supplies[0], 1);
    EXPECT_EQ(phy.dwPemIndex, 1u);
    EXPECT_EQ(phy.dwRes, 0u);
    EXPECT_EQ(phy.dwVin, 230250u);
    EXPECT_EQ(phy.dwVcap, 400000u);
    EXPECT_EQ(phy.dwVout, 12050u);
    EXPECT_EQ(phy.dwIin, 1500u);
    EXPECT_EQ(phy.dwIout, 25000u);
    EXPECT_EQ(phy.dwPin, 330000u);
    EXPECT_EQ(phy.dwPout, 297000u);
    EXPECT_EQ(phy.alTemperature[0], 31000);
    EXPECT_EQ(phy.alTemperature[1], 45500);
    EXPECT_EQ(phy.alTemperature[2], MW_PEM_NO_TEMPERATURE);
    EXPECT_EQ(phy.adwFanSpeed[0], 8200u);
    EXPECT_EQ(phy.adwFanSpeed[1], MW_NO_VALUE);
    EXPECT_EQ(phy.dwMfrVinMin, 90000u);
    EXPECT_EQ(phy.dwMfrVinMax, 264000u);
    EXPECT_EQ(phy.dwMfrVoutMax, 12600u);
    EXPECT_EQ(phy.dwMfrIoutMax, 66000u);
    EXPECT_EQ(phy.dwMfrPoutMax, 800000u);
    EXPECT_EQ(phy.dwMfrPinMax, MW_NO_VALUE);
    EXPECT_EQ(phy.dwStatusWord, MW_NO_VALUE);
    EXPECT_EQ(phy.dwEfficiency, 900u);
    const PemOnlinePhy online = ToOnlinePhy(supplies[0], 1);
    EXPECT_EQ(online.dwPresent, 1u);
    EXPECT_EQ(online.dwOnline, 1u);
    EXPECT_EQ(online.dwInputPresent, 1u);
    EXPECT_EQ(online.dwRatedPower, 800u);
    EXPECT_EQ(online.dwBus, 3u);
    EXPECT_EQ(online.dwAddress, 0x58u);
    EXPECT_EQ(online.dwPowerGood, MW_NO_VALUE);
    PemStatusInfo status{};
    Update(supplies[0], status);
    EXPECT_EQ(status.dwSensorState, MW_PEM_SENSOR_PRESENT);
    EXPECT_EQ(status.lTemperature, 45500);
    EXPECT_EQ(status.dwOperatingState, 1u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Pem, AnInputOfNothingIsAnInputLost) {
    Tree tree;
    Chip(tree, 0);
    tree.File(Dir(0) + "in1_input", "0").File(Dir(0) + "in3_input", "0");
    HeardHost host(tree);
    const PowerSupply supply = FindPowerSupplies(*host).at(0);
    EXPECT_EQ(ToOnlinePhy(supply, 1).dwInputPresent, 0u);
    PemStatusInfo status{};
    status.dwSensorState = MW_PEM_SENSOR_PREDICTIVE_FAILURE;
    Update(supply, status);
    EXPECT_EQ(status.dwSensorState,
              MW_PEM_SENSOR_PRESENT | MW_PEM_SENSOR_INPUT_LOST | MW_PEM_SENSOR_PREDICTIVE_FAILURE);
    EXPECT_EQ(status.dwOperatingState, 3u);
}

TEST(Pem, ABrokenReadingIsNoReadingAndALine) {
    for (const char *content : {"garbage", "-5", "99999999999999"}) {
        Tree tree;
        Chip(tree, 0);
        tree.File(Dir(0) + "in3_input", content);
        HeardHost host(tree);
        const PemPmbusPhy phy = ToPmbusPhy(FindPowerSupplies(*host).at(0), 1);
        EXPECT_EQ(phy.dwVout, MW_NO_VALUE);
        EXPECT_EQ(phy.dwVin, 230250u);
        EXPECT_NE(host.Line().find("in3_input: expected a reading that is not negative"), std::string::npos)
            << content;
    }
}

TEST(Pem, AReadingThatTheChipRefusesIsSilentlyNone) {
    Tree tree;
    Chip(tree, 0);
    tree.File(Dir(0) + "in3_input", "").File(Dir(0) + "fan1_input", "").File(Dir(0) + "temp1_input", "");
    HeardHost host(tree);
    const PemPmbusPhy phy = ToPmbusPhy(FindPowerSupplies(*host).at(0), 1);
    EXPECT_EQ(phy.dwVout, MW_NO_VALUE);
    EXPECT_EQ(phy.adwFanSpeed[0], MW_NO_VALUE);
    EXPECT_EQ(phy.alTemperature[0], MW_PEM_NO_TEMPERATURE);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Pem, RegulatorsOfTheBoardAreNoSupplies) {
    Tree tree;
    Chip(tree, 0, "4-0060", "regulator9");
    tree.File(Dir(0) + "in1_input", "12000");
    std::filesystem::remove(tree.top() + Dir(0) + "fan1_input");
    Chip(tree, 1, "4-0061", "other");  // by its mains voltage and its fan
    tree.File(Dir(2) + "name", "coretemp");
    HeardHost host(tree);
    const auto supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 1u);
    EXPECT_EQ(supplies[0].address, 0x61u);
}

TEST(Pem, FirmwareDescribesSuppliesAndEmptyBays) {
    Tree tree;
    tree.File(kDmiTable, Described("PSU1") + Described("PSU2", 0, 0x2701) + Described("PSU3", 2 | 4, 0x2702) +
                             EndOfTable());
    HeardHost host(tree);
    const auto supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 3u);
    EXPECT_EQ(supplies[0].manufacturer, "Maker");
    EXPECT_EQ(supplies[0].model, "Model");
    EXPECT_EQ(supplies[0].part, "");
    EXPECT_EQ(supplies[0].rated_power, 800u);
    EXPECT_EQ(supplies[0].online, 1u);
    EXPECT_FALSE(supplies[1].present);
    EXPECT_EQ(supplies[2].online, 0u);
    EXPECT_EQ(ToPmbusPhy(supplies[0], 1).dwRes, 1u);
    const PemBurnInfo burned = ToBurnInfo(supplies[0]);
    EXPECT_EQ(burned.tPemModelNam.dwRes, 0u);
    EXPECT_EQ(burned.tPemProductPartNum.dwRes, 1u);
    EXPECT_STREQ(burned.tPemProductSerNum.acText, "S-PSU1");
}

TEST(Pem, ALabelTellsWhichChipFirmwareDescribes) {
    Tree tree;
    Chip(tree, 0, "3-0058");
    Chip(tree, 1, "3-0059");
    tree.File(Dir(0) + "label", "psu2").File(Dir(1) + "label", "psu1");
    tree.File(kDmiTable,
              Described("PSU1") + Described("PSU2", 2, 0x2701) + Described("PSU3", 0, 0x2702) + EndOfTable());
    HeardHost host(tree);
    const auto supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 3u);
    EXPECT_EQ(supplies[0].address, 0x59u);
    EXPECT_EQ(supplies[0].serial, "S-PSU1");
    EXPECT_EQ(supplies[1].serial, "S-PSU2");
    EXPECT_FALSE(supplies[2].present);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Pem, ChipsAreNotGuessedToBeTheDescribedSupplies) {
    Tree tree;
    Chip(tree, 0, "3-0058");
    Chip(tree, 1, "3-0059");
    tree.File(kDmiTable, Described("PSU1") + Described("PSU2", 2, 0x2701) + EndOfTable());
    HeardHost host(tree);
    const auto supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 2u);
    EXPECT_TRUE(supplies[0].measured);
    EXPECT_EQ(supplies[0].serial, "");
    EXPECT_EQ(
        host.Line(),
        "power supplies: 2 of those that SMBIOS describes left out, nothing tells which of them the chips "
        "on the PMBus belong to");
}

TEST(Pem, OneChipIsTheOneSupplyThatIsDescribed) {
    Tree tree;
    Chip(tree, 0);
    tree.File(kDmiTable, Described("Bay A") + EndOfTable());
    HeardHost host(tree);
    const auto supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 1u);
    EXPECT_EQ(supplies[0].serial, "S-Bay A");
    EXPECT_EQ(supplies[0].vin, 230250u);
}

TEST(Pem, TheKernelsDebuggingFilesTellTheIdentity) {
    Tree tree;
    Chip(tree, 5);
    const std::string own = "/sys/kernel/debug/pmbus/hwmon5/";
    tree.File(own + "mfr_id", "Maker \n")
        .File(own + "mfr_model", "M1")
        .File(own + "mfr_serial", "N/A")
        .File(own + "mfr_location", "");
    HeardHost host(tree);
    const PowerSupply supply = FindPowerSupplies(*host).at(0);
    EXPECT_EQ(supply.manufacturer, "Maker");
    EXPECT_EQ(supply.model, "M1");
    EXPECT_EQ(supply.serial, "");
}

TEST(Pem, MainsAdaptersAreSuppliesAndBatteriesAreNot) {
    Tree tree;
    const std::string dir = "/sys/class/power_supply/";
    tree.File(dir + "AC/type", "Mains\n").File(dir + "AC/online", "1\n");
    tree.File(dir + "BAT0/type", "Battery\n").File(dir + "BAT0/voltage_now", "12000000");
    tree.File(dir + "mouse/type", "USB").File(dir + "mouse/scope", "Device");
    tree.File(dir + "ucsi/type", "USB")
        .File(dir + "ucsi/online", "0")
        .File(dir + "ucsi/voltage_now", "5000000")
        .File(dir + "ucsi/current_now", "-1");
    HeardHost host(tree);
    const auto supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 2u);
    EXPECT_EQ(supplies[0].input_type, MW_PEM_INPUT_AC);
    EXPECT_EQ(supplies[0].online, 1u);
    EXPECT_FALSE(supplies[0].measured);
    EXPECT_EQ(supplies[1].input_type, MW_PEM_INPUT_DC);
    EXPECT_EQ(supplies[1].vout, 5000u);
    EXPECT_FALSE(supplies[1].iout.has_value());
    EXPECT_NE(host.Line().find("current_now: expected a current in microamperes"), std::string::npos);
}

TEST(Pem, AnAdaptersOwnChipDoesNotCountTwice) {
    Tree tree;
    tree.File("/sys/class/power_supply/psu0/type", "Mains")
        .File(Dir(0) + "name", "psu0")
        .Link(Dir(0) + "device", "../../power_supply/psu0");
    HeardHost host(tree);
    const auto supplies = FindPowerSupplies(*host);
    ASSERT_EQ(supplies.size(), 1u);
    EXPECT_EQ(supplies[0].input_type, MW_PEM_INPUT_AC);
}

class PemStore : public OnBlankArea {
  protected:
    static std::vector<PemAsset> Assets() {
        std::vector<PemAsset> assets(MW_PEM_MAX);
        uint32_t count = 0;
        EXPECT_EQ(MW_GetPemAssetInfo(assets.data(), &count), 0);
        assets.resize(count);
        return assets;
    }
};

TEST_F(PemStore, AHostWithoutSuppliesChangesNothing) {
    ASSERT_EQ(MW_SetPemCount(2), 0);
    Tree tree;
    EXPECT_EQ(Once("pem", tree), 0u);
    uint32_t count = 0;
    ASSERT_EQ(MW_GetPemCount(&count), 0);
    EXPECT_EQ(count, 2u);
}

TEST_F(PemStore, IdentityPresenceAndReadingsAreStored) {
    Tree tree;
    Chip(tree, 0);
    tree.File(kDmiTable, Described("Bay 1") + EndOfTable());
    Once("pem", tree);
    char text[MW_PEM_TEXT_SIZE] = {};
    ASSERT_EQ(MW_GetPemSNByIndex(1, text), 0);
    EXPECT_STREQ(text, "S-Bay 1");
    ASSERT_EQ(MW_GetPemPowerManufacturerByIndex(1, text), 0);
    EXPECT_STREQ(text, "Maker");
    EXPECT_EQ(MW_GetPemPresentStaByIndex(0), 1);
    PemPmbusPhy phy[MW_PEM_MAX];
    uint32_t count = 0;
    ASSERT_EQ(MW_GetPemPmbusPhyInfo(phy, &count), 0);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(phy[0].dwVin, 230250u);
    const auto assets = Assets();
    ASSERT_EQ(assets.size(), 1u);
    EXPECT_STREQ(assets[0].tStatusInfo.acLocation, "Bay 1");
    EXPECT_EQ(assets[0].tStatusInfo.dwUpdateTime, 0u);
    EXPECT_EQ(assets[0].dwPresentChCnt, 1u);
}

TEST_F(PemStore, LaterRoundsLeaveAlarmsHealthModesAndCountersAlone) {
    Tree tree;
    Chip(tree, 0);
    HeardHost host(tree);
    const auto collector = New("pem");
    Round(*collector, host);
    const PemAlarmState alarm{77, 1, 0, 1, 0};
    ASSERT_EQ(MW_SetPemAssetAlarmPartInfo(1, &alarm), 0);
    ASSERT_EQ(MW_SetPemHealthyStatusInfo(1, 3, 2), 0);
    ASSERT_EQ(MW_SetPemOtherStatus(MW_PEM_MIXED, MW_PEM_REDUNDANT, 7), 0);
    ASSERT_EQ(MW_SetPemAllowActiveStandby(1), 0);
    PemStatusInfo status = Assets()[0].tStatusInfo;
    status.dwFaultCount = 4;
    status.dwUpTime = 99;
    Fill(status.acFirmwareVersion, "1.0");
    ASSERT_EQ(MW_SetPemAssetStatusInfoExceptHealthStatus(1, &status), 0);
    PemBurnInfo burned{};
    Fill(burned.tPemModelNam.acText, "theirs");
    ASSERT_EQ(MW_SetPemAssetBurnInfo(1, &burned), 0);
    tree.File(Dir(0) + "in3_input", "12100");
    for (int other = 0; other < 2; ++other) {
        if (other == 0) {
            Round(*collector, host);
        } else {
            Once("pem", tree);
        }
        const PemAsset asset = Assets().at(0);
        EXPECT_EQ(std::memcmp(&asset.tAlarmPart.tState, &alarm, sizeof alarm), 0);
        EXPECT_EQ(asset.tAlarmPart.ucMixedValue, 7);
        EXPECT_EQ(asset.tStatusInfo.dwHealthyStatus, 3u);
        EXPECT_EQ(asset.tStatusInfo.dwFaultCount, 4u);
        EXPECT_EQ(asset.tStatusInfo.dwUpTime, 99u);
        EXPECT_STREQ(asset.tStatusInfo.acFirmwareVersion, "1.0");
        EXPECT_EQ(asset.tStatusInfo.dwOutputVoltage, 12100u);
        EXPECT_STREQ(asset.tBurnInfo.tPemModelNam.acText, "theirs");
        EXPECT_EQ(asset.dwPresentChCnt, 1u);
        uint32_t word = 0;
        ASSERT_EQ(MW_GetRedundanceStatus(&word), 0);
        EXPECT_EQ(word, MW_PEM_REDUNDANT);
        ASSERT_EQ(MW_GetEntireStatus(&word), 0);
        EXPECT_EQ(word, 2u);
        ASSERT_EQ(MW_GetPemModeAllowActiveStandby(&word), 0);
        EXPECT_EQ(word, 1u);
    }
}

TEST_F(PemStore, ASupplyThatIsPulledKeepsItsNumberAndCountsItsReturn) {
    Tree tree;
    Chip(tree, 0, "3-0058");
    Chip(tree, 1, "3-0059");
    HeardHost host(tree);
    const auto collector = New("pem");
    Round(*collector, host);
    std::filesystem::remove_all(tree.top() + Dir(0));
    Round(*collector, host);
    auto assets = Assets();
    ASSERT_EQ(assets.size(), 2u);
    EXPECT_EQ(assets[0].dwPresentStatus, 0u);
    EXPECT_EQ(assets[0].tStatusInfo.dwOutputVoltage, MW_NO_VALUE);
    EXPECT_EQ(assets[1].dwPresentStatus, 1u);
    PemOnlinePhy online[MW_PEM_MAX];
    uint32_t count = 0;
    ASSERT_EQ(MW_GetPemOnlinePhyInfo(online, &count), 0);
    EXPECT_EQ(online[0].dwPresent, 0u);
    EXPECT_EQ(online[1].dwAddress, 0x59u);
    Chip(tree, 7, "3-0058x");
    std::filesystem::rename(tree.top() + "/sys/class/hwmon/hwmon7", tree.top() + "/sys/class/hwmon/hwmon0");
    std::filesystem::remove(tree.top() + Dir(0) + "device");
    tree.Link(Dir(0) + "device", "../../../devices/3-0058");
    Round(*collector, host);
    assets = Assets();
    EXPECT_EQ(assets[0].dwPresentStatus, 1u);
    EXPECT_EQ(assets[0].dwPresentChCnt, 2u);
    EXPECT_EQ(assets[0].tStatusInfo.dwOutputVoltage, 12050u);
}

TEST_F(PemStore, SuppliesBeyondTheFourthAreLeftOutAndCounted) {
    Tree tree;
    for (int i = 0; i < 6; ++i) Chip(tree, i, fmt::format("3-005{}", i));
    HeardHost host(tree);
    Round(*New("pem"), host);
    EXPECT_EQ(Assets().size(), MW_PEM_MAX);
    EXPECT_EQ(host.Line(), "power supplies: 2 of 6 left out, there is room for 4");
}

}  // namespace
}  // namespace collect
