// Texts from outside, made fit for a line of a log or a terminal.
#ifndef PLATFORM_TEXT_H
#define PLATFORM_TEXT_H

#include <cstdarg>
#include <cstddef>

#pragma GCC visibility push(hidden)

namespace platform {

// False for a format with a conversion that writes through a pointer (%n).
bool FormatIsHarmless(const char *format);

inline constexpr size_t kLineSize = 2048;

// Formats one line into `line` at `at`: trailing line ends dropped, everything that steers a terminal or
// breaks a line escaped as \n, \r, \t or \xHH, cut to fit with "...", ended with one line feed. Answers the
// length of the whole line without terminator, or 0 when the format was refused.
size_t FormatLine(char (&line)[kLineSize], size_t at, const char *format, va_list args);

}  // namespace platform

#pragma GCC visibility pop
#endif
