#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tree.h"

namespace collect {
namespace {

// Both ways of looking a path up must answer the same.
class HostLookup : public ::testing::TestWithParam<Host::Lookup> {};

INSTANTIATE_TEST_SUITE_P(Ways, HostLookup, ::testing::Values(Host::Lookup::kKernel, Host::Lookup::kStepwise),
                         [](const auto &way) {
                             return way.param == Host::Lookup::kKernel ? "Kernel" : "Stepwise";
                         });

TEST_P(HostLookup, TextIsTrimmedWithAndWithoutALineEnd) {
    Tree tree;
    tree.File("/sys/a", "  text here \n")
        .File("/sys/b", "text")
        .File("/sys/c", std::string("0-63\n\0", 6))
        .File("/sys/d", "");
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->Text("/sys/a"), "text here");
    EXPECT_EQ(host->Text("/sys/b"), "text");
    EXPECT_EQ(host->Text("/sys/c"), "0-63");
    EXPECT_EQ(host->Text("/sys/d"), "");
    EXPECT_EQ(host.lines(), Strings{});
}

TEST_P(HostLookup, AMissingFileIsSilentlyNothing) {
    Tree tree;
    tree.File("/sys/file", "1");
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->Text("/sys/none"), std::nullopt);
    EXPECT_EQ(host->Text("/sys/file/below"), std::nullopt);
    EXPECT_EQ(host->File("/none/at/all"), std::nullopt);
    EXPECT_EQ(host->Number<uint32_t>("/sys/none", "a number"), std::nullopt);
    EXPECT_EQ(host->List("/none"), Strings{});
    EXPECT_EQ(host->Resolve("/none"), std::nullopt);
    EXPECT_FALSE(host->Exists("/none"));
    EXPECT_EQ(host.lines(), Strings{});
}

TEST_P(HostLookup, LinksStayInsideTheRoot) {
    Tree tree;
    tree.File("/etc/hostname", "inside").Link("/sys/up", "../../../../../../../../etc/hostname");
    tree.Link("/sys/absolute", "/etc/hostname").Link("/sys/dir", "/etc").Link("/sys/top", "/../..");
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->Text("/sys/up"), "inside");
    EXPECT_EQ(host->Text("/sys/absolute"), "inside");
    EXPECT_EQ(host->Text("/sys/dir/hostname"), "inside");
    EXPECT_EQ(host->Text("/sys/dir/../etc/hostname"), "inside");
    EXPECT_EQ(host->Text("/../../../etc/hostname"), "inside");
    EXPECT_EQ(host->List("/sys/top"), (Strings{"etc", "sys"}));
    EXPECT_EQ(host->Resolve("/sys/up"), "/etc/hostname");
    EXPECT_EQ(host->Resolve("/sys/top"), "/");
    EXPECT_EQ(host.lines(), Strings{});
}

TEST_P(HostLookup, LinksInACircleAreReportedOnce) {
    Tree tree;
    tree.Link("/sys/a", "b").Link("/sys/b", "a");
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->Text("/sys/a"), std::nullopt);
    EXPECT_EQ(host->Text("/sys/a"), std::nullopt);
    EXPECT_EQ(host.Line(),
              "/sys/a: expected a readable file, found \"Too many levels of symbolic links\"; skipped");
}

TEST_P(HostLookup, OnlyRegularFilesAreRead) {
    Tree tree;
    tree.Dir("/sys/dir");
    ASSERT_EQ(mkfifo((tree.top() + "/sys/pipe").c_str(), 0600), 0);
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->Text("/sys/pipe"), std::nullopt);  // and does not wait for a writer
    EXPECT_EQ(host.Line(), "/sys/pipe: expected a regular file, found something else; skipped");
    EXPECT_EQ(host->File("/sys/dir"), std::nullopt);
    EXPECT_EQ(host.lines().size(), 2u);
}

TEST_P(HostLookup, AFileThatMayNotBeReadIsReported) {
    Tree tree;
    tree.File("/sys/secret", "1");
    ASSERT_EQ(chmod(tree.top().c_str(), 0755), 0);
    ASSERT_EQ(chmod((tree.top() + "/sys/secret").c_str(), 0), 0);
    HeardHost host(tree, GetParam());
    const auto own = static_cast<uid_t>(setfsuid(65534));  // root itself may read everything
    EXPECT_EQ(host->Text("/sys/secret"), std::nullopt);
    setfsuid(own);
    EXPECT_EQ(host.Line(), "/sys/secret: expected a readable file, found \"Permission denied\"; skipped");
}

TEST_P(HostLookup, DirectoriesAreListedInNaturalOrder) {
    Tree tree;
    for (const char *name : {"cpu10", "cpu2", "cpufreq", "cpu0", "cpu1x"})
        tree.Dir(std::string("/sys/") + name);
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->List("/sys"), (Strings{"cpu0", "cpu1x", "cpu2", "cpu10", "cpufreq"}));
    std::vector<uint32_t> numbers;
    for (const NumberedEntry &entry : host->Numbered("/sys", "cpu")) numbers.push_back(entry.number);
    EXPECT_EQ(numbers, (std::vector<uint32_t>{0, 2, 10}));
}

TEST_P(HostLookup, ResolveAnswersThePathWithoutLinks) {
    Tree tree;
    tree.File("/sys/devices/pci0000:00/0000:00:1f.2/vendor", "0x1af4")
        .Link("/sys/class/net/eth0/device", "../../../devices/pci0000:00/0000:00:1f.2");
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->Resolve("/sys/class/net/eth0/device"), "/sys/devices/pci0000:00/0000:00:1f.2");
    EXPECT_EQ(host->LinkName("/sys/class/net/eth0/device"), "0000:00:1f.2");
    EXPECT_EQ(host->Hex<uint16_t>("/sys/class/net/eth0/device/vendor", "a vendor"), 0x1AF4);
}

TEST_P(HostLookup, TheNameOfADanglingLinkIsStillKnown) {
    Tree tree;
    tree.Link("/sys/dev/driver", "../../bus/pci/drivers/nvme").File("/sys/dev/plain", "");
    HeardHost host(tree, GetParam());
    EXPECT_EQ(host->LinkName("/sys/dev/driver"), "nvme");
    EXPECT_EQ(host->LinkName("/sys/dev/plain"), std::nullopt);
    EXPECT_EQ(host->LinkName("/sys/dev/none"), std::nullopt);
    EXPECT_EQ(host->Resolve("/sys/dev/driver"), std::nullopt);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Host, NumbersRefuseGarbageOverflowAndNothingWithOneLine) {
    const struct {
        const char *content;
        const char *found;
    } kBroken[] = {{"", "nothing"},  {"\n", "nothing"},  {"abc\n", "\"abc\""},       {"256", "\"256\""},
                   {"-1", "\"-1\""}, {"1 2", "\"1 2\""}, {"1\x1B[31m", "\"1?[31m\""}};
    for (const auto &broken : kBroken) {
        Tree tree;
        tree.File("/sys/number", broken.content);
        HeardHost host(tree);
        EXPECT_EQ(host->Number<uint8_t>("/sys/number", "a level"), std::nullopt) << broken.content;
        EXPECT_EQ(host.Line(), std::string("/sys/number: expected a level (0 to 255), found ") +
                                   broken.found + "; skipped");
    }
}

TEST(Host, NumbersKeepToTheirRange) {
    Tree tree;
    tree.File("/low", "-1").File("/high", "9").File("/good", "8\n");
    HeardHost host(tree);
    EXPECT_EQ(host->Number<int32_t>("/low", "a level", 0, 8), std::nullopt);
    EXPECT_EQ(host->Number<int32_t>("/high", "a level", 0, 8), std::nullopt);
    EXPECT_EQ(host->Number<int32_t>("/good", "a level", 0, 8), 8);
    EXPECT_EQ(host.lines().size(), 2u);
}

TEST(Host, AnEmptyNumberIsSilentWhereItMayBeRefused) {
    Tree tree;
    tree.File("/speed", "").File("/bad", "x");
    HeardHost host(tree);
    EXPECT_EQ(host->Number<int32_t>("/speed", "a speed", 0, 100, Refusal::kExpected), std::nullopt);
    EXPECT_EQ(host.lines(), Strings{});
    EXPECT_EQ(host->Number<int32_t>("/bad", "a speed", 0, 100, Refusal::kExpected), std::nullopt);
    EXPECT_EQ(host.lines().size(), 1u);
}

TEST(Host, AnAttributeOfMoreThanItsBoundIsReported) {
    Tree tree;
    tree.File("/fits", std::string(Host::kAttributeMax, 'x'))
        .File("/long", std::string(Host::kAttributeMax + 1, 'x'));
    HeardHost host(tree);
    EXPECT_EQ(host->Text("/fits")->size(), Host::kAttributeMax);
    EXPECT_EQ(host->Text("/long"), std::nullopt);
    EXPECT_EQ(host.Line(), "/long: expected at most 4096 bytes, found more; skipped");
}

TEST(Host, WholeFilesAreReadToTheirEndAndBounded) {
    Tree tree;
    tree.File("/big", std::string(100'000, 'x') + " ");
    HeardHost host(tree);
    EXPECT_EQ(host->File("/big")->size(), 100'001u);  // untrimmed
    EXPECT_EQ(host->File("/big", 100'001)->size(), 100'001u);
    EXPECT_EQ(host->File("/big", 100'000), std::nullopt);
    EXPECT_EQ(host.Line(), "/big: expected at most 100000 bytes, found more; skipped");
}

TEST(Host, ARootThatIsNoDirectoryIsRefusedWithOneLine) {
    Tree tree;
    tree.File("/file", "");
    Strings lines;
    Log log([&](std::string_view line) { lines.emplace_back(line); });
    EXPECT_FALSE(Host::Open(tree.top() + "/file", log).has_value());
    EXPECT_FALSE(Host::Open(tree.top() + "/none", log).has_value());
    EXPECT_EQ(lines.size(), 2u);
}

TEST(Host, OnlyTheRootOfTheMachineIsLive) {
    Tree tree;
    HeardHost captured(tree);
    EXPECT_FALSE(captured->Live());
    EXPECT_EQ(captured->Use("/"), std::nullopt);
    HeardHost live("/");
    EXPECT_TRUE(live->Live());
    EXPECT_EQ(live->Shown("/proc"), "/proc");
    const auto use = live->Use("/");
    ASSERT_TRUE(use.has_value());
    EXPECT_GT(use->total_bytes, 0u);
    EXPECT_LE(use->used_bytes, use->total_bytes);
    EXPECT_TRUE(live->File("/proc/self/stat").has_value());
}

}  // namespace
}  // namespace collect
