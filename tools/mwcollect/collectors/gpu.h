// Graphics and compute accelerators: PCI functions of the display and accelerator classes, with what their
// drivers say.
#ifndef MWCOLLECT_GPU_H
#define MWCOLLECT_GPU_H

#include <optional>
#include <string>
#include <vector>

#include "midware/gpu.h"
#include "midware/pcie.h"
#include "pci.h"

namespace collect {

struct Gpu {
    PciFunction function;
    std::string firmware;
    std::string uuid;
    // Figures that a driver may have; nothing where it has none.
    std::optional<uint32_t> memory_mb, memory_used_mb, utilization, memory_busy;  // percent the last two
    std::optional<uint32_t> power, power_limit;                                   // mW
    std::optional<uint32_t> core_clock, memory_clock;                             // MHz
    std::optional<int32_t> temperature, memory_temperature;                       // degrees Celsius
};

struct Gpus {
    std::vector<Gpu> gpus;  // by address, at most MW_GPU_MAX
    size_t left_out = 0;
};

Gpus FindGpus(const Host &host, const std::vector<PciFunction> &functions);

GPURecord ToGpuRecord(const Gpu &gpu, const PciVpd &vpd, const PciNames &names);

}  // namespace collect

#endif
