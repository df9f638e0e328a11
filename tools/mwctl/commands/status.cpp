// mwctl status: the shared area, its module areas with their records, and their semaphores.
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "area.h"
#include "command.h"
#include "output.h"
#include "views.h"
#include "walk.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

bool as_json = false;

// A module area: its semaphore as it was before the records were read, and how many of each there are.
struct Area {
    const midware::Module *core;
    OalSemStatus semaphore;
    std::vector<std::pair<std::string, int64_t>> counts{};  // -1 where they could not be read
};

std::vector<Area> LookAtAreas(bool present) {
    std::vector<Area> areas;
    for (const midware::Module &module : midware::kModules) {
        areas.push_back({&module, tools::SemStatus(module.key)});
    }
    std::vector<ModuleReading> readings;
    for (const Module &module : Modules()) {
        if (!present || module.core == nullptr) continue;
        readings.push_back(Read(module, {}, readings));
        Area &area = *std::ranges::find(areas, module.core, &Area::core);
        for (const Reading &reading : readings.back().records) {
            if (reading.record->no_area) continue;
            const int64_t count = reading.problem.empty() ? CountOf(reading) : -1;
            if (count < 0 && (reading.problem.empty() || reading.record->capacity == 0)) continue;
            area.counts.emplace_back(fmt::format("{}.{}", module.name, reading.record->name), count);
        }
    }
    return areas;
}

std::string AsText(const std::vector<Area> &areas) {
    std::string text = fmt::format("Shared area {}: present, {} bytes\n\n", MW_AREA_KEY, MW_AREA_SIZE);
    text += fmt::format("{:<9} {:>7} {:>7} {:>9} {:>10} {:>9} {:>9} {:>9}  {}\n", "area", "offset", "bytes",
                        "semaphore", "taken", "contended", "timed out", "recovered", "state");
    for (const Area &area : areas) {
        const OalSemStatus &status = area.semaphore;
        std::string state = tools::StateText(status);
        if (status.held == 0 && status.last_pid != 0) {
            state += fmt::format(", last held by {}", tools::ProcessText(status.last_pid));
        }
        text += fmt::format("{:<9} {:>7} {:>7} {:>9} {:>10} {:>9} {:>9} {:>9}  {}\n", NameOf(*area.core),
                            area.core->offset, area.core->size, area.core->key, status.taken,
                            status.contended, status.timed_out, status.recovered, state);
    }
    text += "\nRecords in use\n";
    for (const Area &area : areas) {
        std::string counts;
        for (const auto &[name, count] : area.counts) {
            if (count == 0) continue;
            counts += fmt::format("{}{} {}", counts.empty() ? "" : ", ", name,
                                  count < 0 ? "not read" : fmt::format("{}", count));
        }
        text += fmt::format("{:<9} {}\n", NameOf(*area.core), counts.empty() ? "none" : counts);
    }
    return text;
}

Json ToJson(const OalSemStatus &status, uint32_t key) {
    const auto number = [](bool known, int64_t value) { return known ? Json(value) : Json(nullptr); };
    const bool held = status.held != 0;
    Json json = {{"key", key}, {"exists", status.exists != 0}, {"held", held}};
    json["holder_pid"] = number(held && status.holder_pid != 0, status.holder_pid);
    json["held_for_ms"] = number(held, status.held_for_ms);
    json["last_pid"] = number(status.last_pid != 0, status.last_pid);
    json["taken"] = status.taken;
    json["contended"] = status.contended;
    json["timed_out"] = status.timed_out;
    json["recovered"] = status.recovered;
    json["recovered_pid"] = number(status.recovered_pid != 0, status.recovered_pid);
    json["recovered_at"] = number(status.recovered != 0, status.recovered_at);
    return json;
}

std::string AsJson(const std::vector<Area> &areas, bool present) {
    Json document = {
        {"key", MW_AREA_KEY}, {"present", present}, {"size", MW_AREA_SIZE}, {"areas", Json::array()}};
    for (const Area &area : areas) {
        Json records = Json::object();
        for (const auto &[name, count] : area.counts) records[name] = count < 0 ? Json(nullptr) : Json(count);
        document["areas"].push_back({{"name", std::string(NameOf(*area.core))},
                                     {"offset", area.core->offset},
                                     {"size", area.core->size},
                                     {"records", records},
                                     {"semaphore", ToJson(area.semaphore, area.core->key)}});
    }
    return Document(document);
}

void Status() {
    const bool present = tools::AreaExists();
    if (present || as_json) {
        const std::vector<Area> areas = LookAtAreas(present);
        Finish(as_json ? AsJson(areas, present) : AsText(areas));
    }
    if (!present) return Fail(tools::WhyNoArea());
    const size_t missing = std::size(midware::kModules) - tools::SemaphoresInPlace();
    if (missing != 0) Fail(fmt::format("{} of the module semaphores are missing: run midware-init", missing));
}

void AddStatus(cli::App &app) {
    cli::App *status =
        app.add_subcommand("status", "Shows the shared area, its module areas and their semaphores");
    status->add_flag("--json", as_json, "One JSON document");
    status->footer(
        "A semaphore is held \"for at least\" the time since a waiting process, or a look like this one, "
        "first "
        "found it held.\nThe figures are from before the records were counted, which takes the semaphores.\n"
        "Exit codes: 0 all is in place, also while semaphores are held; 1 the area or a semaphore is missing "
        "or "
        "must not be used; 2 wrong usage.");
    status->callback(Status);
}

const Command kCommand("status", AddStatus, Needs::kLiveArea);

}  // namespace
}  // namespace mwctl
