#include "table.h"

#include <algorithm>

namespace mwctl {
namespace {

// What is shown first; a module that is not listed comes last.
constexpr std::string_view kOrder[] = {"board", "firmware", "cpu",      "memory", "pcie",   "nic",
                                       "fc",    "gpu",      "custcard", "raid",   "disks",  "backplane",
                                       "fan",   "thermal",  "power",    "pem",    "health", "services"};

auto Place(const Module &module) {
    return std::pair(std::find(std::begin(kOrder), std::end(kOrder), module.name) - std::begin(kOrder),
                     module.name);
}

std::vector<Module> &Known() {
    static std::vector<Module> modules;
    return modules;
}

}  // namespace

Plug::Plug(const Module &module) {
    std::vector<Module> &modules = Known();
    const auto before = [](const Module &a, const Module &b) { return Place(a) < Place(b); };
    modules.insert(std::upper_bound(modules.begin(), modules.end(), module, before), module);
}

const std::vector<Module> &Modules() { return Known(); }

const Module *FindModule(std::string_view name) {
    const auto found =
        std::find_if(Known().begin(), Known().end(), [&](const Module &m) { return m.name == name; });
    return found == Known().end() ? nullptr : &*found;
}

namespace {

const Layout *FindIn(const Layout *layout, std::string_view name) {
    if (layout == nullptr || layout->name == name) return layout;
    for (const Field &field : layout->fields) {
        if (const Layout *found = FindIn(field.layout, name)) return found;
    }
    return nullptr;
}

}  // namespace

const Layout *FindLayout(std::string_view name) {
    for (const Module &module : Known()) {
        if (const Layout *found = FindIn(module.area, name)) return found;
        for (const Layout *layout : module.passed) {
            if (const Layout *found = FindIn(layout, name)) return found;
        }
        for (const Record &record : module.records) {
            if (const Layout *found = FindIn(record.layout, name)) return found;
        }
    }
    return nullptr;
}

const Field *FindField(std::string_view path) {
    const auto next = [&path] {
        const std::string_view name = path.substr(0, path.find('.'));
        path.remove_prefix(std::min(name.size() + 1, path.size()));
        return name;
    };
    const Module *module = FindModule(next());
    if (module == nullptr) return nullptr;
    const std::string_view name = next();
    const auto record = std::find_if(module->records.begin(), module->records.end(),
                                     [&](const Record &r) { return r.name == name; });
    const Layout *layout = record == module->records.end() ? nullptr : record->layout;
    const Field *field = nullptr;
    while (!path.empty()) {
        if (layout == nullptr) return nullptr;
        const std::string_view member = next();
        const auto found = std::find_if(layout->fields.begin(), layout->fields.end(),
                                        [&](const Field &f) { return f.name == member; });
        if (found == layout->fields.end()) return nullptr;
        field = &*found;
        layout = field->layout;
    }
    return field;
}

}  // namespace mwctl
