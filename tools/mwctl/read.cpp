#include "read.h"

#include <algorithm>

#include <fmt/format.h>

#include "area.h"
#include "console.h"
#include "text.h"

namespace mwctl {

std::string WhyItFailed(const Listen &listen, const midware::Module *core, bool no_area) {
    if (!no_area && !tools::AreaExists()) return tools::WhyNoArea();
    if (listen.Heard("sem lock failed")) {
        return core == nullptr ? "a semaphore was not had within 500 ms: see mwctl status"
                               : tools::WhyNotLocked(core->key);
    }
    if (listen.Heard("count over")) return "the stored count is above the maximum: the records' owner must write them anew";
    if (!listen.last().empty()) return "the library says: " + tools::Printable(listen.last());
    return no_area ? "the configuration file cannot be read" : "the library answered -1";
}

Reading Read(const Module &module, const Record &record) {
    // A list getter trusts the stored count but stays inside the area: that much room is always enough.
    static std::vector<uint64_t> room(MW_AREA_SIZE / sizeof(uint64_t));
    std::fill(room.begin(), room.end(), 0);

    Reading reading{.record = &record};
    Listen listen(Listen::Log::kQuiet);
    if ((!record.no_area && !tools::AreaExists()) || record.read(room.data(), reading.count) < 0) {
        reading.problem = WhyItFailed(listen, record.core != nullptr ? record.core : module.core, record.no_area);
        return reading;
    }
    const uint32_t shown = std::min(reading.count, std::max(record.capacity, 1u));
    const std::byte *bytes = reinterpret_cast<const std::byte *>(room.data());
    reading.bytes.assign(bytes, bytes + size_t{shown} * record.layout->size);
    for (uint32_t i = 0; i < shown; ++i) {
        const std::byte *slot = reading.bytes.data() + size_t{i} * record.layout->size;
        if (record.used == nullptr || record.used(slot)) reading.slots.push_back({record.first_number + i, slot});
    }
    return reading;
}

ModuleReading Read(const Module &module) {
    ModuleReading reading{.module = &module};
    for (const Record &record : module.records) reading.records.push_back(Read(module, record));
    return reading;
}

}  // namespace mwctl
