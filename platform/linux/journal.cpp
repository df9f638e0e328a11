#include <fcntl.h>
#include <sys/file.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "files.h"
#include "forks.h"
#include "oal.h"
#include "text.h"

namespace platform {
namespace {

// A log file is moved away before it grows beyond this. Writers do not wait for one another, so a few lines
// of others may come on top: the room between the two takes them.
constexpr off_t kCap = 1 << 20;
constexpr off_t kFull = kCap - 16 * off_t{kLineSize};

constexpr int kRotationTries = 50;  // a millisecond each

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

Milliseconds Now() { return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now()); }

void PutNumber(char *&at, int digits, unsigned number) {
    for (int i = digits - 1; i >= 0; --i, number /= 10) at[i] = static_cast<char>('0' + number % 10);
    at += digits;
}

// ISO 8601 in UTC with milliseconds. By the calendar of the C++ library, which needs no lock.
size_t Stamp(char (&line)[kLineSize], Milliseconds now) {
    using namespace std::chrono;
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
    constexpr int kFlags = O_RDWR | O_APPEND;
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

bool IsSame(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Moves the full log away unless another process just did. The lock is the file's own and is not waited for
// long.
bool Rotate(const char *path, const struct stat &full) {
    struct stat here;
    const Fd fd = OpenRegular(path, O_WRONLY, &here);
    if (!fd) return errno == ENOENT;
    if (!IsSame(here, full)) return true;
    for (int tries = 0; flock(fd.get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || tries == kRotationTries) return false;
        constexpr timespec kPause = {0, 1000000};
        nanosleep(&kPause, nullptr);
    }
    struct stat there;
    if (lstat(path, &there) != 0) return errno == ENOENT;
    if (!IsSame(here, there)) return true;
    Path old;
    const int length = snprintf(old, sizeof old, "%s.1", path);
    if (length < 0 || static_cast<size_t>(length) >= sizeof old) {
        errno = ENAMETOOLONG;
        return false;
    }
    return rename(path, old) == 0;
}

// The log that was written to last stays open, since a file is opened for longer than a line is written. A
// program may close descriptors that it does not know, and anybody may move the file: what the descriptor is
// gets looked at before every line, what the path is once in every millisecond that has a line. Until the
// next look a line may get into the predecessor.
class KeptLog {
  public:
    // The log, open, and its status. Negative with errno set when it cannot be had.
    int Get(const char *path, Milliseconds now, struct stat *status) {
        if (fd_ > 0 && !IsStillHere(path, now, status)) Close();
        if (fd_ > 0) return fd_;
        const Fd opened = OpenLog(path, &status_);
        if (!opened) return -1;
        // Never one of the standard files, even when the program has closed those.
        const int fd = fcntl(opened.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        if (fd < 0) return -1;
        fd_ = fd;
        memcpy(path_, path, strlen(path) + 1);
        looked_ = now;
        *status = status_;
        return fd_;
    }

    void Close() {
        struct stat status;
        if (fd_ > 0 && fstat(fd_, &status) == 0 && IsSame(status, status_)) close(fd_);
        fd_ = 0;
        end_ = 0;
    }

    // Where the file ends after the line that this process wrote last, unless others wrote meanwhile.
    off_t end() const { return end_; }
    void set_end(off_t end) { end_ = end; }

  private:
    bool IsStillHere(const char *path, Milliseconds now, struct stat *status) {
        if (strcmp(path, path_) != 0 || fstat(fd_, status) != 0 || !IsSame(*status, status_)) return false;
        if (status->st_nlink != 1) return false;
        if (now == looked_) return true;
        struct stat there;
        if (lstat(path, &there) != 0 || !IsSame(there, status_)) return false;
        looked_ = now;
        return true;
    }

    int fd_ = 0;  // 0: none
    off_t end_ = 0;
    Path path_ = {};
    struct stat status_ = {};
    Milliseconds looked_;
};

constinit KeptLog g_log;  // belongs to Lock::kJournal

// Whether the last line has no end and is not getting one. The kernel writes page by page: one that is
// killed, or finds no space, leaves the part before the end of a page. Who is still writing needs
// microseconds.
bool EndsInsideALine(int fd, struct stat &status) {
    constexpr int kLooks = 3;  // a millisecond each
    for (int looks = 0; status.st_size > 0; ++looks) {
        char last;
        if (pread(fd, &last, 1, status.st_size - 1) != 1 || last == '\n') return false;
        if (looks == kLooks) return true;
        constexpr timespec kPause = {0, 1000000};
        nanosleep(&kPause, nullptr);
        if (fstat(fd, &status) != 0) return false;
    }
    return false;
}

// In one piece, after the end of what another process left without one.
ssize_t WriteLine(int fd, const char *line, size_t length, bool ends_another) {
    if (!ends_another) return write(fd, line, length);
    constexpr char kCut[] = "...\n";
    constexpr size_t kCutLength = sizeof kCut - 1;
    const iovec parts[] = {{const_cast<char *>(kCut), kCutLength}, {const_cast<char *>(line), length}};
    const ssize_t done = writev(fd, parts, 2);
    return done < 0 ? done : std::max<ssize_t>(done - static_cast<ssize_t>(kCutLength), 0);
}

bool Append(const char *path, const char *line, size_t length, Milliseconds now) {
    const Locked locked(Lock::kJournal);
    for (int tries = 0; tries < 8; ++tries) {
        struct stat status;
        const int fd = g_log.Get(path, now, &status);
        if (fd < 0) return false;
        if (status.st_size + static_cast<off_t>(length) > kFull) {
            if (!Rotate(path, status)) return false;
            g_log.Close();
            continue;
        }
        const bool cut = status.st_size != g_log.end() && EndsInsideALine(fd, status);
        const ssize_t done = WriteLine(fd, line, length, cut);
        if (done < 0 && errno == EINTR) continue;
        if (done != static_cast<ssize_t>(length)) {
            if (done >= 0) errno = ENOSPC;
            return false;
        }
        g_log.set_end(cut ? 0 : status.st_size + done);
        // A process that slept meanwhile may have written to a file that is gone; nobody fills one
        // in a millisecond.
        if (Now() == now || fstat(fd, &status) != 0 || status.st_nlink > 0) return true;
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
    const Milliseconds now = Now();
    const size_t stamp = Stamp(line, now);
    va_list args;
    va_start(args, format);
    const size_t length = FormatLine(line, stamp, format, args);
    va_end(args);
    return length > 0 && Append(place, line, length, now) ? 0 : -1;
}
