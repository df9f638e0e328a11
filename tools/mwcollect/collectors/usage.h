// How busy the host's processors are and how full its memory is, as its own kernel counts.
#ifndef MWCOLLECT_USAGE_H
#define MWCOLLECT_USAGE_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace collect {

// The counters of all processors together, in clock ticks since boot.
struct CpuTicks {
    uint64_t idle = 0;  // waiting for input and output included
    uint64_t busy = 0;
};

// The first line of /proc/stat; nothing where it is not what it should be.
std::optional<CpuTicks> ParseCpuTicks(std::string_view text);

// Percent of the time between two readings that was not idle, rounded; nothing where no time has passed or
// the counters ran backwards.
std::optional<uint32_t> CpuPercent(const CpuTicks &before, const CpuTicks &after);

// Percent of /proc/meminfo's MemTotal that is not available to new programs, rounded.
std::optional<uint32_t> MemoryPercent(std::string_view meminfo);

// A figure as the host monitor's setters take it: enabled, an alternative for readers while it is not, the
// percent.
uint32_t PackUsage(uint32_t percent);

}  // namespace collect

#endif
