// The control segment: every semaphore of the system, in a shared-memory object of its own.
//
// Its layout depends on the lock type of the C library and on the word size, so it begins with a header that
// says which ones it was made for; a process that differs refuses it. Everything in it is initialised before
// it gets its name.
#ifndef PLATFORM_CONTROL_H
#define PLATFORM_CONTROL_H

#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(hidden)

namespace platform {

inline constexpr char kControlName[] = "midware-locks";

struct ControlHeader {
    char magic[8];
    uint32_t version;
    uint32_t word_size;  // of a pointer
    uint32_t lock_size;  // of the lock type
    uint32_t size;       // of the whole segment
};
static_assert(sizeof(ControlHeader) == 24);

// One semaphore. What is written at every lock lies in the lock's own cache line where the lock type leaves
// room.
struct alignas(64) Slot {
    pthread_mutex_t mutex;  // robust; initialised from the start
    std::atomic<uint32_t> created;

    // Not 0 while somebody has waited so long that newcomers let it go first: the low bits of the time on the
    // monotonic clock, in milliseconds, until which that is so.
    std::atomic<uint32_t> hungry;

    // Written by the holder only. `turns` is odd while the semaphore is held: first the holder's numbers are
    // stored, then it turns odd; it turns even before the release. It carries into `turns_high`.
    std::atomic<uint32_t> turns;
    std::atomic<uint32_t> turns_high;
    std::atomic<uint32_t> pid;
    std::atomic<uint32_t> tid;

    std::atomic<uint32_t> key;
    std::atomic<uint32_t> contended;
    std::atomic<uint32_t> timed_out;
    std::atomic<uint32_t> recovered;
    std::atomic<uint32_t> recovered_pid;
    std::atomic<uint32_t> recovered_at[2];  // seconds since 1970, low word first
    std::atomic<uint32_t>
        region_size;  // of the shared-memory region of the same key; 0 until that is complete

    // When somebody first saw that a turn was going on, which waits and looks leave: in milliseconds of the
    // monotonic clock, low word first. Taking a free semaphore costs no clock that way. The words are not
    // written at once: the sum over them and the turn says that they belong together.
    std::atomic<uint32_t> seen_at[2];
    std::atomic<uint32_t> seen_sum;
};

// One thread's. It says which semaphore the thread is about to take, and goes on to say it until that is
// released: who dies while the semaphore's own numbers do not tell the holder is found here.
struct alignas(64) Seat {
    std::atomic<uint32_t> tid;  // 0 when it is free; one that is gone has left it
    std::atomic<uint32_t> pid;
    std::atomic<uint32_t> wants;  // the semaphore's, see Wanting; 0 for none
    std::atomic<uint32_t> turn;   // of that slot when the thread began
    std::atomic<uint32_t> waits;  // 1 while it waits for it
};

struct Control {
    // Keys of the shared area and its modules have a slot of their own; others are found by hashing.
    static constexpr uint32_t kFirstKey = 12290;
    static constexpr uint32_t kDirectKeys = 15;
    static constexpr uint32_t kAreaKey = 4099;
    static constexpr uint32_t kAreaSlot = kDirectKeys;
    static constexpr uint32_t kDiskSlot = kAreaSlot + 1;
    static constexpr uint32_t kFirstHashed = kDiskSlot + 1;
    static constexpr uint32_t kHashed = 64;  // a power of two

    ControlHeader header;
    alignas(64) pthread_mutex_t creation;  // held while a hashed slot is given away
    Slot slots[kFirstHashed + kHashed];

    static constexpr uint32_t kSeats = 256;
    Seat seats[kSeats];
};
static_assert(std::atomic<uint32_t>::is_always_lock_free && sizeof(std::atomic<uint32_t>) == 4);

inline constexpr ControlHeader kHeader = {
    {'M', 'I', 'D', 'W', 'L', 'O', 'C', 'K'}, 3, sizeof(void *), sizeof(pthread_mutex_t), sizeof(Control)};

extern std::atomic<Control *> g_control;

// Maps the segment of this system, creating it first when `create`. NULL with errno set: ENOENT when there is
// none, EPROTO when it was made for another kind of process, EPERM when it is not to be trusted.
Control *MapControl(bool create);

inline Control *MappedControl() { return g_control.load(std::memory_order_acquire); }

// The slot of a key that has none of its own; NULL when it was never created.
Slot *FindHashed(Control &control, uint32_t key);

inline Slot *FindSlot(Control &control, uint32_t key) {
    const uint32_t direct = key - Control::kFirstKey;
    if (direct < Control::kDirectKeys) [[likely]]
        return &control.slots[direct];
    if (key == Control::kAreaKey) return &control.slots[Control::kAreaSlot];
    return FindHashed(control, key);
}

// The monotonic clock in nanoseconds.
uint64_t Now();

// Waits for a lock until a moment on that clock. An error number: 0, EOWNERDEAD, ETIMEDOUT, ...
int LockUntil(pthread_mutex_t *mutex, uint64_t deadline);

inline constexpr uint64_t kMillisecond = 1000000;

// The slot of a semaphore that is created now when it was not. NULL with errno set.
Slot *CreateSlot(uint32_t key);

}  // namespace platform

#pragma GCC visibility pop
#endif
