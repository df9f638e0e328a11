#include "control.h"

#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "forks.h"
#include "hov_slibc.h"
#include "objects.h"
#include "say.h"

namespace platform {

std::atomic<Control *> g_control{nullptr};

namespace {

void *Map(int fd) {
    void *at = mmap(nullptr, sizeof(Control), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    return at == MAP_FAILED ? nullptr : at;
}

bool InitMutex(pthread_mutex_t *mutex) {
    pthread_mutexattr_t attributes;
    int error = pthread_mutexattr_init(&attributes);
    if (error == 0) {
        error = pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
        if (error == 0) error = pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
        if (error == 0) error = pthread_mutex_init(mutex, &attributes);
        pthread_mutexattr_destroy(&attributes);
    }
    errno = error;
    return error == 0;
}

bool Fill(void *memory) {
    Control *control = new (memory) Control;  // over zeros: no member has a constructor that does anything
    control->header = kHeader;
    if (!InitMutex(&control->creation)) return false;
    for (Slot &slot : control->slots) {
        if (!InitMutex(&slot.mutex)) return false;
    }
    return true;
}

// False with errno set; also when another process was first, which is EEXIST.
bool CreateSegment(const char *path) {
    NewFile file(path, kMode);
    if (!file || !Allocate(file.fd(), sizeof(Control))) return false;
    void *memory = Map(file.fd());
    if (memory == nullptr) return false;
    const bool filled = Fill(memory);
    const int error = errno;
    munmap(memory, sizeof(Control));
    errno = error;
    return filled && file.Add();
}

// Maps an existing segment.
Control *MapSegment(const char *path) {
    struct stat status;
    const Fd fd = OpenObject(path, &status);
    if (!fd) return nullptr;

    ControlHeader found{};
    const ssize_t size = pread(fd.get(), &found, sizeof found, 0);
    if (size != sizeof found || memcmp(found.magic, kHeader.magic, sizeof found.magic) != 0) {
        SayRefused(path, "it holds no semaphores");
    } else if (found.version != kHeader.version) {
        SayRefused(path, "its layout has version %u, this program's %u", found.version, kHeader.version);
    } else if (found.word_size != kHeader.word_size || found.lock_size != kHeader.lock_size) {
        SayRefused(path, "made by a %u-bit process with locks of %u bytes, this one has %u bits and %u bytes",
                   found.word_size * 8, found.lock_size, kHeader.word_size * 8, kHeader.lock_size);
    } else if (found.size != kHeader.size) {
        SayRefused(path, "its layout has %u bytes, this program's %u", found.size, kHeader.size);
    } else if (static_cast<uint64_t>(status.st_size) != kHeader.size) {
        SayRefused(path, "it has %llu bytes, not %u", static_cast<unsigned long long>(status.st_size),
                   kHeader.size);
    } else {
        return static_cast<Control *>(Map(fd.get()));
    }
    errno = EPROTO;
    return nullptr;
}

// The creation lock; a process that died with it left at most a slot that is not marked as created.
class CreationLock {
  public:
    explicit CreationLock(Control &control) : control_(control) {
        constexpr uint64_t kPatience = 5000 * kMillisecond;
        error_ = LockUntil(&control_.creation, Now() + kPatience);
        if (error_ == EOWNERDEAD) error_ = pthread_mutex_consistent(&control_.creation);
    }
    ~CreationLock() {
        if (error_ == 0) pthread_mutex_unlock(&control_.creation);
    }
    CreationLock(const CreationLock &) = delete;
    CreationLock &operator=(const CreationLock &) = delete;
    int error() const { return error_; }

  private:
    Control &control_;
    int error_;
};

uint32_t HashOf(uint32_t key) { return (key * 0x9E3779B9u) >> 26; }
static_assert(Control::kHashed == 1u << (32 - 26));

Slot &HashedSlot(Control &control, uint32_t key, uint32_t probe) {
    return control.slots[Control::kFirstHashed + (HashOf(key) + probe) % Control::kHashed];
}

}  // namespace

Control *MapControl(bool create) {
    if (Control *mapped = MappedControl()) return mapped;
    const Locked locked(Lock::kMaps);
    if (Control *mapped = MappedControl()) return mapped;

    Path path;
    if (!ObjectPlace(kControlName, path)) {
        Say("%s cannot be placed: %s", kControlName, hov_strerror_s(errno));
        return nullptr;
    }
    Control *control = MapSegment(path);
    // Somebody may create it, or even remove it, at the same time.
    for (int tries = 0; control == nullptr && create && errno == ENOENT && tries < 8; ++tries) {
        if (!CreateSegment(path) && errno != EEXIST) {
            const int error = errno;
            Say("%s cannot be created: %s", path, hov_strerror_s(error));
            errno = error;
            return nullptr;
        }
        control = MapSegment(path);
    }
    if (control != nullptr) g_control.store(control, std::memory_order_release);
    return control;
}

uint64_t Now() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000 * kMillisecond + static_cast<uint64_t>(now.tv_nsec);
}

#ifdef __SANITIZE_THREAD__
// The thread sanitizer follows a mutex through trylock only: it does not know the other clock's function, and
// misses the death of a holder in the timed one.
int LockUntil(pthread_mutex_t *mutex, uint64_t deadline) {
    for (;;) {
        const int answer = pthread_mutex_trylock(mutex);
        if (answer != EBUSY) return answer;
        if (Now() >= deadline) return ETIMEDOUT;
        constexpr timespec kPause = {0, 100000};
        nanosleep(&kPause, nullptr);
    }
}
#else
int LockUntil(pthread_mutex_t *mutex, uint64_t deadline) {
    const timespec moment = {static_cast<time_t>(deadline / (1000 * kMillisecond)),
                             static_cast<long>(deadline % (1000 * kMillisecond))};
    return pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, &moment);
}
#endif

// Slots are given away and never taken back, so a probe ends at the first one that is free.
Slot *FindHashed(Control &control, uint32_t key) {
    for (uint32_t probe = 0; probe < Control::kHashed; ++probe) {
        Slot &slot = HashedSlot(control, key, probe);
        if (slot.created.load(std::memory_order_acquire) == 0) return nullptr;
        if (slot.key.load(std::memory_order_relaxed) == key) return &slot;
    }
    return nullptr;
}

Slot *CreateSlot(uint32_t key) {
    Control *control = MapControl(true);
    if (control == nullptr) return nullptr;
    const CreationLock lock(*control);
    if (lock.error() != 0) {
        errno = lock.error();
        return nullptr;
    }
    Slot *slot = FindSlot(*control, key);
    for (uint32_t probe = 0; slot == nullptr && probe < Control::kHashed; ++probe) {
        Slot &candidate = HashedSlot(*control, key, probe);
        if (candidate.created.load(std::memory_order_relaxed) == 0) slot = &candidate;
    }
    if (slot == nullptr) {
        errno = ENOSPC;
        return nullptr;
    }
    slot->key.store(key, std::memory_order_relaxed);
    slot->created.store(1, std::memory_order_release);
    return slot;
}

}  // namespace platform
