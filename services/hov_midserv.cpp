#include "services/hov_midserv.h"

#include "hov_guard.h"

using namespace midware;

namespace {

constexpr size_t kNtp = offsetof(ServArea, tNtpInfo);
constexpr size_t kSyslog = offsetof(ServArea, tSyslogInfo);
constexpr size_t kNames = kNtp + offsetof(NtpInfo, acNtpServerName);

}  // namespace

int32_t MW_GetNtpInfo(NtpInfo *ptNtpInfo) { return CopyOut<ServArea>(kNtp, sizeof(NtpInfo), ptNtpInfo); }

int32_t MW_SetNtpInfo(const NtpInfo *ptNtpInfo) { return CopyIn<ServArea>(kNtp, sizeof(NtpInfo), ptNtpInfo); }

int32_t MW_GetRemoteSyslogInfo(RemoteSyslogInfo *ptSyslogInfo) {
    return CopyOut<ServArea>(kSyslog, sizeof(RemoteSyslogInfo), ptSyslogInfo);
}

int32_t MW_SetRemoteSyslogInfo(const RemoteSyslogInfo *ptSyslogInfo) {
    return CopyIn<ServArea>(kSyslog, sizeof(RemoteSyslogInfo), ptSyslogInfo);
}

int32_t MW_SetNtpServerName(uint32_t dwNumber, const char *pcName) {
    // Numbers count from 1 and are not checked: 0 and 7 land beside the six names.
    const int64_t slot = static_cast<int64_t>(dwNumber) - 1;
    return CopyIn<ServArea>(kNames + slot * MW_NTP_SERVER_NAME_SIZE, MW_NTP_SERVER_NAME_SIZE, pcName);
}

int32_t MW_SetNtpInterval(uint32_t dwInterval) {
    Guard<ServArea> area;
    if (!area) return kFail;
    area->tNtpInfo.dwNtpInterval = dwInterval;
    return kOk;
}

int32_t MW_SetTimeSource(uint32_t dwSource) {
    Guard<ServArea> area;
    if (!area) return kFail;
    area->tNtpInfo.dwTimeSource = dwSource;
    return kOk;
}
