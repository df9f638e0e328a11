// The NTP servers that the host is configured to use.
#ifndef MWCOLLECT_NTP_H
#define MWCOLLECT_NTP_H

#include <string>
#include <vector>

#include "host.h"

namespace collect {

struct NtpServers {
    std::vector<std::string>
        names;  // in the order of the configuration, each once, at most MW_NTP_SERVER_MAX
    size_t left_out = 0;
    bool operator==(const NtpServers &) const = default;
};

// Of the time services that have servers configured the first one counts: chrony, ntpsec, ntp,
// systemd-timesyncd.
NtpServers FindNtpServers(const Host &host);

}  // namespace collect

#endif
