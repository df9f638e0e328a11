// The accessors that are measured: of each module one record of its usual kind, and its smallest one.
#ifndef ACCESSORS_H
#define ACCESSORS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "peers.h"

namespace bench {

// Loops, so that no call through a pointer is measured. They answer how many calls failed.
struct Accessor {
    const char *module;
    const char *what;
    uint32_t bytes;  // that one call copies
    uint64_t (*get)(void *to, uint64_t times);
    uint64_t (*set)(const void *from, uint64_t times);
};

std::span<const Accessor> TypicalAccessors();   // ordered by size
std::span<const Accessor> SmallestAccessors();  // one a module, in the order of the areas

std::vector<size_t> SizesOf(std::span<const Accessor> accessors);

// The library behind the interface of its peers: record i is that of accessor i.
std::unique_ptr<Peer> MakeLibrary(std::span<const Accessor> accessors);

// Fills the tables of every module through the setters, each up to its maximum.
void FillArea();

// Room for the largest record, on pages of its own.
char *Buffer();

}  // namespace bench

#endif
