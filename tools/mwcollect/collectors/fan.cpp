#include "fan.h"

#include <algorithm>
#include <set>

#include "collector.h"
#include "hwmon.h"
#include "midware/area.h"
#include "midware/fan.h"

namespace collect {
namespace {

// Beyond it no fan turns: a chip that claims more has lost its bus.
constexpr uint32_t kFastest = 100'000;
constexpr uint32_t kFullDuty = 255;

// Whether the device behind the chip brings fans that are its own.
bool CoolsItselfOnly(const Host &host, const HwmonChip &chip) {
    // Display controllers of the PCI bus.
    if (host.Text("/sys/class/hwmon/" + chip.number + "/device/class").value_or("").starts_with("0x03"))
        return true;
    // What measures its input voltage converts it: a power supply.
    for (const NumberedEntry &entry : host.Numbered(chip.path, "in", "_label")) {
        const std::string label = host.Text(chip.path + "/" + entry.name).value_or("");
        if (label == "vin" || label == "v_in") return true;
    }
    return false;
}

std::optional<uint32_t> Number(const Host &host, const std::string &path, std::string_view what,
                               uint32_t most) {
    return host.Number<uint32_t>(path, what, 0, most, Refusal::kExpected);
}

std::optional<uint32_t> Speed(const Host &host, const std::string &path) {
    return Number(host, path, "a speed in revolutions per minute", kFastest);
}

bool IsSet(const Host &host, const std::string &path) { return Number(host, path, "a flag", 1) == 1u; }

uint32_t ReadFault(const Host &host, const std::string &channel, const Fan &fan) {
    if (IsSet(host, channel + "_fault")) return 1;
    bool judged = false;  // by the chip
    for (const char *alarm : {"_alarm", "_min_alarm", "_max_alarm"}) {
        const auto flag = Number(host, channel + alarm, "a flag", 1);
        if (flag == 1u) return 2;
        judged = judged || flag;
    }
    if (judged || !fan.speed) return 0;
    const bool slow = fan.least && *fan.speed < *fan.least;
    const bool fast = fan.most.value_or(0) > 0 && *fan.speed > *fan.most;
    return slow || fast ? 2 : 0;
}

FanOutput ReadOutput(const Host &host, const HwmonChip &chip, uint32_t channel, uint32_t raw) {
    const std::string pwm = fmt::format("{}/pwm{}", chip.path, channel);
    FanOutput output;
    output.channel = channel;
    output.raw = raw;
    output.source = pwm.substr(pwm.find(chip.number));
    // Without a choice of modes the output is what is written to it.
    switch (Number(host, pwm + "_enable", "a mode of control", UINT32_MAX).value_or(1)) {
        case 0:
            output.mode = MW_FAN_CTRL_FULL_SPEED;
            break;
        case 1:
            output.mode = MW_FAN_CTRL_MANUAL;
            break;
        default:
            output.mode = MW_FAN_CTRL_AUTO;
            break;
    }
    output.frequency = Number(host, pwm + "_freq", "a frequency in Hz", UINT32_MAX).value_or(0);
    output.wave = Number(host, pwm + "_mode", "0 (direct current) or 1 (pulse width)", 1).value_or(1);
    return output;
}

// Without the place of one of two rotors ("Fan 3 Front"); nothing where the label has none.
struct Rotor {
    std::string fan;
    bool rear;
};

std::optional<Rotor> ParseRotor(std::string_view label) {
    for (const auto &[place, rear] : {std::pair<std::string_view, bool>{"front", false},
                                      {"rear", true},
                                      {"inlet", false},
                                      {"outlet", true}}) {
        if (label.size() <= place.size() || !EqualNoCase(label.substr(label.size() - place.size()), place))
            continue;
        const std::string_view fan = label.substr(0, label.size() - place.size());
        const size_t last = fan.find_last_not_of(" _-");
        if (last != fan.npos) return Rotor{std::string(fan.substr(0, last + 1)), rear};
    }
    return std::nullopt;
}

// Two rotors of one fan are one fan: labels that differ in the rotor's place only, on neighbouring channels.
void JoinRotors(std::vector<Fan> &fans) {
    for (size_t i = 0; i + 1 < fans.size(); ++i) {
        const auto front = ParseRotor(fans[i].label);
        const auto rear = ParseRotor(fans[i + 1].label);
        if (!front || !rear || front->fan != rear->fan || front->rear || !rear->rear) continue;
        Fan &fan = fans[i];
        fan.name = front->fan;
        fan.rotors = 2;
        fan.rear_speed = fans[i + 1].speed;
        if (fan.fault == 0 || fans[i + 1].fault == 1) fan.fault = fans[i + 1].fault;
        fans.erase(fans.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    }
}

// Numbers of the labels where every fan has one of its own, the order otherwise.
void NumberFans(std::vector<Fan> &fans) {
    std::set<uint32_t> numbers;
    for (const Fan &fan : fans) {
        if (const auto number = TrailingNumber(fan.name); number && !fan.label.empty())
            numbers.insert(*number);
    }
    for (size_t i = 0; i < fans.size(); ++i) {
        fans[i].silk =
            numbers.size() == fans.size() ? *TrailingNumber(fans[i].name) : static_cast<uint32_t>(i + 1);
    }
}

std::vector<Fan> FansOf(const Host &host, const HwmonChip &chip) {
    std::vector<Fan> fans;
    std::vector<uint32_t> tachometers, outputs;
    for (const NumberedEntry &entry : host.Numbered(chip.path, "fan", "_input"))
        tachometers.push_back(entry.number);
    for (const NumberedEntry &entry : host.Numbered(chip.path, "pwm")) outputs.push_back(entry.number);
    for (const uint32_t number : tachometers) {
        const std::string channel = fmt::format("{}/fan{}", chip.path, number);
        Fan fan;
        fan.chip = chip.name;
        fan.label = HwmonLabel(host, chip, fmt::format("fan{}", number));
        fan.name = fan.label.empty() ? fmt::format("{} fan{}", CleanText(chip.name), number) : fan.label;
        fan.speed = Speed(host, channel + "_input");
        fan.least = Speed(host, channel + "_min");
        fan.most = Speed(host, channel + "_max");
        fan.target = Speed(host, channel + "_target");
        fan.pulses = Number(host, channel + "_pulses", "pulses per revolution", 255).value_or(0);
        fan.fault = ReadFault(host, channel, fan);
        // Output N drives fan N where the chip has as many of the one as of the other; elsewhere only the
        // board's maker knows.
        if (tachometers == outputs) {
            const auto raw =
                Number(host, fmt::format("{}/pwm{}", chip.path, number), "a duty cycle", kFullDuty);
            if (raw) fan.output = ReadOutput(host, chip, number, *raw);
        }
        fans.push_back(std::move(fan));
    }
    JoinRotors(fans);
    return fans;
}

uint32_t DutyPercent(const Fan &fan) {
    return fan.output ? (fan.output->raw * 100 + kFullDuty / 2) / kFullDuty : 0;
}

FanOnlinePhyInfo ToOnline(const Fan &fan, const FanAssetInfo &asset) {
    FanOnlinePhyInfo info{};
    info.dwFanSilkNum = fan.silk;
    info.dwPresent = asset.dwFanPresent;
    info.dwSpeed = fan.speed.value_or(0);
    info.dwRearSpeed = fan.rear_speed.value_or(0);
    info.dwMinSpeed = fan.least.value_or(0);
    info.dwMaxSpeed = fan.most.value_or(0);
    info.dwPulses = fan.pulses;
    info.dwFault = fan.fault;
    Fill(info.acLabel, fan.label);
    return info;
}

// Changes what is measured and leaves the rest, such as duty limits, to who set it.
void Update(FanControlPhyInfo &info, const Fan &fan) {
    if (info.dwFanSilkNum != fan.silk) info = {};
    info.dwFanSilkNum = fan.silk;
    if (!fan.output) return;
    info.dwPwmChannel = fan.output->channel;
    info.dwPwmFrequency = fan.output->frequency;
    info.dwPwmMode = fan.output->wave;
    info.tState.dwMode = fan.output->mode;
    info.tState.dwDutyPercent = DutyPercent(fan);
    info.tState.dwTargetSpeed = fan.target.value_or(0);
    info.tState.dwPwmRaw = fan.output->raw;
    Fill(info.tState.acZone, fan.chip);
    Fill(info.acSource, fan.output->source);
}

void Update(FanAssetInfo &info, const Fan &fan) {
    char name[sizeof(info.acFanName)];
    Fill(name, fan.name);
    if (std::memcmp(name, info.acFanName, sizeof(name)) != 0) info = {};
    std::memcpy(info.acFanName, name, sizeof(name));
    info.dwFanSilkNum = fan.silk;
    info.dwFanSpeed = fan.speed.value_or(0);
    info.dwFanDutyPercent = DutyPercent(fan);
    info.dwRotorNum = fan.rotors;
    // What turns is there. What stands still may be there: whoever knows has said so.
    if (fan.Turns()) info.dwFanPresent = 1;
}

// The first records that the area has, blank ones behind them. The getters copy as many as it says there are,
// up to its end.
template <typename T, typename Getter>
std::optional<std::vector<T>> Stored(Getter get, size_t wanted) {
    std::vector<T> records(MW_AREA_SIZE / sizeof(T));
    uint32_t count = 0;
    if (get(records.data(), &count) != 0) return std::nullopt;
    records.resize(std::min<size_t>(count, wanted));
    records.resize(wanted);
    return records;
}

class FanCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        const FanRecords records = FindFans(host);
        if (records.left_out > 0) {
            host.log().Once(fmt::format("fans: {} of {} left out, there is room for {}", records.left_out,
                                        records.left_out + records.fans.size(), MW_FAN_MAX));
        }
        if (records.others > 0) {
            writer.Remark(fmt::format("{} fans belong to power supplies or graphics cards", records.others));
        }
        if (records.fans.empty()) {
            if (written_) written_ = !writer.Wrote("lost fans", 1, MW_SetFanCount(0));
            return;
        }

        const std::vector<Fan> &fans = records.fans;
        const auto count = static_cast<uint32_t>(fans.size());
        auto controls = Stored<FanControlPhyInfo>(MW_GetFanControlPhyInfo, count);
        auto assets = Stored<FanAssetInfo>(MW_GetFanAssetInfo, count);
        if (!controls || !assets) {
            // What others have put there must not get lost. A count that leads out of the area can be mended.
            if (!writer.Wrote("fan count", 1, MW_SetFanCount(count))) return;
            controls = Stored<FanControlPhyInfo>(MW_GetFanControlPhyInfo, count);
            assets = Stored<FanAssetInfo>(MW_GetFanAssetInfo, count);
            if (!controls || !assets) return;
        }
        // The library copies the outputs' state from the control records into the asset records: those come
        // first.
        if (std::any_of(fans.begin(), fans.end(), [](const Fan &fan) { return fan.output.has_value(); })) {
            for (uint32_t i = 0; i < count; ++i) Update((*controls)[i], fans[i]);
            writer.Wrote("fan outputs", count, MW_SetFanControlPhyInfo(controls->data(), count));
        }
        std::vector<FanOnlinePhyInfo> online;
        for (uint32_t i = 0; i < count; ++i) {
            Update((*assets)[i], fans[i]);
            online.push_back(ToOnline(fans[i], (*assets)[i]));
        }
        writer.Wrote("fan assets", count, MW_SetFanAssetInfo(assets->data(), count));
        written_ =
            writer.Wrote("fan speeds", count, MW_SetFanOnlinePhyInfo(online.data(), count)) || written_;
    }

  private:
    bool written_ = false;  // the area's fans are this process's
};

const Registration registered({"fan", "fans: speeds, limits, labels, duty cycles", 25, Make<FanCollector>});

}  // namespace

FanRecords FindFans(const Host &host) {
    FanRecords records;
    for (const HwmonChip &chip : HwmonChips(host)) {
        std::vector<Fan> fans = FansOf(host, chip);
        if (!fans.empty() && CoolsItselfOnly(host, chip)) {
            records.others += fans.size();
            continue;
        }
        std::move(fans.begin(), fans.end(), std::back_inserter(records.fans));
    }
    if (records.fans.size() > MW_FAN_MAX) {
        records.left_out = records.fans.size() - MW_FAN_MAX;
        records.fans.resize(MW_FAN_MAX);
    }
    NumberFans(records.fans);
    return records;
}

}  // namespace collect
