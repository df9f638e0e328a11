/* Levelled output of diagnostics. The levels in use: 130 errors, 134 sensor trouble, 135 trace, 180 audit. */
#ifndef MIDWARE_PLATFORM_DBGOUT_H
#define MIDWARE_PLATFORM_DBGOUT_H

#include <stdint.h>

#ifdef __GNUC__
#define MIDWARE_DBGOUT_FORMAT __attribute__((format(printf, 2, 3)))
#else
#define MIDWARE_DBGOUT_FORMAT
#endif

#ifdef __cplusplus
extern "C" {
#endif

int32_t IDBG_LINUXAPP_DbgOut(int32_t level, const char *format, ...) MIDWARE_DBGOUT_FORMAT;
int32_t IDBG_LINUXAPP_Runtime_DbgOut(int32_t level, const char *format, ...) MIDWARE_DBGOUT_FORMAT;
int32_t IDBG_LINUXAPP_AuditOut(int32_t level, const char *format, ...) MIDWARE_DBGOUT_FORMAT;

#ifdef __cplusplus
}
#endif
#undef MIDWARE_DBGOUT_FORMAT
#endif
