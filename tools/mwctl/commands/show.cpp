// mwctl show: reads modules and prints them.
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "area.h"
#include "arguments.h"
#include "command.h"
#include "output.h"
#include "views.h"

namespace mwctl {
namespace {

struct Options {
    std::vector<std::string> modules;
    bool json = false;
    bool all = false;
    std::string_view requested{};  // the option that replaces the usual records by others
};
Options options;

bool HasRequested(const Module &module) {
    return std::any_of(module.records.begin(), module.records.end(),
                       [](const Record &record) { return record.option == options.requested; });
}

// One flag for each option that some record belongs to.
void AddRequests(cli::App &show) {
    for (const Module &module : Modules()) {
        for (const Record &record : module.records) {
            const std::string flag = fmt::format("--{}", record.option);
            if (record.option.empty() || show.has_option(flag)) continue;
            show.add_flag_callback(
                flag, [option = record.option] { options.requested = option; },
                std::string(record.option_help));
        }
    }
}

std::vector<ModuleReading> ReadChosen() {
    if (!options.requested.empty()) {
        for (const std::string &name : options.modules) {
            if (HasRequested(*FindModule(name))) continue;
            throw cli::UsageError(
                fmt::format("--{}: there is no such list of {}", options.requested, name));
        }
    }
    std::vector<ModuleReading> readings;
    for (const Module &module : Modules()) {
        const auto &chosen = options.modules;
        if (chosen.empty() || std::find(chosen.begin(), chosen.end(), module.name) != chosen.end()) {
            if (HasRequested(module)) readings.push_back(Read(module, options.requested, readings));
        }
    }
    return readings;
}

// What could not be read: a line for each record, or one for the module where the reason is the same for all
// of it.
std::vector<std::string> Problems(const std::vector<ModuleReading> &readings) {
    std::vector<std::string> problems;
    for (const ModuleReading &reading : readings) {
        std::vector<std::string> seen;
        for (const Reading &record : reading.records) {
            if (record.problem.empty() || std::find(seen.begin(), seen.end(), record.problem) != seen.end())
                continue;
            const bool alone = std::none_of(
                reading.records.begin(), reading.records.end(),
                [&](const Reading &other) { return &other != &record && other.problem == record.problem; });
            seen.push_back(record.problem);
            problems.push_back(
                alone ? fmt::format("{}.{}: {}", reading.module->name, record.record->name, record.problem)
                      : fmt::format("{}: {}", reading.module->name, record.problem));
        }
    }
    return problems;
}

void Show() {
    std::vector<ModuleReading> readings;
    std::vector<std::string> problems;
    if (tools::AreaExists()) {
        readings = ReadChosen();
        problems = Problems(readings);
    } else {
        problems.push_back(tools::WhyNoArea());
    }

    std::string text;
    if (options.json) {
        nlohmann::ordered_json document = nlohmann::ordered_json::object();
        for (const ModuleReading &reading : readings) {
            document[std::string(reading.module->name)] = ToJson(reading);
        }
        if (!problems.empty()) document["errors"] = problems;
        text = Document(document);
    } else {
        for (const ModuleReading &reading : readings) {
            text += (text.empty() ? "" : "\n") + ToText(reading, options.all ? Extent::kAll : Extent::kLine);
        }
    }
    Finish(text);
    for (const std::string &problem : problems) Fail(problem);
}

void AddShow(cli::App &app) {
    cli::App *show = app.add_subcommand("show", "Reads records and prints them");
    show->add_option("MODULE", options.modules,
                     "What to show; everything when none is named: " + NamesOfModules())
        ->check(CheckModule);
    show->add_flag("--json", options.json, "One JSON document with every field under its name");
    show->add_flag("--all", options.all, "Every field also of the records that are else a line each");
    AddRequests(*show);
    show->footer("A list shows the slots in use. Reserved bytes are shown when they are not zero.");
    show->callback(Show);
}

const Command kCommand("show", AddShow);

}  // namespace
}  // namespace mwctl
