#include "fill.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "text.h"
#include "value.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

std::string NumbersOf(uint32_t width, bool is_signed) {
    const uint64_t most = ~uint64_t{0} >> (64 - 8 * width);
    if (!is_signed) return fmt::format("a number from 0 to {}", most);
    return fmt::format("a number from {} to {}", -static_cast<int64_t>(most / 2) - 1, most / 2);
}

// What a complaint shows of a value.
std::string Quoted(std::string_view text) {
    constexpr size_t kMost = 40;
    return fmt::format("'{}{}'", tools::Printable(text.substr(0, kMost)), text.size() > kMost ? "..." : "");
}

std::string Shown(const Json &json) {
    return Quoted(json.is_string() ? json.get_ref<const std::string &>()
                                   : json.dump(-1, ' ', true, Json::error_handler_t::replace));
}

[[noreturn]] void Refuse(const std::string &path, std::string_view wanted, const Json &json) {
    throw Unfit(fmt::format("{} is {}, not {}", path, wanted, Shown(json)));
}

uint64_t Integer(const Field &field, const Json &json, const std::string &path) {
    const bool is_signed = field.kind == Kind::kSigned;
    if (!json.is_number_integer()) Refuse(path, NumbersOf(field.width, is_signed), json);
    return ParseNumber(json.dump(), field.width, is_signed, path);
}

void SetFloat(const Field &field, const Json &json, std::byte *at, const std::string &path) {
    if (!json.is_number()) Refuse(path, "a number", json);
    const double value = json.get<double>();
    if (field.width == sizeof(double)) {
        std::memcpy(at, &value, sizeof value);
        return;
    }
    if (std::abs(value) > static_cast<double>(std::numeric_limits<float>::max())) {
        Refuse(path, "a number that 4 bytes can hold", json);
    }
    const float narrow = static_cast<float>(value);
    std::memcpy(at, &narrow, sizeof narrow);
}

void SetElement(const Field &field, const Json &json, std::byte *at, const std::string &path) {
    if (json.is_null() && field.no_value) {
        std::memcpy(at, &field.absent, std::min<size_t>(field.width, sizeof field.absent));
        return;
    }
    switch (field.kind) {
        case Kind::kRecord:
            Fill(*field.layout, json, at, path);
            return;
        case Kind::kFloat:
            SetFloat(field, json, at, path);
            return;
        case Kind::kText: {
            if (!json.is_string()) Refuse(path, "a text", json);
            const std::string &text = json.get_ref<const std::string &>();
            if (text.size() > field.width) {
                throw Unfit(
                    fmt::format("{} has at most {} bytes; this one has {}", path, field.width, text.size()));
            }
            text.copy(reinterpret_cast<char *>(at), text.size());
            return;
        }
        case Kind::kBytes:
        case Kind::kEvent: {
            if (!json.is_string()) Refuse(path, fmt::format("{} bytes in hexadecimal", field.width), json);
            const std::vector<std::byte> bytes = ParseHex(json.get_ref<const std::string &>(), path);
            if (bytes.size() != field.width) {
                throw Unfit(fmt::format("{} has {} bytes; this one has {}", path, field.width, bytes.size()));
            }
            std::memcpy(at, bytes.data(), bytes.size());
            return;
        }
        case Kind::kUnsigned:
        case Kind::kSigned:
        case Kind::kCode:
        case Kind::kFlags:
        case Kind::kSwitch:
        case Kind::kState:
            break;
    }
    const uint64_t value = Integer(field, json, path);
    std::memcpy(at, &value, field.width);
}

void SetField(const Field &field, const Json &json, std::byte *at, const std::string &path) {
    if (field.count == 0) {
        SetElement(field, json, at, path);
        return;
    }
    if (!json.is_array()) Refuse(path, fmt::format("an array of at most {}", field.count), json);
    if (json.size() > field.count) {
        throw Unfit(
            fmt::format("{} has at most {} elements; this one has {}", path, field.count, json.size()));
    }
    for (uint32_t i = 0; i < json.size(); ++i) {
        SetElement(field, json[i], at + size_t{i} * field.width, fmt::format("{}[{}]", path, i));
    }
}

std::string NamesOf(const Layout &layout) {
    std::string names;
    for (const Field &field : layout.fields) {
        if (!field.name.empty()) names += (names.empty() ? "" : ", ") + std::string(field.name);
    }
    return names;
}

}  // namespace

void Fill(const Layout &layout, const Json &json, std::byte *bytes, const std::string &path) {
    if (!json.is_object()) Refuse(path, fmt::format("an object, a {}", layout.name), json);
    for (const auto &[key, value] : json.items()) {
        const auto field =
            std::ranges::find_if(layout.fields, [&name = key](const Field &f) { return f.name == name; });
        if (field != layout.fields.end() && !key.empty()) {
            SetField(*field, value, bytes + field->offset, path + "." + key);
        } else if (key != "decoded") {
            throw Unfit(fmt::format("{}: a {} has no field {}; it has {}", path, layout.name, Quoted(key),
                                    NamesOf(layout)));
        }
    }
}

Json ParseJson(std::string_view text, const std::string &path) {
    try {
        return Json::parse(text);
    } catch (const Json::parse_error &error) {
        throw Unfit(fmt::format("{} is no JSON: there is something wrong at byte {}", path, error.byte));
    }
}

std::vector<std::byte> ParseHex(std::string_view text, const std::string &path) {
    std::vector<std::byte> bytes;
    std::string pair;
    for (const char c : text) {
        if (pair.empty() && (c == ' ' || c == '\n' || c == '\r' || c == '\t')) continue;
        pair += c;
        if (pair.size() < 2) continue;
        const auto value = tools::ParseNumber("0x" + pair);
        if (!value) break;
        bytes.push_back(static_cast<std::byte>(*value));
        pair.clear();
    }
    if (!pair.empty()) {
        throw Unfit(
            fmt::format("{} is bytes in hexadecimal, two digits each, unlike {}", path, Quoted(pair)));
    }
    return bytes;
}

uint64_t ParseNumber(std::string_view text, uint32_t width, bool is_signed, const std::string &what) {
    const uint64_t most = ~uint64_t{0} >> (64 - 8 * width);
    const bool negative = is_signed && text.starts_with('-');
    const auto number = tools::ParseNumber(negative ? text.substr(1) : text);
    if (number && negative && *number <= most / 2 + 1) return ~*number + 1;
    if (number && !negative && *number <= (is_signed ? most / 2 : most)) return *number;
    throw Unfit(fmt::format("{} is {}, not {}", what, NumbersOf(width, is_signed), Quoted(text)));
}

}  // namespace mwctl
