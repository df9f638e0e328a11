// Files that appear whole or not at all.
#ifndef PLATFORM_FILES_H
#define PLATFORM_FILES_H

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>

#include "paths.h"

#pragma GCC visibility push(hidden)

namespace platform {

inline constexpr mode_t kMode = 0660;

class Fd {
  public:
    explicit Fd(int fd = -1) : fd_(fd) {}
    Fd(Fd &&other) noexcept : fd_(other.Take()) {}
    Fd &operator=(Fd &&other) noexcept {
        Close();
        fd_ = other.Take();
        return *this;
    }
    ~Fd() { Close(); }

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }

  private:
    int Take() {
        const int fd = fd_;
        fd_ = -1;
        return fd;
    }
    void Close();  // errno stays

    int fd_;
};

// Creates the missing directories above `path`. What can be wrong shows when `path` itself is opened.
void MakeParents(const char *path);

// Opens a regular file, or creates it with O_CREAT for its owner alone; never through a link, and without
// waiting for whoever holds the other end of a pipe that was put there. Invalid with errno set; EINVAL when
// it is no regular file.
Fd OpenRegular(const char *path, int flags, struct stat *status);

bool WriteAll(int fd, const char *bytes, size_t size);

// A file under a name of its own next to the place where it will appear. What a killed process leaves of one
// is removed by the next process that wants to put a file there.
class NewFile {
  public:
    explicit NewFile(const char *path, mode_t mode);
    ~NewFile();
    NewFile(const NewFile &) = delete;
    NewFile &operator=(const NewFile &) = delete;

    explicit operator bool() const { return static_cast<bool>(fd_); }  // false: errno tells why
    int fd() const { return fd_.get(); }

    // Puts it in the place of whatever is there, also across a power cut.
    bool Replace();
    // Puts it there; fails with EEXIST when there is something already.
    bool Add();

  private:
    bool Begin(const char *path, mode_t mode);

    Path target_;
    Path name_;  // "" when nothing is there to be removed
    Fd fd_;
};

}  // namespace platform

#pragma GCC visibility pop
#endif
