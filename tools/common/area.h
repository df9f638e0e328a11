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

// "1234 (name)", or without the name when the process is gone.
std::string ProcessText(int32_t pid);

// Why the semaphore was not had, and what to do.
std::string WhyNotLocked(uint32_t key);

}  // namespace tools

#endif
