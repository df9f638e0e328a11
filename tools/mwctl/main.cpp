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

// The options that choose where a command reads: they may stand before its name or behind it.
class SourceOptions {
  public:
    // A command's help shows those that go with it.
    void AddTo(cli::App &app, Needs needs = Needs::kRecords) {
        cli::Option *from =
            app.add_option("--from", from_, "Reads a saved area (mwctl save) and not the live one");
        cli::Option *no_lock =
            app.add_flag("--no-lock", no_lock_,
                         "Takes no semaphores: for when one is stuck; a record may be half written");
        from->type_name("FILE");
        if (needs != Needs::kRecords) from->hide();
        if (needs == Needs::kLiveArea) no_lock->hide();
        all_from_.push_back(from);
    }

    // What was chosen, once the command line has been read.
    void Choose(const Command &command) const {
        const bool from =
            std::ranges::any_of(all_from_, [](const auto *option) { return option->count() != 0; });
        const std::string name(command.name);
        if (from && command.needs != Needs::kRecords) {
            throw cli::UsageError(name +
                                       ": this is about the live area, and --from does not go with it");
        }
        if (no_lock_ && command.needs == Needs::kLiveArea) {
            throw cli::UsageError(name +
                                       ": this needs the semaphores, and --no-lock does not go with it");
        }
        if (from && no_lock_) throw cli::UsageError("--no-lock excludes --from");
        if (no_lock_) ReadUnlocked();
        if (!from) return;
        const std::string problem = ReadFromSaved(from_);
        if (problem.empty()) return;
        Fail(problem);
        throw cli::Ended{exit_code};
    }

  private:
    std::string from_;
    bool no_lock_ = false;
    std::vector<cli::Option *> all_from_;
};

void AddCommands(cli::App &app) {
    static SourceOptions source;
    source.AddTo(app);
    for (const Command &command : Known()) {
        command.add(app);
        source.AddTo(*app.subcommand(std::string(command.name)), command.needs);
    }
    app.once_parsed([&app] {
        for (const Command &command : Known()) {
            if (app.chosen() == command.name) source.Choose(command);
        }
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
    mwctl::AddCommands(app);
    if (const auto code = app.Run(argc, argv)) return *code;
    return mwctl::exit_code;
}
