// mwctl: the operator's tool. Shows and changes the records that the processes of the controller share.
#include "command.h"
#include "output.h"
#include "text.h"

namespace mwctl {

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

    CLI::App app("Shows and changes the records that the processes of the management controller share.",
                 std::string(mwctl::kProgram));
    app.require_subcommand(1);
    app.set_version_flag("--version", "mwctl " MIDWARE_VERSION);
    app.footer("Exit codes: 0 done, 1 failed or something is missing, 2 wrong usage.");
    mwctl::AddStatus(app);
    mwctl::AddShow(app);
    mwctl::AddSet(app);
    mwctl::AddDiskSlot(app);

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &asked) {  // --help or --version
        std::ostringstream text;
        app.exit(asked, text, text);
        mwctl::Finish(tools::EndedLine(text.str()));
    } catch (const CLI::ParseError &error) {
        const bool unknown = app.get_subcommands().empty() && app.remaining_size() > 0;
        const std::string what =
            unknown ? "there is no command '" + app.remaining().front() + "'" : error.what();
        tools::Complain(mwctl::kProgram, tools::Printable(what) + " (see --help)");
        return tools::kUsage;
    }
    return mwctl::exit_code;
}
