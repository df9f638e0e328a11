// midware-init: the start-up program. Creates the shared area before any other process uses it.
#include <fmt/format.h>

#include <cerrno>
#include <cstring>

#include "area.h"
#include "cli.h"
#include "output.h"
#include "text.h"

namespace {

constexpr std::string_view kProgram = "midware-init";

int Say(std::string_view text, int code = tools::kDone) {
    return tools::Print(kProgram, fmt::format("{}: {}\n", kProgram, text)) ? code : tools::kFailed;
}

int Refuse(std::string_view text) {
    tools::Complain(kProgram, text);
    return tools::kFailed;
}

bool IsInUse() { return tools::AreaExists() && tools::SemaphoresInPlace() == std::size(midware::kModules); }

int Check() {
    if (!tools::AreaExists()) return Refuse(tools::WhyNoArea());
    const size_t missing = std::size(midware::kModules) - tools::SemaphoresInPlace();
    if (missing != 0)
        return Refuse(fmt::format("{} of the module semaphores are missing: run midware-init", missing));
    return Say("the shared area is in use");
}

int Initialise(bool fresh) {
    const bool was_in_use = IsInUse();
    if (was_in_use && !fresh) {
        return Say(
            "the shared area is in use: left as it is (--fresh starts afresh and discards every record)");
    }
    errno = 0;
    if (MW_MidWareInit() < 0) {
        const int error = errno;
        if (tools::AreaExists()) return Refuse(tools::WhyNotLocked(MW_AREA_KEY));
        return Refuse(fmt::format("the shared area could not be created: {}",
                                  error == 0 ? "the platform says no more" : std::strerror(error)));
    }
    const size_t missing = std::size(midware::kModules) - tools::SemaphoresInPlace();
    if (missing != 0) return Refuse(fmt::format("{} of the module semaphores could not be created", missing));
    return Say(was_in_use ? "the shared area was started afresh: every record was discarded"
                          : fmt::format("the shared area is created: {} bytes, {} semaphores", MW_AREA_SIZE,
                                        std::size(midware::kModules)));
}

}  // namespace

int main(int argc, char **argv) {
    tools::PrepareStandardFiles();
    tools::UseLocale();

    bool fresh = false;
    bool check = false;
    cli::App app(
        "Creates the area that the processes of the management controller share. On one that is in use it "
        "does nothing.",
        kProgram, "midware-init " MIDWARE_VERSION);
    auto *fresh_option =
        app.add_flag("--fresh", fresh, "Starts afresh also when it is in use: discards every record");
    app.add_flag("--check", check, "Changes nothing: only tells whether it is in use")
        ->excludes(fresh_option);
    app.footer("Exit codes: 0 the area is in place, 1 it is not, 2 wrong usage.");

    if (const auto code = app.Run(argc, argv)) return *code;
    return check ? Check() : Initialise(fresh);
}
