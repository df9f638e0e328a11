#include "usage.h"

#include <time.h>

#include <algorithm>

#include "collector.h"
#include "memory.h"
#include "midware/area.h"
#include "midware/cpu.h"
#include "midware/mem.h"

namespace collect {
namespace {

constexpr uint32_t kNoPercent = 0xFF;  // the alternative's byte: no percentage
constexpr long kSampleNanoseconds = 100'000'000;

std::optional<CpuTicks> ReadTicks(const Host &host) {
    const std::string path = "/proc/stat";
    const std::optional<std::string> text = host.File(path);
    if (!text) return std::nullopt;
    std::optional<CpuTicks> ticks = ParseCpuTicks(*text);
    if (!ticks)
        host.Skip(path, "a first line of cpu and at least four counters", text->substr(0, text->find('\n')));
    return ticks;
}

class UsageCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        if (const auto text = host.File("/proc/meminfo")) {
            if (const auto percent = MemoryPercent(*text)) {
                writer.Wrote("memory usage", 1, MW_SetMemUsgInfoFromHostMon(PackUsage(*percent)));
            } else {
                host.Skip("/proc/meminfo", "MemTotal and MemAvailable in kB",
                          text->substr(0, text->find('\n')));
            }
        }
        // The first figure of a live machine is that of a short while; later ones are those of the time
        // between rounds. The one reading that a captured tree has counts from the boot.
        if (!before_ && host.Live()) {
            before_ = ReadTicks(host);
            const timespec sample{0, kSampleNanoseconds};
            nanosleep(&sample, nullptr);
        }
        const std::optional<CpuTicks> now = ReadTicks(host);
        if (!now) return;
        if (const auto percent = CpuPercent(before_.value_or(CpuTicks{}), *now)) {
            writer.Wrote("processor usage", 1, MW_SetCpuUsgInfoFromHostMon(PackUsage(*percent)));
        }
        if (host.Live()) before_ = now;
    }

  private:
    std::optional<CpuTicks> before_;
};

const Registration registered({"usage", "memory and processor usage of the host", 30, Make<UsageCollector>});

}  // namespace

std::optional<CpuTicks> ParseCpuTicks(std::string_view text) {
    // user nice system idle iowait irq softirq steal guest guest_nice: guests are counted in user and nice
    // already.
    constexpr size_t kIdle = 3;
    constexpr size_t kIowait = 4;
    constexpr size_t kSteal = 7;
    const std::vector<std::string_view> words = Words(text.substr(0, text.find('\n')));
    if (words.size() < 5 || words[0] != "cpu") return std::nullopt;
    CpuTicks ticks;
    for (size_t i = 0; i + 1 < words.size() && i <= kSteal; ++i) {
        const auto count = ParseNumber<uint64_t>(words[i + 1]);
        uint64_t &sum = i == kIdle || i == kIowait ? ticks.idle : ticks.busy;
        if (!count || __builtin_add_overflow(sum, *count, &sum)) return std::nullopt;
    }
    return ticks;
}

std::optional<uint32_t> CpuPercent(const CpuTicks &before, const CpuTicks &after) {
    if (after.busy < before.busy) return std::nullopt;
    // The kernel's idle and waiting times may step back a little.
    const uint64_t idle = after.idle > before.idle ? after.idle - before.idle : 0;
    const uint64_t busy = after.busy - before.busy;
    if (idle == 0 && busy == 0) return std::nullopt;
    const double share = static_cast<double>(busy) / (static_cast<double>(busy) + static_cast<double>(idle));
    return static_cast<uint32_t>(share * 100.0 + 0.5);
}

std::optional<uint32_t> MemoryPercent(std::string_view meminfo) {
    const auto total = MeminfoKilobytes(meminfo, "MemTotal");
    auto available = MeminfoKilobytes(meminfo, "MemAvailable");
    if (!total || *total == 0) return std::nullopt;
    if (!available) {
        // Kernels before 3.14 do not estimate it.
        const auto free = MeminfoKilobytes(meminfo, "MemFree");
        const auto buffers = MeminfoKilobytes(meminfo, "Buffers");
        const auto cached = MeminfoKilobytes(meminfo, "Cached");
        if (!free || !buffers || !cached || *free > *total) return std::nullopt;
        available = *free + std::min(*total - *free, *buffers + *cached);
    }
    if (*available > *total) return std::nullopt;
    return static_cast<uint32_t>(
        static_cast<double>(*total - *available) / static_cast<double>(*total) * 100.0 + 0.5);
}

uint32_t PackUsage(uint32_t percent) { return MW_VALID_FLAG | kNoPercent << 8 | percent << 16; }

}  // namespace collect
