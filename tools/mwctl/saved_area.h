// A saved area: the bytes of the shared area and of the configuration files that its views read, in one file.
//
// It begins with a header of 56 bytes, little-endian like the records: "MIDWSAVE", the version of this
// format, the header's size, the area's size, flags (1: taken without semaphores), the fingerprint of the
// layout (layout.h), the time in seconds since 1970, the sizes of the configuration files, and a checksum
// over everything else. Then come the area and the configuration files.
#ifndef MWCTL_SAVED_AREA_H
#define MWCTL_SAVED_AREA_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mwctl {

inline constexpr std::string_view kSavedMagic = "MIDWSAVE";

// The configuration files that are saved with the area. The platform reads none that is larger.
inline constexpr std::string_view kConfigPaths[] = {"/conf/ext/hostusagecfg.ini",
                                                    "/conf/ext/custom_pchdisk_config.ini"};
inline constexpr size_t kConfigs = std::size(kConfigPaths);
inline constexpr uint32_t kLargestConfig = 1 << 20;

struct SavedConfig {
    enum class State : uint8_t { kMissing, kUnreadable, kPresent } state = State::kMissing;
    std::span<const std::byte> bytes{};
};

struct SavedArea {
    uint64_t fingerprint = 0;
    int64_t time = 0;  // seconds since 1970
    bool unlocked = false;
    std::span<const std::byte> area{};
    SavedConfig configs[kConfigs]{};
};

// How many bytes a file of this format has at most.
extern const size_t kLargestSaved;

std::vector<std::byte> ToBytes(const SavedArea &saved);

// What the bytes of a file hold; they have to live as long as the result. `fingerprint` is that of this
// program's layout.
struct ParsedArea {
    SavedArea saved{};
    std::string problem{};  // what is wrong with it, and what to do; empty when nothing is
};
ParsedArea ParseSavedArea(std::span<const std::byte> bytes, uint64_t fingerprint);

// FNV-1a, 64 bits.
inline constexpr uint64_t kHashStart = 0xCBF29CE484222325u;
uint64_t Hash(std::span<const std::byte> bytes, uint64_t hash = kHashStart);
uint64_t Hash(std::string_view text, uint64_t hash);

// "2026-03-01 12:00:00 UTC"
std::string TimeText(int64_t seconds);

}  // namespace mwctl

#endif
