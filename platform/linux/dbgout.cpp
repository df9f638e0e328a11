#include "dbgout.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "forks.h"
#include "paths.h"
#include "say.h"
#include "text.h"

namespace platform {
namespace {

constexpr int32_t kError = 130;
constexpr int32_t kSensor = 134;
constexpr int32_t kTrace = 135;
constexpr int32_t kAudit = 180;

// Which of the two quiet levels are wanted; -1 until the environment was asked.
std::atomic<int> g_wanted{-1};

// MIDWARE_DEBUG is a list of levels, "134,135", or "all".
int AskEnvironment() {
    int wanted = 0;
    const char *levels = secure_getenv("MIDWARE_DEBUG");
    if (levels != nullptr && strcmp(levels, "all") == 0) wanted = 3;
    while (levels != nullptr && *levels != '\0') {
        char *end = nullptr;
        const long level = strtol(levels, &end, 10);
        if (level == kSensor) wanted |= 1;
        if (level == kTrace) wanted |= 2;
        levels = end != levels ? end : levels + 1;
    }
    g_wanted.store(wanted, std::memory_order_relaxed);
    return wanted;
}

bool IsWanted(int32_t level) {
    if (level != kSensor && level != kTrace) return true;
    int wanted = g_wanted.load(std::memory_order_relaxed);
    if (wanted < 0) wanted = AskEnvironment();
    return (wanted & (level == kSensor ? 1 : 2)) != 0;
}

int PriorityOf(int32_t level) {
    switch (level) {
        case kError:
            return LOG_DAEMON | LOG_ERR;
        case kSensor:
        case kTrace:
            return LOG_DAEMON | LOG_DEBUG;
        case kAudit:
            return LOG_AUTHPRIV | LOG_NOTICE;
        default:
            return LOG_DAEMON | LOG_INFO;
    }
}

// One datagram to the system log, never waiting: a message may be written while a semaphore is held. The
// socket is not kept, since a program may close descriptors that it does not know. No time stamp: daemons put
// their own, and the calendar of the C library has a lock that a forked child may find taken.
bool SendToSystemLog(int32_t level, const char *line, size_t length) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Path path;
    if (!Place("/dev/log", path) || strlen(path) >= sizeof address.sun_path) return false;
    memcpy(address.sun_path, path, strlen(path));

    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return false;
    char packet[kLineSize + 128];
    const int size = snprintf(packet, sizeof packet, "<%d>%.32s[%u]: %.*s", PriorityOf(level),
                              program_invocation_short_name, Me().pid, static_cast<int>(length - 1), line);
    const bool sent = size > 0 && sendto(fd, packet, static_cast<size_t>(size), MSG_NOSIGNAL,
                                         reinterpret_cast<const sockaddr *>(&address), sizeof address) >= 0;
    close(fd);
    return sent;
}

bool Emit(int32_t level, const char *line, size_t length) {
    const bool logged = SendToSystemLog(level, line, length);
    if (logged && isatty(STDERR_FILENO) == 0) return true;
    const bool shown = write(STDERR_FILENO, line, length) == static_cast<ssize_t>(length);
    return logged || shown;
}

int32_t Out(int32_t level, const char *format, va_list args) {
    if (format == nullptr) return -1;
    const int error = errno;
    char line[kLineSize];
    const size_t length = FormatLine(line, 0, format, args);
    const bool done = length > 0 && Emit(level, line, length);
    errno = error;
    return done ? 0 : -1;
}

}  // namespace

void Say(const char *format, ...) {
    va_list args;
    va_start(args, format);
    Out(kError, format, args);
    va_end(args);
}

}  // namespace platform

int32_t IDBG_LINUXAPP_DbgOut(int32_t level, const char *format, ...) {
    if (!platform::IsWanted(level)) return 0;
    va_list args;
    va_start(args, format);
    const int32_t result = platform::Out(level, format, args);
    va_end(args);
    return result;
}

int32_t IDBG_LINUXAPP_Runtime_DbgOut(int32_t level, const char *format, ...) {
    if (!platform::IsWanted(level)) return 0;
    va_list args;
    va_start(args, format);
    const int32_t result = platform::Out(level, format, args);
    va_end(args);
    return result;
}

int32_t IDBG_LINUXAPP_AuditOut(int32_t level, const char *format, ...) {
    if (!platform::IsWanted(level)) return 0;
    va_list args;
    va_start(args, format);
    const int32_t result = platform::Out(level, format, args);
    va_end(args);
    return result;
}
