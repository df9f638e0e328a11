#include "collectors/cpu.h"
#include "midware/cpu.h"
#include "smbios_builder.h"
#include "tree.h"

namespace collect {
namespace {

std::string X86Block(uint32_t cpu, uint32_t package, const char *vendor = "VendorString") {
    return fmt::format(
        "processor\t: {}\nvendor_id\t: {}\ncpu family\t: 6\nmodel\t\t: 143\nmodel name\t: Model  X "
        "1234\nstepping\t: 8\n"
        "microcode\t: 0x2b000461\ncpu MHz\t\t: 2700.6\nphysical id\t: {}\ncpu cores\t: 2\nflags\t\t: fpu lm\n"
        "power management:\n\n",
        cpu, vendor, package);
}

std::string CpuPath(uint32_t cpu, const std::string &below) {
    return fmt::format("/sys/devices/system/cpu/cpu{}{}", cpu, below);
}

// Two threads a core, two cores a package, two packages numbered as given.
void TwoPackages(Tree &tree, int64_t first, int64_t second) {
    std::string info;
    for (uint32_t cpu = 0; cpu < 8; ++cpu) {
        const int64_t package = cpu < 4 ? first : second;
        info += X86Block(cpu, static_cast<uint32_t>(package));
        tree.File(CpuPath(cpu, "/topology/physical_package_id"), fmt::format("{}\n", package));
        tree.File(CpuPath(cpu, "/topology/thread_siblings_list"),
                  fmt::format("{}-{}\n", cpu & ~1u, cpu | 1u));
    }
    tree.File("/proc/cpuinfo", info);
}

TEST(Cpu, PackagesCoresAndThreadsAreCounted) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.left_out, 0u);
    for (uint32_t i = 0; i < 2; ++i) {
        const CpuPackage &package = records.packages[i];
        EXPECT_EQ(package.id, i);
        EXPECT_EQ(package.cores, 2u);
        EXPECT_EQ(package.logical.size(), 4u);
        EXPECT_EQ(package.silk, i + 1);
        EXPECT_EQ(package.manufacturer, "VendorString");
        EXPECT_EQ(package.model, "Model  X 1234");
        EXPECT_EQ(package.microcode, "0x2b000461");
        EXPECT_EQ(package.architecture, "x86_64");
        EXPECT_EQ(package.family, 6u);
        EXPECT_EQ(package.model_number, 143u);
        EXPECT_EQ(package.stepping, 8u);
        EXPECT_EQ(package.frequency, 2701u);  // no cpufreq: cpuinfo's, rounded
        EXPECT_EQ(package.max_frequency, 0u);
        EXPECT_FALSE(package.temperature.current.has_value());
    }
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Cpu, PackageNumbersNeedNotFollowOneAnother) {
    Tree tree;
    TwoPackages(tree, 8442, 36);
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[0].id, 36);
    EXPECT_EQ(records.packages[1].id, 8442);
    EXPECT_EQ(records.packages[0].logical.front(), 4u);
}

TEST(Cpu, PackageNumberMinusOneIsOnePackage) {
    Tree tree;
    TwoPackages(tree, -1, -1);
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 1u);
    EXPECT_EQ(records.packages[0].id, -1);
    EXPECT_EQ(records.packages[0].logical.size(), 8u);
    EXPECT_EQ(records.packages[0].silk, 1u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Cpu, WithoutATopologyCpuinfoTellsThePackages) {
    Tree tree;
    tree.File("/proc/cpuinfo", X86Block(0, 0) + X86Block(1, 0) + X86Block(2, 7) + X86Block(3, 7));
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[1].id, 7);
    EXPECT_EQ(records.packages[1].cores, 2u);
    EXPECT_EQ(records.packages[1].logical.size(), 2u);
}

TEST(Cpu, AnOfflineProcessorIsNotCounted) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    tree.Dir(CpuPath(8, "")).File(CpuPath(8, "/online"), "0\n");
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[0].logical.size() + records.packages[1].logical.size(), 8u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Cpu, AGarbledPackageNumberFallsBackOnCpuinfoWithOneLine) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    tree.File(CpuPath(5, "/topology/physical_package_id"), "abc\n");
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[1].logical.size(), 4u);
    EXPECT_EQ(host.Line(),
              "/sys/devices/system/cpu/cpu5/topology/physical_package_id: expected a package number (-1 to "
              "2147483647), found \"abc\"; skipped");
}

TEST(Cpu, AProcessorOfNoKnownPackageIsNobodys) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    tree.File(CpuPath(8, "/topology/physical_package_id"), "-1\n");
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    EXPECT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(host.Line(),
              "/sys/devices/system/cpu: some processors belong to no known package; they are not counted");
}

TEST(Cpu, AMachineThatSaysNothingHasNoProcessors) {
    Tree tree;
    HeardHost host(tree);
    EXPECT_TRUE(FindCpus(*host).packages.empty());
    tree.File("/proc/cpuinfo", "");
    EXPECT_TRUE(FindCpus(*host).packages.empty());
    tree.File("/proc/cpuinfo", "no colon here\nprocessor : x\nmodel name : y\n:\nprocessor\n");
    EXPECT_TRUE(FindCpus(*host).packages.empty());
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Cpu, MoreThanEightPackagesAreLeftOut) {
    Tree tree;
    for (uint32_t cpu = 0; cpu < 11; ++cpu)
        tree.File(CpuPath(cpu, "/topology/physical_package_id"), std::to_string(cpu * 3));
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    EXPECT_EQ(records.packages.size(), MW_CPU_MAX);
    EXPECT_EQ(records.packages.back().id, 21);
    EXPECT_EQ(records.left_out, 3u);
}

TEST(Cpu, FrequenciesComeFromCpufreqRoundedToMegahertz) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    tree.File(CpuPath(0, "/cpufreq/cpuinfo_max_freq"), "3499500\n")
        .File(CpuPath(0, "/cpufreq/cpuinfo_min_freq"), "800000\n");
    tree.File(CpuPath(0, "/cpufreq/scaling_cur_freq"), "2100499");
    tree.File(CpuPath(4, "/cpufreq/scaling_cur_freq"), "<unknown>\n")
        .File(CpuPath(4, "/cpufreq/cpuinfo_max_freq"), "");
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[0].max_frequency, 3500u);
    EXPECT_EQ(records.packages[0].min_frequency, 800u);
    EXPECT_EQ(records.packages[0].frequency, 2100u);
    EXPECT_EQ(records.packages[1].max_frequency, 0u);
    EXPECT_EQ(records.packages[1].frequency, 2701u);
    EXPECT_EQ(host.Line(),
              "/sys/devices/system/cpu/cpu4/cpufreq/scaling_cur_freq: expected a frequency in kHz (0 to "
              "100000000), "
              "found \"<unknown>\"; skipped");
}

TEST(Cpu, AGarbledFrequencyOfCpuinfoIsUnknown) {
    for (const char *mhz : {"", "abc", "12x.5", "-5", "99999999.0", "2.7GHz", "1.", ".5"}) {
        Tree tree;
        tree.File("/proc/cpuinfo", fmt::format("processor: 0\ncpu MHz: {}\n", mhz));
        HeardHost host(tree);
        const CpuRecords records = FindCpus(*host);
        ASSERT_EQ(records.packages.size(), 1u);
        EXPECT_EQ(records.packages[0].frequency, 0u) << mhz;
    }
}

TEST(Cpu, CacheSizesAreThoseOfOneCache) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    const struct {
        const char *level, *type, *size;
    } kCaches[] = {{"1", "Data", "48K"},
                   {"1", "Instruction", "32K"},
                   {"2", "Unified", "2048K"},
                   {"3", "Unified", "105M"}};
    for (size_t i = 0; i < 4; ++i) {
        const std::string index = CpuPath(0, fmt::format("/cache/index{}/", i));
        tree.File(index + "level", kCaches[i].level)
            .File(index + "type", kCaches[i].type)
            .File(index + "size", kCaches[i].size);
        const std::string broken = CpuPath(4, fmt::format("/cache/index{}/", i));
        tree.File(broken + "level", kCaches[i].level).File(broken + "type", kCaches[i].type);
    }
    tree.File(CpuPath(4, "/cache/index0/size"), "0xK\n").File(CpuPath(4, "/cache/index1/level"), "\n");
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[0].l1_data, 48u);
    EXPECT_EQ(records.packages[0].l1_instruction, 32u);
    EXPECT_EQ(records.packages[0].l2, 2048u);
    EXPECT_EQ(records.packages[0].l3, 105u * 1024);
    EXPECT_EQ(records.packages[1].l1_data, 0u);
    EXPECT_EQ(records.packages[1].l3, 0u);
    EXPECT_EQ(host.lines().size(), 2u);
}

TEST(Cpu, CacheSizesHaveAUnit) {
    EXPECT_EQ(ParseCacheSize("32K\n"), 32u);
    EXPECT_EQ(ParseCacheSize("8M"), 8192u);
    EXPECT_EQ(ParseCacheSize("1G"), 1048576u);
    for (const char *bad : {"", "K", "32", "32k", "-1K", "4294967295M", "99999999999K"}) {
        EXPECT_EQ(ParseCacheSize(bad), std::nullopt) << bad;
    }
}

TEST(Cpu, ArmProcessorsAreNamedByTheirIdentificationRegister) {
    Tree tree;
    tree.File("/proc/cpuinfo",
              "processor\t: 0\nBogoMIPS\t: 200.00\nFeatures\t: fp asimd\nCPU implementer\t: 0x48\n"
              "CPU architecture: 8\nCPU variant\t: 0x1\nCPU part\t: 0xd01\nCPU revision\t: 2\n");
    HeardHost host(tree);
    CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 1u);
    EXPECT_EQ(records.packages[0].manufacturer, "implementer 0x48");
    EXPECT_EQ(records.packages[0].model, "part 0xd01 variant 0x1 revision 2");
    EXPECT_EQ(records.packages[0].architecture, "aarch64");
    EXPECT_EQ(records.packages[0].family, 8u);
    EXPECT_EQ(records.packages[0].model_number, 0xD01u);
    EXPECT_EQ(records.packages[0].stepping, 2u);
    EXPECT_EQ(records.packages[0].frequency, 0u);

    tree.File(kDmiTable, Socket("CPU01").Text(0x07, "Firm Maker").Text(0x10, "Firm Model").Bytes());
    records = FindCpus(*host);
    EXPECT_EQ(records.packages[0].manufacturer, "Firm Maker");
    EXPECT_EQ(records.packages[0].model, "Firm Model");
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Cpu, TheMakerThatReadersLookForIsSpelledTheirWay) {
    Tree tree;
    tree.File("/proc/cpuinfo", X86Block(0, 0, "AuthenticAMD"));
    HeardHost host(tree);
    EXPECT_TRUE(FindCpus(*host).packages.at(0).manufacturer.starts_with("AMD"));
}

TEST(Cpu, SocketsAreNamedBySmbiosWhereTheyAreAsManyAsPackages) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    const std::string empty = Socket("CPU 9", 0x00).Bytes();
    const std::string other =
        SmbiosBuilder(4, 0x30).Byte(0x05, 6).Text(0x04, "GPU 1").Byte(0x18, 0x41).Bytes();
    tree.File(kDmiTable, Socket("CPU 0").Text(0x20, "Serial0").Text(0x22, "N/A").Bytes() + empty + other +
                             Socket("CPU 1").Bytes());
    HeardHost host(tree);
    CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[0].socket, "CPU 0");
    EXPECT_EQ(records.packages[0].serial, "Serial0");
    EXPECT_EQ(records.packages[0].part, "");
    EXPECT_EQ(records.packages[0].silk, 0u);
    EXPECT_EQ(records.packages[1].socket, "CPU 1");
    EXPECT_EQ(records.packages[1].silk, 1u);

    tree.File(kDmiTable, Socket("CPU 0").Bytes());  // which of the two is it?
    records = FindCpus(*host);
    EXPECT_EQ(records.packages[0].socket, "");
    EXPECT_EQ(records.packages[0].silk, 1u);

    tree.File(kDmiTable,
              Socket("SOCKET 1").Bytes() + Socket("SOCKET 1").Bytes());  // numbers that tell nothing apart
    records = FindCpus(*host);
    EXPECT_EQ(records.packages[1].socket, "SOCKET 1");
    EXPECT_EQ(records.packages[1].silk, 2u);
}

void CoreTemp(Tree &tree, int chip, int package, const char *input) {
    const std::string dir = fmt::format("/sys/class/hwmon/hwmon{}/", chip);
    tree.File(dir + "name", "coretemp\n").File(dir + "temp1_label", fmt::format("Package id {}\n", package));
    tree.File(dir + "temp1_input", input)
        .File(dir + "temp1_crit", "100000\n")
        .File(dir + "temp1_max", "84000\n");
    tree.File(dir + "temp2_label", "Core 0").File(dir + "temp2_input", "99000");
}

TEST(Cpu, PackageTemperaturesGoByTheirLabels) {
    Tree tree;
    TwoPackages(tree, 36, 8442);
    CoreTemp(tree, 0, 8442, "61500\n");
    CoreTemp(tree, 1, 36, "-4500\n");
    CoreTemp(tree, 2, 7, "20000\n");  // a package that is not there
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[0].temperature.current, -5);
    EXPECT_EQ(records.packages[1].temperature.current, 62);
    EXPECT_EQ(records.packages[1].temperature.critical, 100);
    EXPECT_EQ(records.packages[1].temperature.maximum, 84);
    EXPECT_TRUE(records.packages[1].temperature.junction);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Cpu, AnImplausibleTemperatureIsNone) {
    for (const char *input : {"", "garbage", "255001", "-128001", "4294967295", "61.5"}) {
        Tree tree;
        TwoPackages(tree, 0, 1);
        CoreTemp(tree, 0, 0, input);
        HeardHost host(tree);
        EXPECT_EQ(FindCpus(*host).packages.at(0).temperature.current, std::nullopt) << input;
        EXPECT_EQ(host.lines().size(), *input == '\0' ? 0u : 1u) << input;
    }
}

TEST(Cpu, ChipsThatDoNotNameTheirPackageAreMatchedOneToOneOnly) {
    Tree tree;
    TwoPackages(tree, 0, 1);
    const auto chip = [&](int number, const char *input) {
        const std::string dir = fmt::format("/sys/class/hwmon/hwmon{}/", number);
        tree.File(dir + "name", "k10temp").File(dir + "temp1_label", "Tctl").File(dir + "temp1_input", input);
    };
    chip(3, "41000");
    {
        HeardHost host(tree);
        EXPECT_EQ(FindCpus(*host).packages.at(0).temperature.current, std::nullopt);
        EXPECT_EQ(
            host.Line(),
            "processor temperatures: 1 sensors for 2 packages; skipped, since nothing says which sits where");
    }
    chip(10, "52000");
    HeardHost host(tree);
    const CpuRecords records = FindCpus(*host);
    EXPECT_EQ(records.packages[0].temperature.current, 41);
    EXPECT_EQ(records.packages[1].temperature.current, 52);
    EXPECT_FALSE(records.packages[1].temperature.junction);
    EXPECT_EQ(host.lines(), Strings{});
}

}  // namespace
}  // namespace collect
