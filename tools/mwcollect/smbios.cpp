#include "smbios.h"

#include <algorithm>

namespace collect {
namespace {

constexpr uint8_t kEndOfTable = 127;
constexpr size_t kHeaderSize = 4;
constexpr size_t kTableMax = 1u << 20;

}  // namespace

std::string SmbiosStructure::Text(size_t at) const {
    const std::optional<uint8_t> number = Field<uint8_t>(at);
    if (!number || *number == 0 || *number > strings.size()) return {};
    return CleanText(strings[*number - 1]);
}

std::vector<SmbiosStructure> ParseSmbios(std::string_view table, std::string *problem) {
    std::vector<SmbiosStructure> structures;
    size_t at = 0;
    const auto damaged = [&](std::string_view what) {
        if (problem != nullptr) *problem = fmt::format("a structure at offset {} {}", at, what);
        return structures;
    };
    while (at < table.size()) {
        const std::string_view rest = table.substr(at);
        if (rest.size() < kHeaderSize) return damaged("without a header");
        const size_t length = static_cast<unsigned char>(rest[1]);
        if (length < kHeaderSize || length > rest.size()) return damaged("of an impossible length");
        // The strings end with a second NUL; a structure without strings has both NULs and nothing else.
        const size_t end = rest.find(std::string_view("\0\0", 2), length);
        if (end == std::string_view::npos) return damaged("whose strings do not end");
        SmbiosStructure structure;
        structure.formatted = rest.substr(0, length);
        structure.type = static_cast<uint8_t>(rest[0]);
        structure.handle = *structure.Field<uint16_t>(2);
        for (std::string_view strings = rest.substr(length, end - length); !strings.empty();) {
            const size_t stop = std::min(strings.find('\0'), strings.size());
            structure.strings.emplace_back(strings.substr(0, stop));
            strings.remove_prefix(std::min(stop + 1, strings.size()));
        }
        const bool last = structure.type == kEndOfTable;
        structures.push_back(std::move(structure));
        if (last) break;
        at += end + 2;
    }
    return structures;
}

std::vector<SmbiosStructure> ReadSmbios(const Host &host, std::initializer_list<uint8_t> types) {
    const auto wanted = [&](uint8_t type) {
        return std::find(types.begin(), types.end(), type) != types.end();
    };
    std::vector<SmbiosStructure> structures;
    const auto add = [&](const std::string &path, const std::string &bytes) {
        std::string problem;
        for (SmbiosStructure &structure : ParseSmbios(bytes, &problem)) {
            if (wanted(structure.type)) structures.push_back(std::move(structure));
        }
        if (!problem.empty()) host.log().Skip(host.Shown(path), "whole SMBIOS structures", problem);
    };
    const std::string table_path = "/sys/firmware/dmi/tables/DMI";
    if (host.Exists(table_path)) {
        if (const auto table = host.File(table_path, kTableMax)) add(table_path, *table);
        return structures;
    }
    const std::string entries = "/sys/firmware/dmi/entries";
    for (const std::string &entry : host.List(entries)) {
        const auto type = ParseNumber<uint8_t>(std::string_view(entry).substr(0, entry.find('-')));
        if (!type || !wanted(*type)) continue;
        const std::string path = entries + "/" + entry + "/raw";
        if (const auto raw = host.File(path, kTableMax)) add(path, *raw);
    }
    return structures;
}

}  // namespace collect
