// mwctl set: changes records and settings.
#include "area.h"
#include "command.h"
#include "console.h"
#include "read.h"

namespace mwctl {
namespace {

std::vector<void (*)(cli::App &)> &Known() {
    static std::vector<void (*)(cli::App &)> settings;
    return settings;
}

}  // namespace

Settings::Settings(void (*add)(cli::App &set)) { Known().push_back(add); }

bool Change(const midware::Module *core, const std::function<int32_t()> &call, std::string_view refusal) {
    if (core != nullptr && !tools::AreaExists()) {
        Fail(tools::WhyNoArea());
        return false;
    }
    Listen listen(Listen::Log::kLoud);
    if (call() >= 0) return true;
    const bool refused = !refusal.empty() && !listen.HeardLockFailure();
    Fail(refused ? std::string(refusal) : WhyItFailed(listen, core, core == nullptr));
    return false;
}

namespace {

void AddSet(cli::App &app) {
    cli::App *set = app.add_subcommand("set", "Changes a setting");
    set->require_subcommand(1);
    for (const auto add : Known()) add(*set);
}

const Command kCommand("set", AddSet);

}  // namespace
}  // namespace mwctl
