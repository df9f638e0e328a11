#include "forks.h"

#include <pthread.h>
#include <unistd.h>

namespace platform {

constinit thread_local Self t_self{};

namespace {

constexpr int kLocks = static_cast<int>(Lock::kCount);

pthread_mutex_t g_locks[] = {PTHREAD_MUTEX_INITIALIZER, PTHREAD_MUTEX_INITIALIZER, PTHREAD_MUTEX_INITIALIZER};
static_assert(sizeof g_locks / sizeof *g_locks == kLocks);
pthread_once_t g_once = PTHREAD_ONCE_INIT;

void BeforeFork() {
    for (int i = 0; i < kLocks; ++i) pthread_mutex_lock(&g_locks[i]);
}

void AfterFork() {
    for (int i = kLocks - 1; i >= 0; --i) pthread_mutex_unlock(&g_locks[i]);
}

void InChild() {
    t_self = {};
    AfterFork();
}

void Register() { pthread_atfork(BeforeFork, AfterFork, InChild); }

}  // namespace

const Self &LearnSelf() {
    pthread_once(&g_once, Register);
    t_self = {static_cast<uint32_t>(getpid()), static_cast<uint32_t>(gettid()), nullptr};
    return t_self;
}

Locked::Locked(Lock lock) : lock_(lock) {
    pthread_once(&g_once, Register);
    pthread_mutex_lock(&g_locks[static_cast<int>(lock_)]);
}

Locked::~Locked() { pthread_mutex_unlock(&g_locks[static_cast<int>(lock_)]); }

}  // namespace platform
