// mwctl status: the shared area, its module areas and their semaphores.
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "area.h"
#include "command.h"
#include "output.h"
#include "views.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

bool as_json = false;

// "mem", from the exported pointer's module source "mem/hov_midmem".
std::string_view NameOf(const midware::Module &module) {
    const std::string_view source = module.source;
    return source.substr(0, source.find('/'));
}

std::string StateText(const OalSemStatus &status) {
    if (status.exists == 0) return "missing";
    if (status.held == 0) return "free";
    if (status.holder_pid == 0) return "held";
    return "held by " + tools::ProcessText(status.holder_pid);
}

std::string AsText() {
    std::string text = fmt::format("Shared area {}: present, {} bytes\n\n", MW_AREA_KEY, MW_AREA_SIZE);
    text += fmt::format("{:<9} {:>7} {:>7} {:>9} {:>10} {:>9} {:>9}  {}\n", "area", "offset", "bytes",
                        "semaphore", "taken", "contended", "recovered", "state");
    for (const midware::Module *module : midware::kModules) {
        const OalSemStatus status = tools::SemStatus(module->key);
        text += fmt::format("{:<9} {:>7} {:>7} {:>9} {:>10} {:>9} {:>9}  {}\n", NameOf(*module),
                            module->offset, module->size, module->key, status.taken, status.contended,
                            status.recovered, StateText(status));
    }
    return text;
}

Json ToJson(const OalSemStatus &status, uint32_t key) {
    Json json = {{"key", key}, {"exists", status.exists != 0}, {"held", status.held != 0}};
    json["holder_pid"] = status.held != 0 ? Json(status.holder_pid) : Json(nullptr);
    json["last_pid"] = status.last_pid != 0 ? Json(status.last_pid) : Json(nullptr);
    json["taken"] = status.taken;
    json["contended"] = status.contended;
    json["timed_out"] = status.timed_out;
    json["recovered"] = status.recovered;
    return json;
}

std::string AsJson(bool present) {
    Json document = {
        {"key", MW_AREA_KEY}, {"present", present}, {"size", MW_AREA_SIZE}, {"areas", Json::array()}};
    for (const midware::Module *module : midware::kModules) {
        document["areas"].push_back({{"name", std::string(NameOf(*module))},
                                     {"offset", module->offset},
                                     {"size", module->size},
                                     {"semaphore", ToJson(tools::SemStatus(module->key), module->key)}});
    }
    return Document(document);
}

void Status() {
    const bool present = tools::AreaExists();
    if (present || as_json) Finish(as_json ? AsJson(present) : AsText());
    if (!present) return Fail(tools::WhyNoArea());
    const size_t missing = std::size(midware::kModules) - tools::SemaphoresInPlace();
    if (missing != 0) Fail(fmt::format("{} of the module semaphores are missing: run midware-init", missing));
}

void AddStatus(CLI::App &app) {
    CLI::App *status =
        app.add_subcommand("status", "Shows the shared area, its module areas and their semaphores");
    status->add_flag("--json", as_json, "One JSON document");
    status->footer(
        "Exit codes: 0 all is in place, 1 the area or a semaphore is missing or must not be used.");
    status->callback(Status);
}

const Command kCommand("status", AddStatus, Needs::kLiveArea);

}  // namespace
}  // namespace mwctl
