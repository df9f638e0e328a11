#include "hwmon.h"

namespace collect {
namespace {

const std::string kClass = "/sys/class/hwmon";

// Beyond these no silicon works: a chip that claims more has lost its bus.
constexpr int32_t kLowest = -128'000;
constexpr int32_t kHighest = 255'000;

}  // namespace

std::vector<HwmonChip> HwmonChips(const Host &host) {
    std::vector<HwmonChip> chips;
    for (const NumberedEntry &entry : host.Numbered(kClass, "hwmon")) {
        const std::string own = kClass + "/" + entry.name;
        HwmonChip chip;
        chip.number = entry.name;
        chip.device = host.LinkName(own + "/device").value_or("");
        // Old drivers keep their attributes with the device.
        for (const std::string &path : {own, own + "/device"}) {
            const std::optional<std::string> name = host.Text(path + "/name");
            if (!name || name->empty()) continue;
            chip.path = path;
            chip.name = *name;
            chips.push_back(chip);
            break;
        }
    }
    return chips;
}

std::optional<int64_t> HwmonValue(const Host &host, const HwmonChip &chip, const std::string &attribute,
                                  std::string_view what, int64_t lowest, int64_t highest) {
    return host.Number<int64_t>(chip.path + "/" + attribute, what, lowest, highest, Refusal::kExpected);
}

std::optional<int32_t> HwmonMillidegrees(const Host &host, const HwmonChip &chip,
                                         const std::string &attribute) {
    const auto milli = HwmonValue(host, chip, attribute, "a temperature in millidegrees", kLowest, kHighest);
    if (!milli) return std::nullopt;
    return static_cast<int32_t>(*milli);
}

std::optional<int32_t> HwmonDegrees(const Host &host, const HwmonChip &chip, const std::string &attribute) {
    const auto milli = HwmonMillidegrees(host, chip, attribute);
    if (!milli) return std::nullopt;
    return (*milli + (*milli < 0 ? -500 : 500)) / 1000;
}

std::string HwmonLabel(const Host &host, const HwmonChip &chip, const std::string &channel) {
    return CleanText(host.Text(chip.path + "/" + channel + "_label").value_or(""));
}

}  // namespace collect
