#include "hwmon.h"
#include "tree.h"

namespace collect {
namespace {

TEST(Hwmon, ChipsComeInTheOrderOfTheirNumbersWithTheirDevices) {
    Tree tree;
    tree.File("/sys/class/hwmon/hwmon10/name", "ten\n").File("/sys/class/hwmon/hwmon2/name", "two\n");
    tree.Link("/sys/class/hwmon/hwmon2/device", "../../../0-0018").File("/sys/class/hwmon/other/name", "no");
    HeardHost host(tree);
    const std::vector<HwmonChip> chips = HwmonChips(*host);
    ASSERT_EQ(chips.size(), 2u);
    EXPECT_EQ(chips[0].name, "two");
    EXPECT_EQ(chips[0].device, "0-0018");
    EXPECT_EQ(chips[1].name, "ten");
    EXPECT_EQ(chips[1].device, "");
}

TEST(Hwmon, OldDriversKeepTheirAttributesWithTheDevice) {
    Tree tree;
    tree.Dir("/sys/class/hwmon/hwmon0")
        .Link("/sys/class/hwmon/hwmon0/device", "../../../devices/platform/chip.0");
    tree.File("/sys/devices/platform/chip.0/name", "chip")
        .File("/sys/devices/platform/chip.0/temp1_input", "30499");
    tree.File("/sys/devices/platform/chip.0/temp1_label", " Inlet \n");
    HeardHost host(tree);
    const std::vector<HwmonChip> chips = HwmonChips(*host);
    ASSERT_EQ(chips.size(), 1u);
    EXPECT_EQ(chips[0].name, "chip");
    EXPECT_EQ(chips[0].device, "chip.0");
    EXPECT_EQ(HwmonDegrees(*host, chips[0], "temp1_input"), 30);
    EXPECT_EQ(HwmonDegrees(*host, chips[0], "temp2_input"), std::nullopt);
    EXPECT_EQ(HwmonLabel(*host, chips[0], "temp1"), "Inlet");
    EXPECT_EQ(HwmonLabel(*host, chips[0], "temp2"), "");
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Hwmon, DegreesAreRoundedAwayFromZero) {
    Tree tree;
    tree.File("/sys/class/hwmon/hwmon0/name", "chip");
    HeardHost host(tree);
    const HwmonChip chip = HwmonChips(*host).at(0);
    const std::pair<const char *, int32_t> kReadings[] = {
        {"499", 0}, {"500", 1}, {"-499", 0}, {"-500", -1}, {"255000", 255}, {"-128000", -128}, {"0", 0}};
    for (const auto &[milli, degrees] : kReadings) {
        tree.File("/sys/class/hwmon/hwmon0/temp1_input", milli);
        EXPECT_EQ(HwmonDegrees(*host, chip, "temp1_input"), degrees) << milli;
    }
    EXPECT_EQ(host.lines(), Strings{});
}

}  // namespace
}  // namespace collect
