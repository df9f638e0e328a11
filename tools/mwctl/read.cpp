#include "read.h"

#include <fmt/format.h>

#include <algorithm>

#include "area.h"
#include "console.h"
#include "text.h"

namespace mwctl {

std::string_view NameOf(const midware::Module &module) {
    const std::string_view source = module.source;
    return source.substr(0, source.find('/'));
}

std::string WhyItFailed(const Listen &listen, const midware::Module *core, bool no_area) {
    if (!no_area && !tools::AreaExists()) return tools::WhyNoArea();
    if (listen.HeardLockFailure()) {
        return core == nullptr ? "a semaphore was not had within 500 ms: see mwctl status"
                               : tools::WhyNotLocked(core->key);
    }
    if (listen.Heard("count over")) {
        return "the stored count is above the maximum: the owner of the records has to write them anew";
    }
    if (!listen.last().empty()) return "the library says: " + tools::Printable(listen.last());
    return no_area ? "the configuration file cannot be read" : "the library answered -1";
}

namespace {

// Whose semaphore the record is read under; NULL for a file.
const midware::Module *CoreOf(const Module &module, const Record &record) {
    if (record.no_area) return nullptr;
    return record.core != nullptr ? record.core : module.core;
}

}  // namespace

Reading Read(const Module &module, const Record &record) {
    // A list getter trusts the stored count but stays inside the area: that much room is always enough.
    static std::vector<uint64_t> room(MW_AREA_SIZE / sizeof(uint64_t));
    std::fill(room.begin(), room.end(), 0);

    Reading reading{.record = &record};
    Listen listen(Listen::Log::kQuiet);
    if ((!record.no_area && !tools::AreaExists()) || record.read(room.data(), reading.count) < 0) {
        reading.problem = WhyItFailed(listen, CoreOf(module, record), record.no_area);
        if (listen.HeardLockFailure()) reading.stuck = CoreOf(module, record);
        return reading;
    }
    const uint32_t shown = std::min(reading.count, std::max(record.capacity, 1u));
    const std::byte *bytes = reinterpret_cast<const std::byte *>(room.data());
    reading.bytes.assign(bytes, bytes + size_t{shown} * record.layout->size);
    const std::vector<std::string> names =
        record.names == nullptr ? std::vector<std::string>() : record.names();
    for (uint32_t i = 0; i < shown; ++i) {
        const std::byte *slot = reading.bytes.data() + size_t{i} * record.layout->size;
        if (record.used != nullptr && !record.used(slot)) continue;
        reading.slots.push_back({record.first_number + i, i < names.size() ? names[i] : std::string(), slot});
    }
    return reading;
}

ModuleReading Read(const Module &module, std::string_view option, const std::vector<ModuleReading> &before) {
    ModuleReading reading{.module = &module};
    const auto waited_for = [&](const midware::Module *core) {
        const Reading *found = nullptr;
        const auto look = [&](const ModuleReading &other) {
            for (const Reading &record : other.records) {
                if (core != nullptr && record.stuck == core) found = &record;
            }
        };
        std::for_each(before.begin(), before.end(), look);
        look(reading);
        return found;
    };
    for (const Record &record : module.records) {
        if (record.option != option) continue;
        const Reading *stuck = waited_for(CoreOf(module, record));
        Reading next = stuck == nullptr
                           ? Read(module, record)
                           : Reading{.record = &record, .problem = stuck->problem, .stuck = stuck->stuck};
        reading.records.push_back(std::move(next));
    }
    return reading;
}

}  // namespace mwctl
