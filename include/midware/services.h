/* Services: time synchronisation and remote syslog settings. Semaphore 12302. */
#ifndef MIDWARE_SERVICES_H
#define MIDWARE_SERVICES_H

#include "midware/base.h"

#define MW_NTP_SERVER_MAX 6u
#define MW_NTP_SERVER_NAME_SIZE 128u
#define MW_SYSLOG_SERVER_MAX 4u

/* Conventions of the time services for NtpInfo.dwTimeSource; the library stores any value. */
#define MW_TIME_SOURCE_MANUAL 0u
#define MW_TIME_SOURCE_NTP 1u
#define MW_TIME_SOURCE_HOST 2u

/* Time synchronisation settings, 804 bytes. */
typedef struct NtpInfo {
    uint32_t dwTimeSource;    /* selected time source, MW_TIME_SOURCE_... */
    uint32_t dwNtpEnable;     /* 1: the NTP client runs */
    uint32_t dwNtpInterval;   /* polling interval, in the unit of the time service: seconds */
    uint32_t dwServerCount;   /* names in use, 0 to 6 */
    uint32_t dwAuthEnable;    /* 1: servers are authenticated */
    uint32_t dwAuthKeyId;     /* key number, RFC 5905 */
    uint32_t adwReserved[3];
    char acNtpServerName[MW_NTP_SERVER_MAX][MW_NTP_SERVER_NAME_SIZE]; /* NUL-terminated by convention */
} NtpInfo;

MW_SIZE_IS(NtpInfo, 804);
MW_OFFSET_IS(NtpInfo, dwTimeSource, 0);
MW_OFFSET_IS(NtpInfo, dwNtpInterval, 8);
MW_OFFSET_IS(NtpInfo, acNtpServerName, 36);

/* One remote syslog server, 260 bytes. */
typedef struct RemoteSyslogServer {
    uint32_t dwEnable;      /* 1: messages are sent here */
    char acAddress[250];    /* host name or address, NUL-terminated */
    uint16_t wPort;         /* UDP or TCP port, host byte order; 514 by RFC 5426 */
    uint8_t ucTransport;    /* 0 UDP (RFC 5426), 1 TCP (RFC 6587), 2 TLS (RFC 5425) */
    uint8_t ucMinSeverity;  /* least severe message that is sent, 0 emergency to 7 debug, RFC 5424 */
    uint8_t aucReserved[2];
} RemoteSyslogServer;

MW_SIZE_IS(RemoteSyslogServer, 260);

/* Remote syslog settings, 1100 bytes. The library carries them whole and looks at no field. */
typedef struct RemoteSyslogInfo {
    uint32_t dwEnable;       /* 1: remote logging is on */
    uint32_t dwServerCount;  /* servers in use, 0 to 4 */
    uint32_t adwReserved[13];
    RemoteSyslogServer atServer[MW_SYSLOG_SERVER_MAX];
} RemoteSyslogInfo;

MW_SIZE_IS(RemoteSyslogInfo, 1100);

MW_BEGIN_DECLS

/**
 * Copies the NTP record out, 804 bytes.
 * @param ptNtpInfo receives the record; NULL: -1, silent.
 * @return 0; -1 on NULL, when not attached, or when semaphore 12302 was not had within 500 ms (one line at level 130).
 */
MW_API int32_t MW_GetNtpInfo(NtpInfo *ptNtpInfo);

/** Stores the NTP record whole, 804 bytes; no value is validated. @return as MW_GetNtpInfo */
MW_API int32_t MW_SetNtpInfo(const NtpInfo *ptNtpInfo);

/** Copies the remote syslog record out, 1100 bytes. @return as MW_GetNtpInfo */
MW_API int32_t MW_GetRemoteSyslogInfo(RemoteSyslogInfo *ptSyslogInfo);

/** Stores the remote syslog record whole, 1100 bytes. @return as MW_GetNtpInfo */
MW_API int32_t MW_SetRemoteSyslogInfo(const RemoteSyslogInfo *ptSyslogInfo);

/**
 * Stores one NTP server name: always 128 bytes, however short the name.
 * @param dwNumber server number, 1-based; 1 to 6 are the places of the record. Others are not refused: the name lands at
 *                 128 * number - 92 of the services area, before it (0) or in what follows (7 and more).
 * @param pcName   128 bytes; NULL: -1, silent.
 * @return 0; -1 as MW_GetNtpInfo, or where the name would lie outside the shared area (one line at level 130).
 */
MW_API int32_t MW_SetNtpServerName(uint32_t dwNumber, const char *pcName);

/** Stores the NTP polling interval (word at offset 8 of the record). @return 0; -1 when not attached or not locked. */
MW_API int32_t MW_SetNtpInterval(uint32_t dwInterval);

/** Stores the selected time source (word at offset 0 of the record). @return 0; -1 when not attached or not locked. */
MW_API int32_t MW_SetTimeSource(uint32_t dwSource);

MW_END_DECLS

#endif
