#include "area.h"

#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>

#include "oal.h"
#include "text.h"

// A controller's own platform need not have it.
extern "C" {
__attribute__((weak)) int32_t OAL_GetSemStatus(uint32_t key, OalSemStatus *status);
__attribute__((weak)) int32_t OAL_GetPath(const char *path, char *out, uint32_t size);
__attribute__((weak)) int32_t OAL_GetLocksFormat(OalLocksFormat *found, OalLocksFormat *expected);
}

namespace tools {

bool AreaExists() { return OAL_GetMemResourceAddr(MW_AREA_KEY) != nullptr; }

std::string WhyNoArea() {
    errno = 0;
    if (AreaExists()) return "the shared area exists";
    if (errno == 0 || errno == ENOENT) return "the shared area does not exist: run midware-init";
    if (errno == EACCES) {
        return "the shared area is closed to this user: run this as a member of the group that owns it";
    }
    return fmt::format(
        "the shared area is there but must not be used ({}): have its files removed, and run midware-init",
        std::strerror(errno));
}

OalSemStatus SemStatus(uint32_t key) {
    OalSemStatus status{};
    if (OAL_GetSemStatus != nullptr) {
        if (OAL_GetSemStatus(key, &status) < 0) return {};
        return status;
    }
    // Trying it tells the two things that matter.
    errno = 0;
    const bool taken = OAL_SemLockByKey(key, 0) >= 0;
    status.exists = taken || errno != ENOENT;
    status.held = !taken && status.exists;
    if (taken) OAL_SemUnLockByKey(key, 0);
    return status;
}

uint32_t SemaphoresInPlace() {
    return static_cast<uint32_t>(
        std::count_if(std::begin(midware::kModules), std::end(midware::kModules),
                      [](const auto &module) { return SemStatus(module.key).exists != 0; }));
}

std::string PlaceOf(const char *path) {
    char place[PATH_MAX];
    return OAL_GetPath != nullptr && OAL_GetPath(path, place, sizeof place) >= 0 ? place : "";
}

bool LocksFormat(OalLocksFormat &found, OalLocksFormat &expected) {
    return OAL_GetLocksFormat != nullptr && OAL_GetLocksFormat(&found, &expected) >= 0;
}

bool IsAlive(int32_t pid) {
    if (kill(pid, 0) != 0 && errno == ESRCH) return false;
    char text[256] = "";
    if (std::FILE *file = std::fopen(fmt::format("/proc/{}/stat", pid).c_str(), "re")) {
        if (std::fgets(text, sizeof text, file) == nullptr) text[0] = '\0';
        std::fclose(file);
    }
    const char *name_end = std::strrchr(text, ')');
    return name_end == nullptr ||
           (std::strncmp(name_end, ") Z", 3) != 0 && std::strncmp(name_end, ") X", 3) != 0);
}

std::string DurationText(int64_t milliseconds) {
    const int64_t seconds = milliseconds / 1000;
    if (seconds == 0) return fmt::format("{} ms", milliseconds);
    if (seconds < 60) return fmt::format("{}.{} s", seconds, milliseconds % 1000 / 100);
    if (seconds < 3600) return fmt::format("{} min {} s", seconds / 60, seconds % 60);
    return fmt::format("{} h {} min", seconds / 3600, seconds % 3600 / 60);
}

std::string StateText(const OalSemStatus &status) {
    if (status.exists == 0) return "missing";
    if (status.held == 0) return "free";
    std::string text = "held";
    if (status.holder_pid != 0) text += " by " + ProcessText(status.holder_pid);
    if (status.held_for_ms > 0) text += " for at least " + DurationText(status.held_for_ms);
    return text;
}

std::string ProcessText(int32_t pid) {
    char name[64] = "";
    if (std::FILE *file = std::fopen(fmt::format("/proc/{}/comm", pid).c_str(), "re")) {
        if (std::fgets(name, sizeof name, file) != nullptr) name[std::strcspn(name, "\n")] = '\0';
        std::fclose(file);
    }
    return name[0] == '\0' ? fmt::format("{}", pid) : fmt::format("{} ({})", pid, Printable(name));
}

std::string WhyNotLocked(uint32_t key) {
    const OalSemStatus status = SemStatus(key);
    if (status.exists == 0) return fmt::format("semaphore {} does not exist: run midware-init", key);
    if (status.holder_pid == 0)
        return fmt::format("semaphore {} was held for longer than 500 ms: try again", key);
    return fmt::format(
        "semaphore {} is held by process {} for longer than 500 ms: try again, or end that process", key,
        ProcessText(status.holder_pid));
}

}  // namespace tools
