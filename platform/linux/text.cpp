#include "text.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace platform {
namespace {

// The length of the character beyond ASCII at `text` when it is well-formed UTF-8 that only prints, otherwise
// 0.
size_t PrintableLength(const unsigned char *text) {
    const unsigned char first = text[0];
    const size_t length = first >= 0xC2 && first <= 0xDF   ? 2
                          : (first & 0xF0) == 0xE0         ? 3
                          : first >= 0xF0 && first <= 0xF4 ? 4
                                                           : 0;
    if (length == 0) return 0;
    uint32_t code = first & (0xFFu >> (length + 1));
    for (size_t i = 1; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80) return 0;  // a terminator stops here too
        code = code << 6 | (text[i] & 0x3F);
    }
    static constexpr uint32_t kSmallest[] = {0, 0, 0xA0, 0x800, 0x10000};  // below 0xA0 lie the C1 controls
    if (code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
    // line and paragraph separators, and the marks that turn the direction of what follows
    if ((code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069)) return 0;
    return length;
}

// Flags, widths, precisions and lengths.
bool BelongsToConversion(char c) {
    static constexpr auto kKnown = [] {
        std::array<bool, 256> known{};
        for (const unsigned char one : std::string_view("0123456789$-+ #'I*.hlLqjzt")) known[one] = true;
        return known;
    }();
    return kKnown[static_cast<unsigned char>(c)];
}

}  // namespace

bool FormatIsHarmless(const char *format) {
    for (const char *at = strchr(format, '%'); at != nullptr; at = strchr(at, '%')) {
        do {
            ++at;
        } while (BelongsToConversion(*at));
        if (*at == 'n') return false;
        if (*at != '\0') ++at;
    }
    return true;
}

size_t FormatLine(char (&line)[kLineSize], size_t at, const char *format, va_list args) {
    if (!FormatIsHarmless(format)) {
        errno = EINVAL;
        return 0;
    }
    char text[kLineSize];
    if (vsnprintf(text, sizeof text, format, args) < 0) return 0;
    size_t length = strlen(text);
    while (length > 0 && (text[length - 1] == '\n' || text[length - 1] == '\r')) text[--length] = '\0';

    static constexpr char kCut[] = "...\n";
    static constexpr size_t kLongest = 4;  // of what one byte or character becomes
    const unsigned char *from = reinterpret_cast<const unsigned char *>(text);
    while (*from != '\0') {
        if (at + kLongest + sizeof kCut > sizeof line) {
            memcpy(line + at, kCut, sizeof kCut);
            return at + sizeof kCut - 1;
        }
        if (*from >= 0x20 && *from < 0x7F) [[likely]] {
            line[at++] = static_cast<char>(*from++);
            continue;
        }
        const size_t plain = PrintableLength(from);
        if (plain > 0) {
            memcpy(line + at, from, plain);
            at += plain;
            from += plain;
            continue;
        }
        const unsigned char byte = *from++;
        line[at++] = '\\';
        if (byte == '\n' || byte == '\r' || byte == '\t') {
            line[at++] = byte == '\n' ? 'n' : byte == '\r' ? 'r' : 't';
        } else {
            static constexpr char kHex[] = "0123456789abcdef";
            line[at++] = 'x';
            line[at++] = kHex[byte >> 4];
            line[at++] = kHex[byte & 15];
        }
    }
    line[at++] = '\n';
    line[at] = '\0';
    return at;
}

}  // namespace platform
