// Structures of the SMBIOS table (DMTF DSP0134), bounded and safe on hostile input.
#ifndef MWCOLLECT_SMBIOS_H
#define MWCOLLECT_SMBIOS_H

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host.h"

namespace collect {

struct SmbiosStructure {
    uint8_t type = 0;
    uint16_t handle = 0;
    std::string formatted;             // the formatted area, its 4 header bytes included
    std::vector<std::string> strings;  // as stored; string 1 first

    // The little-endian field at an offset of the formatted area; nothing where an older structure ends
    // before it.
    template <std::unsigned_integral T>
    std::optional<T> Field(size_t at) const {
        if (at + sizeof(T) > formatted.size()) return std::nullopt;
        uint64_t value = 0;
        for (size_t i = sizeof(T); i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(formatted[at + i]);
        return static_cast<T>(value);
    }

    // The string whose number stands at an offset, cleaned; "" for number 0, a number beyond the strings, or
    // no field.
    std::string Text(size_t at) const;

    // As Text, "" for firmware's ways of saying nothing too.
    std::string Meaning(size_t at) const { return Meaningful(Text(at)); }
};

// The structures of a table, up to its end-of-table structure. What is damaged ends the walk: problem then
// says where.
std::vector<SmbiosStructure> ParseSmbios(std::string_view table, std::string *problem);

// The host's structures of the given types, in the order of the table: from the table that the kernel hands
// out, else from its one-file-a-structure view.
std::vector<SmbiosStructure> ReadSmbios(const Host &host, std::initializer_list<uint8_t> types);

}  // namespace collect

#endif
