#include <sys/mman.h>

#include <cerrno>
#include <cstdio>

#include "control.h"
#include "forks.h"
#include "hov_slibc.h"
#include "oal.h"
#include "objects.h"
#include "say.h"

namespace platform {
namespace {

// The regions of this process. Mapped once and for as long as it lives.
struct Region {
    std::atomic<void *> address;
    uint32_t key;
};
constexpr unsigned kRegions = 16;
Region g_regions[kRegions];

void *FindMapped(uint32_t key, unsigned *free) {
    for (unsigned i = 0; i < kRegions; ++i) {
        void *address = g_regions[i].address.load(std::memory_order_acquire);
        if (address == nullptr || g_regions[i].key == key) {
            *free = i;
            return address;
        }
    }
    *free = kRegions;
    return nullptr;
}

bool RegionPlace(uint32_t key, Path &out) {
    char name[32];
    snprintf(name, sizeof name, "midware-%u", key);
    return ObjectPlace(name, out);
}

Fd OpenRegion(const char *path, uint32_t size) {
    struct stat status;
    Fd fd = OpenObject(path, &status);
    if (!fd || static_cast<uint64_t>(status.st_size) == size) return fd;
    SayRefused(path, "it has %llu bytes, not %u", static_cast<unsigned long long>(status.st_size), size);
    errno = EPERM;
    return Fd();
}

bool CreateRegion(const char *path, uint32_t size) {
    NewFile file(path, kMode);
    return file && Allocate(file.fd(), size) && file.Add();
}

void *MapRegion(uint32_t key) {
    // Its size is known once it is complete.
    Control *control = MapControl(false);
    if (control == nullptr) return nullptr;
    const Slot *slot = FindSlot(*control, key);
    const uint32_t size = slot != nullptr ? slot->region_size.load(std::memory_order_acquire) : 0;
    if (size == 0) {
        errno = ENOENT;
        return nullptr;
    }
    Path path;
    if (!RegionPlace(key, path)) return nullptr;
    const Fd fd = OpenRegion(path, size);
    if (!fd) return nullptr;
    void *address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    return address == MAP_FAILED ? nullptr : address;
}

}  // namespace
}  // namespace platform

using namespace platform;

int32_t OAL_CreatMemResource(uint32_t key, uint32_t size) {
    if (size == 0) {
        errno = EINVAL;
        return -1;
    }
    Slot *slot = CreateSlot(key);
    Path path;
    if (slot == nullptr || !RegionPlace(key, path)) return -1;
    Fd fd = OpenRegion(path, size);
    // Somebody may create it, or even remove it, at the same time.
    for (int tries = 0; !fd && errno == ENOENT && tries < 8; ++tries) {
        if (!CreateRegion(path, size) && errno != EEXIST) {
            const int error = errno;
            Say("%s cannot be created: %s", path, hov_strerror_s(error));
            errno = error;
            return -1;
        }
        fd = OpenRegion(path, size);
    }
    if (!fd) return -1;
    slot->region_size.store(size, std::memory_order_release);
    return 0;
}

void *OAL_GetMemResourceAddr(uint32_t key) {
    unsigned free;
    if (void *address = FindMapped(key, &free)) return address;
    void *control = MapControl(false);  // takes the same lock
    if (control == nullptr) return nullptr;
    const Locked locked(Lock::kMaps);
    if (void *address = FindMapped(key, &free)) return address;
    if (free == kRegions) {
        errno = ENOSPC;
        return nullptr;
    }
    void *address = MapRegion(key);
    if (address == nullptr) return nullptr;
    g_regions[free].key = key;
    g_regions[free].address.store(address, std::memory_order_release);
    return address;
}
