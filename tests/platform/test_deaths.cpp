// Deaths between two instructions of taking or releasing a semaphore, when its own numbers do not tell the
// holder. This program defines the C library's functions of mutexes itself and stops inside them.
#ifndef __SANITIZE_THREAD__  // which needs these functions for itself
#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>

#include "platform_test.h"

namespace {

enum class Moment { kNever, kTaken, kTakenAfterAWait, kBeforeTheRelease };

// The next time that the calling thread gets to this moment it stands still there, or ends.
struct Stop {
    Moment moment = Moment::kNever;
    std::atomic<bool> *there = nullptr;
    bool ends = false;
};
thread_local Stop t_stop;

void At(Moment moment) {
    if (t_stop.moment != moment) return;
    t_stop.moment = Moment::kNever;
    *t_stop.there = true;
    if (t_stop.ends) pthread_exit(nullptr);
    Forever();
}

// The C library's own. They are looked up before there are threads: a child forked while one of them did it
// would wait for that one forever.
template <class Function>
void LookUp(Function *&real, const char *name) {
    if (real == nullptr) real = reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

decltype(&pthread_mutex_trylock) g_trylock;
decltype(&pthread_mutex_clocklock) g_clocklock;
decltype(&pthread_mutex_unlock) g_unlock;

void LookUpAll() {
    LookUp(g_trylock, "pthread_mutex_trylock");
    LookUp(g_clocklock, "pthread_mutex_clocklock");
    LookUp(g_unlock, "pthread_mutex_unlock");
}

__attribute__((constructor)) void BeforeMain() { LookUpAll(); }

}  // namespace

extern "C" {

int pthread_mutex_trylock(pthread_mutex_t *mutex) noexcept {
    if (g_trylock == nullptr) LookUpAll();
    const int answer = g_trylock(mutex);
    if (answer == 0) At(Moment::kTaken);
    return answer;
}

int pthread_mutex_clocklock(pthread_mutex_t *mutex, clockid_t clock, const timespec *until) noexcept {
    if (g_clocklock == nullptr) LookUpAll();
    const int answer = g_clocklock(mutex, clock, until);
    if (answer == 0) At(Moment::kTakenAfterAWait);
    return answer;
}

int pthread_mutex_unlock(pthread_mutex_t *mutex) noexcept {
    if (g_unlock == nullptr) LookUpAll();
    At(Moment::kBeforeTheRelease);
    return g_unlock(mutex);
}

}  // extern "C"

namespace {

constexpr uint32_t kKey = 12291;
constexpr uint32_t kOther = 12292;
constexpr int kSeats = 256;  // threads that the platform layer has room to remember
constexpr int kMany = 40;

void TakeAndRelease(uint32_t key) {
    EXPECT_EQ(OAL_SemLockByKey(key, 500), 0) << hov_strerror_s(errno);
    EXPECT_EQ(OAL_SemUnLockByKey(key, 500), 0) << hov_strerror_s(errno);
}

// Does not come back from a lock or its release.
void StopAt(Moment moment, std::atomic<bool> &there) {
    TakeAndRelease(kOther);
    t_stop = {moment, &there, false};
    OAL_SemLockByKey(kKey, 60000);
    OAL_SemUnLockByKey(kKey, 0);
    ADD_FAILURE() << "it did not stop";
}

class Deaths : public PlatformTest {
  protected:
    void SetUp() override {
        if (!DeathIsReported()) GTEST_SKIP() << "the death of a lock's holder is not reported here";
        In([] {
            ASSERT_EQ(OAL_SemCreate(kKey), 0);
            ASSERT_EQ(OAL_SemCreate(kOther), 0);
        });
    }

    // A process that stands still where `body` takes it.
    Process Stopped(const std::function<void(std::atomic<bool> &there)> &body) {
        const Shared<std::atomic<bool>> there;
        Process process(setup(), [&] { body(*there); });
        EXPECT_TRUE(Eventually([&] { return there->load(); }));
        return process;
    }
    Process Stopped(Moment moment) {
        return Stopped([moment](std::atomic<bool> &there) { StopAt(moment, there); });
    }

    // A process that has done `body` and does nothing more.
    Process Done(const std::function<void()> &body) {
        const Shared<std::atomic<bool>> done;
        Process process(setup(), [&] {
            body();
            *done = true;
            Forever();
        });
        EXPECT_TRUE(Eventually([&] { return done->load(); }));
        return process;
    }

    void ExpectRecovered(const std::string &from, pid_t pid) {
        const Outcome outcome = In([pid] {
            const uint64_t before = Status().recovered;
            TakeAndRelease(kKey);
            const OalSemStatus after = Status();
            EXPECT_EQ(after.recovered, before + 1);
            EXPECT_EQ(after.recovered_pid, pid);
        });
        EXPECT_EQ(outcome.err, "semaphore " + std::to_string(kKey) + " recovered from " + from +
                                   " ended while holding it\n");
    }
    void ExpectRecoveredFrom(pid_t pid) {
        ExpectRecovered("process " + std::to_string(pid) + ", which", pid);
    }
    // Once while it is a zombie, once when it is gone.
    void ExpectTheName(const std::function<Process()> &start, const std::function<void()> &meanwhile = {}) {
        for (const bool reaped : {false, true}) {
            SCOPED_TRACE(reaped ? "reaped" : "a zombie");
            Process process = start();
            if (meanwhile) meanwhile();
            const pid_t pid = process.pid();
            process.Kill();
            if (reaped) process.Wait();
            ExpectRecoveredFrom(pid);
        }
    }

    static OalSemStatus Status() {
        OalSemStatus status;
        EXPECT_EQ(OAL_GetSemStatus(kKey, &status), 0);
        return status;
    }
};

class DeathsAt : public Deaths, public ::testing::WithParamInterface<Moment> {};

INSTANTIATE_TEST_SUITE_P(, DeathsAt, ::testing::Values(Moment::kTaken, Moment::kBeforeTheRelease),
                         [](const auto &moment) {
                             return moment.param == Moment::kTaken ? "Taken" : "BeforeTheRelease";
                         });

TEST_P(DeathsAt, HaveTheirName) {
    ExpectTheName([&] { return Stopped(GetParam()); });
}

TEST_P(DeathsAt, HaveTheirNameWhoeverElseTriesMeanwhile) {
    std::vector<Process> others;
    ExpectTheName([&] { return Stopped(GetParam()); },
                  [&] {
                      for (int i = 0; i < kMany; ++i)
                          others.push_back(Done([] { EXPECT_LT(OAL_SemLockByKey(kKey, 0), 0); }));
                      for (int i = 0; i < 3; ++i) others[others.size() - 1 - i].Kill();
                  });
}

TEST_P(DeathsAt, HaveTheirNameBesideThatOfOneThatDiedWaiting) {
    ExpectTheName([&] { return Stopped(GetParam()); },
                  [&] {
                      Process waiter(setup(), [] { OAL_SemLockByKey(kKey, 60000); });
                      ASSERT_TRUE(Eventually([&] { return waiter.Waits(); }));
                      waiter.Kill();
                  });
}

TEST_P(DeathsAt, OfOneOfManyThreadsIsThatOfItsProcess) {
    const Shared<std::atomic<bool>> there;
    Process process(setup(), [&] {
        TakeAndRelease(kKey);
        std::thread([&] {
            t_stop = {GetParam(), &*there, true};
            OAL_SemLockByKey(kKey, 500);
            OAL_SemUnLockByKey(kKey, 0);
        }).join();
        for (int i = 0; i < 3; ++i) TakeAndRelease(kOther);
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return there->load(); }));
    ExpectRecoveredFrom(process.pid());
}

TEST_P(DeathsAt, OfAForkedChildIsNotItsParents) {
    const Shared<std::atomic<bool>> there;
    const Shared<std::atomic<pid_t>> child;
    Process parent(setup(), [&] {
        TakeAndRelease(kKey);
        const pid_t forked = fork();
        if (forked == 0) StopAt(GetParam(), *there);
        *child = forked;
        ASSERT_TRUE(Eventually([&] { return there->load(); }));
        TakeAndRelease(kOther);
        kill(forked, SIGKILL);
        siginfo_t info;
        waitid(P_PID, static_cast<id_t>(forked), &info, WEXITED);
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *child != 0 && kill(*child, 0) != 0; }));
    ExpectRecoveredFrom(*child);
}

TEST_P(DeathsAt, HaveTheirNameWhileAnotherSemaphoreIsHeld) {
    ExpectTheName([&] {
        return Stopped([](std::atomic<bool> &there) {
            TakeAndRelease(kKey);
            EXPECT_EQ(OAL_SemLockByKey(kOther, 500), 0);
            t_stop = {GetParam(), &there, false};
            OAL_SemLockByKey(kKey, 500);
            OAL_SemUnLockByKey(kKey, 0);
        });
    });
    In([] { TakeAndRelease(kOther); });
}

TEST_F(Deaths, InTheReleaseOfAnOuterSemaphoreHaveTheirName) {
    ExpectTheName([&] {
        return Stopped([](std::atomic<bool> &there) {
            EXPECT_EQ(OAL_SemLockByKey(kKey, 500), 0);
            TakeAndRelease(kOther);
            t_stop = {Moment::kBeforeTheRelease, &there, false};
            OAL_SemUnLockByKey(kKey, 0);
        });
    });
}

TEST_F(Deaths, AfterAWaitHaveTheirName) {
    ExpectTheName([&] {
        const Shared<std::atomic<bool>> held;
        const Shared<std::atomic<bool>> release;
        const Shared<std::atomic<bool>> there;
        Process holder(setup(), [&] {
            EXPECT_EQ(OAL_SemLockByKey(kKey, 500), 0);
            *held = true;
            EXPECT_TRUE(Eventually([&] { return release->load(); }));
            EXPECT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
        });
        EXPECT_TRUE(Eventually([&] { return held->load(); }));
        Process process(setup(), [&] { StopAt(Moment::kTakenAfterAWait, *there); });
        EXPECT_TRUE(Eventually([&] { return process.Waits(); }));
        *release = true;
        EXPECT_TRUE(Eventually([&] { return there->load(); }));
        EXPECT_TRUE(holder.Wait().Succeeded());
        return process;
    });
}

// Threads that end leave their seats to others.
TEST_F(Deaths, HaveTheirNameAfterMoreThreadsThanThereAreSeats) {
    In([] {
        for (int i = 0; i < kSeats + kMany; ++i) std::thread(TakeAndRelease, kKey).join();
    });
    ExpectTheName([&] { return Stopped(Moment::kTaken); });
}

TEST_F(Deaths, HaveNoNameBetweenTheInstructionsWhenAllSeatsAreTaken) {
    Process crowd = Done([&] {
        std::atomic<int> seated{0};
        for (int i = 0; i < kSeats; ++i) {
            std::thread([&] {
                TakeAndRelease(kOther);
                ++seated;
                Forever();
            }).detach();
        }
        ASSERT_TRUE(Eventually([&] { return seated == kSeats; }));
    });
    Process process = Stopped(Moment::kTaken);
    process.Kill();
    ExpectRecovered("a process that", 0);
    Process holder = Done([] { EXPECT_EQ(OAL_SemLockByKey(kKey, 500), 0); });
    holder.Kill();
    ExpectRecoveredFrom(holder.pid());

    crowd.Kill();
    crowd.Wait();
    ExpectTheName([&] { return Stopped(Moment::kTaken); });
}

}  // namespace
#endif
