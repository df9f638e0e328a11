// The layout of the areas, from the same table that the views walk.
#ifndef MWCTL_LAYOUT_H
#define MWCTL_LAYOUT_H

#include <cstdint>
#include <string>
#include <vector>

#include "table.h"

namespace mwctl {

// The modules that have an area of their own, in the order of the areas.
std::vector<const Module *> ModulesWithArea();

// "uint32", "char[32]", "MemTempInfo[64]"
std::string TypeText(const Field &field);

// A hash over offsets, widths, kinds and names of all modules and fields: equal where the same bytes mean the
// same.
uint64_t LayoutFingerprint();

}  // namespace mwctl

#endif
