// Threads of one process that use the library at once, on the real platform layer under a directory of their
// own.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "midware.h"
#include "threads_test.h"

namespace {

void **const kPointers[] = {
    &g_ptMidWareAddr,    &g_ptMemCollectAddr,     &g_ptCpuCollectAddr,   &g_ptPemCollectAddr,
    &g_ptPswCollectAddr, &g_ptFanCollectAddr,     &g_ptNicCollectAddr,   &g_ptFcCardCollectAddr,
    &g_ptGPUCollectAddr, &g_ptRaidCollectionAddr, &g_ptBoardCollectAddr, &g_ptPcieCollectAddr,
    &g_ptFwCollectAddr,  &g_ptServCollectAddr,    &g_ptPCHCollectAddr,   &g_ptCustCardCollectAddr};

}  // namespace

void Detach() {
    for (void **pointer : kPointers) *pointer = nullptr;
}

bool IsAttached() {
    return std::all_of(std::begin(kPointers), std::end(kPointers),
                       [](void **pointer) { return *pointer != nullptr; });
}

void Race(const std::vector<std::function<void()>> &bodies) {
    std::atomic<size_t> waiting{bodies.size()};
    std::vector<std::thread> threads;
    for (const auto &body : bodies) {
        threads.emplace_back([&waiting, &body] {
            --waiting;
            while (waiting != 0) std::this_thread::yield();
            body();
        });
    }
    for (std::thread &thread : threads) thread.join();
}

namespace {

TEST(Threads, RacingThroughTheFirstCallAttachesOnce) {
    for (int round = 0; round < 200; ++round) {
        Detach();
        NtpInfo ntp;
        uint32_t count = 1;
        Race({[&] { EXPECT_EQ(MW_GetNtpInfo(&ntp), 0); }, [&] { EXPECT_EQ(MW_GetMemCount(&count), 0); }});
        ASSERT_TRUE(IsAttached());
    }
}

TEST(Threads, OneRecordIsNeverSeenHalfWritten) {
    std::atomic<bool> done{false};
    const auto write = [&](char letter) {
        RemoteSyslogInfo record;
        std::memset(static_cast<void *>(&record), letter, sizeof record);
        for (int i = 0; i < 2000; ++i) ASSERT_EQ(MW_SetRemoteSyslogInfo(&record), 0);
    };
    const auto read = [&] {
        while (!done) {
            RemoteSyslogInfo record;
            ASSERT_EQ(MW_GetRemoteSyslogInfo(&record), 0);
            const char *bytes = reinterpret_cast<const char *>(&record);
            for (size_t i = 1; i < sizeof record; ++i) ASSERT_EQ(bytes[i], bytes[0]);
        }
    };
    std::thread reader_a(read), reader_b(read);
    Race({[&] { write('a'); }, [&] { write('b'); }});
    done = true;
    reader_a.join();
    reader_b.join();
}

TEST(Threads, TheCachesOfUsageFiguresAreShared) {
    std::vector<std::function<void()>> bodies;
    for (uint32_t thread = 0; thread < 8; ++thread) {
        bodies.push_back([thread] {
            for (uint32_t i = 0; i < 500; ++i) {
                const uint32_t usage = (thread * 7 + i) % 101;
                ASSERT_EQ(MW_SetMemUsgInfoFromME(usage, 85), 0);
                ASSERT_EQ(MW_SetIoUsgInfoFromME(usage, 85), 0);
                ASSERT_EQ(MW_SetCpuUsgInfoFromME(usage, 85), 0);
                uint32_t read;
                ASSERT_EQ(MW_GetMemUsgInfo(&read), 0);
                ASSERT_LE(read, 100u);
            }
        });
    }
    Race(bodies);
}

}  // namespace

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    char root[] = "/tmp/midware-threads-XXXXXX";
    if (mkdtemp(root) == nullptr || setenv("MIDWARE_ROOT", root, 1) != 0) return 1;
    // Another process creates the area, so that this one has still to attach.
    const pid_t child = fork();
    if (child == 0) _exit(MW_MidWareInit() == 0 ? 0 : 1);
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0) return 1;
    const int result = RUN_ALL_TESTS();
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
    return result;
}
