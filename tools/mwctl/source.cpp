#include "source.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "area.h"
#include "dbgout.h"
#include "hov_slibc.h"
#include "iniparser.h"
#include "layout.h"
#include "oal.h"
#include "text.h"

namespace mwctl {
namespace {

enum class From : uint8_t { kLive, kSaved, kUnlocked } source = From::kLive;

SavedFile file;  // what kSaved reads

// What the library reads instead of the shared area.
alignas(64) std::byte area[MW_AREA_SIZE];
bool area_is_filled = false;

// The platform's own function of that name, behind this program's.
template <class Function>
Function *Next(const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

const std::byte *LiveArea() {
    static const auto next = Next<decltype(OAL_GetMemResourceAddr)>("OAL_GetMemResourceAddr");
    return next == nullptr ? nullptr : static_cast<const std::byte *>(next(MW_AREA_KEY));
}

void CopyUnlocked(uint32_t offset, uint32_t size) {
    if (const std::byte *live = LiveArea()) std::memcpy(area + offset, live + offset, size);
}

void *PrivateArea() {
    if (source == From::kUnlocked) {
        if (LiveArea() == nullptr) return nullptr;
        if (!area_is_filled) CopyUnlocked(0, MW_AREA_SIZE);
        area_is_filled = true;
    }
    return area;
}

const midware::Module *ModuleOf(uint32_t key) {
    const auto *found = std::ranges::find(midware::kModules, key, &midware::Module::key);
    return found == std::end(midware::kModules) ? nullptr : found;
}

// Up to `most` bytes and one, which tells that there are more. False with errno set.
bool ReadAll(int from, size_t most, std::vector<std::byte> &bytes) {
    bytes.resize(most + 1);
    size_t size = 0;
    while (size < bytes.size()) {
        const ssize_t done = read(from, bytes.data() + size, bytes.size() - size);
        if (done < 0 && errno == EINTR) continue;
        if (done < 0) return false;
        if (done == 0) break;
        size += static_cast<size_t>(done);
    }
    bytes.resize(size);
    return true;
}

// The bytes of a regular file, at most `most` and one. A pipe is not waited for. The problem, or nothing;
// `missing` is whether that is it.
std::string ReadRegular(const std::string &path, int flags, size_t most, std::vector<std::byte> &bytes,
                        bool &missing) {
    const int from = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY | flags);
    missing = from < 0 && errno == ENOENT;
    if (from < 0) return std::strerror(errno);
    struct stat status {};
    std::string problem;
    if (fstat(from, &status) != 0) {
        problem = std::strerror(errno);
    } else if (!S_ISREG(status.st_mode)) {
        problem = S_ISDIR(status.st_mode) ? "it is a directory" : "it is no regular file";
    } else if (!ReadAll(from, most, bytes)) {
        problem = std::strerror(errno);
    }
    close(from);
    return problem;
}

// Hands the text of a saved configuration file to the platform's parser, which reads files only: one of its
// own that is gone again when this returns.
void *LoadSaved(const SavedConfig &config) {
    static const auto load = Next<decltype(IniLoadFile)>("IniLoadFile");
    if (load == nullptr || config.state == SavedConfig::State::kUnreadable) return nullptr;
    const char *given = secure_getenv("TMPDIR");
    const std::string place = given != nullptr && given[0] == '/' ? given : "/tmp";
    std::string directory = place + "/mwctl-XXXXXX";
    const SignalsHeld held;
    bool good = mkdtemp(directory.data()) != nullptr;
    void *handle = nullptr;
    if (good) {
        const std::string path = directory + "/saved.ini";
        if (config.state == SavedConfig::State::kPresent) {
            const int to = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
            good = to >= 0 && WriteAll(to, config.bytes);
            if (to >= 0) close(to);
        }
        if (good) handle = load(path.c_str());
        const int error = errno;
        unlink(path.c_str());
        rmdir(directory.c_str());
        errno = error;
    }
    if (!good) {
        IDBG_LINUXAPP_DbgOut(midware::kLevelError, "a saved configuration file needs a place in %s: %s\n",
                             place.c_str(), std::strerror(errno));
    }
    return handle;
}

void *LoadSaved(const char *path) {
    for (size_t i = 0; i < kConfigs; ++i) {
        if (kConfigPaths[i] == path) return LoadSaved(file.saved.configs[i]);
    }
    return nullptr;
}

// Where the module's area lies, with its semaphore taken; NULL with `problem` set.
std::byte *Taken(const midware::Module &module, std::string &problem) {
    auto *base = static_cast<std::byte *>(OAL_GetMemResourceAddr(MW_AREA_KEY));
    if (base == nullptr) {
        problem = tools::WhyNoArea();
    } else if (OAL_SemLockByKey(module.key, midware::kLockTimeoutMs) < 0) {
        problem = tools::WhyNotLocked(module.key);
        base = nullptr;
    }
    return base == nullptr ? nullptr : base + module.offset;
}

}  // namespace

SavedFile OpenSaved(const std::string &path) {
    SavedFile opened;
    bool missing = false;
    opened.problem = ReadRegular(path, 0, kLargestSaved, opened.bytes, missing);
    if (!opened.problem.empty()) {
        opened.problem += ": give a file that mwctl save wrote";
    } else {
        ParsedArea parsed = ParseSavedArea(opened.bytes, LayoutFingerprint());
        opened.saved = parsed.saved;
        opened.problem = std::move(parsed.problem);
    }
    if (!opened.problem.empty()) opened.problem = tools::Printable(path) + ": " + opened.problem;
    return opened;
}

std::string ReadFromSaved(const std::string &path) {
    file = OpenSaved(path);
    if (!file.problem.empty()) return file.problem;
    std::copy(file.saved.area.begin(), file.saved.area.end(), area);
    // Files of this program's own lie where they lie, and not in some system's directory.
    unsetenv("MIDWARE_ROOT");
    source = From::kSaved;
    return {};
}

std::optional<int64_t> SavedTime() {
    return source == From::kSaved ? std::optional(file.saved.time) : std::nullopt;
}

void ReadUnlocked() { source = From::kUnlocked; }

bool ReadsUnlocked() { return source == From::kUnlocked; }

std::string CopyOut(const midware::Module &module, std::span<std::byte> to) {
    std::string problem;
    const std::byte *area_of_module = Taken(module, problem);
    if (area_of_module == nullptr) return problem;
    std::copy_n(area_of_module, module.size, to.begin());
    OAL_SemUnLockByKey(module.key, midware::kLockTimeoutMs);
    return {};
}

std::string Exchange(const midware::Module &module, std::span<const std::byte> from,
                     std::span<std::byte> before) {
    std::string problem;
    std::byte *area_of_module = Taken(module, problem);
    if (area_of_module == nullptr) return problem;
    std::copy_n(area_of_module, module.size, before.begin());
    std::copy_n(from.begin(), module.size, area_of_module);
    OAL_SemUnLockByKey(module.key, midware::kLockTimeoutMs);
    return {};
}

// The platform layer puts its files below MIDWARE_ROOT, and tells nobody where.
ConfigBytes ReadConfig(std::string_view path) {
    const char *root = secure_getenv("MIDWARE_ROOT");
    ConfigBytes config;
    bool missing = false;
    const std::string problem = ReadRegular(fmt::format("{}{}", root == nullptr ? "" : root, path),
                                            O_NOFOLLOW, kLargestConfig, config.bytes, missing);
    if (problem.empty() && config.bytes.size() <= kLargestConfig) {
        config.state = SavedConfig::State::kPresent;
        return config;
    }
    config.bytes.clear();
    config.state = missing ? SavedConfig::State::kMissing : SavedConfig::State::kUnreadable;
    return config;
}

SignalsHeld::SignalsHeld() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM}) sigaddset(&ending, signal);
    sigprocmask(SIG_BLOCK, &ending, &before_);
}

SignalsHeld::~SignalsHeld() { sigprocmask(SIG_SETMASK, &before_, nullptr); }

bool WriteAll(int to, std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t done = write(to, bytes.data(), bytes.size());
        if (done < 0 && errno == EINTR) continue;
        if (done < 0) return false;
        bytes = bytes.subspan(static_cast<size_t>(done));
    }
    return true;
}

}  // namespace mwctl

using namespace mwctl;

void *OAL_GetMemResourceAddr(uint32_t key) {
    if (source != From::kLive && key == MW_AREA_KEY) return PrivateArea();
    static const auto next = Next<decltype(OAL_GetMemResourceAddr)>("OAL_GetMemResourceAddr");
    return next == nullptr ? nullptr : next(key);
}

int32_t OAL_SemLockByKey(uint32_t key, uint32_t timeout_ms) {
    if (source == From::kUnlocked) {
        if (const midware::Module *module = ModuleOf(key)) CopyUnlocked(module->offset, module->size);
    }
    if (source != From::kLive) return 0;
    static const auto next = Next<decltype(OAL_SemLockByKey)>("OAL_SemLockByKey");
    return next == nullptr ? -1 : next(key, timeout_ms);
}

int32_t OAL_SemUnLockByKey(uint32_t key, uint32_t timeout_ms) {
    if (source != From::kLive) return 0;
    static const auto next = Next<decltype(OAL_SemUnLockByKey)>("OAL_SemUnLockByKey");
    return next == nullptr ? -1 : next(key, timeout_ms);
}

int32_t hov_CustomPchDiskSemLock(void) {
    if (source != From::kLive) return 0;
    static const auto next = Next<decltype(hov_CustomPchDiskSemLock)>("hov_CustomPchDiskSemLock");
    return next == nullptr ? -1 : next();
}

int32_t hov_CustomPchDiskSemUnLock(void) {
    if (source != From::kLive) return 0;
    static const auto next = Next<decltype(hov_CustomPchDiskSemUnLock)>("hov_CustomPchDiskSemUnLock");
    return next == nullptr ? -1 : next();
}

void *IniLoadFile(const char *path) {
    if (source == From::kSaved) return LoadSaved(path);
    static const auto next = Next<decltype(IniLoadFile)>("IniLoadFile");
    return next == nullptr ? nullptr : next(path);
}

void *HOV_IniLoadFile(const char *path) {
    if (source == From::kSaved) return LoadSaved(path);
    static const auto next = Next<decltype(HOV_IniLoadFile)>("HOV_IniLoadFile");
    return next == nullptr ? nullptr : next(path);
}

// Reading a saved area is nothing for this system's journals.
int32_t OAL_Log2File(const char *path, uint32_t flag, const char *format, ...) {
    if (source == From::kSaved) return 0;
    char text[1024];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    static const auto next = Next<decltype(OAL_Log2File)>("OAL_Log2File");
    return next == nullptr ? -1 : next(path, flag, "%s", text);
}
