// Uncontended gets and sets of records of typical sizes, against the copy alone and against other guards of it.
#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>

#include <cstdlib>
#include <cstring>

#include "bench.h"
#include "midware.h"

namespace {

constexpr size_t kSizes[] = {4, 72, 824, 3960};

// The bytes that the peers of the library copy, in memory that other processes could share.
struct Shared {
    pthread_mutex_t mutex;
    alignas(64) char record[3960];
};

Shared &Peer() {
    static Shared *shared = [] {
        void *memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        auto *made = static_cast<Shared *>(memory);
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        pthread_mutex_init(&made->mutex, &attributes);
        return made;
    }();
    return *shared;
}

char g_record[3960 * 2];

int SystemVSemaphore() {
    static const int id = [] {
        const int made = semget(IPC_PRIVATE, 1, 0600);
        if (made < 0 || semctl(made, 0, SETVAL, 1) != 0) std::abort();
        std::atexit([] { semctl(SystemVSemaphore(), 0, IPC_RMID); });
        return made;
    }();
    return id;
}

void Copy(benchmark::State &state, size_t size) {
    for (auto _ : state) {
        std::memcpy(g_record, Peer().record, size);
        benchmark::ClobberMemory();
    }
}

void RobustMutex(benchmark::State &state, size_t size) {
    for (auto _ : state) {
        if (pthread_mutex_trylock(&Peer().mutex) != 0) std::abort();
        std::memcpy(g_record, Peer().record, size);
        pthread_mutex_unlock(&Peer().mutex);
        benchmark::ClobberMemory();
    }
}

void SystemV(benchmark::State &state, size_t size) {
    sembuf take{0, -1, SEM_UNDO}, give{0, 1, SEM_UNDO};
    for (auto _ : state) {
        if (semop(SystemVSemaphore(), &take, 1) != 0) std::abort();
        std::memcpy(g_record, Peer().record, size);
        if (semop(SystemVSemaphore(), &give, 1) != 0) std::abort();
        benchmark::ClobberMemory();
    }
}

uint32_t g_count;

template <class T>
T *Record() {
    return reinterpret_cast<T *>(g_record);
}

// The accessors that move exactly so many bytes.
int32_t Get(size_t size) {
    switch (size) {
        case 4: return MW_GetMemCount(&g_count);
        case 72: return MW_GetCpuTempInfoByID(Record<CpuTempInfo>(), 0);
        case 824: return MW_GetMemAssetInfo(Record<MemAssetInfo>(), &g_count);
        default: return MW_GetMemPhyInfo(Record<MemPhyInfo>(), &g_count);  // 45 records of 88 bytes
    }
}

int32_t Set(size_t size) {
    switch (size) {
        case 4: return MW_SetTimeSource(1);
        case 72: return MW_SetCpuTempInfo(Record<CpuTempInfo>());
        case 824: return MW_SetMemAssetInfo(Record<MemAssetInfo>(), 1);
        default: return MW_SetMemDimmNuminStatusInfo(Record<MemStatusInfo>(), 1);
    }
}

template <class Accessor>
void Library(benchmark::State &state, Accessor accessor, size_t size) {
    // One processor, one asset record and 45 DIMMs, so that the sizes come out.
    std::memset(g_record, 0, sizeof g_record);
    CpuStatusInfo cpu{};
    if (MW_SetCpuIndexAndSilkNumInStatusInfo(&cpu, 1) != 0 || Set(824) != 0 ||
        MW_SetMemPhyInfo(Record<MemPhyInfo>(), 45) != 0) {
        std::abort();
    }
    for (auto _ : state) {
        if (accessor(size) != 0) std::abort();
        benchmark::ClobberMemory();
    }
}

const bool kRegistered = [] {
    for (size_t size : kSizes) {
        const std::string bytes = "/" + std::to_string(size);
        benchmark::RegisterBenchmark(("memcpy" + bytes).c_str(), Copy, size);
        benchmark::RegisterBenchmark(("robust_mutex" + bytes).c_str(), RobustMutex, size);
        benchmark::RegisterBenchmark(("system_v" + bytes).c_str(), SystemV, size);
        benchmark::RegisterBenchmark(("get" + bytes).c_str(), [](benchmark::State &s, size_t n) { Library(s, Get, n); }, size);
        benchmark::RegisterBenchmark(("set" + bytes).c_str(), [](benchmark::State &s, size_t n) { Library(s, Set, n); }, size);
        for (const char *accessor : {"get", "set"}) {
            CompareTimes(accessor + bytes, "memcpy" + bytes);
            CompareTimes(accessor + bytes, "robust_mutex" + bytes,
                         size == 4 && *accessor == 'g' ? "wanted: at most 1.3" : "");
            CompareTimes("system_v" + bytes, accessor + bytes, size == 4 ? "wanted: at least 5" : "");
        }
    }
    return true;
}();

}  // namespace
