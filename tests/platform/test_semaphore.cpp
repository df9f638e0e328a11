#include <signal.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>

#include <random>

#ifdef __linux__
#include <linux/seccomp.h>
#endif

#include "platform_test.h"

namespace {

constexpr uint32_t kKey = 12291;
constexpr uint32_t kOtherKey = 777;  // one without a slot of its own

int64_t Milliseconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

OalSemStatus StatusOf(uint32_t key) {
    OalSemStatus status;
    EXPECT_EQ(OAL_GetSemStatus(key, &status), 0) << hov_strerror_s(errno);
    return status;
}

std::string RecoveryOf(uint32_t key, pid_t pid) {
    return "semaphore " + std::to_string(key) + " recovered from process " + std::to_string(pid) +
           ", which ended while holding it\n";
}

class Semaphore : public PlatformTest {
  protected:
    void SetUp() override {
        In([] {
            ASSERT_EQ(OAL_SemCreate(kKey), 0);
            ASSERT_EQ(OAL_SemCreate(kOtherKey), 0);
        });
    }

    // A process that holds `key` and does nothing else.
    Process Holder(uint32_t key) {
        const Shared<std::atomic<bool>> held;
        Process holder(setup(), [&] {
            ASSERT_EQ(OAL_SemLockByKey(key, 500), 0);
            *held = true;
            Forever();
        });
        EXPECT_TRUE(Eventually([&] { return held->load(); }));
        return holder;
    }

    static void TakeAndRelease(uint32_t key) {
        EXPECT_EQ(OAL_SemLockByKey(key, 500), 0) << hov_strerror_s(errno);
        EXPECT_EQ(OAL_SemUnLockByKey(key, 500), 0) << hov_strerror_s(errno);
    }
};

TEST_F(Semaphore, IsTakenAndReleased) {
    In([] {
        for (const uint32_t key : {kKey, kOtherKey}) {
            errno = 4711;
            TakeAndRelease(key);
            TakeAndRelease(key);
            EXPECT_EQ(errno, 4711);
        }
        EXPECT_EQ(OAL_SemCreate(kKey), 0);  // again
        TakeAndRelease(kKey);
    });
}

TEST_F(Semaphore, OneThatWasNeverCreatedCannotBeTaken) {
    const TempDir empty;
    const auto fails = [] {
        for (const uint32_t key : {kKey + 1, kAreaKey, 778u, 0u, UINT32_MAX}) {
            errno = 0;
            EXPECT_LT(OAL_SemLockByKey(key, 500), 0) << key;
            EXPECT_EQ(errno, ENOENT);
            errno = 0;
            EXPECT_LT(OAL_SemUnLockByKey(key, 500), 0) << key;
            EXPECT_EQ(errno, ENOENT);
        }
    };
    EXPECT_SUCCEEDS(InRoot(empty), fails);
    EXPECT_EQ(FilesIn(empty.path()).size(), 0u);
    EXPECT_EQ(In(fails).err, "");
}

TEST_F(Semaphore, EveryKeyIsOneOfItsOwn) {
    In([] {
        std::vector<uint32_t> keys = {kAreaKey, 0, UINT32_MAX - 1, kFirstKey - 1, kLastKey + 1};
        for (uint32_t key = kFirstKey; key <= kLastKey; ++key) keys.push_back(key);
        for (const uint32_t key : keys) ASSERT_EQ(OAL_SemCreate(key), 0);
        for (const uint32_t key : keys) ASSERT_EQ(OAL_SemLockByKey(key, 0), 0) << key;
        for (const uint32_t key : keys) ASSERT_EQ(OAL_SemUnLockByKey(key, 0), 0) << key;
    });
}

TEST_F(Semaphore, ThereIsRoomForSixtyFourOtherKeys) {
    In([] {
        for (uint32_t key = 1; key < 64; ++key) ASSERT_EQ(OAL_SemCreate(key * 1000003), 0) << key;
        EXPECT_LT(OAL_SemCreate(5), 0);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_LT(OAL_SemLockByKey(5, 0), 0);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_EQ(OAL_SemCreate(kKey + 1), 0);
        EXPECT_EQ(OAL_SemCreate(kOtherKey), 0);
        for (uint32_t key = 1; key < 64; ++key) ASSERT_EQ(OAL_SemLockByKey(key * 1000003, 0), 0) << key;
    });
}

TEST_F(Semaphore, WaitingEndsAfterTheTimeout) {
    const Process holder = Holder(kKey);
    In([] {
        for (const uint32_t timeout : {0u, 1u, 50u, 500u}) {
            const int64_t begin = Milliseconds();
            EXPECT_LT(OAL_SemLockByKey(kKey, timeout), 0);
            EXPECT_EQ(errno, ETIMEDOUT);
            EXPECT_GE(Milliseconds() - begin, timeout);
        }
        EXPECT_EQ(StatusOf(kKey).timed_out, 4u);
    });
}

TEST_F(Semaphore, IsHadAtOnceWhenTheHolderReleasesIt) {
    struct State {
        std::atomic<bool> held{false};
        std::atomic<bool> asking{false};
        std::atomic<bool> release{false};
    };
    const Shared<State> state;
    Process holder(setup(), [&] {
        ASSERT_EQ(OAL_SemLockByKey(kKey, 500), 0);
        state->held = true;
        while (!state->release) usleep(100);
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
    });
    ASSERT_TRUE(Eventually([&] { return state->held.load(); }));
    Process waiter(setup(), [&] {
        state->asking = true;
        EXPECT_EQ(OAL_SemLockByKey(kKey, 3600 * 1000), 0);
        EXPECT_EQ(StatusOf(kKey).contended, 1u);
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
    });
    ASSERT_TRUE(Eventually([&] { return state->asking && waiter.Waits(); }));
    state->release = true;
    EXPECT_TRUE(waiter.Wait().Succeeded());
    EXPECT_TRUE(holder.Wait().Succeeded());
}

TEST_F(Semaphore, OnlyItsHolderCanReleaseIt) {
    const Process holder = Holder(kKey);
    In([] {
        errno = 0;
        EXPECT_LT(OAL_SemUnLockByKey(kKey, 500), 0);
        EXPECT_EQ(errno, EPERM);
        EXPECT_LT(OAL_SemLockByKey(kKey, 10), 0);  // it still is held

        errno = 0;
        EXPECT_LT(OAL_SemUnLockByKey(kOtherKey, 500), 0);  // held by nobody
        EXPECT_EQ(errno, EPERM);
        ASSERT_EQ(OAL_SemLockByKey(kOtherKey, 0), 0);
        std::thread([] {
            EXPECT_LT(OAL_SemUnLockByKey(kOtherKey, 500), 0);
            EXPECT_EQ(errno, EPERM);
            EXPECT_LT(OAL_SemLockByKey(kOtherKey, 10), 0);
            EXPECT_EQ(errno, ETIMEDOUT);
        }).join();
        EXPECT_EQ(OAL_SemUnLockByKey(kOtherKey, 500), 0);
    });
}

TEST_F(Semaphore, TakingItTwiceTimesOut) {
    In([] {
        ASSERT_EQ(OAL_SemLockByKey(kKey, 0), 0);
        EXPECT_LT(OAL_SemLockByKey(kKey, 20), 0);
        EXPECT_EQ(errno, ETIMEDOUT);
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
        TakeAndRelease(kKey);
    });
}

TEST_F(Semaphore, ShutsOutOtherProcessesAndThreads) {
    In([] { ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0); });
    constexpr int kRounds = 3000;
    const auto count = [] {
        auto *counts = static_cast<uint32_t *>(OAL_GetMemResourceAddr(kAreaKey));
        ASSERT_NE(counts, nullptr);
        for (int i = 0; i < kRounds; ++i) {
            ASSERT_EQ(OAL_SemLockByKey(kKey, 60000), 0);
            ++counts[0];
            counts[1] = counts[0];
            ASSERT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
        }
    };
    std::vector<Process> processes;
    for (int p = 0; p < 3; ++p) {
        processes.emplace_back(setup(), [&] {
            std::thread one(count);
            std::thread two(count);
            one.join();
            two.join();
        });
    }
    for (auto &process : processes) EXPECT_TRUE(process.Wait().Succeeded());
    In([] {
        const auto *counts = static_cast<const uint32_t *>(OAL_GetMemResourceAddr(kAreaKey));
        EXPECT_EQ(counts[0], 6u * kRounds);
        EXPECT_EQ(counts[1], 6u * kRounds);
        const OalSemStatus status = StatusOf(kKey);
        EXPECT_EQ(status.taken, 6u * kRounds);
        EXPECT_EQ(status.held, 0u);
        EXPECT_LE(status.contended, status.taken);
    });
}

TEST_F(Semaphore, AStoppedHolderIsNotRobbed) {
    struct State {
        std::atomic<bool> held{false};
        std::atomic<bool> release{false};
    };
    const Shared<State> state;
    Process holder(setup(), [&] {
        ASSERT_EQ(OAL_SemLockByKey(kKey, 500), 0);
        state->held = true;
        while (!state->release) usleep(100);
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
    });
    ASSERT_TRUE(Eventually([&] { return state->held.load(); }));
    holder.Signal(SIGSTOP);
    In([] {
        EXPECT_LT(OAL_SemLockByKey(kKey, 50), 0);
        EXPECT_EQ(errno, ETIMEDOUT);
    });
    holder.Signal(SIGCONT);
    state->release = true;
    EXPECT_TRUE(holder.Wait().Succeeded());
    EXPECT_EQ(In([] { TakeAndRelease(kKey); }).err, "");
}

// --- what a tool sees ----------------------------------------------------------------------------

TEST_F(Semaphore, ItsStatusTellsTheHolder) {
    In([] {
        EXPECT_EQ(StatusOf(kKey + 1).exists, 0u);
        EXPECT_EQ(StatusOf(778).exists, 0u);
        OalSemStatus status = StatusOf(kKey);
        EXPECT_EQ(status.exists, 1u);
        EXPECT_EQ(status.held, 0u);
        EXPECT_EQ(status.last_pid, 0);
        EXPECT_EQ(status.taken, 0u);

        ASSERT_EQ(OAL_SemLockByKey(kKey, 0), 0);
        status = StatusOf(kKey);
        EXPECT_EQ(status.held, 1u);
        EXPECT_EQ(status.holder_pid, getpid());
        EXPECT_EQ(status.holder_tid, gettid());
        EXPECT_EQ(status.last_pid, getpid());
        EXPECT_EQ(status.taken, 1u);

        ASSERT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
        status = StatusOf(kKey);
        EXPECT_EQ(status.held, 0u);
        EXPECT_EQ(status.holder_pid, 0);
        EXPECT_EQ(status.holder_tid, 0);
        EXPECT_EQ(status.last_pid, getpid());
        EXPECT_EQ(status.last_tid, gettid());
        EXPECT_EQ(status.taken, 1u);
        EXPECT_EQ(status.contended + status.timed_out + status.recovered, 0u);
        EXPECT_EQ(status.recovered_pid, 0);

        std::thread([&] {
            TakeAndRelease(kKey);
            EXPECT_EQ(StatusOf(kKey).last_pid, getpid());
            EXPECT_EQ(StatusOf(kKey).last_tid, gettid());
            EXPECT_NE(StatusOf(kKey).last_tid, getpid());
        }).join();
        EXPECT_LT(OAL_GetSemStatus(kKey, nullptr), 0);
    });
    const TempDir empty;
    EXPECT_SUCCEEDS(InRoot(empty), [] {
        OalSemStatus status;
        EXPECT_LT(OAL_GetSemStatus(kKey, &status), 0);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_EQ(status.exists, 0u);
    });
}

TEST_F(Semaphore, ItsStatusTellsForHowLongAtLeastItHasBeenHeld) {
    const Process holder = Holder(kKey);
    In([] {
        EXPECT_EQ(StatusOf(kOtherKey).held_for_ms, 0);
        StatusOf(kKey);  // the first look, unless the one before was another
        EXPECT_TRUE(Eventually([] { return StatusOf(kKey).held_for_ms >= 20; }));
    });
}

TEST_F(Semaphore, AWaitThatTimedOutTellsForHowLongItWasHeld) {
    const Process holder = Holder(kKey);
    In([] {
        EXPECT_LT(OAL_SemLockByKey(kKey, 30), 0);
        EXPECT_GE(StatusOf(kKey).held_for_ms, 29);
    });
}

TEST_F(Semaphore, ANewTurnIsNotTakenForTheOneThatWasSeen) {
    In([] {
        ASSERT_EQ(OAL_SemLockByKey(kKey, 0), 0);
        StatusOf(kKey);
        ASSERT_TRUE(Eventually([] { return StatusOf(kKey).held_for_ms >= 5; }));
        ASSERT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
        EXPECT_EQ(StatusOf(kKey).held_for_ms, 0);
        ASSERT_EQ(OAL_SemLockByKey(kKey, 0), 0);
        EXPECT_EQ(StatusOf(kKey).held_for_ms, 0);
    });
}

// --- forks ---------------------------------------------------------------------------------------

TEST_F(Semaphore, AForkedChildDoesNotHoldWhatItsParentHolds) {
    In([] {
        ASSERT_EQ(OAL_SemLockByKey(kKey, 0), 0);
        const pid_t parent = getpid();
        EXPECT_SUCCEEDS({}, [parent] {
            EXPECT_LT(OAL_SemUnLockByKey(kKey, 500), 0);
            EXPECT_EQ(errno, EPERM);
            EXPECT_LT(OAL_SemLockByKey(kKey, 10), 0);
            EXPECT_EQ(errno, ETIMEDOUT);
            EXPECT_EQ(StatusOf(kKey).holder_pid, parent);

            ASSERT_EQ(OAL_SemLockByKey(kOtherKey, 0), 0);
            EXPECT_EQ(StatusOf(kOtherKey).holder_pid, getpid());
            EXPECT_NE(StatusOf(kOtherKey).holder_pid, parent);
            EXPECT_EQ(StatusOf(kOtherKey).holder_tid, gettid());
            EXPECT_EQ(OAL_SemUnLockByKey(kOtherKey, 0), 0);
        });
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
        EXPECT_SUCCEEDS({}, [] { TakeAndRelease(kKey); });
        TakeAndRelease(kKey);
    });
}

TEST_F(Semaphore, AChildForkedAmongThreadsWorks) {
    In([] { ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0); });
    In([] {
        std::atomic<bool> stop{false};
        std::vector<std::thread> threads;
        for (int t = 0; t < 3; ++t) {
            threads.emplace_back([&] {
                while (!stop) {
                    EXPECT_EQ(OAL_SemLockByKey(kKey, 60000), 0);
                    EXPECT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
                    void *ini = IniLoadFile("/conf/x.ini");
                    IniSetUInt(ini, "s", "k", 1);
                    IniCloseFile(ini);
                    EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr);
                }
            });
        }
        for (int i = 0; i < 20; ++i) {
            const pid_t child = fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                alarm(30);
                const bool fine = OAL_SemLockByKey(kOtherKey, 10000) == 0 &&
                                  OAL_SemUnLockByKey(kOtherKey, 0) == 0 &&
                                  OAL_GetMemResourceAddr(kAreaKey) != nullptr &&
                                  IniCloseFile(IniLoadFile("/conf/x.ini")) == 0;
                _exit(fine ? 0 : 1);
            }
            int status = -1;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
        stop = true;
        for (auto &thread : threads) thread.join();
    });
}

// --- death of the holder -------------------------------------------------------------------------

TEST_F(Semaphore, OneWhoseHolderWasKilledIsHadAtOnce) {
    SKIP_WITHOUT_DEATH_NOTICE();
    for (const uint32_t key : {kKey, kOtherKey}) {
        for (const bool reaped : {true, false}) {
            Process holder = Holder(key);
            const pid_t pid = holder.pid();
            holder.Kill();
            if (reaped) holder.Wait();
            const Outcome outcome = In([key, pid] {
                const OalSemStatus before = StatusOf(key);
                EXPECT_EQ(before.held, 1u);
                EXPECT_EQ(before.holder_pid, pid);
                errno = 4711;
                EXPECT_EQ(OAL_SemLockByKey(key, 0), 0);
                EXPECT_EQ(errno, 4711);
                const OalSemStatus after = StatusOf(key);
                EXPECT_EQ(after.held, 1u);
                EXPECT_EQ(after.holder_pid, getpid());
                EXPECT_EQ(after.taken, before.taken + 1);
                EXPECT_EQ(after.recovered, before.recovered + 1);
                EXPECT_EQ(after.recovered_pid, pid);
                EXPECT_GE(after.recovered_at, time(nullptr) - 60);
                EXPECT_EQ(OAL_SemUnLockByKey(key, 500), 0);
                TakeAndRelease(key);
                EXPECT_EQ(StatusOf(key).recovered, before.recovered + 1);
            });
            EXPECT_EQ(outcome.err, RecoveryOf(key, pid));
        }
    }
}

TEST_F(Semaphore, AWaiterGetsItWhenTheHolderIsKilled) {
    SKIP_WITHOUT_DEATH_NOTICE();
    const Shared<std::atomic<bool>> asking;
    Process holder = Holder(kKey);
    Process waiter(setup(), [&] {
        *asking = true;
        EXPECT_EQ(OAL_SemLockByKey(kKey, 3600 * 1000), 0);
        EXPECT_EQ(StatusOf(kKey).contended, 1u);
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
    });
    ASSERT_TRUE(Eventually([&] { return *asking && waiter.Waits(); }));
    const pid_t pid = holder.pid();
    holder.Kill();
    const Outcome outcome = waiter.Wait();
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, RecoveryOf(kKey, pid));
}

TEST_F(Semaphore, AKilledWaiterDoesNoHarm) {
    struct State {
        std::atomic<bool> held{false};
        std::atomic<bool> release{false};
        std::atomic<bool> asking{false};
    };
    const Shared<State> state;
    Process holder(setup(), [&] {
        ASSERT_EQ(OAL_SemLockByKey(kKey, 500), 0);
        state->held = true;
        while (!state->release) usleep(100);
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
    });
    ASSERT_TRUE(Eventually([&] { return state->held.load(); }));
    const auto wait = [&] {
        state->asking = true;
        OAL_SemLockByKey(kKey, 3600 * 1000);
    };
    Process killed(setup(), wait);
    Process other(setup(), [] {
        EXPECT_EQ(OAL_SemLockByKey(kKey, 3600 * 1000), 0);
        OAL_SemUnLockByKey(kKey, 0);
    });
    ASSERT_TRUE(Eventually([&] { return state->asking && killed.Waits(); }));
    killed.Kill();
    state->release = true;
    EXPECT_TRUE(holder.Wait().Succeeded());
    EXPECT_TRUE(other.Wait().Succeeded());
    EXPECT_EQ(In([] { TakeAndRelease(kKey); }).err, "");
}

// What a waiter says holds for a tenth of a second, which a busy machine may let pass: one round of several
// has to show it.
TEST_F(Semaphore, NewcomersLetOneGoFirstThatHasWaitedLong) {
    const Shared<std::atomic<bool>> gave_way;
    for (int round = 0; !*gave_way && round < 100; ++round) {
        const Shared<std::atomic<bool>> held;
        const Shared<std::atomic<bool>> release;
        Process holder(setup(), [&] {
            ASSERT_EQ(OAL_SemLockByKey(kKey, 500), 0);
            *held = true;
            while (!*release) usleep(100);
            EXPECT_EQ(OAL_SemUnLockByKey(kKey, 500), 0);
        });
        ASSERT_TRUE(Eventually([&] { return held->load(); }));
        Process waiter(setup(), [] { OAL_SemLockByKey(kKey, 3600 * 1000); });
        usleep(50000);
        ASSERT_EQ(kill(waiter.pid(), SIGSTOP), 0);  // so that it cannot take its turn
        *release = true;
        EXPECT_TRUE(holder.Wait().Succeeded());
        In([&] {
            const uint64_t before = StatusOf(kKey).contended;
            EXPECT_EQ(OAL_SemLockByKey(kKey, 0), 0);  // one that cannot wait does not
            EXPECT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
            EXPECT_EQ(StatusOf(kKey).contended, before);
            TakeAndRelease(kKey);
            *gave_way = StatusOf(kKey).contended == before + 1;
        });
        waiter.Kill();
        In([] { TakeAndRelease(kKey); });
    }
    EXPECT_TRUE(*gave_way);
}

TEST_F(Semaphore, OneWhoseHolderExitedIsRecovered) {
    SKIP_WITHOUT_DEATH_NOTICE();
    Process holder(setup(), [] { ASSERT_EQ(OAL_SemLockByKey(kKey, 500), 0); });
    const pid_t pid = holder.pid();
    ASSERT_TRUE(holder.Wait().Succeeded());
    EXPECT_EQ(In([] { TakeAndRelease(kKey); }).err, RecoveryOf(kKey, pid));
}

TEST_F(Semaphore, OneWhoseHolderRunsAnotherProgramIsRecovered) {
    SKIP_WITHOUT_DEATH_NOTICE();
    const Shared<std::atomic<bool>> held;
    Process holder(setup(), [&] {
        ASSERT_EQ(OAL_SemLockByKey(kKey, 500), 0);
        *held = true;
        Execute({ThisProgram(), "--role", "sleep"});
    });
    const pid_t pid = holder.pid();
    ASSERT_TRUE(Eventually([&] { return held->load(); }));
    const Outcome outcome = In([] {
        EXPECT_EQ(OAL_SemLockByKey(kKey, 60000), 0);
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
    });
    EXPECT_EQ(outcome.err, RecoveryOf(kKey, pid));
    EXPECT_EQ(kill(pid, 0), 0);  // it runs on
}

TEST_F(Semaphore, OneWhoseHoldingThreadEndedIsRecovered) {
    SKIP_WITHOUT_DEATH_NOTICE();
    pid_t pid = 0;
    Process process(setup(), [] {
        std::thread([] { ASSERT_EQ(OAL_SemLockByKey(kKey, 500), 0); }).join();
        TakeAndRelease(kKey);
    });
    pid = process.pid();
    const Outcome outcome = process.Wait();
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, RecoveryOf(kKey, pid));
}

// Also one that dies between two instructions of taking or releasing it.
TEST_F(Semaphore, KillsAtRandomMomentsAreRecoveredAndNameTheDead) {
    SKIP_WITHOUT_DEATH_NOTICE();
    constexpr int kKills = 300;
    const Shared<std::atomic<uint64_t>> turns;
    const auto work = [&] {
        for (;;) {
            if (OAL_SemLockByKey(kKey, 10000) != 0) {
                fprintf(stderr, "not taken: %s\n", hov_strerror_s(errno));
                _exit(1);
            }
            ++*turns;
            if (OAL_SemUnLockByKey(kKey, 500) != 0) {
                fprintf(stderr, "not released: %s\n", hov_strerror_s(errno));
                _exit(1);
            }
        }
    };
    struct Worker {
        Process process;
        size_t told;  // how much of what it wrote was looked at
    };
    std::vector<Worker> workers;
    for (int i = 0; i < 3; ++i) workers.push_back({Process(setup(), work), 0});
    std::mt19937 random(1);
    int recovered = 0;
    for (int i = 0; i < kKills; ++i) {
        uint64_t before = *turns;
        ASSERT_TRUE(Eventually([&] { return *turns > before + 10; }));
        usleep(random() % 500);
        std::swap(workers[random() % workers.size()], workers.back());
        const pid_t victim = workers.back().process.pid();
        workers.back().process.Kill();
        if (i % 2 == 0) workers.back().process.Wait();
        before = *turns;
        ASSERT_TRUE(Eventually([&] { return *turns > before + 10; }));
        Worker dead = std::move(workers.back());
        workers.pop_back();
        for (Worker &worker : workers) {
            const std::string news = worker.process.Errors().substr(worker.told);
            if (news.empty()) continue;
            EXPECT_EQ(news, RecoveryOf(kKey, victim));
            worker.told += news.size();
            ++recovered;
        }
        workers.push_back({Process(setup(), work), 0});
    }
    EXPECT_GT(recovered, 0);
    In([&] { EXPECT_EQ(StatusOf(kKey).recovered, static_cast<uint64_t>(recovered)); });
}

// --- other kinds of process ----------------------------------------------------------------------

class ForeignLocks : public Semaphore {
  protected:
    // Overwrites a word of the header: magic 0, version 8, word size 12, lock size 16, size 20.
    void Forge(off_t offset, uint32_t value) {
        std::string bytes = ReadFile(Locks());
        memcpy(bytes.data() + offset, &value, sizeof value);
        WriteFile(Locks(), bytes);
    }
    void ExpectRefused(const std::string &reason) {
        const Outcome outcome = In([] {
            for (int i = 0; i < 3; ++i) {
                EXPECT_LT(OAL_SemLockByKey(kKey, 0), 0);
                EXPECT_EQ(errno, EPROTO);
                EXPECT_LT(OAL_SemUnLockByKey(kKey, 0), 0);
                EXPECT_LT(OAL_SemCreate(kKey), 0);
                EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
                EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
                EXPECT_LT(hov_CustomPchDiskSemLock(), 0);
                EXPECT_LT(hov_CustomPchDiskSemUnLock(), 0);
                OalSemStatus status;
                EXPECT_LT(OAL_GetSemStatus(kKey, &status), 0);
            }
        });
        EXPECT_EQ(outcome.err, Locks() + " refused: " + reason + "\n");
    }
    static constexpr uint32_t kOurBits = sizeof(void *) * 8;
    static constexpr uint32_t kOtherBits = kOurBits == 64 ? 32 : 64;
    static std::string Ours() {
        return ", this one has " + std::to_string(kOurBits) + " bits and " +
               std::to_string(sizeof(pthread_mutex_t)) + " bytes";
    }
};

TEST_F(ForeignLocks, OfAnotherWordSizeAreRefused) {
    Forge(12, kOtherBits / 8);
    Forge(16, 24);
    ExpectRefused("made by a " + std::to_string(kOtherBits) + "-bit process with locks of 24 bytes" + Ours());
}

TEST_F(ForeignLocks, OfAnotherLockTypeAreRefused) {
    Forge(16, 56);
    ExpectRefused("made by a " + std::to_string(kOurBits) + "-bit process with locks of 56 bytes" + Ours());
}

TEST_F(ForeignLocks, OfAnotherVersionAreRefused) {
    Forge(8, 1);
    ExpectRefused("its layout has version 1, this program's 3");
}

TEST_F(ForeignLocks, TheirFormatIsToldBesideOurs) {
    Forge(12, kOtherBits / 8);
    const Outcome outcome = In([] {
        OalLocksFormat found, expected;
        EXPECT_EQ(OAL_GetLocksFormat(&found, &expected), 0);
        EXPECT_EQ(found.word_size, kOtherBits / 8);
        EXPECT_EQ(expected.word_size, kOurBits / 8);
        EXPECT_EQ(found.version, expected.version);
        EXPECT_EQ(found.lock_size, sizeof(pthread_mutex_t));
        EXPECT_EQ(found.size, expected.size);
        EXPECT_LT(OAL_GetLocksFormat(nullptr, &expected), 0);
    });
    EXPECT_EQ(outcome.err, "");
    Forge(0, 0);
    In([] {
        OalLocksFormat found, expected;
        EXPECT_EQ(OAL_GetLocksFormat(&found, &expected), 0);
        EXPECT_EQ(found.version, 0u);
    });
    ASSERT_EQ(unlink(Locks().c_str()), 0);
    In([] {
        OalLocksFormat found, expected;
        EXPECT_LT(OAL_GetLocksFormat(&found, &expected), 0);
        EXPECT_EQ(errno, ENOENT);
    });
}

TEST_F(ForeignLocks, OfAnotherSizeAreRefused) {
    const off_t size = SizeOf(Locks());
    Forge(20, 4);
    ExpectRefused("its layout has 4 bytes, this program's " + std::to_string(size));
    Forge(20, static_cast<uint32_t>(size));
    ASSERT_EQ(truncate(Locks().c_str(), size - 1), 0);
    ExpectRefused("it has " + std::to_string(size - 1) + " bytes, not " + std::to_string(size));
}

TEST_F(ForeignLocks, ThatAreNoneAreRefused) {
    Forge(0, 0);
    ExpectRefused("it holds no semaphores");
    ASSERT_EQ(truncate(Locks().c_str(), 0), 0);
    ExpectRefused("it holds no semaphores");
}

// --- cost ----------------------------------------------------------------------------------------

TEST_F(Semaphore, NoSystemCallIsMadeWhenNobodyWaits) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "a sanitizer makes calls of its own";
#endif
    if (!DeathIsReported()) GTEST_SKIP() << "user-mode emulation cannot forbid system calls";
    In([] {
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        ASSERT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        TakeAndRelease(kKey);
        EXPECT_EQ(hov_CustomPchDiskSemLock(), 0);
        EXPECT_EQ(hov_CustomPchDiskSemUnLock(), 0);
        // From here on everything but read, write and exit ends the process.
        ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT), 0);
        bool fine = true;
        for (int i = 0; i < 1000; ++i) {
            for (const uint32_t key : {kKey, kOtherKey, kAreaKey}) {
                fine = fine && OAL_SemLockByKey(key, 500) == 0 && OAL_SemUnLockByKey(key, 500) == 0;
            }
            fine = fine && hov_CustomPchDiskSemLock() == 0 && hov_CustomPchDiskSemUnLock() == 0;
            fine = fine && OAL_GetMemResourceAddr(kAreaKey) != nullptr;
            OalSemStatus status;
            fine = fine && OAL_GetSemStatus(kKey, &status) == 0 && status.taken > 0;
        }
        syscall(SYS_exit, fine ? 0 : 1);
    });
}

// --- the lock of the custom disk slot file -------------------------------------------------------

class DiskLock : public PlatformTest {};

TEST_F(DiskLock, NeedsNothingToExist) {
    In([] {
        errno = 4711;
        EXPECT_EQ(hov_CustomPchDiskSemLock(), 0);
        EXPECT_EQ(hov_CustomPchDiskSemUnLock(), 0);
        EXPECT_LT(hov_CustomPchDiskSemUnLock(), 0);
        EXPECT_EQ(errno, EPERM);
        EXPECT_EQ(hov_CustomPchDiskSemLock(), 0);
        EXPECT_EQ(StatusOf(OAL_CUSTOM_DISK_LOCK_KEY).holder_pid, getpid());
    });
    EXPECT_EQ(FilesIn(Place("/dev/shm")), std::vector<std::string>{"midware-locks"});
}

TEST_F(DiskLock, IsSharedByAllProcessesAndNotWaitedForForever) {
    const Shared<std::atomic<bool>> held;
    const Process holder(setup(), [&] {
        ASSERT_EQ(hov_CustomPchDiskSemLock(), 0);
        *held = true;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return held->load(); }));
    In([] {
        const int64_t begin = Milliseconds();
        EXPECT_LT(hov_CustomPchDiskSemLock(), 0);
        EXPECT_EQ(errno, ETIMEDOUT);
        EXPECT_GE(Milliseconds() - begin, 5000);
    });
}

TEST_F(DiskLock, IsRecoveredFromTheDead) {
    SKIP_WITHOUT_DEATH_NOTICE();
    Process holder(setup(), [] { ASSERT_EQ(hov_CustomPchDiskSemLock(), 0); });
    const pid_t pid = holder.pid();
    EXPECT_TRUE(holder.Wait().Succeeded());
    const Outcome outcome = In([] {
        EXPECT_EQ(hov_CustomPchDiskSemLock(), 0);
        EXPECT_EQ(hov_CustomPchDiskSemUnLock(), 0);
    });
    EXPECT_EQ(outcome.err, "semaphore of the custom disk file recovered from process " + std::to_string(pid) +
                               ", which ended while holding it\n");
}

}  // namespace
