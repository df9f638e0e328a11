#include "objects.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "hov_slibc.h"
#include "say.h"

namespace platform {
namespace {

bool IsTrusted(uid_t owner) { return owner == 0 || owner == geteuid(); }

// True at the first call with this number; a few numbers are remembered.
bool IsNews(uint64_t number) {
    static std::atomic<uint64_t> told[8];
    static std::atomic<unsigned> next{0};
    for (const auto &one : told) {
        if (one.load(std::memory_order_relaxed) == number) return false;
    }
    told[next.fetch_add(1, std::memory_order_relaxed) % 8].store(number, std::memory_order_relaxed);
    return true;
}

uint64_t Hash(uint64_t hash, const char *text) {
    for (; *text != '\0'; ++text) hash = (hash ^ static_cast<unsigned char>(*text)) * 0x100000001B3u;
    return hash;
}

bool DirectoryIsSafe(const char *path) {
    Path directory;
    const size_t length = static_cast<size_t>(strrchr(path, '/') - path);
    memcpy(directory, path, length);
    directory[length] = '\0';
    struct stat status;
    if (stat(directory, &status) != 0) return false;
    if (IsTrusted(status.st_uid) && ((status.st_mode & S_IWOTH) == 0 || (status.st_mode & S_ISVTX) != 0))
        return true;
    SayRefused(directory, "anybody could exchange the files in it");
    errno = EPERM;
    return false;
}

}  // namespace

bool ObjectPlace(const char *name, Path &out) {
    Path path;
    snprintf(path, sizeof path, "/dev/shm/%s", name);
    return Place(path, out);
}

void SayRefused(const char *path, const char *format, ...) {
    char reason[256];
    va_list args;
    va_start(args, format);
    vsnprintf(reason, sizeof reason, format, args);
    va_end(args);
    if (IsNews(Hash(Hash(1, path), reason))) Say("%s refused: %s", path, reason);
}

Fd OpenObject(const char *path, struct stat *status) {
    *status = {};
    if (!DirectoryIsSafe(path)) return Fd();
    Fd fd = OpenRegular(path, O_RDWR, status);
    if (!fd) {
        const int error = errno;
        if (error == EINVAL)
            SayRefused(path, "it is no regular file");
        else if (error == ELOOP)
            SayRefused(path, "it is a symbolic link");
        else if (error != ENOENT)
            SayRefused(path, "%s", hov_strerror_s(error));
        errno = error == EINVAL || error == ELOOP ? EPERM : error;
        return fd;
    }
    if (!IsTrusted(status->st_uid)) {
        SayRefused(path, "it belongs to user %u", static_cast<unsigned>(status->st_uid));
    } else if ((status->st_mode & 07777 & ~kMode) != 0) {
        SayRefused(path, "its mode %04o is more than %04o", static_cast<unsigned>(status->st_mode & 07777),
                   static_cast<unsigned>(kMode));
    } else {
        return fd;
    }
    errno = EPERM;
    return Fd();
}

bool Allocate(int fd, uint32_t size) {
    int error = ftruncate(fd, size) != 0 ? errno : 0;
    while (error == 0 && (error = posix_fallocate(fd, 0, size)) == EINTR) error = 0;
    errno = error;
    return error == 0;
}

}  // namespace platform
