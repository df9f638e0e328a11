#include "walk.h"

#include <fmt/format.h>

#include <algorithm>

#include "area.h"
#include "value.h"

namespace mwctl {

std::string PathOf(const Module &module, const Record &record, uint32_t slot) {
    std::string path = fmt::format("{}.{}", module.name, record.name);
    if (record.capacity != 0) path += fmt::format("[{}]", slot);
    return path;
}

std::string PathOf(std::string_view record, const Field &field, uint32_t index) {
    std::string path = field.name.empty() ? fmt::format("{}.@{}", record, field.offset)
                                          : fmt::format("{}.{}", record, field.name);
    if (field.count != 0) path += fmt::format("[{}]", index);
    return path;
}

void Walk(const Layout &layout, const std::byte *bytes, Chosen chosen, const std::string &path,
          std::string_view name, const std::function<void(const Value &)> &visit) {
    for (const Field &field : layout.fields) {
        if (!field.naming || TextAt(field, bytes).empty()) continue;
        name = TextAt(field, bytes);
        break;
    }
    for (const Field &field : layout.fields) {
        if (!IsShown(field, bytes, chosen)) continue;
        const uint32_t used = field.count == 0 ? 1 : ElementsInUse(field, bytes);
        for (uint32_t i = 0; i < used; ++i) {
            std::string inner = PathOf(path, field, i);
            if (field.kind == Kind::kRecord) {
                Walk(*field.layout, ElementAt(field, bytes, i), Chosen::kAll, inner, name, visit);
            } else {
                visit({field, bytes, i, std::move(inner), name});
            }
        }
    }
}

void Walk(const Module &module, const Reading &reading, const std::function<void(const Value &)> &visit) {
    for (const Slot &slot : reading.slots) {
        Walk(*reading.record->layout, slot.bytes, reading.record->chosen,
             PathOf(module, *reading.record, slot.number), slot.name, visit);
    }
}

int64_t CountOf(const Reading &reading) {
    if (reading.record->capacity != 0) return static_cast<int64_t>(reading.slots.size());
    int64_t count = -1;
    for (const Field &field : reading.record->layout->fields) {
        if (field.kind != Kind::kRecord || field.counted_by < 0 || reading.slots.empty()) continue;
        if (!IsShown(field, reading.slots.front().bytes, reading.record->chosen)) continue;
        count = std::max<int64_t>(count, 0) + ElementsInUse(field, reading.slots.front().bytes);
    }
    return count;
}

std::vector<ModuleReading> Rounds::Next() {
    std::vector<ModuleReading> readings(1);  // first what is known to be stuck
    std::erase_if(stuck_, [](const auto &entry) {
        const OalSemStatus status = tools::SemStatus(entry.first->key);
        return status.held == 0 || status.taken != entry.second.turn;
    });
    for (const auto &[core, stuck] : stuck_) readings[0].records.push_back(stuck.reading);
    for (const Module *module : modules_) readings.push_back(Read(*module, {}, readings));
    for (size_t i = 1; i < readings.size(); ++i) {
        for (const Reading &reading : readings[i].records) {
            if (reading.stuck == nullptr || stuck_.contains(reading.stuck)) continue;
            stuck_[reading.stuck] = {tools::SemStatus(reading.stuck->key).taken, reading};
        }
    }
    readings.erase(readings.begin());
    return readings;
}

}  // namespace mwctl
