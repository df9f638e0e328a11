// Power supplies: hwmon chips of PMBus supplies, those that SMBIOS describes (type 39), and the kernel's
// power_supply class.
#ifndef MWCOLLECT_PEM_H
#define MWCOLLECT_PEM_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host.h"
#include "hwmon.h"
#include "midware/pem.h"
#include "smbios.h"

namespace collect {

using Reading = std::optional<uint32_t>;

struct PowerSupply {
    std::string key;  // what makes it the same supply in the next round
    bool present = true;
    std::string location;
    std::string manufacturer;
    std::string model;
    std::string serial;
    std::string part;
    std::string revision;
    std::string date;
    uint32_t input_type = MW_PEM_INPUT_UNKNOWN;
    Reading rated_power;  // W
    Reading online;       // whether it delivers power, or has an input
    Reading bus;
    Reading address;
    bool measured = false;                               // it has a source of readings
    Reading vin, iin, pin, vcap, vout, iout, pout;       // mV, mA, mW
    std::array<std::optional<int32_t>, 3> temperatures;  // millidegrees Celsius
    std::array<Reading, 4> fans;                         // revolutions a minute
    Reading vin_min, vin_max, iin_max, pin_max, vout_min, vout_max, iout_max, pout_max;  // rated
    std::optional<int32_t> ambient_max;
};

// Whether a chip is a supply on the PMBus and not, say, the voltage regulator of a processor.
bool IsPowerSupply(const Host &host, const HwmonChip &chip);

// One SMBIOS type 39 structure.
PowerSupply ToPowerSupply(const SmbiosStructure &structure);

// All supplies, empty bays that SMBIOS describes included.
std::vector<PowerSupply> FindPowerSupplies(const Host &host);

PemOnlinePhy ToOnlinePhy(const PowerSupply &supply, uint32_t number);
PemPmbusPhy ToPmbusPhy(const PowerSupply &supply, uint32_t number);
PemBurnInfo ToBurnInfo(const PowerSupply &supply);

// Adds what is known of a supply to its stored status; counters, health and the like stay.
void Update(const PowerSupply &supply, PemStatusInfo &status);

}  // namespace collect

#endif
