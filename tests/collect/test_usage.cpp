#include <gtest/gtest.h>

#include "collectors/usage.h"
#include "midware/area.h"

namespace collect {
namespace {

TEST(Usage, TicksAreSplitIntoBusyAndIdle) {
    const auto ticks = ParseCpuTicks("cpu  10 20 30 400 5 6 7 8 999 999\ncpu0 1 1 1 1\n");
    ASSERT_TRUE(ticks.has_value());
    EXPECT_EQ(ticks->busy, 10u + 20 + 30 + 6 + 7 + 8);  // guests are part of user already
    EXPECT_EQ(ticks->idle, 405u);
    EXPECT_EQ(ParseCpuTicks("cpu 1 2 3 4")->idle, 4u);
}

TEST(Usage, ABrokenLineOfTicksIsNothing) {
    for (const char *text :
         {"", "cpu", "cpu 1 2 3", "cpu0 1 2 3 4", "cpu 1 2 x 4", "cpu 1 2 -3 4", "\ncpu 1 2 3 4",
          "cpu 18446744073709551615 1 0 0", "cpu 1 2 3 99999999999999999999"}) {
        EXPECT_FALSE(ParseCpuTicks(text).has_value()) << text;
    }
}

TEST(Usage, ThePercentIsThatOfTheTimeBetweenTwoReadings) {
    EXPECT_EQ(CpuPercent({0, 0}, {300, 100}), 25u);
    EXPECT_EQ(CpuPercent({1000, 1000}, {1000, 1050}), 100u);
    EXPECT_EQ(CpuPercent({1000, 1000}, {1200, 1000}), 0u);
    EXPECT_EQ(CpuPercent({0, 0}, {999, 5}), 0u);
    EXPECT_EQ(CpuPercent({0, 0}, {199, 1}), 1u);  // half a percent is rounded up
    EXPECT_EQ(CpuPercent({0, 0}, {UINT64_MAX, UINT64_MAX}), 50u);
}

TEST(Usage, CountersThatDidNotAdvanceGiveNoPercent) {
    EXPECT_EQ(CpuPercent({10, 10}, {10, 10}), std::nullopt);
    EXPECT_EQ(CpuPercent({10, 10}, {20, 9}), std::nullopt);
    EXPECT_EQ(CpuPercent({10, 10}, {9, 20}), 100u);  // the waiting time may step back
}

TEST(Usage, MemoryInUseIsWhatIsNotAvailable) {
    EXPECT_EQ(MemoryPercent("MemTotal: 1000 kB\nMemFree: 1 kB\nMemAvailable: 745 kB\n"), 26u);
    EXPECT_EQ(MemoryPercent("MemTotal: 1000 kB\nMemAvailable: 1000 kB\n"), 0u);
    EXPECT_EQ(MemoryPercent("MemTotal: 1000 kB\nMemAvailable: 0 kB\n"), 100u);
    EXPECT_EQ(MemoryPercent("MemTotal: 18446744073709551615 kB\nMemAvailable: 0 kB\n"), 100u);
}

TEST(Usage, OldKernelsAreAskedForFreeAndCachedMemory) {
    EXPECT_EQ(MemoryPercent("MemTotal: 1000 kB\nMemFree: 100 kB\nBuffers: 50 kB\nCached: 250 kB\n"), 60u);
    EXPECT_EQ(MemoryPercent("MemTotal: 1000 kB\nMemFree: 500 kB\nBuffers: 500 kB\nCached: 500 kB\n"), 0u);
}

TEST(Usage, ABrokenMeminfoGivesNoPercent) {
    for (const char *text :
         {"", "MemTotal: 0 kB\nMemAvailable: 0 kB\n", "MemTotal: 10 kB\nMemAvailable: 11 kB\n",
          "MemAvailable: 5 kB\n", "MemTotal: 10 kB\n", "MemTotal: x kB\nMemAvailable: 5 kB\n",
          "MemTotal: 10 kB\nMemFree: 11 kB\nBuffers: 0 kB\nCached: 0 kB\n"}) {
        EXPECT_EQ(MemoryPercent(text), std::nullopt) << text;
    }
}

TEST(Usage, AFigureIsPackedWithItsFlagAndAnAlternative) {
    EXPECT_EQ(PackUsage(0), 0x00FF55u);
    EXPECT_EQ(PackUsage(37), 0x25FF55u);
    EXPECT_EQ(PackUsage(100) & 0xFFu, MW_VALID_FLAG);
}

}  // namespace
}  // namespace collect
