/* Operating-system abstraction: shared memory and semaphores by key, log files.
 *
 * libmidware calls these and leaves them undefined; libmidware_platform implements them for any Linux machine,
 * and a controller may link an implementation of its own instead. */
#ifndef MIDWARE_PLATFORM_OAL_H
#define MIDWARE_PLATFORM_OAL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Creates the shared-memory region `key` of `size` bytes, and the semaphore of the same key.
 * 0 when the region exists afterwards (an existing one of that size is kept as it is), negative otherwise. */
int32_t OAL_CreatMemResource(uint32_t key, uint32_t size);

/* The address of region `key` in this process, mapped at the first call; the same one on every later call.
 * NULL when the region does not exist or must not be used. */
void *OAL_GetMemResourceAddr(uint32_t key);

/* Creates the semaphore `key`. 0, also when it exists already; negative on failure. */
int32_t OAL_SemCreate(uint32_t key);

/* Takes the semaphore `key`, waiting at most `timeout_ms` milliseconds. 0, or negative with errno set. */
int32_t OAL_SemLockByKey(uint32_t key, uint32_t timeout_ms);

/* Releases the semaphore `key`. 0, or negative with errno set. The time-out is part of the interface and not used. */
int32_t OAL_SemUnLockByKey(uint32_t key, uint32_t timeout_ms);

/* Appends one formatted line to the log file `path`. 0 or negative. `flag` is 1 for every caller of this library. */
int32_t OAL_Log2File(const char *path, uint32_t flag, const char *format, ...)
#ifdef __GNUC__
    __attribute__((format(printf, 3, 4)))
#endif
    ;

#ifdef __cplusplus
}
#endif
#endif
