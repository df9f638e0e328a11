#include <fmt/format.h>

#include <algorithm>

#include "value.h"
#include "views.h"

namespace mwctl {
namespace {

constexpr uint32_t kRow = 16;

void AppendLine(std::string &out, uint32_t offset, const std::string &bytes, const std::string &name) {
    out += fmt::format("{:>8}  {:<{}}", offset, bytes, name.empty() ? 0 : 3 * kRow - 1);
    out += name.empty() ? "\n" : fmt::format("  {}\n", name);
}

void AppendZeros(std::string &out, uint32_t offset, uint32_t size, const std::string &name) {
    AppendLine(out, offset, fmt::format("00 * {}", size), name);
}

// Rows of a value's bytes; zeros that fill it up are one line.
void AppendValue(std::string &out, const Place &place) {
    std::string name = place.path;
    for (uint32_t at = 0; at < place.size();) {
        const uint32_t left = place.size() - at;
        const auto *bytes = reinterpret_cast<const uint8_t *>(place.begin()) + at;
        const bool zeros = left > kRow && IsZero(place.begin() + at, left);
        const uint32_t row = zeros ? left : std::min(left, kRow);
        if (zeros) {
            AppendZeros(out, place.offset + at, left, name);
        } else {
            AppendLine(out, place.offset + at, fmt::format("{:02x}", fmt::join(bytes, bytes + row, " ")),
                       name);
        }
        name.clear();
        at += row;
    }
}

bool IsZero(const Place &part) { return mwctl::IsZero(part.begin(), part.size()); }

// Elements of an array that are zero one after the other are one line.
void Append(std::string &out, const Place &part) {
    const Field &field = *part.field;
    const bool array = field.count != 0 && !part.element;
    if (!array && field.layout == nullptr) return AppendValue(out, part);
    if (IsZero(part)) return AppendZeros(out, part.offset, part.size(), part.path);
    if (!array) {
        out += ToHex(part.path, *field.layout, part.begin(), part.offset);
        return;
    }
    for (uint32_t i = 0; i < field.count;) {
        uint32_t end = i;
        while (end < field.count && IsZero(ElementOf(part, end))) ++end;
        const Place element = ElementOf(part, i);
        if (end <= i + 1) {
            Append(out, element);
            ++i;
        } else {
            AppendZeros(out, element.offset, (end - i) * field.width,
                        fmt::format("{}[{}..{}]", part.path, i, end - 1));
            i = end;
        }
    }
}

}  // namespace

std::string ToHex(const Place &part) {
    std::string out;
    Append(out, part);
    return out;
}

std::string ToHex(const std::string &path, const Layout &layout, const std::byte *bytes, uint32_t offset) {
    std::string out;
    for (const Field &field : layout.fields) Append(out, PlaceOf(path, field, bytes, offset, {}));
    return out;
}

}  // namespace mwctl
