// What more than one module needs: whole lists, IPMI event data as getters hand it out, entry by entry, and
// usage thresholds.
#ifndef MWCTL_MODULES_SHARED_H
#define MWCTL_MODULES_SHARED_H

#include <algorithm>
#include <vector>

#include "console.h"
#include "table.h"
#include "text.h"

namespace mwctl {

// All records that a list getter hands out, or none when it fails.
template <auto get>
auto ReadList(uint32_t capacity) {
    using T = std::remove_pointer_t<typename detail::FirstParameter<decltype(get)>::type>;
    static std::vector<T> room(MW_AREA_SIZE / sizeof(T));  // a list never reaches out of the area
    uint32_t count = 0;
    if (get(room.data(), &count) < 0) count = 0;
    return std::vector<T>(room.begin(), room.begin() + std::min(count, capacity));
}

// One text of each record, for the names of slots.
template <class T, size_t size>
std::vector<std::string> Texts(const std::vector<T> &records, char (T::*text)[size]) {
    std::vector<std::string> texts;
    for (const T &record : records) texts.emplace_back(tools::ArrayText(record.*text, size));
    return texts;
}

// The word that goes with a usage figure.
inline constexpr Code kValidity[] = {{0, "not valid"}, {MW_VALID_FLAG, "valid"}};

struct SelEvent {
    uint32_t dwInstance;
    char acName[64];  // of the instance
    uint32_t dwEventOffset;
    uint8_t aucEventData[3];
    uint8_t aucPad[1];
};

// clang-format off
MW_RECORD(SelEvent,
          MW_FIELD(dwInstance, "instance"),
          MW_FIELD(acName, "name"),
          MW_FIELD(dwEventOffset, "event offset"),
          MW_FIELD(aucEventData, "event data").Event(),
          MW_FIELD(aucPad, ""));
// clang-format on

inline constexpr uint32_t kEventOffsets = 16;

// Copies a name into a field of a view, cut to fit.
template <size_t size>
void PutName(char (&field)[size], std::string_view name) {
    std::memset(field, 0, size);
    name.copy(field, size - 1);
}

// Appends the entries of one instance that hold anything: `get`(offset, data) reads the three bytes of an
// offset, and fails where there is none. -1 when it failed because the semaphore was not had.
template <class Get>
int32_t AppendEvents(uint32_t instance, std::string_view name, const Get &get, SelEvent *events,
                     uint32_t &count) {
    for (uint32_t offset = 0; offset < kEventOffsets; ++offset) {
        uint8_t data[3] = {static_cast<uint8_t>(offset), 0, 0};
        if (get(offset, data) < 0) {
            if (Listen::Current()->HeardLockFailure()) return -1;
            continue;
        }
        if (data[0] == offset && data[1] == 0 && data[2] == 0) continue;
        SelEvent &event = events[count++];
        event = {instance, {}, offset, {data[0], data[1], data[2]}, {}};
        PutName(event.acName, name);
    }
    return 0;
}

// What happened: the event offsets are in the order of the states of the alarm record, which begin behind its
// first word.
template <class Alarms>
void NameEvent(const SelEvent &event, std::vector<Note> &notes) {
    for (const Field &field : Described<Alarms>::kFields) {
        if (field.offset != sizeof(uint32_t) + event.dwEventOffset) continue;
        if (field.kind == Kind::kState || field.kind == Kind::kSwitch) {
            notes.push_back({"event", "event", std::string(field.label)});
        }
    }
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
