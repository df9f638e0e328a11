// Time synchronisation and remote logging.
#include "services/hov_midserv.h"
#include "table.h"

namespace mwctl {

using midware::ServArea;

namespace {

constexpr Code kTimeSources[] = {
    {MW_TIME_SOURCE_MANUAL, "manual"}, {MW_TIME_SOURCE_NTP, "ntp"}, {MW_TIME_SOURCE_HOST, "host"}};
constexpr Code kTransports[] = {{0, "udp"}, {1, "tcp"}, {2, "tls"}};
constexpr Code kSeverities[] = {{0, "emergency"}, {1, "alert"},  {2, "critical"}, {3, "error"},
                                {4, "warning"},   {5, "notice"}, {6, "info"},     {7, "debug"}};

}  // namespace

// clang-format off
MW_RECORD(NtpInfo,
          MW_FIELD(dwTimeSource, "time source").Codes(kTimeSources),
          MW_FIELD(dwNtpEnable, "client runs").Switch(),
          MW_FIELD(dwNtpInterval, "polling interval").Unit("s"),
          MW_FIELD(dwServerCount, "servers in use"),
          MW_FIELD(dwAuthEnable, "authenticated").Switch(),
          MW_FIELD(dwAuthKeyId, "key number"),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(acNtpServerName, "server"));

MW_RECORD(RemoteSyslogServer,
          MW_FIELD(dwEnable, "enabled").Switch(),
          MW_FIELD(acAddress, "address"),
          MW_FIELD(wPort, "port"),
          MW_FIELD(ucTransport, "transport").Codes(kTransports),
          MW_FIELD(ucMinSeverity, "least severity").Codes(kSeverities),
          MW_FIELD(aucReserved, ""));

MW_RECORD(RemoteSyslogInfo,
          MW_FIELD(dwEnable, "enabled").Switch(),
          MW_FIELD(dwServerCount, "servers in use"),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(atServer, "server"));

MW_RECORD(ServArea,
          MW_FIELD(tNtpInfo, "time synchronisation"),
          MW_FIELD(tSyslogInfo, "remote logging"));
// clang-format on

namespace {

constexpr Record kRecords[] = {
    One<NtpInfo, MW_GetNtpInfo>("ntp", "Time synchronisation"),
    One<RemoteSyslogInfo, MW_GetRemoteSyslogInfo>("syslog", "Remote logging"),
};
const Plug plug{{"services", "Services", &midware::kServ, kRecords, &kLayout<ServArea>}};

}  // namespace
}  // namespace mwctl
