// The locks of this process's own bookkeeping. A fork waits for all of them, so that the child finds none of
// them taken by a thread that it does not have.
#ifndef PLATFORM_FORKS_H
#define PLATFORM_FORKS_H

#include <cstdint>

#pragma GCC visibility push(hidden)

namespace platform {

// In the order in which they may be taken.
enum class Lock { kIni, kMaps, kJournal, kCount };

class Locked {
  public:
    explicit Locked(Lock lock);
    ~Locked();
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

  private:
    Lock lock_;
};

struct Seat;

// The calling thread's numbers. getpid and gettid are system calls: they are made once a thread, and again in
// a child.
struct Self {
    uint32_t pid;
    uint32_t tid;
    Seat *seat;  // NULL until it takes its first semaphore, which sets the numbers too
};

extern constinit thread_local Self t_self;
const Self &LearnSelf();

inline const Self &Me() { return t_self.tid != 0 ? t_self : LearnSelf(); }

}  // namespace platform

#pragma GCC visibility pop
#endif
