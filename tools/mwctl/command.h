// The subcommands: each has a source file of its own in commands/, which the build picks up by itself.
#ifndef MWCTL_COMMAND_H
#define MWCTL_COMMAND_H

#include <functional>
#include <string>
#include <string_view>

#include "cli.h"
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

// Adds a subcommand to the program: a source file in commands/ has one at namespace scope.
struct Command {
    Command(std::string_view command, void (*add_it)(cli::App &app));
    std::string_view name;
    void (*add)(cli::App &app);
};

// Adds subcommands of `mwctl set`: a source file in settings/ has one at namespace scope.
struct Settings {
    explicit Settings(void (*add)(cli::App &set));
};

}  // namespace mwctl

#endif
