#include <nlohmann/json.hpp>

#include "value.h"
#include "views.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const Layout &layout, const std::byte *bytes, Chosen chosen);

Json Element(const Field &field, const std::byte *bytes, uint32_t index) {
    if (HasNoValue(field, bytes, index)) return nullptr;
    switch (field.kind) {
        case Kind::kSigned:
            return SignedAt(field, bytes, index);
        case Kind::kFloat:
            return FloatAt(field, bytes, index);
        case Kind::kText:
            return std::string(TextAt(field, bytes, index));
        case Kind::kBytes:
        case Kind::kEvent:
            return HexAt(field, bytes, index, "");
        case Kind::kRecord:
            return ToJson(*field.layout, ElementAt(field, bytes, index), Chosen::kAll);
        case Kind::kUnsigned:
        case Kind::kCode:
        case Kind::kFlags:
        case Kind::kSwitch:
        case Kind::kState:
            break;
    }
    return UnsignedAt(field, bytes, index);
}

Json Value(const Field &field, const std::byte *bytes) {
    if (field.count == 0) return Element(field, bytes, 0);
    Json list = Json::array();
    for (uint32_t i = 0; i < ElementsInUse(field, bytes); ++i) list.push_back(Element(field, bytes, i));
    return list;
}

// What the numbers of a record mean.
Json Decoded(const Layout &layout, const std::byte *bytes, Chosen chosen) {
    Json decoded = Json::object();
    Json asserted = Json::array();
    bool has_states = false;
    for (const Field &field : layout.fields) {
        if (!IsShown(field, bytes, chosen)) continue;
        if (field.IsState()) {
            has_states = true;
            for (uint32_t i = 0; i < std::max(field.count, 1u); ++i) {
                if (UnsignedAt(field, bytes, i) == 0) continue;
                asserted.push_back(std::string(field.count == 0 ? field.name : CodeName(field, i)));
            }
        } else if (field.kind == Kind::kFlags && field.count == 0) {
            decoded[std::string(field.name)] = FlagNames(field, UnsignedAt(field, bytes));
        } else if (field.kind == Kind::kCode) {
            Json names = Json::array();
            for (uint32_t i = 0; i < std::max(field.count, 1u); ++i) {
                const std::string_view name = CodeName(field, UnsignedAt(field, bytes, i));
                names.push_back(name.empty() ? Json(nullptr) : Json(std::string(name)));
            }
            decoded[std::string(field.name)] = field.count == 0 ? names[0] : names;
        }
    }
    if (has_states) decoded["asserted"] = asserted;
    return decoded;
}

Json ToJson(const Layout &layout, const std::byte *bytes, Chosen chosen) {
    Json json = Json::object();
    for (const Field &field : layout.fields) {
        if (field.name.empty() || !IsShown(field, bytes, chosen)) continue;
        json[std::string(field.name)] = Value(field, bytes);
    }
    Json decoded = Decoded(layout, bytes, chosen);
    if (!decoded.empty()) json["decoded"] = std::move(decoded);
    return json;
}

Json ToJson(const Record &record, const Slot &slot) {
    Json json = Json::object();
    if (record.capacity != 0) json["slot"] = slot.number;
    if (!slot.name.empty()) json["name"] = slot.name;
    json.update(ToJson(*record.layout, slot.bytes, record.chosen));
    if (record.notes != nullptr) {
        std::vector<Note> notes;
        record.notes(slot.bytes, notes);
        for (Note &note : notes) json["decoded"][note.name] = std::move(note.text);
    }
    return json;
}

}  // namespace

nlohmann::ordered_json ToJson(const Reading &reading) {
    if (!reading.problem.empty()) return nullptr;
    if (reading.record->capacity == 0) {
        return reading.slots.empty() ? Json(nullptr) : ToJson(*reading.record, reading.slots.front());
    }
    Json list = Json::array();
    for (const Slot &slot : reading.slots) list.push_back(ToJson(*reading.record, slot));
    return list;
}

nlohmann::ordered_json ToJson(const Field &field, const std::byte *bytes, std::optional<uint32_t> element) {
    if (field.count == 0 || element) return Element(field, bytes, element.value_or(0));
    Json list = Json::array();
    for (uint32_t i = 0; i < field.count; ++i) list.push_back(Element(field, bytes, i));
    return list;
}

nlohmann::ordered_json ToJson(const Layout &layout, const std::byte *bytes) {
    return ToJson(layout, bytes, Chosen::kAll);
}

nlohmann::ordered_json ToJson(const ModuleReading &reading) {
    Json json = Json::object();
    for (const Reading &record : reading.records) json[std::string(record.record->name)] = ToJson(record);
    return json;
}

std::string DocumentLine(const Json &json) {
    return json.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

std::string Document(const nlohmann::ordered_json &json) {
    return json.dump(2, ' ', true, Json::error_handler_t::replace) + '\n';
}

}  // namespace mwctl
