/* What the Linux platform layer knows of its semaphores, and where its files lie: for tools that show the state
 * of a system. Not part of the interfaces that libmidware calls. */
#ifndef MIDWARE_PLATFORM_OAL_STATUS_H
#define MIDWARE_PLATFORM_OAL_STATUS_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The counts begin when the semaphore is created and end with the operating system. */
typedef struct OalSemStatus {
    uint32_t exists;    /* 1 once it was created; everything else is 0 until then */
    uint32_t held;      /* 1 while it is taken, also by a process that died and was not noticed yet */
    int32_t holder_pid; /* who holds it: process and thread; 0 while it is free */
    int32_t holder_tid;
    int32_t last_pid; /* who took it last, the present holder included; 0 when nobody did */
    int32_t last_tid;
    uint64_t taken;        /* how often it was taken */
    uint64_t contended;    /* how often somebody had to wait for it and got it */
    uint64_t timed_out;    /* how often somebody waited in vain */
    uint64_t recovered;    /* how often its holder ended without releasing it */
    int32_t recovered_pid; /* the last such holder; 0 when there was none, or it could not be told */
    int64_t recovered_at;  /* when that was noticed, in seconds since 1970 */
    int64_t held_for_ms;   /* for how long it has been held at least: since a waiter or a look first found it so */
} OalSemStatus;

/* Looks without taking the semaphore, so the figures of one that is in use need not belong to one moment.
 * 0; negative with errno set when no semaphore was ever created (ENOENT) or they must not be used. */
int32_t OAL_GetSemStatus(uint32_t key, OalSemStatus *status);

/* The key under which OAL_GetSemStatus knows the lock of the custom disk slot file. */
#define OAL_CUSTOM_DISK_LOCK_KEY 0xFFFFFFFFu

/* Where the file of an absolute path lies: below MIDWARE_ROOT, or at the path itself.
 * 0; negative with errno set for a path that is refused or does not fit. */
int32_t OAL_GetPath(const char *path, char *out, uint32_t size);

/* What the control segment with the semaphores was made for, in bytes; its version is 0 when it is none. */
typedef struct OalLocksFormat {
    uint32_t version;
    uint32_t word_size;
    uint32_t lock_size;
    uint32_t size;
} OalLocksFormat;

/* Compares what is there with what this process needs, without using it or saying anything.
 * 0; negative with errno set when it cannot be read. */
int32_t OAL_GetLocksFormat(OalLocksFormat *found, OalLocksFormat *expected);

#ifdef __cplusplus
}
#endif
#endif
