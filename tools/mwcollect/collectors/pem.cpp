#include "pem.h"

#include <time.h>

#include <algorithm>

#include "collector.h"
#include "midware/area.h"

namespace collect {
namespace {

constexpr uint8_t kSystemPowerSupply = 39;
const std::string kClass = "/sys/class/power_supply";
constexpr int64_t kMost = UINT32_MAX - 1;  // all ones mean that there is no value

// --- PMBus chips

// The channel of this label among those of a kind: "in1" where in1_label says "vin"; "" where none does.
std::string Channel(const Host &host, const HwmonChip &chip, const std::string &kind,
                    std::string_view label) {
    for (const NumberedEntry &entry : host.Numbered(chip.path, kind, "_label")) {
        std::string channel = fmt::format("{}{}", kind, entry.number);
        if (HwmonLabel(host, chip, channel) == label) return channel;
    }
    return {};
}

// An attribute of the channel of this label, in units of so many of the kernel's.
Reading Value(const Host &host, const HwmonChip &chip, const std::string &kind, std::string_view label,
              const char *attribute, int64_t divisor = 1) {
    const std::string channel = Channel(host, chip, kind, label);
    if (channel.empty()) return std::nullopt;
    const auto value =
        HwmonValue(host, chip, channel + attribute, "a reading that is not negative", 0, kMost * divisor);
    if (!value) return std::nullopt;
    return static_cast<uint32_t>(std::min(kMost, (*value + divisor / 2) / divisor));
}

constexpr int64_t kMicroToMilli = 1000;
constexpr int64_t kMicroToOne = 1'000'000;

// The bus and address in the name of an I2C device: "3-0058".
void ParseAddress(std::string_view device, PowerSupply &supply) {
    const size_t dash = device.find('-');
    if (dash == std::string_view::npos) return;
    const auto bus = ParseNumber<uint32_t>(device.substr(0, dash));
    const auto address = ParseNumber<uint32_t>(device.substr(dash + 1), 16);
    if (!bus || !address || *address > 0x7F) return;
    supply.bus = bus;
    supply.address = address;
}

PowerSupply FromChip(const Host &host, const HwmonChip &chip) {
    PowerSupply supply;
    supply.key = fmt::format("{}/{}", chip.name, chip.device.empty() ? chip.number : chip.device);
    supply.measured = true;
    supply.location = Meaningful(host.Text(chip.path + "/label").value_or(""));
    ParseAddress(chip.device, supply);
    const auto value = [&](const char *kind, const char *label, const char *attribute, int64_t divisor = 1) {
        return Value(host, chip, kind, label, attribute, divisor);
    };
    supply.vin = value("in", "vin", "_input");
    supply.vcap = value("in", "vcap", "_input");
    supply.vout = value("in", "vout1", "_input");
    supply.iin = value("curr", "iin", "_input");
    supply.iout = value("curr", "iout1", "_input");
    supply.pin = value("power", "pin", "_input", kMicroToMilli);
    supply.pout = value("power", "pout1", "_input", kMicroToMilli);
    supply.vin_min = value("in", "vin", "_rated_min");
    supply.vin_max = value("in", "vin", "_rated_max");
    supply.vout_min = value("in", "vout1", "_rated_min");
    supply.vout_max = value("in", "vout1", "_rated_max");
    supply.iin_max = value("curr", "iin", "_rated_max");
    supply.iout_max = value("curr", "iout1", "_rated_max");
    supply.pin_max = value("power", "pin", "_rated_max", kMicroToMilli);
    supply.pout_max = value("power", "pout1", "_rated_max", kMicroToMilli);
    supply.rated_power = value("power", "pout1", "_rated_max", kMicroToOne);
    for (uint32_t i = 0; i < supply.temperatures.size(); ++i) {
        supply.temperatures[i] = HwmonMillidegrees(host, chip, fmt::format("temp{}_input", i + 1));
    }
    supply.ambient_max = HwmonMillidegrees(host, chip, "temp1_rated_max");
    for (uint32_t i = 0; i < supply.fans.size(); ++i) {
        const auto speed =
            HwmonValue(host, chip, fmt::format("fan{}_input", i + 1), "a fan speed", 0, 1'000'000);
        if (speed) supply.fans[i] = static_cast<uint32_t>(*speed);
    }
    if (supply.vout) supply.online = *supply.vout > 0 ? 1 : 0;
    // The identity that the supply itself tells, where the kernel's debugging files are there and may be
    // read.
    const std::string own = "/sys/kernel/debug/pmbus/" + chip.number + "/";
    if (host.Exists(own)) {
        const auto text = [&](const char *name) {
            return Meaningful(host.Text(own + name, Refusal::kExpected).value_or(""));
        };
        supply.manufacturer = text("mfr_id");
        supply.model = text("mfr_model");
        supply.serial = text("mfr_serial");
        supply.revision = text("mfr_revision");
        supply.date = text("mfr_date");
        if (supply.location.empty()) supply.location = text("mfr_location");
    }
    return supply;
}

// --- SMBIOS

// Adds what firmware says of a supply to what its chip measures.
void Describe(const PowerSupply &described, PowerSupply &supply) {
    const auto fill = [](std::string &text, const std::string &other) {
        if (text.empty()) text = other;
    };
    fill(supply.location, described.location);
    fill(supply.manufacturer, described.manufacturer);
    fill(supply.model, described.model);
    fill(supply.serial, described.serial);
    fill(supply.part, described.part);
    fill(supply.revision, described.revision);
    if (!supply.rated_power) supply.rated_power = described.rated_power;
}

// Puts the chips' readings to the supplies that firmware describes, where it is plain which belongs to which.
std::vector<PowerSupply> Join(const Host &host, std::vector<PowerSupply> described,
                              std::vector<PowerSupply> chips) {
    if (chips.empty()) return described;
    if (described.empty()) return chips;
    if (described.size() == 1 && chips.size() == 1) {
        Describe(described.front(), chips.front());
        return chips;
    }
    std::vector<PowerSupply> joined;
    for (PowerSupply &supply : described) {
        const auto number = TrailingNumber(supply.location);
        const auto same = [&](const PowerSupply &chip) {
            return number && TrailingNumber(chip.location) == number;
        };
        if (std::count_if(chips.begin(), chips.end(), same) == 1) {
            const auto chip = std::find_if(chips.begin(), chips.end(), same);
            Describe(supply, *chip);
            joined.push_back(std::move(*chip));
            chips.erase(chip);
        } else if (!supply.present) {
            joined.push_back(std::move(supply));
        }
    }
    if (chips.empty()) return joined;
    host.log().Once(
        fmt::format("power supplies: {} of those that SMBIOS describes left out, nothing tells which of them "
                    "the chips on the PMBus belong to",
                    described.size() - joined.size()));
    std::erase_if(joined, [](const PowerSupply &supply) { return !supply.measured; });
    joined.insert(joined.end(), std::make_move_iterator(chips.begin()), std::make_move_iterator(chips.end()));
    return joined;
}

// --- the power_supply class

Reading Micro(const Host &host, const std::string &path, std::string_view what,
              int64_t divisor = kMicroToMilli) {
    const auto micro = host.Number<int64_t>(path, what, 0, kMost * divisor, Refusal::kExpected);
    if (!micro) return std::nullopt;
    return static_cast<uint32_t>((*micro + divisor / 2) / divisor);
}

std::vector<PowerSupply> FromClass(const Host &host) {
    std::vector<PowerSupply> supplies;
    for (const std::string &name : host.List(kClass)) {
        const std::string dir = kClass + "/" + name + "/";
        const std::string type = host.Text(dir + "type").value_or("");
        const bool mains = type == "Mains";
        // Batteries are none, and neither is what feeds a mouse.
        if (!mains && type != "USB") continue;
        if (host.Text(dir + "scope").value_or("") == "Device") continue;
        PowerSupply supply;
        supply.key = name;
        supply.location = CleanText(name);
        supply.input_type = mains ? MW_PEM_INPUT_AC : MW_PEM_INPUT_DC;
        supply.manufacturer = Meaningful(host.Text(dir + "manufacturer", Refusal::kExpected).value_or(""));
        supply.model = Meaningful(host.Text(dir + "model_name", Refusal::kExpected).value_or(""));
        supply.serial = Meaningful(host.Text(dir + "serial_number", Refusal::kExpected).value_or(""));
        // 2 is a supply whose output follows what is asked of it.
        const auto online = host.Number<uint32_t>(dir + "online", "0, 1 or 2", 0, 2, Refusal::kExpected);
        if (online) supply.online = *online != 0 ? 1 : 0;
        supply.vout = Micro(host, dir + "voltage_now", "a voltage in microvolts");
        supply.iout = Micro(host, dir + "current_now", "a current in microamperes");
        supply.pout = Micro(host, dir + "power_now", "a power in microwatts");
        supply.vout_max = Micro(host, dir + "voltage_max", "a voltage in microvolts");
        supply.iout_max = Micro(host, dir + "current_max", "a current in microamperes");
        const auto tenths = host.Number<int32_t>(dir + "temp", "a temperature in tenths of a degree", -1280,
                                                 2550, Refusal::kExpected);
        if (tenths) supply.temperatures[0] = *tenths * 100;
        supply.measured = supply.vout || supply.iout || supply.pout || supply.temperatures[0];
        supplies.push_back(std::move(supply));
    }
    return supplies;
}

// --- records

uint32_t OrNone(const Reading &reading) { return reading.value_or(MW_NO_VALUE); }
int32_t OrNone(const std::optional<int32_t> &temperature) {
    return temperature.value_or(MW_PEM_NO_TEMPERATURE);
}

PemText ToText(const std::string &text) {
    PemText field{};
    field.dwRes = text.empty() ? 1 : 0;
    Fill(field.acText, text);
    return field;
}

class PemCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        std::vector<PowerSupply> found = FindPowerSupplies(host);
        Place(host, found);
        if (places_.empty()) {
            writer.Remark("no power supply is known on this host");
            return;
        }
        const auto count = static_cast<uint32_t>(places_.size());
        std::vector<PemOnlinePhy> online;
        std::vector<PemPmbusPhy> pmbus;
        for (uint32_t i = 0; i < count; ++i) {
            online.push_back(ToOnlinePhy(places_[i], i + 1));
            pmbus.push_back(ToPmbusPhy(places_[i], i + 1));
        }
        if (!writer.Wrote("power supply states", count, MW_SetPemOnlinePhyInfo(online.data(), count))) return;
        writer.Wrote("power supply readings", count, MW_SetPemPmbusPhyInfo(pmbus.data(), count));

        std::vector<PemAsset> stored(MW_PEM_MAX);
        uint32_t stored_count = 0;
        if (MW_GetPemAssetInfo(stored.data(), &stored_count) != 0 || stored_count != count) {
            writer.Wrote("power supply assets", count, -1);
            return;
        }
        for (uint32_t i = 0; i < count; ++i) WriteAsset(host, places_[i], i + 1, stored[i], writer);
    }

  private:
    // A supply keeps its number as long as this process runs, also while it is not there.
    void Place(const Host &host, std::vector<PowerSupply> &found) {
        for (PowerSupply &place : places_) {
            PowerSupply gone;
            gone.key = place.key;
            gone.location = place.location;
            gone.present = false;
            place = std::move(gone);
        }
        size_t left_out = 0;
        for (PowerSupply &supply : found) {
            const auto same = [&](const PowerSupply &place) { return place.key == supply.key; };
            const auto place = std::find_if(places_.begin(), places_.end(), same);
            if (place != places_.end()) {
                *place = std::move(supply);
            } else if (places_.size() < MW_PEM_MAX) {
                places_.push_back(std::move(supply));
            } else {
                ++left_out;
            }
        }
        if (left_out > 0) {
            host.log().Once(fmt::format("power supplies: {} of {} left out, there is room for {}", left_out,
                                        left_out + places_.size(), MW_PEM_MAX));
        }
    }

    static bool HasIdentity(const PowerSupply &supply) {
        return !(supply.manufacturer + supply.model + supply.serial + supply.part + supply.revision).empty();
    }
    static bool Same(const PemBurnInfo &a, const PemBurnInfo &b) {
        return std::memcmp(&a, &b, sizeof a) == 0;
    }

    void WriteAsset(const Host &host, const PowerSupply &supply, uint32_t number, const PemAsset &stored,
                    Writer &writer) {
        const uint32_t present = supply.present ? 1 : 0;
        if (stored.dwPemIndex != number || stored.dwPresentStatus != present) {
            writer.Wrote("power supply presences", 1, MW_SetPemPresentStatus(number, present));
        }
        if (supply.present) {
            // An identity that another process has stored since stays, until the host tells another one.
            static const PemBurnInfo kBlank{};
            const PemBurnInfo burned = ToBurnInfo(supply);
            PemBurnInfo &last = burned_[number - 1];
            if ((HasIdentity(supply) && !Same(burned, last)) || Same(stored.tBurnInfo, kBlank)) {
                if (writer.Wrote("power supply identities", 1, MW_SetPemAssetBurnInfo(number, &burned)))
                    last = burned;
            }
        }
        PemStatusInfo status = stored.tStatusInfo;
        Update(supply, status);
        if (host.Live()) status.dwUpdateTime = static_cast<uint32_t>(time(nullptr));
        writer.Wrote("power supply statuses", 1, MW_SetPemAssetStatusInfoExceptHealthStatus(number, &status));
    }

    std::vector<PowerSupply> places_;
    std::array<PemBurnInfo, MW_PEM_MAX> burned_{};  // as this process wrote them
};

const Registration registered({"pem", "power supplies: identity, presence, readings", 34,
                               Make<PemCollector>});

}  // namespace

bool IsPowerSupply(const Host &host, const HwmonChip &chip) {
    // What the drivers of supplies call their chips.
    static constexpr std::array kNames = {"pmbus",   "psu",      "crps",     "cffps",       "pfe1100",
                                          "pfe3000", "dps920ab", "dps650ab", "dps460",      "dps800",
                                          "fsp-3y",  "ym2151e",  "yh5151e",  "acbel_fsg032"};
    const auto named = [&](const char *name) { return StartsWithNoCase(chip.name, name); };
    if (std::any_of(kNames.begin(), kNames.end(), named)) return true;
    // Any other whose input is labelled as the PMBus drivers do is one where it has a fan or more than a
    // board's voltage.
    constexpr uint32_t kBoardVoltageMax = 36'000;
    const Reading vin = Value(host, chip, "in", "vin", "_input");
    return vin && (*vin > kBoardVoltageMax || host.Exists(chip.path + "/fan1_input"));
}

PowerSupply ToPowerSupply(const SmbiosStructure &structure) {
    constexpr uint16_t kPowerUnknown = 0x8000;
    constexpr uint16_t kPresent = 1u << 1;
    constexpr uint16_t kUnplugged = 1u << 2;
    PowerSupply supply;
    supply.key = fmt::format("smbios/{:04x}", structure.handle);
    supply.location = structure.Meaning(0x05);
    supply.model = structure.Meaning(0x06);
    supply.manufacturer = structure.Meaning(0x07);
    supply.serial = structure.Meaning(0x08);
    supply.part = structure.Meaning(0x0A);
    supply.revision = structure.Meaning(0x0B);
    const uint16_t watts = structure.Field<uint16_t>(0x0C).value_or(kPowerUnknown);
    if (watts != kPowerUnknown && watts != 0) supply.rated_power = watts;
    if (const auto bits = structure.Field<uint16_t>(0x0E)) {
        supply.present = (*bits & kPresent) != 0;
        if (supply.present) supply.online = (*bits & kUnplugged) != 0 ? 0 : 1;
    }
    return supply;
}

std::vector<PowerSupply> FindPowerSupplies(const Host &host) {
    std::vector<PowerSupply> chips;
    for (const HwmonChip &chip : HwmonChips(host)) {
        // The class below hands its readings out as chips, too.
        if (host.Exists(kClass + "/" + chip.device) && !chip.device.empty()) continue;
        if (IsPowerSupply(host, chip)) chips.push_back(FromChip(host, chip));
    }
    std::vector<PowerSupply> described;
    for (const SmbiosStructure &structure : ReadSmbios(host, {kSystemPowerSupply})) {
        described.push_back(ToPowerSupply(structure));
    }
    std::vector<PowerSupply> supplies = Join(host, std::move(described), std::move(chips));
    return supplies.empty() ? FromClass(host) : supplies;
}

PemOnlinePhy ToOnlinePhy(const PowerSupply &supply, uint32_t number) {
    PemOnlinePhy phy{};
    phy.dwPemIndex = number;
    phy.dwPresent = supply.present ? 1 : 0;
    phy.dwOnline = OrNone(supply.online);
    phy.dwPowerGood = MW_NO_VALUE;
    phy.dwInputPresent = supply.vin ? (*supply.vin > 0 ? 1 : 0) : MW_NO_VALUE;
    phy.dwAlert = MW_NO_VALUE;
    phy.dwInputType = supply.input_type;
    phy.dwRatedPower = OrNone(supply.rated_power);
    phy.dwBus = OrNone(supply.bus);
    phy.dwAddress = OrNone(supply.address);
    phy.dwReadErrors = MW_NO_VALUE;
    return phy;
}

PemPmbusPhy ToPmbusPhy(const PowerSupply &supply, uint32_t number) {
    PemPmbusPhy phy{};
    phy.dwPemIndex = number;
    phy.dwRes = supply.measured ? 0 : 1;
    phy.dwStatusWord = MW_NO_VALUE;
    phy.dwVin = OrNone(supply.vin);
    phy.dwIin = OrNone(supply.iin);
    phy.dwPin = OrNone(supply.pin);
    phy.dwVcap = OrNone(supply.vcap);
    phy.dwVout = OrNone(supply.vout);
    phy.dwIout = OrNone(supply.iout);
    phy.dwPout = OrNone(supply.pout);
    for (size_t i = 0; i < supply.temperatures.size(); ++i)
        phy.alTemperature[i] = OrNone(supply.temperatures[i]);
    for (size_t i = 0; i < supply.fans.size(); ++i) phy.adwFanSpeed[i] = OrNone(supply.fans[i]);
    phy.dwDutyCycle = MW_NO_VALUE;
    phy.dwFrequency = MW_NO_VALUE;
    phy.dwEnergyIn = MW_NO_VALUE;
    phy.dwEnergyOut = MW_NO_VALUE;
    phy.dwMfrVinMin = OrNone(supply.vin_min);
    phy.dwMfrVinMax = OrNone(supply.vin_max);
    phy.dwMfrIinMax = OrNone(supply.iin_max);
    phy.dwMfrPinMax = OrNone(supply.pin_max);
    phy.dwMfrVoutMin = OrNone(supply.vout_min);
    phy.dwMfrVoutMax = OrNone(supply.vout_max);
    phy.dwMfrIoutMax = OrNone(supply.iout_max);
    phy.dwMfrPoutMax = OrNone(supply.pout_max);
    phy.lMfrTambientMax = OrNone(supply.ambient_max);
    phy.dwCapability = MW_NO_VALUE;
    phy.dwRevision = MW_NO_VALUE;
    // Both readings are of one moment only nearly: a light load can seem to give more than it takes.
    const bool computable = supply.pin && supply.pout && *supply.pin > 0 && *supply.pout <= *supply.pin;
    phy.dwEfficiency =
        computable ? static_cast<uint32_t>(uint64_t{*supply.pout} * 1000 / *supply.pin) : MW_NO_VALUE;
    return phy;
}

PemBurnInfo ToBurnInfo(const PowerSupply &supply) {
    PemBurnInfo info{};
    info.dwRatedPower = supply.rated_power.value_or(0);
    info.dwInputType = supply.input_type;
    info.tPemProductInfo = ToText(supply.manufacturer);
    info.tPemProductSerNum = ToText(supply.serial);
    info.tPemProductPartNum = ToText(supply.part);
    info.tPemModelNam = ToText(supply.model);
    info.tPemRevision = ToText(supply.revision);
    return info;
}

void Update(const PowerSupply &supply, PemStatusInfo &status) {
    // What else is asserted of a supply that is there belongs to those who watch it.
    status.dwSensorState &= supply.present ? ~(MW_PEM_SENSOR_PRESENT | MW_PEM_SENSOR_INPUT_LOST) : 0;
    if (supply.present) status.dwSensorState |= MW_PEM_SENSOR_PRESENT;
    if (supply.present && supply.vin && *supply.vin == 0) status.dwSensorState |= MW_PEM_SENSOR_INPUT_LOST;
    status.dwOperatingState = !supply.present || !supply.online ? 0 : *supply.online != 0 ? 1 : 3;
    status.dwInputType = supply.input_type;
    status.dwInputVoltage = OrNone(supply.vin);
    status.dwInputCurrent = OrNone(supply.iin);
    status.dwInputPower = OrNone(supply.pin);
    status.dwOutputVoltage = OrNone(supply.vout);
    status.dwOutputCurrent = OrNone(supply.iout);
    status.dwOutputPower = OrNone(supply.pout);
    std::optional<int32_t> hottest;
    for (const auto &one : supply.temperatures) {
        if (one && (!hottest || *one > *hottest)) hottest = one;
    }
    status.lTemperature = OrNone(hottest);
    status.dwFanSpeed = OrNone(supply.fans[0]);
    status.dwStatusWord = MW_NO_VALUE;
    status.dwRatedPower = OrNone(supply.rated_power);
    Fill(status.acLocation, supply.location);
    Fill(status.acDate, supply.date);
}

}  // namespace collect
