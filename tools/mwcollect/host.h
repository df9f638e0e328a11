// A read-only view of a machine below a root: "/" is the live machine, any other directory a captured tree.
//
// Paths are absolute as on the machine itself ("/sys/class/hwmon"). Symbolic links are followed, absolute
// ones and ".." included, but never out of the root. What is missing is answered by nothing, silently; what
// is there but cannot be read or is not what it should be is answered by nothing as well, after one line on
// standard error.
#ifndef MWCOLLECT_HOST_H
#define MWCOLLECT_HOST_H

#include <fmt/format.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "log.h"
#include "text.h"

namespace collect {

// An open file descriptor, closed at the end.
class Fd {
  public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Fd &operator=(Fd &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Fd();

    explicit operator bool() const { return fd_ >= 0; }
    int get() const { return fd_; }
    int Release() { return std::exchange(fd_, -1); }

  private:
    int fd_ = -1;
};

struct NumberedEntry {
    uint32_t number;
    std::string name;
};

struct FileSystemUse {
    uint64_t total_bytes;
    uint64_t used_bytes;
    uint64_t available_bytes;  // to users without privileges
};

// Some attributes exist but cannot be read in a normal state of the device (the speed of a port that is
// down): they are then as good as missing.
enum class Refusal { kReported, kExpected };

class Host {
  public:
    // How links are kept inside the root: by the kernel where it can, step by step otherwise.
    enum class Lookup { kKernel, kStepwise };

    // Nothing where root is not a directory; one line then.
    static std::optional<Host> Open(const std::string &root, Log &log, Lookup lookup = Lookup::kKernel);

    bool Live() const { return live_; }
    Log &log() const { return *log_; }

    bool Exists(const std::string &path) const;

    // One attribute: a single read(), at most kAttributeMax bytes, trimmed. May be empty.
    std::optional<std::string> Text(const std::string &path, Refusal refusal = Refusal::kReported) const;

    // A whole file of /proc, /etc or a binary table, at most max bytes, as it is.
    std::optional<std::string> File(const std::string &path, size_t max = 8u << 20,
                                    Refusal refusal = Refusal::kReported) const;

    // An attribute that is one number from lowest to highest.
    template <std::integral T>
    std::optional<T> Number(const std::string &path, std::string_view what,
                            T lowest = std::numeric_limits<T>::lowest(),
                            T highest = std::numeric_limits<T>::max(), Refusal refusal = Refusal::kReported,
                            int base = 10) const {
        const std::optional<std::string> text = Text(path, refusal);
        if (!text || (text->empty() && refusal == Refusal::kExpected)) return std::nullopt;
        const std::optional<T> number = ParseNumber<T>(*text, base);
        if (number && *number >= lowest && *number <= highest) return number;
        Skip(path, fmt::format("{} ({} to {})", what, lowest, highest), *text);
        return std::nullopt;
    }

    // A PCI identifier and the like: hexadecimal, with or without 0x.
    template <std::integral T>
    std::optional<T> Hex(const std::string &path, std::string_view what) const {
        return Number<T>(path, what, std::numeric_limits<T>::lowest(), std::numeric_limits<T>::max(),
                         Refusal::kReported, 16);
    }

    // Names in a directory, naturally sorted; none when it is missing.
    std::vector<std::string> List(const std::string &path) const;

    // The entries named prefix, number, suffix, in the order of their numbers.
    std::vector<NumberedEntry> Numbered(const std::string &path, std::string_view prefix,
                                        std::string_view suffix = {}) const;

    // Where a path really is, below the root: "/sys/devices/pci0000:00/...". Nothing for a dangling link.
    std::optional<std::string> Resolve(const std::string &path) const;

    // The last name of a link's target, dangling or not: the driver of a device, its address.
    std::optional<std::string> LinkName(const std::string &path) const;

    // The use of a mounted file system; never of a captured tree, whose numbers would be those of another
    // machine.
    std::optional<FileSystemUse> Use(const std::string &mount_point) const;

    // One line about a file whose content is not what it should be.
    void Skip(const std::string &path, std::string_view expected, std::string_view content) const;

    // The path as the user would type it: with the root before it.
    std::string Shown(const std::string &path) const;

    static constexpr size_t kAttributeMax = 4096;

  private:
    Host(std::string root, Fd fd, bool live, Log &log, Lookup lookup)
        : root_(std::move(root)), fd_(std::move(fd)), live_(live), log_(&log), lookup_(lookup) {}

    struct Found {
        Fd fd;
        std::string path;  // without links
        int error = 0;
    };
    // Opens a path inside the root; flags as of open(), without O_CREAT.
    Fd OpenInside(const std::string &path, int flags) const;
    Found Walk(const std::string &path, int flags) const;
    std::optional<std::string> Read(const std::string &path, size_t max, bool whole, Refusal refusal) const;
    void Unreadable(const std::string &path, std::string_view expected, int error) const;

    std::string root_;
    Fd fd_;
    bool live_;
    Log *log_;
    Lookup lookup_;
};

}  // namespace collect

#endif
