// The contents of the shared area, as an input wants them.
#ifndef FUZZ_AREA_H
#define FUZZ_AREA_H

#include <cstring>
#include <iterator>

#include "hov_midware.h"
#include "input.h"
#include "memory_platform.h"

namespace fuzz {

inline uint32_t Number(Input &input) {
    static constexpr uint32_t kNumbers[] = {
        0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFE, 0x7FFF, 0x8000, 0xFFFF, 0x10000,   256,
        257,        1000,       4096,       70000,      708703, 708704, 708705, 0x1000000, 0x55555555};
    const uint8_t choice = input.Byte();
    if (choice < 200) return choice;
    if (choice - 200u < std::size(kNumbers)) return kNumbers[choice - 200];
    return input.Word();
}

inline size_t Place(Input &input) {
    const uint8_t choice = input.Byte();
    if (choice >= 128) return input.Word(3) % memory_platform::kAreaSize;
    // Counts stand at the beginning of an area or behind its records.
    const midware::Module &module = midware::kModules[choice % std::size(midware::kModules)];
    return module.offset + input.Word(2) % module.size;
}

// One change of the area: bytes, a stretch without an end of a text, or a word.
inline void ChangeArea(Input &input, uint8_t what) {
    uint8_t *area = memory_platform::Area();
    const size_t at = Place(input);
    const size_t room = memory_platform::kAreaSize - at;
    switch (what % 3) {
        case 0: {
            const std::string_view bytes = input.Bytes(input.Byte());
            std::memcpy(area + at, bytes.data(), std::min(bytes.size(), room));
            break;
        }
        case 1: {
            const size_t count = std::min<size_t>(input.Word(3), room);
            std::memset(area + at, input.Byte(), count);
            break;
        }
        default: {
            const uint32_t word = Number(input);
            std::memcpy(area + at / 4 * 4, &word, sizeof word);
        }
    }
}

}  // namespace fuzz

#endif
