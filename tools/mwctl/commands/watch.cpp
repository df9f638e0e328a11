// mwctl watch: prints every value that changes.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

#include "area.h"
#include "arguments.h"
#include "command.h"
#include "live.h"
#include "output.h"
#include "text.h"
#include "value.h"
#include "views.h"
#include "walk.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

struct Options {
    std::vector<std::string> modules;
    bool json = false;
    double interval = 1;
    uint32_t count = 0;  // 0: without end
};
Options options;

// What is printed at the end of a round.
std::string lines;

void Tell(std::string_view event, std::string_view subject, std::string_view text) {
    if (options.json) {
        lines += DocumentLine({{"time", TimeStamp()},
                               {"event", std::string(event)},
                               {"path", std::string(subject)},
                               {"text", std::string(text)}});
    } else {
        lines += fmt::format("{} {}: {}\n", TimeStamp(), subject, text);
    }
}

void TellChange(const std::string &path, const Field &field, const std::byte *before, const std::byte *after,
                uint32_t index) {
    const auto text = [&](const std::byte *bytes) {
        const std::string shown = bytes == nullptr ? std::string() : ValueText(field, bytes, index);
        return shown.empty() ? "none" : shown;
    };
    if (options.json) {
        const auto value = [&](const std::byte *bytes) {
            return bytes == nullptr ? Json(nullptr) : ToJson(field, bytes, index);
        };
        lines += DocumentLine({{"time", TimeStamp()},
                               {"event", "changed"},
                               {"path", path},
                               {"label", std::string(field.label)},
                               {"old", value(before)},
                               {"new", value(after)},
                               {"old_text", text(before)},
                               {"new_text", text(after)}});
    } else {
        lines += fmt::format("{} {}: {} -> {}\n", TimeStamp(), path, text(before), text(after));
    }
}

// The values in which two states of a record differ. Of one that is new or gone those that are not zero.
void Compare(const Layout &layout, const std::byte *before, const std::byte *after, Chosen chosen,
             const std::string &path) {
    for (const Field &field : layout.fields) {
        if (chosen == Chosen::kWithGetter && field.getter == nullptr) continue;
        if (chosen == Chosen::kWithSlotGetter && field.slot_getter == nullptr) continue;
        const auto used = [&](const std::byte *bytes) {
            if (bytes == nullptr) return 0u;
            return field.count == 0 ? 1u : ElementsInUse(field, bytes);
        };
        const uint32_t used_before = used(before);
        const uint32_t used_after = used(after);
        for (uint32_t i = 0; i < std::max(used_before, used_after); ++i) {
            const std::byte *old_bytes = i < used_before ? before : nullptr;
            const std::byte *new_bytes = i < used_after ? after : nullptr;
            const bool same =
                old_bytes != nullptr && new_bytes != nullptr
                    ? std::memcmp(ElementAt(field, before, i), ElementAt(field, after, i), field.width) == 0
                    : IsZero(ElementAt(field, old_bytes != nullptr ? before : after, i), field.width);
            if (same) continue;
            if (field.kind == Kind::kRecord) {
                Compare(*field.layout, old_bytes == nullptr ? nullptr : ElementAt(field, before, i),
                        new_bytes == nullptr ? nullptr : ElementAt(field, after, i), Chosen::kAll,
                        PathOf(path, field, i));
            } else {
                TellChange(PathOf(path, field, i), field, old_bytes, new_bytes, i);
            }
        }
    }
}

void Compare(const Module &module, const Reading &before, const Reading &after) {
    const Record &record = *after.record;
    std::set<uint32_t> numbers;
    for (const Reading *reading : {&before, &after}) {
        for (const Slot &slot : reading->slots) numbers.insert(slot.number);
    }
    const auto find = [](const Reading &reading, uint32_t number) -> const std::byte * {
        const auto found = std::ranges::find(reading.slots, number, &Slot::number);
        return found == reading.slots.end() ? nullptr : found->bytes;
    };
    for (const uint32_t number : numbers) {
        const std::byte *old_bytes = find(before, number);
        const std::byte *new_bytes = find(after, number);
        const std::string path = PathOf(module, record, number);
        if (old_bytes == nullptr) Tell("appeared", path, "in use now");
        if (new_bytes == nullptr) Tell("disappeared", path, "no longer in use");
        Compare(*record.layout, old_bytes, new_bytes, record.chosen, path);
    }
}

// Keeps what was read last of each record, also over rounds in which it could not be read.
class Watcher {
  public:
    explicit Watcher(const std::vector<const Module *> &modules) : rounds_(modules) {}

    void Look() {
        for (ModuleReading &module : rounds_.Next()) {
            TellProblem(module);
            for (Reading &reading : module.records) {
                if (!reading.problem.empty()) continue;
                auto &last = last_[reading.record];
                if (last) Compare(*module.module, *last, reading);
                last = std::move(reading);
            }
        }
    }

  private:
    // Once when it begins and once when it is over.
    void TellProblem(const ModuleReading &module) {
        std::string problem;
        for (const Reading &reading : module.records) {
            if (problem.empty()) problem = reading.problem;
        }
        const bool had = in_trouble_.contains(module.module);
        if (!problem.empty() && !had) {
            in_trouble_.insert(module.module);
            Tell("unreadable", module.module->name, problem);
        } else if (problem.empty() && had) {
            in_trouble_.erase(module.module);
            Tell("readable", module.module->name, "can be read again");
        }
    }

    Rounds rounds_;
    std::map<const Record *, std::optional<Reading>> last_;
    std::set<const Module *> in_trouble_;
};

// Holders of semaphores that somebody waits for in vain, or that keep one for long.
class Semaphores {
  public:
    void Look() {
        for (const midware::Module &module : midware::kModules) {
            const OalSemStatus status = tools::SemStatus(module.key);
            const bool stuck = status.held != 0 && status.held_for_ms >= midware::kLockTimeoutMs;
            const std::string subject = fmt::format("semaphore {} ({})", module.key, NameOf(module));
            if (stuck && stuck_.insert(&module).second) Tell("stuck", subject, tools::StateText(status));
            if (!stuck && stuck_.erase(&module) != 0) Tell("released", subject, "released");
        }
    }

  private:
    std::set<const midware::Module *> stuck_;
};

void Watch() {
    std::vector<const Module *> modules;
    for (const Module &module : Modules()) {
        const bool chosen = options.modules.empty() ||
                            std::ranges::find(options.modules, module.name) != options.modules.end();
        if (chosen) modules.push_back(&module);
    }
    EndOnSignals();
    Watcher watcher(modules);
    Semaphores semaphores;
    AreaWatch area;
    bool was_present = true;
    const auto interval = std::chrono::milliseconds(std::llround(options.interval * 1000));
    for (uint64_t round = 0; !Ended(); ++round) {
        const AreaWatch::State state = area.Look();
        if (state == AreaWatch::State::kAbsent && was_present) Tell("area-absent", "shared area", area.Why());
        if (state != AreaWatch::State::kAbsent && (!was_present || state == AreaWatch::State::kReplaced))
            Tell("area-present", "shared area",
                 state == AreaWatch::State::kReplaced ? "was created anew" : "is there");
        was_present = state != AreaWatch::State::kAbsent;
        if (state == AreaWatch::State::kPresent) {
            watcher.Look();
            semaphores.Look();
        }
        if (!lines.empty() && !tools::Print(kProgram, lines)) {
            exit_code = tools::kFailed;
            return;
        }
        lines.clear();
        if (options.count != 0 && round >= options.count) return;
        if (state == AreaWatch::State::kReplaced) {
            StartAgain("--count", fmt::format("{}", options.count == 0 ? 0 : options.count - round));
            return Fail("the program could not be started again: do it by hand");
        }
        if (!Pause(interval)) return;
    }
}

void AddWatch(cli::App &app) {
    cli::App *watch =
        app.add_subcommand("watch", "Prints every value that changes, with its path, old and new");
    watch
        ->add_option("MODULE", options.modules,
                     "What to watch; everything when none is named: " + NamesOfModules())
        ->check(CheckModule);
    watch->add_flag("--json", options.json, "One JSON object a line");
    AddInterval(*watch, options.interval);
    watch
        ->add_option(
            "--count", options.count,
            "Ends after so many looks for changes; 0: only when it is told to, or nobody reads it any more")
        ->type_name("N");
    watch->footer(
        "Also says when the shared area goes and comes, and when a semaphore is held for longer than 500 ms. "
        "Times "
        "are UTC.\nExit codes: 0 ended as asked, 1 standard output could not be written, 2 wrong usage.");
    watch->callback(Watch);
}

const Command kCommand("watch", AddWatch, Needs::kArea);

}  // namespace
}  // namespace mwctl
