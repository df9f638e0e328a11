#include "saved_area.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <ctime>

#include "midware/area.h"

namespace mwctl {
namespace {

constexpr uint32_t kVersion = 1;
constexpr uint32_t kUnlocked = 1;

// In place of a configuration file's size.
constexpr uint32_t kMissing = 0xFFFFFFFF;
constexpr uint32_t kUnreadable = 0xFFFFFFFE;

struct Header {
    char magic[8];
    uint32_t version;
    uint32_t header_size;
    uint32_t area_size;
    uint32_t flags;
    uint64_t fingerprint;
    int64_t time;
    uint32_t config_sizes[kConfigs];
    uint64_t checksum;  // of everything but itself
};
static_assert(sizeof(Header) == 56 && offsetof(Header, checksum) == 48);

constexpr std::string_view kCopyAgain = "copy it again from where it was saved, or save the area again";

uint64_t ChecksumOf(std::span<const std::byte> file) {
    const uint64_t hash = Hash(file.first(offsetof(Header, checksum)));
    return Hash(file.subspan(sizeof(Header)), hash);
}

uint32_t SizeWord(const SavedConfig &config) {
    switch (config.state) {
        case SavedConfig::State::kMissing:
            return kMissing;
        case SavedConfig::State::kUnreadable:
            return kUnreadable;
        case SavedConfig::State::kPresent:
            break;
    }
    return static_cast<uint32_t>(config.bytes.size());
}

SavedConfig::State StateOf(uint32_t size_word) {
    return size_word == kMissing      ? SavedConfig::State::kMissing
           : size_word == kUnreadable ? SavedConfig::State::kUnreadable
                                      : SavedConfig::State::kPresent;
}

// The header's complaint, in the order in which a file can be foreign, cut off, of another make, or damaged.
std::string ProblemOf(const Header &header, std::span<const std::byte> bytes) {
    const std::string_view begin(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    if (bytes.empty()) return fmt::format("it is empty: {}", kCopyAgain);
    if (!begin.starts_with(kSavedMagic.substr(0, begin.size())))
        return "it is no saved area: give a file that mwctl save wrote";
    if (bytes.size() < sizeof header) {
        return fmt::format("it is cut off inside its header, after {} bytes: {}", bytes.size(), kCopyAgain);
    }
    if (header.version != kVersion) {
        return fmt::format(
            "its format is version {}, and this mwctl reads version {}: use the mwctl that wrote it",
            header.version, kVersion);
    }
    if (header.area_size != MW_AREA_SIZE) {
        return fmt::format(
            "it holds an area of {} bytes, and this mwctl knows {}: use the mwctl that wrote it",
            header.area_size, MW_AREA_SIZE);
    }
    uint64_t size = sizeof header + MW_AREA_SIZE;
    bool sound = header.header_size == sizeof header && (header.flags & ~kUnlocked) == 0;
    for (const uint32_t word : header.config_sizes) {
        if (StateOf(word) != SavedConfig::State::kPresent) continue;
        sound = sound && word <= kLargestConfig;
        size += word;
    }
    if (!sound) return fmt::format("its header is damaged: {}", kCopyAgain);
    if (bytes.size() < size) {
        return fmt::format("it is cut off: it has {} of {} bytes: {}", bytes.size(), size, kCopyAgain);
    }
    if (bytes.size() > size) {
        return fmt::format("it has {} bytes behind its end: {}", bytes.size() - size, kCopyAgain);
    }
    if (header.checksum != ChecksumOf(bytes)) {
        return fmt::format("it is damaged, its checksum is wrong: {}", kCopyAgain);
    }
    return {};
}

}  // namespace

const size_t kLargestSaved = sizeof(Header) + MW_AREA_SIZE + kConfigs * kLargestConfig;

uint64_t Hash(std::span<const std::byte> bytes, uint64_t hash) {
    for (const std::byte byte : bytes) hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001B3u;
    return hash;
}

uint64_t Hash(std::string_view text, uint64_t hash) {
    return Hash(std::as_bytes(std::span(text.data(), text.size())), hash);
}

std::vector<std::byte> ToBytes(const SavedArea &saved) {
    Header header{};
    kSavedMagic.copy(header.magic, sizeof header.magic);
    header.version = kVersion;
    header.header_size = sizeof header;
    header.area_size = static_cast<uint32_t>(saved.area.size());
    header.flags = saved.unlocked ? kUnlocked : 0;
    header.fingerprint = saved.fingerprint;
    header.time = saved.time;
    std::vector<std::byte> bytes(sizeof header);
    bytes.insert(bytes.end(), saved.area.begin(), saved.area.end());
    for (size_t i = 0; i < kConfigs; ++i) {
        header.config_sizes[i] = SizeWord(saved.configs[i]);
        bytes.insert(bytes.end(), saved.configs[i].bytes.begin(), saved.configs[i].bytes.end());
    }
    std::memcpy(bytes.data(), &header, sizeof header);
    header.checksum = ChecksumOf(bytes);
    std::memcpy(bytes.data(), &header, sizeof header);
    return bytes;
}

ParsedArea ParseSavedArea(std::span<const std::byte> bytes, uint64_t fingerprint) {
    Header header{};
    std::copy_n(bytes.begin(), std::min(bytes.size(), sizeof header), reinterpret_cast<std::byte *>(&header));
    ParsedArea parsed{.problem = ProblemOf(header, bytes)};
    if (!parsed.problem.empty()) return parsed;
    if (header.fingerprint != fingerprint) {
        parsed.problem = fmt::format(
            "its fields are laid out otherwise (fingerprint {:016x}, here {:016x}): use the mwctl that wrote "
            "it",
            header.fingerprint, fingerprint);
        return parsed;
    }
    SavedArea &saved = parsed.saved;
    saved.fingerprint = header.fingerprint;
    saved.time = header.time;
    saved.unlocked = (header.flags & kUnlocked) != 0;
    saved.area = bytes.subspan(sizeof header, MW_AREA_SIZE);
    size_t next = sizeof header + MW_AREA_SIZE;
    for (size_t i = 0; i < kConfigs; ++i) {
        saved.configs[i].state = StateOf(header.config_sizes[i]);
        if (saved.configs[i].state != SavedConfig::State::kPresent) continue;
        saved.configs[i].bytes = bytes.subspan(next, header.config_sizes[i]);
        next += header.config_sizes[i];
    }
    return parsed;
}

std::string TimeText(int64_t seconds) {
    std::tm time{};
    char text[64];
    const auto moment = static_cast<std::time_t>(seconds);
    if (moment != seconds || gmtime_r(&moment, &time) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &time) == 0) {
        return fmt::format("{} seconds after 1970", seconds);
    }
    return text;
}

}  // namespace mwctl
