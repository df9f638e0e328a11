#include <cstring>

#include "area.h"
#include "collectors/fan.h"

namespace collect {
namespace {

constexpr char kHwmon[] = "/sys/class/hwmon/";

// A chip with fans of these speeds on its channels 1, 2, ...
std::string Chip(Tree &tree, int number, const std::vector<const char *> &speeds, const char *name = "chip") {
    const std::string dir = fmt::format("{}hwmon{}/", kHwmon, number);
    tree.File(dir + "name", fmt::format("{}\n", name));
    for (size_t i = 0; i < speeds.size(); ++i) tree.File(fmt::format("{}fan{}_input", dir, i + 1), speeds[i]);
    return dir;
}

TEST(Fans, WithoutHardwareMonitorsThereAreNone) {
    Tree tree;
    HeardHost host(tree);
    EXPECT_TRUE(FindFans(*host).fans.empty());
    tree.File(std::string(kHwmon) + "hwmon0/name", "coretemp")
        .File(std::string(kHwmon) + "hwmon0/temp1_input", "40000");
    EXPECT_TRUE(FindFans(*host).fans.empty());
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Fans, SpeedLimitsAndLabelAreRead) {
    Tree tree;
    const std::string dir = Chip(tree, 2, {"8400\n"});
    tree.File(dir + "fan1_label", "System  Fan 7\n")
        .File(dir + "fan1_min", "600")
        .File(dir + "fan1_max", "16000");
    tree.File(dir + "fan1_pulses", "2").File(dir + "fan1_target", "8500").File(dir + "fan1_alarm", "0");
    HeardHost host(tree);
    const FanRecords records = FindFans(*host);
    ASSERT_EQ(records.fans.size(), 1u);
    const Fan &fan = records.fans[0];
    EXPECT_EQ(fan.label, "System  Fan 7");
    EXPECT_EQ(fan.name, "System  Fan 7");
    EXPECT_EQ(fan.chip, "chip");
    EXPECT_EQ(fan.silk, 7u);
    EXPECT_EQ(fan.rotors, 1u);
    EXPECT_EQ(fan.speed, 8400u);
    EXPECT_EQ(fan.rear_speed, std::nullopt);
    EXPECT_EQ(fan.least, 600u);
    EXPECT_EQ(fan.most, 16000u);
    EXPECT_EQ(fan.target, 8500u);
    EXPECT_EQ(fan.pulses, 2u);
    EXPECT_EQ(fan.fault, 0u);
    EXPECT_TRUE(fan.Turns());
    EXPECT_FALSE(fan.output.has_value());
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Fans, WithoutALabelTheChipAndTheChannelNameAFan) {
    Tree tree;
    const std::string dir = Chip(tree, 0, {"1000", "1100"});
    tree.File(dir + "fan2_label", "\n");
    HeardHost host(tree);
    const FanRecords records = FindFans(*host);
    ASSERT_EQ(records.fans.size(), 2u);
    EXPECT_EQ(records.fans[0].label, "");
    EXPECT_EQ(records.fans[0].name, "chip fan1");
    EXPECT_EQ(records.fans[1].name, "chip fan2");
    EXPECT_EQ(records.fans[0].least, std::nullopt);
    EXPECT_EQ(records.fans[0].pulses, 0u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Fans, AttributesNextToTheDeviceAreFound) {
    Tree tree;
    const std::string dir = std::string(kHwmon) + "hwmon1/device/";
    tree.File(dir + "name", "old").File(dir + "fan3_input", "2000").File(dir + "pwm3", "51");
    HeardHost host(tree);
    const FanRecords records = FindFans(*host);
    ASSERT_EQ(records.fans.size(), 1u);
    ASSERT_TRUE(records.fans[0].output.has_value());
    EXPECT_EQ(records.fans[0].output->source, "hwmon1/device/pwm3");
}

TEST(Fans, ASpeedThatCannotBeIsNoSpeedButTheFanKeepsItsPlace) {
    for (const char *input : {"garbage", "-1", "100001", "4294967296", "1000 rpm", "12.5", "0x10"}) {
        Tree tree;
        Chip(tree, 0, {input, "900"});
        HeardHost host(tree);
        const FanRecords records = FindFans(*host);
        ASSERT_EQ(records.fans.size(), 2u) << input;
        EXPECT_EQ(records.fans[0].speed, std::nullopt) << input;
        EXPECT_FALSE(records.fans[0].Turns());
        EXPECT_EQ(records.fans[1].speed, 900u);
        EXPECT_EQ(
            host.Line(),
            fmt::format("/sys/class/hwmon/hwmon0/fan1_input: expected a speed in revolutions per minute "
                        "(0 to 100000), found \"{}\"; skipped",
                        input));
    }
}

TEST(Fans, AnEmptySpeedIsARefusalOfTheKernelAndNeedsNoLine) {
    Tree tree;
    Chip(tree, 0, {"", "\n", "100000", "0"});
    HeardHost host(tree);
    const FanRecords records = FindFans(*host);
    ASSERT_EQ(records.fans.size(), 4u);
    EXPECT_EQ(records.fans[0].speed, std::nullopt);
    EXPECT_EQ(records.fans[1].speed, std::nullopt);
    EXPECT_EQ(records.fans[2].speed, 100000u);
    EXPECT_EQ(records.fans[3].speed, 0u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Fans, AnUnreadableOrOverlongSpeedIsSkippedWithOneLine) {
    Tree tree;
    const std::string dir = Chip(tree, 0, {});
    tree.Dir(dir + "fan1_input");
    HeardHost directory(tree);
    ASSERT_EQ(FindFans(*directory).fans.size(), 1u);
    EXPECT_EQ(FindFans(*directory).fans[0].speed, std::nullopt);
    EXPECT_EQ(directory.Line(),
              "/sys/class/hwmon/hwmon0/fan1_input: expected a regular file, found something else; skipped");

    Tree other;
    Chip(other, 0, {std::string(5000, '1').c_str()});
    HeardHost overlong(other);
    EXPECT_EQ(FindFans(*overlong).fans.at(0).speed, std::nullopt);
    EXPECT_EQ(overlong.Line(),
              "/sys/class/hwmon/hwmon0/fan1_input: expected at most 4096 bytes, found more; skipped");
}

struct FaultCase {
    const char *attribute;
    const char *content;
    uint32_t fault;
};

TEST(Fans, FaultsAndAlarmsOfTheChipAreToldApart) {
    for (const FaultCase &one : {FaultCase{"fan1_fault", "1", 1},
                                 {"fan1_fault", "0", 0},
                                 {"fan1_alarm", "1", 2},
                                 {"fan1_min_alarm", "1", 2},
                                 {"fan1_max_alarm", "1\n", 2},
                                 {"fan1_max_alarm", "0", 0},
                                 {"fan1_alarm", "", 0}}) {
        Tree tree;
        const std::string dir = Chip(tree, 0, {"1000"});
        tree.File(dir + one.attribute, one.content);
        HeardHost host(tree);
        EXPECT_EQ(FindFans(*host).fans.at(0).fault, one.fault) << one.attribute << one.content;
        EXPECT_EQ(host.lines(), Strings{});
    }
}

TEST(Fans, AFaultCountsForMoreThanAnAlarm) {
    Tree tree;
    const std::string dir = Chip(tree, 0, {"0"});
    tree.File(dir + "fan1_fault", "1").File(dir + "fan1_alarm", "1");
    HeardHost host(tree);
    EXPECT_EQ(FindFans(*host).fans.at(0).fault, 1u);
}

TEST(Fans, AFlagThatIsNeitherZeroNorOneIsSkippedWithOneLine) {
    Tree tree;
    tree.File(Chip(tree, 0, {"1000"}) + "fan1_alarm", "2");
    HeardHost host(tree);
    EXPECT_EQ(FindFans(*host).fans.at(0).fault, 0u);
    EXPECT_EQ(host.Line(),
              "/sys/class/hwmon/hwmon0/fan1_alarm: expected a flag (0 to 1), found \"2\"; skipped");
}

TEST(Fans, WithoutAlarmsTheLimitsJudgeTheSpeed) {
    struct Case {
        const char *speed, *least, *most;
        uint32_t fault;
    };
    for (const Case &one : {Case{"599", "600", "9000", 2},
                            {"600", "600", "9000", 0},
                            {"9000", "600", "9000", 0},
                            {"9001", "600", "9000", 2},
                            {"9001", "600", "0", 0},
                            {"", "600", "9000", 0},
                            {"0", "0", "9000", 0},
                            {"0", "", "", 0}}) {
        Tree tree;
        const std::string dir = Chip(tree, 0, {one.speed});
        tree.File(dir + "fan1_min", one.least).File(dir + "fan1_max", one.most);
        HeardHost host(tree);
        EXPECT_EQ(FindFans(*host).fans.at(0).fault, one.fault) << one.speed;
        // The chip knows better.
        tree.File(dir + "fan1_alarm", "0");
        EXPECT_EQ(FindFans(*host).fans.at(0).fault, 0u) << one.speed;
    }
}

TEST(Fans, OutputsAreReadWhereTheyAreOneToAFan) {
    Tree tree;
    const std::string dir = Chip(tree, 4, {"3000", "4000", "5000"}, "pwmchip");
    tree.File(dir + "pwm1", "0\n").File(dir + "pwm1_enable", "0");
    tree.File(dir + "pwm2", "128")
        .File(dir + "pwm2_enable", "1")
        .File(dir + "pwm2_mode", "0")
        .File(dir + "pwm2_freq", "25000");
    tree.File(dir + "pwm3", "255").File(dir + "pwm3_enable", "5");
    HeardHost host(tree);
    const FanRecords records = FindFans(*host);
    ASSERT_EQ(records.fans.size(), 3u);
    for (const Fan &fan : records.fans) ASSERT_TRUE(fan.output.has_value());
    EXPECT_EQ(records.fans[0].output->mode, MW_FAN_CTRL_FULL_SPEED);
    EXPECT_EQ(records.fans[0].output->raw, 0u);
    EXPECT_EQ(records.fans[0].output->wave, 1u);  // an output without a choice is one of pulse width
    EXPECT_EQ(records.fans[0].output->frequency, 0u);
    const FanOutput &second = *records.fans[1].output;
    EXPECT_EQ(second.channel, 2u);
    EXPECT_EQ(second.mode, MW_FAN_CTRL_MANUAL);
    EXPECT_EQ(second.raw, 128u);
    EXPECT_EQ(second.frequency, 25000u);
    EXPECT_EQ(second.wave, 0u);
    EXPECT_EQ(second.source, "hwmon4/pwm2");
    EXPECT_EQ(records.fans[2].output->mode, MW_FAN_CTRL_AUTO);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Fans, WhereNothingSaysWhichOutputDrivesAFanNoneDoes) {
    Tree tree;
    const std::string dir = Chip(tree, 0, {"3000", "4000"});
    tree.File(dir + "pwm1", "100").File(dir + "pwm1_enable", "1");
    HeardHost host(tree);
    for (const Fan &fan : FindFans(*host).fans) EXPECT_FALSE(fan.output.has_value());
}

TEST(Fans, ADutyCycleThatCannotBeIsNoOutput) {
    Tree tree;
    tree.File(Chip(tree, 0, {"3000"}) + "pwm1", "256");
    HeardHost host(tree);
    EXPECT_FALSE(FindFans(*host).fans.at(0).output.has_value());
    EXPECT_EQ(host.Line(),
              "/sys/class/hwmon/hwmon0/pwm1: expected a duty cycle (0 to 255), found \"256\"; skipped");
}

TEST(Fans, TwoRotorsOfOneLabelAreOneFan) {
    for (const auto &[front, rear] :
         {std::pair{"FAN3 Front", "FAN3 Rear"}, {"FAN3_INLET", "FAN3_OUTLET"}, {"FAN3front", "FAN3rear"}}) {
        Tree tree;
        const std::string dir = Chip(tree, 0, {"3000", "2800", "900"});
        tree.File(dir + "fan1_label", front).File(dir + "fan2_label", rear).File(dir + "fan2_fault", "1");
        tree.File(dir + "fan3_label", "FAN9");
        HeardHost host(tree);
        const FanRecords records = FindFans(*host);
        ASSERT_EQ(records.fans.size(), 2u) << front;
        EXPECT_EQ(records.fans[0].name, "FAN3");
        EXPECT_EQ(records.fans[0].label, front);
        EXPECT_EQ(records.fans[0].silk, 3u);
        EXPECT_EQ(records.fans[0].rotors, 2u);
        EXPECT_EQ(records.fans[0].speed, 3000u);
        EXPECT_EQ(records.fans[0].rear_speed, 2800u);
        EXPECT_EQ(records.fans[0].fault, 1u);
        EXPECT_EQ(records.fans[1].rotors, 1u);
        EXPECT_EQ(records.fans[1].silk, 9u);
    }
}

TEST(Fans, RotorsOfDifferentFansStayApart) {
    Tree tree;
    const std::string dir = Chip(tree, 0, {"3000", "2800", "1000", "900"});
    tree.File(dir + "fan1_label", "FAN1 Front").File(dir + "fan2_label", "FAN2 Rear");
    tree.File(dir + "fan3_label", "Rear").File(dir + "fan4_label", "FAN1 Front");
    HeardHost host(tree);
    EXPECT_EQ(FindFans(*host).fans.size(), 4u);
}

TEST(Fans, NumbersComeFromTheLabelsOnlyWhereEachHasOne) {
    Tree tree;
    const std::string dir = Chip(tree, 0, {"1000", "1000", "1000"});
    const auto silks = [&](const char *first, const char *second, const char *third) {
        tree.File(dir + "fan1_label", first).File(dir + "fan2_label", second).File(dir + "fan3_label", third);
        HeardHost host(tree);
        std::vector<uint32_t> numbers;
        for (const Fan &fan : FindFans(*host).fans) numbers.push_back(fan.silk);
        return numbers;
    };
    using Numbers = std::vector<uint32_t>;
    EXPECT_EQ(silks("FAN 4", "FAN 0", "FAN_12"), (Numbers{4, 0, 12}));
    EXPECT_EQ(silks("FAN 4", "FAN 4", "FAN 5"), (Numbers{1, 2, 3}));
    EXPECT_EQ(silks("FAN 4", "CPU", "FAN 5"), (Numbers{1, 2, 3}));
    EXPECT_EQ(silks("FAN 4", "", "FAN 5"), (Numbers{1, 2, 3}));
    EXPECT_EQ(silks("FAN 4", "FAN 99999999999", "FAN 5"), (Numbers{1, 2, 3}));
}

TEST(Fans, ChipsAndChannelsGoByNumber) {
    Tree tree;
    Chip(tree, 10, {"1010"}, "ten");
    const std::string dir = Chip(tree, 2, {"1", "2"}, "two");
    tree.File(dir + "fan10_input", "10").File(dir + "fanx_input", "99").File(dir + "fan3_min", "99");
    HeardHost host(tree);
    std::vector<uint32_t> speeds;
    for (const Fan &fan : FindFans(*host).fans) speeds.push_back(fan.speed.value_or(0));
    EXPECT_EQ(speeds, (std::vector<uint32_t>{1, 2, 10, 1010}));
}

TEST(Fans, FansOfPowerSuppliesAndGraphicsCardsAreTheirs) {
    Tree tree;
    tree.File(Chip(tree, 0, {"5000"}) + "in1_label", "vin\n");
    tree.File(Chip(tree, 1, {"5100", "5200"}) + "device/class", "0x030000\n");
    tree.File(Chip(tree, 2, {"5300"}) + "device/class", "0x0c8000\n")
        .File(std::string(kHwmon) + "hwmon2/in1_label", "+12V");
    HeardHost host(tree);
    const FanRecords records = FindFans(*host);
    ASSERT_EQ(records.fans.size(), 1u);
    EXPECT_EQ(records.fans[0].speed, 5300u);
    EXPECT_EQ(records.others, 3u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Fans, MoreThanThereIsRoomForAreCut) {
    Tree tree;
    Chip(tree, 0, std::vector<const char *>(16, "1000"));
    {
        HeardHost host(tree);
        EXPECT_EQ(FindFans(*host).fans.size(), 16u);
        EXPECT_EQ(FindFans(*host).left_out, 0u);
    }
    Chip(tree, 1, {"2000", "2000", "2000"});
    HeardHost host(tree);
    const FanRecords records = FindFans(*host);
    EXPECT_EQ(records.fans.size(), MW_FAN_MAX);
    EXPECT_EQ(records.left_out, 3u);
}

// --- what reaches the area

class FanStore : public OnBlankArea {
  protected:
    void SetUp() override {
        OnBlankArea::SetUp();
        dir_ = Chip(tree_, 3, {"8400", "0"}, "controller");
        tree_.File(dir_ + "fan1_label", "FAN1").File(dir_ + "fan2_label", "FAN2");
        tree_.File(dir_ + "fan1_min", "600").File(dir_ + "fan1_max", "16000").File(dir_ + "fan2_fault", "1");
    }
    void AddOutputs() {
        tree_.File(dir_ + "pwm1", "128").File(dir_ + "pwm1_enable", "1").File(dir_ + "pwm1_freq", "25000");
        tree_.File(dir_ + "pwm2", "255").File(dir_ + "pwm2_enable", "2").File(dir_ + "fan1_target", "8500");
    }

    static std::vector<FanOnlinePhyInfo> Online() { return Read<FanOnlinePhyInfo>(MW_GetFanOnlinePhyInfo); }
    static std::vector<FanControlPhyInfo> Controls() {
        return Read<FanControlPhyInfo>(MW_GetFanControlPhyInfo);
    }
    static std::vector<FanAssetInfo> Assets() { return Read<FanAssetInfo>(MW_GetFanAssetInfo); }
    static std::pair<uint32_t, uint32_t> Count() {
        std::pair<uint32_t, uint32_t> count{99, 99};
        EXPECT_EQ(MW_GetFanCount(&count.first, &count.second), 0);
        return count;
    }

    Tree tree_;
    std::string dir_;

  private:
    template <typename T, typename Getter>
    static std::vector<T> Read(Getter get) {
        std::vector<T> records(MW_FAN_MAX);
        uint32_t count = 0;
        EXPECT_EQ(get(records.data(), &count), 0);
        EXPECT_LE(count, MW_FAN_MAX);
        records.resize(count);
        return records;
    }
};

TEST_F(FanStore, SpeedsPresenceAndLabelsAreStored) {
    EXPECT_EQ(Once("fan", tree_), 4u);
    EXPECT_EQ(Count(), std::pair(2u, 1u));
    const auto online = Online();
    ASSERT_EQ(online.size(), 2u);
    EXPECT_EQ(online[0].dwFanSilkNum, 1u);
    EXPECT_EQ(online[0].dwPresent, 1u);
    EXPECT_EQ(online[0].dwSpeed, 8400u);
    EXPECT_EQ(online[0].dwRearSpeed, 0u);
    EXPECT_EQ(online[0].dwMinSpeed, 600u);
    EXPECT_EQ(online[0].dwMaxSpeed, 16000u);
    EXPECT_EQ(online[0].dwFault, 0u);
    EXPECT_STREQ(online[0].acLabel, "FAN1");
    EXPECT_EQ(online[1].dwPresent, 0u);  // nothing says that a fan is plugged in there
    EXPECT_EQ(online[1].dwSpeed, 0u);
    EXPECT_EQ(online[1].dwFault, 1u);
    const auto assets = Assets();
    ASSERT_EQ(assets.size(), 2u);
    EXPECT_STREQ(assets[0].acFanName, "FAN1");
    EXPECT_EQ(assets[0].dwFanSilkNum, 1u);
    EXPECT_EQ(assets[0].dwFanPresent, 1u);
    EXPECT_EQ(assets[0].dwFanSpeed, 8400u);
    EXPECT_EQ(assets[0].dwRotorNum, 1u);
    EXPECT_EQ(assets[0].dwFanDutyPercent, 0u);
    EXPECT_EQ(assets[1].dwFanPresent, 0u);
    EXPECT_EQ(assets[1].dwFanSilkNum, 2u);
}

TEST_F(FanStore, OutputsReachTheAssetsToo) {
    AddOutputs();
    EXPECT_EQ(Once("fan", tree_), 6u);
    const auto controls = Controls();
    ASSERT_EQ(controls.size(), 2u);
    EXPECT_EQ(controls[0].dwFanSilkNum, 1u);
    EXPECT_EQ(controls[0].dwPwmChannel, 1u);
    EXPECT_EQ(controls[0].dwPwmFrequency, 25000u);
    EXPECT_EQ(controls[0].dwPwmMode, 1u);
    EXPECT_EQ(controls[0].tState.dwMode, MW_FAN_CTRL_MANUAL);
    EXPECT_EQ(controls[0].tState.dwDutyPercent, 50u);
    EXPECT_EQ(controls[0].tState.dwTargetSpeed, 8500u);
    EXPECT_EQ(controls[0].tState.dwPwmRaw, 128u);
    EXPECT_STREQ(controls[0].tState.acZone, "controller");
    EXPECT_STREQ(controls[0].acSource, "hwmon3/pwm1");
    EXPECT_EQ(controls[1].tState.dwMode, MW_FAN_CTRL_AUTO);
    EXPECT_EQ(controls[1].tState.dwDutyPercent, 100u);
    const auto assets = Assets();
    EXPECT_EQ(assets[0].dwFanDutyPercent, 50u);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(std::memcmp(assets[i].aucFanCtrlCopy, &controls[i].tState, sizeof controls[i].tState), 0);
    }
}

TEST_F(FanStore, LaterRoundsLeaveHealthPolicyAndOthersFieldsAlone) {
    AddOutputs();
    HeardHost host(tree_);
    const auto collector = New("fan");
    Round(*collector, host);
    ASSERT_EQ(MW_SetFanHealthyStatusInfo(2, 3, 4), 0);
    const ThermalPolicy policy{MW_THERMAL_POLICY_MANUAL, 40};
    ASSERT_EQ(MW_SetThermalPolicy(&policy), 0);
    ASSERT_EQ(MW_SetFanRedundancyStates(5), 0);
    ASSERT_EQ(MW_SetFanTotalPower(60), 0);
    auto assets = Assets();
    std::strcpy(assets[1].acSerialNum, "S1");
    assets[1].dwFanType = 9;
    ASSERT_EQ(MW_SetFanAssetInfo(assets.data(), 2), 0);
    auto controls = Controls();
    controls[0].dwMinDutyPercent = 20;
    ASSERT_EQ(MW_SetFanControlPhyInfo(controls.data(), 2), 0);
    ASSERT_EQ(MW_SetFanPresentInfo(1, 1), 0);  // whoever knows that it is plugged in
    tree_.File(dir_ + "fan1_input", "9100").File(dir_ + "pwm1", "200");

    for (int other = 0; other < 2; ++other) {
        if (other == 0) {
            Round(*collector, host);
        } else {
            Once("fan", tree_);
        }
        uint32_t word = 0;
        EXPECT_EQ(MW_GetFanHealthyStatusInfoByInst(2, &word), 0);
        EXPECT_EQ(word, 3u);
        EXPECT_EQ(MW_GetFanHealthyStatusInfoByTotal(&word), 0);
        EXPECT_EQ(word, 4u);
        ThermalPolicy now{};
        EXPECT_EQ(MW_GetThermalPolicy(&now), 0);
        EXPECT_EQ(now.dwPolicy, MW_THERMAL_POLICY_MANUAL);
        EXPECT_EQ(now.dwPolicyValue, 40u);
        EXPECT_EQ(MW_GetFanRedundancyStates(&word), 0);
        EXPECT_EQ(word, 5u);
        EXPECT_EQ(MW_GetFanTotalPower(&word), 0);
        EXPECT_EQ(word, 60u);
        EXPECT_STREQ(Assets()[1].acSerialNum, "S1");
        EXPECT_EQ(Assets()[1].dwFanType, 9u);
        EXPECT_EQ(Assets()[1].dwFanPresent, 1u);
        EXPECT_EQ(Online()[1].dwPresent, 1u);
        EXPECT_EQ(Online()[0].dwSpeed, 9100u);
        EXPECT_EQ(Assets()[0].dwFanSpeed, 9100u);
        EXPECT_EQ(Controls()[0].dwMinDutyPercent, 20u);
        EXPECT_EQ(Controls()[0].tState.dwPwmRaw, 200u);
    }
}

TEST_F(FanStore, AFanThatStopsIsStillThere) {
    HeardHost host(tree_);
    const auto collector = New("fan");
    Round(*collector, host);
    tree_.File(dir_ + "fan1_input", "0");
    Round(*collector, host);
    EXPECT_EQ(Count(), std::pair(2u, 1u));
    EXPECT_EQ(Online()[0].dwPresent, 1u);
    EXPECT_EQ(Online()[0].dwSpeed, 0u);
    EXPECT_EQ(Online()[0].dwFault, 2u);  // below its limit
    tree_.File(dir_ + "fan1_input", "garbage");
    Round(*collector, host);
    EXPECT_EQ(Online()[0].dwPresent, 1u);
    EXPECT_EQ(Online()[0].dwFault, 0u);
    EXPECT_EQ(Assets()[0].dwFanSpeed, 0u);
}

TEST_F(FanStore, AnotherFanInTheSlotStartsWithABlankAssetRecord) {
    Once("fan", tree_);
    auto assets = Assets();
    std::strcpy(assets[1].acSerialNum, "S1");
    ASSERT_EQ(MW_SetFanAssetInfo(assets.data(), 2), 0);
    tree_.File(dir_ + "fan2_label", "FAN8");
    Once("fan", tree_);
    EXPECT_STREQ(Assets()[1].acFanName, "FAN8");
    EXPECT_STREQ(Assets()[1].acSerialNum, "");
}

TEST_F(FanStore, ControlRecordsOfOthersStayWhereTheHostShowsNoOutput) {
    FanControlPhyInfo controls[2]{};
    controls[1].tState.dwDutyPercent = 33;
    ASSERT_EQ(MW_SetFanControlPhyInfo(controls, 2), 0);
    Once("fan", tree_);
    EXPECT_EQ(Controls()[1].tState.dwDutyPercent, 33u);
}

TEST_F(FanStore, WithoutFansNothingIsWritten) {
    ASSERT_EQ(MW_SetFanCount(3), 0);
    Tree empty;
    EXPECT_EQ(Once("fan", empty), 0u);
    EXPECT_EQ(Count(), std::pair(3u, 0u));
}

TEST_F(FanStore, FansThatAreGoneAreNoLongerCounted) {
    HeardHost host(tree_);
    const auto collector = New("fan");
    Round(*collector, host);
    std::filesystem::remove_all(tree_.top() + "/sys");
    EXPECT_EQ(Round(*collector, host), 1u);
    EXPECT_EQ(Count().first, 0u);
    EXPECT_EQ(Round(*collector, host), 0u);  // said once
}

TEST_F(FanStore, ACountThatOthersLeftTooHighDoesNoHarm) {
    ASSERT_EQ(MW_SetFanCount(1000), 0);
    EXPECT_EQ(Once("fan", tree_), 4u);
    EXPECT_EQ(Count(), std::pair(2u, 1u));
}

TEST_F(FanStore, ACountThatLeadsOutOfTheAreaIsMendedAndTheRecordsAreKept) {
    Once("fan", tree_);
    auto assets = Assets();
    std::strcpy(assets[1].acSerialNum, "S1");
    ASSERT_EQ(MW_SetFanAssetInfo(assets.data(), 2), 0);
    ASSERT_EQ(MW_SetFanCount(0xFFFFFFFF), 0);
    EXPECT_EQ(Once("fan", tree_), 5u);
    EXPECT_EQ(Count(), std::pair(2u, 1u));
    EXPECT_STREQ(Assets()[1].acSerialNum, "S1");
}

TEST_F(FanStore, WhatIsLeftOutIsSaidOnce) {
    Chip(tree_, 4, std::vector<const char *>(20, "1000"));
    HeardHost host(tree_);
    const auto collector = New("fan");
    Round(*collector, host);
    Round(*collector, host);
    EXPECT_EQ(Count().first, 16u);
    EXPECT_EQ(host.Line(), "fans: 6 of 22 left out, there is room for 16");
}

TEST_F(FanStore, LongLabelsAreCutAndTerminated) {
    tree_.File(dir_ + "fan1_label", std::string(100, 'L'))
        .File(dir_ + "fan2_label", "sixteen bytes \xc3\xa4\xc3\xa4");
    Once("fan", tree_);
    EXPECT_EQ(std::string(Online()[0].acLabel), std::string(15, 'L'));
    EXPECT_EQ(std::string(Assets()[0].acFanName), std::string(31, 'L'));
    EXPECT_STREQ(Online()[1].acLabel, "sixteen bytes ");
}

}  // namespace
}  // namespace collect
