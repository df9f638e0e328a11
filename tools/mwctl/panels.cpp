#include "panels.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "area.h"
#include "samples.h"
#include "source.h"
#include "text.h"
#include "value.h"
#include "views.h"
#include "walk.h"

namespace mwctl {
namespace {

constexpr size_t kNarrowest = 40;  // a column of panels
constexpr size_t kMostColumns = 4;
constexpr size_t kLeastLines = 3;  // a title and two rows

// The part that a sample is about: "memory DIMM000", or where it has no name "cpu.temperatures[0]".
std::string PartOf(const Sample &sample) {
    if (!sample.name.empty()) return fmt::format("{} {}", sample.module->name, tools::Printable(sample.name));
    return sample.path.substr(0, sample.path.rfind('.'));
}

std::string Named(const Sample &sample, std::string_view plain) {
    return sample.label == plain ? PartOf(sample) : fmt::format("{} {}", PartOf(sample), sample.label);
}

Row HealthRow(const Sample &sample) {
    const std::string code = sample.code.empty() ? fmt::format("{}", sample.value) : std::string(sample.code);
    return {Named(sample, "health"), code, sample.IsBad() ? Mark::kBad : Mark::kNone};
}

Panel SemaphorePanel() {
    std::vector<Row> held, free;
    for (const midware::Module &module : midware::kModules) {
        const OalSemStatus status = tools::SemStatus(module.key);
        const bool fine =
            status.exists != 0 && (status.held == 0 || status.held_for_ms < midware::kLockTimeoutMs);
        const std::string counts = fmt::format("{} taken, {} waits, {} lost", status.taken,
                                               status.contended + status.timed_out, status.recovered);
        Row row{std::string(NameOf(module)),
                status.exists != 0 && status.held == 0 ? counts : tools::StateText(status),
                fine ? Mark::kNone : Mark::kBad};
        (fine ? free : held).push_back(std::move(row));
    }
    held.insert(held.end(), free.begin(), free.end());
    return {"Semaphores", held};
}

}  // namespace

std::string HeadOf(const std::vector<ModuleReading> &readings) {
    std::string power = "unknown";
    for (const ModuleReading &module : readings) {
        for (const Reading &reading : module.records) {
            Walk(*module.module, reading, [&](const Value &value) {
                if (value.path == "power.state.dwPowerStatus")
                    power = ValueText(value.field, value.bytes, value.index);
            });
        }
    }
    return fmt::format("mwctl top  host power: {}{}", power, SavedTime() ? "  (saved area)" : "");
}

std::vector<Panel> PanelsOf(const std::vector<ModuleReading> &readings) {
    Panel temperatures{"Temperatures", {}}, fans{"Fans", {}}, power{"Power", {}},
        health{"Alarms and health", {}};
    for (const ModuleReading &module : readings) {
        std::vector<std::string> told;
        for (const Reading &reading : module.records) {
            if (reading.problem.empty() || std::ranges::find(told, reading.problem) != told.end()) continue;
            told.push_back(reading.problem);
            health.rows.push_back(
                {fmt::format("{}: {}", module.module->name, reading.problem), "", Mark::kBad});
        }
    }
    std::vector<Row> healths, bad_healths;
    for (const Sample &sample : SamplesOf(readings)) {
        switch (sample.quantity) {
            case Quantity::kTemperature:
                temperatures.rows.push_back(
                    {Named(sample, "temperature"), fmt::format("{:.4g} C", sample.value)});
                break;
            case Quantity::kFanSpeed:
                fans.rows.push_back({Named(sample, "speed"), fmt::format("{:.0f} rpm", sample.value)});
                break;
            case Quantity::kPower:
                power.rows.push_back({Named(sample, ""), fmt::format("{:.5g} W", sample.value)});
                break;
            case Quantity::kHealth:
                (sample.IsBad() ? bad_healths : healths).push_back(HealthRow(sample));
                break;
            case Quantity::kAlarm:
                if (sample.IsBad())
                    health.rows.push_back({PartOf(sample), std::string(sample.label), Mark::kBad});
                break;
        }
    }
    if (health.rows.empty()) health.rows.push_back({"no alarm is asserted", "", Mark::kGood});
    for (std::vector<Row> *rows : {&bad_healths, &healths})
        health.rows.insert(health.rows.end(), rows->begin(), rows->end());
    std::vector<Panel> panels{temperatures, fans, power, health};
    if (!SavedTime()) panels.push_back(SemaphorePanel());
    for (Panel &panel : panels) {
        if (panel.rows.empty()) panel.rows.push_back({"none", ""});
    }
    return panels;
}

std::string LineOf(const Row &row, size_t columns) {
    if (row.right.empty()) return tools::Cut(row.left, columns);
    // Both are of use: what is right gets at most two thirds.
    const size_t left_columns = tools::Columns(row.left);
    const size_t least = std::min(left_columns, columns / 3);
    const std::string right = tools::Cut(row.right, columns > least + 1 ? columns - least - 1 : 0);
    const size_t room = columns - std::min(columns, tools::Columns(right) + 1);
    std::string left = tools::Cut(row.left, room);
    left.append(columns - std::min(columns, tools::Columns(left) + tools::Columns(right)), ' ');
    return left + right;
}

std::vector<PanelPlace> Arrange(const std::vector<Panel> &panels, size_t columns, size_t lines) {
    const size_t across = std::clamp<size_t>(columns / kNarrowest, 1, std::min(kMostColumns, panels.size()));
    const size_t width = columns / across;
    std::vector<PanelPlace> places;
    for (size_t column = 0; column < across; ++column) {
        // The first columns have fewer panels: those are the long ones.
        const size_t left = panels.size() - places.size();
        const size_t here = left / (across - column);
        const size_t first = places.size();
        std::vector<size_t> shares(here);
        size_t free = lines;
        for (size_t &share : shares) free -= share = std::min(free, kLeastLines);
        // What is left goes line by line to those that need it.
        for (bool given = true; given && free > 0;) {
            given = false;
            for (size_t i = 0; i < here && free > 0; ++i) {
                if (shares[i] >= panels[first + i].rows.size() + 2) continue;
                ++shares[i];
                --free;
                given = true;
            }
        }
        size_t y = 0;
        for (const size_t share : shares) {
            places.push_back(
                {column * width, y, column + 1 == across ? columns - column * width : width - 1, share});
            y += share;
        }
    }
    return places;
}

}  // namespace mwctl
