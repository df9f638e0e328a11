// What tells of the machine's state, picked out of the records: temperatures, fans, power, health and alarms.
#ifndef MWCTL_SAMPLES_H
#define MWCTL_SAMPLES_H

#include <string>
#include <vector>

#include "read.h"

namespace mwctl {

enum class Quantity : uint8_t { kTemperature, kFanSpeed, kPower, kHealth, kAlarm };

struct Sample {
    Quantity quantity;
    const Module *module;
    std::string path;
    std::string name;        // of the part, as it is stored; may be empty
    std::string_view label;  // of the field, or of the state
    double value;  // degrees Celsius, revolutions per minute, watts; a code; 1 for an alarm that is asserted
    std::string_view code{};  // its name, where it has one

    // Whether a person should look: an alarm, or a health that is not known to be good.
    bool IsBad() const;
};

// Of those that have a value.
std::vector<Sample> SamplesOf(const std::vector<ModuleReading> &readings);

}  // namespace mwctl

#endif
