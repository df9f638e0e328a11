#include "text.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace collect {
namespace {

constexpr std::string_view kBlank(" \t\r\n\v\f\0", 7);

// clang-format off
constexpr std::array kNothing = {
    "", "0", "-", "--", "N/A", "NA", "None", "Null", "Unknown", "Undefined", "Not Specified", "Not Provided",
    "Not Available", "Not Applicable", "Not Present", "No DIMM", "NO DIMM INSTALLED", "Empty", "Default string",
    "To be filled by O.E.M.", "To be filled by OEM", "Fill By OEM", "O.E.M.", "OEM", "System Serial Number",
    "System Product Name", "System manufacturer", "System Version", "Invalid", "<BAD INDEX>", "Not Settable",
    "Default", "x.x", "Base Board Product Name", "Type2 - Board Product Name1", "Type2 - Board Version",
    "Board Version", "Board Manufacturer"};
// clang-format on

char Lower(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::vector<std::string_view> Split(std::string_view text, std::string_view separators, bool keep_empty) {
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of(separators), text.size());
        if (keep_empty || end > 0) parts.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

// Length of the well-formed UTF-8 sequence that the text begins with; 0 where there is none.
size_t Utf8Length(std::string_view text) {
    const auto byte = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
    const unsigned char first = byte(0);
    const size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                          : (first & 0xF0u) == 0xE0        ? 3
                          : first >= 0xF0 && first <= 0xF4 ? 4
                                                           : 0;
    if (length == 0 || length > text.size()) return 0;
    for (size_t at = 1; at < length; ++at) {
        if ((byte(at) & 0xC0u) != 0x80u) return 0;
    }
    const bool overlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool outside = (first == 0xED && byte(1) > 0x9F) || (first == 0xF4 && byte(1) > 0x8F);
    return overlong || outside ? 0 : length;
}

}  // namespace

std::string_view Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

std::vector<std::string_view> Lines(std::string_view text) { return Split(text, "\n", true); }
std::vector<std::string_view> Words(std::string_view text) { return Split(text, " \t\r\n", false); }

std::string Printable(std::string_view text, size_t max) {
    std::string out(text.substr(0, max));
    for (char &c : out) {
        if (c < ' ' || c > '~') c = '?';
    }
    if (text.size() > max) out += "...";
    return out;
}

std::string CleanText(std::string_view text) {
    text = Trim(text);
    std::string out;
    while (!text.empty()) {
        const size_t utf8 = Utf8Length(text);
        const size_t taken = utf8 > 0 ? utf8 : 1;
        if (utf8 > 0 || (text[0] >= ' ' && text[0] <= '~')) {
            out += text.substr(0, taken);
        } else {
            out += '?';
        }
        text.remove_prefix(taken);
    }
    return out;
}

bool IsPlaceholder(std::string_view text) {
    text = Trim(text);
    return std::any_of(kNothing.begin(), kNothing.end(),
                       [&](const char *known) { return EqualNoCase(text, known); });
}

std::string Meaningful(std::string_view text) {
    return IsPlaceholder(text) ? std::string() : CleanText(text);
}

bool EqualNoCase(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return Lower(x) == Lower(y); });
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
    return EqualNoCase(text.substr(0, prefix.size()), prefix);
}

bool NaturalLess(std::string_view a, std::string_view b) {
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() && j < b.size()) {
        if (IsDigit(a[i]) && IsDigit(b[j])) {
            const auto run = [](std::string_view text, size_t &at) {
                while (at < text.size() && text[at] == '0') ++at;
                const size_t start = at;
                while (at < text.size() && IsDigit(text[at])) ++at;
                return text.substr(start, at - start);
            };
            const std::string_view x = run(a, i);
            const std::string_view y = run(b, j);
            if (x.size() != y.size()) return x.size() < y.size();
            if (x != y) return x < y;
        } else {
            if (a[i] != b[j]) return a[i] < b[j];
            ++i;
            ++j;
        }
    }
    if (i < a.size() || j < b.size()) return j < b.size();
    return a < b;  // 01 and 1: any fixed order
}

std::optional<uint32_t> TrailingNumber(std::string_view text) {
    const size_t last = text.find_last_not_of("0123456789");
    return ParseNumber<uint32_t>(text.substr(last == text.npos ? 0 : last + 1));
}

}  // namespace collect
