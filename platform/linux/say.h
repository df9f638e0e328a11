// The platform layer's own messages.
#ifndef PLATFORM_SAY_H
#define PLATFORM_SAY_H

#pragma GCC visibility push(hidden)

namespace platform {

// One line at the level of errors. errno stays.
__attribute__((format(printf, 1, 2))) void Say(const char *format, ...);

}  // namespace platform

#pragma GCC visibility pop
#endif
