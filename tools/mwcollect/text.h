// Small text helpers that every collector uses: trimming, strict numbers, natural order, fixed text fields.
#ifndef MWCOLLECT_TEXT_H
#define MWCOLLECT_TEXT_H

#include <charconv>
#include <concepts>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace collect {

// Blanks, line ends and NULs removed at both ends.
std::string_view Trim(std::string_view text);

std::vector<std::string_view> Lines(std::string_view text);
std::vector<std::string_view> Words(std::string_view text);

// The text with everything unprintable replaced by '?', at most max characters: fit for a message or a
// record.
std::string Printable(std::string_view text, size_t max = 60);

// As Printable, but UTF-8 letters survive; for texts that end up in records.
std::string CleanText(std::string_view text);

// Firmware that has nothing to say says it in many ways ("To be filled by O.E.M.", "N/A", "Not Specified").
bool IsPlaceholder(std::string_view text);

// "" where the text is a placeholder, the cleaned text otherwise.
std::string Meaningful(std::string_view text);

bool StartsWithNoCase(std::string_view text, std::string_view prefix);
bool EqualNoCase(std::string_view a, std::string_view b);

// Runs of digits compare as numbers: cpu2 before cpu10.
bool NaturalLess(std::string_view a, std::string_view b);

// The number that the trimmed text consists of, whole: nothing for an empty text, a sign on an unsigned type,
// trailing characters or an overflow. Base 16 takes an optional 0x.
template <std::integral T>
std::optional<T> ParseNumber(std::string_view text, int base = 10) {
    text = Trim(text);
    if (base == 16 && (text.starts_with("0x") || text.starts_with("0X"))) text.remove_prefix(2);
    T value{};
    const char *end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value, base);
    if (text.empty() || error != std::errc{} || stopped != end) return std::nullopt;
    return value;
}

// The number that a name ends with: "CPU 1", "P2", "Socket_0".
std::optional<uint32_t> TrailingNumber(std::string_view text);

// Copies a text into a record's field: cut to fit at a character's boundary, terminated, the rest zero.
template <size_t Size>
void Fill(char (&field)[Size], std::string_view text) {
    size_t length = text.size() < Size ? text.size() : Size - 1;
    while (length < text.size() && length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0u) == 0x80u)
        --length;
    std::memset(field, 0, Size);
    std::memcpy(field, text.data(), length);
}

}  // namespace collect

#endif
