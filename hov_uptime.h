// The time stamps in records: seconds since the system started.
#ifndef HOV_UPTIME_H
#define HOV_UPTIME_H

#include <sys/sysinfo.h>

#include <cstdint>

namespace midware {

inline uint32_t UptimeSeconds() {
    struct sysinfo info = {};
    sysinfo(&info);
    return static_cast<uint32_t>(info.uptime);
}

}  // namespace midware

#endif
