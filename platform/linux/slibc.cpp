#include <stdint.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "hov_slibc.h"
#include "text.h"

namespace platform {
namespace {

// What a refused copy leaves: nothing of the old contents. A size that no object has is not believed.
__attribute__((cold, noinline)) int Refuse(void *dest, size_t dest_size, int error) {
    if (dest != nullptr && dest_size <= PTRDIFF_MAX) memset(dest, 0, dest_size);
    return error;
}

inline int Copy(void *dest, size_t dest_size, const void *src, size_t count) {
    if (dest == nullptr || src == nullptr) [[unlikely]]
        return Refuse(dest, dest_size, EINVAL);
    if (count > dest_size) [[unlikely]]
        return Refuse(dest, dest_size, ERANGE);
    memmove(dest, src, count);
    return 0;
}

inline int Fill(void *dest, size_t dest_size, int value, size_t count) {
    if (dest == nullptr) [[unlikely]]
        return EINVAL;
    if (count > dest_size) [[unlikely]]
        return Refuse(dest, dest_size, ERANGE);
    memset(dest, value, count);
    return 0;
}

int Print(char *dest, size_t dest_size, const char *format, va_list args) {
    if (dest == nullptr || dest_size == 0 || format == nullptr) {
        if (dest != nullptr && dest_size > 0) dest[0] = '\0';
        errno = EINVAL;
        return -1;
    }
    int length = -1;
    if (FormatIsHarmless(format)) {
        length = vsnprintf(dest, dest_size, format, args);
    } else {
        errno = EINVAL;
    }
    if (length < 0) dest[0] = '\0';
    return length;
}

}  // namespace
}  // namespace platform

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return platform::Copy(dest, dest_size, src, count);
}

int hov_memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return platform::Copy(dest, dest_size, src, count);
}

int memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return platform::Fill(dest, dest_size, value, count);
}

int hov_memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return platform::Fill(dest, dest_size, value, count);
}

int strncpy_s(char *dest, size_t dest_size, const char *src, size_t count) {
    if (dest == nullptr || dest_size == 0) return EINVAL;
    if (src == nullptr) {
        dest[0] = '\0';
        return EINVAL;
    }
    const size_t length = strnlen(src, count < dest_size ? count : dest_size);
    if (length >= dest_size) {
        dest[0] = '\0';
        return ERANGE;
    }
    memmove(dest, src, length);
    dest[length] = '\0';
    return 0;
}

size_t strnlen_s(const char *text, size_t max) { return text == nullptr ? 0 : strnlen(text, max); }

int snprintf_s(char *dest, size_t dest_size, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int length = platform::Print(dest, dest_size, format, args);
    va_end(args);
    return length;
}

int hov_snprintf_s(char *dest, size_t dest_size, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int length = platform::Print(dest, dest_size, format, args);
    va_end(args);
    return length;
}

int hov_printf_s(const char *format, ...) {
    if (format == nullptr || !platform::FormatIsHarmless(format)) {
        errno = EINVAL;
        return -1;
    }
    va_list args;
    va_start(args, format);
    const int length = vprintf(format, args);  // holds the stream's lock for the whole text
    va_end(args);
    return length;
}

const char *hov_strerror_s(int error) {
    const char *text = strerrordesc_np(error);
    return text != nullptr ? text : "Unknown error";
}
