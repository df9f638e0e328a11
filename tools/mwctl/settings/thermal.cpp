// mwctl set thermal-policy.
#include <fmt/format.h>

#include "../arguments.h"
#include "../command.h"
#include "midware/fan.h"

namespace mwctl {
namespace {

std::string number;

void Store(uint32_t policy, std::string_view done, const std::string &refusal) {
    const ThermalPolicy wanted{policy, NumberOf(number)};
    // Which values there are is the library's to say.
    if (!Change(
            &midware::kFan, [&] { return MW_SetThermalPolicy(&wanted); }, refusal))
        return;
    Finish(fmt::format(fmt::runtime(done), wanted.dwPolicyValue));
}

void Add(cli::App &set) {
    cli::App *policy = set.add_subcommand("thermal-policy", "Chooses how the fans are controlled");
    policy->require_subcommand(1);

    cli::App *automatic = policy->add_subcommand("auto", "By temperature");
    automatic->add_option("--mode", number, fmt::format("The cooling mode, 0 to {}", MW_COOLING_MODE_MAX))
        ->required()
        ->check(NumberIn("a cooling mode", 0, UINT32_MAX));
    automatic->callback([] {
        Store(MW_THERMAL_POLICY_AUTO, "thermal policy: auto, cooling mode {}\n",
              fmt::format("the policy was refused and stays as it is: cooling modes are 0 to {}, not {}",
                          MW_COOLING_MODE_MAX, NumberOf(number)));
    });

    cli::App *manual = policy->add_subcommand("manual", "At a fixed speed");
    manual
        ->add_option("--percent", number,
                     fmt::format("The speed of the fans, {} to {} percent", MW_MANUAL_PERCENT_MIN,
                                 MW_MANUAL_PERCENT_MAX))
        ->required()
        ->check(NumberIn("a fan speed in percent", 0, UINT32_MAX));
    manual->callback([] {
        Store(
            MW_THERMAL_POLICY_MANUAL, "thermal policy: manual, fans at {} %\n",
            fmt::format("the policy was refused and stays as it is: fan speeds are {} to {} percent, not {}",
                        MW_MANUAL_PERCENT_MIN, MW_MANUAL_PERCENT_MAX, NumberOf(number)));
    });
}

const Settings policy(Add);

}  // namespace
}  // namespace mwctl
