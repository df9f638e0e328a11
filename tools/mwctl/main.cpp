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

Command::Command(std::string_view command, void (*add_it)(CLI::App &), Needs needed)
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
void AddSource(CLI::App &app) {
    static std::string from;
    static bool no_lock = false;
    CLI::Option *file = app.add_option("--from", from, "Reads a saved area (mwctl save) and not the live one")
                            ->type_name("FILE");
    CLI::Option *unlocked = app.add_flag(
        "--no-lock", no_lock, "Takes no semaphores: for when one is stuck; a record may be half written");
    unlocked->excludes(file);
    app.parse_complete_callback([&app, file, unlocked] {
        if (app.get_subcommands().empty()) return;
        const std::string name = app.get_subcommands().front()->get_name();
        const Needs needs = std::ranges::find(Known(), name, &Command::name)->needs;
        if (file->count() != 0 && needs != Needs::kRecords) {
            throw CLI::ValidationError(name + ": this is about the live area, and --from does not go with it");
        }
        if (unlocked->count() != 0 && needs == Needs::kLiveArea) {
            throw CLI::ValidationError(name + ": this needs the semaphores, and --no-lock does not go with it");
        }
        if (no_lock) ReadUnlocked();
        if (file->count() == 0) return;
        const std::string problem = ReadFromSaved(from);
        if (problem.empty()) return;
        Fail(problem);
        throw CLI::RuntimeError(exit_code);
    });
}

}  // namespace
}  // namespace mwctl

int main(int argc, char **argv) {
    tools::PrepareStandardFiles();
    tools::UseLocale();

    CLI::App app("Shows and changes the records that the processes of the management controller share.",
                 std::string(mwctl::kProgram));
    app.require_subcommand(1);
    app.set_version_flag("--version", "mwctl " MIDWARE_VERSION);
    app.footer("Exit codes: 0 done, 1 failed or something is missing, 2 wrong usage.");
    app.fallthrough();  // the options of the program may stand behind those of a command
    mwctl::AddSource(app);
    for (const mwctl::Command &command : mwctl::Known()) command.add(app);

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &asked) {  // --help or --version
        std::ostringstream text;
        app.exit(asked, text, text);
        mwctl::Finish(tools::EndedLine(text.str()));
    } catch (const CLI::RuntimeError &) {  // it was said what is wrong
    } catch (const CLI::ParseError &error) {
        const bool unknown = app.get_subcommands().empty() && app.remaining_size() > 0;
        const std::string what =
            unknown ? "there is no command '" + app.remaining().front() + "'" : error.what();
        tools::Complain(mwctl::kProgram, tools::Printable(what) + " (see --help)");
        return tools::kUsage;
    }
    return mwctl::exit_code;
}
