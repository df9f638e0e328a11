// Reading records through the exported functions.
#ifndef MWCTL_READ_H
#define MWCTL_READ_H

#include <string>
#include <vector>

#include "table.h"

namespace mwctl {

struct Slot {
    uint32_t number;
    std::string name;  // where it has one
    const std::byte *bytes;
};

// A record as it was read.
struct Reading {
    const Record *record;
    std::string problem{};                   // why it could not be read; empty when it was
    const midware::Module *stuck = nullptr;  // whose semaphore was not had in time
    std::vector<std::byte> bytes{};          // of all slots
    std::vector<Slot> slots{};               // those in use
    uint32_t count = 0;                      // as stored, which may be more than there can be
};

struct ModuleReading {
    const Module *module;
    std::vector<Reading> records{};
};

// "mem", from the module's source "mem/hov_midmem".
std::string_view NameOf(const midware::Module &module);

Reading Read(const Module &module, const Record &record);
// Those of its records that belong to an option of `mwctl show`, or to none. A semaphore that was not had for
// one of the modules before is not waited for again.
ModuleReading Read(const Module &module, std::string_view option = {},
                   const std::vector<ModuleReading> &before = {});

// Why a call of the library answered -1, from what it said meanwhile, and what to do.
class Listen;
std::string WhyItFailed(const Listen &listen, const midware::Module *core, bool no_area = false);

}  // namespace mwctl

#endif
