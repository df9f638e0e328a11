// The kernel's hardware-monitoring chips.
#ifndef MWCOLLECT_HWMON_H
#define MWCOLLECT_HWMON_H

#include <optional>
#include <string>
#include <vector>

#include "host.h"

namespace collect {

struct HwmonChip {
    std::string number;  // "hwmon0": its entry in the class
    std::string path;    // directory of its attributes
    std::string name;    // the driver's name for it
    std::string device;  // name of the device behind it ("0-0018" on an I2C bus); "" where there is none
};

// All chips, in the order of their numbers.
std::vector<HwmonChip> HwmonChips(const Host &host);

// A temperature attribute (temp1_input, temp1_crit, ...) in whole degrees Celsius, rounded; nothing where the
// chip has none or no plausible one.
std::optional<int32_t> HwmonDegrees(const Host &host, const HwmonChip &chip, const std::string &attribute);

// Any attribute as the kernel gives it (thousandths; power in millionths), what it is for a message; nothing
// where the chip has none or one that is not from lowest to highest.
std::optional<int64_t> HwmonValue(const Host &host, const HwmonChip &chip, const std::string &attribute,
                                  std::string_view what, int64_t lowest, int64_t highest);

// A temperature attribute in thousandths of a degree.
std::optional<int32_t> HwmonMillidegrees(const Host &host, const HwmonChip &chip,
                                         const std::string &attribute);

// The label of a channel ("temp1" -> temp1_label); "" where it has none.
std::string HwmonLabel(const Host &host, const HwmonChip &chip, const std::string &channel);

}  // namespace collect

#endif
