#include "console.h"

#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>

#include "dbgout.h"
#include "hov_slibc.h"

namespace mwctl {
namespace {

Listen *listener = nullptr;

std::string Formatted(const char *format, va_list arguments) {
    char text[1024];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    std::string message(text,
                        length < 0 ? 0 : std::min<size_t>(static_cast<size_t>(length), sizeof text - 1));
    while (!message.empty() && (message.back() == '\n' || message.back() == ' ')) message.pop_back();
    return message;
}

// Hands a message on to the platform's own function of that name.
int32_t Log(const char *function, int32_t level, const std::string &message) {
    if (listener != nullptr) listener->Take(message);
    if (listener != nullptr && listener->quiet()) return 0;
    using Out = int32_t (*)(int32_t, const char *, ...);
    const Out out = reinterpret_cast<Out>(dlsym(RTLD_NEXT, function));
    return out == nullptr ? -1 : out(level, "%s\n", message.c_str());
}

}  // namespace

Listen::Listen(Log log) : quiet_(log == Log::kQuiet) { listener = this; }
Listen::~Listen() { listener = nullptr; }

const Listen *Listen::Current() { return listener; }

void Listen::Take(const std::string &message) {
    last_ = message;
    all_ += message + '\n';
}

bool Listen::Heard(const char *words) const { return all_.find(words) != all_.npos; }

}  // namespace mwctl

using namespace mwctl;

#define MWCTL_FORMATTED(name)                              \
    va_list arguments;                                     \
    va_start(arguments, format);                           \
    const std::string name = Formatted(format, arguments); \
    va_end(arguments)

int hov_printf_s(const char *format, ...) {
    MWCTL_FORMATTED(message);
    if (listener != nullptr) listener->Take(message);
    return static_cast<int>(message.size());
}

int32_t IDBG_LINUXAPP_DbgOut(int32_t level, const char *format, ...) {
    MWCTL_FORMATTED(message);
    return Log("IDBG_LINUXAPP_DbgOut", level, message);
}

int32_t IDBG_LINUXAPP_Runtime_DbgOut(int32_t level, const char *format, ...) {
    MWCTL_FORMATTED(message);
    return Log("IDBG_LINUXAPP_Runtime_DbgOut", level, message);
}

int32_t IDBG_LINUXAPP_AuditOut(int32_t level, const char *format, ...) {
    MWCTL_FORMATTED(message);
    return Log("IDBG_LINUXAPP_AuditOut", level, message);
}
