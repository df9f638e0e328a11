// Shared-memory objects: files of the kernel's memory file system, below MIDWARE_ROOT files of that
// directory.
#ifndef PLATFORM_OBJECTS_H
#define PLATFORM_OBJECTS_H

#include <cstdint>

#include "files.h"

#pragma GCC visibility push(hidden)

namespace platform {

// The place of the object `name`.
bool ObjectPlace(const char *name, Path &out);

// Opens an existing object for reading and writing. It must be a regular file of root's or of this user's,
// closed to everybody outside its group, in a directory where strangers cannot exchange it; anything else is
// refused with EPERM and one line.
Fd OpenObject(const char *path, struct stat *status);

// Says once in this process why an object is refused.
__attribute__((format(printf, 2, 3))) void SayRefused(const char *path, const char *format, ...);

// Gives a new object its size and its memory; what is missing shows now and not as a fault at some later
// access.
bool Allocate(int fd, uint32_t size);

}  // namespace platform

#pragma GCC visibility pop
#endif
