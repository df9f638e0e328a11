// Fans: speeds, limits, labels and duty cycles, from the kernel's hardware monitors.
#ifndef MWCOLLECT_FAN_H
#define MWCOLLECT_FAN_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host.h"

namespace collect {

// The output that drives a fan.
struct FanOutput {
    uint32_t channel = 0;    // pwm1 is 1
    uint32_t mode = 0;       // MW_FAN_CTRL_...
    uint32_t raw = 0;        // 0 to 255
    uint32_t frequency = 0;  // Hz; 0: unknown
    uint32_t wave = 1;       // 0: direct current, 1: pulse width
    std::string source;      // "hwmon2/pwm1"
};

struct Fan {
    std::string label;  // of its first rotor's sensor; "" where it has none
    std::string name;   // the label without the rotor's place, or the chip and its channel
    std::string chip;
    uint32_t silk = 0;
    uint32_t rotors = 1;
    std::optional<uint32_t> speed;  // revolutions per minute, all of them
    std::optional<uint32_t> rear_speed;
    std::optional<uint32_t> least;
    std::optional<uint32_t> most;
    std::optional<uint32_t> target;
    uint32_t pulses = 0;  // per revolution; 0: unknown
    uint32_t fault = 0;   // as FanOnlinePhyInfo.dwFault
    std::optional<FanOutput> output;

    bool Turns() const { return speed.value_or(0) > 0 || rear_speed.value_or(0) > 0; }
};

struct FanRecords {
    std::vector<Fan> fans;  // in the order of chips and channels, at most MW_FAN_MAX
    size_t left_out = 0;
    size_t others = 0;  // fans of power supplies and graphics cards, which cool nothing but these
};

FanRecords FindFans(const Host &host);

}  // namespace collect

#endif
