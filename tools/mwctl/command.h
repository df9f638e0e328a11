// The subcommands: each has a source file of its own that adds it to the program.
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

void AddShow(CLI::App &app);
void AddStatus(CLI::App &app);
void AddSet(CLI::App &app);
void AddDiskSlot(CLI::App &app);

// Adds subcommands of `mwctl set`: a source file in settings/ has one at namespace scope.
struct Settings {
    explicit Settings(void (*add)(CLI::App &set));
};

}  // namespace mwctl

#endif
