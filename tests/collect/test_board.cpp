// Inlet temperatures and the PCH temperature.
#include "area.h"
#include "collectors/board.h"

namespace collect {
namespace {

const std::string kChip = "/sys/class/hwmon/hwmon0/";

Tree &Inlet(Tree &tree, const std::string &dir, const std::string &channel, const std::string &label,
            const std::string &milli) {
    return tree.File(dir + "name", "lm75")
        .File(dir + channel + "_label", label)
        .File(dir + channel + "_input", milli);
}

TEST(Board, ALabelNamesTheInletSensor) {
    Tree tree;
    Inlet(tree, kChip, "temp1", "Inlet Temp\n", "23450\n")
        .File(kChip + "temp1_max", "40000")
        .File(kChip + "temp1_crit", "45000");
    tree.File(kChip + "temp1_min", "-5000").File(kChip + "temp1_lcrit", "-10000");
    Inlet(tree, kChip, "temp2", "Outlet", "50000");
    tree.File(kChip + "temp3_input", "1000");
    HeardHost host(tree);
    const BoardReadings readings = FindBoardReadings(*host);
    ASSERT_EQ(readings.inlets.size(), 1u);
    const InletTempReading reading = ToInletTempReading(readings.inlets[0], 2);
    EXPECT_EQ(reading.ucIndex, 2);
    EXPECT_EQ(reading.ucPresent, 1);
    EXPECT_EQ(+reading.sTemp, 235);
    EXPECT_EQ(reading.cUpperNonCritical, 40);
    EXPECT_EQ(reading.cUpperCritical, 45);
    EXPECT_EQ(reading.cLowerNonCritical, -5);
    EXPECT_EQ(reading.cLowerCritical, -10);
    EXPECT_STREQ(reading.acSensorName, "Inlet Temp");
    EXPECT_FALSE(readings.pch.has_value());
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Board, MissingAndImpossibleThresholdsAreNone) {
    Tree tree;
    Inlet(tree, kChip, "temp1", "a very long inlet label", "-12345").File(kChip + "temp1_max", "127000");
    tree.File(kChip + "temp1_min", "-128000").File(kChip + "temp1_crit", "");
    HeardHost host(tree);
    const BoardReadings readings = FindBoardReadings(*host);
    ASSERT_EQ(readings.inlets.size(), 1u);
    const InletTempReading reading = ToInletTempReading(readings.inlets[0], 0);
    EXPECT_EQ(+reading.sTemp, -123);
    EXPECT_EQ(reading.cUpperNonCritical, 127);
    EXPECT_EQ(reading.cUpperCritical, 127);
    EXPECT_EQ(reading.cLowerNonCritical, -128);
    EXPECT_EQ(reading.cLowerCritical, -128);
    EXPECT_STREQ(reading.acSensorName, "a very long in");
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Board, ABrokenInletIsSkippedWithOneLine) {
    for (const char *content : {"hot", "-", "999999", "99999999999999999999"}) {
        Tree tree;
        Inlet(tree, kChip, "temp1", "INLET", content);
        HeardHost host(tree);
        EXPECT_TRUE(FindBoardReadings(*host).inlets.empty()) << content;
        EXPECT_NE(host.Line().find("temp1_input: expected a temperature in millidegrees"), std::string::npos)
            << content;
    }
}

TEST(Board, TheInletOfAPowerSupplyIsNotTheBoards) {
    Tree tree;
    Inlet(tree, kChip, "temp1", "Inlet", "30000").File(kChip + "name", "pmbus");
    HeardHost host(tree);
    EXPECT_TRUE(FindBoardReadings(*host).inlets.empty());
}

TEST(Board, ThePchIsAChipOrAThermalZoneWithinItsRange) {
    const struct {
        const char *milli;
        std::optional<uint32_t> degrees;
    } cases[] = {{"45400", 45}, {"124499", 124}, {"124500", {}}, {"499", {}},
                 {"500", 1},    {"-1", {}},      {"", {}}};
    for (const auto &one : cases) {
        Tree chip;
        chip.File(kChip + "name", "pch_example").File(kChip + "temp1_input", one.milli);
        HeardHost with_chip(chip);
        EXPECT_EQ(FindBoardReadings(*with_chip).pch, one.degrees) << one.milli;
        EXPECT_EQ(with_chip.lines(), Strings{});
        Tree zone;
        zone.File("/sys/class/thermal/thermal_zone3/type", "pch_example")
            .File("/sys/class/thermal/thermal_zone3/temp", one.milli);
        zone.File("/sys/class/thermal/thermal_zone0/type", "acpitz")
            .File("/sys/class/thermal/thermal_zone0/temp", "9000");
        HeardHost with_zone(zone);
        EXPECT_EQ(FindBoardReadings(*with_zone).pch, one.degrees) << one.milli;
    }
}

using BoardStore = OnBlankArea;

TEST_F(BoardStore, AHostWithoutSensorsChangesNothing) {
    ASSERT_EQ(MW_SetInletTempCnt(3), 0);
    ASSERT_EQ(MW_SetPCHTemp(50), 0);
    Tree tree;
    EXPECT_EQ(Once("board", tree), 0u);
    uint8_t pch = 0;
    EXPECT_EQ(MW_GetPCHTemp(&pch), 0);
    InletTempInfo info{};
    ASSERT_EQ(MW_GetInletTempInfo(&info), 0);
    EXPECT_EQ(info.dwInletTempCnt, 3u);
}

TEST_F(BoardStore, SensorsKeepTheirPlacesAndLostOnesAreMarked) {
    Tree tree;
    Inlet(tree, kChip, "temp1", "Inlet 1", "21000");
    Inlet(tree, kChip, "temp2", "Inlet 2", "22000");
    tree.File("/sys/class/hwmon/hwmon1/name", "pch_example")
        .File("/sys/class/hwmon/hwmon1/temp1_input", "51000");
    HeardHost host(tree);
    const auto collector = New("board");
    Round(*collector, host);
    InletTempInfo info{};
    ASSERT_EQ(MW_GetInletTempInfo(&info), 0);
    EXPECT_EQ(info.dwInletTempCnt, 2u);
    EXPECT_EQ(+info.atInletTemp[1].sTemp, 220);
    uint8_t pch = 0;
    ASSERT_EQ(MW_GetPCHTemp(&pch), 0);
    EXPECT_EQ(pch, 51);

    std::filesystem::remove(tree.top() + kChip + "temp1_input");
    std::filesystem::remove(tree.top() + "/sys/class/hwmon/hwmon1/temp1_input");
    tree.File(kChip + "temp2_input", "23000");
    Round(*collector, host);
    ASSERT_EQ(MW_GetInletTempInfo(&info), 0);
    EXPECT_EQ(info.dwInletTempCnt, 2u);
    EXPECT_EQ(info.atInletTemp[0].ucPresent, 0);
    EXPECT_STREQ(info.atInletTemp[0].acSensorName, "Inlet 1");
    EXPECT_EQ(info.atInletTemp[1].ucPresent, 1);
    EXPECT_EQ(+info.atInletTemp[1].sTemp, 230);
    EXPECT_EQ(MW_GetPCHTemp(&pch), -1);
}

TEST_F(BoardStore, SensorsBeyondTheFourthAreLeftOutAndCounted) {
    Tree tree;
    for (int i = 1; i <= 6; ++i) Inlet(tree, kChip, fmt::format("temp{}", i), "Inlet", "20000");
    HeardHost host(tree);
    Round(*New("board"), host);
    InletTempInfo info{};
    ASSERT_EQ(MW_GetInletTempInfo(&info), 0);
    EXPECT_EQ(info.dwInletTempCnt, MW_INLET_TEMP_MAX);
    EXPECT_EQ(host.Line(), "inlet temperatures: 2 of 6 sensors left out, there is room for 4");
}

}  // namespace
}  // namespace collect
