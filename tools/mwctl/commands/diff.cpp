// mwctl diff: a saved area against the live one, or against another.
#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "area.h"
#include "command.h"
#include "layout.h"
#include "output.h"
#include "path.h"
#include "source.h"
#include "text.h"
#include "value.h"
#include "views.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

// Exit codes.
constexpr int kSame = 0;
constexpr int kDifferent = 1;
constexpr int kTrouble = 2;

std::string first, second;
bool as_json = false;

// One of the two that are compared.
struct Side {
    SavedFile file{};  // unless it is the live one
    std::vector<std::byte> area{};
    std::vector<std::string> missing{};  // modules that could not be read
    ConfigBytes configs[kConfigs]{};
};

// The problem, or nothing.
std::string ReadFile(const std::string &path, Side &side) {
    side.file = OpenSaved(path);
    const SavedArea &saved = side.file.saved;
    side.area.assign(saved.area.begin(), saved.area.end());
    for (size_t i = 0; i < kConfigs; ++i) {
        side.configs[i] = {saved.configs[i].state,
                           {saved.configs[i].bytes.begin(), saved.configs[i].bytes.end()}};
    }
    return side.file.problem;
}

std::string ReadLive(Side &side, std::vector<std::string> &problems) {
    if (!tools::AreaExists()) return tools::WhyNoArea();
    side.area.resize(MW_AREA_SIZE);
    for (const Module *module : ModulesWithArea()) {
        const std::string problem =
            CopyOut(*module->core, std::span(side.area).subspan(module->core->offset, module->core->size));
        if (problem.empty()) continue;
        problems.push_back(fmt::format("{}: {} (--no-lock does without)", module->name, problem));
        side.missing.emplace_back(module->name);
    }
    for (size_t i = 0; i < kConfigs; ++i) side.configs[i] = ReadConfig(kConfigPaths[i]);
    return {};
}

struct Difference {
    std::string path;
    Json values[2]{};
    std::string texts[2]{};
};

std::string TextOf(const Place &place, const std::byte *bytes) {
    const std::string text = ValueText(*place.field, bytes, place.element.value_or(0));
    return place.field->kind == Kind::kText ? fmt::format("\"{}\"", text) : text;
}

// Values that look the same, such as two texts that differ behind their ends: the bytes from the first to the
// last that differ.
void ShowBytes(Difference &difference, std::span<const std::byte> a, std::span<const std::byte> b) {
    size_t begin = 0, end = a.size();
    while (a[begin] == b[begin]) ++begin;
    while (a[end - 1] == b[end - 1]) --end;
    const std::span<const std::byte> both[] = {a, b};
    for (int i = 0; i < 2; ++i) {
        const auto *bytes = reinterpret_cast<const uint8_t *>(both[i].data());
        difference.texts[i] =
            fmt::format("{:02x} at byte {}", fmt::join(bytes + begin, bytes + end, " "), begin);
        difference.values[i] = difference.texts[i];
    }
}

void Compare(const Module &module, const Side (&sides)[2], std::vector<Difference> &differences) {
    const std::byte *area = sides[0].area.data() + module.core->offset;
    const std::byte *other_area = sides[1].area.data() + module.core->offset;
    const auto differ = [&](const Place &part) {
        return !std::equal(part.begin(), part.begin() + part.size(), other_area + part.offset);
    };
    const auto add = [&](const Place &value) {
        if (!differ(value)) return;
        const std::byte *others[] = {value.bytes, other_area + (value.bytes - area)};
        Difference difference{.path = value.path};
        for (int i = 0; i < 2; ++i) {
            difference.values[i] = ToJson(*value.field, others[i], value.element);
            difference.texts[i] = TextOf(value, others[i]);
        }
        if (difference.texts[0] == difference.texts[1]) {
            ShowBytes(difference, {value.begin(), value.size()}, {other_area + value.offset, value.size()});
        }
        differences.push_back(std::move(difference));
    };
    ForEachValue(fmt::format("{}.{}", module.name, kAreaRecord), *module.area, area, 0, add, differ);
}

std::string TextOf(const ConfigBytes &config) {
    switch (config.state) {
        case SavedConfig::State::kMissing:
            return "missing";
        case SavedConfig::State::kUnreadable:
            return "not readable";
        case SavedConfig::State::kPresent:
            break;
    }
    return fmt::format("{} bytes, checksum {:016x}", config.bytes.size(), Hash(config.bytes));
}

// Configuration files are compared whole.
void CompareConfigs(const Side (&sides)[2], std::vector<Difference> &differences) {
    for (size_t i = 0; i < kConfigs; ++i) {
        const ConfigBytes &a = sides[0].configs[i], &b = sides[1].configs[i];
        if (a.state == b.state && a.bytes == b.bytes) continue;
        differences.push_back({std::string(kConfigPaths[i]), {TextOf(a), TextOf(b)}, {TextOf(a), TextOf(b)}});
    }
}

Json NameOf(const Side &side, const std::string &path) {
    if (path.empty()) return {{"file", nullptr}};
    return {{"file", path}, {"time", side.file.saved.time}, {"unlocked", side.file.saved.unlocked}};
}

std::string TitleOf(const Side &side, const std::string &path) {
    if (path.empty()) return "the live area";
    return fmt::format("{}, saved at {}{}", tools::Printable(path), TimeText(side.file.saved.time),
                       side.file.saved.unlocked ? " without semaphores" : "");
}

std::string AsJson(const Side (&sides)[2], const std::vector<Difference> &differences,
                   const std::vector<std::string> &problems) {
    Json document = {{"from", NameOf(sides[0], first)}, {"to", NameOf(sides[1], second)}};
    document["differences"] = Json::array();
    for (const Difference &one : differences) {
        document["differences"].push_back({{"path", one.path},
                                           {"from", one.values[0]},
                                           {"to", one.values[1]},
                                           {"text", {{"from", one.texts[0]}, {"to", one.texts[1]}}}});
    }
    if (!problems.empty()) document["errors"] = problems;
    return Document(document);
}

std::string AsText(const Side (&sides)[2], const std::vector<Difference> &differences) {
    if (differences.empty()) return {};
    std::string text = fmt::format("--- {}\n+++ {}\n", TitleOf(sides[0], first), TitleOf(sides[1], second));
    for (const Difference &one : differences) {
        text += fmt::format("{}: {} -> {}\n", one.path, one.texts[0], one.texts[1]);
    }
    return text;
}

void Diff() {
    Side sides[2];
    std::vector<std::string> problems;
    std::string fatal = ReadFile(first, sides[0]);
    if (fatal.empty()) fatal = second.empty() ? ReadLive(sides[1], problems) : ReadFile(second, sides[1]);
    std::vector<Difference> differences;
    if (fatal.empty()) {
        const std::vector<std::string> &missing = sides[1].missing;
        for (const Module *module : ModulesWithArea()) {
            if (std::ranges::find(missing, module->name) == missing.end())
                Compare(*module, sides, differences);
        }
        CompareConfigs(sides, differences);
    } else {
        problems.push_back(fatal);
    }
    const std::string text = as_json ? AsJson(sides, differences, problems) : AsText(sides, differences);
    const bool printed = tools::Print(kProgram, text);
    for (const std::string &problem : problems) Fail(problem);
    exit_code = !printed || !problems.empty() ? kTrouble : differences.empty() ? kSame : kDifferent;
}

void AddDiff(cli::App &app) {
    cli::App *diff = app.add_subcommand("diff", "Compares a saved area with the live one, or with another");
    diff->add_option("FILE", first, "A file that mwctl save wrote")->required();
    diff->add_option("OTHER", second, "Another one; the live area when none is named");
    diff->add_flag("--json", as_json, "One JSON document");
    diff->footer(
        "A line for each field that differs: its path (see mwctl show --help), its value in FILE, and the "
        "other.\n"
        "Exit codes: 0 they are the same, 1 they differ, 2 wrong usage or one of them cannot be read.");
    diff->callback(Diff);
}

const Command kCommand("diff", AddDiff, Needs::kArea);

}  // namespace
}  // namespace mwctl
