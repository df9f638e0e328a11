// mwctl load: a saved area into the live one.
#include <fmt/format.h>

#include <algorithm>

#include "area.h"
#include "command.h"
#include "layout.h"
#include "source.h"

namespace mwctl {
namespace {

std::string path;
bool yes = false;

size_t Differing(std::span<const std::byte> a, std::span<const std::byte> b) {
    size_t count = 0;
    for (size_t i = 0; i < a.size(); ++i) count += a[i] != b[i];
    return count;
}

void Load() {
    if (!yes) {
        throw CLI::ValidationError(
            "load: every record of the live area is replaced: say --yes if that is meant");
    }
    const SavedFile file = OpenSaved(path);
    if (!file.problem.empty()) return Fail(file.problem);
    if (!tools::AreaExists()) return Fail(tools::WhyNoArea());
    std::string text;
    std::vector<std::string> problems;
    for (const Module *module : ModulesWithArea()) {
        const auto bytes = file.saved.area.subspan(module->core->offset, module->core->size);
        std::vector<std::byte> before(bytes.size());
        const std::string problem = Exchange(*module->core, bytes, before);
        if (problem.empty()) {
            text += fmt::format("{}: replaced, {} of {} bytes were different\n", module->name,
                                Differing(before, bytes), bytes.size());
        } else {
            problems.push_back(fmt::format("{}: left as it was: {}", module->name, problem));
        }
    }
    Finish(text);
    for (const std::string &problem : problems) Fail(problem);
}

void AddLoad(CLI::App &app) {
    CLI::App *load =
        app.add_subcommand("load", "Replaces every record of the live area by those of a saved one");
    load->add_option("FILE", path, "A file that mwctl save wrote")->required();
    load->add_flag("--yes", yes, "Every record of the live area may be discarded");
    load->footer(
        "Each module is replaced under its semaphore. Configuration files are left as they are. To look at "
        "a\n"
        "saved area without touching the live one: mwctl --from FILE show.");
    load->callback(Load);
}

const Command kCommand("load", AddLoad, Needs::kLiveArea);

}  // namespace
}  // namespace mwctl
