// INI files on SimpleIni: parsing, order and comments are its business, what surrounds them is done here.
//
// A value that a line cannot hold as it is (line ends and other control characters, blanks at its ends) or
// that another reader might take for something else (a comment sign, a bracket or a quote in front) is stored
// between quotation marks with \n, \r, \t, \\, \" and \xHH inside. A key or section that cannot be stored is
// refused.
#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "iniparser.h"

#define SI_NO_CONVERSION
#define SI_IMPLEMENTATION
#include <SimpleIni.h>

#include "files.h"
#include "forks.h"
#include "hov_slibc.h"
#include "iniparser_cache.h"
#include "paths.h"
#include "say.h"

namespace platform {
namespace {

constexpr size_t kLargestFile = 1 << 20;
constexpr mode_t kPermissions = 0777;

// --- values --------------------------------------------------------------------------------------

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

bool NeedsQuotes(std::string_view value) {
    if (value.empty()) return false;
    return IsBlank(value.front()) || IsBlank(value.back()) || value.front() == '"' || value.front() == '[' ||
           value.starts_with("<<<") || std::any_of(value.begin(), value.end(), [](char c) {
               return IsControl(c) || c == ';' || c == '#';
           });
}

std::string Quote(std::string_view value) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::string out = "\"";
    for (const char c : value) {
        switch (c) {
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '"':
                out += "\\\"";
                break;
            default:
                if (IsControl(c)) {
                    out += {'\\', 'x', kHex[static_cast<unsigned char>(c) >> 4], kHex[c & 15]};
                } else {
                    out += c;
                }
        }
    }
    return out += '"';
}

// The text of a quoted value. False for anything that Quote does not write: that is taken as it stands.
bool Unquote(std::string_view value, std::string &out) {
    if (value.size() < 2 || value.front() != '"' || value.back() != '"') return false;
    value = value.substr(1, value.size() - 2);
    out.clear();
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '"') return false;
        if (value[i] != '\\') {
            out += value[i];
            continue;
        }
        if (++i == value.size()) return false;
        switch (value[i]) {
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case '\\':
                out += '\\';
                break;
            case '"':
                out += '"';
                break;
            case 'x': {
                unsigned char byte = 0;
                const char *digits = value.data() + i + 1;
                if (value.size() - i < 3 || std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2 ||
                    byte == 0)
                    return false;
                out += static_cast<char>(byte);
                i += 2;
                break;
            }
            default:
                return false;
        }
    }
    return true;
}

// No line ends, and nothing that SimpleIni takes away at both ends.
bool FitsALine(std::string_view name) {
    return !name.empty() && !IsBlank(name.front()) && !IsBlank(name.back()) &&
           std::none_of(name.begin(), name.end(), IsControl);
}

bool IsSection(std::string_view name) { return FitsALine(name) && name.find(']') == std::string_view::npos; }

bool IsKey(std::string_view name) {
    return FitsALine(name) && name.find('=') == std::string_view::npos &&
           strchr("[;#", name.front()) == nullptr;
}

// --- the parsed file -----------------------------------------------------------------------------

// SimpleIni takes a line that lacks its "]" for a section all the same, one whose name runs on through the lines
// that follow. Such lines are left out.
std::string WithoutOpenSections(std::string_view text, size_t begin) {
    std::string kept(text.substr(0, begin));
    while (begin < text.size()) {
        const size_t end = std::min(text.find_first_of("\r\n", begin), text.size());
        std::string_view line = text.substr(begin, end - begin);
        line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
        const bool is_open = line.starts_with('[') && line.find(']') == line.npos;
        if (is_open) begin = end;
        kept += text.substr(begin, end + 1 - begin);
        begin = end + 1;
    }
    return kept;
}

class Image {
  public:
    // False when it cannot be an INI file.
    bool Parse(std::string text) {
        if (text.find('\0') != std::string::npos || text.find(kTail) != std::string::npos) return false;
        has_signature_ = text.starts_with(SI_UTF8_SIGNATURE);
        text = WithoutOpenSections(text, has_signature_ ? strlen(SI_UTF8_SIGNATURE) : 0);
        // SimpleIni drops a comment that nothing follows: a section of our own follows it while it is there.
        const bool ends_line = text.empty() || text.back() == '\n' || text.back() == '\r';
        text += std::string(ends_line ? "" : "\n") + '[' + kTail + "]\n";
        if (ini_.LoadData(text) < 0) return false;
        CSimpleIniCaseA::TNamesDepend sections;
        ini_.GetAllSections(sections);
        for (const auto &section : sections) {
            if (strcmp(section.pItem, kTail) == 0) {
                if (section.pComment == nullptr) ini_.Delete(kTail, nullptr);
                continue;
            }
            for (const auto &[key, value] : *ini_.GetSection(section.pItem)) Note(value);
        }
        return true;
    }

    // The whole file. SimpleIni changes its comments for a moment while it writes them.
    std::string Text() const {
        std::string text;
        CSimpleIniCaseA::StringWriter writer(text);
        ini_.Save(writer, has_signature_);
        const std::string tail = std::string("[") + kTail + "]\n";
        if (const size_t at = text.find(tail); at != std::string::npos) {
            // A section that was added since gets the comment, so it stands below it at once.
            const bool is_last = at + tail.size() == text.size();
            text.erase(at, tail.size() + (is_last ? 0 : strlen("\n\n")));
        }
        // A key may begin with the bytes of a signature; at the very start they would be taken for one.
        if (!has_signature_ && text.starts_with(SI_UTF8_SIGNATURE)) text.insert(0, "\n");
        return text;
    }

    const char *Find(const char *section, const char *key) const {
        const char *value = ini_.GetValue(section, key);
        const auto plain = plain_.find(value);
        return plain != plain_.end() ? plain->second.c_str() : value;
    }

    bool Set(const char *section, const char *key, const char *value) {
        const std::string stored = NeedsQuotes(value) ? Quote(value) : value;
        if (ini_.SetValue(section, key, stored.c_str()) < 0) return false;
        Note(ini_.GetValue(section, key));
        return true;
    }

    bool Delete(const char *section, const char *key) { return ini_.Delete(section, key); }

  private:
    // Takes down what a stored value means when that is something else than it looks like.
    void Note(const char *value) {
        std::string plain;
        if (Unquote(value, plain)) {
            plain_.insert_or_assign(value, std::move(plain));
        } else {
            plain_.erase(value);
        }
    }

    static constexpr char kTail[] = "\001end\001";  // a section that no file may have

    CSimpleIniCaseA ini_{true, false, false};
    std::unordered_map<const char *, std::string> plain_;  // by the place of the stored value
    bool has_signature_ = false;
};

// --- files ---------------------------------------------------------------------------------------

// What tells one state of a file from another.
struct Identity {
    dev_t device;
    ino_t inode;
    off_t size;
    timespec modified;
    timespec changed;

    static Identity Of(const struct stat &status) {
        return {status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
    }
    bool operator==(const Identity &other) const {
        return device == other.device && inode == other.inode && size == other.size &&
               Nanoseconds(modified) == Nanoseconds(other.modified) &&
               Nanoseconds(changed) == Nanoseconds(other.changed);
    }

    // True when every later change must give the file another time of change. A file system stamps with the
    // time of the last clock tick, or in whole seconds, so a file that was changed just before it was read
    // may be changed again without a trace.
    bool IsSettled(const timespec &before_reading) const {
        constexpr int64_t kTicks = 20'000'000;
        constexpr int64_t kSeconds = 3'000'000'000;
        const int64_t age = Nanoseconds(before_reading) - Nanoseconds(changed);
        return age > (changed.tv_nsec == 0 ? kSeconds : kTicks);
    }

  private:
    static int64_t Nanoseconds(const timespec &time) {
        return int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
    }
};

bool ReadAll(int fd, std::string &text) {
    char part[16384];
    for (;;) {
        const ssize_t size = read(fd, part, sizeof part);
        if (size < 0 && errno == EINTR) continue;
        if (size <= 0) return size == 0;
        text.append(part, static_cast<size_t>(size));
        if (text.size() > kLargestFile) {
            errno = EFBIG;
            return false;
        }
    }
}

// --- handles -------------------------------------------------------------------------------------

struct Handle {
    std::shared_ptr<Image> image;
    std::vector<std::shared_ptr<Image>> earlier;  // texts of these were handed out
    bool shared;                                  // others may look at the image, or hold texts of it
    uint64_t used;                                // when, for the choice of one to be given up
};

struct CachedFile {
    Identity identity;
    std::shared_ptr<Image> image;
};

// Everything here belongs to Lock::kIni. It is never destroyed: a thread may be at work while the process
// ends.
struct State {
    // A handle is a number that is not used again, so that one that was closed is noticed. Callers exist that
    // never close theirs: the one that lay idle the longest is given up when there are too many.
    static constexpr size_t kMostHandles = 128;
    std::unordered_map<uintptr_t, Handle> handles;
    uintptr_t last_handle = 0;
    uint64_t clock = 0;

    static constexpr size_t kMostFiles = 16;
    std::map<std::string, CachedFile, std::less<>> files;
    bool cache = true;
};

State &TheState() {
    static State *state = new State;
    return *state;
}

void *Open(std::shared_ptr<Image> image, bool shared) {
    State &state = TheState();
    if (state.handles.size() >= State::kMostHandles) {
        state.handles.erase(
            std::min_element(state.handles.begin(), state.handles.end(),
                             [](const auto &a, const auto &b) { return a.second.used < b.second.used; }));
    }
    do {
        ++state.last_handle;
    } while (state.last_handle == 0 || state.handles.contains(state.last_handle));
    state.handles.emplace(state.last_handle, Handle{std::move(image), {}, shared, ++state.clock});
    return reinterpret_cast<void *>(state.last_handle);
}

// NULL with errno set when there is no such handle.
Handle *Find(void *ini) {
    State &state = TheState();
    const auto found = state.handles.find(reinterpret_cast<uintptr_t>(ini));
    if (found == state.handles.end()) {
        errno = EBADF;
        return nullptr;
    }
    found->second.used = ++state.clock;
    return &found->second;
}

// The image of a handle, to be changed: a copy when anybody else may look at it.
Image *Writable(Handle &handle) {
    if (!handle.shared) return handle.image.get();
    auto copy = std::make_shared<Image>();
    if (!copy->Parse(handle.image->Text())) return nullptr;
    handle.earlier.push_back(std::move(handle.image));
    handle.image = std::move(copy);
    handle.shared = false;
    return handle.image.get();
}

enum class Missing { kEmpty, kCreate };

bool CreateEmpty(const char *place) {
    MakeParents(place);
    struct stat status;
    const Fd fd = OpenRegular(place, O_WRONLY | O_CREAT | O_EXCL, &status);
    if (!fd) return errno == EEXIST;
    return fchmod(fd.get(), kMode) == 0;
}

void *Load(const char *path, Missing missing) {
    Path place;
    if (!Place(path, place)) return nullptr;
    const Locked locked(Lock::kIni);
    State &state = TheState();

    struct stat status;
    const auto cached = state.files.find(std::string_view(place));
    if (cached != state.files.end()) {
        if (state.cache && lstat(place, &status) == 0 && Identity::Of(status) == cached->second.identity)
            return Open(cached->second.image, true);
        state.files.erase(cached);
    }

    timespec now;
    clock_gettime(CLOCK_REALTIME_COARSE, &now);  // what files are stamped with; its tick can come late
    Fd fd = OpenRegular(place, O_RDONLY, &status);
    if (!fd && errno == ENOENT) {
        if (missing == Missing::kCreate && !CreateEmpty(place)) return nullptr;
        return Open(std::make_shared<Image>(), false);
    }
    std::string text;
    if (!fd || !ReadAll(fd.get(), text)) return nullptr;
    auto image = std::make_shared<Image>();
    if (!image->Parse(std::move(text))) {
        errno = EINVAL;
        return nullptr;
    }
    struct stat after;
    const bool keep = state.cache && fstat(fd.get(), &after) == 0 &&
                      Identity::Of(status) == Identity::Of(after) && Identity::Of(status).IsSettled(now);
    if (keep) {
        if (state.files.size() >= State::kMostFiles) state.files.clear();
        state.files.insert_or_assign(place, CachedFile{Identity::Of(status), image});
    }
    return Open(std::move(image), keep);
}

int32_t Save(void *ini, const char *path) {
    Path place;
    if (!Place(path, place)) return -1;
    std::string text;
    {
        const Locked locked(Lock::kIni);
        const Handle *handle = Find(ini);
        if (handle == nullptr) return -1;
        text = handle->image->Text();
    }
    if (text.size() > kLargestFile) {
        errno = EFBIG;
        return -1;
    }
    struct stat old;
    const bool exists = lstat(place, &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    NewFile file(place, exists ? old.st_mode & kPermissions : kMode);
    if (!file) return -1;
    // The old owner and group stay where this process may give a file away.
    if (exists && fchown(file.fd(), old.st_uid, old.st_gid) != 0)
        (void)!fchown(file.fd(), static_cast<uid_t>(-1), old.st_gid);
    return WriteAll(file.fd(), text.data(), text.size()) && file.Replace() ? 0 : -1;
}

// Nothing may be thrown through a C interface: what runs out of memory fails.
template <class Result, class Body>
Result Guarded(Result failure, Body body) {
    try {
        return body();
    } catch (...) {
        errno = ENOMEM;
        return failure;
    }
}

int32_t Invalid() {
    errno = EINVAL;
    return -1;
}

int32_t Set(void *ini, const char *section, const char *key, const char *value) {
    if (section == nullptr || key == nullptr || value == nullptr || !IsSection(section) || !IsKey(key))
        return Invalid();
    return Guarded<int32_t>(-1, [&]() -> int32_t {
        const Locked locked(Lock::kIni);
        Handle *handle = Find(ini);
        Image *image = handle != nullptr ? Writable(*handle) : nullptr;
        return image != nullptr && image->Set(section, key, value) ? 0 : -1;
    });
}

}  // namespace
}  // namespace platform

using namespace platform;

void *IniLoadFile(const char *path) {
    return Guarded<void *>(nullptr, [&] { return Load(path, Missing::kEmpty); });
}

void *HOV_IniLoadFile(const char *path) {
    return Guarded<void *>(nullptr, [&] { return Load(path, Missing::kCreate); });
}

int32_t IniSaveFile(void *ini, const char *path) {
    return Guarded<int32_t>(-1, [&] { return Save(ini, path); });
}

int32_t IniCloseFile(void *ini) {
    const Locked locked(Lock::kIni);
    if (Find(ini) == nullptr) return -1;
    TheState().handles.erase(reinterpret_cast<uintptr_t>(ini));
    return 0;
}

const char *IniGetStr(void *ini, const char *section, const char *key, const char *fallback) {
    if (section == nullptr || key == nullptr) return fallback;
    return Guarded<const char *>(fallback, [&] {
        const Locked locked(Lock::kIni);
        Handle *handle = Find(ini);
        const char *value = handle != nullptr ? handle->image->Find(section, key) : nullptr;
        if (value == nullptr) return fallback;
        handle->shared = true;  // the caller keeps the text: from now on nothing in this image changes
        return value;
    });
}

uint32_t IniGetUInt(void *ini, const char *section, const char *key, uint32_t fallback) {
    if (section == nullptr || key == nullptr) return fallback;
    return Guarded<uint32_t>(fallback, [&] {
        const Locked locked(Lock::kIni);
        const Handle *handle = Find(ini);
        const char *value = handle != nullptr ? handle->image->Find(section, key) : nullptr;
        if (value == nullptr) return fallback;
        const bool is_hex = value[0] == '0' && (value[1] == 'x' || value[1] == 'X');
        const char *first = is_hex ? value + 2 : value;
        const char *end = value + strlen(value);
        uint32_t number = 0;
        const auto [rest, error] = std::from_chars(first, end, number, is_hex ? 16 : 10);
        return error == std::errc() && rest == end ? number : fallback;
    });
}

int32_t IniSetStr(void *ini, const char *section, const char *key, const char *value) {
    return Set(ini, section, key, value);
}

int32_t IniSetUInt(void *ini, const char *section, const char *key, uint32_t value) {
    char text[16];
    *std::to_chars(text, text + sizeof text - 1, value).ptr = '\0';
    return Set(ini, section, key, text);
}

int32_t IniDelEntry(void *ini, const char *section, const char *key) {
    if (section == nullptr || key == nullptr) return Invalid();
    return Guarded<int32_t>(-1, [&]() -> int32_t {
        const Locked locked(Lock::kIni);
        Handle *handle = Find(ini);
        if (handle == nullptr) return -1;
        if (handle->image->Find(section, key) == nullptr) {
            errno = ENOENT;
            return -1;
        }
        Image *image = Writable(*handle);
        return image != nullptr && image->Delete(section, key) ? 0 : -1;
    });
}

int IniCacheEnable(int enable) {
    const Locked locked(Lock::kIni);
    State &state = TheState();
    const int before = state.cache ? 1 : 0;
    state.cache = enable != 0;
    state.files.clear();
    return before;
}
