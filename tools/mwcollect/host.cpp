#include "host.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>

namespace collect {
namespace {

constexpr int kLinksMax = 40;
constexpr int kDepthMax = 256;
constexpr size_t kEntriesMax = 65536;

// The result of a system call that is repeated when a signal interrupts it.
template <typename Call>
auto Again(Call call) {
    decltype(call()) result;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

void PushComponents(std::deque<std::string> &todo, std::string_view path) {
    std::vector<std::string> names;
    while (!path.empty()) {
        const size_t end = std::min(path.find('/'), path.size());
        if (end > 0 && path.substr(0, end) != ".") names.emplace_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    todo.insert(todo.begin(), names.begin(), names.end());
}

std::optional<std::string> ReadLink(int dir, const char *name) {
    char target[4096];
    const ssize_t length = readlinkat(dir, name, target, sizeof(target));
    if (length < 0 || length == static_cast<ssize_t>(sizeof(target))) return std::nullopt;
    return std::string(target, static_cast<size_t>(length));
}

bool IsMissing(int error) { return error == ENOENT || error == ENOTDIR; }

// What the kernel answers for an attribute that has no value at the moment.
bool IsRefusal(int error) {
    return error == EINVAL || error == ENODATA || error == ENXIO || error == EIO || error == EAGAIN ||
           error == EBUSY || error == ENODEV || error == EOPNOTSUPP;
}

}  // namespace

Fd::~Fd() {
    if (fd_ >= 0) close(fd_);
}

std::optional<Host> Host::Open(const std::string &root, Log &log, Lookup lookup) {
    Fd fd(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat here {};
    struct stat top {};
    if (!fd || fstat(fd.get(), &here) != 0 || stat("/", &top) != 0) {
        log.Once(
            fmt::format("{}: expected a directory with proc and sys below it: {}", root, strerror(errno)));
        return std::nullopt;
    }
    const bool live = here.st_dev == top.st_dev && here.st_ino == top.st_ino;
    std::string shown = live ? std::string() : root;
    while (shown.size() > 1 && shown.back() == '/') shown.pop_back();
    return Host(std::move(shown), std::move(fd), live, log, lookup);
}

std::string Host::Shown(const std::string &path) const { return root_ + path; }

void Host::Skip(const std::string &path, std::string_view expected, std::string_view content) const {
    log_->Skip(Shown(path), expected,
               content.empty() ? "nothing" : fmt::format("\"{}\"", Printable(content)));
}

void Host::Unreadable(const std::string &path, std::string_view expected, int error) const {
    log_->Skip(Shown(path), expected, fmt::format("\"{}\"", strerror(error)));
}

// Follows a path name by name, reading links itself: the way to stay inside the root on a kernel that cannot
// do it, and to learn the path without links.
Host::Found Host::Walk(const std::string &path, int flags) const {
    std::deque<std::string> todo;
    PushComponents(todo, path);
    std::vector<std::pair<std::string, Fd>> way;  // directories from the root down
    int links = 0;
    const auto here = [&] { return way.empty() ? fd_.get() : way.back().second.get(); };
    while (!todo.empty()) {
        const std::string name = std::move(todo.front());
        todo.pop_front();
        if (name == "..") {
            if (!way.empty()) way.pop_back();
            continue;
        }
        Fd next(openat(here(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
        struct stat status {};
        if (!next || fstat(next.get(), &status) != 0) return {Fd(), {}, errno};
        if (S_ISLNK(status.st_mode)) {
            const std::optional<std::string> target = ReadLink(next.get(), "");
            if (!target || ++links > kLinksMax) return {Fd(), {}, ELOOP};
            if (target->starts_with('/')) way.clear();
            PushComponents(todo, *target);
            continue;
        }
        if (!todo.empty() && !S_ISDIR(status.st_mode)) return {Fd(), {}, ENOTDIR};
        if (way.size() >= kDepthMax) return {Fd(), {}, ENAMETOOLONG};
        way.emplace_back(name, std::move(next));
    }
    Found found;
    for (const auto &[name, fd] : way) found.path += "/" + name;
    if (found.path.empty()) found.path += '/';
    if ((flags & O_PATH) == 0) {
        const int from = way.size() > 1 ? way[way.size() - 2].second.get() : fd_.get();
        const char *last = way.empty() ? "." : way.back().first.c_str();
        found.fd = Fd(openat(from, last, flags | O_NOFOLLOW));
        found.error = found.fd ? 0 : errno;
    } else if (!way.empty()) {
        found.fd = std::move(way.back().second);
    } else {
        found.fd = Fd(openat(fd_.get(), ".", flags));
        found.error = found.fd ? 0 : errno;
    }
    return found;
}

Fd Host::OpenInside(const std::string &path, int flags) const {
    flags |= O_CLOEXEC;
    if (lookup_ == Lookup::kKernel) {
        struct open_how how {};
        how.flags = static_cast<uint64_t>(flags);
        how.resolve = RESOLVE_IN_ROOT;
        const int fd = static_cast<int>(
            Again([&] { return syscall(SYS_openat2, fd_.get(), path.c_str(), &how, sizeof(how)); }));
        // EAGAIN: something in the tree was renamed meanwhile. The others: an old kernel, or a filter of
        // system calls.
        if (fd >= 0 || (errno != ENOSYS && errno != EPERM && errno != EAGAIN)) return Fd(fd);
    }
    Found found = Walk(path, flags);
    errno = found.error;
    return std::move(found.fd);
}

bool Host::Exists(const std::string &path) const { return static_cast<bool>(OpenInside(path, O_PATH)); }

std::optional<std::string> Host::Read(const std::string &path, size_t max, bool whole,
                                      Refusal refusal) const {
    // Opening must neither wait (a pipe in a tree) nor take a terminal.
    const Fd fd = OpenInside(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (!fd) {
        if (!IsMissing(errno)) Unreadable(path, "a readable file", errno);
        return std::nullopt;
    }
    struct stat status {};
    if (fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        log_->Skip(Shown(path), "a regular file", "something else");
        return std::nullopt;
    }
    std::string text;
    size_t got = 0;
    ssize_t count = 0;
    do {
        // A bounded buffer that grows with the file; one byte more than wanted shows that there is more.
        text.resize(std::min(max + 1, std::max<size_t>(kAttributeMax + 1, got * 2)));
        count = Again([&] { return read(fd.get(), text.data() + got, text.size() - got); });
        if (count > 0) got += static_cast<size_t>(count);
    } while (whole && count > 0 && got <= max);
    if (count < 0) {
        if (refusal == Refusal::kReported || !IsRefusal(errno)) Unreadable(path, "a readable file", errno);
        return std::nullopt;
    }
    if (got > max) {
        log_->Skip(Shown(path), fmt::format("at most {} bytes", max), "more");
        return std::nullopt;
    }
    text.resize(got);
    return text;
}

std::optional<std::string> Host::Text(const std::string &path, Refusal refusal) const {
    std::optional<std::string> text = Read(path, kAttributeMax, false, refusal);
    if (text) *text = std::string(Trim(*text));
    return text;
}

std::optional<std::string> Host::File(const std::string &path, size_t max, Refusal refusal) const {
    return Read(path, max, true, refusal);
}

std::vector<std::string> Host::List(const std::string &path) const {
    std::vector<std::string> names;
    Fd fd = OpenInside(path, O_RDONLY | O_DIRECTORY);
    if (!fd) {
        if (!IsMissing(errno)) Unreadable(path, "a readable directory", errno);
        return names;
    }
    const std::unique_ptr<DIR, int (*)(DIR *)> dir(fdopendir(fd.get()), closedir);
    if (!dir) return names;
    fd.Release();
    while (const dirent *entry = readdir(dir.get())) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        if (names.size() == kEntriesMax) {
            log_->Skip(Shown(path), fmt::format("at most {} entries", kEntriesMax), "more");
            break;
        }
        names.emplace_back(name);
    }
    std::sort(names.begin(), names.end(), NaturalLess);
    return names;
}

std::vector<NumberedEntry> Host::Numbered(const std::string &path, std::string_view prefix,
                                          std::string_view suffix) const {
    std::vector<NumberedEntry> entries;
    for (std::string &name : List(path)) {
        const std::string_view whole = name;
        if (whole.size() <= prefix.size() + suffix.size() || !whole.starts_with(prefix) ||
            !whole.ends_with(suffix)) {
            continue;
        }
        const auto number =
            ParseNumber<uint32_t>(whole.substr(prefix.size(), whole.size() - prefix.size() - suffix.size()));
        if (number) entries.push_back({*number, std::move(name)});
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto &a, const auto &b) { return a.number < b.number; });
    return entries;
}

std::optional<std::string> Host::Resolve(const std::string &path) const {
    Found found = Walk(path, O_PATH | O_CLOEXEC);
    if (!found.fd) return std::nullopt;
    return std::move(found.path);
}

std::optional<std::string> Host::LinkName(const std::string &path) const {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) return std::nullopt;
    const Fd dir = OpenInside(slash == 0 ? "/" : path.substr(0, slash), O_PATH | O_DIRECTORY);
    if (!dir) return std::nullopt;
    const std::optional<std::string> target = ReadLink(dir.get(), path.c_str() + slash + 1);
    if (!target || target->empty() || target->ends_with('/')) return std::nullopt;
    return target->substr(target->find_last_of('/') + 1);
}

std::optional<FileSystemUse> Host::Use(const std::string &mount_point) const {
    if (!live_) return std::nullopt;
    struct statvfs status {};
    if (Again([&] { return statvfs(mount_point.c_str(), &status); }) != 0) {
        Unreadable(mount_point, "a mounted file system", errno);
        return std::nullopt;
    }
    const uint64_t unit = status.f_frsize != 0 ? status.f_frsize : status.f_bsize;
    const auto bytes = [&](uint64_t blocks) {
        uint64_t product = 0;
        return __builtin_mul_overflow(blocks, unit, &product) ? UINT64_MAX : product;
    };
    if (status.f_blocks == 0 || status.f_bfree > status.f_blocks) {
        log_->Skip(mount_point, "a file system of some size", "none");
        return std::nullopt;
    }
    return FileSystemUse{bytes(status.f_blocks), bytes(status.f_blocks - status.f_bfree),
                         bytes(status.f_bavail)};
}

}  // namespace collect
