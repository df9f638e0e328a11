#include "output.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

namespace tools {
namespace {

bool WriteAll(int file, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        text.remove_prefix(static_cast<size_t>(written));
    }
    return true;
}

}  // namespace

void PrepareStandardFiles() {
    // The lowest free number is given out: /dev/null lands in the place of what was closed. Writing to it
    // fails there.
    for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file) {
        if (fcntl(file, F_GETFD) < 0) (void)open("/dev/null", O_RDONLY);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

bool Print(std::string_view program, std::string_view text) {
    if (WriteAll(STDOUT_FILENO, text) || errno == EPIPE) return true;
    Complain(program, fmt::format("standard output cannot be written: {}", std::strerror(errno)));
    return false;
}

void Complain(std::string_view program, std::string_view text) {
    (void)WriteAll(STDERR_FILENO, fmt::format("{}: {}\n", program, text));
}

}  // namespace tools
