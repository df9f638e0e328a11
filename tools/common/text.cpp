#include "text.h"

#include <fmt/format.h>
#include <langinfo.h>

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <numeric>
#include <vector>

namespace tools {
namespace {

bool locale_is_utf8 = false;

struct Decoded {
    size_t length;  // bytes; 0 when they are no UTF-8
    uint32_t point;
};

Decoded Decode(std::string_view text) {
    const auto byte = [&](size_t at) { return static_cast<uint8_t>(text[at]); };
    const uint8_t first = byte(0);
    if (first < 0x80) return {1, first};
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) return {0, 0};
    uint32_t point = first & (0xFFu >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        point = point << 6 | (byte(i) & 0x3Fu);
    }
    const bool shortest = point >= (length == 2 ? 0x80u : length == 3 ? 0x800u : 0x10000u);
    if (!shortest || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return {0, 0};
    return {length, point};
}

bool IsPlain(uint32_t point) {
    if (point < 0x20 || (point >= 0x7F && point < 0xA0)) return false;  // controls
    if (point >= 0x200B && point <= 0x200F) return false;               // invisible, and writing direction
    if (point >= 0x2028 && point <= 0x202E) return false;               // line ends, and writing direction
    if (point >= 0x2060 && point <= 0x206F) return false;
    return point != 0xFEFF && (point < 0xFFF0 || point > 0xFFFF) && point < 0xE0000;
}

}  // namespace

std::string_view ArrayText(const void *array, size_t size) {
    const char *text = static_cast<const char *>(array);
    return {text, strnlen(text, size)};
}

void UseLocale() {
    std::setlocale(LC_CTYPE, "");
    locale_is_utf8 = std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0;
}

bool LocaleIsUtf8() { return locale_is_utf8; }

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const size_t length = Decode(text).length;
        if (length == 0) return false;
        text.remove_prefix(length);
    }
    return true;
}

std::string Printable(std::string_view text) { return Printable(text, locale_is_utf8); }

std::string Printable(std::string_view text, bool utf8) {
    std::string out;
    while (!text.empty()) {
        const Decoded next = Decode(text);
        const size_t length = next.length == 0 ? 1 : next.length;
        if (next.length != 0 && IsPlain(next.point) && (next.point < 0x80 || utf8)) {
            out += text.substr(0, length);
        } else {
            for (const char c : text.substr(0, length))
                out += fmt::format("\\x{:02x}", static_cast<uint8_t>(c));
        }
        text.remove_prefix(length);
    }
    return out;
}

std::string EndedLine(std::string text) {
    if (!text.ends_with('\n')) text += '\n';
    return text;
}

size_t Columns(std::string_view text) {
    size_t columns = 0;
    while (!text.empty()) {
        const Decoded next = Decode(text);
        const int width = next.point < 0x80 ? 1 : wcwidth(static_cast<wchar_t>(next.point));
        columns += width < 0 ? 1 : static_cast<size_t>(width);
        text.remove_prefix(next.length == 0 ? 1 : next.length);
    }
    return columns;
}

std::string Cut(std::string text, size_t columns) {
    if (Columns(text) <= columns) return text;
    while (!text.empty() && Columns(text) + 1 > columns) {
        while (text.size() > 1 && (text.back() & 0xC0) == 0x80) text.pop_back();
        text.pop_back();
    }
    return columns == 0 ? "" : text + "~";
}

std::optional<uint64_t> ParseNumber(std::string_view text) {
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        base = 16;
        text.remove_prefix(2);
    }
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

size_t Distance(std::string_view a, std::string_view b) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 0; i < a.size(); ++i) {
        size_t diagonal = row[0]++;
        for (size_t j = 0; j < b.size(); ++j) {
            const size_t changed = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace tools
