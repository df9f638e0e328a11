#include "arguments.h"

#include <fmt/format.h>

#include <algorithm>

#include "table.h"
#include "text.h"

namespace mwctl {

cli::Validator NumberIn(std::string what, uint64_t least, uint64_t most) {
    return cli::Validator(
        [=](std::string &text) -> std::string {
            const auto number = tools::ParseNumber(text);
            if (number && *number >= least && *number <= most) return {};
            return fmt::format("{} is a number from {} to {}, not '{}'", what, least, most, text);
        },
        fmt::format("{}-{}", least, most));
}

cli::Validator HostName(std::string what, size_t longest) {
    return cli::Validator(
        [=](std::string &text) -> std::string {
            if (text.size() > longest) {
                return fmt::format("{} has at most {} bytes; this one has {}", what, longest, text.size());
            }
            const bool plain = std::none_of(text.begin(), text.end(), [](char c) {
                return static_cast<unsigned char>(c) <= ' ' || c == '\x7f';
            });
            if (plain && tools::IsUtf8(text)) return {};
            return fmt::format("{} has no blanks and no control characters, unlike '{}'", what, text);
        },
        "NAME");
}

cli::Validator CodeOf(std::string what, std::string_view path, bool any_number) {
    const std::span<const Code> codes = FindField(path)->codes;
    std::vector<std::string_view> names;
    for (const Code &code : codes) names.push_back(code.name);
    return cli::Validator(
        [=](std::string &text) -> std::string {
            const auto number = tools::ParseNumber(text);
            for (const Code &code : codes) {
                if (text != code.name && number != code.value) continue;
                text = std::to_string(code.value);
                return {};
            }
            if (any_number && number && *number <= UINT32_MAX) return {};
            return fmt::format("{} is {}{}, not '{}'", what, fmt::join(names, ", "),
                               any_number ? " or a number" : "", text);
        },
        fmt::format("{}{}", fmt::join(names, "|"), any_number ? "|NUMBER" : ""));
}

cli::Validator YesNo(std::string what) {
    return cli::Validator(
        [=](std::string &text) -> std::string {
            if (text != "yes" && text != "no") return fmt::format("{} is yes or no, not '{}'", what, text);
            text = text == "yes" ? "1" : "0";
            return {};
        },
        "yes|no");
}

std::string NamesOfModules() {
    std::vector<std::string_view> names;
    for (const Module &module : Modules()) names.push_back(module.name);
    return fmt::format("{}", fmt::join(names, ", "));
}

std::string CheckModule(const std::string &name) {
    if (FindModule(name) != nullptr) return {};
    return fmt::format("there is no module '{}'; there are {}", name, NamesOfModules());
}

uint32_t NumberOf(const std::string &checked) {
    return static_cast<uint32_t>(tools::ParseNumber(checked).value_or(0));
}

}  // namespace mwctl
