/* The smallest platform that a controller could link: the region and the semaphores are files below $MIDWARE_ROOT,
 * messages go to standard error, and there are no settings: no INI file can be read. A semaphore is a lock of the kernel on
 * an open file, so it is released when its holder dies. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "dbgout.h"
#include "hov_slibc.h"
#include "iniparser.h"
#include "oal.h"

enum { MAX_HELD = 4, DISK_FILE_KEY = 1, DISK_FILE_TIMEOUT_MS = 5000 };

static struct {
    uint32_t key;
    int fd;
} held[MAX_HELD];

static int open_object(const char *kind, uint32_t key, int flags)
{
    char path[4096];
    const char *dir = getenv("MIDWARE_ROOT");

    snprintf(path, sizeof path, "%s/%s-%u", dir != NULL ? dir : "/run", kind, (unsigned)key);
    return open(path, flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0660);
}

/* --- oal.h --- */

/* An existing region of that size stays as it is. The memory is there or the region is not: writing to it cannot fail. */
int32_t OAL_CreatMemResource(uint32_t key, uint32_t size)
{
    int fd = open_object("region", key, O_CREAT);
    struct stat status;
    int done = 0;

    if (fd < 0)
        return -1;
    if (fstat(fd, &status) == 0) {
        if (status.st_size != 0)
            done = status.st_size == (off_t)size;
        else if (posix_fallocate(fd, 0, (off_t)size) == 0)
            done = 1;
        else if (ftruncate(fd, 0) != 0)
            perror("the region is half made");
    }
    close(fd);
    return done && OAL_SemCreate(key) == 0 ? 0 : -1;
}

void *OAL_GetMemResourceAddr(uint32_t key)
{
    static uint32_t mapped_key;
    static void *mapped;
    struct stat status;
    void *at;
    int fd;

    if (mapped != NULL && mapped_key == key)
        return mapped;
    fd = open_object("region", key, 0);
    if (fd < 0)
        return NULL;
    at = fstat(fd, &status) == 0
             ? mmap(NULL, (size_t)status.st_size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)
             : MAP_FAILED;
    close(fd);
    if (at == MAP_FAILED)
        return NULL;
    mapped_key = key;
    return mapped = at;
}

int32_t OAL_SemCreate(uint32_t key)
{
    int fd = open_object("semaphore", key, O_CREAT);

    return fd >= 0 && close(fd) == 0 ? 0 : -1;
}

int32_t OAL_SemLockByKey(uint32_t key, uint32_t timeout_ms)
{
    const struct timespec pause = {0, 1000000};
    int fd, i = 0;

    while (i < MAX_HELD && held[i].key != 0)
        i++;
    fd = i < MAX_HELD ? open_object("semaphore", key, 0) : -1;
    if (fd < 0)
        return -1;
    while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (timeout_ms-- == 0) {
            close(fd);
            errno = ETIMEDOUT;
            return -1;
        }
        nanosleep(&pause, NULL);
    }
    held[i].key = key;
    held[i].fd = fd;
    return 0;
}

int32_t OAL_SemUnLockByKey(uint32_t key, uint32_t timeout_ms)
{
    int i;

    (void)timeout_ms;
    for (i = 0; i < MAX_HELD; i++) {
        if (held[i].key == key) {
            held[i].key = 0;
            return close(held[i].fd) == 0 ? 0 : -1;
        }
    }
    errno = EPERM;
    return -1;
}

static int32_t say(const char *where, const char *format, va_list values)
{
    char text[512];

    vsnprintf(text, sizeof text, format, values);
    return fprintf(stderr, "%s: %s\n", where, text) < 0 ? -1 : 0;
}

int32_t OAL_Log2File(const char *path, uint32_t flag, const char *format, ...)
{
    va_list values;
    int32_t result;

    (void)flag;
    va_start(values, format);
    result = say(path, format, values);
    va_end(values);
    return result;
}

/* --- dbgout.h --- */

#define OUTPUT(function, prefix)                       \
    int32_t function(int32_t level, const char *format, ...) \
    {                                                  \
        va_list values;                                \
        int32_t result;                                \
        if (level > 130)                               \
            return 0;                                  \
        va_start(values, format);                      \
        result = say(prefix, format, values);          \
        va_end(values);                                \
        return result;                                 \
    }

OUTPUT(IDBG_LINUXAPP_DbgOut, "debug")
OUTPUT(IDBG_LINUXAPP_Runtime_DbgOut, "runtime")
OUTPUT(IDBG_LINUXAPP_AuditOut, "audit")

/* --- iniparser.h --- */

void *IniLoadFile(const char *path)
{
    (void)path;
    return NULL;
}

void *HOV_IniLoadFile(const char *path)
{
    return IniLoadFile(path);
}

int32_t IniSaveFile(void *ini, const char *path)
{
    (void)ini;
    (void)path;
    return -1;
}

int32_t IniCloseFile(void *ini)
{
    (void)ini;
    return 0;
}

const char *IniGetStr(void *ini, const char *section, const char *key, const char *fallback)
{
    (void)ini;
    (void)section;
    (void)key;
    return fallback;
}

uint32_t IniGetUInt(void *ini, const char *section, const char *key, uint32_t fallback)
{
    (void)ini;
    (void)section;
    (void)key;
    return fallback;
}

int32_t IniSetStr(void *ini, const char *section, const char *key, const char *value)
{
    (void)value;
    return IniDelEntry(ini, section, key);
}

int32_t IniSetUInt(void *ini, const char *section, const char *key, uint32_t value)
{
    (void)value;
    return IniDelEntry(ini, section, key);
}

int32_t IniDelEntry(void *ini, const char *section, const char *key)
{
    (void)ini;
    (void)section;
    (void)key;
    return -1;
}

/* --- hov_slibc.h --- */

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count)
{
    if (dest == NULL || src == NULL || count > dest_size) {
        if (dest != NULL)
            memset(dest, 0, dest_size);
        return dest == NULL || src == NULL ? EINVAL : ERANGE;
    }
    memmove(dest, src, count);
    return 0;
}

int hov_memcpy_s(void *dest, size_t dest_size, const void *src, size_t count)
{
    return memcpy_s(dest, dest_size, src, count);
}

int memset_s(void *dest, size_t dest_size, int value, size_t count)
{
    if (dest == NULL || count > dest_size)
        return dest == NULL ? EINVAL : ERANGE;
    memset(dest, value, count);
    return 0;
}

int hov_memset_s(void *dest, size_t dest_size, int value, size_t count)
{
    return memset_s(dest, dest_size, value, count);
}

size_t strnlen_s(const char *text, size_t max)
{
    return text == NULL ? 0 : strnlen(text, max);
}

int strncpy_s(char *dest, size_t dest_size, const char *src, size_t count)
{
    const size_t length = strnlen_s(src, count);

    if (dest == NULL || dest_size == 0 || src == NULL)
        return EINVAL;
    dest[0] = '\0';
    if (length >= dest_size)
        return ERANGE;
    memcpy(dest, src, length);
    dest[length] = '\0';
    return 0;
}

#define FORMAT(function)                                                    \
    int function(char *dest, size_t dest_size, const char *format, ...)     \
    {                                                                       \
        va_list values;                                                     \
        int length;                                                         \
        va_start(values, format);                                           \
        length = vsnprintf(dest, dest_size, format, values);                \
        va_end(values);                                                     \
        return length;                                                      \
    }

FORMAT(snprintf_s)
FORMAT(hov_snprintf_s)

int hov_printf_s(const char *format, ...)
{
    va_list values;
    int length;

    va_start(values, format);
    length = vprintf(format, values);
    va_end(values);
    return length;
}

const char *hov_strerror_s(int error)
{
    return strerror(error);
}

int32_t hov_CustomPchDiskSemLock(void)
{
    return OAL_SemCreate(DISK_FILE_KEY) == 0 ? OAL_SemLockByKey(DISK_FILE_KEY, DISK_FILE_TIMEOUT_MS) : -1;
}

int32_t hov_CustomPchDiskSemUnLock(void)
{
    return OAL_SemUnLockByKey(DISK_FILE_KEY, 0);
}
