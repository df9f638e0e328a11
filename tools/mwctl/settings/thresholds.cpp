// mwctl set threshold.
#include <fmt/format.h>

#include "../arguments.h"
#include "../command.h"
#include "midware/cpu.h"
#include "midware/mem.h"

namespace mwctl {
namespace {

struct Threshold {
    std::string_view name;
    int32_t (*get)(uint32_t *);
    int32_t (*set)(uint32_t, uint32_t);
};

constexpr Threshold kThresholds[] = {
    {"memory", MW_GetMemUsageThreInfo, MW_SetMemUsageThreInfo},
    {"disk", MW_GetHardDiskUsageThreInfo, MW_SetHardDiskUsageThreInfo},
    {"cpu", MW_GetCpuUsageThreInfo, MW_SetCpuUsageThreInfo},
};

void Store(const Threshold &threshold, uint32_t percent) {
    // The library stores this hysteresis whatever it is given, and does not say when the file could not be
    // written.
    constexpr uint32_t hysteresis = 5;
    uint32_t stored[2] = {};
    if (!Change(nullptr, [&] { return threshold.set(percent, hysteresis); })) return;
    if (!Change(nullptr, [&] { return threshold.get(stored); })) return;
    if (stored[0] != percent) {
        return Fail(
            "the configuration file could not be written: see that its directory is there, writable and not "
            "full");
    }
    Finish(fmt::format("{} usage threshold: {} %, hysteresis {} %\n", threshold.name, stored[0], stored[1]));
}

void Add(cli::App &set) {
    static std::string percent;
    cli::App *command = set.add_subcommand("threshold", "Stores the usage that raises an alarm");
    command->require_subcommand(1);
    for (const Threshold &threshold : kThresholds) {
        cli::App *which = command->add_subcommand(std::string(threshold.name));
        which->add_option("PERCENT", percent)->required()->check(NumberIn("a threshold in percent", 0, 100));
        which->callback([&threshold] { Store(threshold, NumberOf(percent)); });
    }
}

const Settings thresholds(Add);

}  // namespace
}  // namespace mwctl
