// Where things lie: below MIDWARE_ROOT when it is set, otherwise in the file system as it is.
#ifndef PLATFORM_PATHS_H
#define PLATFORM_PATHS_H

#include <limits.h>

#pragma GCC visibility push(hidden)

namespace platform {

// The directory of MIDWARE_ROOT without a slash at the end, "" when there is none; NULL when it cannot be
// used.
const char *Root();

using Path = char[PATH_MAX];

// The place of an absolute path. False with errno set: relative, leading upwards, or too long.
bool Place(const char *path, Path &out);

}  // namespace platform

#pragma GCC visibility pop
#endif
