// Guards around a copy in shared memory.
#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <unistd.h>

#include <boost/interprocess/mapped_region.hpp>
#include <boost/interprocess/shared_memory_object.hpp>
#include <boost/interprocess/sync/named_mutex.hpp>
#include <cerrno>
#include <cstring>
#include <optional>

#include "bench.h"
#include "peers.h"

namespace bench {
namespace {

namespace ip = boost::interprocess;

int g_semaphores = -1;
std::string g_boost_name;

// Records of their sizes, each on pages of its own, as any program would place them.
class Records {
  public:
    static size_t SizeOf(const std::vector<size_t> &sizes) {
        size_t total = 0;
        for (const size_t size : sizes) total += Pages(size);
        return total;
    }
    void Place(void *memory, const std::vector<size_t> &sizes) {
        char *next = static_cast<char *>(memory);
        for (const size_t size : sizes) {
            records_.push_back({next, size});
            next += Pages(size);
        }
    }
    char *at(unsigned record) const { return records_[record].first; }
    size_t size(unsigned record) const { return records_[record].second; }

  private:
    static size_t Pages(size_t size) { return (size + 4095) / 4096 * 4096; }
    std::vector<std::pair<char *, size_t>> records_;
};

// Copies under a guard; a record of one word is an assignment, as in any program that knows its type.
template <class Lock, class Unlock>
uint64_t CopyTimes(char *to, const char *from, size_t size, uint64_t times, Lock lock, Unlock unlock) {
    uint64_t late = 0;
    if (size == 4) {
        for (uint64_t i = 0; i < times; ++i) {
            if (!lock()) {
                ++late;
                continue;
            }
            std::memcpy(to, from, 4);
            unlock();
            Clobber(to);
        }
    } else {
        for (uint64_t i = 0; i < times; ++i) {
            if (!lock()) {
                ++late;
                continue;
            }
            std::memcpy(to, from, size);
            unlock();
            Clobber(to);
        }
    }
    return late;
}

// A peer with a pair of functions around the copy, of the record's number.
template <class Guard>
class Guarded : public Peer {
  public:
    Guarded(const char *name_of_it, bool survives_a_kill) : Peer(name_of_it, survives_a_kill) {}
    void Start(const std::vector<size_t> &sizes) override {
        const size_t size = Records::SizeOf(sizes);
        records_.Place(guard_.Start(size, sizes.size()), sizes);
    }
    void Open() override { guard_.Open(); }
    uint64_t Get(unsigned record, void *to, uint64_t times) override {
        return Copy(record, static_cast<char *>(to), records_.at(record), times);
    }
    uint64_t Set(unsigned record, const void *from, uint64_t times) override {
        return Copy(record, records_.at(record), static_cast<const char *>(from), times);
    }

  private:
    uint64_t Copy(unsigned record, char *to, const char *from, uint64_t times) {
        return CopyTimes(
            to, from, records_.size(record), times, [&] { return guard_.Lock(record); },
            [&] { guard_.Unlock(record); });
    }
    Guard guard_;
    Records records_;
};

struct NoGuard {
    void *Start(size_t size, size_t) { return SharedMemory(size); }
    void Open() {}
    bool Lock(unsigned) { return true; }
    void Unlock(unsigned) {}
};

// Taken as the library takes its own: without waiting first, then for at most 500 ms.
struct MutexGuard {
    struct alignas(64) Line {
        pthread_mutex_t mutex;
    };
    Line *lines = nullptr;

    void *Start(size_t size, size_t count) {
        lines = static_cast<Line *>(SharedMemory(count * sizeof(Line)));
        pthread_mutexattr_t attributes;
        pthread_mutexattr_init(&attributes);
        pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        for (size_t i = 0; i < count; ++i)
            Check(pthread_mutex_init(&lines[i].mutex, &attributes) == 0, "pthread_mutex_init");
        pthread_mutexattr_destroy(&attributes);
        return SharedMemory(size);
    }
    void Open() {}
    bool Lock(unsigned record) {
        const int answer = pthread_mutex_trylock(&lines[record].mutex);
        return answer == 0 || Wait(record, answer);
    }
    void Unlock(unsigned record) { pthread_mutex_unlock(&lines[record].mutex); }

    __attribute__((noinline)) bool Wait(unsigned record, int answer) {
        if (answer == EBUSY) {
            timespec deadline;
            clock_gettime(CLOCK_MONOTONIC, &deadline);
            deadline.tv_nsec += 500000000;
            if (deadline.tv_nsec >= 1000000000) {
                deadline.tv_nsec -= 1000000000;
                ++deadline.tv_sec;
            }
            answer = pthread_mutex_clocklock(&lines[record].mutex, CLOCK_MONOTONIC, &deadline);
        }
        if (answer == EOWNERDEAD) answer = pthread_mutex_consistent(&lines[record].mutex);
        return answer == 0;
    }
};

struct SystemVGuard {
    void *Start(size_t size, size_t count) {
        if (g_semaphores < 0) throw Unable("System V semaphores are not to be had here");
        for (size_t i = 0; i < count; ++i)
            Check(semctl(g_semaphores, static_cast<int>(i), SETVAL, 1) == 0, "semctl");
        return SharedMemory(size);
    }
    void Open() {}
    bool Lock(unsigned record) {
        sembuf take{static_cast<unsigned short>(record), -1, SEM_UNDO};
        const timespec patience{0, 500000000};
        while (semtimedop(g_semaphores, &take, 1, &patience) != 0) {
            if (errno != EINTR) return false;
        }
        return true;
    }
    void Unlock(unsigned record) {
        sembuf give{static_cast<unsigned short>(record), 1, SEM_UNDO};
        Check(semop(g_semaphores, &give, 1) == 0, "semop");
    }
};

// It cannot wait for a limited time.
struct FlockGuard {
    std::vector<int> files;
    size_t count = 0;

    static std::string PathOf(size_t record) { return Directory() + "/flock-" + std::to_string(record); }
    void *Start(size_t size, size_t records) {
        count = records;
        for (size_t i = 0; i < count; ++i) close(open(PathOf(i).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600));
        return SharedMemory(size);
    }
    void Open() {
        for (const int fd : files) close(fd);  // of the parent: they would share its locks
        files.clear();
        for (size_t i = 0; i < count; ++i) {
            files.push_back(open(PathOf(i).c_str(), O_RDWR | O_CLOEXEC));
            Check(files.back() >= 0, "open");
        }
    }
    bool Lock(unsigned record) {
        while (flock(files[record], LOCK_EX) != 0) Check(errno == EINTR, "flock");
        return true;
    }
    void Unlock(unsigned record) { flock(files[record], LOCK_UN); }
};

struct BoostGuard {
    ip::mapped_region region;
    std::optional<ip::named_mutex> mutex;

    void *Start(size_t size, size_t) {
        ip::shared_memory_object memory(ip::open_or_create, g_boost_name.c_str(), ip::read_write);
        memory.truncate(static_cast<ip::offset_t>(size));
        region = ip::mapped_region(memory, ip::read_write);
        ip::named_mutex::remove(g_boost_name.c_str());
        ip::named_mutex made(ip::create_only, g_boost_name.c_str());
        return region.get_address();
    }
    void Open() { mutex.emplace(ip::open_only, g_boost_name.c_str()); }
    bool Lock(unsigned) {
        mutex->lock();
        return true;
    }
    void Unlock(unsigned) { mutex->unlock(); }
};

}  // namespace

void *SharedMemory(size_t size) {
    void *memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    Check(memory != MAP_FAILED, "mmap");
    std::memset(memory, 0, size);
    return memory;
}

void CreateKernelObjects() {
    g_semaphores = semget(IPC_PRIVATE, 64, 0600);
    g_boost_name = "midware-bench-" + std::to_string(getpid());
}

void RemoveKernelObjects() {
    if (g_semaphores >= 0) semctl(g_semaphores, 0, IPC_RMID);
    ip::named_mutex::remove(g_boost_name.c_str());
    ip::shared_memory_object::remove(g_boost_name.c_str());
}

std::unique_ptr<Peer> MakeCopy() { return std::make_unique<Guarded<NoGuard>>(kCopy, false); }
std::unique_ptr<Peer> MakeMutex() { return std::make_unique<Guarded<MutexGuard>>(kMutex, true); }
std::unique_ptr<Peer> MakeSystemV() { return std::make_unique<Guarded<SystemVGuard>>("System V", true); }
std::unique_ptr<Peer> MakeFlock() { return std::make_unique<Guarded<FlockGuard>>("flock", true); }
std::unique_ptr<Peer> MakeBoost() {
    return std::make_unique<Guarded<BoostGuard>>("Boost.Interprocess", false);
}

bool TryStart(Peer &peer, const std::vector<size_t> &sizes) {
    try {
        peer.Start(sizes);
        return true;
    } catch (const std::exception &error) {
        Missing(peer.name, error.what());
        return false;
    }
}

std::vector<std::unique_ptr<Peer>> StartPeers(const std::vector<size_t> &sizes) {
    std::vector<std::unique_ptr<Peer>> peers;
    for (const auto make : {MakeCopy, MakeMutex, MakeSystemV, MakeFlock, MakeBoost, MakeLmdb, MakeSqlite,
                            MakeRedis, MakeDbus}) {
        std::unique_ptr<Peer> peer = make();
        if (TryStart(*peer, sizes)) peers.push_back(std::move(peer));
    }
    return peers;
}

}  // namespace bench
