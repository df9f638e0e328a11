// Inlet temperatures and the temperature of the platform controller hub.
#ifndef MWCOLLECT_BOARD_H
#define MWCOLLECT_BOARD_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host.h"
#include "midware/board.h"

namespace collect {

struct InletSensor {
    std::string key;    // what makes it the same sensor in the next round
    std::string name;   // its label
    int32_t milli = 0;  // millidegrees Celsius
    std::optional<int32_t> high, critical, low, critical_low;  // degrees Celsius
};

struct BoardReadings {
    std::vector<InletSensor> inlets;  // all that there are
    std::optional<uint32_t> pch;      // degrees Celsius, 1 to MW_PCH_TEMP_MAX
};

BoardReadings FindBoardReadings(const Host &host);

InletTempReading ToInletTempReading(const InletSensor &sensor, uint32_t index);

}  // namespace collect

#endif
