#include "layout.h"

#include <fmt/format.h>

#include <algorithm>

#include "saved_area.h"

namespace mwctl {
namespace {

std::string ElementType(const Field &field) {
    switch (field.kind) {
        case Kind::kSigned:
            return fmt::format("int{}", 8 * field.width);
        case Kind::kFloat:
            return field.width == sizeof(double) ? "double" : "float";
        case Kind::kText:
            return fmt::format("char[{}]", field.width);
        case Kind::kBytes:
        case Kind::kEvent:
            return fmt::format("uint8[{}]", field.width);
        case Kind::kRecord:
            return std::string(field.layout->name);
        case Kind::kUnsigned:
        case Kind::kCode:
        case Kind::kFlags:
        case Kind::kSwitch:
        case Kind::kState:
            break;
    }
    return fmt::format("uint{}", 8 * field.width);
}

uint64_t HashOf(const Layout &layout, uint64_t hash) {
    for (const Field &field : layout.fields) {
        hash = Hash(fmt::format("{} {} {}\n", field.offset, TypeText(field), field.name), hash);
        if (field.layout != nullptr) hash = HashOf(*field.layout, hash);
    }
    return hash;
}

}  // namespace

std::vector<const Module *> ModulesWithArea() {
    std::vector<const Module *> found;
    for (const Module &module : Modules()) {
        if (module.area != nullptr) found.push_back(&module);
    }
    std::ranges::sort(found, {}, [](const Module *module) { return module->core->offset; });
    return found;
}

// What an array of arrays has in C: the count first.
std::string TypeText(const Field &field) {
    std::string type = ElementType(field);
    if (field.count == 0) return type;
    return type.insert(std::min(type.find('['), type.size()), fmt::format("[{}]", field.count));
}

uint64_t LayoutFingerprint() {
    uint64_t hash = kHashStart;
    for (const Module *module : ModulesWithArea()) {
        hash = Hash(fmt::format("{} {} {}\n", module->name, module->core->offset, module->core->size), hash);
        hash = HashOf(*module->area, hash);
    }
    return hash;
}

}  // namespace mwctl
