#include "gpu.h"

#include <algorithm>
#include <memory>

#include "collector.h"
#include "hwmon.h"
#include "pci_record.h"

namespace collect {
namespace {

constexpr uint8_t kCoreTemperature = 1u << 0;  // GPURecord.ucTempValid
constexpr uint8_t kMemoryTemperature = 1u << 1;

// An attribute in one unit, in a larger one; nothing where it is missing, refused or does not fit.
std::optional<uint32_t> Scaled(const Host &host, const std::string &path, std::string_view what,
                               uint64_t divisor) {
    const auto value = host.Number<uint64_t>(path, what, 0, UINT32_MAX * divisor, Refusal::kExpected);
    if (!value) return std::nullopt;
    return static_cast<uint32_t>(*value / divisor);
}

void AddSensors(const Host &host, const std::vector<HwmonChip> &chips, Gpu &gpu) {
    for (const HwmonChip &chip : chips) {
        if (ParsePciAddress(chip.device) != gpu.function.address) continue;
        for (const NumberedEntry &entry : host.Numbered(chip.path, "temp", "_input")) {
            const std::string channel = fmt::format("temp{}", entry.number);
            const std::string label = HwmonLabel(host, chip, channel);
            if (label == "mem") {
                gpu.memory_temperature = HwmonDegrees(host, chip, channel + "_input");
            } else if (!gpu.temperature) {
                gpu.temperature = HwmonDegrees(host, chip, channel + "_input");
            }
        }
        for (const NumberedEntry &entry : host.Numbered(chip.path, "freq", "_input")) {
            const std::string channel = fmt::format("freq{}", entry.number);
            std::optional<uint32_t> &clock =
                HwmonLabel(host, chip, channel) == "mclk" ? gpu.memory_clock : gpu.core_clock;
            if (!clock)
                clock = Scaled(host, chip.path + "/" + channel + "_input", "a frequency in Hz", 1'000'000);
        }
        gpu.power = Scaled(host, chip.path + "/power1_average", "a power in microwatts", 1000);
        if (!gpu.power) gpu.power = Scaled(host, chip.path + "/power1_input", "a power in microwatts", 1000);
        gpu.power_limit = Scaled(host, chip.path + "/power1_cap", "a power in microwatts", 1000);
    }
}

class GpuCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        if (!host.Exists("/sys/bus/pci/devices")) return;
        const Gpus found = FindGpus(host, ReadPciFunctions(host));
        if (found.left_out > 0) {
            host.log().Once(fmt::format("accelerators: {} of {} left out, there is room for {}",
                                        found.left_out, found.left_out + found.gpus.size(), MW_GPU_MAX));
        }
        const auto stored = std::make_unique<GPUAssetInfo>();
        const auto block = std::make_unique<GPUAssetInfo>();
        if (MW_GetGPUAssetInfo(stored.get()) != 0 || stored->dwGpuCount > MW_GPU_MAX) stored->dwGpuCount = 0;
        const PciNames &names = InstalledPciNames(host.log());
        for (const Gpu &gpu : found.gpus) {
            GPURecord &record = block->atGpu[block->dwGpuCount++];
            record = ToGpuRecord(gpu, vpd_.Of(host, gpu.function), names);
            for (uint32_t i = 0; i < stored->dwGpuCount; ++i) KeepOthersData(stored->atGpu[i], record);
        }
        if (block->dwGpuCount + stored->dwGpuCount == 0) return;
        writer.Wrote("accelerators", block->dwGpuCount, MW_SetGPUAssetInfo(block.get()));
    }

  private:
    static void KeepOthersData(const GPURecord &stored, GPURecord &found) {
        if (stored.wDomain != found.wDomain || Identity(stored) != Identity(found) ||
            !HasSerialOf(stored, found)) {
            return;
        }
        found.dwHealthyStatus = stored.dwHealthyStatus;
        found.dwCorrectedErrors = stored.dwCorrectedErrors;
        found.dwUncorrectedErrors = stored.dwUncorrectedErrors;
        std::memcpy(found.aucReserved, stored.aucReserved, sizeof found.aucReserved);
    }

    PciVpdCache vpd_;
};

const Registration registered({"gpu", "graphics and compute accelerators", 46, Make<GpuCollector>});

}  // namespace

Gpus FindGpus(const Host &host, const std::vector<PciFunction> &functions) {
    Gpus found;
    const std::vector<HwmonChip> chips = HwmonChips(host);
    for (const PciFunction &function : functions) {
        if (function.base_class != kPciDisplay && function.base_class != kPciAccelerator) continue;
        if (function.is_virtual) continue;
        if (function.address.domain > UINT16_MAX) {
            host.log().Once(
                fmt::format("{}: its PCI domain does not fit into the record of an accelerator; skipped",
                            host.Shown(function.path)));
            continue;
        }
        if (found.gpus.size() == MW_GPU_MAX) {
            ++found.left_out;
            continue;
        }
        Gpu gpu;
        gpu.function = function;
        const std::string dir = function.path + "/";
        gpu.firmware = Meaningful(host.Text(dir + "vbios_version", Refusal::kExpected).value_or(""));
        gpu.uuid = Meaningful(host.Text(dir + "unique_id", Refusal::kExpected).value_or(""));
        gpu.memory_mb = Scaled(host, dir + "mem_info_vram_total", "a size in bytes", 1u << 20);
        gpu.memory_used_mb = Scaled(host, dir + "mem_info_vram_used", "a size in bytes", 1u << 20);
        gpu.utilization =
            host.Number<uint32_t>(dir + "gpu_busy_percent", "a percentage", 0, 100, Refusal::kExpected);
        gpu.memory_busy =
            host.Number<uint32_t>(dir + "mem_busy_percent", "a percentage", 0, 100, Refusal::kExpected);
        AddSensors(host, chips, gpu);
        found.gpus.push_back(std::move(gpu));
    }
    return found;
}

GPURecord ToGpuRecord(const Gpu &gpu, const PciVpd &vpd, const PciNames &names) {
    static constexpr uint32_t kMegatransfers[] = {0, 2500, 5000, 8000, 16000, 32000, 64000};
    const PciFunction &function = gpu.function;
    const PciTexts texts = DescribePci(function, vpd, names);
    GPURecord info{};
    info.dwSlot = function.slot.number;
    info.dwPresent = 1;
    FillIdentity(info, function);
    info.wDomain = static_cast<uint16_t>(function.address.domain);
    info.ucClassCode = function.base_class;
    info.ucSubClass = function.sub_class;
    info.ucTempValid = static_cast<uint8_t>((gpu.temperature ? kCoreTemperature : 0) |
                                            (gpu.memory_temperature ? kMemoryTemperature : 0));
    info.dwMemorySize = gpu.memory_mb.value_or(0);
    info.dwMemoryUsed = gpu.memory_used_mb.value_or(0);
    info.dwUtilization = gpu.utilization.value_or(0);
    info.dwMemoryBusy = gpu.memory_busy.value_or(0);
    info.dwPower = gpu.power.value_or(0);
    info.dwPowerLimit = gpu.power_limit.value_or(0);
    info.iTemp = gpu.temperature.value_or(0);
    info.iMemoryTemp = gpu.memory_temperature.value_or(0);
    info.dwCoreClock = gpu.core_clock.value_or(0);
    info.dwMemoryClock = gpu.memory_clock.value_or(0);
    info.dwLinkSpeed = kMegatransfers[std::min<size_t>(function.link.speed, std::size(kMegatransfers) - 1)];
    info.dwLinkWidth = function.link.width;
    Fill(info.acManufacturer, texts.controller_maker);
    Fill(info.acModel, texts.device);
    Fill(info.acPartNum, vpd.part);
    Fill(info.acSerialNum, vpd.serial);
    Fill(info.acUuid, gpu.uuid);
    Fill(info.acFirmwareVersion, gpu.firmware);
    Fill(info.acDriver, function.driver);
    return info;
}

}  // namespace collect
