// mwctl layout: where every field of the shared area lies.
#include "layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "command.h"
#include "views.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

std::vector<std::string> names;
bool as_json = false;
bool as_markdown = false;
bool only_fingerprint = false;

std::string CheckArea(const std::string &name) {
    std::vector<std::string_view> known;
    for (const Module *module : ModulesWithArea()) known.push_back(module->name);
    if (std::ranges::find(known, name) != known.end()) return {};
    return fmt::format("there is no area '{}'; there are {}", name, fmt::join(known, ", "));
}

// The records in it, each once, in the order in which they come up.
void CollectRecords(const Layout &layout, std::vector<const Layout *> &records) {
    for (const Field &field : layout.fields) {
        if (field.layout == nullptr || std::ranges::find(records, field.layout) != records.end()) continue;
        records.push_back(field.layout);
        CollectRecords(*field.layout, records);
    }
}

std::string OffsetOf(const Module &module) {
    return fmt::format("offset {}, {} bytes, semaphore {}", module.core->offset, module.core->size,
                       module.core->key);
}

using Row = std::array<std::string, 6>;

std::vector<Row> RowsOf(const Layout &layout) {
    std::vector<Row> rows{{"offset", "size", "type", "name", "label", "unit"}};
    for (const Field &field : layout.fields) {
        rows.push_back({fmt::format("{}", field.offset), fmt::format("{}", field.size()), TypeText(field),
                        std::string(field.name), std::string(field.label), std::string(field.unit)});
    }
    return rows;
}

std::string AsTable(const Layout &layout) {
    const std::vector<Row> rows = RowsOf(layout);
    std::array<size_t, 6> widths{};
    for (const Row &row : rows) {
        for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (const Row &row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            line += fmt::format(fmt::runtime(i < 2 ? "  {:>{}}" : "  {:<{}}"), row[i], widths[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

std::string AsMarkdown(const Layout &layout) {
    std::string text;
    const std::vector<Row> rows = RowsOf(layout);
    for (const Row &row : rows) {
        text += fmt::format("| {} |\n", fmt::join(row, " | "));
        if (&row == &rows.front()) text += "|--:|--:|---|---|---|---|\n";
    }
    return text;
}

// Each area with the records that are in it and in none before.
std::string AsText(const std::vector<const Module *> &modules) {
    std::string text;
    if (as_markdown) {
        text = fmt::format(
            "# The layout of the shared area\n\n"
            "Every byte of the {} bytes, as `mwctl layout --markdown` prints them. Offsets count from where "
            "the area\n"
            "or the record begins; numbers are little-endian and may be unaligned. A path such as\n"
            "`memory.area.dwMemCount` shows a field: `mwctl show memory.area.dwMemCount`.\n\n"
            "Fingerprint: `{:016x}`\n",
            MW_AREA_SIZE, LayoutFingerprint());
    }
    std::vector<const Layout *> known;
    for (const Module *module : modules) {
        const size_t before = known.size();
        CollectRecords(*module->area, known);
        if (as_markdown) {
            text += fmt::format("\n## {} ({})\n\nAt {}.\n\n{}", module->label, module->name,
                                OffsetOf(*module), AsMarkdown(*module->area));
        } else {
            text += fmt::format("{}{}: {}\n{}", text.empty() ? "" : "\n", module->name, OffsetOf(*module),
                                AsTable(*module->area));
        }
        for (size_t i = before; i < known.size(); ++i) {
            const Layout &record = *known[i];
            text +=
                as_markdown
                    ? fmt::format("\n### {}\n\n{} bytes.\n\n{}", record.name, record.size, AsMarkdown(record))
                    : fmt::format("\n{}: {} bytes\n{}", record.name, record.size, AsTable(record));
        }
    }
    return text;
}

Json FieldsOf(const Layout &layout) {
    Json fields = Json::array();
    for (const Field &field : layout.fields) {
        Json json = {{"offset", field.offset}, {"size", field.size()}, {"type", TypeText(field)}};
        for (const auto &[key, value] :
             {std::pair{"name", field.name}, {"label", field.label}, {"unit", field.unit}}) {
            json[key] = std::string(value);
        }
        for (const Code &code : field.codes) {
            json["codes"].push_back({{"value", code.value}, {"name", std::string(code.name)}});
        }
        fields.push_back(std::move(json));
    }
    return fields;
}

std::string AsJson(const std::vector<const Module *> &modules) {
    Json document = {{"fingerprint", fmt::format("{:016x}", LayoutFingerprint())},
                     {"size", MW_AREA_SIZE},
                     {"areas", Json::array()},
                     {"records", Json::object()}};
    std::vector<const Layout *> records;
    for (const Module *module : modules) {
        CollectRecords(*module->area, records);
        document["areas"].push_back({{"name", std::string(module->name)},
                                     {"offset", module->core->offset},
                                     {"size", module->core->size},
                                     {"semaphore", module->core->key},
                                     {"fields", FieldsOf(*module->area)}});
    }
    for (const Layout *record : records) {
        document["records"][std::string(record->name)] = {{"size", record->size},
                                                          {"fields", FieldsOf(*record)}};
    }
    return Document(document);
}

void ShowLayout() {
    if (only_fingerprint) return Finish(fmt::format("{:016x}\n", LayoutFingerprint()));
    std::vector<const Module *> modules = ModulesWithArea();
    std::erase_if(modules, [](const Module *module) {
        return !names.empty() && std::ranges::find(names, module->name) == names.end();
    });
    Finish(as_json ? AsJson(modules) : AsText(modules));
}

void AddLayout(cli::App &app) {
    cli::App *layout = app.add_subcommand("layout", "Says where every field of the shared area lies");
    layout->add_option("AREA", names, "Which areas; all when none is named")->check(CheckArea);
    cli::Option *json = layout->add_flag("--json", as_json, "One JSON document");
    cli::Option *markdown = layout->add_flag("--markdown", as_markdown, "Tables in Markdown");
    cli::Option *fingerprint =
        layout->add_flag("--fingerprint", only_fingerprint,
                         "Only a number that is equal where the same bytes mean the same fields");
    markdown->excludes(json);
    fingerprint->excludes(json)->excludes(markdown);
    layout->callback(ShowLayout);
}

const Command kCommand("layout", AddLayout);

}  // namespace
}  // namespace mwctl
