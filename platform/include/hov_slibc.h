/* Bounds-checked memory and string functions, and the lock of the custom disk slot file.
 *
 * The copies answer 0 or an errno value. A copy that does not fit leaves the destination empty: a text gets a
 * terminator in its first byte, a memory copy leaves `dest_size` zero bytes. */
#ifndef MIDWARE_PLATFORM_HOV_SLIBC_H
#define MIDWARE_PLATFORM_HOV_SLIBC_H

#include <stddef.h>
#include <stdint.h>

#ifdef __GNUC__
#define MIDWARE_SLIBC_FORMAT(text, first) __attribute__((format(printf, text, first)))
#else
#define MIDWARE_SLIBC_FORMAT(text, first)
#endif

#ifdef __cplusplus
extern "C" {
#endif

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count);
int hov_memcpy_s(void *dest, size_t dest_size, const void *src, size_t count);
int memset_s(void *dest, size_t dest_size, int value, size_t count);
int hov_memset_s(void *dest, size_t dest_size, int value, size_t count);

/* Copies at most `count` characters of `src` and terminates; refused when they and the terminator do not fit. */
int strncpy_s(char *dest, size_t dest_size, const char *src, size_t count);

/* The length of `text`, looking at no more than `max` characters. */
size_t strnlen_s(const char *text, size_t max);

/* Formats, cuts to fit and always terminates; answers the length of the uncut text, negative on failure. A format with
 * %n fails and leaves the destination empty. */
int snprintf_s(char *dest, size_t dest_size, const char *format, ...) MIDWARE_SLIBC_FORMAT(3, 4);
int hov_snprintf_s(char *dest, size_t dest_size, const char *format, ...) MIDWARE_SLIBC_FORMAT(3, 4);

/* Writes to standard output. */
int hov_printf_s(const char *format, ...) MIDWARE_SLIBC_FORMAT(1, 2);

const char *hov_strerror_s(int error);

/* The lock of the custom disk slot file, shared by all processes. 0 or negative. */
int32_t hov_CustomPchDiskSemLock(void);
int32_t hov_CustomPchDiskSemUnLock(void);

#ifdef __cplusplus
}
#endif
#undef MIDWARE_SLIBC_FORMAT
#endif
