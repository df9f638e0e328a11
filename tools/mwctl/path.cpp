#include "path.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "source.h"
#include "text.h"

namespace mwctl {
namespace {

struct Step {
    std::string_view name;
    std::optional<uint32_t> number;
};

std::optional<Step> StepOf(std::string_view text) {
    const size_t bracket = text.find('[');
    Step step{text.substr(0, bracket), {}};
    if (bracket != text.npos) {
        if (!text.ends_with(']')) return std::nullopt;
        const auto number = tools::ParseNumber(text.substr(bracket + 1, text.size() - bracket - 2));
        if (!number || *number > UINT32_MAX) return std::nullopt;
        step.number = static_cast<uint32_t>(*number);
    }
    if (step.name.empty()) return std::nullopt;
    return step;
}

// Where the names of a path lead.
struct Way {
    std::string problem{};
    const Module *module = nullptr;
    const Record *record = nullptr;  // NULL: the area
    std::optional<uint32_t> slot{};
    struct Member {
        const Field *field;
        std::optional<uint32_t> element;
    };
    std::vector<Member> members{};
};

std::string NoSuch(std::string_view what, std::string_view name, std::string_view where,
                   const std::vector<std::string_view> &names) {
    const std::string begin = fmt::format("there is no {} '{}' in {}", what, name, where);
    const auto nearest =
        std::ranges::min_element(names, {}, [&](auto known) { return tools::Distance(name, known); });
    if (nearest != names.end() && tools::Distance(name, *nearest) <= 1 + name.size() / 4) {
        return fmt::format("{}; there is {}", begin, *nearest);
    }
    return fmt::format("{}; there are {}", begin, fmt::join(names, ", "));
}

std::string NoSuchNumber(std::string_view what, uint32_t number, uint32_t first, uint32_t count) {
    if (count == 0) return fmt::format("{} is no list, and has no [{}]", what, number);
    return fmt::format("{}: the numbers are {} to {}, not {}", what, first, first + count - 1, number);
}

bool FindRecord(Way &way, const Step &step) {
    const auto &records = way.module->records;
    const auto found = std::ranges::find(records, step.name, &Record::name);
    uint32_t first = 0, capacity = 0;
    if (found != records.end()) {
        way.record = &*found;
        first = found->first_number;
        capacity = found->capacity;
    } else if (step.name != kAreaRecord || way.module->area == nullptr) {
        std::vector<std::string_view> names;
        for (const Record &record : records) names.push_back(record.name);
        if (way.module->area != nullptr) names.push_back(kAreaRecord);
        way.problem = NoSuch("record", step.name, way.module->name, names);
        return false;
    }
    way.slot = step.number;
    if (!step.number || (*step.number >= first && *step.number - first < capacity)) return true;
    way.problem =
        NoSuchNumber(fmt::format("{}.{}", way.module->name, step.name), *step.number, first, capacity);
    return false;
}

bool FindMember(Way &way, const Layout &layout, const Step &step) {
    const auto found = std::ranges::find(layout.fields, step.name, &Field::name);
    if (found == layout.fields.end()) {
        std::vector<std::string_view> names;
        for (const Field &field : layout.fields) {
            if (!field.name.empty()) names.push_back(field.name);
        }
        way.problem = NoSuch("field", step.name, layout.name, names);
    } else if (step.number && *step.number >= found->count) {
        way.problem = NoSuchNumber(step.name, *step.number, 0, found->count);
    }
    if (!way.problem.empty()) return false;
    way.members.push_back({&*found, step.number});
    return true;
}

// A record that is read field by field has only those that a function reads.
bool IsRead(Way &way) {
    if (way.record == nullptr || way.members.empty()) return true;
    const Field &field = *way.members.front().field;
    const Chosen chosen = way.record->chosen;
    const bool read = chosen == Chosen::kAll || (chosen == Chosen::kWithGetter && field.getter != nullptr) ||
                      (chosen == Chosen::kWithSlotGetter && field.slot_getter != nullptr);
    if (!read) {
        way.problem =
            fmt::format("no function reads {} alone; see {}.{}", field.name, way.module->name, kAreaRecord);
    }
    return read;
}

Way Follow(std::string_view path) {
    Way way;
    std::vector<Step> steps;
    for (size_t from = 0; from <= path.size();) {
        const size_t dot = std::min(path.find('.', from), path.size());
        const std::optional<Step> step = StepOf(path.substr(from, dot - from));
        if (!step) {
            way.problem = fmt::format("'{}' is no path; one is like memory.temperatures[0].iTemp", path);
            return way;
        }
        steps.push_back(*step);
        from = dot + 1;
    }
    way.module = FindModule(steps[0].name);
    if (way.module == nullptr) {
        std::vector<std::string_view> names;
        for (const Module &module : Modules()) names.push_back(module.name);
        way.problem =
            fmt::format("there is no module '{}'; there are {}", steps[0].name, fmt::join(names, ", "));
        return way;
    }
    if (steps[0].number) {
        way.problem = NoSuchNumber(steps[0].name, *steps[0].number, 0, 0);
        return way;
    }
    if (steps.size() == 1 || !FindRecord(way, steps[1])) return way;
    const Layout *layout = way.record != nullptr ? way.record->layout : way.module->area;
    for (size_t i = 2; i < steps.size(); ++i) {
        if (layout == nullptr) {
            way.problem =
                fmt::format("{} is a single value and has no field '{}'", steps[i - 1].name, steps[i].name);
            return way;
        }
        if (!FindMember(way, *layout, steps[i])) return way;
        layout = way.members.back().field->layout;
    }
    (void)IsRead(way);
    return way;
}

void Collect(std::span<const Way::Member> members, const std::string &path, const std::byte *bytes,
             uint32_t offset, std::vector<Place> &places) {
    const Way::Member &next = members.front();
    const Field &field = *next.field;
    if (members.size() == 1) return places.push_back(PlaceOf(path, field, bytes, offset, next.element));
    const auto descend = [&](std::optional<uint32_t> element) {
        const Place place = PlaceOf(path, field, bytes, offset, element);
        Collect(members.subspan(1), place.path, place.begin(), place.offset, places);
    };
    if (field.count == 0 || next.element) return descend(next.element);
    for (uint32_t i = 0; i < field.count; ++i) descend(i);
}

// The pseudo-record of a module's area.
const Record &AreaRecordOf(const Module &module) {
    static std::map<const Module *, Record> records;
    return records.try_emplace(&module, Record{kAreaRecord, "As stored", module.area, 0, nullptr})
        .first->second;
}

Reading ReadArea(const Module &module) {
    Reading reading{
        .record = &AreaRecordOf(module), .bytes = std::vector<std::byte>(module.core->size), .count = 1};
    reading.problem = CopyOut(*module.core, reading.bytes);
    if (reading.problem.empty()) reading.slots.push_back({0, {}, reading.bytes.data()});
    return reading;
}

}  // namespace

Place PlaceOf(const std::string &path, const Field &field, const std::byte *bytes, uint32_t offset,
              std::optional<uint32_t> element) {
    const uint32_t begin = offset + field.offset + element.value_or(0) * field.width;
    const std::string name = field.name.empty() ? fmt::format("@{}", field.offset) : std::string(field.name);
    const std::string number = element ? fmt::format("[{}]", *element) : "";
    return {fmt::format("{}.{}{}", path, name, number), &field, bytes, element, begin};
}

std::string CheckPath(std::string_view path) { return Follow(path).problem; }

PathReading ReadPath(std::string_view path) {
    const Way way = Follow(path);
    PathReading result{.path = std::string(path), .reading = {.module = way.module}};
    std::vector<Reading> &records = result.reading.records;
    records.push_back(way.record == nullptr ? ReadArea(*way.module) : Read(*way.module, *way.record));
    Reading &reading = records.front();
    result.whole = way.members.empty();
    result.slot_named = way.slot.has_value();
    result.problem = reading.problem;
    if (!result.problem.empty()) return result;
    if (way.slot) {
        std::erase_if(reading.slots, [&](const Slot &slot) { return slot.number != *way.slot; });
        if (reading.slots.empty()) result.problem = "the slot is not in use";
    }
    if (result.whole) return result;
    for (const Slot &slot : reading.slots) {
        const auto offset = static_cast<uint32_t>(slot.bytes - reading.bytes.data());
        Collect(way.members, PathOf(result, slot), slot.bytes, offset, result.places);
    }
    return result;
}

std::string PathOf(const PathReading &reading, const Slot &slot) {
    const Record &record = *reading.reading.records.front().record;
    std::string path = fmt::format("{}.{}", reading.reading.module->name, record.name);
    if (record.capacity != 0) path += fmt::format("[{}]", slot.number);
    return path;
}

Place ElementOf(const Place &array, uint32_t element) {
    return {fmt::format("{}[{}]", array.path, element), array.field, array.bytes, element,
            array.offset + element * array.field->width};
}

void ForEachValue(const Place &part, const Visit &visit, const Enter &enter) {
    const Field &field = *part.field;
    if (field.count != 0 && !part.element) {
        if (enter && !enter(part)) return;
        for (uint32_t i = 0; i < field.count; ++i) ForEachValue(ElementOf(part, i), visit, enter);
    } else if (field.layout != nullptr) {
        if (enter && !enter(part)) return;
        ForEachValue(part.path, *field.layout, part.begin(), part.offset, visit, enter);
    } else {
        visit(part);
    }
}

void ForEachValue(const std::string &path, const Layout &layout, const std::byte *bytes, uint32_t offset,
                  const Visit &visit, const Enter &enter) {
    for (const Field &field : layout.fields) {
        ForEachValue(PlaceOf(path, field, bytes, offset, {}), visit, enter);
    }
}

}  // namespace mwctl
