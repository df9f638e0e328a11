// Processes that use one module at once, and what is left of the semaphore when one of them stops or dies.
#include <signal.h>

#include <chrono>

#include "process_test.h"

namespace {

using Processes = AreaTest;

struct Stage {
    std::atomic<int> step{0};
    std::atomic<bool> done{false};
    std::atomic<uint32_t> reads{0};
};

TEST_F(Processes, ReadersNeverSeeHalfARecord) {
    CreateArea();
    Shared<Stage> stage;
    std::vector<Process> readers, writers;
    for (int i = 0; i < 3; ++i) {
        readers.emplace_back(setup_, [&stage] {
            while (!stage->done) {
                RemoteSyslogInfo syslog;
                MemAssetInfo asset[64];
                uint32_t count;
                ASSERT_EQ(MW_GetRemoteSyslogInfo(&syslog), 0);
                ASSERT_NE(PlainByte(syslog), -1);
                ASSERT_EQ(MW_GetMemAssetInfo(asset, &count), 0);
                for (uint32_t k = 1; k < count; ++k) ASSERT_EQ(PlainByte(asset[k]), PlainByte(asset[0]));
                ++stage->reads;
            }
        });
    }
    for (int byte : {1, 2}) {
        writers.emplace_back(setup_, [byte] {
            const auto syslog = Plain<RemoteSyslogInfo>(byte);
            static MemAssetInfo assets[64];
            for (MemAssetInfo &asset : assets) asset = Plain<MemAssetInfo>(byte);
            for (int i = 0; i < 3000; ++i) {
                ASSERT_EQ(MW_SetRemoteSyslogInfo(&syslog), 0);
                ASSERT_EQ(MW_SetMemAssetInfo(assets, 64), 0);
            }
        });
    }
    for (Process &writer : writers) {
        const Outcome outcome = writer.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
    }
    EXPECT_TRUE(Eventually([&] { return stage->reads > 0; }));
    stage->done = true;
    for (Process &reader : readers) {
        const Outcome outcome = reader.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
    }
}

TEST_F(Processes, AHeldSemaphoreTimesTheOthersOutOfThatModuleOnly) {
    CreateArea();
    Shared<Stage> stage;
    Process holder(setup_, [&stage] {
        HoldMemory();
        stage->step = 1;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return stage->step == 1; }));
    const Outcome outcome = RunProcess(setup_, [] {
        uint32_t count = 77;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(MW_GetMemCount(&count), -1);
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(499));
        EXPECT_EQ(count, 77u);
        EXPECT_EQ(MW_SetMemTotalPower(5), -1);
        EXPECT_EQ(MW_GetCpuCount(&count), 0);
        EXPECT_EQ(MW_SetTimeSource(2), 0);
    });
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_NE(outcome.err.find("[MW_GetMemCount] sem lock failed, "), std::string::npos) << outcome;
    EXPECT_NE(outcome.err.find("[MW_SetMemTotalPower] sem lock failed, "), std::string::npos) << outcome;
}

TEST_F(Processes, AKilledHolderLocksNobodyOut) {
    if (!DeathIsReported()) GTEST_SKIP() << "the kernel's notice of a dead holder does not arrive here";
    CreateArea();
    for (const bool reaped : {false, true}) {
        Shared<Stage> stage;
        Process holder(setup_, [&stage] {
            HoldMemory();
            stage->step = 1;
            Forever();
        });
        ASSERT_TRUE(Eventually([&] { return stage->step == 1; }));
        const std::string pid = std::to_string(holder.pid());
        holder.Kill();
        if (reaped) holder.Wait();
        const Outcome outcome = RunProcess(setup_, [] {
            uint32_t count;
            EXPECT_EQ(MW_GetMemCount(&count), 0);
            EXPECT_EQ(MW_SetMemTotalPower(5), 0);
        });
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        const std::vector<std::string> lines = LinesOf(outcome.err);
        ASSERT_EQ(lines.size(), 1u) << outcome;
        EXPECT_NE(lines[0].find("12291"), std::string::npos) << lines[0];
        EXPECT_NE(lines[0].find(pid), std::string::npos) << lines[0];
    }
}

TEST_F(Processes, AHolderThatEndsOrdinarilyLocksNobodyOut) {
    if (!DeathIsReported()) GTEST_SKIP() << "the kernel's notice of a dead holder does not arrive here";
    CreateArea();
    EXPECT_SUCCEEDS(setup_, [] { HoldMemory(); });
    EXPECT_SUCCEEDS(setup_, [] {
        uint32_t count;
        EXPECT_EQ(MW_GetMemCount(&count), 0);
    });
}

TEST_F(Processes, AWaiterGetsTheSemaphoreWhenItsHolderIsKilledMeanwhile) {
    if (!DeathIsReported()) GTEST_SKIP() << "the kernel's notice of a dead holder does not arrive here";
    CreateArea();
    Shared<Stage> stage;
    Process holder(setup_, [&stage] {
        HoldMemory();
        stage->step = 1;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return stage->step == 1; }));
    Process waiter(setup_, [&stage] {
        stage->step = 2;
        uint32_t count;
        int32_t result = -1;
        for (int tries = 0; tries < 20 && result != 0; ++tries) result = MW_GetMemCount(&count);
        EXPECT_EQ(result, 0);
    });
    ASSERT_TRUE(Eventually([&] { return stage->step == 2; }));
    holder.Kill();
    const Outcome outcome = waiter.Wait();
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
}

TEST_F(Processes, AStoppedHolderIsWaitedForInVainAndGoesOnWhereItStopped) {
    CreateArea();
    Shared<Stage> stage;
    Process writer(setup_, [&stage] {
        const auto syslog = Plain<RemoteSyslogInfo>(4);
        stage->step = 1;
        while (!stage->done) ASSERT_EQ(MW_SetRemoteSyslogInfo(&syslog), 0);
    });
    ASSERT_TRUE(Eventually([&] { return stage->step == 1; }));
    for (int round = 0; round < 3; ++round) {
        writer.Signal(SIGSTOP);
        // Stopped within the semaphore or outside of it: no answer but these two, and no half record.
        EXPECT_SUCCEEDS(setup_, [] {
            RemoteSyslogInfo syslog = Plain<RemoteSyslogInfo>(9);
            const int32_t result = MW_GetRemoteSyslogInfo(&syslog);
            EXPECT_TRUE(result == 0 || (result == -1 && PlainByte(syslog) == 9));
            EXPECT_NE(PlainByte(syslog), -1);
        });
        writer.Signal(SIGCONT);
    }
    stage->done = true;
    const Outcome outcome = writer.Wait();
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_SUCCEEDS(setup_, [] { EXPECT_EQ(MW_SetTimeSource(1), 0); });
}

TEST_F(Processes, TheCachesOfUsageFiguresBelongToOneProcess) {
    CreateArea();
    EXPECT_SUCCEEDS(setup_, [&] {
        EXPECT_EQ(MW_SetMemUsgInfoFromME(40, MW_VALID_FLAG), 0);
        const Outcome other = RunProcess(setup_, [] { EXPECT_EQ(MW_SetMemUsgInfoFromME(50, MW_VALID_FLAG), 0); });
        EXPECT_TRUE(other.Succeeded()) << other;
        EXPECT_EQ(MW_SetMemUsgInfoFromME(40, MW_VALID_FLAG), 0) << "not written: the same as the last time";
        uint32_t usage;
        EXPECT_EQ(MW_GetMemUsgInfo(&usage), 0);
        EXPECT_EQ(usage, 50u);
    });
}

}  // namespace
