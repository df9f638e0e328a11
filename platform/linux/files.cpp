#include "files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "forks.h"

namespace platform {
namespace {

constexpr mode_t kDirectoryMode = 0755;

// Of the hidden name ".name.new-PID-N" of a file that is not in its place yet.
constexpr char kMark[] = ".new-";

const char *NameOf(const char *path) { return strrchr(path, '/') + 1; }

// Cuts `path` to its directory; "" would be the root directory.
void DirectoryOf(const char *path, Path &out) {
    const size_t length = static_cast<size_t>(strrchr(path, '/') - path);
    memcpy(out, path, length);
    out[length] = '\0';
    if (length == 0) memcpy(out, "/", 2);
}

// A process holds a lock on its new file for as long as it lives, so one that can be locked has been left
// behind.
void RemoveLeftovers(const char *path) {
    Path directory;
    DirectoryOf(path, directory);
    DIR *entries = opendir(directory);
    if (entries == nullptr) return;
    const size_t length = strlen(NameOf(path));
    while (const dirent *entry = readdir(entries)) {
        const char *name = entry->d_name;
        if (name[0] != '.' || strncmp(name + 1, NameOf(path), length) != 0 ||
            strncmp(name + 1 + length, kMark, sizeof kMark - 1) != 0)
            continue;
        const Fd fd(openat(dirfd(entries), name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
        if (fd && flock(fd.get(), LOCK_EX | LOCK_NB) == 0) unlinkat(dirfd(entries), name, 0);
    }
    closedir(entries);
}

bool SyncDirectoryOf(const char *path) {
    Path directory;
    DirectoryOf(path, directory);
    const Fd fd(open(directory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems know no sync of a directory; they answer EINVAL.
    return fd && (fsync(fd.get()) == 0 || errno == EINVAL);
}

std::atomic<unsigned> g_number{0};

}  // namespace

void Fd::Close() {
    if (fd_ < 0) return;
    const int error = errno;
    close(fd_);
    errno = error;
    fd_ = -1;
}

void MakeParents(const char *path) {
    Path directory;
    for (const char *at = strchr(path + 1, '/'); at != nullptr; at = strchr(at + 1, '/')) {
        const size_t length = static_cast<size_t>(at - path);
        memcpy(directory, path, length);
        directory[length] = '\0';
        // The creator's umask shall not matter.
        if (mkdir(directory, kDirectoryMode) == 0) (void)!chmod(directory, kDirectoryMode);
    }
}

Fd OpenRegular(const char *path, int flags, struct stat *status) {
    Fd fd(open(path, flags | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600));
    if (!fd || fstat(fd.get(), status) != 0) return Fd();
    if (!S_ISREG(status->st_mode)) {
        errno = EINVAL;
        return Fd();
    }
    return fd;
}

bool WriteAll(int fd, const char *bytes, size_t size) {
    while (size > 0) {
        const ssize_t done = write(fd, bytes, size);
        if (done < 0 && errno == EINTR) continue;
        if (done <= 0) return false;
        bytes += done;
        size -= static_cast<size_t>(done);
    }
    return true;
}

NewFile::NewFile(const char *path, mode_t mode) {
    target_[0] = name_[0] = '\0';
    MakeParents(path);
    RemoveLeftovers(path);
    // Another process may take the file for a leftover in the moment before it is locked.
    for (int tries = 0; tries < 8 && !Begin(path, mode); ++tries) {
        if (errno != EEXIST && errno != ENOENT) break;
    }
}

bool NewFile::Begin(const char *path, mode_t mode) {
    Path directory;
    DirectoryOf(path, directory);
    const int length = snprintf(name_, sizeof name_, "%s/.%s%s%u-%u", directory, NameOf(path), kMark,
                                Me().pid, g_number.fetch_add(1, std::memory_order_relaxed));
    if (length < 0 || static_cast<size_t>(length) >= sizeof name_) {
        name_[0] = '\0';
        errno = ENAMETOOLONG;
        return false;
    }
    Fd fd(open(name_, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!fd) {
        name_[0] = '\0';
        return false;
    }
    struct stat status;
    if (flock(fd.get(), LOCK_EX) != 0 || fstat(fd.get(), &status) != 0 || fchmod(fd.get(), mode) != 0)
        return false;
    if (status.st_nlink == 0) {
        name_[0] = '\0';
        errno = ENOENT;
        return false;
    }
    memcpy(target_, path, strlen(path) + 1);
    fd_ = static_cast<Fd &&>(fd);
    return true;
}

NewFile::~NewFile() {
    if (name_[0] == '\0') return;
    const int error = errno;
    unlink(name_);
    errno = error;
}

bool NewFile::Replace() {
    if (fsync(fd_.get()) != 0 || rename(name_, target_) != 0) return false;
    name_[0] = '\0';
    return SyncDirectoryOf(target_);
}

bool NewFile::Add() { return link(name_, target_) == 0; }

}  // namespace platform
