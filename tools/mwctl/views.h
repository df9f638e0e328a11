// The views of what was read.
#ifndef MWCTL_VIEWS_H
#define MWCTL_VIEWS_H

#include <nlohmann/json_fwd.hpp>

#include "read.h"

namespace mwctl {

// How much of a record people see that has a line for each of its slots.
enum class Extent : uint8_t { kLine, kAll };

// For people: aligned lines and tables, empty texts and empty reserved bytes left out. What came from the
// records is escaped.
std::string ToText(const ModuleReading &reading, Extent extent);

// Every named field under its name; reserved bytes only when they are not zero. What a record's numbers mean,
// as far as it is known, stands beside them under "decoded"; a list has the slots in use. A record that could
// not be read is null.
nlohmann::ordered_json ToJson(const ModuleReading &reading);

// One value, an element of a field: for people, also where a view leaves it out, and for JSON.
std::string ValueText(const Field &field, const std::byte *bytes, uint32_t index);
nlohmann::ordered_json ValueJson(const Field &field, const std::byte *bytes, uint32_t index);

// A document as text: ASCII alone, whatever the records' texts hold.
std::string Document(const nlohmann::ordered_json &json);
// The same in one line.
std::string DocumentLine(const nlohmann::ordered_json &json);

}  // namespace mwctl

#endif
