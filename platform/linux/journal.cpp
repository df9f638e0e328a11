#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "files.h"
#include "oal.h"
#include "text.h"

namespace platform {
namespace {

// A log file is moved away before it grows beyond this. Writers do not wait for one another, so a few lines
// of others may come on top: the room between the two takes them.
constexpr off_t kCap = 1 << 20;
constexpr off_t kFull = kCap - 16 * off_t{kLineSize};

constexpr int kRotationTries = 50;  // a millisecond each

void PutNumber(char *&at, int digits, unsigned number) {
    for (int i = digits - 1; i >= 0; --i, number /= 10) at[i] = static_cast<char>('0' + number % 10);
    at += digits;
}

// ISO 8601 in UTC with milliseconds. By the calendar of the C++ library, which needs no lock.
size_t Stamp(char (&line)[kLineSize]) {
    using namespace std::chrono;
    const auto now = floor<milliseconds>(system_clock::now());
    const auto day = floor<days>(now);
    const year_month_day date(day);
    const hh_mm_ss time(now - day);
    char *at = line;
    PutNumber(at, 4, static_cast<unsigned>(static_cast<int>(date.year())));
    *at++ = '-';
    PutNumber(at, 2, static_cast<unsigned>(date.month()));
    *at++ = '-';
    PutNumber(at, 2, static_cast<unsigned>(date.day()));
    *at++ = 'T';
    PutNumber(at, 2, static_cast<unsigned>(time.hours().count()));
    *at++ = ':';
    PutNumber(at, 2, static_cast<unsigned>(time.minutes().count()));
    *at++ = ':';
    PutNumber(at, 2, static_cast<unsigned>(time.seconds().count()));
    *at++ = '.';
    PutNumber(at, 3, static_cast<unsigned>(time.subseconds().count()));
    *at++ = 'Z';
    *at++ = ' ';
    return static_cast<size_t>(at - line);
}

Fd OpenLog(const char *path, struct stat *status) {
    constexpr int kFlags = O_WRONLY | O_APPEND;
    for (int tries = 0; tries < 8; ++tries) {
        Fd fd = OpenRegular(path, kFlags, status);
        if (!fd && errno == ENOENT) {
            fd = OpenRegular(path, kFlags | O_CREAT | O_EXCL, status);
            if (!fd && errno == ENOENT) {
                MakeParents(path);
                continue;
            }
            if (!fd && errno == EEXIST) continue;
            if (fd && fchmod(fd.get(), kMode) != 0) return Fd();  // whatever the umask
        }
        // A second name would make somebody else's file grow.
        if (fd && status->st_nlink > 1) {
            errno = EPERM;
            return Fd();
        }
        return fd;
    }
    return Fd();
}

// Moves the full log away unless another process just did. The lock is the file's own and is not waited for
// long.
bool Rotate(const char *path, int fd) {
    for (int tries = 0; flock(fd, LOCK_EX | LOCK_NB) != 0; ++tries) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || tries == kRotationTries) return false;
        constexpr timespec kPause = {0, 1000000};
        nanosleep(&kPause, nullptr);
    }
    struct stat here;
    struct stat there;
    if (fstat(fd, &here) != 0) return false;
    if (lstat(path, &there) != 0) return errno == ENOENT;
    if (here.st_ino != there.st_ino || here.st_dev != there.st_dev) return true;
    Path old;
    const int length = snprintf(old, sizeof old, "%s.1", path);
    if (length < 0 || static_cast<size_t>(length) >= sizeof old) {
        errno = ENAMETOOLONG;
        return false;
    }
    return rename(path, old) == 0;
}

bool Append(const char *path, const char *line, size_t length) {
    for (int tries = 0; tries < 8; ++tries) {
        struct stat status;
        const Fd fd = OpenLog(path, &status);
        if (!fd) return false;
        if (status.st_size + static_cast<off_t>(length) > kFull) {
            if (!Rotate(path, fd.get())) return false;
            continue;
        }
        const ssize_t done = write(fd.get(), line, length);
        if (done < 0 && errno == EINTR) continue;
        if (done != static_cast<ssize_t>(length)) {
            if (done >= 0) errno = ENOSPC;
            return false;
        }
        // A process that slept since it opened the file may have written to one that is gone.
        if (fstat(fd.get(), &status) != 0 || status.st_nlink > 0) return true;
    }
    errno = EAGAIN;
    return false;
}

}  // namespace
}  // namespace platform

using namespace platform;

int32_t OAL_Log2File(const char *path, uint32_t, const char *format, ...) {
    Path place;
    if (format == nullptr || !Place(path, place)) {
        if (format == nullptr) errno = EINVAL;
        return -1;
    }
    char line[kLineSize];
    const size_t stamp = Stamp(line);
    va_list args;
    va_start(args, format);
    const size_t length = FormatLine(line, stamp, format, args);
    va_end(args);
    return length > 0 && Append(place, line, length) ? 0 : -1;
}
