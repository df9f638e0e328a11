// The services area: time synchronisation settings, then remote syslog settings.
#ifndef HOV_MIDSERV_H
#define HOV_MIDSERV_H

#include "hov_midware.h"
#include "midware/services.h"

namespace midware {

struct ServArea {
    static constexpr const Module &kModule = kServ;

    NtpInfo tNtpInfo;
    RemoteSyslogInfo tSyslogInfo;
};

static_assert(offsetof(ServArea, tSyslogInfo) == 804);
static_assert(sizeof(ServArea) == kServ.size);

}  // namespace midware

#endif
