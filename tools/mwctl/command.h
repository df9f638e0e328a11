// The subcommands: each has a source file of its own in commands/, which the build picks up by itself.
#ifndef MWCTL_COMMAND_H
#define MWCTL_COMMAND_H

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <string_view>

#include "hov_midware.h"

namespace mwctl {

inline constexpr std::string_view kProgram = "mwctl";

// What the chosen subcommand leaves as the program's exit code.
extern int exit_code;

// Prints the text; the exit code becomes `code`, or 1 when standard output does not take it.
void Finish(std::string_view text, int code = 0);

// One line on standard error, and exit code 1.
void Fail(std::string_view text);

// Calls the library for a change; when it answers -1, says why and what to do. `core` is the module whose
// semaphore is taken, NULL for a call that needs no shared area. `refusal` says it for a call that checks the
// values it is given, where it is these that it refused.
bool Change(const midware::Module *core, const std::function<int32_t()> &call, std::string_view refusal = {});

// What a subcommand works on, and so which of the options that choose another source (source.h) it takes.
enum class Needs : uint8_t {
    kRecords,   // --from and --no-lock
    kArea,      // --no-lock
    kLiveArea,  // none: it changes something, or is about the semaphores
};

// Adds a subcommand to the program: a source file in commands/ has one at namespace scope.
struct Command {
    Command(std::string_view command, void (*add_it)(CLI::App &app), Needs needed = Needs::kRecords);
    std::string_view name;
    void (*add)(CLI::App &app);
    Needs needs;
};

// Adds subcommands of `mwctl set`: a source file in settings/ has one at namespace scope.
struct Settings {
    explicit Settings(void (*add)(CLI::App &set));
};

}  // namespace mwctl

#endif
