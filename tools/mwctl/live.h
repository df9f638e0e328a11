// What the commands that keep running share: waiting, being told to end, and noticing that the shared area
// was removed or replaced.
#ifndef MWCTL_LIVE_H
#define MWCTL_LIVE_H

#include <sys/types.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "cli.h"

namespace mwctl {

// Adds --interval, in seconds.
void AddInterval(cli::App &command, double &seconds);

// From now on a signal that asks to end only sets a mark, which Ended() tells.
void EndOnSignals();
bool Ended();

// Waits, at most until something can be read from standard input when `input`. Less when the program is told
// to end, or, unless `input`, when nobody reads its standard output any more. False then.
bool Pause(std::chrono::milliseconds time, bool input = false);

// "2026-03-01T12:00:00.123Z": of what is read, which is now unless it was saved.
std::string TimeStamp();

// The shared area as a process finds it that stays attached: a mapping outlives the file.
class AreaWatch {
  public:
    enum class State : uint8_t { kPresent, kAbsent, kReplaced };
    State Look();
    // Why it is absent, and what to do.
    std::string Why() const;

  private:
    bool attached_ = false;
    dev_t device_ = 0;
    ino_t inode_ = 0;  // 0: it cannot be told when it goes
};

// Starts this program again in the same process, with the same arguments: the only way to the area that has
// replaced the one that it is attached to. With an option, "--count", that gets another value. Returns when
// that fails.
void StartAgain(std::string_view option = {}, std::string_view value = {});

}  // namespace mwctl

#endif
