#include "value.h"

#include <fmt/format.h>

#include <algorithm>

#include "text.h"

namespace mwctl {
namespace {

// A whole number divided by ten to this power: -1234 and 3 make "-1.234".
std::string Scaled(int64_t value, uint8_t decimals) {
    if (decimals == 0) return fmt::format("{}", value);
    std::string digits = fmt::format("{:0{}}", value < 0 ? -value : value, decimals + 1);
    digits.insert(digits.size() - decimals, ".");
    return (value < 0 ? "-" : "") + digits;
}

}  // namespace

const std::byte *ElementAt(const Field &field, const std::byte *bytes, uint32_t index) {
    return bytes + field.offset + size_t{index} * field.width;
}

// The records are little-endian, and so is every machine that shares them.
uint64_t UnsignedAt(const Field &field, const std::byte *bytes, uint32_t index) {
    uint64_t value = 0;
    std::memcpy(&value, ElementAt(field, bytes, index), std::min<size_t>(field.width, sizeof value));
    return value;
}

int64_t SignedAt(const Field &field, const std::byte *bytes, uint32_t index) {
    const uint64_t value = UnsignedAt(field, bytes, index);
    switch (field.width) {
        case 1:
            return static_cast<int8_t>(value);
        case 2:
            return static_cast<int16_t>(value);
        case 4:
            return static_cast<int32_t>(value);
        default:
            return static_cast<int64_t>(value);
    }
}

double FloatAt(const Field &field, const std::byte *bytes, uint32_t index) {
    if (field.width == sizeof(double)) {
        double value;
        std::memcpy(&value, ElementAt(field, bytes, index), sizeof value);
        return value;
    }
    float value;
    std::memcpy(&value, ElementAt(field, bytes, index), sizeof value);
    return value;
}

std::string_view TextAt(const Field &field, const std::byte *bytes, uint32_t index) {
    return tools::ArrayText(ElementAt(field, bytes, index), field.width);
}

std::string HexAt(const Field &field, const std::byte *bytes, uint32_t index, const char *between) {
    const auto *first = reinterpret_cast<const uint8_t *>(ElementAt(field, bytes, index));
    return fmt::format("{:02x}", fmt::join(first, first + field.width, between));
}

std::string ValueText(const Field &field, const std::byte *bytes, uint32_t index) {
    if (HasNoValue(field, bytes, index)) return "no value";
    const uint64_t value = UnsignedAt(field, bytes, index);
    const auto number = [&] {
        if (field.hex) return fmt::format("0x{:0{}x}", value, 2 * field.width);
        return field.decimals == 0 ? fmt::format("{}", value)
                                   : Scaled(static_cast<int64_t>(value), field.decimals);
    };
    std::string text;
    switch (field.kind) {
        case Kind::kUnsigned:
            text = number();
            break;
        case Kind::kSigned:
            text = Scaled(SignedAt(field, bytes, index), field.decimals);
            break;
        case Kind::kFloat:
            text = fmt::format("{:.6g}", FloatAt(field, bytes, index));
            break;
        case Kind::kText:
            return tools::Printable(TextAt(field, bytes, index));
        case Kind::kBytes:
        case Kind::kEvent:
            return HexAt(field, bytes, index, " ");
        case Kind::kCode: {
            const std::string_view name = CodeName(field, value);
            return name.empty() ? number() : fmt::format("{} ({})", name, number());
        }
        case Kind::kFlags: {
            const std::vector<std::string> names = FlagNames(field, value);
            return names.empty() ? fmt::format("0x{:x}", value)
                                 : fmt::format("{} (0x{:x})", fmt::join(names, ", "), value);
        }
        case Kind::kSwitch:
        case Kind::kState:
            return value == 0 ? "no" : value == 1 ? "yes" : number();
        case Kind::kRecord:
            break;
    }
    return field.unit.empty() ? text : fmt::format("{} {}", text, field.unit);
}

bool IsZero(const std::byte *bytes, size_t size) {
    return std::all_of(bytes, bytes + size, [](std::byte b) { return b == std::byte{0}; });
}

bool IsZero(const Field &field, const std::byte *bytes) { return IsZero(bytes + field.offset, field.size()); }

bool HasNoValue(const Field &field, const std::byte *bytes, uint32_t index) {
    return field.no_value && UnsignedAt(field, bytes, index) == field.absent;
}

bool IsShown(const Field &field, const std::byte *bytes, Chosen chosen) {
    if (chosen == Chosen::kWithGetter && field.getter == nullptr) return false;
    if (chosen == Chosen::kWithSlotGetter && field.slot_getter == nullptr) return false;
    return !field.reserved || !IsZero(field, bytes);
}

uint32_t ElementsInUse(const Field &field, const std::byte *bytes) {
    if (field.counted_by >= 0) {
        uint32_t count;
        std::memcpy(&count, bytes + field.counted_by, sizeof count);
        return std::min(count, field.count);
    }
    if (field.kind != Kind::kRecord && field.kind != Kind::kEvent) return field.count;
    uint32_t used = field.count;  // of records those up to the last one with a content
    while (used > 0 && IsZero(ElementAt(field, bytes, used - 1), field.width)) --used;
    return used;
}

std::string_view CodeName(const Field &field, uint64_t value) {
    const auto found =
        std::find_if(field.codes.begin(), field.codes.end(), [&](const Code &c) { return c.value == value; });
    return found == field.codes.end() ? std::string_view() : found->name;
}

std::vector<std::string> FlagNames(const Field &field, uint64_t value) {
    std::vector<std::string> names;
    for (const Code &code : field.codes) {
        if ((value & code.value) != 0) names.emplace_back(code.name);
    }
    return names;
}

}  // namespace mwctl
