// The simulated machine: by itself, as the collectors read it, and as the program keeps it.
#include <sys/stat.h>

#include <set>

#include "area.h"
#include "program.h"
#include "simulate.h"

namespace collect {
namespace {

constexpr uint32_t kWholeStory = kModuleFails + 5;  // rounds until everything has happened

TEST(SimulatedServer, IsTheSameForTheSameSeedAndRound) {
    for (const uint32_t round : {0u, 45u, UINT32_MAX}) {
        const SimulatedFiles one = SimulateServer(7, round);
        const SimulatedFiles other = SimulateServer(7, round);
        EXPECT_TRUE(one.files == other.files && one.links == other.links) << round;
    }
}

TEST(SimulatedServer, HasOtherReadingsForAnotherSeedAndInAnotherRound) {
    const std::string sensor = "/sys/class/hwmon/hwmon0/temp1_input";
    std::set<std::string> found;
    for (uint32_t seed = 0; seed < 4; ++seed) found.insert(SimulateServer(seed, 3).files.at(sensor));
    for (uint32_t round = 4; round < 8; ++round) found.insert(SimulateServer(0, round).files.at(sensor));
    EXPECT_EQ(found.size(), 8u);
}

TEST(SimulatedServer, HasTheSameFilesInEveryRound) {
    const SimulatedFiles first = SimulateServer(kUsualSeed, 0);
    const SimulatedFiles last = SimulateServer(kUsualSeed, kWholeStory);
    EXPECT_EQ(first.links, last.links);
    EXPECT_TRUE(std::equal(first.files.begin(), first.files.end(), last.files.begin(), last.files.end(),
                           [](const auto &a, const auto &b) { return a.first == b.first; }));
}

TEST(SimulatedServer, HasTemperaturesThatWanderInPlausibleRanges) {
    for (const uint32_t seed : {kUsualSeed, 4711u}) {
        std::map<std::string, std::pair<int, int>> seen;  // thousandths of a degree, from and to
        for (uint32_t round = 0; round < 200; ++round) {
            for (const auto &[path, content] : SimulateServer(seed, round).files) {
                if (path.find("/temp") == path.npos || !path.ends_with("_input")) continue;
                const int now = ParseNumber<int>(content).value_or(0);
                auto &[least, most] = seen.try_emplace(path, now, now).first->second;
                least = std::min(least, now);
                most = std::max(most, now);
            }
        }
        EXPECT_GE(seen.size(), 28u);
        for (const auto &[path, range] : seen) {
            EXPECT_GE(range.first, 20'000) << path;
            EXPECT_LE(range.second, 75'000) << path;
            EXPECT_GE(range.second - range.first, 1'000) << path << " stands still";
        }
    }
}

// One that goes from round to round as the program does, and what its collectors leave in the area.
class SimulatedRounds : public OnBlankArea {
  protected:
    void Show(uint32_t round, std::initializer_list<std::string_view> collectors) {
        if (collectors_.empty()) {
            for (const std::string_view name : collectors) collectors_.push_back(New(name));
        }
        ASSERT_EQ(simulation_.Show(round), "");
        if (!host_) host_ = std::make_unique<HeardHost>(simulation_.root());
        for (const auto &collector : collectors_) Round(*collector, *host_);
        ASSERT_EQ(host_->lines(), Strings{});
    }

    static std::vector<FanOnlinePhyInfo> Fans() {
        std::vector<FanOnlinePhyInfo> fans(MW_FAN_MAX);
        uint32_t count = 0;
        EXPECT_EQ(MW_GetFanOnlinePhyInfo(fans.data(), &count), 0);
        fans.resize(count);
        return fans;
    }
    static std::vector<PemAsset> Supplies() {
        std::vector<PemAsset> supplies(MW_PEM_MAX);
        uint32_t count = 0;
        EXPECT_EQ(MW_GetPemAssetInfo(supplies.data(), &count), 0);
        supplies.resize(count);
        return supplies;
    }
    static MemAlarmInfo Alarms(uint32_t dimm) {
        MemAlarmInfo alarms{};
        EXPECT_EQ(MW_GetMemAlarmInfoByDimmNum(&alarms, dimm), 0);
        return alarms;
    }

    Simulation simulation_{kUsualSeed};
    std::unique_ptr<HeardHost> host_;
    std::vector<std::unique_ptr<Collector>> collectors_;
};

TEST_F(SimulatedRounds, TheSensorsOfProcessorsModulesAndAirAreRead) {
    for (const uint32_t round : {0u, 1u, 100u}) {
        ASSERT_NO_FATAL_FAILURE(Show(round, {"cpu", "memory", "board"}));
        const auto expect = [&](const std::string &sensor, int reading, int unit = 1000) {
            const std::string path = fmt::format("/sys/class/hwmon/{}_input", sensor);
            const int milli = ParseNumber<int>(SimulateServer(kUsualSeed, round).files.at(path)).value_or(0);
            EXPECT_EQ(reading, (milli + unit / 2) / unit) << sensor << " in round " << round;
        };
        uint32_t count = 0;
        CpuTempInfo processors[MW_CPU_MAX];
        ASSERT_EQ(MW_GetCpuTempInfo(processors, &count), 0);
        ASSERT_EQ(count, 2u);
        expect("hwmon0/temp1", processors[0].iCurTemp);
        expect("hwmon1/temp1", processors[1].iCurTemp);
        MemTempInfo modules[MW_MEM_DIMM_MAX];
        ASSERT_EQ(MW_GetMemTempInfo(modules, &count), 0);
        ASSERT_EQ(count, 32u);
        for (uint32_t i = 0; i < count; i += 2) {  // every other slot is empty
            EXPECT_EQ(+modules[i + 1].ucTempValid, 0u) << i;
            expect(fmt::format("hwmon{}/temp1", 2 + i / 2), modules[i].iTemp);
        }
        InletTempInfo inlets{};
        ASSERT_EQ(MW_GetInletTempInfo(&inlets), 0);
        ASSERT_EQ(+inlets.dwInletTempCnt, 2u);
        expect("hwmon18/temp1", inlets.atInletTemp[0].sTemp, 100);
        expect("hwmon18/temp2", inlets.atInletTemp[1].sTemp, 100);
    }
}

TEST_F(SimulatedRounds, AFanSlowsDownAndStops) {
    uint32_t before = 0;
    for (const uint32_t round : {0u, kFanSlows - 1, kFanSlows, kFanSlows + 2, kFanSlows + 5, kFanStops - 1,
                                 kFanStops, kWholeStory}) {
        ASSERT_NO_FATAL_FAILURE(Show(round, {"fan"}));
        const std::vector<FanOnlinePhyInfo> fans = Fans();
        ASSERT_EQ(fans.size(), 6u);
        for (const FanOnlinePhyInfo &fan : fans) {
            const bool failing = fan.dwFanSilkNum == kFailingFan;
            if (!failing || round < kFanSlows) {
                EXPECT_GT(+fan.dwSpeed, 5000u) << round;
                EXPECT_EQ(+fan.dwFault, 0u) << round;
            }
            if (!failing) continue;
            if (round >= kFanSlows && round < kFanStops) {
                EXPECT_LT(+fan.dwSpeed, before) << round;
            }
            EXPECT_EQ(+fan.dwSpeed == 0, round >= kFanStops) << round;
            EXPECT_EQ(+fan.dwFault == 1, round >= kFanStops) << round;
            before = fan.dwSpeed;
        }
    }
}

TEST_F(SimulatedRounds, AMemoryModuleReportsErrors) {
    uint32_t before = 0;
    for (const uint32_t round :
         {0u, kModuleErrs - 1, kModuleErrs, kModuleErrs + 1, kModuleFails - 1, kModuleFails}) {
        ASSERT_NO_FATAL_FAILURE(Show(round, {"memory"}));
        for (uint32_t dimm = 1; dimm <= 32; ++dimm) {
            const MemAlarmInfo alarms = Alarms(dimm);
            const bool failing = dimm == kFailingModule;
            const uint32_t errors = alarms.ucCorrectECCCnt;
            EXPECT_EQ(errors > 0, failing && round >= kModuleErrs) << dimm << " in round " << round;
            EXPECT_EQ(+alarms.ucCorrectECCState == 1, failing && round >= kModuleErrs)
                << dimm << " in round " << round;
            EXPECT_EQ(+alarms.ucUnCorrectECCState == 1, failing && round >= kModuleFails)
                << dimm << " in round " << round;
            if (!failing || round < kModuleErrs) continue;
            EXPECT_GT(errors, before) << round;
            before = errors;
        }
    }
}

TEST_F(SimulatedRounds, APowerSupplyLosesItsInputAndTheOtherOneTakesOver) {
    for (const uint32_t round : {0u, kSupplyLost - 1, kSupplyLost, kWholeStory}) {
        ASSERT_NO_FATAL_FAILURE(Show(round, {"pem"}));
        const std::vector<PemAsset> supplies = Supplies();
        ASSERT_EQ(supplies.size(), 2u);
        for (const PemAsset &supply : supplies) {
            const bool lost = supply.dwPemIndex == kFailingSupply && round >= kSupplyLost;
            const PemStatusInfo &status = supply.tStatusInfo;
            EXPECT_EQ(+supply.dwPresentStatus, 1u);
            EXPECT_EQ((status.dwSensorState & MW_PEM_SENSOR_INPUT_LOST) != 0, lost) << round;
            EXPECT_EQ(+status.dwInputVoltage == 0, lost) << round;
            EXPECT_EQ(+status.dwOutputPower == 0, lost) << round;
            // The whole machine takes 240 to 495 W.
            const uint32_t least = lost ? 0 : round >= kSupplyLost ? 235'000 : 117'000;
            const uint32_t most = lost ? 0 : round >= kSupplyLost ? 500'000 : 250'000;
            EXPECT_GE(+status.dwOutputPower, least) << round;
            EXPECT_LE(+status.dwOutputPower, most) << round;
        }
    }
}

TEST_F(SimulatedRounds, ARoundThatIsBegunWithIsAsItIsInPassing) {
    const auto file = [](const Simulation &simulation, const std::string &path) {
        HeardHost host(simulation.root());
        return host->File(path).value_or("");
    };
    Simulation jumped(kUsualSeed);
    for (uint32_t round = 0; round <= 3; ++round) ASSERT_EQ(simulation_.Show(round), "");
    ASSERT_EQ(jumped.Show(3), "");
    for (const auto &[path, content] : SimulateServer(kUsualSeed, 3).files) {
        ASSERT_EQ(file(simulation_, path), content) << path;
        ASSERT_EQ(file(jumped, path), content) << path;
    }
}

// --- the program

class SimulatingProgram : public OnBlankArea {
  protected:
    Ended Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "--simulate");
        Ended ended = RunProgram(arguments, {}, {{"TMPDIR", place_.top()}});
        EXPECT_EQ(Left(), 0u) << "not cleared away";
        return ended;
    }
    // What there is of simulated machines.
    size_t Left() const {
        const std::filesystem::directory_iterator entries(place_.top());
        return static_cast<size_t>(std::distance(begin(entries), end(entries)));
    }
    // All of it but for the moments at which the library has taken the modules' temperatures.
    static std::string Area() {
        constexpr size_t kStates = 5652;
        constexpr size_t kMoment = offsetof(MemStatusInfo, tTempInfo) + offsetof(MemTempInfo, dwUpdateTime);
        std::ifstream file(std::string(std::getenv("MIDWARE_ROOT")) + "/dev/shm/midware-4099",
                           std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(file), {}};
        EXPECT_EQ(bytes.size(), MW_AREA_SIZE);
        for (size_t i = 0; i < MW_MEM_DIMM_MAX; ++i)
            bytes.replace(kStates + i * sizeof(MemStatusInfo) + kMoment, 4, 4, '\0');
        return bytes;
    }
    static uint32_t FailingFanSpeed() {
        FanOnlinePhyInfo fans[MW_FAN_MAX];
        uint32_t count = 0;
        if (MW_GetFanOnlinePhyInfo(fans, &count) != 0 || count < kFailingFan) return UINT32_MAX;
        return fans[kFailingFan - 1].dwSpeed;
    }

    Tree place_;
};

TEST_F(SimulatingProgram, LeavesTheSameAreaForTheSameSeedAndRound) {
    std::set<std::string> areas;
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{}, {"--round", "60"}, {"--seed", "2"}, {"--seed", "2", "--round", "60"}}) {
        std::string first;
        for (int time = 0; time < 2; ++time) {
            ASSERT_EQ(MW_MidWareInit(), 0);
            const Ended ended = Run(arguments);
            ASSERT_EQ(ended.code, 0) << ended.err;
            if (time == 0) first = Area();
        }
        EXPECT_TRUE(Area() == first) << ::testing::PrintToString(arguments);
        areas.insert(first);
    }
    EXPECT_EQ(areas.size(), 4u);
    ASSERT_EQ(MW_MidWareInit(), 0);
    ASSERT_EQ(Run({"--once", "--round", "0", "--seed", std::to_string(kUsualSeed)}).code, 0);
    EXPECT_EQ(areas.count(Area()), 1u) << "the defaults are others";
}

TEST_F(SimulatingProgram, FeedsEveryCollectorAndNothingIsAmiss) {
    const Ended ended = Run({"--verbose"});
    EXPECT_EQ(ended.code, 0);
    EXPECT_EQ(ended.err, "");
    EXPECT_NE(ended.out.find(", refused: 0\n"), std::string::npos) << ended.out;
    for (const CollectorType &type : CollectorTypes()) {
        const bool wrote =
            ("\n" + ended.out).find(fmt::format("\n{}: nothing\n", type.name)) == std::string::npos;
        // The use of a file system cannot be read from files.
        EXPECT_EQ(wrote, type.name != "partitions") << type.name;
    }
}

TEST_F(SimulatingProgram, RunsTheNamedCollectorsOnly) {
    EXPECT_EQ(Run({"--only", "fan"}).code, 0);
    EXPECT_NE(FailingFanSpeed(), UINT32_MAX);
    uint32_t count = 1;
    ASSERT_EQ(MW_GetCpuCount(&count), 0);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(Run({"--list"}).out, RunProgram({"--list"}).out);
}

TEST_F(SimulatingProgram, BeginsAtTheRoundAndGoesOnByOneAtEachInterval) {
    Program program(
        {"--simulate", "--round", std::to_string(kFanStops - 2), "--interval", "0.3", "--only", "fan"}, {},
        {{"TMPDIR", place_.top()}});
    std::set<uint32_t> speeds;
    EXPECT_TRUE(Soon([&] { return *speeds.insert(FailingFanSpeed()).first == 0; }));
    EXPECT_TRUE(speeds.upper_bound(0) != speeds.end() && *speeds.upper_bound(0) < 3000) << "never turned";
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait().code, 0);
}

TEST_F(SimulatingProgram, ClearsTheMachineAwayWhateverEndsIt) {
    for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
        Program program({"--simulate", "--interval", "3600"}, {}, {{"TMPDIR", place_.top()}});
        ASSERT_TRUE(Soon([&] { return Left() == 1; }));
        const std::string root = std::filesystem::directory_iterator(place_.top())->path();
        struct stat status {};
        ASSERT_EQ(stat(root.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777u, 0700u) << "strangers look in";
        program.Signal(number);
        const Ended ended = program.Wait();
        EXPECT_EQ(ended.code, 0) << ended.err;
        EXPECT_EQ(Left(), 0u) << strsignal(number);
    }
}

TEST_F(SimulatingProgram, ClearsTheMachineAwayWhenThereIsNoArea) {
    Tree elsewhere;
    EXPECT_EQ(RunProgram({"--simulate"}, elsewhere.top(), {{"TMPDIR", place_.top()}}).code, 1);
    EXPECT_EQ(Left(), 0u);
}

TEST_F(SimulatingProgram, SaysInOneLineWhyTheMachineCannotBeLaidOut) {
    const std::string missing = place_.top() + "/missing";
    Ended ended = RunProgram({"--simulate"}, {}, {{"TMPDIR", missing}});
    EXPECT_EQ(ended.code, 1);
    EXPECT_EQ(ended.err, "mwcollect: the simulated machine could not be laid out: " + missing +
                             ": No such file or directory; TMPDIR names another directory to "
                             "lay it out in\n");

    // Where the machine's own directory can still be made, but not all that lies in it.
    std::string deep = place_.top();
    while (deep.size() + 201 < PATH_MAX - 30) deep += "/" + std::string(200, 'd');
    if (deep.size() < PATH_MAX - 60) deep += "/" + std::string(PATH_MAX - 40 - deep.size(), 'd');
    std::filesystem::create_directories(deep);
    ended = RunProgram({"--simulate"}, {}, {{"TMPDIR", deep}});
    EXPECT_EQ(ended.code, 1);
    EXPECT_NE(ended.err.find("File name too long; TMPDIR names another directory"), std::string::npos)
        << ended.err;
    EXPECT_EQ(std::count(ended.err.begin(), ended.err.end(), '\n'), 1);
    EXPECT_TRUE(std::filesystem::is_empty(deep));
}

}  // namespace
}  // namespace collect
