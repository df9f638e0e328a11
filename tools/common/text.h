// Texts and numbers as the programs print and read them.
#ifndef TOOLS_TEXT_H
#define TOOLS_TEXT_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tools {

// A text in an array: up to its first NUL, or all of the array when there is none.
std::string_view ArrayText(const void *array, size_t size);

// Whether the terminal of this locale shows UTF-8. Call UseLocale once before.
void UseLocale();
bool LocaleIsUtf8();

// Text that came from elsewhere, safe to print: control characters, invalid bytes, marks that turn the
// writing direction, and what the locale cannot show become \xNN.
std::string Printable(std::string_view text);
// The same for a reader that takes UTF-8, or none.
std::string Printable(std::string_view text, bool utf8);

// The text, cut to so many columns; what was cut ends in "~".
std::string Cut(std::string text, size_t columns);

// The text, ended by a line feed.
std::string EndedLine(std::string text);

// How many columns printable text takes on the screen.
size_t Columns(std::string_view text);

bool IsUtf8(std::string_view text);

// Decimal or, after 0x, hexadecimal; nothing else, no blanks.
std::optional<uint64_t> ParseNumber(std::string_view text);

// How many letters have to be changed, added or removed (Levenshtein), capital and small ones alike.
size_t Distance(std::string_view a, std::string_view b);

}  // namespace tools

#endif
