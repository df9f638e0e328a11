// Memory devices: SMBIOS type 17 entries, with the error counts of EDAC and the temperatures of the modules'
// sensors.
#ifndef MWCOLLECT_MEMORY_H
#define MWCOLLECT_MEMORY_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host.h"
#include "smbios.h"

namespace collect {

struct MemoryErrors {
    uint64_t correctable = 0;  // since the driver was loaded
    uint64_t uncorrectable = 0;
    bool operator==(const MemoryErrors &) const = default;
};

struct MemoryDevice {
    bool present = false;
    std::array<uint32_t, 4> location{};  // processor, controller, channel, slot; MW_NO_VALUE where not known
    std::string locator;
    std::string bank;
    std::string manufacturer;
    std::string serial;
    std::string part;
    std::string asset_tag;
    std::string type;
    std::string form;
    std::string detail;
    uint32_t size_mb = 0;  // all of them: 0 is unknown
    uint32_t max_speed = 0;
    uint32_t speed = 0;
    uint32_t total_width = 0;
    uint32_t data_width = 0;
    uint32_t rank = 0;
    uint32_t millivolts = 0;
    std::optional<MemoryErrors> errors;
    std::optional<int32_t> temperature;  // degrees Celsius
    std::optional<int32_t> critical;
};

enum class MemorySource { kNone, kSmbios, kEdac, kMeminfo };

struct MemoryRecords {
    MemorySource source = MemorySource::kNone;
    std::vector<MemoryDevice> devices;  // slots, empty ones included; at most MW_MEM_DIMM_MAX
    size_t left_out = 0;
};

// One SMBIOS type 17 structure.
MemoryDevice ToMemoryDevice(const SmbiosStructure &structure);

MemoryRecords FindMemory(const Host &host);

// The kB of a line of /proc/meminfo.
std::optional<uint64_t> MeminfoKilobytes(std::string_view text, std::string_view key);

}  // namespace collect

#endif
