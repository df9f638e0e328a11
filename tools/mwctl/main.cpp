// mwctl: the operator's tool. Shows and changes the records that the processes of the controller share.
#include <algorithm>
#include <vector>

#include "command.h"
#include "output.h"
#include "source.h"
#include "text.h"

namespace mwctl {
namespace {

// Before main() begins, the commands' files add themselves in an order that the linker chooses.
std::vector<Command> &Known() {
    static std::vector<Command> commands;
    return commands;
}

}  // namespace

Command::Command(std::string_view command, void (*add_it)(cli::App &), Needs needed)
    : name(command), add(add_it), needs(needed) {
    std::vector<Command> &known = Known();
    known.insert(std::ranges::upper_bound(known, name, {}, &Command::name), *this);
}

int exit_code = tools::kDone;

void Finish(std::string_view text, int code) {
    exit_code = tools::Print(kProgram, text) ? code : tools::kFailed;
}

void Fail(std::string_view text) {
    tools::Complain(kProgram, text);
    exit_code = tools::kFailed;
}

namespace {

// The options of every command that choose where it reads, and the choice once the line is read.
void AddSource(cli::App &app) {
    static std::string from;
    static bool no_lock = false;
    cli::Option *file = app.add_option("--from", from, "Reads a saved area (mwctl save) and not the live one")
                            ->type_name("FILE");
    cli::Option *unlocked = app.add_flag(
        "--no-lock", no_lock, "Takes no semaphores: for when one is stuck; a record may be half written");
    unlocked->excludes(file);
    app.once_parsed([&app, file, unlocked] {
        const std::string name = app.chosen();
        if (name.empty()) return;
        const Needs needs = std::ranges::find(Known(), name, &Command::name)->needs;
        if (file->count() != 0 && needs != Needs::kRecords) {
            throw cli::UsageError(name + ": this is about the live area, and --from does not go with it");
        }
        if (unlocked->count() != 0 && needs == Needs::kLiveArea) {
            throw cli::UsageError(name + ": this needs the semaphores, and --no-lock does not go with it");
        }
        if (no_lock) ReadUnlocked();
        if (file->count() == 0) return;
        const std::string problem = ReadFromSaved(from);
        if (problem.empty()) return;
        Fail(problem);
        throw cli::Ended{exit_code};
    });
}

}  // namespace
}  // namespace mwctl

int main(int argc, char **argv) {
    tools::PrepareStandardFiles();
    tools::UseLocale();

    cli::App app("Shows and changes the records that the processes of the management controller share.",
                 mwctl::kProgram, "mwctl " MIDWARE_VERSION);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 failed or something is missing, 2 wrong usage.");
    app.fallthrough();  // the options of the program may stand behind those of a command
    mwctl::AddSource(app);
    for (const mwctl::Command &command : mwctl::Known()) command.add(app);
    if (const auto code = app.Run(argc, argv)) return *code;
    return mwctl::exit_code;
}
