// mwctl show: reads modules and prints them.
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "area.h"
#include "arguments.h"
#include "command.h"
#include "layout.h"
#include "output.h"
#include "path.h"
#include "value.h"
#include "views.h"

namespace mwctl {
namespace {

struct Options {
    std::vector<std::string> arguments;
    std::vector<std::string> modules{};  // those of the arguments that are modules
    std::vector<std::string> paths{};    // and the others
    bool json = false;
    bool all = false;
    bool raw = false;
    std::string_view requested{};  // the option that replaces the usual records by others
};
Options options{};

using Json = nlohmann::ordered_json;

// The values that a path leads to, a line each.
std::string ToText(const PathReading &reading) {
    std::vector<std::pair<std::string, std::string>> lines;
    for (const Place &place : reading.places) {
        ForEachValue(place, [&](const Place &value) {
            lines.emplace_back(value.path, ValueText(*value.field, value.bytes, value.element.value_or(0)));
        });
    }
    size_t width = 0;
    for (const auto &[path, value] : lines) width = std::max(width, path.size());
    std::string text;
    for (const auto &[path, value] : lines) {
        std::string line = fmt::format("{:<{}}  {}", path, width, value);
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

Json ToJson(const Place &place) {
    const Field &field = *place.field;
    Json json = {{"value", mwctl::ToJson(field, place.bytes, place.element)}};
    if (field.kind == Kind::kRecord) return json;
    Json texts = Json::array();
    ForEachValue(place, [&](const Place &value) {
        texts.push_back(ValueText(field, value.bytes, value.element.value_or(0)));
    });
    json["text"] = field.count == 0 || place.element ? texts[0] : texts;
    return json;
}

Json BytesToJson(uint32_t offset, uint32_t size, const std::byte *bytes) {
    const auto *first = reinterpret_cast<const uint8_t *>(bytes);
    return {{"offset", offset},
            {"size", size},
            {"bytes", fmt::format("{:02x}", fmt::join(first, first + size, ""))}};
}

// Adds what a path leads to to the document, under the paths of the values.
void AddTo(Json &document, const PathReading &reading) {
    const Reading &record = reading.reading.records.front();
    if (!reading.problem.empty()) {
        document[reading.path] = nullptr;
    } else if (reading.whole && options.raw) {
        for (const Slot &slot : record.slots) {
            const auto offset = static_cast<uint32_t>(slot.bytes - record.bytes.data());
            document[PathOf(reading, slot)] = BytesToJson(offset, record.record->layout->size, slot.bytes);
        }
    } else if (reading.whole) {
        const Json json = mwctl::ToJson(record);
        document[reading.path] = reading.slot_named ? json[0] : json;
    }
    for (const Place &place : reading.places) {
        document[place.path] =
            options.raw ? BytesToJson(place.offset, place.size(), place.begin()) : ToJson(place);
    }
}

std::string AsText(const PathReading &reading) {
    const Reading &record = reading.reading.records.front();
    std::string text;
    if (!options.raw && reading.whole) {
        const bool all = options.all || reading.slot_named;
        return mwctl::ToText(reading.reading, all ? Extent::kAll : Extent::kLine);
    }
    if (!options.raw) return ToText(reading);
    if (reading.whole) {
        for (const Slot &slot : record.slots) {
            const auto offset = static_cast<uint32_t>(slot.bytes - record.bytes.data());
            text += ToHex(PathOf(reading, slot), *record.record->layout, slot.bytes, offset);
        }
    }
    for (const Place &place : reading.places) text += ToHex(place);
    return text;
}

// With --raw, a module stands for its area, and no argument for all areas.
void SortArguments() {
    for (const std::string &argument : options.arguments) {
        const bool module = argument.find('.') == argument.npos;
        if (module && options.raw && FindModule(argument)->area == nullptr) {
            throw cli::UsageError(
                fmt::format("{} has no area of its own: --raw needs one of its records, such as {}.{}",
                            argument, argument, FindModule(argument)->records.front().name));
        }
        if (module && options.raw) {
            options.paths.push_back(fmt::format("{}.{}", argument, kAreaRecord));
        } else {
            (module ? options.modules : options.paths).push_back(argument);
        }
    }
    if (!options.raw || !options.arguments.empty()) return;
    for (const Module *module : ModulesWithArea()) {
        options.paths.push_back(fmt::format("{}.{}", module->name, kAreaRecord));
    }
}

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
        for (const std::string &name : options.arguments) {
            if (name.find('.') == name.npos && HasRequested(*FindModule(name))) continue;
            throw cli::UsageError(fmt::format("--{}: there is no such list of {}", options.requested, name));
        }
    }
    std::vector<ModuleReading> readings;
    for (const Module &module : Modules()) {
        const auto &chosen = options.modules;
        if ((chosen.empty() && options.paths.empty()) ||
            std::find(chosen.begin(), chosen.end(), module.name) != chosen.end()) {
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
    std::vector<PathReading> paths;
    std::vector<std::string> problems;
    SortArguments();
    if (tools::AreaExists()) {
        readings = ReadChosen();
        problems = Problems(readings);
        for (const std::string &path : options.paths) {
            paths.push_back(ReadPath(path));
            if (!paths.back().problem.empty()) problems.push_back(path + ": " + paths.back().problem);
        }
    } else {
        problems.push_back(tools::WhyNoArea());
    }

    std::string text;
    if (options.json) {
        Json document = Json::object();
        for (const ModuleReading &reading : readings) {
            document[std::string(reading.module->name)] = mwctl::ToJson(reading);
        }
        for (const PathReading &reading : paths) AddTo(document, reading);
        if (!problems.empty()) document["errors"] = problems;
        text = Document(document);
    } else {
        for (const ModuleReading &reading : readings) {
            text += (text.empty() ? "" : "\n") +
                    mwctl::ToText(reading, options.all ? Extent::kAll : Extent::kLine);
        }
        bool lines = false;  // lines of values stand together, records apart
        for (const PathReading &reading : paths) {
            if (!reading.problem.empty()) continue;
            const bool apart = !text.empty() && !(lines && !reading.whole);
            text += (apart ? "\n" : "") + AsText(reading);
            lines = !reading.whole;
        }
    }
    Finish(text);
    for (const std::string &problem : problems) Fail(problem);
}

void AddShow(cli::App &app) {
    cli::App *show = app.add_subcommand("show", "Reads records and prints them");
    show->add_option("MODULE", options.arguments,
                     "What to show; everything when none is named: " + NamesOfModules() +
                         "; or a part of one: MODULE.RECORD, MODULE.RECORD.FIELD")
        ->check(CheckPath);
    show->add_flag("--json", options.json, "One JSON document with every field under its name");
    show->add_flag("--all", options.all, "Every field also of the records that are else a line each");
    show->add_flag(
        "--raw", options.raw,
        "The bytes in hexadecimal, with the names of the fields and their offsets in the area or the record");
    AddRequests(*show);
    show->footer(
        "A list shows the slots in use. Reserved bytes are shown when they are not zero.\n"
        "Paths: memory.temperatures[3].iTemp is a field (--json has the names), [3] the number of the slot "
        "as it is\n"
        "shown; elements of arrays count from 0, and without a number all of them are meant. memory.area is "
        "the\n"
        "area as it is stored, also what no function reads (see mwctl layout).");
    show->callback(Show);
}

const Command kCommand("show", AddShow);

}  // namespace
}  // namespace mwctl
