// Tables of SEL assertion event data: entries of the three IPMI event-data bytes, each found by the event offset in the
// low nibble of its first byte. Of two entries with the same offset the first one counts.
#ifndef HOV_SEL_H
#define HOV_SEL_H

#include <cstdint>

#include "hov_slibc.h"

namespace midware {

inline constexpr uint32_t kEventDataSize = 3;
inline constexpr uint32_t kEventEntries = 15;

inline uint8_t *FindEventData(uint8_t *table, uint32_t event_data1) {
    for (uint8_t *entry = table; entry != table + kEventEntries * kEventDataSize; entry += kEventDataSize) {
        if ((entry[0] & 0xFu) == (event_data1 & 0xFu)) return entry;
    }
    return nullptr;
}

// Replaces the entry that the lowest byte of `packed` names by its three low bytes, the lowest first.
inline bool StoreEventData(uint8_t *table, uint32_t packed) {
    uint8_t *entry = FindEventData(table, packed);
    if (entry == nullptr) return false;
    const uint8_t data[kEventDataSize] = {static_cast<uint8_t>(packed), static_cast<uint8_t>(packed >> 8),
                                          static_cast<uint8_t>(packed >> 16)};
    hov_memcpy_s(entry, kEventDataSize, data, kEventDataSize);
    return true;
}

inline bool LoadEventData(uint8_t *table, uint32_t event_data1, uint8_t *to) {
    const uint8_t *entry = FindEventData(table, event_data1);
    if (entry == nullptr) return false;
    hov_memcpy_s(to, kEventDataSize, entry, kEventDataSize);
    return true;
}

}  // namespace midware

#endif
