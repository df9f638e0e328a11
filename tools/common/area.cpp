#include "area.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "oal.h"
#include "text.h"

// A controller's own platform need not have it.
extern "C" __attribute__((weak)) int32_t OAL_GetSemStatus(uint32_t key, OalSemStatus *status);

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
                      [](const auto *module) { return SemStatus(module->key).exists != 0; }));
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
