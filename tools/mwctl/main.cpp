// mwctl: the operator's tool. Shows and changes the records that the processes of the controller share.
#include <algorithm>
#include <vector>

#include "command.h"
#include "output.h"
#include "text.h"

namespace mwctl {
namespace {

// Before main() begins, the commands' files add themselves in an order that the linker chooses.
std::vector<Command> &Known() {
    static std::vector<Command> commands;
    return commands;
}

}  // namespace

Command::Command(std::string_view command, void (*add_it)(cli::App &)) : name(command), add(add_it) {
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

}  // namespace mwctl

int main(int argc, char **argv) {
    tools::PrepareStandardFiles();
    tools::UseLocale();

    cli::App app("Shows and changes the records that the processes of the management controller share.",
                 mwctl::kProgram, "mwctl " MIDWARE_VERSION);
    app.require_subcommand(1);
    app.footer("Exit codes: 0 done, 1 failed or something is missing, 2 wrong usage.");
    for (const mwctl::Command &command : mwctl::Known()) command.add(app);
    if (const auto code = app.Run(argc, argv)) return *code;
    return mwctl::exit_code;
}
