// Records of more than one module: IPMI event data as getters hand it out, entry by entry, and usage
// thresholds.
#ifndef MWCTL_MODULES_SHARED_H
#define MWCTL_MODULES_SHARED_H

#include "console.h"
#include "table.h"

namespace mwctl {

// The word that goes with a usage figure.
inline constexpr Code kValidity[] = {{0, "not valid"}, {MW_VALID_FLAG, "valid"}};

struct SelEvent {
    uint32_t dwInstance;
    uint32_t dwEventOffset;
    uint8_t aucEventData[3];
    uint8_t aucPad[1];
};

// clang-format off
MW_RECORD(SelEvent,
          MW_FIELD(dwInstance, "instance"),
          MW_FIELD(dwEventOffset, "event offset"),
          MW_FIELD(aucEventData, "event data").Event(),
          MW_FIELD(aucPad, ""));
// clang-format on

inline constexpr uint32_t kEventOffsets = 16;

// Appends the entries of one instance that hold anything: `get`(offset, data) reads the three bytes of an
// offset, and fails where there is none. -1 when it failed because the semaphore was not had.
template <class Get>
int32_t AppendEvents(uint32_t instance, const Get &get, SelEvent *events, uint32_t &count) {
    for (uint32_t offset = 0; offset < kEventOffsets; ++offset) {
        uint8_t data[3] = {static_cast<uint8_t>(offset), 0, 0};
        if (get(offset, data) < 0) {
            if (Listen::Current()->HeardLockFailure()) return -1;
            continue;
        }
        if (data[0] == offset && data[1] == 0 && data[2] == 0) continue;
        events[count++] = {instance, offset, {data[0], data[1], data[2]}, {}};
    }
    return 0;
}

// A usage threshold of the configuration file.
struct UsageThreshold {
    uint32_t dwThreshold;
    uint32_t dwHysteresis;
};

MW_RECORD(UsageThreshold, MW_FIELD(dwThreshold, "threshold").Unit("%"),
          MW_FIELD(dwHysteresis, "hysteresis").Unit("%"));

}  // namespace mwctl

#endif
