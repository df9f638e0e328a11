// Values of fields, decoded from a record's bytes.
#ifndef MWCTL_VALUE_H
#define MWCTL_VALUE_H

#include <string>
#include <string_view>
#include <vector>

#include "table.h"

namespace mwctl {

// One element of a field: `bytes` are the record's.
const std::byte *ElementAt(const Field &field, const std::byte *bytes, uint32_t index);
uint64_t UnsignedAt(const Field &field, const std::byte *bytes, uint32_t index = 0);
int64_t SignedAt(const Field &field, const std::byte *bytes, uint32_t index = 0);
double FloatAt(const Field &field, const std::byte *bytes, uint32_t index = 0);
std::string_view TextAt(const Field &field, const std::byte *bytes, uint32_t index = 0);
std::string HexAt(const Field &field, const std::byte *bytes, uint32_t index, const char *between);

// For people: with its unit and with what it means. What a text holds is escaped.
std::string ValueText(const Field &field, const std::byte *bytes, uint32_t index = 0);

bool IsZero(const std::byte *bytes, size_t size);
bool IsZero(const Field &field, const std::byte *bytes);

// True for the value that means no value, in a field that has such a one.
bool HasNoValue(const Field &field, const std::byte *bytes, uint32_t index = 0);

// Whether a view shows the field: not the reserved bytes that are zero, not what was not read.
bool IsShown(const Field &field, const std::byte *bytes, Chosen chosen);

// Elements of an array that are in use.
uint32_t ElementsInUse(const Field &field, const std::byte *bytes);

// The name of a code, empty when it has none; the names of the flags that are set.
std::string_view CodeName(const Field &field, uint64_t value);
std::vector<std::string> FlagNames(const Field &field, uint64_t value);

}  // namespace mwctl

#endif
