#include "board.h"

#include <algorithm>
#include <cctype>

#include "collector.h"
#include "hwmon.h"
#include "pem.h"

namespace collect {
namespace {

const std::string kThermal = "/sys/class/thermal";

// Words by which boards label the sensor in the air that comes in.
bool IsInletLabel(std::string label) {
    std::transform(label.begin(), label.end(), label.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return label.find("inlet") != label.npos || label.find("ambient") != label.npos;
}

void AddInlets(const Host &host, const HwmonChip &chip, std::vector<InletSensor> &inlets) {
    for (const NumberedEntry &entry : host.Numbered(chip.path, "temp", "_label")) {
        const std::string channel = fmt::format("temp{}", entry.number);
        const std::string label = HwmonLabel(host, chip, channel);
        if (!IsInletLabel(label)) continue;
        const auto milli = HwmonMillidegrees(host, chip, channel + "_input");
        if (!milli) continue;
        const auto degrees = [&](const char *attribute) {
            return HwmonDegrees(host, chip, channel + attribute);
        };
        inlets.push_back(
            {fmt::format("{}/{}/{}", chip.name, chip.device.empty() ? chip.number : chip.device, channel),
             label, *milli, degrees("_max"), degrees("_crit"), degrees("_min"), degrees("_lcrit")});
    }
}

// A reading that the area can tell from none.
std::optional<uint32_t> PchDegrees(std::optional<int32_t> degrees) {
    if (!degrees || *degrees < 1 || *degrees > static_cast<int32_t>(MW_PCH_TEMP_MAX)) return std::nullopt;
    return static_cast<uint32_t>(*degrees);
}

// The hub's thermal zone, on a kernel that does not hand it out as a chip as well.
std::optional<uint32_t> PchZone(const Host &host) {
    for (const NumberedEntry &entry : host.Numbered(kThermal, "thermal_zone")) {
        const std::string zone = kThermal + "/" + entry.name;
        if (!host.Text(zone + "/type").value_or("").starts_with("pch_")) continue;
        const auto milli = host.Number<int32_t>(zone + "/temp", "a temperature in millidegrees", -128'000,
                                                255'000, Refusal::kExpected);
        if (!milli) continue;
        if (const auto degrees = PchDegrees((*milli + (*milli < 0 ? -500 : 500)) / 1000)) return degrees;
    }
    return std::nullopt;
}

class BoardCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        const BoardReadings readings = FindBoardReadings(host);
        if (readings.pch || pch_written_) {
            pch_written_ = writer.Wrote(readings.pch ? "PCH temperatures" : "lost PCH temperatures", 1,
                                        MW_SetPCHTemp(readings.pch.value_or(0))) &&
                           readings.pch.has_value();
        }
        WriteInlets(host, readings.inlets, writer);
        if (!readings.pch && places_.empty()) writer.Remark("no inlet or PCH temperature on this host");
    }

  private:
    // A sensor keeps its place as long as this process runs, also while it does not answer.
    void WriteInlets(const Host &host, const std::vector<InletSensor> &inlets, Writer &writer) {
        size_t left_out = 0;
        const size_t known = places_.size();
        for (const InletSensor &sensor : inlets) {
            const auto same = [&](const InletSensor &place) { return place.key == sensor.key; };
            const auto place = std::find_if(places_.begin(), places_.end(), same);
            if (place != places_.end()) {
                *place = sensor;
            } else if (places_.size() < MW_INLET_TEMP_MAX) {
                places_.push_back(sensor);
            } else {
                ++left_out;
            }
        }
        if (left_out > 0) {
            host.log().Once(fmt::format("inlet temperatures: {} of {} sensors left out, there is room for {}",
                                        left_out, left_out + places_.size(), MW_INLET_TEMP_MAX));
        }
        for (uint32_t i = 0; i < places_.size(); ++i) {
            const auto same = [&](const InletSensor &sensor) { return sensor.key == places_[i].key; };
            const bool present = std::any_of(inlets.begin(), inlets.end(), same);
            InletTempReading reading = ToInletTempReading(places_[i], i);
            if (!present) {
                reading.ucPresent = 0;
                reading.sTemp = 0;
            }
            writer.Wrote(present ? "inlet temperatures" : "lost inlet temperatures", 1,
                         MW_SetInletTempInfo(&reading));
        }
        // The records first: a reader that finds the count finds them.
        if (places_.size() > known) {
            const auto count = static_cast<uint32_t>(places_.size());
            writer.Wrote("inlet sensor counts", 1, MW_SetInletTempCnt(count));
        }
    }

    std::vector<InletSensor> places_;
    bool pch_written_ = false;
};

const Registration registered({"board", "inlet and PCH temperatures", 32, Make<BoardCollector>});

}  // namespace

BoardReadings FindBoardReadings(const Host &host) {
    BoardReadings readings;
    for (const HwmonChip &chip : HwmonChips(host)) {
        if (chip.name.starts_with("pch_")) {
            if (!readings.pch) readings.pch = PchDegrees(HwmonDegrees(host, chip, "temp1_input"));
        } else if (!IsPowerSupply(host, chip)) {  // these have inlets of their own
            AddInlets(host, chip, readings.inlets);
        }
    }
    if (!readings.pch) readings.pch = PchZone(host);
    return readings;
}

InletTempReading ToInletTempReading(const InletSensor &sensor, uint32_t index) {
    constexpr int8_t kNoUpper = 127;
    constexpr int8_t kNoLower = -128;
    const auto threshold = [](std::optional<int32_t> degrees, int8_t none) {
        const bool fits = degrees && *degrees > kNoLower && *degrees < kNoUpper;
        return fits ? static_cast<int8_t>(*degrees) : none;
    };
    InletTempReading reading{};
    reading.ucIndex = static_cast<uint8_t>(index);
    reading.ucPresent = 1;
    reading.sTemp = static_cast<int16_t>((sensor.milli + (sensor.milli < 0 ? -50 : 50)) / 100);
    reading.cUpperNonCritical = threshold(sensor.high, kNoUpper);
    reading.cUpperCritical = threshold(sensor.critical, kNoUpper);
    reading.cLowerNonCritical = threshold(sensor.low, kNoLower);
    reading.cLowerCritical = threshold(sensor.critical_low, kNoLower);
    Fill(reading.acSensorName, sensor.name);
    return reading;
}

}  // namespace collect
