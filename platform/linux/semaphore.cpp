#include <fcntl.h>
#include <linux/futex.h>
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <tuple>

#include "control.h"
#include "files.h"
#include "forks.h"
#include "hov_slibc.h"
#include "oal.h"
#include "oal_status.h"
#include "objects.h"
#include "paths.h"
#include "say.h"

namespace platform {
namespace {

constexpr uint32_t kDiskLockTimeoutMs = 5000;

constexpr auto kRelaxed = std::memory_order_relaxed;

// One that only the holder of the lock writes.
void Increment(std::atomic<uint32_t> &count) { count.store(count.load(kRelaxed) + 1, kRelaxed); }

// What `wants` is for the semaphore of a key: not 0 for any of the library's, nor for the disk slot file's.
constexpr uint32_t Wanting(uint32_t key) { return key + 2; }
static_assert(Wanting(OAL_CUSTOM_DISK_LOCK_KEY) != 0);

// What a thread says in its seat is read when it is dead: it must have said it before it did it, and needs
// no order beyond its own.
inline void SetWanted(Seat &seat, uint32_t wants) {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    seat.wants.store(wants, kRelaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

inline void Turn(Slot &slot, uint32_t turns) {
    slot.turns.store(turns + 1, std::memory_order_release);
    if (turns + 1 == 0) [[unlikely]]
        Increment(slot.turns_high);
}

inline void BecomeHolder(Slot &slot, const Self &me) {
    slot.pid.store(me.pid, kRelaxed);
    slot.tid.store(me.tid, kRelaxed);
    Turn(slot, slot.turns.load(kRelaxed));
}

bool IsHeldBy(const Slot &slot, const Self &me) {
    return (slot.turns.load(std::memory_order_acquire) & 1) != 0 && slot.tid.load(kRelaxed) == me.tid &&
           slot.pid.load(kRelaxed) == me.pid;
}

uint32_t SumOf(uint32_t turns, uint32_t low, uint32_t high) {
    uint32_t sum = 0x9E3779B9u;
    for (const uint32_t word : {turns, low, high}) sum = (sum ^ word) * 0x85EBCA6Bu ^ (sum >> 15);
    return sum;
}

// For how many milliseconds at least the present turn has been going on: since somebody first saw it, which
// is now when nobody did. 0 when it is free.
int64_t HeldFor(Slot &slot) {
    const uint32_t turns = slot.turns.load(std::memory_order_acquire);
    if ((turns & 1) == 0) return 0;
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    const uint64_t now =
        static_cast<uint64_t>(time.tv_sec) * 1000 + static_cast<uint64_t>(time.tv_nsec) / 1000000;
    const uint32_t low = slot.seen_at[0].load(kRelaxed);
    const uint32_t high = slot.seen_at[1].load(kRelaxed);
    if (slot.seen_sum.load(kRelaxed) == SumOf(turns, low, high)) {
        const uint64_t seen = static_cast<uint64_t>(high) << 32 | low;
        return seen < now ? static_cast<int64_t>(now - seen) : 0;
    }
    const uint32_t words[2] = {static_cast<uint32_t>(now), static_cast<uint32_t>(now >> 32)};
    slot.seen_at[0].store(words[0], kRelaxed);
    slot.seen_at[1].store(words[1], kRelaxed);
    slot.seen_sum.store(SumOf(turns, words[0], words[1]), kRelaxed);
    return 0;
}

enum class Life { kGone, kZombie, kExiting, kAlive };

bool IsGone(uint32_t tid) { return kill(static_cast<pid_t>(tid), 0) != 0 && errno == ESRCH; }

// The kernel passes the locks of a thread on while it is exiting.
Life LifeOf(uint32_t tid) {
    if (IsGone(tid)) return Life::kGone;
    char path[32];
    snprintf(path, sizeof path, "/proc/%u/stat", tid);
    struct stat status;
    const Fd fd = OpenRegular(path, O_RDONLY, &status);
    char text[256] = "";
    if (!fd || read(fd.get(), text, sizeof text - 1) <= 0)  // it may go at any moment
        return IsGone(tid) ? Life::kGone : Life::kAlive;
    const char *name_end = strrchr(text, ')');
    char state = 0;
    unsigned flags = 0;
    if (name_end == nullptr || sscanf(name_end + 1, " %c %*d %*d %*d %*d %*d %u", &state, &flags) != 2)
        return Life::kAlive;
    constexpr unsigned kExitingFlag = 4;
    return state == 'Z' || state == 'X'  ? Life::kZombie
           : (flags & kExitingFlag) != 0 ? Life::kExiting
                                         : Life::kAlive;
}

// For threads that find no seat. What it says of them is lost.
Seat g_nowhere;

// Takes one that was this thread's number's before, a free one, one of a thread that ended and wanted
// nothing, or of any that ended.
void TakeSeat(Control &control) {
    const Self &me = Me();
    enum Step { kOwn, kFree, kLeft, kLost, kSteps };
    const int error = errno;
    Seat *taken = &g_nowhere;
    for (int step = kOwn; step < kSteps && taken == &g_nowhere; ++step) {
        for (Seat &seat : control.seats) {
            uint32_t tid = seat.tid.load(kRelaxed);
            const bool fits = step == kOwn    ? tid == me.tid
                              : step == kFree ? tid == 0
                              : step == kLeft ? seat.wants.load(kRelaxed) == 0 && IsGone(tid)
                                              : IsGone(tid);
            if (!fits || !seat.tid.compare_exchange_strong(tid, me.tid, kRelaxed)) continue;
            taken = &seat;
            break;
        }
    }
    taken->wants.store(0, kRelaxed);
    taken->waits.store(0, kRelaxed);
    taken->pid.store(me.pid, kRelaxed);
    t_self.seat = taken;
    errno = error;
}

// The dead process that most likely was about to become the holder, or just was it no more; 0 when there is
// none. Others may have died while they wanted the slot. One that is exiting this moment comes first, then
// one that tried within the last few turns, one that is still to be asked for by its parent, one that waited
// and may have tried long ago.
uint32_t FindDeadUser(const Control &control, const Slot &slot, uint32_t key) {
    using Rank = std::tuple<bool, bool, bool, bool, uint32_t>;
    uint32_t found = 0;
    Rank best;
    const uint32_t now = slot.turns.load(kRelaxed);
    for (const Seat &seat : control.seats) {
        if (seat.wants.load(kRelaxed) != Wanting(key)) continue;
        const Life life = LifeOf(seat.tid.load(kRelaxed));
        if (life == Life::kAlive) continue;
        constexpr uint32_t kFew = 3;
        const bool waits = seat.waits.load(kRelaxed) != 0;
        const uint32_t ago = now - seat.turn.load(kRelaxed);
        const Rank rank(life == Life::kExiting, !waits && ago <= kFew, life == Life::kZombie, waits,
                        UINT32_MAX - ago);
        if (found != 0 && rank <= best) continue;
        found = seat.pid.load(kRelaxed);
        best = rank;
    }
    return found;
}

// Which process left the semaphore behind; 0 when that cannot be told. An odd count says that the stored
// numbers are its own. An even one says that it ended within the few instructions between taking the mutex
// and storing them, or between erasing them and the release.
uint32_t FindLost(const Control &control, const Slot &slot, uint32_t key) {
    if ((slot.turns.load(kRelaxed) & 1) != 0) return slot.pid.load(kRelaxed);
    // Without a descriptor for /proc it does not look dead before it is gone.
    for (int tries = 0; tries < 10; ++tries) {
        if (const uint32_t pid = FindDeadUser(control, slot, key)) return pid;
        constexpr timespec kPause = {0, 1000000};
        nanosleep(&kPause, nullptr);
    }
    return 0;
}

// The mutex is held, and its last holder ended without releasing it.
void Recover(Slot &slot, uint32_t key) {
    const int error = errno;
    Control &control = *MappedControl();
    const uint32_t lost = FindLost(control, slot, key);
    for (Seat &seat : control.seats) {  // the dead of today are not to be taken for the dead of tomorrow
        uint32_t wants = Wanting(key);
        if (seat.wants.load(kRelaxed) == wants && LifeOf(seat.tid.load(kRelaxed)) != Life::kAlive)
            seat.wants.compare_exchange_strong(wants, 0, kRelaxed);
    }
    char name[32];
    snprintf(name, sizeof name, key == OAL_CUSTOM_DISK_LOCK_KEY ? "of the custom disk file" : "%u", key);
    if (lost != 0) {
        Say("semaphore %s recovered from process %u, which ended while holding it", name, lost);
    } else {
        Say("semaphore %s recovered from a process that ended while holding it", name);
    }

    const uint32_t turns = slot.turns.load(kRelaxed);
    if ((turns & 1) != 0) Turn(slot, turns);

    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const uint64_t seconds = static_cast<uint64_t>(now.tv_sec);
    slot.recovered_at[0].store(static_cast<uint32_t>(seconds), kRelaxed);
    slot.recovered_at[1].store(static_cast<uint32_t>(seconds >> 32), kRelaxed);
    slot.recovered_pid.store(lost, kRelaxed);
    Increment(slot.recovered);
    pthread_mutex_consistent(&slot.mutex);
    errno = error;
}

// --- waiting -------------------------------------------------------------------------------------
//
// The kernel wakes waiters in the order in which they came, but whoever is running takes the mutex before the
// one that was woken. That is fast, and lets a waiter starve when others come back again and again. So one
// that has waited for kHungryAfter says so in the slot, and newcomers then sleep before they try: what was
// waiting is served in order.

constexpr uint64_t kHungryAfter = 2 * kMillisecond;
constexpr uint64_t kHungryFor = 100 * kMillisecond;  // unless it says so again: it may have been killed
constexpr uint64_t kGiveWayFor = 50 * kMillisecond;  // at most, in one call

uint32_t MillisecondsOf(uint64_t time) { return static_cast<uint32_t>(time / kMillisecond); }

bool IsOver(uint32_t hungry, uint64_t now) { return static_cast<int32_t>(hungry - MillisecondsOf(now)) < 0; }

// Says that this thread is hungry, or says it again when `mine` is what it said. What it says, or 0 when
// another one is.
uint32_t SayHungry(Slot &slot, uint64_t now, uint32_t mine) {
    uint32_t said = slot.hungry.load(kRelaxed);
    if (said != mine && said != 0 && !IsOver(said, now)) return 0;
    const uint32_t until = MillisecondsOf(now + kHungryFor) | 1;
    return slot.hungry.compare_exchange_strong(said, until, kRelaxed) ? until : 0;
}

// Sleeps while somebody is hungry.
void GiveWay(Slot &slot, uint64_t until) {
    while (uint32_t said = slot.hungry.load(kRelaxed)) {
        const uint64_t now = Now();
        if (IsOver(said, now)) slot.hungry.compare_exchange_strong(said, 0, kRelaxed);
        if (now >= until) return;
        const uint64_t rest = until - now;
        // What the call takes, which is the C library's timespec only where that has no wider seconds.
        const long patience[] = {static_cast<long>(rest / (1000 * kMillisecond)),
                                 static_cast<long>(rest % (1000 * kMillisecond))};
        static_assert(sizeof slot.hungry == 4);
        syscall(SYS_futex, &slot.hungry, FUTEX_WAIT, said, patience, nullptr, 0);
    }
}

// Takes back what was said.
void BeSated(Slot &slot, uint32_t mine) {
    if (slot.hungry.compare_exchange_strong(mine, 0, kRelaxed))
        syscall(SYS_futex, &slot.hungry, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

inline void Pause() {
#if defined __x86_64__ || defined __i386__
    __builtin_ia32_pause();
#elif defined __aarch64__ || (defined __ARM_ARCH && __ARM_ARCH >= 7)
    asm volatile("yield");
#endif
}

// Most holders are done sooner than a waiter could fall asleep.
int Spin(Slot &slot) {
    constexpr int kTries = 20;
    int answer = EBUSY;
    for (int i = 0; i < kTries && answer == EBUSY; ++i) {
        Pause();
        if ((slot.turns.load(kRelaxed) & 1) == 0) answer = pthread_mutex_trylock(&slot.mutex);
    }
    return answer;
}

// `hungry` is what it said, to be taken back by the caller.
int Wait(Slot &slot, uint32_t timeout_ms, uint32_t &hungry) {
    uint64_t now = Now();
    const uint64_t deadline = now + timeout_ms * kMillisecond;
    if (slot.hungry.load(kRelaxed) != 0) {
        GiveWay(slot, std::min(deadline, now + kGiveWayFor));
        now = Now();
    }
    int answer = Spin(slot);
    if (answer == EBUSY) {
        do {
            const uint64_t slice = hungry == 0 ? kHungryAfter : kHungryFor / 2;
            answer = LockUntil(&slot.mutex, std::min(deadline, now + slice));
            now = Now();
            if (answer == ETIMEDOUT && now < deadline) hungry = SayHungry(slot, now, hungry);
        } while (answer == ETIMEDOUT && now < deadline);
    }
    return answer;
}

// What follows a trylock that did not answer 0, or was not tried to let another one go first.
__attribute__((cold, noinline)) int32_t LockBusy(Slot &slot, uint32_t key, uint32_t timeout_ms, int answer) {
    Seat &seat = *t_self.seat;
    const bool busy = answer == EBUSY;
    uint32_t hungry = 0;
    if (busy && timeout_ms == 0) answer = ETIMEDOUT;
    if (busy && timeout_ms > 0) {
        seat.waits.store(1, kRelaxed);
        HeldFor(slot);
        answer = Wait(slot, timeout_ms, hungry);
    }
    const bool taken = answer == 0 || answer == EOWNERDEAD;
    if (taken) {
        seat.turn.store(slot.turns.load(kRelaxed), kRelaxed);
        seat.waits.store(0, kRelaxed);
        if (answer == EOWNERDEAD) Recover(slot, key);
        BecomeHolder(slot, t_self);
        if (busy) Increment(slot.contended);
    }
    if (!taken) SetWanted(seat, 0);
    seat.waits.store(0, kRelaxed);
    if (hungry != 0) BeSated(slot, hungry);  // not before the holder's numbers are stored
    if (taken) return 0;
    if (answer == ETIMEDOUT) slot.timed_out.fetch_add(1, kRelaxed);
    errno = answer;
    return -1;
}

__attribute__((cold, noinline)) int32_t LockFirst(Slot &slot, uint32_t key, uint32_t timeout_ms);

inline int32_t LockSlot(Slot &slot, uint32_t key, uint32_t timeout_ms) {
    const Self &me = t_self;
    if (me.seat == nullptr) [[unlikely]]
        return LockFirst(slot, key, timeout_ms);
    Seat &seat = *me.seat;
    seat.turn.store(slot.turns.load(kRelaxed), kRelaxed);
    SetWanted(seat, Wanting(key));
    int answer = EBUSY;
    if (slot.hungry.load(kRelaxed) == 0 || timeout_ms == 0) [[likely]]
        answer = pthread_mutex_trylock(&slot.mutex);
    if (answer != 0) [[unlikely]]
        return LockBusy(slot, key, timeout_ms, answer);
    BecomeHolder(slot, me);
    return 0;
}

int32_t LockFirst(Slot &slot, uint32_t key, uint32_t timeout_ms) {
    TakeSeat(*MappedControl());
    return LockSlot(slot, key, timeout_ms);
}

inline int32_t UnlockSlot(Slot &slot, uint32_t key) {
    const Self &me = t_self;
    if (!IsHeldBy(slot, me)) [[unlikely]] {
        errno = EPERM;
        return -1;
    }
    Seat &seat = *me.seat;
    if (seat.wants.load(kRelaxed) != Wanting(key)) [[unlikely]]  // it took another one meanwhile
        SetWanted(seat, Wanting(key));
    Turn(slot, slot.turns.load(kRelaxed));
    const int error = pthread_mutex_unlock(&slot.mutex);
    SetWanted(seat, 0);
    if (error == 0) [[likely]]
        return 0;
    errno = error;
    return -1;
}

__attribute__((cold, noinline)) Slot *FindCreatedFirst(uint32_t key) {
    Control *control = MapControl(false);
    if (control == nullptr) return nullptr;
    Slot *slot = FindSlot(*control, key);
    if (slot != nullptr && slot->created.load(kRelaxed) != 0) return slot;
    errno = ENOENT;
    return nullptr;
}

// The semaphore of `key`; NULL with errno set.
inline Slot *FindCreated(uint32_t key) {
    if (Control *control = MappedControl()) [[likely]] {
        Slot *slot = FindSlot(*control, key);
        if (slot != nullptr && slot->created.load(kRelaxed) != 0) [[likely]]
            return slot;
    }
    return FindCreatedFirst(key);
}

// The lock of the custom disk slot file exists from its first use on.
Slot *DiskSlot() {
    Control *control = MapControl(true);
    if (control == nullptr) return nullptr;
    Slot &slot = control->slots[Control::kDiskSlot];
    slot.created.store(1, kRelaxed);
    return &slot;
}

}  // namespace
}  // namespace platform

using namespace platform;

int32_t OAL_SemCreate(uint32_t key) { return CreateSlot(key) != nullptr ? 0 : -1; }

int32_t OAL_SemLockByKey(uint32_t key, uint32_t timeout_ms) {
    Slot *slot = FindCreated(key);
    return slot != nullptr ? LockSlot(*slot, key, timeout_ms) : -1;
}

int32_t OAL_SemUnLockByKey(uint32_t key, uint32_t) {
    Slot *slot = FindCreated(key);
    return slot != nullptr ? UnlockSlot(*slot, key) : -1;
}

int32_t hov_CustomPchDiskSemLock(void) {
    Slot *slot = DiskSlot();
    return slot != nullptr ? LockSlot(*slot, OAL_CUSTOM_DISK_LOCK_KEY, kDiskLockTimeoutMs) : -1;
}

int32_t hov_CustomPchDiskSemUnLock(void) {
    Slot *slot = DiskSlot();
    return slot != nullptr ? UnlockSlot(*slot, OAL_CUSTOM_DISK_LOCK_KEY) : -1;
}

int32_t OAL_GetPath(const char *path, char *out, uint32_t size) {
    Path place;
    if (out == nullptr || !Place(path, place)) {
        if (out == nullptr) errno = EINVAL;
        return -1;
    }
    const size_t length = strlen(place);
    if (length >= size) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(out, place, length + 1);
    return 0;
}

int32_t OAL_GetLocksFormat(OalLocksFormat *found, OalLocksFormat *expected) {
    if (found == nullptr || expected == nullptr) {
        errno = EINVAL;
        return -1;
    }
    const auto format = [](const ControlHeader &header) {
        return OalLocksFormat{header.version, header.word_size, header.lock_size, header.size};
    };
    *found = {};
    *expected = format(kHeader);
    Path path;
    if (!ObjectPlace(kControlName, path)) return -1;
    struct stat status;
    const Fd fd = OpenRegular(path, O_RDONLY, &status);
    if (!fd) return -1;
    ControlHeader header{};
    if (pread(fd.get(), &header, sizeof header, 0) == sizeof header &&
        memcmp(header.magic, kHeader.magic, sizeof header.magic) == 0)
        *found = format(header);
    return 0;
}

int32_t OAL_GetSemStatus(uint32_t key, OalSemStatus *status) {
    if (status == nullptr) {
        errno = EINVAL;
        return -1;
    }
    *status = {};
    Control *control = MapControl(false);
    if (control == nullptr) return -1;
    Slot *slot =
        key == OAL_CUSTOM_DISK_LOCK_KEY ? &control->slots[Control::kDiskSlot] : FindSlot(*control, key);
    if (slot == nullptr || slot->created.load(kRelaxed) == 0) return 0;

    status->exists = 1;
    uint32_t high;
    uint32_t turns;
    do {
        high = slot->turns_high.load(std::memory_order_acquire);
        turns = slot->turns.load(std::memory_order_acquire);
    } while (high != slot->turns_high.load(kRelaxed));
    status->taken = ((static_cast<uint64_t>(high) << 32) + turns + 1) / 2;
    status->held = turns & 1;
    status->last_pid = static_cast<int32_t>(slot->pid.load(kRelaxed));
    status->last_tid = static_cast<int32_t>(slot->tid.load(kRelaxed));
    if (status->held != 0) {
        status->holder_pid = status->last_pid;
        status->holder_tid = status->last_tid;
        status->held_for_ms = HeldFor(*slot);
    }
    status->contended = slot->contended.load(kRelaxed);
    status->timed_out = slot->timed_out.load(kRelaxed);
    status->recovered = slot->recovered.load(kRelaxed);
    status->recovered_pid = static_cast<int32_t>(slot->recovered_pid.load(kRelaxed));
    status->recovered_at =
        static_cast<int64_t>(static_cast<uint64_t>(slot->recovered_at[1].load(kRelaxed)) << 32 |
                             slot->recovered_at[0].load(kRelaxed));
    return 0;
}
