// Processors: one record a package, from /proc/cpuinfo, the kernel's topology, SMBIOS type 4 and hardware
// monitors.
#ifndef MWCOLLECT_CPU_H
#define MWCOLLECT_CPU_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host.h"

namespace collect {

// What /proc/cpuinfo says about one logical processor: its lines, keys as printed ("model name").
using CpuInfoBlock = std::map<std::string, std::string, std::less<>>;

// By processor number. Lines that are no "key : value" are passed over.
std::map<uint32_t, CpuInfoBlock> ParseCpuInfo(std::string_view text);

struct CpuTemperature {
    std::optional<int32_t> current;   // degrees Celsius, all of them
    std::optional<int32_t> critical;  // where the processor protects itself
    std::optional<int32_t> maximum;   // where cooling should be at its best
    bool junction = false;            // the critical temperature is the maximum junction temperature
};

struct CpuPackage {
    int64_t id = -1;  // the kernel's package number; -1 where it has none
    std::vector<uint32_t> logical;
    uint32_t cores = 0;
    std::string manufacturer;
    std::string model;
    std::string socket;
    std::string serial;
    std::string part;
    std::string microcode;
    std::string architecture;
    uint32_t family = 0;
    uint32_t model_number = 0;
    uint32_t stepping = 0;
    uint32_t frequency = 0;  // MHz, all of them; 0: unknown
    uint32_t max_frequency = 0;
    uint32_t min_frequency = 0;
    uint32_t l1_data = 0;  // KiB, all of them; 0: unknown
    uint32_t l1_instruction = 0;
    uint32_t l2 = 0;
    uint32_t l3 = 0;
    uint32_t silk = 0;
    CpuTemperature temperature;
};

struct CpuRecords {
    std::vector<CpuPackage> packages;  // by package number, at most MW_CPU_MAX
    size_t left_out = 0;
};

CpuRecords FindCpus(const Host &host);

// "32K", "8M" as the kernel prints cache sizes, in KiB.
std::optional<uint32_t> ParseCacheSize(std::string_view text);

}  // namespace collect

#endif
