// The shared area as a whole: whether it is there, and what to tell the user when something of it is not.
#ifndef TOOLS_AREA_H
#define TOOLS_AREA_H

#include <cstdint>
#include <span>
#include <string>

#include "hov_midware.h"
#include "oal_status.h"

namespace tools {

// Attaches this process. Call it before the first accessor: a failing accessor writes to standard output.
bool AreaExists();

// Why there is none, and what to do.
std::string WhyNoArea();

OalSemStatus SemStatus(uint32_t key);

// How many of the fifteen module semaphores exist.
uint32_t SemaphoresInPlace();

// Where the file of this absolute path lies; empty when the platform does not tell.
std::string PlaceOf(const char *path);

// What the semaphores were made for, and what this program needs. False when that cannot be told.
bool LocksFormat(OalLocksFormat &found, OalLocksFormat &expected);

// Whether the process is there and no zombie: one that ended holds nothing for long.
bool IsAlive(int32_t pid);

// "350 ms", "3.2 s", "5 min 20 s", "3 h 5 min"
std::string DurationText(int64_t milliseconds);

// "missing", "free", "held by 1234 (name) for at least 3.2 s"
std::string StateText(const OalSemStatus &status);

// "1234 (name)", or without the name when the process is gone.
std::string ProcessText(int32_t pid);

// Why the semaphore was not had, and what to do.
std::string WhyNotLocked(uint32_t key);

}  // namespace tools

#endif
